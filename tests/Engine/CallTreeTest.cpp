#include <Support/RecordingHost.h>

#include <Orvanta/CallTree.h>

#include <CoreKit/CatchLadder.h>

#include <QFileInfo>
#include <QLockFile>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <regex>

namespace
{
const char* const WITH_LIBRARY = "name=\"Suite\" library=\"EngineTests\"";

std::string Suite(const std::string& init, const std::string& test, const std::string& exit = "Succeed")
{
    return "<x:InitGroup><x:Function name='" + init +
        "'/></x:InitGroup><x:Group name='G'><x:Function label='Test' name='" + test +
        "' type='PassFailTest'/></x:Group><x:ExitGroup><x:Function name='" + exit + "'/></x:ExitGroup>";
}

/// What differs from machine to machine and from run to run, replaced.
std::string Settled(std::string text)
{
    const std::pair<const char*, const char*> replacements[] = {
        {"Operating system: [^\\n]*", "Operating system: OS"},
        {"Qt version: \\d+\\.\\d+\\.\\d+", "Qt version: QT"},
        {"(Start|Stop) time : \\w{3} \\d\\d, \\d{4} - \\d\\d:\\d\\d:\\d\\d", "$1 time : TIME"},
        {"\\(\\d+\\): C", "(LINE): C"},
    };
    for (const auto& [pattern, replacement] : replacements)
    {
        text = std::regex_replace(text, std::regex(pattern), replacement);
    }
    return "\n" + text;
}

/// The story of a run behind its banner, without trace lines of nodes.
std::string Story(const CRecordingHost& host, unsigned kinds = REC_STORY)
{
    std::string text;
    bool isPastBanner = false;
    for (const std::string& line : host.Transcript(kinds))
    {
        isPastBanner = isPastBanner || line.find("Acquiring") != std::string::npos;
        text += isPastBanner && !line.starts_with("log TS_NONE L5") ? line + '\n' : "";
    }
    return Settled(text);
}

const std::string LOCKED =
    "\nlog TS_NONE L6 -: Acquiring execution lock...\nlog TS_NONE L6 -: Execution lock acquired.\n";
const std::string RELEASED =
    "log TS_NONE L6 -: Releasing execution lock...\nlog TS_NONE L6 -: Execution lock released.\n";

/// A run with its host and suite.
class CRun
{
public:
    explicit CRun(const std::string& body, const char* attributes = WITH_LIBRARY)
        : m_Suite(std::make_unique<CLoadedSuite>(Host, body, attributes, true))
        , Tree(std::make_unique<CCallTree>(&m_Suite->State()))
    {
    }

    TestSuiteState& State() { return m_Suite->State(); }
    /// Calls back at every line that contains a text.
    void At(const std::string& text, std::function<void()> action)
    {
        Host.OnRecord = [text, action](ERecorded, const std::string& line)
        {
            if (line.find(text) != std::string::npos)
            {
                action();
            }
        };
    }
    bool LockIsFree() const
    {
        QLockFile other(Host.Folder() + QStringLiteral("/lock"));
        return other.tryLock(0);
    }
    std::string Headline() const
    {
        const std::vector<std::string> lines = Host.Transcript(REC_HEADLINE);
        return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " headlines";
    }

