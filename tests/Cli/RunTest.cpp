#include "CliFixture.h"

#include <regex>

namespace
{
using CRunTest = CCliTest;

/// A group that is never entered.
const std::string SKIPPED = "<x:Group><x:Condition><x:Comparison operator=\"eq\"><x:Value value=\"$N\"/>"
                            "<x:Value value=\"43\"/></x:Comparison></x:Condition>" +
    Call("ReturnsFalse") + "</x:Group>";
} // namespace

TEST_F(CRunTest, ExitCodeHeadlineAndCountsSayWhatBecameOfTheRun)
{
    const std::string byValue = R"(<x:Parameter name="n" type="LONG" passed="byVal" value="1"/>)";
    const struct
    {
        std::string body;
        std::string options;
        int code;
        const char* counts;
        const char* expected;
    } rows[] = {
        // clang-format off
        {Call("Passes"), "", 0, "1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 0 not run;", "Test suite Passed!"},
        {Call("Passes", "Call"), "", 0, "0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 0 not run;", "Test suite Completed!"},
        {Call("Warns"), "", 0, "1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 0 not run;", "warning: the fan is loud\n  PASSED  Main / Warns  "},
        {Call("ReturnsFalse"), "--diagnostic ", 0, "0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 0 not run;", "Calling function: ReturnsFalse\n    - no parameters\n"},
        {Call("Passes"), "--validation ", 0, "1 test: 1 passed,", "Test suite Validation Passed!"},
        {R"(<x:Function name="Passes" type="PassFailTest">)" + byValue + "</x:Function>", "--validation ", 0, "0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 1 not run;", "Not run, since a validation run leaves it out:\n  Main / Passes  /1/0  suite.xml:"},
        {SKIPPED + Call("Passes"), "", 0, "1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 1 not run;", "  SKIPPED  Main / x:Group\n"},
        {Call("ReturnsFalse") + Call("Passes"), "", 1, "2 tests: 1 passed, 1 failed,", "Test suite Failed!"},
        {Call("ReturnsFalse") + Call("Passes"), "--stop-on-failure ", 1, "1 test: 0 passed, 1 failed, 0 errors, 0 aborted, 1 not run;", "Not run, since the run was stopped before:\n  Main / Passes  /1/1  suite.xml:"},
        {Call("ReturnsFalse", "Call"), "", 1, "0 tests: 0 passed, 0 failed,", "Test suite Aborted!"},
        {Call("LogsFailure"), "", 1, "1 test: 0 passed, 1 failed, 0 errors,", "  FAILED  Main / LogsFailure  "},
        {Call("LogsError"), "", 1, "1 test: 0 passed, 0 failed, 1 error,", "error: no device\n"},
        {R"(<x:Function name="Passes"><x:Condition><x:Comparison operator="eq"><x:Value value="$none"/><x:Value value="1"/></x:Comparison></x:Condition></x:Function>)", "", 1, "0 tests: 0 passed, 0 failed, 0 errors,", "Not passed: x:Comparison: unexpected failure: Variable does not exist:  $none\n"},
        {Call("Missing"), "", 1, "1 test: 0 passed, 0 failed, 1 error,", "Couldn't find function: Missing."},
        {Call("Throws"), "", 1, "1 test: 0 passed, 0 failed, 1 error,", "Unexpected failure: out of cheese"},
        {Call("Aborts"), "", 2, "1 test: 0 passed, 0 failed, 0 errors, 1 aborted, 0 not run;", "Aborted: the operator went home"},
        {Call("Passes") + Call("Aborts") + Call("Passes"), "", 2, "2 tests: 1 passed, 0 failed, 0 errors, 1 aborted, 1 not run;", "Test suite Aborted!"},
        {R"(<x:InfoPopup text="Shut?"/>)", "", 2, "0 tests:", "Aborted: The prompt \"Shut?\" cannot be answered: there is no terminal, and no list of answers (--answers).\n"},
        {Call("Interrupts"), "--in-process ", 2, "1 test: 1 passed,", "Test suite Aborted!"},
        {Call("Terminates"), "--in-process ", 2, "1 test: 1 passed,", "Test suite Aborted!"},
        {Call("HangsUp"), "--in-process ", 2, "1 test: 1 passed,", "Test suite Aborted!"},
        {Call("TakesSignals") + Call("Interrupts"), "--in-process ", 2, "2 tests: 2 passed,", "Test suite Aborted!"},
        {Call("TakesSignals") + Call("Terminates"), "--in-process ", 2, "2 tests: 2 passed,", "Test suite Aborted!"},
        {Call("Forks"), "", 0, "1 test: 1 passed,", "Test suite Passed!"},
        {Call("ExhaustsMemory"), "", 3, "1 test: 0 passed, 0 failed, 1 error,", "suite.xml: ended by an unexpected error: 1 test:"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.options + row.body);
        const SOutcome outcome = Run(row.options + Suite(row.body));
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_PRED2(Contains, outcome.out, row.expected);
        EXPECT_PRED2(Contains, outcome.out.substr(outcome.out.rfind("\n1 suite: ") + 1), row.counts);
        EXPECT_EQ(outcome.err.empty(), row.code != 3 && !Contains(outcome.err, "orvanta: aborting")) << outcome.err;
        EXPECT_EQ(Contains(outcome.out, "Passed!") || Contains(outcome.out, "Completed!"), row.code == 0)
            << outcome.out;
    }
}

