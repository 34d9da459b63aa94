#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>

#include <regex>

namespace
{
const std::string VARIABLES = R"(<x:Variables>
    <x:Define type="LONGLONG" name="$Fixed" value="0xFFFFFFFFFFFFFFFF"/>
    <x:Local type="BYTE" name="$Byte" value="0xA0B"/>
    <x:Local type="BOOL" name="$Bool" value="true"/>
    <x:Local type="LONG" name="$Long" value="30"/>
    <x:Local type="LONGLONG" name="$Wide" value="0xFFFFFFFFFFFFFFFF"/>
    <x:Local type="BYTE" name="$Time" value="300"/>
</x:Variables><x:InitGroup><x:Value value="0"/></x:InitGroup>)";
const char* const MAX_SLOT = "18446744073709551615"; ///< `$Wide` untouched

/// A suite whose first test group holds one prompt, which runs without a run around it, and a comparison that shows
/// `$Wide` or another variable. `element` is the prompt's name without the prefix, and its attributes.
class CPrompt
{
public:
    CPrompt(const std::string& element, std::deque<SScriptedAnswer> answers, const std::string& shown = "$Wide")
        : m_Suite(m_Host,
                  VARIABLES + "<x:Group><x:" + element + "/><x:Comparison operator='ne'><x:Value value='" + shown +
                      "'/><x:Value value='0'/></x:Comparison></x:Group>"
                      "<x:ExitGroup><x:Value value='0'/></x:ExitGroup>")
    {
        m_Host.Answers(std::move(answers));
    }

    CNode& Node() { return m_Suite.Node("/1/0"); }
    CRecordingHost& Host() { return m_Host; }

    /// Runs the prompt, which counts as executed and never as a test, and returns what was recorded.
    std::string Run(bool expected, unsigned kinds = REC_LOG | REC_CALLS)
    {
        EXPECT_EQ(Node().Execute(false), expected);
        EXPECT_EQ(Node().RunState(), expected ? RS_PASSED : RS_FAILED);
        for (const CNode* node : {&Node(), Node().ParentNode(), Node().RootNode()})
        {
            const ResultSummary& counts = node->Results();
            EXPECT_EQ(counts.ExecCount, 1U);
            EXPECT_EQ(counts.RunCount + counts.PassCount + counts.FailedExecCount + counts.FailCount, 0U);
        }
        return "\n" + m_Host.Text(kinds);
    }

    /// The whole slot of the variable that the suite shows.
    std::string Slot()
    {
        m_Host.Clear();
        dynamic_cast<CBooleanBaseNode&>(m_Suite.Node("/1/1")).Calculate();
        return std::regex_replace(m_Host.Text(REC_LOG), std::regex("[^]*lhs=(\\d+)[^]*"), "$1");
    }

private:
    CRecordingHost m_Host;
    CLoadedSuite m_Suite;
};

/// All that a prompt with the label "L" records, around its own lines.
std::string Framed(const std::string& name, const std::string& lines)
{
    return "\nflush false\nstate /1/0 " + name + " 1\nflush false\nprintln L0: \ntest-log: L\n" +
        "log TS_NONE L5 node:      - Entering " + name + ": L." + lines +
        "test-log: ------- [separator]\nprintln L0: \nflush true\nstate /1/0 " + name + " 2\nflush false\n";
}
} // namespace

