#include "CliFixture.h"

#include <QRegularExpression>
#include <QThread>

#include <csignal>
#include <random>

namespace
{
const char* const EXIT = "<x:Function name=\"PowersOff\"/>";

/// Where the misbehaving call stands.
enum class EPlace
{
    Init,
    Test,
    Exit,
};

class CMisbehaviourTest : public CCliTest
{
protected:
    /// Writes a suite with one bad call; the exit group powers off, behind the call when that stands there.
    std::string Bad(const std::string& function, EPlace place = EPlace::Test, const std::string& more = {}) const
    {
        const std::string call = Call(function);
        Write("bad.xml",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" name=\"Bench\" library=\"MisbehavingLibrary\">\n"
              "<x:InitGroup><x:Function name=\"Works\"/>" +
                  (place == EPlace::Init ? call : "") + "</x:InitGroup>\n<x:Group name=\"Main\">\n" +
                  (place == EPlace::Test ? call : "") + more + Call("Works") + "</x:Group>\n<x:ExitGroup>" + EXIT +
                  (place == EPlace::Exit ? call : "") + "</x:ExitGroup></x:TestSuite>\n");
        return "--record r bad.xml";
    }

    /// The last events of the record, each with what tells it apart.
    std::string End() const
    {
        const TJson last = Record().back();
        const std::string event = last.at("event");
        return event == "vanished"
            ? "vanished " + last.at("signal").dump() + ' ' + last.at("status").dump() + ' ' + last.at("path").dump()
            : event + ' ' + last.at("result").dump();
    }

    bool HasPoweredOff() const { return Contains(Read("r"), "\"text\":\"powered off\""); }
};

pid_t ParentOf(pid_t process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll().split(' ').value(3).toInt();
}

std::string OneLine(std::string text)
{
    static const QRegularExpression number(QStringLiteral("at address 0x[0-9a-f]+"));
    return QString::fromStdString(text).replace(number, QStringLiteral("at address A")).toStdString();
}
} // namespace

