#include <Support/RecordingHost.h>

#include <HostKit/LibWrapper.h>

#include <xercesc/util/OutOfMemoryException.hpp>

#include <limits>
#include <regex>

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

/// What every call starts with.
std::string Opening(const std::string& name, const std::string& shown)
{
    return "log TS_NONE L5 node:      - Entering x:Function:  (" + name + ").\ntest-log: " + shown +
        "\nBeginFunction\n";
}

/// What a call leaves that returned with that status, `middle` being what was said after "Executing function".
std::string Call(const std::string& name, const std::string& middle, const std::string& status)
{
    return Opening(name, name) + "log TS_NONE L5 -: Executing function: " + name + ".\n" + middle +
        "EndFunction\nlog TS_NONE L6 -: " + name + " return status: 0x" + status +
        ".\ntest-log: ------- [separator]\nlog TS_NONE L5 node:      - Exiting x:Function:  (" + name +
        ").\nFunctionFinished\n";
}

/// The same of a failed call, `middle` being what was said up to the reason.
std::string FailedCall(const std::string& name, const std::string& middle)
{
    const std::string end = "\nlog TS_ERROR L1 -: Test suite function '" + name + "' has aborted unexpectedly.\n";
    return Call(name, middle + end, "40000000");
}

/// Runs single function nodes of a suite that uses the recording test library.
class FunctionNode : public testing::Test
{
protected:
    using TCalls = std::vector<std::vector<std::uint64_t>>;

