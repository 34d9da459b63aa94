#include "SessionFixture.h"

#include <QLockFile>
#include <QProcess>

#include <thread>
#include <unistd.h>

namespace
{
using CHostTest = CSessionTest;

std::string Shown(const SProblem& problem)
{
    return std::to_string(problem.line) + ':' + std::to_string(problem.column) + ' ' + problem.rule + ": " +
        problem.message;
}
} // namespace

TEST_F(CHostTest, ASuiteOrItsProblemsWithPlaceAndRule)
{
    const struct
    {
        std::string text;
        std::vector<std::string> problems;
    } rows[] = {
        {"", {"0:0 unreadable: is empty"}},
        {"<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\">\n <x:Group/>", {"2:2 schema", "2:12 xml"}},
        {"<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\"><x:InitGroup/></x:TestSuite>", {"1:1 schema"}},
        {"<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\"><x:Variables>\n  <x:Local type=\"DWORD\" name=\"a\"/>\n"
         "  <x:Local type=\"LONG\" name=\"b\"/>\n  <x:Define type=\"LONG\" name=\"b\"/></x:Variables>"
         "<x:InitGroup><x:Function name=\"a\"/></x:InitGroup><x:ExitGroup><x:Function name=\"a\"/></x:ExitGroup>"
         "</x:TestSuite>",
         {"2:3 unknown-type: Invalid variable type: DWORD.", "4:3 duplicate-variable: the variable \"b\" is declared"}},
        {"<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\"><x:InitGroup><x:Set variable=\"v\">\n<x:Expression "
         "operator=\"plus\"><x:Value value=\"1\"/><x:Value value=\"1\"/></x:Expression></x:Set></x:InitGroup>"
         "<x:ExitGroup><x:Function name=\"a\"/></x:ExitGroup></x:TestSuite>",
         {"2:1 unknown-operator: x:Expression: the operator \"plus\" is not known"}},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.text);
        Write("bad.xml", row.text);
        CSession session(setup);
        std::vector<SProblem> recorded;
        CStory story;
        story.OnEvent = [&](const SEvent& event)
        {
            const auto* const load = std::get_if<SSuiteLoadEvent>(&event.what);
            recorded = load ? load->problems : recorded;
        };
        session.Add(story);
        const auto suite = session.LoadSuite(Path("bad.xml"));
        EXPECT_FALSE(suite->Loaded());
        EXPECT_EQ(session.Run(*suite).outcome, EOutcome::NotLoaded);
        ASSERT_EQ(suite->Problems().size(), row.problems.size());
        ASSERT_EQ(recorded.size(), row.problems.size());
        for (std::size_t i = 0; i < row.problems.size(); ++i)
        {
            EXPECT_EQ(Shown(suite->Problems()[i]).substr(0, row.problems[i].size()), row.problems[i]);
        }
    }
}

TEST_F(CHostTest, AStopFromAnotherThreadEndsTheGroupsAndASecondOneTheExitGroup)
{
    for (const int requests : {1, 2})
    {
        CSession session(setup);
        CStory story;
        story.OnEvent = [&](const SEvent& event)
        {
            const auto* const state = std::get_if<SStateEvent>(&event.what);
            if (state && state->path == "/1/0" && state->state == ENodeState::Executing)
            {
                std::thread(
                    [&]
                    {
                        for (int i = 0; i < requests; ++i)
                        {
                            session.RequestStop();
                        }
                    })
                    .join();
            }
        };
        session.Add(story);
        const SOutcome outcome = session.Run(*session.LoadSuite(Suite(Call("Passes") + Call("Passes"))));
        EXPECT_EQ(outcome.outcome, EOutcome::Aborted);
        EXPECT_EQ(outcome.verdicts.passed, requests == 1 ? 3U : 2U);
        EXPECT_TRUE(story.text.find("Test suite Aborted!") != std::string::npos) << story.text;
    }
}

TEST_F(CHostTest, AStopAskedForBeforeTheRunRunsTheExitGroupAlone)
{
    CSession session(setup);
    const auto suite = session.LoadSuite(Suite(Call("Passes")));
    session.RequestStop();
    const SOutcome outcome = session.Run(*suite);
    EXPECT_EQ(outcome.outcome, EOutcome::Aborted);
    EXPECT_EQ(outcome.reason, "Interrupted by the operator.");
    EXPECT_EQ(outcome.verdicts.passed, 1U);
    EXPECT_EQ(outcome.verdicts.notRun, 2U);
}

TEST_F(CHostTest, ASuiteRunsAgainAndSeveralAreLoadedAtOnce)
{
    CSession session(setup);
    const auto first = session.LoadSuite(Suite(Call("Passes") + Call("ReturnsFalse")));
    const auto second = session.LoadSuite(Suite(Call("Passes")));
    EXPECT_EQ(session.Run(*first).outcome, EOutcome::Failed);
    EXPECT_EQ(session.Run(*second).outcome, EOutcome::Passed);
    EXPECT_EQ(first->Select({{true, "/1/0"}, {true, "nobody"}}), std::vector<std::string>{"nobody"});
    EXPECT_EQ(session.Run(*first).outcome, EOutcome::Passed);
    EXPECT_TRUE(first->Select({{false, "**"}}).empty());
    EXPECT_EQ(session.Run(*first).outcome, EOutcome::NothingRan);
}

