#include "CliFixture.h"

#include <regex>

namespace
{
using CRunTest = CCliTest;
} // namespace

TEST_F(CRunTest, ExitCodeAndHeadlineSayWhatBecameOfTheRun)
{
    const struct
    {
        std::string body;
        std::string options;
        int code;
        const char* expected;
    } rows[] = {
        // clang-format off
        {Call("Passes"), "", 0, "Test suite Passed!"},
        {Call("Passes", "Call"), "", 0, "Test suite Completed!"},
        {Call("Warns"), "", 0, "1 passed, 0 failed, 1 with warnings"},
        {Call("ReturnsFalse"), "--diagnostic ", 0, "Calling function: ReturnsFalse\n    - no parameters\n"},
        {Call("Passes"), "--validation ", 0, "Test suite Validation Passed!"},
        {Call("ReturnsFalse") + Call("Passes"), "", 1, "Test suite Failed!"},
        {Call("ReturnsFalse"), "", 1, "Failed: /1/0 x:Function \"ReturnsFalse\" ("},
        {Call("ReturnsFalse", "Call"), "", 1, "Test suite Aborted!"},
        {Call("LogsFailure"), "", 1, "Test suite Failed!"},
        {Call("LogsError"), "", 1, "no device"},
        {Call("Missing"), "", 1, "Couldn't find function: Missing."},
        {Call("Throws"), "", 1, "Unexpected failure: out of cheese"},
        {Call("Aborts"), "", 2, "Aborted: the operator went home"},
        {Call("Passes") + Call("Aborts"), "", 2, "Test suite Aborted!"},
        {R"(<x:InfoPopup text="Shut?"/>)", "", 2, "Aborted: The prompt \"Shut?\" cannot be answered: there is no terminal, and no list of answers (--answers).\n"},
        {Call("Interrupts"), "", 2, "Test suite Aborted!"},
        {Call("Terminates"), "", 2, "Test suite Aborted!"},
        {Call("TakesSignals") + Call("Interrupts"), "", 2, "Test suite Aborted!"},
        {Call("TakesSignals") + Call("Terminates"), "", 2, "Test suite Aborted!"},
        {Call("Exits"), "", 3, "Test: Exits"},
        {Call("QuickExits"), "", 3, "Test: QuickExits"},
        {Call("Forks"), "", 0, "Test suite Passed!"},
        {Call("ExhaustsMemory"), "", 3, "suite.xml: ended by an unexpected error"},
        {Call("Passes"), "--debug ", 5, "nothing was selected"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.options + row.body);
        const SOutcome outcome = Run(row.options + Suite(row.body));
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_PRED2(Contains, outcome.out, row.expected);
        EXPECT_EQ(outcome.err.empty(), row.code != 3 && !Contains(outcome.err, "orvanta: aborting")) << outcome.err;
        EXPECT_EQ(row.code != 0 && (Contains(outcome.out, "Passed!") || Contains(outcome.out, "Completed!")),
                  row.code == 5)
            << outcome.out;
    }
}

TEST_F(CRunTest, AMissingLibraryFailsWithWhatWasTried)
{
    Suite(Call("Passes"));
    const SOutcome outcome = Orvanta("run --settings settings.ini -L elsewhere " + Path("suite.xml"));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_PRED2(Contains, outcome.out, Path("libCliLibrary.so") + ": no such file");
    EXPECT_PRED2(Contains, outcome.out, Path("elsewhere/libCliLibrary.so") + ": no such file");
}

TEST_F(CRunTest, WhatATestDoesToTheProcessStaysOutOfTheRun)
{
    Write("settings.ini", "[runtime]\nLockFileName=lock\n");
    Write("answers.json", R"([{"answer": "ok"}, {"answer": "ok"}])");
    const std::string info = "<x:InfoPopup text=\"Well?\"/>";
    Suite(Call("ChangesFolder") + Call("TakesSignals") + Call("SpeaksGerman") + Call("LogsNumber") + info, "",
          "first.xml");
    Suite(info + Call("Interrupts") + Call("Passes"), "", "second.xml");
    ASSERT_EQ(
        Shell("mkdir below; ln -s " ORVANTA_LIBRARY_FOLDER " below/libs; localedef -f UTF-8 -i de_DE ./de_DE.UTF-8")
            .code,
        0);
    // The C library does not free what it reads from LOCPATH.
    const std::string command =
        "ASAN_OPTIONS=detect_leaks=0 LOCPATH=$PWD '" ORVANTA_PROGRAM "' run --settings settings.ini -L ./below/libs"
        " --answers answers.json --save-answers saved.json --record r first.xml second.xml";
    const SOutcome outcome = Shell(command);
    EXPECT_EQ(outcome.code, 2) << outcome.out << outcome.err;
    EXPECT_PRED2(Contains, outcome.out, "half is 0.5\n");
    EXPECT_PRED2(Contains, outcome.out, "first.xml: Passed\n  5 executed; 4 tests: 4 passed");
    EXPECT_TRUE(
        std::regex_search(outcome.out, std::regex("second.xml: aborted by the operator\n.*; \\d+\\.\\d{3} s\n")))
        << outcome.out;
    EXPECT_EQ(Ran(), "/0/0 /1/0 /1/1 /1/2 /1/3 /2/0 /0/0 /1/1 /2/0 ");
    EXPECT_EQ(TJson::parse(Read("saved.json")).size(), 2U);
    EXPECT_EQ(Read("lock"), "") << "the lock of the second run was another, or stays";

    const SOutcome ignored = Shell("trap '' INT; " + command);
    EXPECT_EQ(ignored.code, 0) << "the user had Ctrl-C ignored" << ignored.out;
}

