#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>

#include <CoreKit/Exceptions.h>

#include <gtest/gtest.h>

#include <regex>

namespace
{
const char* const VARIABLES = R"(<x:Variables>
    <x:Define type="LONGLONG" name="$Fixed" value="0xFFFFFFFFFFFFFFFF"/>
    <x:Local type="BYTE" name="$Byte" value="0xA0B"/>
    <x:Local type="BOOL" name="$Bool" value="true"/>
    <x:Local type="LONG" name="$Long" value="30"/>
    <x:Local type="LONGLONG" name="$Wide" value="0xFFFFFFFFFFFFFFFF"/>
    <x:Local type="BYTE" name="$Time" value="300"/>
</x:Variables>)";
const char* const MAX_SLOT = "18446744073709551615"; ///< `$Wide` untouched
constexpr auto TIMED_OUT = EPromptEnd::TimeOut;
constexpr auto CANCELLED = EPromptEnd::Cancel;
constexpr auto ABORTED = EPromptEnd::Abort;

/// A suite whose first test group holds one prompt, which runs in the midst of a run, and a comparison that shows
/// `$Wide` or another variable.
class CPrompt
{
public:
    CPrompt(const std::string& element, std::deque<SScriptedAnswer> answers, const std::string& shown = "$Wide")
        : m_Suite(m_Host,
                  std::string(VARIABLES) + R"(<x:InitGroup><x:Value value="0"/></x:InitGroup><x:Group>)" + element +
                      R"(<x:Comparison operator="ne"><x:Value value=")" + shown +
                      R"("/><x:Value value="0"/></x:Comparison></x:Group>
                              <x:ExitGroup><x:Value value="0"/></x:ExitGroup>)")
    {
        m_Host.Answers(std::move(answers));
        m_Host.Services.TestSuiteExecuting = true;
    }

    CNode& Node() { return m_Suite.Node("/1/0"); }
    CRecordingHost& Host() { return m_Host; }

    /// Runs the prompt and returns what was recorded.
    std::string Run(bool expected, unsigned kinds = REC_LOG | REC_CALLS)
    {
        EXPECT_EQ(Node().Execute(false), expected);
        EXPECT_EQ(Node().RunState(), expected ? RS_PASSED : RS_FAILED);
        return "\n" + m_Host.Text(kinds);
    }

    /// The dialog's call alone.
    std::string Call()
    {
        Run(true);
        const std::string text = m_Host.Text(REC_CALLS);
        return text.substr(0, text.find('\n'));
    }

    /// The whole slot of the variable that the suite shows.
    std::string Slot()
    {
        m_Host.Clear();
        dynamic_cast<CBooleanBaseNode&>(m_Suite.Node("/1/1")).Calculate();
        std::smatch match;
        const std::string text = m_Host.Text(REC_LOG);
        return std::regex_search(text, match, std::regex("lhs=(\\d+)")) ? match[1].str() : text;
    }

private:
    CRecordingHost m_Host;
    CLoadedSuite m_Suite;
};
} // namespace

// ------------------------------------------------------------------------------------------------------------ yes/no

TEST(Popup, YesNoAnswered)
{
    CPrompt no(R"(<x:BooleanPopup label="L" text="Sure?" variable="$Wide"/>)", {false});
    EXPECT_EQ(no.Run(true, REC_ALL), R"(
flush false
state /1/0 x:BooleanPopup 1
flush false
println L0: 
test-log: L
log TS_NONE L5 node:      - Entering x:BooleanPopup: L.
log TS_NONE L5 -: Prompting user for new value for $Wide
flush true
log TS_NONE L3 -: Request boolean choice:\nSure?. [Yes/No]
BooleanChoice 0 4294967295 'Sure?' 'Yes' 'No' 2 ''
log TS_NONE L5 node:      - Exiting x:BooleanPopup: L.
log TS_NONE L3 -: User selected No
log TS_NONE L5 -: Setting variable $Wide = FALSE.
flush true
test-log: ------- [separator]
println L0: 
flush true
state /1/0 x:BooleanPopup 2
flush false
)");
    EXPECT_EQ(no.Slot(), "0");

    CPrompt yes(R"(<x:BooleanPopup text="Sure?" variable="$Wide" yes_button="Aye" no_button="Nay" timeout="$Time"/>)",
                {true});
    EXPECT_EQ(yes.Run(true), R"(
log TS_NONE L5 node:      - Entering x:BooleanPopup: .
log TS_NONE L5 -: Prompting user for new value for $Wide
log TS_NONE L3 -: Request boolean choice:\nSure?. [Aye/Nay]
BooleanChoice 0 300 'Sure?' 'Aye' 'Nay' 2 ''
log TS_NONE L5 node:      - Exiting x:BooleanPopup: .
log TS_NONE L3 -: User selected Aye
log TS_NONE L5 -: Setting variable $Wide = TRUE.
)");
    EXPECT_EQ(yes.Slot(), "1");
}