    CRecordingHost Host;

private:
    std::unique_ptr<CLoadedSuite> m_Suite;

public:
    std::unique_ptr<CCallTree> Tree;
};

/// Another process that holds a lock file while the object lives.
class CLockingProcess
{
public:
    explicit CLockingProcess(const QString& path)
    {
        int held[2];
        int release[2];
        if (pipe(held) != 0 || pipe(release) != 0)
        {
            ADD_FAILURE() << "no pipe";
            return;
        }
        m_Process = fork();
        if (m_Process == 0)
        {
            close(release[1]);
            QLockFile lock(path);
            char answer = lock.tryLock(0) ? 'y' : 'n';
            const bool isTold = write(held[1], &answer, 1) == 1;
            _exit(isTold && read(release[0], &answer, 1) == 0 ? 0 : 1);
        }
        close(held[1]);
        close(release[0]);
        m_Release = release[1];
        char answer = 'n';
        EXPECT_EQ(read(held[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(held[0]);
    }
    ~CLockingProcess()
    {
        close(m_Release);
        waitpid(m_Process, nullptr, 0);
    }
    CLockingProcess(const CLockingProcess&) = delete;
    CLockingProcess& operator=(const CLockingProcess&) = delete;

private:
    pid_t m_Process = -1;
    int m_Release = -1;
};
} // namespace

TEST(CallTree, AHappyRunFromBannerToHeadline)
{
    CRun run(Suite("Succeed", "Warn"));
    run.Host.Services.ReportName = "left over";
    EXPECT_EQ(run.Tree->CallTree(), TS_NONE);
    EXPECT_EQ(Settled(run.Host.Text(REC_ALL & ~REC_STATE)), R"(
test-log: Startup [separator]
log TS_NONE L0 (0,0,255,255 700): Calling test suite: suite.xml.
log TS_NONE L0 (0,0,255,255 400): Log Level: Warnings
print L0: \n
log TS_NONE L3 (0,0,255,255 700): Operating system: OS
log TS_NONE L3 (0,0,255,255 700): Qt version: QT
log TS_NONE L3 (0,0,255,255 700): PSF version supported: 1.0
log TS_NONE L3 -: Orvanta version: 5.0.0
log TS_NONE L6 -: Acquiring execution lock...
flush false
log TS_NONE L6 -: Execution lock acquired.
flush false
SetSuiteName suite.xml
flush false
flush false
EnableInput
EnableInput
flush false
flush false
log TS_NONE L5 node:    - Entering x:InitGroup.
flush false
flush false
log TS_NONE L5 node:      - Entering x:Function:  (Succeed).
test-log: Succeed
BeginFunction
log TS_NONE L5 -: Executing function: Succeed.
EndFunction
log TS_NONE L6 -: Succeed return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function:  (Succeed).
FunctionFinished
flush false
log TS_NONE L5 node:    - Exiting x:InitGroup.
flush false
flush false
flush false
log TS_NONE L5 node:    - Entering x:Group: G.
log TS_NONE L5 node:    - attribute name.
log TS_NONE L5 node:    -   value: "G".
flush false
flush false
log TS_NONE L5 node:      - Entering x:Function: Test (Warn).
test-log: Test [test]
BeginFunction
log TS_NONE L5 -: Executing function: Warn.
log TS_NONE L4 warning: a warning
EndFunction
log TS_NONE L6 -: Warn return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function: Test (Warn).
FunctionFinished
flush false
log TS_NONE L5 node:    - Exiting x:Group.
flush false
flush false
flush false
log TS_NONE L5 node:    - Entering x:ExitGroup.
flush false
flush false
log TS_NONE L5 node:      - Entering x:Function:  (Succeed).
test-log: Succeed
BeginFunction
log TS_NONE L5 -: Executing function: Succeed.
EndFunction
log TS_NONE L6 -: Succeed return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function:  (Succeed).
FunctionFinished
flush false
log TS_NONE L5 node:    - Exiting x:ExitGroup.
flush false
EnableInput
flush false
flush true
log TS_NONE L6 -: Releasing execution lock...
flush false
log TS_NONE L6 -: Execution lock released.
flush false
flush true
ShowInfo 0 4294967295 'Test suite Passed!' true '' 0 2 ''
headline 0: Test suite Passed!
)");
    EXPECT_EQ(run.Host.Services.ReportName, " - Passed");
    EXPECT_TRUE(run.Tree->LockAcquired());
    EXPECT_TRUE(run.LockIsFree());
}

TEST(CallTree, StoriesOfRunsThatGoWrong)
{
    const std::string library = WITH_LIBRARY;
    const std::string passed = "log TS_NONE L6 -: Succeed return status: 0x00000000.\n";
    const std::string passedAfterError = "log TS_NONE L6 -: Succeed return status: 0x40000000.\n";
    const auto thrown = [&](const std::string& function, const std::string& message)
    {
        return "\n" + passed + "log TS_ERROR L1 -: " + message + "\nlog TS_ERROR L1 -: Test suite function '" +
            function + "' has aborted unexpectedly.\nlog TS_NONE L6 -: " + function + " return status: 0x40000000.\n" +
            passedAfterError;
    };
    const struct
    {
        std::string body;
        std::string attributes;
        TEST_STATUS status;
        std::string story;
        const char* headline;
    } rows[] = {
        {Suite("Fail", "Succeed"), library, TS_ERROR, R"(
log TS_NONE L6 -: Fail return status: 0x00000000.
log TS_ERROR L1 -: Test Suite Initialization failed.
log TS_ERROR L1 -: Test Suite Execution failed, and stop on failure was enabled.
)" + passedAfterError,
         "headline 3: Test suite Aborted!"},
        {"<x:InitGroup><x:Function name='Succeed'/></x:InitGroup><x:Group/><x:ExitGroup><x:Function name='Succeed'/>"
         "</x:ExitGroup>",
         library, TS_FAILED | TS_ERROR,
         "\n" + passed +
             R"(log TS_ERROR L1 -: Test suite failed unexpectedly:\n -- \nZKEngine/Orvanta/GroupNode(LINE): )"
             R"(CGroupNode::SomethingToExecute:\nx:Group must have at least one child element.
log TS_FAILED L2 -: Attempting to call cleanup functions.
log TS_NONE L6 -: Succeed return status: 0x60000000.
)",
         "headline 3: Test suite Aborted!"},
        {Suite("Succeed", "ThrowRuntimeError"), library, TS_ERROR, thrown("ThrowRuntimeError", "Unexpected failure: x"),
         "headline 3: Test suite Failed!"},
        {Suite("Succeed", "ThrowZK"), library, TS_ERROR, thrown("ThrowZK", "Unexpected Zelkor failure: T"),
         "headline 3: Test suite Failed!"},
        {Suite("Succeed", "ThrowUnknown"), library, TS_ERROR,
         thrown("ThrowUnknown", "FUNCTION 'ThrowUnknown' ENCOUNTERED AN UNEXPECTED ERROR.  ABORTING.\\n"),
         "headline 3: Test suite Failed!"},
        {Suite("Succeed", "Succeed") + "<x:DllLoadError>Install it.</x:DllLoadError>", "library='nosuch'",
         TS_FAILED | TS_ERROR, R"(
log TS_ERROR L1 -: Unable to open test suite Library: libnosuch.so
log TS_FAILED L2 (255,0,0,255 400): Error message: libnosuch.so: no folder is set in which to look for it.
log TS_FAILED L2 (255,0,0,255 400 italic): --------------------------\nInstall it.
)",
         "headline 3: Test suite Aborted!"},
        {Suite("Succeed", "Abort"), library, TS_NONE, "\n" + passed + passed, "headline 3: Test suite Failed!"},
    };
    for (const auto& row : rows)
    {
        CRun run(row.body, row.attributes.c_str());
        run.Host.Services.LibraryPath = {};
        EXPECT_EQ(run.Tree->CallTree(), row.status);
        EXPECT_EQ(Story(run.Host, REC_LOG | REC_HEADLINE),
                  LOCKED + row.story.substr(1) + RELEASED + row.headline + "\n");
        EXPECT_FALSE(run.Host.Services.FunctionIsExecuting);
    }
}

