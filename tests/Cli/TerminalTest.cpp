#include "CliFixture.h"

#include <algorithm>
#include <regex>
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
    Suite("<x:Function name=\"LogsFailure\" type=\"PassFailTest\" "
          "label=\"a&#10;Test suite Passed!&#x202E;&#x9B;\"/>\n" +
          Call("Passes"));
    const SOutcome run = Run("--log l --progress always suite.xml");
    EXPECT_PRED2(Contains, run.out, "\n  FAILED  Main / " + shown + "  0.");
    EXPECT_PRED2(Contains, run.out, "\n  FAILED  Main / " + shown + "  /1/0  suite.xml:6\n");
    EXPECT_PRED2(Contains, run.out, "all is well\n    with the device\n");
    EXPECT_PRED2(Contains, run.err, "0 of 2, 0:00  Main / " + shown + '\r');
    EXPECT_PRED2(Contains, Read("l"), " 0 note   Failed: /1/0 x:Function \"" + shown + "\" (suite.xml:6): ");
    EXPECT_PRED2(Contains, Read("l"), " 0 test   " + shown + '\n');

    EXPECT_PRED2(Contains, Orvanta("list suite.xml").out, "LogsFailure \"" + shown + "\"\n");
    const std::string json = Orvanta("list --json suite.xml").out;
    EXPECT_PRED2(Contains, json, "\"label\": \"" + shown + '"');
    EXPECT_EQ(TJson::parse(json)[0]["nodes"][4]["label"], "a\nTest suite Passed!\u202E\u009B");

    for (const char* call : {"run a\n\u202Eb", "list a\n\u202Eb", "a\n\u202Eb", "list suite.xml -t a\n\u202Eb"})
    {
        const std::string errors = Orvanta(call).err;
        EXPECT_PRED2(Contains, errors.substr(0, errors.find('\n')), R"(a\n\u202Eb)") << errors;
    }
}

TEST_F(CTerminalTest, WhatDidNotPassIsNamedAgainAtTheEndOnceForEachTimeItHappened)
{
    const std::string fails = Call("ReturnsFalse");
    const auto group = [](const std::string& body, const char* attributes = "")
    { return "<x:Group " + std::string(attributes) + ">" + body + "</x:Group>\n"; };
    const struct
    {
        std::string body;
        std::string expected;
    } rows[] = {
        {Call("LogsFailure"), "FAILED /1/0 suite.xml:6\n"},
        {group(fails + Call("Passes")) + fails, "FAILED /1/0/0 suite.xml:6\nFAILED /1/1 suite.xml:9\n"},
        {group(group(fails), "to=\"3\"") + Call("Passes"),
         "FAILED [1] /1/0/0/0 suite.xml:6\nFAILED [2] /1/0/0/0 suite.xml:6\nFAILED [3] /1/0/0/0 suite.xml:6\n"},
        {group(Call("Passes")) + group(group(Call("Throws"))), "ERROR /1/1/0/0 suite.xml:8\n"},
        {group(Call("Aborts")), "ABORTED /1/0/0 suite.xml:6\n"},
        {group(fails, "to=\"3\" iterator=\"$None\""), "ERROR /1/0 suite.xml:6\n"},
    };
    for (const auto& row : rows)
    {
        const std::string out = Run("-q " + Suite(row.body, fails)).out;
        const std::string list = Lines(out.substr(std::min(out.find("\nNot passed:\n"), out.size())), "  ");
        std::string found;
        const std::regex line(
            "(?:^|\\n)  ([A-Z]+)  \\S[^\\n\\[]*?( \\[[0-9.]+\\])?  (/[0-9/]+)  (suite.xml:\\d+)(?=\\n)");
        for (std::sregex_iterator at(list.begin(), list.end(), line); at != std::sregex_iterator(); ++at)
        {
            found += (*at).format("$1$2 $3 $4\n");
        }
        EXPECT_TRUE(found.starts_with(row.expected + "FAILED /2/0 suite.xml:")) << found << out;
        EXPECT_EQ(std::count(found.begin(), found.end(), '\n'),
                  1 + std::count(row.expected.begin(), row.expected.end(), '\n'))
            << found;
    }
    const std::string out = Run("-q " + Suite(group(fails, "to=\"40000\""))).out;
    EXPECT_PRED2(Contains, out, "\n      and 39997 more times\n");
    EXPECT_LT(std::count(out.begin(), out.end(), '\n'), 20);
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
        EXPECT_EQ(Contains(terminal.Output(), "0 of 1, 0:00  Main / Passes\r\033[K"), row.progress);
    }
}

TEST_F(CTerminalTest, TheProgressLineFitsAndGivesWayToEveryOtherLine)
{
    std::string label;
    std::string fitting;
    for (int i = 0; i < 100; ++i)
    {
        label += "\xC3\xA4";
        fitting += i < 79 - 21 ? "\xC3\xA4" : "";
    }
    const std::string call = "<x:Function name=\"Warns\" label=\"" + label + "\"/>";
    const auto terminal = RunAtTerminal(Suite(call + Call("Aborts"), Call("Passes")));
    EXPECT_EQ(terminal->Wait(), 2);
    EXPECT_PRED2(Contains, terminal->Output(), "0 of 2, 0:00  Main / " + fitting + "\r\033[K");
    EXPECT_PRED2(Contains, terminal->Output(), "2 of 2, 1 failed, 0:00  x:ExitGroup\r\033[K");

    std::istringstream lines(Together(RUN + "--progress always suite.xml"));
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t erased = line.rfind("\r\033[K");
        EXPECT_FALSE(Contains(line.substr(erased == std::string::npos ? 0 : erased + 4), " of 2, ")) << line;
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
    EXPECT_PRED2(
        Contains, run,
        "suite.xml: ended by an unexpected error: 1 test: 0 passed, 0 failed, 1 error, 0 aborted, 0 not run; 0.0 s\n"
        "orvanta: suite.xml: an unexpected error ended the run: out of memory\n1 suite: ");
}