TEST_F(CMisbehaviourTest, NothingThatATestDoesTakesDownTheVerdict)
{
    // The exit group runs wherever the process lives on; where it does not, the record names the call.
    const struct
    {
        const char* function;
        int code;
        const char* said; ///< on either stream
        const char* end;  ///< PATH stands for the call's
    } rows[] = {
        // clang-format off
        {"ReadsNull", 3, "error: Unexpected Zelkor failure: crashed: SIGSEGV at address A\n", "run-end \"Aborted\""},
        {"Overflows", 3, "an unexpected error ended the run: Test function 'Overflows' crashed: SIGSEGV at address A.\n", "run-end \"Aborted\""},
        {"Divides", 3, "crashed: SIGFPE at address A\n", "run-end \"Aborted\""},
        {"BusError", 3, "crashed: SIGBUS\n", "run-end \"Aborted\""},
        {"Illegal", 3, "crashed: SIGILL\n", "run-end \"Aborted\""},
        {"CallsAbort", 3, "Aborted: Test function 'CallsAbort' crashed: SIGABRT.\n", "run-end \"Aborted\""},
        {"Loops", 3, "error: Unexpected Zelkor failure: time limit of 0.5 s\n", "run-end \"Aborted\""},
        {"LogsForEver", 3, "Aborted: Test function 'LogsForEver' reached its time limit of 0.5 s.\n", "run-end \"Aborted\""},
        {"BlocksAndLoops", 3, "ended because the rest of the run took longer than --exit-timeout allows; this was running: ", "vanished 9 null PATH"},
        {"UnderscoreExits", 3, "ended by itself, with exit status 0; this was running: ", "vanished null 0 PATH"},
        {"Executes", 3, "ended by itself, with exit status 0; this was running: ", "vanished null 0 PATH"},
        {"BecomesDaemon", 3, "ended by itself, with exit status 0; this was running: ", "vanished null 0 PATH"},
        {"KillsItself", 3, "ended by SIGKILL; this was running: ", "vanished 9 null PATH"},
        {"EndsThread", 3, "ended because a test function ended its thread (pthread_exit); this was running: ", "vanished null 1 PATH"},
        {"CrashesElsewhere", 3, "ended by SIGSEGV; this was running: ", "vanished 11 null PATH"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        const struct
        {
            EPlace place;
            const char* path;
        } places[] = {{EPlace::Test, "\"/1/0\""}, {EPlace::Init, "\"/0/1\""}, {EPlace::Exit, "\"/2/1\""}};
        for (const auto& [place, path] : places)
        {
            SCOPED_TRACE(std::string(row.function) + " at " + path);
            const SOutcome outcome = Run("--test-timeout 0.5 --exit-timeout 0.5 " + Bad(row.function, place));
            EXPECT_EQ(outcome.code, row.code);
            EXPECT_PRED2(Contains, OneLine(outcome.out + outcome.err), row.said);
            std::string end = row.end;
            const std::size_t at = end.find("PATH");
            const bool isAlive = at == std::string::npos;
            EXPECT_EQ(End(), isAlive ? end : end.replace(at, 4, path));
            EXPECT_EQ(HasPoweredOff(), isAlive || place == EPlace::Exit);
            if (isAlive)
            {
                EXPECT_EQ(Events("abort").at(0).at("by"), Contains(row.said, "limit") ? "limit" : "crash");
            }
            EXPECT_FALSE(Contains(outcome.out, "Passed"));
            EXPECT_EQ(Run(Bad("Works")).code, 0) << "the next run gets the lock";
        }
    }
}

TEST_F(CMisbehaviourTest, WhatATestLeavesBehindStaysOutOfTheNextStep)
{
    const struct
    {
        const char* function;
        int code;
        const char* said;
    } rows[] = {
        // clang-format off
        {"ChangesFolder", 0, "warning: Test function 'ChangesFolder' changed the current folder: put back.\n"},
        {"ChangesLocale", 0, "changed the locale: put back.\n"},
        {"ChangesMask", 0, "changed the signal mask: put back.\n"},
        {"ChangesHandler", 0, "changed the handlers of signals: put back.\n"},
        {"ChangesRounding", 0, "changed the floating-point environment: put back.\n"},
        {"FlushesToZero", 0, "changed the floating-point environment: put back.\n"},
        {"IgnoresSignals", 0, "changed the handlers of signals: put back.\n"},
        {"ChangesUmask", 0, "changed the umask: put back.\n"},
        {"ClosesAll", 0, "all closed\n"},
        {"ClosesAll", 0, "changed the descriptors of files: put back.\n"},
        {"Redirects", 0, "  PASSED  Main / Redirects  "},
        {"ReplacesAll", 0, "changed the descriptors of files: put back.\n"},
        {"LeavesThread", 0, "  PASSED  Main / LeavesThread  "},
        {"ForkReturns", 0, "  PASSED  Main / ForkReturns  "},
        {"ForkThrows", 0, "  PASSED  Main / ForkThrows  "},
        {"ForkLogs", 0, "  PASSED  Main / ForkLogs  "},
        {"ForkExits", 0, "\nunended \n  PASSED"},
        {"ForkCrashes", 0, "  PASSED  Main / ForkCrashes  "},
        {"LogsElsewhere", 1, "error: 2 calls of zk_ functions came from other threads than the test function's and wrote nothing.\n"},
        {"LogsElsewhereAndThrows", 1, "error: 1 call of zk_ functions came from other threads than the test function's and wrote nothing.\nerror: FUNCTION 'LogsElsewhereAndThrows' "},
        {"AbortsElsewhere", 1, "error: 1 call of zk_ functions came from other threads"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.function);
        const SOutcome outcome = Run("--log l " + Bad(row.function, EPlace::Test, Call("CallsAbort")));
        EXPECT_EQ(outcome.code, 3) << "the guard still holds";
        EXPECT_PRED2(Contains, outcome.out, row.said);
        EXPECT_PRED2(Contains, Read("l"), row.function);
        EXPECT_FALSE(Contains(Read("r"), "lost"));
        EXPECT_EQ(End(), "run-end \"Aborted\"");
        EXPECT_TRUE(HasPoweredOff());
        EXPECT_EQ(Run(Bad(row.function)).code, row.code);
        // One warning at the most, and none where nothing had to be put back.
        EXPECT_EQ(Record().back().at("verdicts").at("warned"),
                  Contains(row.said, "put back") || Contains(row.said, "all closed") ? 1 : 0);
    }
}

TEST_F(CMisbehaviourTest, AStopAndABreakdownLeaveTheExitGroupToRun)
{
    const struct
    {
        const char* function;
        const char* options;
        const char* said;
    } rows[] = {
        {"AwaitsThenCrashes", "", "Aborted: Test function 'AwaitsThenCrashes' crashed: SIGSEGV at address 0x8."},
        {"Sleeps", "--test-timeout 0.6 ", "Aborted: Test function 'Sleeps' reached its time limit of 0.6 s."},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.function);
        QFile::remove(QString::fromStdString(Path("r")));
        const auto run = Start(ORVANTA_PROGRAM, Words(RUN + row.options + Bad(row.function)));
        // The function has spoken, and sleeps now.
        while (!Contains(Read("r"), "awaiting") && !Contains(Read("r"), "sleeping"))
        {
            ASSERT_FALSE(run->waitForFinished(5)) << "it does not wait";
        }
        kill(static_cast<pid_t>(run->processId()), SIGINT);
        const SOutcome outcome = Finish(*run);
        EXPECT_EQ(outcome.code, 3);
        EXPECT_PRED2(Contains, outcome.out, row.said);
        EXPECT_TRUE(HasPoweredOff());
    }
    // Two breakdowns, the first of which had nothing left to stop when it happened.
    const std::string exit = "<x:ExitGroup>" + Call("ReadsNull") + "</x:ExitGroup>";
    Bad("Works");
    std::string suite = Read("bad.xml");
    suite.replace(suite.find("<x:ExitGroup>"), suite.find("</x:ExitGroup>") - suite.find("<x:ExitGroup>") + 14, exit);
    const std::size_t last = suite.rfind(Call("Works"));
    Write("bad.xml", suite.replace(last, Call("Works").size(), Call("CallsAbort")));
    const SOutcome twice = Run("--record r bad.xml");
    EXPECT_EQ(twice.code, 3);
    EXPECT_EQ(Events("abort").at(0).at("text"), "Test function 'CallsAbort' crashed: SIGABRT.");
}