TEST(Popup, YesNoStoresByTheVariablesType)
{
    const struct
    {
        const char* variable;
        bool answer;
        const char* slot;
    } rows[] = {
        {"$Byte", true, "2561"}, // 0xA01: one byte written
        {"$Byte", false, "2560"}, {"$Bool", false, "0"}, {"$Bool", true, "1"},
        {"$Long", true, "1"},     {"$Fixed", true, "1"}, // constants are not protected
        {"$Fixed", false, "0"},
    };
    for (const auto& row : rows)
    {
        CPrompt prompt("<x:BooleanPopup variable=\"" + std::string(row.variable) + "\"/>", {row.answer}, row.variable);
        prompt.Run(true);
        EXPECT_EQ(prompt.Slot(), row.slot) << row.variable << row.answer;
    }
}

// ------------------------------------------------------------------------------------------- information and integer

TEST(Popup, InformationAnswered)
{
    CPrompt prompt(R"(<x:InfoPopup label="L" text="Mind the gap"/>)", {EPromptEnd::Ok});
    EXPECT_EQ(prompt.Run(true, REC_ALL), R"(
flush false
state /1/0 x:InfoPopup 1
flush false
println L0: 
test-log: L
log TS_NONE L5 node:      - Entering x:InfoPopup: L.
log TS_NONE L3 -: Inform user:\nMind the gap.
flush true
ShowInfo 0 4294967295 'Mind the gap' true 'OK' 0 2 ''
log TS_NONE L5 node:      - Exiting x:InfoPopup: L.
test-log: ------- [separator]
println L0: 
flush true
state /1/0 x:InfoPopup 2
flush false
)");

    CPrompt captioned(R"(<x:InfoPopup text="T" button="Go" timeout="0x1E"/>)", {EPromptEnd::Ok});
    EXPECT_EQ(captioned.Call(), "ShowInfo 0 30 'T' true 'Go' 0 2 ''");
}

TEST(Popup, IntegerAnswered)
{
    CPrompt prompt(R"(<x:SetPopup label="L" text="How many" variable="$Byte" min="1" max="300" timeout="30"/>)",
                   {std::uint64_t{300}}, "$Byte");
    EXPECT_EQ(prompt.Run(true, REC_ALL), R"(
flush false
state /1/0 x:SetPopup 1
flush false
println L0: 
test-log: L
log TS_NONE L5 node:      - Entering x:SetPopup: L.
log TS_NONE L3 -: Prompt user for integer (with range [min: 1, max: 300]): 
log TS_NONE L4 node: Prompt user for new value for $Byte
flush true
GetInteger 0 30 'How many' 'L' =2571 base 10 true max 300 min 1 '' '' 2 ''
log TS_NONE L3 -: Setting $Byte to 300 (0x12C)
flush true
log TS_NONE L5 node:      - Exiting x:SetPopup: L.
test-log: ------- [separator]
println L0: 
flush true
state /1/0 x:SetPopup 2
flush false
)");
    EXPECT_EQ(prompt.Slot(), "300"); // the dialog's upper bytes stay

    const struct
    {
        const char* variable;
        std::uint64_t answer;
        const char* setting;
    } rows[] = {
        {"$Bool", 300, "257 (0x101)"}, // the lowest byte becomes 1
        {"$Bool", 0, "0 (0x0)"},
        {"$Long", 0x100000002, "4294967298 (0x100000002)"},
        {"$Wide", 0xFFFFFFFFFFFFFFFE, "18446744073709551614 (0xFFFFFFFFFFFFFFFE)"},
        {"$Fixed", 44, "44 (0x2C)"}, // constants are not protected
    };
    for (const auto& row : rows)
    {
        CPrompt stored("<x:SetPopup variable=\"" + std::string(row.variable) + "\"/>", {row.answer}, row.variable);
        const std::string text = stored.Run(true);
        const std::string line = std::string("log TS_NONE L3 -: Setting ") + row.variable + " to " + row.setting + "\n";
        EXPECT_NE(text.find(line), std::string::npos) << text << line;
        EXPECT_EQ(stored.Slot() + ' ', std::string(row.setting).substr(0, std::string(row.setting).find(' ') + 1));
    }
}

