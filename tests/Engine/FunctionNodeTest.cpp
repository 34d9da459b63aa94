#include <Support/RecordingHost.h>

#include <Orvanta/StackBuffer.h>

#include <CoreKit/Exceptions.h>
#include <HostKit/LibWrapper.h>

#include <xercesc/util/OutOfMemoryException.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <regex>
#include <string>
#include <vector>

namespace
{
constexpr std::uint64_t ALL_ONES = std::numeric_limits<std::uint64_t>::max();
constexpr unsigned STORY = REC_LOG | REC_PRINT | REC_TEST_LOG | REC_CALLS;

struct CPeek : CNode
{
    using CNode::GetVariable;
};

std::uint64_t& Slot(const char* name)
{
    return *CPeek::GetVariable(QString::fromUtf8(name)).Reference<std::uint64_t>();
}

std::string Parameter(const std::string& type, const std::string& passed, const std::string& value)
{
    return "<x:Parameter name='p' type='" + type + "' passed='" + passed + "' value='" + value + "'/>";
}

std::string Function(const std::string& name, const std::string& parameters = "", const std::string& attributes = "")
{
    return "<x:Function name='" + name + "' " + attributes + ">" + parameters + "</x:Function>";
}

std::string Local(const std::string& type, const std::string& name, const std::string& value)
{
    return "<x:Local type='" + type + "' name='" + name + "' value='" + value + "'/>";
}

/// What a failed call leaves, `middle` being what was said after "Executing function", up to the reason.
std::string FailedCall(const std::string& name, const std::string& middle)
{
    return "log TS_NONE L5 node:      - Entering x:Function:  (" + name + ").\n" + "test-log: " + name + "\n" +
        "BeginFunction\n"
        "log TS_NONE L5 -: Executing function: " +
        name + ".\n" + middle + "\nlog TS_ERROR L1 -: Test suite function '" + name + "' has aborted unexpectedly.\n" +
        "EndFunction\n"
        "log TS_NONE L6 -: " +
        name + " return status: 0x40000000.\n" +
        "test-log: ------- [separator]\n"
        "log TS_NONE L5 node:      - Exiting x:Function:  (" +
        name + ").\n" + "FunctionFinished\n";
}

/// Runs single function nodes of a suite that uses the recording test library.
class FunctionNode : public testing::Test
{
protected:
    FunctionNode()
        : m_Library("EngineTests", true)
    {
        EXPECT_TRUE(m_Library.OpenLibrary()) << m_Library.GetDiagnostic().c_str();
        Recorder<void()>("ForgetCalls")();
    }

    void Load(const std::string& functions, const std::string& variables = "",
              const std::string& attributes = "library='EngineTests'")
    {
        m_Suite.reset();
        m_Suite = std::make_unique<CLoadedSuite>(
            m_Host, "<x:Variables>" + variables + "</x:Variables><x:Group>" + functions + "</x:Group>", attributes,
            false);
        m_Host.Clear();
    }

    bool Run(int function = 0) { return m_Suite->Node("/0/" + std::to_string(function)).Execute(false); }

    bool LoadAndRun(const std::string& function, const std::string& variables = "")
    {
        Load(function, variables);
        return Run();
    }

    /// With a placeholder for times.
    std::string Transcript(unsigned kinds = STORY) const
    {
        static const std::regex time(R"([A-Z][a-z]{2} \d\d, \d{4} - \d\d:\d\d:\d\d)");
        return std::regex_replace(m_Host.Text(kinds), time, "<time>");
    }

    template <class Signature>
    Signature* Recorder(const char* name) const
    {
        return reinterpret_cast<Signature*>(m_Library.GetFunction(name));
    }

    std::vector<std::uint64_t> Arguments() const
    {
        std::size_t count = 0;
        const std::uint64_t* arguments = Recorder<const std::uint64_t*(std::size_t*)>("RecordedArguments")(&count);
        return {arguments, arguments + count};
    }

    std::uint64_t CallCount() const { return Recorder<std::uint64_t()>("CallCount")(); }

    CRecordingHost m_Host;
    CLibWrapper m_Library;
    std::unique_ptr<CLoadedSuite> m_Suite;
};
} // namespace

