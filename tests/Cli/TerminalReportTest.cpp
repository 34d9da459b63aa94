#include "TerminalReport.h"

#include <CoreKit/TestStatus.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include <pty.h>
#include <unistd.h>

namespace
{
constexpr std::uint32_t LEVEL_NORMAL = 3;
constexpr std::uint32_t LEVEL_WARNING = 4;
constexpr std::uint32_t LEVEL_TRACE = 5;

SLogFormat WarningFormat()
{
    return {TLogColor{176, 96, 0, 255}, {}, 400, false, false};
}

/// A terminal on which both streams end up, in the order in which they were written.
class CScreen
{
public:
    CScreen() { m_Stream = open_memstream(&m_Text, &m_Size); }
    ~CScreen()
    {
        std::fclose(m_Stream);
        std::free(m_Text);
    }
    CScreen(const CScreen&) = delete;
    CScreen& operator=(const CScreen&) = delete;

    std::FILE* Stream() { return m_Stream; }
    std::string Text() { return std::fflush(m_Stream) == 0 ? std::string(m_Text, m_Size) : "?"; }

private:
    std::FILE* m_Stream = nullptr;
    char* m_Text = nullptr;
    std::size_t m_Size = 0;
};

/// Tells a report what happens in a suite.
class CSuite
{
public:
    explicit CSuite(CEventSink& sink)
        : m_Sink(sink)
    {
    }

    void Take(TEvent what) { m_Sink.Take({m_Now, std::move(what)}); }
    void Wait(std::chrono::milliseconds time) { m_Now += time; }

    void Start()
    {
        Take(SSuiteLoadEvent{"device.xml", true, {}});
        SRunStartEvent start;
        start.file = "device.xml";
        Take(start);
        Node("/", "x:TestSuite", "Device");
        Begin("/");
    }

    void Node(const std::string& path, const std::string& element, const std::string& name, bool selected = true)
    {
        SNodeEvent node{path, element, name, "", 10 + m_Nodes.size(), true, selected, name.starts_with("Test")};
        m_Nodes[path] = node;
        Take(node);
    }

    void Begin(const std::string& path) { State(path, ENodeState::Executing); }
    void End(const std::string& path, bool passed = true)
    {
        State(path, passed ? ENodeState::Passed : ENodeState::Failed);
    }
    /// What comes behind `Begin` for an execution.
    void Verdict(const std::string& path, EVerdict verdict = EVerdict::Passed, const std::string& reason = "",
                 std::uint64_t warnings = 0)
    {
        if (verdict != EVerdict::Aborted)
        {
            End(path, verdict == EVerdict::Passed);
        }
        Take(SVerdictEvent{path, m_Nodes[path].test, verdict, warnings, {}, std::chrono::microseconds(12345), reason});
    }
    void Execute(const std::string& path, EVerdict verdict = EVerdict::Passed, const std::string& reason = "")
    {
        Begin(path);
        Verdict(path, verdict, reason);
    }
    void Pass(const std::string& path, std::uint64_t number, std::optional<std::string> variable)
    {
        Take(SPassEvent{path, number, number + 5, std::move(variable)});
    }
    void Log(const std::string& text, std::uint32_t level = LEVEL_NORMAL, std::uint32_t status = TS_NONE,
             const std::optional<SLogFormat>& format = {}, std::uint32_t second = 0)
    {
        Take(SLogEvent{status, second, level, format, text});
    }
    void Finish(const std::string& result, bool passed, const SVerdictCounts& counts)
    {
        End("/", passed);
        Take(SHeadlineEvent{"Test suite " + result + '!', passed ? 0U : 3U});
        SRunEndEvent end;
        end.result = result;
        end.passed = passed;
        end.verdicts = counts;
        end.duration = std::chrono::milliseconds(6150);
        Take(end);
    }

private:
    void State(const std::string& path, ENodeState state)
    {
        const SNodeEvent& node = m_Nodes[path];
        Take(SStateEvent{path, node.element, node.name, node.label, node.line, state});
    }