TEST(Popup, BoundsOfAnInteger)
{
    const struct
    {
        const char* attributes;
        const char* range;
        const char* call;
    } rows[] = {
        {"", "min: 0, max: unbounded", "'' 'Select a value:' =30 base 10 true max 18446744073709551615 min 0"},
        {R"(hex="true" min="255" label="")", "min: FF, max: unbounded",
         "'' '' =30 base 16 true max 18446744073709551615 min 255"},
        {R"(min="1" max="43" initialize="false")", "min: 1, max: 43",
         "'' 'Select a value:' =30 base 10 false max 43 min 1"},
        {R"(hex="1" min="0xAB" max="0xabcdef0123" text="T" label="L")", "min: AB, max: ABCDEF0123",
         "'T' 'L' =30 base 16 true max 737894400291 min 171"},
        {R"(max="0xFFFFFFFFFFFFFFFF")", "min: 0, max: unbounded",
         "'' 'Select a value:' =30 base 10 true max 18446744073709551615 min 0"},
    };
    for (const auto& row : rows)
    {
        CPrompt prompt("<x:SetPopup variable=\"$Long\" " + std::string(row.attributes) + "/>", {CANCELLED});
        const std::string text = prompt.Run(false);
        EXPECT_NE(text.find("Prompt user for integer (with range [" + std::string(row.range) + "]): \n"),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find("GetInteger 0 4294967295 " + std::string(row.call) + " '' '' 2 ''\n"), std::string::npos)
            << text;
    }
}

// --------------------------------------------------------------------------------------------------- without an answer

TEST(Popup, TimeOuts)
{
    const struct
    {
        const char* timeout;
        const char* seconds;
    } rows[] = {
        {"", "4294967295"},
        {"timeout=\"\"", "4294967295"},
        {"timeout=\"0\"", "0"},
        {"timeout=\"0x1E\"", "30"},
        {"timeout=\"$Long\"", "30"},
        {"timeout=\"$Time\"", "300"},
        {"timeout=\"0x10000001E\"", "30"},
    };
    for (const auto& row : rows)
    {
        CPrompt prompt("<x:BooleanPopup variable=\"$Wide\" " + std::string(row.timeout) + "/>", {true});
        EXPECT_EQ(prompt.Call(), "BooleanChoice 0 " + std::string(row.seconds) + " '' 'Yes' 'No' 2 ''");
    }

    CPrompt unreadable(R"(<x:InfoPopup timeout="soon"/>)", {EPromptEnd::Ok});
    EXPECT_THROW(unreadable.Node().Execute(false), CTestSuiteException);
    EXPECT_EQ("\n" + unreadable.Host().Text(REC_LOG | REC_CALLS), R"(
log TS_NONE L5 node:      - Entering x:InfoPopup: .
log TS_NONE L3 -: Inform user:\n.
log TS_ERROR L1 -: Test script error: variable 'soon' is not defined.
)");
    EXPECT_EQ(unreadable.Node().RunState(), RS_FAILED);
}