TEST(CallTree, DiagnosticOnly)
{
    CRun run(Suite("Succeed", "Succeed"));
    run.Host.Services.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_EQ(run.Tree->CallTree(), TS_NONE);
    const std::string story = Story(run.Host);
    EXPECT_TRUE(story.starts_with(LOCKED + "log TS_NONE L3 -: This is a Test Suite Node.  Type: x:InitGroup.\n" +
                                  "log TS_NONE/4 L3 unlogged: Calling function: Succeed\n"))
        << story;
    EXPECT_TRUE(story.ends_with(RELEASED + "log TS_NONE L3 -: Test Suite ran to completion\n" +
                                "headline 0: Test suite Validation Completed!\n"))
        << story;
    EXPECT_EQ(run.Host.Transcript(REC_TEST_LOG).size(), 1U); // the banner's
    EXPECT_EQ(run.Host.Services.ReportName, " - Completed");
}

TEST(CallTree, AValidationRunCallsWhatWritesIntoVariables)
{
    const auto function = [](const char* name, const char* passed)
    {
        return "<x:Function name='" + std::string(name) + "'><x:Parameter name='p' type='LONG' passed='" + passed +
            "' value='$v'/></x:Function>";
    };
    const std::string body = "<x:Variables><x:Local type='LONG' name='$v'/></x:Variables><x:InitGroup>" +
        function("Take1", "byVal") + function("FillLong", "byRef") +
        "<x:Function name='ReportFailure'/></x:InitGroup><x:ExitGroup><x:Function name='Succeed'/>"
        "</x:ExitGroup>";
    for (const ETestSuiteMode mode : {MODE_NORMAL, MODE_DEBUG})
    {
        CRun run(body);
        run.Host.Services.ExecutionType = EXECUTION_VALIDATION;
        run.Host.Services.TestSuiteMode = mode;
        EXPECT_EQ(run.Tree->CallTree(), TS_FAILED);
        const std::string start = "log TS_NONE L5 -: Function Start time : TIME\n";
        const std::string stop = "log TS_NONE L5 -: Function Stop time : TIME\n";
        std::string calls;
        for (const std::string& line : run.Host.Transcript(REC_LOG))
        {
            calls += line.find("time :") != std::string::npos || line.find("failure") != std::string::npos ? line + '\n'
                                                                                                           : "";
        }
        EXPECT_EQ(Settled(calls),
                  "\n" + stop + (mode == MODE_NORMAL ? start : "") + stop +
                      "log TS_FAILED L2 -: a failure\n"); // without parameters: always called
        EXPECT_EQ(run.Host.Services.ReportName, mode == MODE_DEBUG ? " - Aborted - DEBUG" : " - Aborted");
    }
}