TEST_F(CHostTest, StopOnFailureEndsTheGroupAndTheGroupsBehindIt)
{
    setup.stopOnFailure = true;
    CSession session(setup);
    const SOutcome outcome = session.Run(
        *session.LoadSuite(Suite(Call("ReturnsFalse") + Call("Passes") + "</x:Group><x:Group>" + Call("Passes"))));
    EXPECT_EQ(outcome.outcome, EOutcome::Failed);
    EXPECT_EQ(outcome.verdicts.notRun, 2U);
    EXPECT_EQ(outcome.verdicts.passed, 2U); // of the init group and the exit group
}

TEST_F(CHostTest, AHeldLockNamesItsHolderAndIsWaitedForWhenAsked)
{
    QLockFile holder(QString::fromStdString(Path("lock")));
    ASSERT_TRUE(holder.tryLock(0));
    const std::string suite = Suite(Call("Passes"));
    {
        CSession session(setup);
        const SOutcome outcome = session.Run(*session.LoadSuite(suite));
        EXPECT_EQ(outcome.outcome, EOutcome::LockRefused);
        EXPECT_TRUE(outcome.reason.starts_with("process " + std::to_string(getpid()) + " on ")) << outcome.reason;
        EXPECT_NE(outcome.reason.find(" holds the execution lock " + Path("lock") + " since 20"), std::string::npos);
        EXPECT_TRUE(outcome.reason.ends_with(" and still lives")) << outcome.reason;
        ASSERT_TRUE(outcome.lock);
        EXPECT_EQ(outcome.lock->process, static_cast<std::uint64_t>(getpid()));
    }
    setup.lockWait = std::chrono::seconds(20);
    CSession session(setup);
    CStory story;
    story.OnEvent = [&](const SEvent& event)
    {
        if (std::holds_alternative<SLockEvent>(event.what))
        {
            holder.unlock();
        }
    };
    session.Add(story);
    EXPECT_EQ(session.Run(*session.LoadSuite(suite)).outcome, EOutcome::Passed);
}

TEST_F(CHostTest, ALockThatNobodyCanTakeIsFoundOutWithoutTakingIt)
{
    EXPECT_EQ(CSession(setup).CheckLock(), Path("lock"));
    EXPECT_NE(access(Path("lock").c_str(), F_OK), 0);
    for (const std::string name : {"nowhere/lock", "."})
    {
        Write("settings.ini", "[runtime]\nLockFileName=" + Path(name) + '\n');
        EXPECT_THROW(static_cast<void>(CSession(setup).CheckLock()), ZKRunTimeException) << name;
    }
}

TEST_F(CHostTest, SettingsAreReadAndNeverWritten)
{
    Write("settings.ini", "[application]\n");
    const auto saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString(Path("data")));
    CSession session(setup);
    EXPECT_EQ(session.CheckLock(), Path("data/GuiZKExecuteLock.txt"));
    EXPECT_EQ(session.Run(*session.LoadSuite(Suite(Call("Passes")))).outcome, EOutcome::Passed);
    qputenv("XDG_DATA_HOME", saved);
    std::ifstream file(Path("settings.ini"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "[application]\n");
}

TEST_F(CHostTest, ASettingsLineThatMeansNothingIsAWarningWithItsNumber)
{
    Write("settings.ini",
          "; fine\n[runtime]\nLockFileName=" + Path("lock") +
              "\n  LockName=x\n\n[filter:lab]\ncategories=a\nhello\n[colours]\nred=1\n");
    const CSession session(setup);
    std::string warnings;
    for (const SProblem& problem : session.SettingsProblems())
    {
        warnings += Shown(problem) + '\n';
    }
    EXPECT_EQ(warnings,
              "4:3 settings: the section \"runtime\" has no key \"LockName\"\n"
              "8:1 settings: this is neither a section nor KEY=VALUE\n"
              "9:1 settings: there is no section \"colours\"\n");
}

TEST_F(CHostTest, TheMinimalHostAsksShowsAndStops)
{
    const auto run = [this](const std::string& body, const char* input, const char* seconds)
    {
        QProcess host;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), QString::fromStdString(Path("data")));
        host.setProcessEnvironment(environment);
        host.start(
            QStringLiteral(MINIMAL_HOST),
            {QString::fromStdString(Suite(body)), QString::fromUtf8(seconds), QStringLiteral(CLI_LIBRARY_FOLDER)});
        host.write(input);
        host.closeWriteChannel();
        EXPECT_TRUE(host.waitForFinished(30000));
        return host.readAllStandardOutput().toStdString() + "exit " + std::to_string(host.exitCode());
    };
    const std::string asked = run(R"(<x:BooleanPopup text="Lamp on" variable="$N"/>)" + Call("Passes"), "Yes\n", "60");
    EXPECT_NE(asked.find("Lamp on ? "), std::string::npos) << asked;
    EXPECT_NE(asked.find("  User selected Yes\n"), std::string::npos) << asked;
    EXPECT_NE(asked.find("ok   /1/1 \nok   /2/0 \n"), std::string::npos) << asked;
    EXPECT_TRUE(asked.ends_with("Passed, 3 tests passed\nexit 0")) << asked;
    const std::string stopped = run("<x:Group from=\"0\" to=\"100\">" + Call("Rests") + "</x:Group>", "", "1");
    EXPECT_NE(stopped.find("Aborted, "), std::string::npos) << stopped;
}
