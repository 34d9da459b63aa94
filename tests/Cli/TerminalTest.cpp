#include "CliFixture.h"

#include <algorithm>
#include <sstream>

namespace
{
class CTerminalTest : public CCliTest
{
protected:
    /// What a call leaves when both streams go to one place.
    std::string Together(const std::string& call) const
    {
        const std::string line = "'" ORVANTA_PROGRAM "' " + call + " 2>&1";
        return Finish(*Start("/bin/bash", {QStringLiteral("-c"), QString::fromStdString(line)})).out;
    }
};

/// The lines of a text that begin so, each with its line feed.
std::string Lines(const std::string& text, const std::string& begin)
{
    std::string found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        found += line.starts_with(begin) ? line + '\n' : "";
    }
    return found;
}
} // namespace

TEST_F(CTerminalTest, NoTextPassesForALineOfItsOwnOrSteersTheTerminal)
{
    const std::string shown = R"(a\nTest suite Passed!\u202E\u009B)";
    Suite("<x:Function name=\"ReturnsFalse\" type=\"PassFailTest\" "
          "label=\"a&#10;Test suite Passed!&#x202E;&#x9B;\"/>\n" +
          Call("Passes"));
    const SOutcome run = Run("--log l --progress always suite.xml");
    const std::string failed = "Failed: /1/0 x:Function \"" + shown + "\" (suite.xml:";
    EXPECT_PRED2(Contains, run.out, "Test: " + shown + '\n');
    EXPECT_PRED2(Contains, run.out, failed);
    EXPECT_PRED2(Contains, run.out, "all is well\n    with the device\n");
    EXPECT_PRED2(Contains, run.err, "running /1/0  " + shown + '\r');
    EXPECT_PRED2(Contains, Read("l"), " 0 note   " + failed);
    EXPECT_PRED2(Contains, Read("l"), " 0 test   " + shown + '\n');

    EXPECT_PRED2(Contains, Orvanta("list suite.xml").out, "ReturnsFalse \"" + shown + "\"\n");
    const std::string json = Orvanta("list --json suite.xml").out;
    EXPECT_PRED2(Contains, json, "\"label\": \"" + shown + '"');
    EXPECT_EQ(TJson::parse(json)[0]["nodes"][4]["label"], "a\nTest suite Passed!\u202E\u009B");

    for (const char* call : {"run a\n\u202Eb", "list a\n\u202Eb", "a\n\u202Eb", "list suite.xml -t a\n\u202Eb"})
    {
        const std::string errors = Orvanta(call).err;
        EXPECT_PRED2(Contains, errors.substr(0, errors.find('\n')), R"(a\n\u202Eb)") << errors;
    }
}

TEST_F(CTerminalTest, TheInnermostFailureIsNamedOnceForEachTimeItHappens)
{
    const std::string fails = Call("ReturnsFalse");
    const auto group = [](const std::string& body, const char* attributes = "")
    { return "<x:Group " + std::string(attributes) + ">" + body + "</x:Group>\n"; };
    const std::pair<std::string, const char*> rows[] = {
        {Call("LogsFailure"), ""},
        {group(fails + Call("Passes")) + fails, "/1/0/0 /1/1 "},
        {group(group(fails), "to=\"3\"") + Call("Passes"), "/1/0/0/0 /1/0/0/0 /1/0/0/0 "},
        {group(fails) + Call("Passes") + group(group(Call("Throws"))), "/1/0/0 /1/2/0/0 "},
        {group(Call("Aborts")), ""},
    };
    for (const auto& [body, expected] : rows)
    {
        SCOPED_TRACE(body);
        std::istringstream lines(Lines(Run(Suite(body, fails)).out, "Failed: "));
        std::string paths;
        for (std::string word, path, rest; lines >> word >> path && std::getline(lines, rest);)
        {
            paths += path + ' ';
        }
        EXPECT_EQ(paths, expected + std::string("/2/0 "));
    }
    const std::string lines = Lines(Run("-q " + Suite(group(fails, "to=\"40000\""))).out, "Failed: /1/0/0 ");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 40000);
}

TEST_F(CTerminalTest, ColoursAndProgressFollowTheTerminalUnlessAskedFor)
{
    Suite(Call("Passes"));
    const struct
    {
        const char* environment;
        const char* options;
        bool color;
        bool progress;
    } rows[] = {
        {"TERM=xterm", "", true, true},
        {"TERM=dumb", "", false, false},
        {"-u TERM", "", false, false},
        {"TERM=xterm NO_COLOR=1", "", false, false},
        {"TERM=dumb NO_COLOR=1", "--color always --progress always ", true, true},
        {"TERM=xterm", "--color never --progress never ", false, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.environment) + ' ' + row.options);
        const std::string command = "/usr/bin/env -u NO_COLOR " + std::string(row.environment);
        CPty terminal(QString::fromStdString(Path("")), QProcess::systemEnvironment(),
                      Words(command + " " ORVANTA_PROGRAM " " + RUN + row.options + "suite.xml"));
        EXPECT_EQ(terminal.Wait(), 0);
        EXPECT_EQ(Contains(terminal.Output(), "\033[1;32mTest suite Passed!\033[0m\r\n"), row.color);
        EXPECT_EQ(Contains(terminal.Output(), "running /1/0  Passes\r\033[K"), row.progress);
    }
}

TEST_F(CTerminalTest, TheProgressLineFitsAndGivesWayToEveryOtherLine)
{
    std::string label;
    std::string fitting;
    for (int i = 0; i < 100; ++i)
    {
        label += "\xC3\xA4";
        fitting += i < 79 - 14 ? "\xC3\xA4" : "";
    }
    const std::string call = "<x:Function name=\"Warns\" label=\"" + label + "\"/>";
    const auto terminal = RunAtTerminal(Suite(call + Call("Aborts"), Call("Passes")));
    EXPECT_EQ(terminal->Wait(), 2);
    EXPECT_PRED2(Contains, terminal->Output(), "running /1/0  " + fitting + "\r\033[K");
    EXPECT_PRED2(Contains, terminal->Output(), "running /2/0  Passes\r\033[Krunning /2  x:ExitGroup\r\033[Krunning / ");

    std::istringstream lines(Together(RUN + "--progress always suite.xml"));
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t erased = line.rfind("\r\033[K");
        EXPECT_FALSE(line.substr(erased == std::string::npos ? 0 : erased + 4).starts_with("running ")) << line;
    }
}

TEST_F(CTerminalTest, ErrorsStandWhereTheyBelongBetweenTheOutput)
{
    Suite(Call("Passes"));
    const std::string out = Together("list suite.xml missing.xml suite.xml -t /");
    const std::size_t error = out.find("missing.xml:");
    EXPECT_LT(out.find("suite.xml\n"), error) << out;
    EXPECT_NE(out.find("suite.xml\n", error), std::string::npos) << out;
    Suite(Call("ExhaustsMemory"));
    const std::string run = Together(RUN + "suite.xml");
    EXPECT_PRED2(Contains, run,
                 "\norvanta: suite.xml: an unexpected error ended the run: out of memory\nsuite.xml: ended");
}