TEST(Popup, TimedOutOrCancelled)
{
    const std::string late = "log TS_NONE L3 (255,0,0,255 on 255,255,255,0 400): ";
    const struct
    {
        const char* element;
        std::string before;  ///< up to the dialog
        std::string timeOut; ///< the line that a time-out writes, which stands before or after "Exiting"
        bool isBeforeExit;
    } rows[] = {
        {"BooleanPopup",
         "log TS_NONE L5 -: Prompting user for new value for $Wide\n"
         "log TS_NONE L3 -: Request boolean choice:\\nT. [Yes/No]\nBooleanChoice 0 9 'T' 'Yes' 'No' 2 ''\n",
         late + "Boolean selection popup dialog timed out.\n", false},
        {"InfoPopup", "log TS_NONE L3 -: Inform user:\\nT.\nShowInfo 0 9 'T' true 'OK' 0 2 ''\n",
         late + "Info popup dialog timed out.\n", false},
        {"SetPopup",
         "log TS_NONE L3 -: Prompt user for integer (with range [min: 0, max: unbounded]): \n"
         "log TS_NONE L4 node: Prompt user for new value for $Wide\n"
         "GetInteger 0 9 'T' 'Select a value:' =18446744073709551615 base 10 true max 18446744073709551615 min 0 "
         "'' '' 2 ''\n",
         late + "Set integer dialog timed out.\n", true},
    };
    for (const auto& row : rows)
    {
        const std::string named = std::string("x:") + row.element;
        const bool isInfo = named == "x:InfoPopup";
        const std::string element = "<" + named + (isInfo ? "" : " variable=\"$Wide\"") + " text=\"T\" timeout=\"9\"/>";
        const std::string head = "\ntest-log: \nlog TS_NONE L5 node:      - Entering " + named + ": .\n" + row.before;
        const std::string exit = "log TS_NONE L5 node:      - Exiting " + named + ": .\n";
        const std::string tail = "test-log: ------- [separator]\n";

        CPrompt timedOut(element, {TIMED_OUT});
        EXPECT_EQ(timedOut.Run(false, REC_STORY | REC_CALLS),
                  head + (row.isBeforeExit ? row.timeOut + exit : exit + row.timeOut) + tail);
        EXPECT_EQ(timedOut.Slot(), MAX_SLOT);
        CPrompt cancelled(element, {CANCELLED});
        EXPECT_EQ(cancelled.Run(false, REC_STORY | REC_CALLS), head + exit + tail);
        EXPECT_EQ(cancelled.Slot(), MAX_SLOT);

        CPrompt aborted(element, {ABORTED});
        EXPECT_THROW(aborted.Node().Execute(false), ZKUserAbort);
        EXPECT_EQ("\n" + aborted.Host().Text(REC_STORY | REC_CALLS),
                  head + "OperatorAborted The operator aborted at the prompt \"T\".\n");
        EXPECT_EQ(aborted.Node().RunState(), RS_EXECUTING);
        EXPECT_EQ(aborted.Node().Results().ExecCount, 0U);
        EXPECT_EQ(aborted.Slot(), MAX_SLOT);
    }
}

TEST(Popup, MissingVariable)
{
    const std::pair<const char*, const char*> rows[] = {
        {"BooleanPopup", "log TS_NONE L5 -: Prompting user for new value for $none\n"},
        {"SetPopup",
         "log TS_NONE L3 -: Prompt user for integer (with range [min: 0, max: unbounded]): \n"
         "log TS_NONE L4 node: Prompt user for new value for $none\n"},
    };
    for (const auto& [element, lines] : rows)
    {
        // The variable is looked for before the time-out, and no dialog opens.
        CPrompt prompt("<x:" + std::string(element) + " label=\"L\" variable=\"$none\" timeout=\"soon\"/>", {true});
        try
        {
            prompt.Node().Execute(false);
            ADD_FAILURE() << element;
        }
        catch (const CTestSuiteException& exception)
        {
            EXPECT_STREQ(exception.what(), "Variable does not exist:  $none");
        }
        EXPECT_EQ(prompt.Host().Text(REC_STORY | REC_CALLS),
                  "test-log: L\nlog TS_NONE L5 node:      - Entering x:" + std::string(element) + ": L.\n" + lines);
        EXPECT_EQ(prompt.Node().RunState(), RS_FAILED);
    }
}