TEST_F(CRunTest, WhereNoTestRanNothingPassed)
{
    const std::string bodies[] = {
        SKIPPED,
        "<x:Group to=\"3x\">" + Call("Passes") + "</x:Group>", // no number at all
        "<x:Group from=\"2\" to=\"2\">" + Call("Passes") + "</x:Group>" + Call("Passes", "Call"),
    };
    for (const std::string& body : bodies)
    {
        const SOutcome outcome = Run("--record r " + Suite(body));
        EXPECT_EQ(outcome.code, 5) << body;
        EXPECT_EQ(outcome.err, "orvanta: suite.xml: nothing ran: none of the selected tests was executed\n");
        EXPECT_PRED2(Contains, outcome.out, "suite.xml: Not passed: 0 tests: 0 passed,");
        EXPECT_EQ(Record().back().at("passed"), false);
    }
    const SOutcome debug = Run("--debug suite.xml");
    EXPECT_EQ(debug.code, 5);
    EXPECT_EQ(debug.err, "orvanta: suite.xml: nothing ran: nothing was selected; choose tests with --select\n");
}

TEST_F(CRunTest, ATestThatEndsTheProcessIsNamed)
{
    for (const char* function : {"Exits", "QuickExits"})
    {
        const SOutcome outcome = Run("--record r " + Suite("<x:Group to=\"2\">" + Call(function) + "</x:Group>"));
        EXPECT_EQ(outcome.code, 3);
        const std::string running = "Main / x:Group / " + std::string(function) + " [1]  /1/0/0  suite.xml:6\n";
        EXPECT_EQ(outcome.err,
                  "orvanta: the process that ran the suite ended by itself, with exit status 0; this was running: " +
                      running);
        EXPECT_EQ(Record().back().at("event"), "vanished");
        EXPECT_EQ(Record().back().at("path"), "/1/0/0");

        const SOutcome here =
            Run("--in-process --record r " + Suite("<x:Group to=\"2\">" + Call(function) + "</x:Group>"));
        EXPECT_EQ(here.code, 3);
        EXPECT_EQ(here.err, "orvanta: a test function ended the process: " + running);
        EXPECT_EQ(Events("state").back().at("path"), "/1/0/0");
    }
}

TEST_F(CRunTest, AMissingLibraryCountsAsNotLoadedWithWhatWasTried)
{
    Suite(Call("Passes"));
    const SOutcome outcome = Orvanta("run --settings settings.ini -L elsewhere " + Path("suite.xml"));
    EXPECT_EQ(outcome.code, 6);
    EXPECT_PRED2(Contains, outcome.out, Path("libCliLibrary.so") + ": no such file");
    EXPECT_PRED2(Contains, outcome.out, Path("elsewhere/libCliLibrary.so") + ": no such file");
    EXPECT_PRED2(Contains, outcome.out, "Not run, since there is no test library:\n  Main / Passes  /1/0  ");
    EXPECT_PRED2(Contains, outcome.out, "\n1 suite: 0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 1 not run;");
}

TEST_F(CRunTest, WhatATestDoesToTheProcessStaysOutOfTheRun)
{
    Write("settings.ini", "[runtime]\nLockFileName=lock\n");
    Write("answers.json", R"([{"answer": "ok"}, {"answer": "ok"}])");
    const std::string info = "<x:InfoPopup text=\"Well?\"/>";
    Suite(Call("ChangesFolder") + Call("TakesSignals") + Call("SpeaksGerman") + Call("LogsNumber") + info, "",
          "first.xml");
    Suite(info + Call("InterruptsRun") + Call("Passes"), "", "second.xml");
    ASSERT_EQ(
        Shell("mkdir below; ln -s " ORVANTA_LIBRARY_FOLDER " below/libs; localedef -f UTF-8 -i de_DE ./de_DE.UTF-8")
            .code,
        0);
    // The C library does not free what it reads from LOCPATH.
    for (const char* option : {"", " --in-process"})
    {
        SCOPED_TRACE(option);
        const std::string command = (*option ? "" : "CLI_LIBRARY_PARENT=1 ") +
            std::string("ASAN_OPTIONS=detect_leaks=0 LOCPATH=$PWD '" ORVANTA_PROGRAM
                        "' run --settings settings.ini -L ./below/libs --answers answers.json"
                        " --save-answers saved.json --record r first.xml second.xml") +
            std::string(option);
        const SOutcome outcome = Shell(command);
        EXPECT_EQ(outcome.code, 2) << outcome.out << outcome.err;
        EXPECT_PRED2(Contains, outcome.out, "half is 0.5\n");
        EXPECT_PRED2(Contains, outcome.out, "first.xml: Passed: 4 tests: 4 passed, 0 failed,");
        EXPECT_TRUE(std::regex_search(outcome.out,
                                      std::regex("second.xml: Aborted: 1 test: 1 passed, .*\nrecord: r\n"
                                                 "2 suites: 5 tests: 5 passed, .*, 1 not run; \\d+\\.\\d s\n")))
            << outcome.out;
        EXPECT_EQ(Ran(), "/0/0 /1/0 /1/1 /1/2 /1/3 /2/0 /0/0 /1/1 /2/0 ");
        EXPECT_EQ(TJson::parse(Read("saved.json")).size(), 2U);
        EXPECT_EQ(Read("lock"), "") << "the lock of the second run was another, or stays";

        const SOutcome ignored = Shell("trap '' INT; " + command);
        EXPECT_EQ(ignored.code, 0) << "the user had Ctrl-C ignored" << ignored.out;
    }
}

