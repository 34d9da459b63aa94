#include "CliFixture.h"

#include <sstream>

using namespace Qt::StringLiterals;

namespace
{
bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

using CRunTest = CCliTest;
} // namespace

TEST_F(CRunTest, ExitCodeAndHeadlineSayWhatBecameOfTheRun)
{
    struct SRow
    {
        const char* name;
        QByteArray body;
        QStringList options;
        int code;
        const char* expected;
    };
    const SRow rows[] = {
        {"a test passes", Call("Passes"), {}, 0, "Test suite Passed!"},
        {"no tests", Call("Passes", "Call"), {}, 0, "Test suite Completed!"},
        {"a warning is no failure", Call("Warns"), {}, 0, "1 passed, 0 failed, 1 with warnings"},
        {"diagnostic", Call("ReturnsFalse"), {u"--diagnostic"_s}, 0, "Test suite Validation Completed!"},
        {"validation", Call("Passes"), {u"--validation"_s}, 0, "Test suite Validation Passed!"},
        {"a test returns false", Call("ReturnsFalse") + Call("Passes"), {}, 1, "Test suite Failed!"},
        {"a call returns false", Call("ReturnsFalse", "Call"), {}, 1, "Test suite Aborted!"},
        {"a failure is logged", Call("LogsFailure"), {}, 1, "Test suite Failed!"},
        {"an error is logged", Call("LogsError"), {}, 1, "no device"},
        {"a function is missing", Call("Missing"), {}, 1, "Couldn't find function: Missing."},
        {"a function throws", Call("Throws"), {}, 1, "Unexpected failure: out of cheese"},
        {"the operator aborts", Call("Aborts"), {}, 2, "Aborted: the operator went home"},
        {"the headline of an abort", Call("Passes") + Call("Aborts"), {}, 2, "Test suite Aborted!"},
        {"a prompt without an operator", R"(<x:InfoPopup text="Is the door shut?"/>)", {}, 2, "Is the door shut?"},
        {"Ctrl-C", Call("Interrupts"), {}, 2, "Test suite Aborted!"},
        {"a silent failure has a place", Call("ReturnsFalse"), {}, 1, "Failed: /1/0 x:Function \"ReturnsFalse\" ("},
        {"the process ends", Call("Exits"), {}, 3, "Test: Exits"},
        {"memory is exhausted", Call("ExhaustsMemory"), {}, 3, "suite.xml: ended by an unexpected error"},
        {"nothing is selected", Call("Passes"), {u"--debug"_s}, 5, "nothing was selected"},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.name);
        const SOutcome outcome = Run(row.options + QStringList{Suite(row.body)});
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_TRUE(Contains(outcome.out, row.expected)) << outcome.out;
        EXPECT_EQ(outcome.err.empty(), row.code != 3 && !Contains(outcome.err, "orvanta: aborting")) << outcome.err;
        EXPECT_EQ(row.code != 0 && (Contains(outcome.out, "Passed!") || Contains(outcome.out, "Completed!")),
                  row.code == 5)
            << outcome.out;
    }
}

TEST_F(CRunTest, AMissingLibraryFailsWithWhatWasTried)
{
    const SOutcome outcome =
        Orvanta({u"run"_s, u"--settings"_s, Path(u"settings.ini"_s), u"-L"_s, u"elsewhere"_s, Suite(Call("Passes"))});
    EXPECT_EQ(outcome.code, 1);
    for (const QString& folder : {Path(u"libCliLibrary.so"_s), Path(u"elsewhere/libCliLibrary.so"_s)})
    {
        EXPECT_TRUE(Contains(outcome.out, folder.toStdString() + ": no such file")) << outcome.out;
    }
}

TEST_F(CRunTest, TheSuiteAsksForItsModeAndStaysSelected)
{
    const QString suite = Suite(Call("Passes"), u"suite.xml"_s, {},
                                "<x:Variables><x:Define type=\"BOOL\" name=\"$Debug\" value=\"true\" "
                                "ZKconfig=\"DEBUG_MODE\"/></x:Variables>\n");
    EXPECT_EQ(Run({u"--record"_s, Path(u"r"_s), suite}).code, 0);
    EXPECT_EQ(Record(u"r"_s).at(1).at("mode"), 1);
    EXPECT_EQ(Record(u"r"_s).back().at("reportName"), " - Passed - DEBUG");
    EXPECT_EQ(Run({u"--debug"_s, suite}).code, 5);
}