TEST_F(FunctionNode, ACallWithParameters)
{
    EXPECT_TRUE(LoadAndRun(Function("FillLong", Parameter("LONG", "byRef", "$x"), "label='Fill' type='PassFailTest'"),
                           Local("LONG", "$x", "7")));
    EXPECT_EQ(Transcript(REC_ALL), R"(flush false
state /0/0 x:Function 1
flush false
log TS_NONE L5 node:      - Entering x:Function: Fill (FillLong).
test-log: Fill [test]
BeginFunction
log TS_NONE L5 -: Executing function: FillLong.
ClearTestStatus
println L5: Calling function: FillLong
println L5:   Parameter 1 - Name: p, Type: LONG, Passed by: byRef, Value: $x
flush true
log TS_NONE L5 -: Function Start time : <time>
log TS_NONE L5 -: Function Stop time : <time>
EndFunction
log TS_NONE L6 -: FillLong return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function: Fill (FillLong).
FunctionFinished
state /0/0 x:Function 2
flush false
)");
    EXPECT_EQ(Arguments(), std::vector<std::uint64_t>{7});
    EXPECT_EQ(Slot("$x"), 0xFFFFFFFFU);
    EXPECT_FALSE(m_Host.Services.FunctionIsExecuting);
    EXPECT_EQ(m_Suite->Node("/0/0").GetDiagnosticString().toStdString(), " PassFailTest Function:  FillLong (Fill)\n");
}

TEST_F(FunctionNode, ACallWithoutParametersIsDirectAndDoesNotClearTheStatus)
{
    Load(Function("ReportFailure", "", "label=''") + Function("Log") +
         Function("Log", Parameter("BYTE", "byVal", "1")));
    EXPECT_TRUE(Run(0));
    EXPECT_EQ(Transcript(), R"(log TS_NONE L5 node:      - Entering x:Function:  (ReportFailure).
test-log: ReportFailure
BeginFunction
log TS_NONE L5 -: Executing function: ReportFailure.
log TS_FAILED L2 -: a failure
EndFunction
log TS_NONE L6 -: ReportFailure return status: 0x20000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function:  (ReportFailure).
FunctionFinished
)");
    m_Host.Clear();
    EXPECT_TRUE(Run(1));
    EXPECT_NE(Transcript().find("log TS_NONE L6 -: Log return status: 0x20000000.\n"), std::string::npos);
    m_Host.Clear();
    EXPECT_TRUE(Run(2));
    EXPECT_NE(Transcript().find("log TS_NONE L3 -: a line\nlog TS_NONE L5 -: Function Stop time : <time>\nEndFunction\n"
                                "log TS_NONE L6 -: Log return status: 0x00000000.\n"),
              std::string::npos);
}

TEST_F(FunctionNode, AFunctionThatIsNotThere)
{
    for (const char* attributes : {"library='EngineTests'", "library='NoSuchLibrary'", ""})
    {
        Load(Function("Nope", "", "type='PassFailTest'"), "", attributes);
        EXPECT_FALSE(Run());
        EXPECT_EQ(Transcript(REC_ALL), R"(flush false
state /0/0 x:Function 1
flush false
log TS_NONE L5 node:      - Entering x:Function:  (Nope).
test-log: Nope [test]
BeginFunction
log TS_ERROR L1 -: Couldn't find function: Nope.
EndFunction
state /0/0 x:Function 3
flush false
)");
    }
}