TEST(CallTree, ValidationSummaries)
{
    const struct
    {
        const char* test;
        bool report;
        bool abortRequest;
        bool cancel;
        const char* closing;
        const char* headline;
        const char* reportName;
    } rows[] = {
        {"Succeed", true, false, false, "log TS_NONE L3 -: Validation was successful",
         "headline 0: Test suite Validation Passed!", " - Passed"},
        {"Fail", true, false, false, "log TS_FAILED L2 -: Validation was NOT successful",
         "headline 3: Test suite Validation Failed!", " - Failed"},
        {"Succeed", false, false, true, "log TS_NONE L3 -: Test Suite ran to completion",
         "headline 0: Test suite Validation Passed!", " - Passed"},
        {"Fail", false, false, false, "log TS_FAILED L2 -: Test Suite did NOT run to completion",
         "headline 3: Test suite Validation Failed!", " - Failed"},
        {"Succeed", false, true, false, "log TS_NONE L3 -: Test Suite ran to completion",
         "headline 0: Test suite Validation Failed!", " - Failed"},
        {"Succeed", true, true, false, "log TS_NONE L3 -: Validation was successful",
         "headline 0: Test suite Validation Failed!", " - Failed"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.closing);
        CRun run(Suite("Succeed", row.test));
        run.Host.Services.ExecutionType = EXECUTION_VALIDATION;
        run.Tree->ValidationReport(row.report);
        run.At("Entering x:ExitGroup",
               [&]
               {
                   CUIUpdate::GetUIUpdate().AbortFunction(row.abortRequest);
                   CCallTree::Cancel(row.cancel);
               });
        run.Tree->CallTree();
        EXPECT_EQ(run.Headline(), row.headline);
        EXPECT_EQ(run.Host.Transcript(REC_LOG).back(), row.closing);
        EXPECT_EQ(run.Host.Services.ReportName, row.reportName);
        EXPECT_FALSE(CUIUpdate::GetUIUpdate().AbortFunction());
    }
}