TEST_F(CRunTest, OfSeveralSuitesTheGravestCodeCountsAndEachStartsAfresh)
{
    const QString passing = Suite(Call("Passes"), u"passing.xml"_s);
    const QString failing = Suite(Call("ReturnsFalse"), u"failing.xml"_s);
    const QString aborting = Suite(Call("Aborts"), u"aborting.xml"_s);
    const QString missing = Path(u"missing.xml"_s);
    EXPECT_EQ(Run({u"--record"_s, Path(u"r"_s), failing, passing}).code, 1);
    EXPECT_EQ(Run({failing, missing, passing}).code, 6);
    EXPECT_EQ(Run({missing, aborting, failing}).code, 2);

    std::vector<std::string> runs;
    for (const TJson& event : Record(u"r"_s))
    {
        if (event.at("event") == "run-end")
        {
            runs.push_back(event.at("result").get<std::string>() + (event.at("passed") ? " yes " : " no ") +
                           event.at("tests").dump());
        }
    }
    EXPECT_EQ(runs, (std::vector<std::string>{"Failed no 1", "Passed yes 1"}));
}

TEST_F(CRunTest, ASecondRunIsRefusedWhileTheLockIsHeld)
{
    const auto first = StartHanging(u"first"_s);
    const SOutcome second = Run({u"--record"_s, Path(u"second"_s), Suite(Call("Passes"))});
    EXPECT_EQ(second.code, 7) << second.err;
    EXPECT_TRUE(Contains(second.out, "another run holds the execution lock")) << second.out;
    EXPECT_TRUE(Contains(second.out, "Test suite did not execute!")) << second.out;
    EXPECT_EQ(Record(u"second"_s).back().at("passed"), false);
    first->kill();
    first->waitForFinished();
    EXPECT_EQ(Run({Suite(Call("Passes"))}).code, 0) << "the lock of a killed run stays";
}

TEST_F(CRunTest, TheTerminalShowsAsMuchAsAskedFor)
{
    struct SRow
    {
        QStringList options;
        bool normal;
        bool trace;
        bool detail;
    };
    const SRow rows[] = {
        {{}, true, false, false},
        {{u"-q"_s}, false, false, false},
        {{u"-v"_s}, true, true, false},
        {{u"-vv"_s}, true, true, true},
        {{u"--log-level"_s, u"2"_s}, false, false, false},
        {{u"--log-level"_s, u"5"_s}, true, true, false},
    };
    const QString suite = Suite(Call("Passes") + Call("LogsFailure"));
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.options.join(u' ').toStdString());
        const std::string out = Run(row.options + QStringList{suite}).out;
        EXPECT_EQ(Contains(out, "all is well"), row.normal);
        EXPECT_EQ(Contains(out, "Entering x:Group"), row.trace);
        EXPECT_EQ(Contains(out, "Execution lock acquired."), row.detail);
        EXPECT_TRUE(Contains(out, "the voltage is low"));
        EXPECT_TRUE(Contains(out, "Test suite Failed!"));
    }
}

TEST_F(CRunTest, ColoursAndTheStatusLineComeOnlyWhenWanted)
{
    const QString suite = Suite(Call("LogsOddBytes") + Call("LogsFailure"));
    const SOutcome plain = Run({suite});
    EXPECT_FALSE(Contains(plain.out, "\033")) << plain.out;
    EXPECT_TRUE(Contains(plain.out, "?[31mred")) << plain.out;
    EXPECT_EQ(plain.err, "");

    const SOutcome shown = Run({u"--color"_s, u"always"_s, u"--progress"_s, u"always"_s, suite});
    EXPECT_TRUE(Contains(shown.out, "\033[31mthe voltage is low\033[0m\n")) << shown.out;
    EXPECT_TRUE(Contains(shown.out, "\033[1;31mTest suite Failed!\033[0m\n")) << shown.out;
    EXPECT_TRUE(Contains(shown.err, "running /1/1  LogsFailure\r\033[K")) << shown.err;
    EXPECT_TRUE(shown.err.ends_with("\r\033[K")) << shown.err;
}

TEST_F(CRunTest, ADiagnosticRunListsACallOnOneLine)
{
    const QString suite = Suite("<x:Function name=\"Passes\" label=\"The bench\"/>\n<x:Function name=\"Prepares\"/>\n");
    const std::string out = Run({u"--diagnostic"_s, suite}).out;
    EXPECT_TRUE(Contains(out,
                         "Calling function: Passes (The bench)\n    - no parameters\n\n"
                         "Calling function: Prepares\n    - no parameters\n"))
        << out;
}