TEST_F(CRunTest, ALibraryThatEndsTheProcessWhileItIsLoadedIsNoSuccess)
{
    Suite(Call("Passes"));
    for (const char* command : {"run", "list"})
    {
        const SOutcome outcome = Shell(std::string("CLI_LIBRARY_EXITS=1 '" ORVANTA_PROGRAM "' ") + command +
                                       " --settings settings.ini -L " ORVANTA_LIBRARY_FOLDER " suite.xml");
        EXPECT_EQ(outcome.code, 3);
        EXPECT_EQ(outcome.err, "orvanta: a test library ended the process while it was being loaded\n");
    }
}

TEST_F(CRunTest, AnErrorBeforeTheFirstTestIsNoSuccess)
{
    const SOutcome outcome = Shell("CLI_LIBRARY_COMPLAINS=1 '" ORVANTA_PROGRAM "' " + RUN + Suite(Call("Passes")));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_PRED2(Contains, outcome.out, "no licence\n");
}

TEST_F(CRunTest, TheSuiteAsksForItsModeAndStaysSelected)
{
    Suite(Call("Passes"), "", "suite.xml", "",
          "<x:Define type=\"BOOL\" name=\"$Debug\" value=\"true\" ZKconfig=\"DEBUG_MODE\"/>");
    EXPECT_EQ(Run("--record r suite.xml").code, 0);
    EXPECT_EQ(Events("run-start").at(0).at("mode"), 1);
    EXPECT_EQ(Record().back().at("reportName"), " - Passed - DEBUG");
}

TEST_F(CRunTest, OfSeveralSuitesTheGravestCodeCountsAndEachStartsAfresh)
{
    Suite(Call("Passes"), "", "passing.xml");
    Suite(Call("ReturnsFalse"), "", "failing.xml");
    Suite(Call("Aborts"), "", "aborting.xml");
    EXPECT_EQ(Run("failing.xml missing.xml passing.xml").code, 6);
    const SOutcome aborted = Run("--record r missing.xml aborting.xml failing.xml passing.xml");
    EXPECT_EQ(aborted.code, 2);
    EXPECT_PRED2(Contains, aborted.err, "orvanta: aborted; 2 of the suites named were not run\n");
    EXPECT_EQ(Events("suite-load").size(), 2U);
    EXPECT_EQ(Events("run-start").size(), 1U);
    EXPECT_EQ(Run("--record r failing.xml passing.xml").code, 1);
    std::string runs;
    for (const TJson& end : Events("run-end"))
    {
        runs += end.at("result").dump() + end.at("passed").dump() + end.at("tests").dump() + ' ';
    }
    EXPECT_EQ(runs, "\"Failed\"false1 \"Passed\"true1 ");
}

TEST_F(CRunTest, TheTerminalShowsAsMuchAsAskedFor)
{
    const struct
    {
        std::string options;
        bool normal;
        bool trace;
        bool detail;
    } rows[] = {
        {"", true, false, false},
        {"-q ", false, false, false},
        {"-v ", true, true, false},
        {"-vv ", true, true, true},
        {"--log-level 2 ", false, false, false},
        {"--log-level 5 ", true, true, false},
    };
    Suite(Call("Passes") + Call("LogsFailure"));
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.options);
        const std::string out = Run(row.options + "suite.xml").out;
        EXPECT_EQ(Contains(out, "all is well"), row.normal);
        EXPECT_EQ(Contains(out, "Entering x:Group"), row.trace);
        EXPECT_EQ(Contains(out, "Execution lock acquired."), row.detail);
        EXPECT_PRED2(Contains, out, "the voltage is low");
        EXPECT_PRED2(Contains, out, "Test suite Failed!");
    }
}

TEST_F(CRunTest, OddBytesAreTamedAndColoursAndTheStatusLineComeOnlyWhenWanted)
{
    Suite(Call("LogsOddBytes") + Call("LogsFailure"));
    const SOutcome plain = Run("--record r suite.xml");
    EXPECT_FALSE(Contains(plain.out, "\033")) << plain.out;
    EXPECT_PRED2(Contains, plain.out, "odd \\xFF and \\x1B[31mred\n");
    EXPECT_EQ(plain.err, "");
    EXPECT_PRED2(Contains, Read("r"), "\"text\":\"odd \xEF\xBF\xBD and \\u001b[31mred\"");
    EXPECT_EQ(Record().back().at("event"), "run-end");

    const SOutcome shown = Run("--color always --progress always suite.xml");
    EXPECT_PRED2(Contains, shown.out, "\033[31mthe voltage is low\033[0m\n");
    EXPECT_PRED2(Contains, shown.out, "\033[1;31mTest suite Failed!\033[0m\n");
    EXPECT_PRED2(Contains, shown.err, "running /1/1  LogsFailure\r\033[K");
    EXPECT_TRUE(shown.err.ends_with("\r\033[K")) << shown.err;
}