TEST_F(CMisbehaviourTest, APromptDoesNotSuspendTheLimits)
{
    const std::string asks = "<x:InfoPopup text=\"Off?\"/>";
    for (const auto& [function, options] :
         {std::pair("ReadsNull", "--exit-timeout 1 "), {"Works", "--run-timeout 0.5 --exit-timeout 5 "}})
    {
        SCOPED_TRACE(options);
        Bad(function);
        std::string suite = Read("bad.xml");
        Write("bad.xml", suite.insert(suite.find("<x:ExitGroup>") + 13, asks));
        const auto terminal = RunAtTerminal(std::string(options) + "--record r bad.xml");
        terminal->Expect("Off?");
        EXPECT_EQ(terminal->Wait(), 3);
        EXPECT_TRUE(terminal->IsRestored());
    }
}

TEST_F(CMisbehaviourTest, TimeSpentStoppedCountsForNoLimit)
{
    const auto run = Start(ORVANTA_PROGRAM, Words(RUN + "--test-timeout 3 --exit-timeout 0.5 " + Bad("Sleeps")));
    while (!Contains(Read("r"), "sleeping"))
    {
        ASSERT_FALSE(run->waitForFinished(5));
    }
    const auto group = -static_cast<pid_t>(run->processId());
    kill(group, SIGSTOP); // as Ctrl-Z, which a group without a terminal does not get
    QThread::sleep(4);
    kill(group, SIGCONT);
    EXPECT_EQ(Finish(*run).code, 0);
}

TEST_F(CMisbehaviourTest, OutputOfTestCodeStandsWhereItWasWritten)
{
    const SOutcome outcome = Run(Bad("Prints"));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_PRED2(Contains, outcome.out, "\none\ntwo\nfour\nfive, unended\n  PASSED  Main / Prints  ");
    EXPECT_EQ(outcome.err, "three\n");
    std::string order;
    for (const TJson& event : Record())
    {
        const std::string kind = event.at("event");
        if (kind == "output" || (kind == "log" && event.at("level") == 3))
        {
            order +=
                (kind == "log" ? "log" : event.at("stream").get<std::string>() + event.at("path").get<std::string>()) +
                ' ' + event.at("text").dump() + '\n';
        }
    }
    EXPECT_PRED2(Contains, order,
                 "stdout/1/0 \"one\\n\"\nlog \"two\"\nstderr/1/0 \"three\\n\"\nlog \"four\"\n"
                 "stdout/1/0 \"five, unended\"\n");

    EXPECT_EQ(Run(Bad("PrintsHalf")).code, 0);
    EXPECT_EQ(Events("output").back().at("text"), "\u20AC is a euro\n");
    EXPECT_EQ(Events("output").size(), 1U);

    Run("-q " + Bad("PrintsMuch"));
    std::string all;
    for (const TJson& output : Events("output"))
    {
        all += output.at("text");
    }
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 20000);
    EXPECT_TRUE(all.starts_with("line 0 of many\nline 1 of many\n") && all.ends_with("line 19999 of many\n"));
}