TEST_F(CRunTest, ALibraryThatEndsTheProcessWhileItIsLoadedIsNoSuccess)
{
    Suite(Call("Passes"));
    const std::string loading = "orvanta: a test library ended the process while it was being loaded\n";
    for (const auto& [command, error] :
         {std::pair("run --in-process", loading),
          {"run",
           "orvanta: the process that ran the suite ended by itself, with exit status 0; test libraries were "
           "being loaded\n"}})
    {
        const SOutcome outcome = Shell(std::string("CLI_LIBRARY_EXITS=1 '" ORVANTA_PROGRAM "' ") + command +
                                       " --settings settings.ini -L " ORVANTA_LIBRARY_FOLDER " suite.xml");
        EXPECT_EQ(outcome.code, 3);
        EXPECT_EQ(outcome.err, error);
    }
}

TEST_F(CRunTest, AnErrorBeforeTheFirstTestIsNoSuccess)
{
    Suite(Call("Passes"));
    for (const char* arguments : {"suite.xml", "-t Main suite.xml"})
    {
        const SOutcome outcome = Shell("CLI_LIBRARY_COMPLAINS=1 '" ORVANTA_PROGRAM "' " + RUN + arguments);
        EXPECT_EQ(outcome.code, 1) << arguments;
        EXPECT_PRED2(Contains, outcome.out, "error: no licence\n");
        EXPECT_PRED2(Contains, outcome.out, "Test suite Failed!");
        EXPECT_PRED2(Contains, outcome.out, "suite.xml: Failed: 1 test: 1 passed,");
    }
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
    Suite(SKIPPED, "", "skipped.xml");
    const std::pair<const char*, int> rows[] = {
        {"failing.xml missing.xml passing.xml", 6},
        {"skipped.xml failing.xml", 1},
        {"skipped.xml passing.xml", 5},
        {"-t Main/ReturnsFalse passing.xml failing.xml passing.xml", 1}, // the pattern matches in one of them
        {"-t Main/Passes failing.xml passing.xml", 0},
    };
    for (const auto& [arguments, code] : rows)
    {
        const SOutcome outcome = Run(arguments);
        EXPECT_EQ(outcome.code, code) << arguments << outcome.out << outcome.err;
    }
    const SOutcome aborted = Run("--record r missing.xml aborting.xml failing.xml passing.xml");
    EXPECT_EQ(aborted.code, 2);
    EXPECT_PRED2(Contains, aborted.err, "orvanta: 2 further suites were not run after that\n");
    EXPECT_EQ(Events("suite-load").size(), 2U);
    EXPECT_EQ(Events("run-start").size(), 1U);
    EXPECT_EQ(Events("abort").at(0).at("by"), "library");
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
    EXPECT_PRED2(Contains, plain.out, "odd \uFFFD and \\x1B[31mred\n");
    EXPECT_EQ(plain.err, "");
    EXPECT_PRED2(Contains, Read("r"), "\"text\":\"odd \xEF\xBF\xBD and \\u001b[31mred\"");
    EXPECT_EQ(Record().back().at("event"), "run-end");

    const SOutcome shown = Run("--color always --progress always suite.xml");
    EXPECT_PRED2(Contains, shown.out, "\033[31mfailure: the voltage is low\033[0m\n");
    EXPECT_PRED2(Contains, shown.out, "\033[1;31mTest suite Failed!\033[0m\n");
    EXPECT_PRED2(Contains, shown.err, "1 of 2, 0:00  Main / LogsFailure\r\033[K");
    EXPECT_TRUE(shown.err.ends_with("\r\033[K")) << shown.err;
}