    FunctionNode()
        : m_Library("EngineTests", true)
    {
        EXPECT_TRUE(m_Library.OpenLibrary()) << m_Library.GetDiagnostic().c_str();
        Calls().clear();
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

    CNode& Node(int function = 0) { return m_Suite->Node("/0/" + std::to_string(function)); }
    bool Run(int function = 0)
    {
        m_Host.Clear();
        return Node(function).Execute(false);
    }

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

    TCalls& Calls() const { return *reinterpret_cast<TCalls* (*)()>(m_Library.GetFunction("RecordedCalls"))(); }
    std::vector<std::uint64_t> Arguments() const { return Calls().empty() ? TCalls::value_type{} : Calls().back(); }

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
    EXPECT_EQ(Counters(Node()), "1011000");
    EXPECT_FALSE(m_Host.Services.Run.FunctionIsExecuting);
    EXPECT_EQ(Node().GetDiagnosticString().toStdString(), " PassFailTest Function:  FillLong (Fill)\n");
}

TEST_F(FunctionNode, ACallWithoutParametersIsDirectAndDoesNotClearTheStatus)
{
    Load(Function("ReportFailure", "", "label=''") + Function("Take0") +
         Function("Take1", Parameter("BYTE", "byVal", "1")));
    EXPECT_TRUE(Run(0));
    EXPECT_EQ(Transcript(), Call("ReportFailure", "log TS_FAILED L2 -: a failure\n", "20000000"));
    EXPECT_EQ(Counters(Node()), "1100000");
    EXPECT_TRUE(Run(1));
    EXPECT_EQ(Transcript(), Call("Take0", "", "20000000"));
    EXPECT_TRUE(Run(2));
    EXPECT_NE(Transcript().find("log TS_NONE L6 -: Take1 return status: 0x00000000.\n"), std::string::npos);
    EXPECT_EQ(Calls(), (TCalls{{}, {1}}));
}

TEST_F(FunctionNode, CallsThatEndBeforeTheirTime)
{
    const std::string begin = "flush false\nstate /0/0 x:Function 1\nflush false\n";
    const std::string failed = "state /0/0 x:Function 3\nflush false\n";
    for (const char* attributes : {"library='EngineTests'", "library='NoSuchLibrary'", ""})
    {
        Load(Function("Nope", "", "type='PassFailTest'"), "", attributes);
        EXPECT_FALSE(Run());
        EXPECT_EQ(Transcript(REC_ALL),
                  begin + Opening("Nope", "Nope [test]") +
                      "log TS_ERROR L1 -: Couldn't find function: Nope.\nEndFunction\n" + failed);
        EXPECT_EQ(Counters(Node()), "1110011");
    }

    EXPECT_THROW(LoadAndRun(Function("Abort", "", "type='PassFailTest'")), ZKUserAbort);
    EXPECT_EQ(Transcript(REC_ALL),
              begin + Opening("Abort", "Abort [test]") +
                  "log TS_NONE L5 -: Executing function: Abort.\nOperatorAborted stop\nEndFunction\n"
                  "test-log: ------- [separator]\nFunctionFinished\n");
    EXPECT_TRUE(m_Host.Services.Run.FunctionIsExecuting);
    EXPECT_EQ(Node().RunState(), RS_EXECUTING);
    EXPECT_EQ(Counters(Node()), "1110010");

    const auto expectClosed = [&](const std::string& name)
    {
        EXPECT_EQ(Transcript(REC_ALL),
                  begin + Opening(name, name) + "log TS_NONE L5 -: Executing function: " + name + ".\n" + failed);
        EXPECT_TRUE(m_Host.SuiteLog().CurrentTestLog()->Closed());
        EXPECT_EQ(Counters(Node()), "0000000");
    };
    EXPECT_THROW(LoadAndRun(Function("ThrowBadAlloc")), std::bad_alloc);
    expectClosed("ThrowBadAlloc");
    EXPECT_THROW(LoadAndRun(Function("ThrowXercesOutOfMemory")), xercesc::OutOfMemoryException);
    expectClosed("ThrowXercesOutOfMemory");
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
        EXPECT_EQ(Node().RunState(), RS_FAILED);
    }
    EXPECT_FALSE(LoadAndRun(Function("ThrowRuntimeError", "", "type='PassFailTest'")));
    EXPECT_EQ(Counters(Node()), "1110011");
    EXPECT_FALSE(LoadAndRun(Function("ThrowZK", Parameter("BYTE", "byVal", "0"))));
    EXPECT_EQ(Transcript(), FailedCall("ThrowZK", R"(ClearTestStatus
println L5: Calling function: ThrowZK
println L5:   Parameter 1 - Name: p, Type: BYTE, Passed by: byVal, Value: 0
log TS_NONE L5 -: Function Start time : <time>
log TS_ERROR L1 -: Unexpected Zelkor failure: T)"));
}

TEST_F(FunctionNode, WrongParameters)
{
    const std::string variables = Local("LONG", "$long", "1") + "<x:Define type='LONG' name='$define' value='1'/>";
    const std::string script = "log TS_ERROR L1 -: Unexpected Zelkor failure: Test script error: ";
    const std::pair<std::string, std::string> rows[] = {
        {Parameter("LONG", "byVal", "$x"),
         "log TS_ERROR L1 -: Test script error: variable '$x' is not defined.\n"
         "log TS_ERROR L1 -: Unexpected Zelkor failure: Variable does not exist:  $x"},
        {Parameter("LONG", "byRef", "$x"), script + "variable '$x' is not defined."},
        {"<x:Parameter type='LONG' value='7'/>", script + "variable '7' is not defined."},
        {Parameter("LONG", "byRef", "$define"), script + "illegal reference to x:Define variable: $define."},
        {Parameter("SHORT", "byval", "$long"), script + "variable '$long' not of type 'SHORT'"},
        {Parameter("BYTE", "byVal", "$define"), script + "variable '$define' cannot be cast to 'BYTE'."},
    };
    for (const auto& [parameter, failure] : rows)
    {
        EXPECT_FALSE(LoadAndRun(Function("Take1", parameter), variables));
        EXPECT_EQ(Transcript(),
                  FailedCall("Take1", "ClearTestStatus\nprintln L5: Calling function: Take1\n" + failure));
    }

    std::string tooMany;
    for (int number = 0; number < 21; ++number)
    {
        tooMany += Parameter("BYTE", "byVal", "1");
    }
    EXPECT_FALSE(LoadAndRun(Function("Take20", tooMany)));
    // clang-format off
    EXPECT_EQ(Transcript(), FailedCall("Take20", R"(log TS_ERROR L1 -: Unexpected Zelkor failure: )"
        R"(\nZKEngine/Orvanta/FunctionNode(336): CFunctionNode::DoExecute:\n)"
        "Function Take20 takes too many parameters.  Update CFunctionNode::DoCall() and CFunctionNode::DoExecute() "
        "to allow more parameters. (Actual: 21, max: 20"));
    // clang-format on
    EXPECT_EQ(Calls(), TCalls());
}

TEST_F(FunctionNode, ADiagnosticRunListsTheCall)
{
    m_Host.Services.Settings.ExecutionType = EXECUTION_DIAGNOSTIC;
    std::string listing, parameters;
    for (int number = 1; number <= 10; ++number)
    {
        const std::string text = std::to_string(number);
        parameters += "<x:Parameter name='n' type='t' value='" + text + "'/>";
        listing += "log TS_NONE L3 unlogged:     Parameter " + std::string(number < 10 ? " " : "") + text +
            " - Name: n, Type: t, Passed by: , Value: " + text + "\n";
    }
    const std::string empty = "log TS_NONE L3 -: \n";
    const std::tuple<std::string, bool, std::string> rows[] = {
        {Function("Take0", "", "label='Take0'"), true,
         "Take0\n" + empty + "log TS_NONE L3 unlogged:     - no parameters\n" + empty},
        {Function("Take1", Parameter("BYTE", "byVal", "$gone"), "label='Bar'"), true,
         "Take1\nlog TS_NONE L3 (112,112,112,255 400 italic):  (Bar)\n"
         "log TS_NONE L3 unlogged:     Parameter 1 - Name: p, Type: BYTE, Passed by: byVal, Value: $gone\n" +
             empty},
        {Function("Take0", parameters), true, "Take0\n" + empty + listing + empty},
        {Function("Nope", parameters), false, "Nope\n" + empty + "log TS_FAILED L2 -: Couldn't find function: Nope.\n"},
    };
    for (const auto& [function, result, lines] : rows)
    {
        EXPECT_EQ(LoadAndRun(function), result);
        EXPECT_EQ(Transcript(), "ClearTestStatus\nlog TS_NONE/4 L3 unlogged: Calling function: " + lines);
        EXPECT_EQ(Counters(Node()), "0000000");
    }
    EXPECT_EQ(Calls(), TCalls());
}

TEST_F(FunctionNode, AValidationRunCallsWhatTakesReferencesUnlessDebugging)
{
    const std::string value = Parameter("LONG", "byVal", "$x");
    const std::string reference = Parameter("LONG", "byRef", "$x");
    const std::tuple<std::string, ETestSuiteMode, bool> rows[] = {
        {Function("Take1", value), MODE_NORMAL, false},
        {Function("Take1", reference), MODE_NORMAL, true},
        {Function("Take1", reference), MODE_DEBUG, false},
        {Function("Take1", "<x:Parameter type='DWORD'/>"), MODE_NORMAL, true},
        {Function("Fail", value), MODE_NORMAL, false},
        {Function("Take0"), MODE_DEBUG, true},
    };
    for (const auto& [function, mode, called] : rows)
    {
        SCOPED_TRACE(function);
        Calls().clear();
        Load(function, Local("LONG", "$x", "1"));
        m_Host.Services.Settings.ExecutionType = EXECUTION_VALIDATION;
        m_Host.Services.Settings.TestSuiteMode = mode;
        EXPECT_TRUE(Run());
        m_Host.Services.Settings.TestSuiteMode = MODE_NORMAL;
        EXPECT_EQ(Calls().size(), called ? 1U : 0U);
        const bool timed = function.find("Parameter") != std::string::npos;
        EXPECT_EQ(Transcript().find("Function Start time") != std::string::npos, timed && called);
        EXPECT_EQ(Transcript().find("Function Stop time") != std::string::npos, timed);
    }
}

TEST_F(FunctionNode, CallsWithEveryNumberOfParametersInEveryType)
{
    const std::pair<std::string, std::uint64_t> types[] = {
        {"PVOID", ALL_ONES}, {"BOOL", 1},          {"BYTE", 0xFF},
        {"SHORT", 0xFFFF},   {"LONG", 0xFFFFFFFF}, {"LONGLONG", ALL_ONES},
    };
    for (const std::size_t count : {1U, 9U, 10U, 20U})
    {
        const std::string name = "Take" + std::to_string(count);
        for (const auto& [type, largest] : types)
        {
            SCOPED_TRACE(name + " " + type);
            std::string variables, byValue, byReference;
            std::vector<std::uint64_t> values, addresses;
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
    std::string declarations, parameters;
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
    EXPECT_TRUE(Run(0) && Run(1) && Run(2));
    EXPECT_EQ(Slot("$byte"), 0xFFFFFFFFU);
    EXPECT_EQ(Slot("$bool"), 2U);
    EXPECT_EQ(Arguments(), std::vector<std::uint64_t>{1});
}

TEST_F(FunctionNode, CountsComeFromTheTestLogNotFromTheResult)
{
    const std::tuple<std::string, std::string, bool, std::string> rows[] = {
        {"Fail", "PassFailTest", false, "1011000"},
        {"ReportFailure", "PassFailTest", true, "1110001"},
        {"ReportFailure", "passfailtest", true, "1100000"},
        {"Warn", "PassFailTest", true, "1011100"},
    };
    for (const auto& [name, type, result, counters] : rows)
    {
        EXPECT_EQ(LoadAndRun(Function(name, "", "type='" + type + "'")), result);
        EXPECT_EQ(Counters(*Node().ParentNode()), counters) << name << type;
    }
}

TEST_F(FunctionNode, TheLowByteOfTheResultCounts)
{
    for (const std::string parameter : {"", "<x:Parameter type='BYTE' passed='byVal' value='1'/>"})
    {
        EXPECT_TRUE(LoadAndRun(Function("ReturnTwo", parameter)));
        EXPECT_FALSE(LoadAndRun(Function("ReturnLowByteZero", parameter)));
    }
}