TEST_F(CMisbehaviourTest, TheRunsOwnLimitEndsCallsAndPromptsButNoWait)
{
    const std::string loop = "<x:Group to=\"100000\">" + Call("Dawdles") + "</x:Group>";
    const SOutcome outcome = Run("--run-timeout 0.5 " + Bad("Works", EPlace::Test, loop));
    EXPECT_EQ(outcome.code, 3);
    EXPECT_PRED2(Contains, outcome.out, "time limit of 0.5 s for the run");
    EXPECT_TRUE(HasPoweredOff());
    EXPECT_EQ(Events("abort").at(0).at("by"), "limit");

    Bad("Works", EPlace::Test, "<x:InfoPopup text=\"Well?\"/>");
    const auto terminal = RunAtTerminal("--run-timeout 0.5 --record r bad.xml");
    terminal->Expect("Well?");
    EXPECT_EQ(terminal->Wait(), 3);
    EXPECT_PRED2(Contains, terminal->Output(), "Aborted: The run reached its time limit of 0.5 s.");
    EXPECT_TRUE(terminal->IsRestored());
    EXPECT_TRUE(HasPoweredOff());
}

TEST_F(CMisbehaviourTest, ALibraryThatExitsAfterTheLastWordChangesNothing)
{
    Bad("ReturnsFalse");
    EXPECT_EQ(Shell("LIBRARY_EXITS_LATE=1 " + Command("--record r bad.xml")).code, 1);
    EXPECT_EQ(End(), "run-end \"Failed\"");
}

TEST_F(CMisbehaviourTest, AfterACrashNoFurtherSuiteRunsAndALineSaysSo)
{
    Bad("UnderscoreExits");
    for (const char* function : {"UnderscoreExits", "ReadsNull"})
    {
        const SOutcome outcome = Run(Bad(function) + " bad.xml bad.xml");
        EXPECT_EQ(outcome.code, 3);
        EXPECT_PRED2(Contains, outcome.err, "orvanta: 2 further suites were not run after that\n");
        EXPECT_PRED2(Contains, outcome.out, "\n1 suite: 1 test: 0 passed, 0 failed, 1 error, 0 aborted, ");
    }
}

TEST_F(CMisbehaviourTest, KillsAtAnyMomentLeaveTheLockFreeAndTheRecordWhole)
{
    const std::string loop = "<x:Group to=\"100000\">" + Call("Works") + Call("Dawdles") + "</x:Group>";
    const std::string command =
        "run --settings settings.ini -L " ORVANTA_LIBRARY_FOLDER " " + Bad("Works", EPlace::Test, loop);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same moments each time
    for (int i = 0; i < 12; ++i)
    {
        const auto process = Start(ORVANTA_PROGRAM, Words(command));
        QThread::usleep(std::uniform_int_distribution<unsigned long>(0, 150'000)(random));
        const QByteArray children = [&]
        {
            QFile file(QStringLiteral("/proc/%1/task/%1/children").arg(process->processId()));
            return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
        }();
        const bool killsChild = i % 2 == 0 && !children.isEmpty();
        kill(killsChild ? children.toInt() : static_cast<pid_t>(process->processId()), SIGKILL);
        const SOutcome outcome = Finish(*process);
        EXPECT_EQ(outcome.code, killsChild ? 3 : -1) << outcome.err;
        EXPECT_TRUE(children.isEmpty() || IsGone(children.toLong()));
        const std::string record = Read("r");
        EXPECT_TRUE(record.empty() || record.ends_with("}\n")) << record.substr(record.rfind('\n') + 1);
        if (killsChild)
        {
            EXPECT_EQ(Record().back().at("event"), "vanished");
        }
        EXPECT_EQ(Run("--record other bad.xml -t Main/Nothing").code, 5);
    }
    EXPECT_EQ(Run(Bad("Works")).code, 0) << "the next run gets the lock";
}

TEST_F(CMisbehaviourTest, AKillAtAPromptLeavesTheTerminalAsItWas)
{
    for (const bool killsChild : {false, true})
    {
        SCOPED_TRACE(killsChild);
        Bad("Works", EPlace::Test, "<x:InfoPopup text=\"Well?\"/>");
        // The shell stays, since the terminal of a session that is over is nobody's, and gives a busy machine its time.
        const auto terminal = ShellAtTerminal(
            "trap '' HUP; " + Command("--record r bad.xml") +
            "; code=$?; for i in {1..50}; do stty -a | grep -q ' icanon' && break; sleep 0.1; done; exit $code");
        terminal->Expect("Well?");
        terminal->Expect("> ");
        EXPECT_FALSE(terminal->IsRestored());
        const std::string lock = Read("lock");
        const pid_t child = std::stoi(lock);
        kill(killsChild ? child : ParentOf(child), SIGKILL);
        EXPECT_EQ(terminal->Wait(), killsChild ? 3 : 128 + SIGKILL);
        EXPECT_TRUE(IsGone(child));
        EXPECT_TRUE(terminal->IsRestored());
    }
}