TEST(Popup, Answered)
{
    CPrompt no("BooleanPopup label='L' text='Sure?' variable='$Wide'", {false});
    EXPECT_EQ(no.Run(true, REC_ALL), Framed("x:BooleanPopup", R"(
log TS_NONE L5 -: Prompting user for new value for $Wide
flush true
log TS_NONE L3 -: Request boolean choice:\nSure?. [Yes/No]
BooleanChoice 0 4294967295 'Sure?' 'Yes' 'No' 2 ''
log TS_NONE L5 node:      - Exiting x:BooleanPopup: L.
log TS_NONE L3 -: User selected No
log TS_NONE L5 -: Setting variable $Wide = FALSE.
flush true
)"));
    CPrompt yes("BooleanPopup text='Sure?' variable='$Wide' yes_button='Aye' no_button='Nay' timeout='$Time'", {true});
    EXPECT_EQ(yes.Run(true), R"(
log TS_NONE L5 node:      - Entering x:BooleanPopup: .
log TS_NONE L5 -: Prompting user for new value for $Wide
log TS_NONE L3 -: Request boolean choice:\nSure?. [Aye/Nay]
BooleanChoice 0 300 'Sure?' 'Aye' 'Nay' 2 ''
log TS_NONE L5 node:      - Exiting x:BooleanPopup: .
log TS_NONE L3 -: User selected Aye
log TS_NONE L5 -: Setting variable $Wide = TRUE.
)");
    CPrompt info("InfoPopup label='L' text='Mind the gap'", {EPromptEnd::Ok});
    EXPECT_EQ(info.Run(true, REC_ALL), Framed("x:InfoPopup", R"(
log TS_NONE L3 -: Inform user:\nMind the gap.
flush true
ShowInfo 0 4294967295 'Mind the gap' true 'OK' 0 2 ''
log TS_NONE L5 node:      - Exiting x:InfoPopup: L.
)"));
    CPrompt captioned("InfoPopup text='T' button='Go' timeout='0x1E'", {EPromptEnd::Ok});
    EXPECT_TRUE(captioned.Run(true, REC_CALLS).starts_with("\nShowInfo 0 30 'T' true 'Go' 0 2 ''\n"));
    CPrompt number("SetPopup label='L' text='How many' variable='$Byte' min='1' max='300' timeout='30'",
                   {std::uint64_t{300}}, "$Byte");
    EXPECT_EQ(number.Run(true, REC_ALL), Framed("x:SetPopup", R"(
log TS_NONE L3 -: Prompt user for integer (with range [min: 1, max: 300]): 
log TS_NONE L4 node: Prompt user for new value for $Byte
flush true
GetInteger 0 30 'How many' 'L' =2571 base 10 true max 300 min 1 '' '' 2 ''
log TS_NONE L3 -: Setting $Byte to 300 (0x12C)
flush true
log TS_NONE L5 node:      - Exiting x:SetPopup: L.
)"));
}

TEST(Popup, AnswersAreStoredByTheVariablesType)
{
    // A yes/no prompt writes as many bytes as the type has, an integer prompt all; constants are not protected.
    const struct
    {
        std::string variable;
        TPromptAnswer answer;
        std::string setting; ///< what the log says of it
        const char* slot;
    } rows[] = {
        // clang-format off
        {"$Byte", true, " = TRUE.", "2561"}, {"$Byte", false, " = FALSE.", "2560"}, // 0xA01 and 0xA00
        {"$Bool", true, " = TRUE.", "1"},    {"$Bool", false, " = FALSE.", "0"},
        {"$Long", true, " = TRUE.", "1"},    {"$Fixed", false, " = FALSE.", "0"},
        {"$Bool", std::uint64_t{300}, " to 257 (0x101)", "257"}, // the lowest byte becomes 1
        {"$Bool", std::uint64_t{0}, " to 0 (0x0)", "0"},
        {"$Byte", std::uint64_t{300}, " to 300 (0x12C)", "300"},
        {"$Long", std::uint64_t{0x100000002}, " to 4294967298 (0x100000002)", "4294967298"},
        {"$Wide", ~std::uint64_t{1}, " to 18446744073709551614 (0xFFFFFFFFFFFFFFFE)", "18446744073709551614"},
        {"$Fixed", std::uint64_t{44}, " to 44 (0x2C)", "44"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        const bool isChoice = std::holds_alternative<bool>(row.answer);
        CPrompt prompt((isChoice ? "BooleanPopup variable='" : "SetPopup variable='") + row.variable + "'",
                       {row.answer}, row.variable);
        const std::string text = prompt.Run(true);
        const std::string line = (isChoice ? "L5 -: Setting variable " : "L3 -: Setting ") + row.variable + row.setting;
        EXPECT_NE(text.find(line + "\n"), std::string::npos) << text << line;
        EXPECT_EQ(prompt.Slot(), row.slot) << line;
    }
}

TEST(Popup, BoundsOfAnInteger)
{
    const std::tuple<std::string, std::string, std::string> rows[] = {
        // clang-format off
        {"", "min: 0, max: unbounded", "'' 'Select a value:' =30 base 10 true max 18446744073709551615 min 0"},
        {"hex='true' min='255' label=''", "min: FF, max: unbounded", "'' '' =30 base 16 true max 18446744073709551615 min 255"},
        {"min='1' max='43' initialize='false'", "min: 1, max: 43", "'' 'Select a value:' =30 base 10 false max 43 min 1"},
        {"hex='1' min='0xAB' max='0xabcdef0123' text='T' label='L'", "min: AB, max: ABCDEF0123", "'T' 'L' =30 base 16 true max 737894400291 min 171"},
        {"max='0xFFFFFFFFFFFFFFFF'", "min: 0, max: unbounded", "'' 'Select a value:' =30 base 10 true max 18446744073709551615 min 0"},
        // clang-format on
    };
    for (const auto& [attributes, range, call] : rows)
    {
        CPrompt prompt("SetPopup variable='$Long' " + attributes, {EPromptEnd::Cancel});
        const std::string text = prompt.Run(false);
        EXPECT_NE(text.find("Prompt user for integer (with range [" + range + "]): \n"), std::string::npos) << text;
        EXPECT_NE(text.find("GetInteger 0 4294967295 " + call + " '' '' 2 ''\n"), std::string::npos) << text;
    }
}

TEST(Popup, TimeOuts)
{
    const std::pair<std::string, std::string> rows[] = {
        {"", "4294967295"},        {"timeout=''", "4294967295"}, {"timeout='0'", "0"},
        {"timeout='$Long'", "30"}, {"timeout='$Time'", "300"},   {"timeout='0x10000001E'", "30"},
    };
    for (const auto& [timeout, seconds] : rows)
    {
        CPrompt prompt("BooleanPopup variable='$Wide' " + timeout, {true});
        EXPECT_TRUE(prompt.Run(true, REC_CALLS).starts_with("\nBooleanChoice 0 " + seconds + " '' 'Yes' 'No' 2 ''\n"));
    }
}

TEST(Popup, WithoutAnAnswer)
{
    const struct
    {
        std::string name, attributes;
        std::string prompting, dialog; ///< the lines up to the dialog
        std::string late;              ///< what a time-out says, which stands before or after "Exiting"
        bool isBeforeExit;
    } rows[] = {
        {"BooleanPopup", "variable='$Wide'", "log TS_NONE L5 -: Prompting user for new value for $Wide\n",
         "log TS_NONE L3 -: Request boolean choice:\\nT. [Yes/No]\nBooleanChoice 0 9 'T' 'Yes' 'No' 2 ''\n",
         "Boolean selection popup dialog timed out.\n", false},
        {"InfoPopup", "", "log TS_NONE L3 -: Inform user:\\nT.\n", "ShowInfo 0 9 'T' true 'OK' 0 2 ''\n",
         "Info popup dialog timed out.\n", false},
        {"SetPopup", "variable='$Wide'",
         "log TS_NONE L3 -: Prompt user for integer (with range [min: 0, max: unbounded]): \n"
         "log TS_NONE L4 node: Prompt user for new value for $Wide\n",
         "GetInteger 0 9 'T' 'Select a value:' =18446744073709551615 base 10 true max 18446744073709551615 min 0 "
         "'' '' 2 ''\n",
         "Set integer dialog timed out.\n", true},
    };
    for (const auto& row : rows)
    {
        const std::string element = row.name + " text='T' timeout='9' " + row.attributes;
        const std::string entry = "\ntest-log: \nlog TS_NONE L5 node:      - Entering x:" + row.name + ": .\n";
        const std::string head = entry + row.prompting + row.dialog;
        const std::string exit = "log TS_NONE L5 node:      - Exiting x:" + row.name + ": .\n";
        const std::string late = "log TS_NONE L3 (255,0,0,255 on 255,255,255,0 400): " + row.late;
        const std::string tail = "test-log: ------- [separator]\n";

        CPrompt timedOut(element, {EPromptEnd::TimeOut});
        EXPECT_EQ(timedOut.Run(false, REC_STORY | REC_CALLS),
                  head + (row.isBeforeExit ? late + exit : exit + late) + tail);
        EXPECT_EQ(timedOut.Slot(), MAX_SLOT);
        CPrompt cancelled(element, {EPromptEnd::Cancel});
        EXPECT_EQ(cancelled.Run(false, REC_STORY | REC_CALLS), head + exit + tail);
        EXPECT_EQ(cancelled.Slot(), MAX_SLOT);

        CPrompt aborted(element, {EPromptEnd::Abort});
        EXPECT_THROW(aborted.Node().Execute(false), ZKUserAbort);
        EXPECT_EQ("\n" + aborted.Host().Text(REC_STORY | REC_CALLS),
                  head + "OperatorAborted The operator aborted at the prompt \"T\".\n");
        EXPECT_EQ(aborted.Node().RunState(), RS_EXECUTING);
        EXPECT_EQ(aborted.Node().Results().ExecCount, 0U);
        EXPECT_EQ(aborted.Slot(), MAX_SLOT);

        // No dialog opens without a variable, which is looked for first, or with a time-out that can't be read.
        const bool isInfo = row.attributes.empty();
        CPrompt broken(row.name + " text='T' timeout='soon'" + (isInfo ? "" : " variable='$none'"), {true});
        EXPECT_EQ(ThrownText<CTestSuiteException>([&] { broken.Node().Execute(false); }),
                  std::string("Variable does not exist:  ") + (isInfo ? "soon" : "$none"));
        EXPECT_EQ("\n" + broken.Host().Text(REC_STORY | REC_CALLS),
                  entry + std::regex_replace(row.prompting, std::regex("\\$Wide"), "$$none") +
                      (isInfo ? "log TS_ERROR L1 -: Test script error: variable 'soon' is not defined.\n" : ""));
        EXPECT_EQ(broken.Node().RunState(), RS_FAILED);

        CPrompt idle(element, {});
        idle.Host().Services.Settings.ExecutionType = EXECUTION_DIAGNOSTIC;
        EXPECT_TRUE(idle.Node().DiagOnly() && idle.Node().Execute(false));
        EXPECT_EQ(idle.Host().Text(REC_ALL & ~(REC_STATE | REC_FLUSH)), "");
        EXPECT_EQ(idle.Slot(), MAX_SLOT);
        EXPECT_EQ(idle.Node().Results().ExecCount, 0U);
    }
}

TEST(Popup, AnAbortTwoGroupsDeep)
{
    CRecordingHost host;
    CLoadedSuite suite(host, VARIABLES + R"(<x:Group><x:Group><x:InfoPopup text="T"/><x:InfoPopup/></x:Group>
        <x:InfoPopup/></x:Group><x:Group><x:InfoPopup/></x:Group><x:ExitGroup><x:InfoPopup label="bye"/></x:ExitGroup>)");
    host.Answers({EPromptEnd::Abort, EPromptEnd::Ok});
    suite.Run();
    EXPECT_EQ("\n" + host.Text(REC_LOG | REC_TEST_LOG), R"(
log TS_NONE L5 node:    - Entering x:InitGroup.
log TS_NONE L5 node:    - Exiting x:InitGroup.
log TS_NONE L5 node:    - Entering x:Group: .
log TS_NONE L5 node:      - Entering x:Group: .
test-log: 
log TS_NONE L5 node:        - Entering x:InfoPopup: .
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
    const std::pair<const char*, ERunState> states[] = {
        {"/1", RS_EXECUTING}, {"/1/0", RS_EXECUTING}, {"/1/0/0", RS_EXECUTING}, {"/2", RS_NOT_RUN}, {"/3", RS_PASSED}};
    for (const auto& [path, state] : states)
    {
        EXPECT_EQ(suite.Node(path).RunState(), state) << path;
    }
}