// ----------------------------------------------------------------------------------------------------------- in a
// suite

TEST(Popup, AnAbortTwoGroupsDeep)
{
    CRecordingHost host;
    CLoadedSuite suite(host, std::string(VARIABLES) + R"(<x:InitGroup><x:Value value="0"/></x:InitGroup>
        <x:Group name="outer"><x:Group name="inner"><x:InfoPopup label="stop" text="T"/><x:InfoPopup label="next"/></x:Group>
            <x:InfoPopup label="next"/></x:Group>
        <x:Group name="later"><x:InfoPopup label="next"/></x:Group>
        <x:ExitGroup><x:InfoPopup label="bye"/></x:ExitGroup>)");
    host.Answers({ABORTED, EPromptEnd::Ok});
    suite.Run();
    EXPECT_EQ("\n" + host.Text(REC_LOG | REC_TEST_LOG), R"(
log TS_NONE L5 node:    - Entering x:InitGroup.
log TS_NONE L5 node:    - Exiting x:InitGroup.
log TS_NONE L5 node:    - Entering x:Group: outer.
log TS_NONE L5 node:    - attribute name.
log TS_NONE L5 node:    -   value: "outer".
log TS_NONE L5 node:      - Entering x:Group: inner.
log TS_NONE L5 node:      - attribute name.
log TS_NONE L5 node:      -   value: "inner".
test-log: stop
log TS_NONE L5 node:        - Entering x:InfoPopup: stop.
log TS_NONE L3 -: Inform user:\nT.
log TS_NONE L5 node:      - Aborted by user x:Group.
log TS_NONE L5 node:    - Aborted by user x:Group.
log TS_NONE L5 node:  - Aborted by user x:TestSuite.
log TS_NONE L5 node:    - Entering x:ExitGroup.
test-log: bye
log TS_NONE L5 node:      - Entering x:InfoPopup: bye.
log TS_NONE L3 -: Inform user:\n.
log TS_NONE L5 node:      - Exiting x:InfoPopup: bye.
test-log: ------- [separator]
log TS_NONE L5 node:    - Exiting x:ExitGroup.
)");
    for (const char* path : {"/1", "/1/0", "/1/0/0"})
    {
        EXPECT_EQ(suite.Node(path).RunState(), RS_EXECUTING) << path;
    }
    EXPECT_EQ(suite.Node("/2").RunState(), RS_NOT_RUN);
    EXPECT_EQ(suite.Node("/3").RunState(), RS_PASSED);
}

TEST(Popup, CountedAsExecutedButNeverAsATestAndIdleInDiagnostics)
{
    const std::pair<const char*, TPromptAnswer> rows[] = {
        {"<x:BooleanPopup variable=\"$Wide\"/>", true},
        {"<x:InfoPopup/>", EPromptEnd::Ok},
        {"<x:SetPopup variable=\"$Wide\"/>", std::uint64_t{1}},
        {"<x:SetPopup variable=\"$Wide\"/>", TIMED_OUT},
    };
    for (const auto& [element, answer] : rows)
    {
        CPrompt prompt(element, {answer});
        prompt.Host().Services.ExecutionType = EXECUTION_DIAGNOSTIC;
        EXPECT_TRUE(prompt.Node().DiagOnly());
        EXPECT_TRUE(prompt.Node().Execute(false));
        EXPECT_EQ(prompt.Host().Text(REC_ALL & ~(REC_STATE | REC_FLUSH)), "");
        EXPECT_EQ(prompt.Slot(), MAX_SLOT);
        EXPECT_EQ(prompt.Node().Results().ExecCount, 0U);

        prompt.Host().Services.ExecutionType = EXECUTION_NORMAL;
        prompt.Run(answer != TPromptAnswer(TIMED_OUT));
        for (const CNode* node : {&prompt.Node(), prompt.Node().ParentNode(), prompt.Node().RootNode()})
        {
            const ResultSummary& results = node->Results();
            EXPECT_EQ(results.ExecCount, 1U) << element;
            EXPECT_EQ(results.RunCount + results.PassCount + results.FailedExecCount + results.FailCount, 0U)
                << element;
        }
    }
}