    CEventSink& m_Sink;
    std::map<std::string, SNodeEvent> m_Nodes;
    std::chrono::system_clock::time_point m_Now{std::chrono::hours(24)};
};

void FeedMixedRun(CSuite& suite)
{
    suite.Start();
    suite.Node("/0", "x:InitGroup", "");
    suite.Node("/0/0", "x:Function", "Connect");
    suite.Node("/1", "x:Group", "Power");
    suite.Node("/1/0", "x:Function", "Test\nVoltage");
    suite.Node("/1/1", "x:Function", "TestCurrent");
    suite.Node("/1/2", "x:BooleanPopup", "Ask");
    suite.Node("/1/3", "x:Function", "TestRipple");
    suite.Node("/2", "x:Group", "Other", false);
    suite.Node("/2/0", "x:Function", "TestOther", false);
    suite.Node("/3", "x:Group", "Radio");
    suite.Node("/3/0", "x:Function", "TestSend");
    suite.Node("/3/1", "x:Set", "Count");
    suite.Node("/4", "x:ExitGroup", "");
    suite.Node("/4/0", "x:Function", "Off");
    suite.Begin("/0");
    suite.Execute("/0/0");
    suite.End("/0");
    suite.Begin("/1");
    suite.Log("  - Entering x:Group.", LEVEL_TRACE);
    suite.Begin("/1/0");
    suite.Log("supply on\nat 12 V\x1B[2J");
    suite.Verdict("/1/0");
    suite.Begin("/1/1");
    suite.Log("battery low", LEVEL_WARNING, TS_NONE, WarningFormat());
    suite.Log("the current is 3 A", 2, TS_FAILED);
    suite.Verdict("/1/1", EVerdict::Failed, "the current is 3 A", 1);
    SPrompt prompt;
    prompt.text = "Is it on?";
    for (std::uint64_t id = 1; id <= 2; ++id)
    {
        suite.Begin("/1/2");
        suite.Take(SPrintEvent{0, true, ""});
        suite.Log("Request boolean choice:\nIs it on?. [Yes/No]");
        suite.Take(SPromptOpenEvent{prompt, id});
        suite.Take(SPromptEvent{prompt, true, id});
        suite.Log("User selected Yes");
        suite.Verdict("/1/2");
    }
    suite.Begin("/1/3");
    suite.Log("measuring ... ", LEVEL_NORMAL, TS_NONE, {}, 4);
    suite.Log("lost");
    suite.Log("begun", LEVEL_NORMAL, TS_NONE, {}, 4);
    suite.Verdict("/1/3", EVerdict::Error, "\nmeter.c(7): Read:\nno answer");
    suite.Log("\nmeter.c(7): Read:\nno answer", 1, TS_ERROR);
    suite.Log("Error: twice", 1, TS_ERROR);
    suite.End("/1", false);
    suite.Begin("/2");
    suite.End("/2");
    suite.Take(SSkipEvent{"/3"});
    suite.Begin("/4");
    suite.Execute("/4/0", EVerdict::Failed, "returned false");
    suite.End("/4", false);
    suite.Take(SNotRunEvent{"/3/0", ENotRunReason::Condition});
    suite.Finish("Failed", false, {.passed = 1, .failed = 1, .errors = 1, .notRun = 1, .warned = 1});
}

constexpr const char* MIXED_END = "Test suite Failed!\n"
                                  "Not passed:\n"
                                  "  FAILED  Power / TestCurrent  /1/1  device.xml:15\n"
                                  "      the current is 3 A\n"
                                  "  ERROR  Power / TestRipple  /1/3  device.xml:17\n"
                                  "      meter.c(7): Read:\n"
                                  "      no answer\n"
                                  "  FAILED  x:ExitGroup / Off  /4/0  device.xml:24\n"
                                  "      returned false\n";
constexpr const char* MIXED_SUMS =
    "device.xml: Failed: 3 tests: 1 passed, 1 failed, 1 error, 0 aborted, 1 not run; 6.2 s, 1 with warnings\n"
    "1 suite: 3 tests: 1 passed, 1 failed, 1 error, 0 aborted, 1 not run; 6.2 s\n";

std::string ShownMixedRun(const STerminalStyle& style)
{
    CScreen screen;
    CTerminalReport report(screen.Stream(), screen.Stream(), style);
    CSuite suite(report);
    FeedMixedRun(suite);
    report.Finish();
    return screen.Text();
}

/// A loop of so many passes around a test that passes and writes a line, a loop around one that fails, and a test that
/// is skipped from the second pass on.
std::string ShownLoop(const STerminalStyle& style, std::uint64_t passes)
{
    CScreen screen;
    CTerminalReport report(screen.Stream(), screen.Stream(), style);
    CSuite suite(report);
    suite.Start();
    suite.Node("/0", "x:Group", "Sweep");
    suite.Node("/0/0", "x:Function", "TestSteady");
    suite.Node("/0/1", "x:Group", "Inner");
    suite.Node("/0/1/0", "x:Function", "TestHigh");
    suite.Node("/0/2", "x:Function", "TestOnce");
    suite.Begin("/0");
    for (std::uint64_t pass = 1; pass <= passes; ++pass)
    {
        suite.Pass("/0", pass, "$i");
        suite.Begin("/0/0");
        suite.Log("all is well");
        suite.Verdict("/0/0");
        suite.Begin("/0/1");
        suite.Pass("/0/1", 1, std::nullopt);
        suite.Begin("/0/1/0");
        suite.Log("too high", 2, TS_FAILED);
        suite.Verdict("/0/1/0", EVerdict::Failed, "too high");
        suite.End("/0/1", false);
        pass == 1 ? suite.Execute("/0/2") : suite.Take(SSkipEvent{"/0/2"});
    }
    suite.End("/0", false);
    suite.Finish("Failed", false, {.passed = passes + 1, .failed = passes});
    return screen.Text();
}
} // namespace