TEST_F(FunctionNode, AFunctionThatThrows)
{
    const std::pair<std::string, std::string> rows[] = {
        {"ThrowRuntimeError", "Unexpected failure: x"},
        {"ThrowStreamFailure", std::string("Unexpected iostream failure: ") + std::ios_base::failure("stream").what()},
        {"ThrowZK", "Unexpected Zelkor failure: T"},
        {"ThrowUnknown", "FUNCTION 'ThrowUnknown' ENCOUNTERED AN UNEXPECTED ERROR.  ABORTING.\\n"},
    };
    for (const auto& [name, message] : rows)
    {
        EXPECT_FALSE(LoadAndRun(Function(name)));
        EXPECT_EQ(Transcript(), FailedCall(name, "log TS_ERROR L1 -: " + message));
        EXPECT_EQ(m_Suite->Node("/0/0").RunState(), RS_FAILED);
    }
    EXPECT_FALSE(LoadAndRun(Function("ThrowZK", Parameter("BYTE", "byVal", "0"))));
    EXPECT_EQ(Transcript(), FailedCall("ThrowZK", R"(ClearTestStatus
println L5: Calling function: ThrowZK
println L5:   Parameter 1 - Name: p, Type: BYTE, Passed by: byVal, Value: 0
log TS_NONE L5 -: Function Start time : <time>
log TS_ERROR L1 -: Unexpected Zelkor failure: T)"));
}

TEST_F(FunctionNode, TooManyParameters)
{
    std::string parameters;
    for (int number = 0; number < 21; ++number)
    {
        parameters += Parameter("BYTE", "byVal", "1");
    }
    EXPECT_FALSE(LoadAndRun(Function("Take21", parameters)));
    EXPECT_EQ(
        Transcript(),
        FailedCall(
            "Take21",
            R"(log TS_ERROR L1 -: Unexpected Zelkor failure: )"
            R"(\nZKEngine/Orvanta/FunctionNode(336): CFunctionNode::DoExecute:\n)"
            "Function Take21 takes too many parameters.  Update CFunctionNode::DoCall() and CFunctionNode::DoExecute() "
            "to allow more parameters. (Actual: 21, max: 20"));
    EXPECT_EQ(CallCount(), 0U);
}

TEST_F(FunctionNode, WrongParameters)
{
    const std::string variables = Local("LONG", "$long", "1") + "<x:Define type='LONG' name='$define' value='1'/>";
    const struct
    {
        std::string parameter;
        std::string failure;
    } rows[] = {
        {Parameter("LONG", "byVal", "$x"),
         "log TS_ERROR L1 -: Test script error: variable '$x' is not defined.\n"
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Variable does not exist:  $x"},
        {Parameter("LONG", "byRef", "$x"),
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: variable '$x' is not defined."},
        {"<x:Parameter type='LONG' value='7'/>",
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: variable '7' is not defined."},
        {Parameter("LONG", "byRef", "$define"),
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: illegal "
         "reference to x:Define variable: $define."},
        {Parameter("SHORT", "byval", "$long"),
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: variable '$long' not of type 'SHORT'"},
        {Parameter("BYTE", "byVal", "$define"),
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: "
         "variable '$define' cannot be cast to 'BYTE'."},
    };
    for (const auto& row : rows)
    {
        EXPECT_FALSE(LoadAndRun(Function("Take1", row.parameter), variables));
        EXPECT_EQ(Transcript(REC_ALL & ~static_cast<unsigned>(REC_FLUSH | REC_STATE)),
                  FailedCall("Take1", "ClearTestStatus\nprintln L5: Calling function: Take1\n" + row.failure));
    }
    EXPECT_EQ(CallCount(), 0U);
}

TEST_F(FunctionNode, AnAbortPassesThroughOnceTheFunctionIsClosed)
{
    Load(Function("Abort", "", "type='PassFailTest'"));
    EXPECT_THROW(Run(), ZKUserAbort);
    EXPECT_EQ(Transcript(REC_ALL), R"(flush false
state /0/0 x:Function 1
flush false
log TS_NONE L5 node:      - Entering x:Function:  (Abort).
test-log: Abort [test]
BeginFunction
log TS_NONE L5 -: Executing function: Abort.
OperatorAborted stop
EndFunction
test-log: ------- [separator]
FunctionFinished
)");
    EXPECT_TRUE(m_Host.Services.FunctionIsExecuting);
}

TEST_F(FunctionNode, ExhaustedMemoryOnlyClosesTheTestLog)
{
    const auto expectClosed = [this](const std::string& name)
    {
        EXPECT_EQ(Transcript(REC_ALL),
                  "flush false\n"
                  "state /0/0 x:Function 1\n"
                  "flush false\n"
                  "log TS_NONE L5 node:      - Entering x:Function:  (" +
                      name + ").\n" + "test-log: " + name + "\n" +
                      "BeginFunction\n"
                      "log TS_NONE L5 -: Executing function: " +
                      name + ".\n" +
                      "state /0/0 x:Function 3\n"
                      "flush false\n");
        EXPECT_TRUE(m_Host.SuiteLog().CurrentTestLog()->Closed());
        EXPECT_EQ(m_Suite->Node("/0/0").Results().ExecCount, 0U);
    };
    Load(Function("ThrowBadAlloc"));
    EXPECT_THROW(Run(), std::bad_alloc);
    expectClosed("ThrowBadAlloc");
    Load(Function("ThrowXercesOutOfMemory"));
    EXPECT_THROW(Run(), xercesc::OutOfMemoryException);
    expectClosed("ThrowXercesOutOfMemory");
}

TEST_F(FunctionNode, ADiagnosticRunListsTheCall)
{
    m_Host.Services.ExecutionType = EXECUTION_DIAGNOSTIC;
    std::string listing;
    std::string parameters;
    for (int number = 1; number <= 12; ++number)
    {
        parameters += "<x:Parameter name='n' type='t' value='" + std::to_string(number) + "'/>";
        listing += "log TS_NONE L3 unlogged:     Parameter " + std::string(number < 10 ? " " : "") +
            std::to_string(number) + " - Name: n, Type: t, Passed by: , Value: " + std::to_string(number) + "\n";
    }
    const std::string noLabel = "log TS_NONE L3 -: \n";
    const std::string end = "log TS_NONE L3 -: \n";
    const struct
    {
        std::string function;
        bool result;
        std::string lines;
    } rows[] = {
        {Function("CountCall", "", "label='CountCall'"), true,
         "log TS_NONE/4 L3 unlogged: Calling function: CountCall\n" + noLabel +
             "log TS_NONE L3 unlogged:     - no parameters\n" + end},
        {Function("CountCall", "<x:Parameter name='a' type='BYTE' passed='byVal' value='$gone'/>", "label='Bar'"), true,
         "log TS_NONE/4 L3 unlogged: Calling function: CountCall\n"
         "log TS_NONE L3 (112,112,112,255 400 italic):  (Bar)\n"
         "log TS_NONE L3 unlogged:     Parameter 1 - Name: a, Type: BYTE, Passed by: byVal, Value: $gone\n" +
             end},
        {Function("CountCall", parameters), true,
         "log TS_NONE/4 L3 unlogged: Calling function: CountCall\n" + noLabel + listing + end},
        {Function("Nope", parameters), false,
         "log TS_NONE/4 L3 unlogged: Calling function: Nope\n" + noLabel +
             "log TS_FAILED L2 -: Couldn't find function: Nope.\n"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(LoadAndRun(row.function), row.result);
        EXPECT_EQ(Transcript(), "ClearTestStatus\n" + row.lines);
        EXPECT_EQ(m_Suite->Node("/0/0").Results().ExecCount, 0U);
    }
    EXPECT_EQ(CallCount(), 0U);
}

TEST_F(FunctionNode, AValidationRunCallsWhatTakesReferencesUnlessDebugging)
{
    const std::string value = Parameter("LONG", "byVal", "$x");
    const std::string reference = Parameter("LONG", "byRef", "$x");
    const struct
    {
        const char* name;
        std::string parameters;
        ETestSuiteMode mode;
        bool called;
    } rows[] = {
        {"Take1", value, MODE_NORMAL, false},    {"Take1", reference, MODE_NORMAL, true},
        {"Take1", reference, MODE_DEBUG, false}, {"Take1", "<x:Parameter type='DWORD'/>", MODE_NORMAL, true},
        {"Fail", value, MODE_NORMAL, false},     {"Take0", "", MODE_DEBUG, true},
    };
    for (const auto execution : {EXECUTION_VALIDATION, static_cast<ETestSuiteExecutionType>(7)})
    {
        m_Host.Services.ExecutionType = execution;
        std::uint64_t calls = CallCount();
        for (const auto& row : rows)
        {
            SCOPED_TRACE(row.name + row.parameters);
            Load(Function(row.name, row.parameters), Local("LONG", "$x", "1"));
            m_Host.Services.TestSuiteMode = row.mode;
            EXPECT_TRUE(Run());
            m_Host.Services.TestSuiteMode = MODE_NORMAL;
            calls += row.called ? 1 : 0;
            EXPECT_EQ(CallCount(), calls);
            const bool timed = !row.parameters.empty();
            EXPECT_EQ(Transcript().find("Function Start time") != std::string::npos, timed && row.called);
            EXPECT_EQ(Transcript().find("Function Stop time") != std::string::npos, timed);
        }
    }
}

TEST_F(FunctionNode, WhatIsCounted)
{
    const struct
    {
        const char* name;
        const char* type;
        ERunState state;
        ResultSummary results;
    } rows[] = {
        {"Succeed", "PassFailTest", RS_PASSED, {1, 0, 1, 1, 0, 0, 0}},
        {"Succeed", "passfailtest", RS_PASSED, {1, 0, 0, 0, 0, 0, 0}},
        {"Fail", "PassFailTest", RS_FAILED, {1, 0, 1, 1, 0, 0, 0}}, // no failure was reported
        {"ReportFailure", "PassFailTest", RS_PASSED, {1, 1, 1, 0, 0, 0, 1}},
        {"ReportFailure", "", RS_PASSED, {1, 1, 0, 0, 0, 0, 0}},
        {"Warn", "PassFailTest", RS_PASSED, {1, 0, 1, 1, 1, 0, 0}},
        {"Error", "PassFailTest", RS_PASSED, {1, 1, 1, 0, 0, 0, 1}},
        {"ThrowRuntimeError", "PassFailTest", RS_FAILED, {1, 1, 1, 0, 0, 1, 1}},
        {"Nope", "PassFailTest", RS_FAILED, {1, 1, 1, 0, 0, 1, 1}},
        {"Abort", "PassFailTest", RS_EXECUTING, {1, 1, 1, 0, 0, 1, 0}},
        {"Abort", "", RS_EXECUTING, {1, 1, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.name) + " " + row.type);
        Load(Function(row.name, "", std::string("type='") + row.type + "'"));
        try
        {
            EXPECT_EQ(Run(), row.state == RS_PASSED);
        }
        catch (const ZKUserAbort&)
        {
            EXPECT_EQ(row.state, RS_EXECUTING);
        }
        EXPECT_EQ(m_Suite->Node("/0/0").RunState(), row.state);
        for (const char* path : {"/0/0", "/0"})
        {
            const ResultSummary& results = m_Suite->Node(path).Results();
            const auto list = [](const ResultSummary& counted)
            {
                return std::vector{counted.ExecCount,    counted.FailedExecCount, counted.RunCount, counted.PassCount,
                                   counted.WarningCount, counted.AbortCount,      counted.FailCount};
            };
            EXPECT_EQ(list(results), list(row.results)) << path;
        }
    }
}

TEST_F(FunctionNode, CallsWithEveryNumberOfParametersInEveryType)
{
    const std::pair<std::string, std::uint64_t> types[] = {
        {"PVOID", ALL_ONES}, {"BOOL", 1},          {"BYTE", 0xFF},
        {"SHORT", 0xFFFF},   {"LONG", 0xFFFFFFFF}, {"LONGLONG", ALL_ONES},
    };
    EXPECT_TRUE(LoadAndRun(Function("Take0")));
    EXPECT_EQ(CallCount(), 1U);
    for (const std::size_t count : {1U, 9U, 10U, 20U})
    {
        const std::string name = "Take" + std::to_string(count);
        for (const auto& [type, largest] : types)
        {
            SCOPED_TRACE(name + " " + type);
            std::string variables;
            std::string byValue;
            std::string byReference;
            std::vector<std::uint64_t> values;
            for (std::size_t index = 0; index < count; ++index)
            {
                values.push_back(type == "BOOL" ? index % 2 : largest - index);
                const std::string variable = "$" + std::to_string(index);
                const std::string text = std::to_string(values.back());
                variables += Local(type, variable, text);
                byValue += Parameter(type, "byVal", index % 3 == 0 ? text : variable);
                byReference += Parameter(type, "byRef", variable);
            }
            Load(Function(name, byValue) + Function(name, byReference), variables);
            EXPECT_TRUE(Run(0));
            EXPECT_EQ(Arguments(), values);
            const std::string number = count < 10 ? "1" : " 1"; // as wide as the count
            EXPECT_NE(Transcript(REC_PRINT).find("println L5:   Parameter " + number + " - Name"), std::string::npos);
            EXPECT_TRUE(Run(1));
            std::vector<std::uint64_t> addresses;
            for (std::size_t index = 0; index < count; ++index)
            {
                addresses.push_back(reinterpret_cast<std::uint64_t>(&Slot(("$" + std::to_string(index)).c_str())));
            }
            EXPECT_EQ(Arguments(), addresses);
        }
    }
}

TEST_F(FunctionNode, ValuesAreCutToTheirTypeAndZeroExtended)
{
    EXPECT_TRUE(
        LoadAndRun(Function("TakeEveryType",
                            Parameter("PVOID", "byVal", "0x1000") + Parameter("BOOL", "byVal", "2") +
                                Parameter("BYTE", "byVal", "$byte") + Parameter("SHORT", "byVal", "0x1FFFF") +
                                Parameter("LONG", "byVal", "0x1FFFFFFFE") + Parameter("LONGLONG", "byVal", "$byte")),
                   Local("BYTE", "$byte", "300")));
    EXPECT_EQ(Arguments(), (std::vector<std::uint64_t>{0x1000, 1, 44, 0xFFFF, 0xFFFFFFFE, 300}));

    EXPECT_TRUE(LoadAndRun(Function("Take1", Parameter("DWORD", "byVal", "5"))));
    EXPECT_EQ(Arguments(), std::vector<std::uint64_t>{0});
    EXPECT_EQ(Transcript(REC_PRINT),
              "println L5: Calling function: Take1\n"
              "println L5:   Parameter 1 - Name: p, Type: DWORD, Passed by: byVal, Value: 5\n");
}

TEST_F(FunctionNode, ReferencesAreWrittenThrough)
{
    const std::pair<const char*, std::uint64_t> variables[] = {
        {"PVOID", ALL_ONES},          {"BOOL", 1},
        {"BYTE", 0x12345678123456FF}, {"SHORT", 0x123456781234FFFF},
        {"LONG", 0x12345678FFFFFFFF}, {"LONGLONG", ALL_ONES},
    };
    std::string declarations;
    std::string parameters;
    for (const auto& [type, written] : variables)
    {
        declarations += Local(type, type, "0x1234567812345678");
        parameters += Parameter(type, "byRef", type);
    }
    EXPECT_TRUE(LoadAndRun(Function("FillEveryType", parameters), declarations));
    EXPECT_EQ(Arguments(),
              (std::vector<std::uint64_t>{0x1234567812345678, 1, 0x78, 0x5678, 0x12345678, 0x1234567812345678}));
    for (const auto& [type, written] : variables)
    {
        EXPECT_EQ(Slot(type), written) << type;
    }

    // A wider reference shows that much of the slot, and what one function wrote the next one reads.
    Load(Function("FillLong", Parameter("LONG", "", "$byte")) +
             Function("StoreTwoInBool", Parameter("BOOL", "", "$bool")) +
             Function("Take1", Parameter("BOOL", "byVal", "$bool")),
         Local("BYTE", "$byte", "5") + Local("BOOL", "$bool", "0"));
    EXPECT_TRUE(Run(0));
    EXPECT_EQ(Slot("$byte"), 0xFFFFFFFFU);
    EXPECT_TRUE(Run(1));
    EXPECT_EQ(Slot("$bool"), 2U);
    EXPECT_TRUE(Run(2));
    EXPECT_EQ(Arguments(), std::vector<std::uint64_t>{1});
}

TEST_F(FunctionNode, TheLowByteOfTheResultCounts)
{
    const std::string parameter = Parameter("BYTE", "byVal", "1");
    Load(Function("ReturnTwo") + Function("ReturnTwo", parameter) + Function("ReturnLowByteZero") +
         Function("ReturnLowByteZero", parameter));
    EXPECT_TRUE(Run(0));
    EXPECT_TRUE(Run(1));
    EXPECT_FALSE(Run(2));
    EXPECT_FALSE(Run(3));
}

TEST(StackBuffer, RefusesAnIndexBeyondItsEnd)
{
    StackBuffer<2> buffer;
    buffer.Set(1, std::uint8_t{0xFF});
    EXPECT_EQ(buffer.m_Slots, (std::array<std::uint64_t, 2>{0, 0xFF}));
    EXPECT_THROW(buffer.Set(2, std::uint64_t{1}), CTestSuiteException);
}