TEST(CallTree, SummariesOfNormalRuns)
{
    const struct
    {
        const char* test;
        bool hasTests;
        bool cancel;
        const char* headline;
    } rows[] = {
        {"Succeed", true, false, "headline 0: Test suite Passed!"},
        {"ReportFailure", true, false, "headline 3: Test suite Failed!"},
        {"Fail", true, false, "headline 3: Test suite Failed!"}, // without a word
        {"Error", true, false, "headline 3: Test suite Failed!"},
        {"Abort", true, false, "headline 3: Test suite Failed!"},
        {"Succeed", false, false, "headline 0: Test suite Completed!"},
        {"Fail", false, false, "headline 3: Test suite Aborted!"},
        {"Succeed", true, true, "headline 0: Test suite Aborted!"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.headline);
        CRun run(Suite("Succeed", row.test));
        run.Host.SuiteLog().SetHasTestsToRun(row.hasTests);
        run.At("Entering x:ExitGroup", [&] { CCallTree::Cancel(row.cancel); });
        run.Host.Services.UIUpdate.AbortFunction(true); // an earlier request is forgotten
        CCallTree::Cancel(true);
        run.Tree->CallTree();
        EXPECT_EQ(run.Headline(), row.headline) << row.test;
        EXPECT_FALSE(run.Host.Services.UIUpdate.AbortFunction());
    }
}

TEST(CallTree, RefusedWhileAnotherProcessHoldsTheLock)
{
    CRun run(Suite("Succeed", "Succeed"));
    {
        const CLockingProcess other(run.Host.Folder() + QStringLiteral("/lock"));
        EXPECT_EQ(run.Tree->CallTree(), TS_ERROR);
    }
    EXPECT_EQ(Story(run.Host, REC_STORY | REC_CALLS | REC_FLUSH), R"(
log TS_NONE L6 -: Acquiring execution lock...
flush false
TestSuitePhase 1
log TS_ERROR L1 -: \nAnother application is running ZK Compliance tests.\n\n  Only one application may run a Compliance Test at a time.
flush false
flush true
ShowInfo 0 4294967295 'Test suite did not execute!' true '' 3 2 ''
headline 3: Test suite did not execute!
)");
    EXPECT_EQ(run.Host.Services.ReportName, "");
    EXPECT_FALSE(run.Tree->LockAcquired());

    // Another runner of this process, then the same object once the lock is free.
    {
        QLockFile held(run.Host.Folder() + QStringLiteral("/lock"));
        ASSERT_TRUE(held.tryLock(0));
        EXPECT_EQ(run.Tree->CallTree(), TS_ERROR);
        EXPECT_FALSE(run.Tree->LockAcquired());
    }
    run.Host.NewSuiteLog();
    run.Host.Clear();
    run.Tree->CallTree();
    EXPECT_TRUE(run.Tree->LockAcquired());
    EXPECT_EQ(run.Headline(), "headline 0: Test suite Passed!");
}