TEST(TerminalReport, ShowsGroupsTestsAndEntriesAsTheyComeAndWhatDidNotPassAgainAtTheEnd)
{
    EXPECT_EQ(ShownMixedRun({.showsDialogs = true}),
              "x:InitGroup\n"
              "Power\n"
              "supply on\n"
              "    at 12 V\\x1B[2J\n"
              "  PASSED  Power / Test\\nVoltage  0.012 s\n"
              "warning: battery low\n"
              "failure: the current is 3 A\n"
              "  FAILED  Power / TestCurrent  0.012 s  (1 warning)\n"
              "\n"
              "User selected Yes\n"
              "\n"
              "User selected Yes\n"
              "measuring ... lost\n"
              "begun\n"
              "  ERROR  Power / TestRipple  0.012 s\n"
              "error: meter.c(7): Read:\n"
              "    no answer\n"
              "Error: twice\n"
              "  SKIPPED  Radio\n"
              "x:ExitGroup\n"
              "  FAILED  x:ExitGroup / Off  0.012 s\n" +
                  std::string(MIXED_END) +
                  "Not run, since the condition did not hold, its own or that of a group around it:\n"
                  "  Radio / TestSend  /3/0  device.xml:21\n" +
                  MIXED_SUMS);
}

TEST(TerminalReport, ShowsNoEntryWithoutAStatusWhenQuietAndEveryEntryWhenAskedFor)
{
    EXPECT_EQ(ShownMixedRun({.level = 2}),
              "failure: the current is 3 A\n"
              "  FAILED  Power / TestCurrent  0.012 s  (1 warning)\n"
              "  ERROR  Power / TestRipple  0.012 s\n"
              "error: meter.c(7): Read:\n"
              "    no answer\n"
              "Error: twice\n"
              "  FAILED  x:ExitGroup / Off  0.012 s\n" +
                  std::string(MIXED_END) + MIXED_SUMS);
    const std::string trace = ShownMixedRun({.level = LEVEL_TRACE});
    EXPECT_NE(trace.find("Power\n  - Entering x:Group.\nsupply on\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("\n\nRequest boolean choice:\n    Is it on?. [Yes/No]\nUser selected"), std::string::npos);

    const std::string quiet = ShownLoop({.level = 2}, 5);
    EXPECT_EQ(quiet.find("all is well"), std::string::npos) << quiet;
    EXPECT_EQ(quiet.find("executions"), std::string::npos) << quiet;
    const std::string loop = ShownLoop({.level = LEVEL_TRACE}, 5);
    EXPECT_NE(loop.find("all is well\n  PASSED  Sweep / TestSteady [5] $i=10  0.012 s\n"), std::string::npos) << loop;
    EXPECT_NE(loop.find("failure: too high\n  FAILED  Sweep / Inner / TestHigh [5.1] $i=10"), std::string::npos);
}

TEST(TerminalReport, SumsUpWhatHappensOverAndOverInALoop)
{
    EXPECT_EQ(ShownLoop({}, 1000),
              "Sweep\n"
              "all is well\n"
              "  PASSED  Sweep / TestSteady [1] $i=6  0.012 s\n"
              "Sweep / Inner\n"
              "failure: too high\n"
              "  FAILED  Sweep / Inner / TestHigh [1.1] $i=6  0.012 s\n"
              "  PASSED  Sweep / TestOnce [1] $i=6  0.012 s\n"
              "all is well\n"
              "  PASSED  Sweep / TestSteady [2] $i=7  0.012 s\n"
              "failure: too high\n"
              "  FAILED  Sweep / Inner / TestHigh [2.1] $i=7  0.012 s\n"
              "  SKIPPED  Sweep / TestOnce [2] $i=7\n"
              "all is well\n"
              "  PASSED  Sweep / TestSteady [3] $i=8  0.012 s\n"
              "failure: too high\n"
              "  FAILED  Sweep / Inner / TestHigh [3.1] $i=8  0.012 s\n"
              "  SKIPPED  Sweep / TestOnce [3] $i=8\n"
              "  SKIPPED  Sweep / TestOnce [4] $i=9\n"
              "  Sweep / TestSteady: 1000 executions, 1000 passed, 0 not passed, 997 entries not shown (-v shows all)\n"
              "  Sweep / Inner / TestHigh: 1000 executions, 0 passed, 1000 not passed, 997 entries not shown (-v shows "
              "all)\n"
              "  Sweep / TestOnce: 1 execution, 1 passed, 0 not passed, 999 skipped\n"
              "Test suite Failed!\n"
              "Not passed:\n"
              "  FAILED  Sweep / Inner / TestHigh [1.1] $i=6  /0/1/0  device.xml:14\n"
              "      too high\n"
              "  FAILED  Sweep / Inner / TestHigh [2.1] $i=7  /0/1/0  device.xml:14\n"
              "      too high\n"
              "  FAILED  Sweep / Inner / TestHigh [3.1] $i=8  /0/1/0  device.xml:14\n"
              "      too high\n"
              "      and 997 more times\n"
              "device.xml: Failed: 2001 tests: 1001 passed, 1000 failed, 0 errors, 0 aborted, 0 not run; 6.2 s\n");
}

TEST(TerminalReport, ColoursTellVerdictsAndEntriesApart)
{
    CScreen screen;
    CTerminalReport report(screen.Stream(), screen.Stream(), {.color = true});
    CSuite suite(report);
    suite.Start();
    suite.Node("/0", "x:Group", "Power");
    suite.Node("/0/0", "x:Function", "TestVoltage");
    suite.Begin("/0");
    suite.Begin("/0/0");
    suite.Log("plain");
    suite.Log("low", LEVEL_WARNING, TS_NONE, WarningFormat());
    suite.Log("lost", 1, TS_ERROR);
    suite.Verdict("/0/0");
    suite.Begin("/0/0");
    suite.Take(SAbortEvent{"enough\nof it", EAbortCause::Operator});
    suite.Verdict("/0/0", EVerdict::Aborted, "enough\nof it");
    suite.Take(SHeadlineEvent{"Test suite Aborted!", 3});
    EXPECT_EQ(screen.Text(),
              "\033[1mPower\033[0m\n"
              "plain\n"
              "\033[33mwarning: low\033[0m\n"
              "\033[1;31merror: lost\033[0m\n"
              "\033[32m  PASSED  Power / TestVoltage  0.012 s\033[0m\n"
              "\033[1;35mAborted: enough\\nof it\033[0m\n"
              "\033[1;35m  ABORTED  Power / TestVoltage  0.012 s\033[0m\n"
              "\033[1;31mTest suite Aborted!\033[0m\n");
}

TEST(TerminalReport, SaysWhyASuiteOrATestDidNotRun)
{
    CScreen screen;
    CTerminalReport report(screen.Stream(), screen.Stream(), {});
    CSuite suite(report);
    SSuiteLoadEvent broken{"a\nb.xml", false, {{3, 5, ESeverity::Error, "schema", "no such element\x1B"}}};
    broken.problems.push_back({0, 0, ESeverity::Warning, "filter", "left out"});
    std::string expected = "a\\nb.xml:3:5: error: no such element\\x1B [schema]\n"
                           "a\\nb.xml: warning: left out [filter]\n";
    for (std::uint64_t line = 3; line <= 102; ++line)
    {
        broken.problems.push_back({line, 1, ESeverity::Error, "xml", "x"});
        expected += line <= 100 ? "a\\nb.xml:" + std::to_string(line) + ":1: error: x [xml]\n" : "";
    }
    suite.Take(broken);
    suite.Start();
    suite.Take(SLockEvent{ELockState::Refused, "/tmp/lock", 12, "bench", {}});
    for (int i = 0; i < 12; ++i)
    {
        suite.Node('/' + std::to_string(i), "x:Function", "Test" + std::to_string(i));
        suite.Take(SNotRunEvent{'/' + std::to_string(i), ENotRunReason::Stopped});
    }
    suite.Take(SNotRunEvent{"/11", ENotRunReason::LeftOut});
    suite.Finish("", false, {.notRun = 13});
    suite.Start();
    suite.Finish("Passed", false, {.passed = 1});
    report.Finish();

    expected += "a\\nb.xml: and 2 more\n"
                "a\\nb.xml: not loaded\n"
                "execution lock /tmp/lock: held by process 12 on bench\n"
                "Test suite !\n"
                "Not run, since the run was stopped before:\n";
    for (int i = 0; i < 10; ++i)
    {
        const std::string number = std::to_string(i);
        expected += "  Test" + number + "  /" + number + "  device.xml:" + std::to_string(i + 11) + '\n';
    }
    expected += "  and 2 more\n"
                "Not run, since a validation run leaves it out:\n"
                "  Test11  /11  device.xml:22\n"
                "device.xml: did not run: 0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 13 not run; 6.2 s\n"
                "Test suite Passed!\n"
                "device.xml: Not passed: 1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 0 not run; 6.2 s\n"
                "3 suites: 1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 13 not run; 12.3 s\n";
    EXPECT_EQ(screen.Text(), expected);
}

TEST(TerminalReport, TheProgressLineFitsTheTerminalAndGivesWayToEveryLine)
{
    int terminal = -1;
    int program = -1;
    winsize size{};
    size.ws_col = 40;
    termios raw{};
    cfmakeraw(&raw);
    ASSERT_EQ(openpty(&terminal, &program, nullptr, &raw, &size), 0);
    std::FILE* const stream = fdopen(program, "w");
    // What the terminal got so far, up to a mark that nothing else contains.
    const auto shown = [&]
    {
        std::string text;
        char character = 0;
        EXPECT_EQ(write(program, "#", 1), 1);
        while (read(terminal, &character, 1) == 1 && character != '#')
        {
            text += character;
        }
        return text;
    };
    {
        using std::chrono::milliseconds;
        const std::string erase = "\r\033[K";
        CTerminalReport report(stream, stream, {.level = 2, .progress = true});
        CSuite suite(report);
        suite.Start();
        suite.Node("/0", "x:Group", "\u96FB\u6E90\t");
        suite.Node("/0/0", "x:Function", "Test\u96FB\u6E90\u96FB\u6E90\u96FB\u6E90\u96FB\u6E90");
        suite.Node("/0/1", "x:Function", "TestLast");
        suite.Node("/1", "x:Group", "Sweep");
        suite.Node("/1/0", "x:Function", "TestPass");
        suite.Node("/2", "x:Group", "Later");
        suite.Node("/2/0", "x:Function", "TestLater");
        EXPECT_EQ(shown(), "0 of 0, 0:00  Device");
        suite.Begin("/0");
        EXPECT_EQ(shown(), "");
        suite.Wait(milliseconds(100));
        suite.Begin("/0/0");
        // 39 columns: the next character would take up the last two.
        EXPECT_EQ(shown(), erase + "0 of 4, 0:00  \u96FB\u6E90  / Test\u96FB\u6E90\u96FB\u6E90\u96FB\u6E90");
        suite.Wait(milliseconds(61900));
        suite.Verdict("/0/0", EVerdict::Failed);
        EXPECT_EQ(shown(),
                  erase + "  FAILED  \u96FB\u6E90\t / Test\u96FB\u6E90\u96FB\u6E90\u96FB\u6E90\u96FB\u6E90  0.012 s\n" +
                      "1 of 4, 1 failed, 1:02  \u96FB\u6E90 ");
        suite.Begin("/0/1");
        EXPECT_EQ(shown(), erase + "1 of 4, 1 failed, 1:02  \u96FB\u6E90  / TestLas");
        suite.Take(SPromptOpenEvent{{}, 1});
        EXPECT_EQ(shown(), erase);
        suite.Wait(milliseconds(3540000));
        suite.Take(SPromptEvent{{}, EPromptEnd::Ok, 1});
        EXPECT_EQ(shown(), "1 of 4, 1 failed, 1:00:02  \u96FB\u6E90  / Test");
        suite.Log("half", 0, TS_ERROR, {}, 4);
        suite.Verdict("/0/1");
        suite.End("/0", false);
        suite.Take(SSkipEvent{"/2"});
        suite.Begin("/1");
        EXPECT_EQ(shown(), erase + "error: half");
        suite.Log(" a line", 0, TS_ERROR);
        EXPECT_EQ(shown(), " a line\n3 of 4, 1 failed, 1:00:02  Sweep");
        suite.Pass("/1", 7, "$i");
        suite.Begin("/1/0");
        EXPECT_EQ(shown(), erase + "3, 1 failed, 1:00:02  Sweep / TestPass ");
        suite.Finish("Failed", false, {});
        EXPECT_EQ(shown().substr(0, 23), erase + "Test suite Failed!\n");
    }
    std::fclose(stream);
    close(terminal);
}