TEST(CallTree, LockPathFromTheSettingsOrByDefault)
{
    CRecordingHost host;
    EXPECT_EQ(GetLockFilePath(), (host.Folder() + QStringLiteral("/lock")).toStdString());

    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", (host.Folder() + QStringLiteral("/data")).toUtf8());
    host.Settings.UpdateAppSetting("runtime/LockFileName", "", 1);
    const std::string expected = (host.Folder() + QStringLiteral("/data/GuiZKExecuteLock.txt")).toStdString();
    try
    {
        const CCallTree none(nullptr);
        ADD_FAILURE() << "nothing thrown";
    }
    catch (const ZKRunTimeException& exception)
    {
        EXPECT_TRUE(std::regex_match(exception.what(),
                                     std::regex("\nZKEngine/Orvanta/CallTree\\(\\d+\\): CCallTree::CCallTree:\n"
                                                "Internal error: NULL Test Suite Document object\\.")))
            << exception.what();
    }
    std::string stored; // although there was no suite
    host.Settings.GetAppSetting("runtime/LockFileName", stored, 1);
    EXPECT_EQ(stored, expected);
    EXPECT_TRUE(QFileInfo(host.Folder() + QStringLiteral("/data")).isDir());

    qputenv("XDG_DATA_HOME", "/elsewhere");
    EXPECT_EQ(GetLockFilePath(), expected);
    before.isEmpty() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

TEST(CallTree, WhatARunNeeds)
{
    CRun run(Suite("Succeed", "Succeed"));
    run.State().TestSuiteNode(nullptr);
    EXPECT_THROW(run.Tree->CallTree(), ZKRunTimeException);
    EXPECT_EQ(run.Host.Transcript(REC_HEADLINE).size(), 1U);
    EXPECT_TRUE(run.LockIsFree());

    run.Host.Clear();
    TestSuiteState unread(QStringLiteral("/nowhere/suite.xml"), ACCESS_IN_APPLICATION);
    CCallTree withoutDocument(&unread);
    EXPECT_THROW(withoutDocument.CallTree(), ZKRunTimeException);
    EXPECT_EQ(run.Host.Text(REC_ALL), "");

    run.Host.Services.TestSuiteLog = nullptr;
    for (CCallTree* tree : {run.Tree.get(), &withoutDocument})
    {
        try
        {
            tree->CallTree();
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const ZKRunTimeException& exception)
        {
            EXPECT_STREQ(exception.what(), "INTERNAL ERROR: NULL test suite log object.");
        }
    }
    EXPECT_EQ(run.Host.Text(REC_ALL), "");
}

TEST(CallTree, WhatLeavesTheRun)
{
    const struct
    {
        const char* name;
        std::function<void()> raise;
        std::string rest;
    } rows[] = {
        {"abort", [] { RaiseUserAbort("stop"); },
         "log TS_NONE L4 abort: User aborted test suite.\n" + RELEASED + "headline 3: Test suite Aborted!\n"},
        {"family", [] { throw ZKRunTimeException("T"); }, RELEASED + "headline 0: Test suite Completed!\n"},
        {"unknown", [] { throw 1; }, RELEASED + "headline 0: Test suite Completed!\n"},
        {"memory", [] { throw std::bad_alloc(); }, ""},
        {"parser's memory", [] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, ""},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        CRun run(Suite("Succeed", "Succeed"));
        run.At("SetSuiteName", row.raise);
        EXPECT_ANY_THROW(run.Tree->CallTree());
        EXPECT_EQ(Story(run.Host), LOCKED + row.rest);
        EXPECT_TRUE(run.LockIsFree());
    }
    // Memory that runs out inside the suite passes every level.
    CRun run(Suite("Succeed", "ThrowBadAlloc"));
    EXPECT_THROW(run.Tree->CallTree(), std::bad_alloc);
    EXPECT_EQ(run.Headline(), "0 headlines");
    EXPECT_TRUE(run.LockIsFree());
}

TEST(CallTree, RunsAgain)
{
    CRun run(Suite("Succeed", "Succeed"));
    run.Tree->CallTree();
    const std::string first = run.Host.Text(REC_ALL);
    run.Host.Clear();
    run.Host.NewSuiteLog();
    EXPECT_EQ(run.Tree->CallTree(), TS_NONE);
    EXPECT_EQ(run.Host.Text(REC_ALL), first);
    EXPECT_EQ(run.Host.Services.ReportName, " - Passed");
    EXPECT_EQ(run.Host.SuiteLog().SuiteName(), "suite.xml");
}
