#include <Support/RecordingHost.h>

#include <Orvanta/CallTree.h>

#include <QFileInfo>
#include <QLockFile>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>

namespace
{
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
    };
    for (const auto& [pattern, replacement] : replacements)
    {
        text = std::regex_replace(text, std::regex(pattern), replacement);
    }
    return "\n" + WithoutLines(text);
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
    CNode& Node(const char* path) { return m_Suite->Node(path); }
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
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        m_Process = fork();
        m_End = ends[m_Process == 0];
        close(ends[m_Process != 0]);
        char answer = 'n';
        if (m_Process == 0)
        {
            QLockFile lock(path);
            answer = lock.tryLock(0) ? 'y' : 'n';
            _exit(write(m_End, &answer, 1) == 1 && read(m_End, &answer, 1) == 0 ? 0 : 1);
        }
        EXPECT_EQ(read(m_End, &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
    }
    ~CLockingProcess()
    {
        close(m_End);
        waitpid(m_Process, nullptr, 0);
    }
    CLockingProcess(const CLockingProcess&) = delete;
    CLockingProcess& operator=(const CLockingProcess&) = delete;

private:
    pid_t m_Process = -1;
    int m_End = -1;
};
} // namespace

TEST(CallTree, AHappyRunFromBannerToHeadline)
{
    CRun run(Suite("Succeed", "Warn"));
    run.Host.Services.Run.ReportName = "left over";
    EXPECT_EQ(run.Tree->CallTree(), TS_NONE);
    EXPECT_EQ(Settled(run.Host.Text(REC_ALL & ~(REC_STATE | REC_FLUSH))), R"(
test-log: Startup [separator]
log TS_NONE L0 (0,0,255,255 700): Calling test suite: suite.xml.
log TS_NONE L0 (0,0,255,255 400): Log Level: Warnings
print L0: \n
log TS_NONE L3 (0,0,255,255 700): Operating system: OS
log TS_NONE L3 (0,0,255,255 700): Qt version: QT
log TS_NONE L3 (0,0,255,255 700): PSF version supported: 1.0
log TS_NONE L3 -: Orvanta version: 5.0.0
log TS_NONE L6 -: Acquiring execution lock...
log TS_NONE L6 -: Execution lock acquired.
SetSuiteName suite.xml
EnableInput
EnableInput
log TS_NONE L5 node:    - Entering x:InitGroup.
log TS_NONE L5 node:      - Entering x:Function:  (Succeed).
test-log: Succeed
BeginFunction
log TS_NONE L5 -: Executing function: Succeed.
EndFunction
log TS_NONE L6 -: Succeed return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function:  (Succeed).
FunctionFinished
log TS_NONE L5 node:    - Exiting x:InitGroup.
log TS_NONE L5 node:    - Entering x:Group: G.
log TS_NONE L5 node:    - attribute name.
log TS_NONE L5 node:    -   value: "G".
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
log TS_NONE L5 node:    - Exiting x:Group.
log TS_NONE L5 node:    - Entering x:ExitGroup.
log TS_NONE L5 node:      - Entering x:Function:  (Succeed).
test-log: Succeed
BeginFunction
log TS_NONE L5 -: Executing function: Succeed.
EndFunction
log TS_NONE L6 -: Succeed return status: 0x00000000.
test-log: ------- [separator]
log TS_NONE L5 node:      - Exiting x:Function:  (Succeed).
FunctionFinished
log TS_NONE L5 node:    - Exiting x:ExitGroup.
EnableInput
log TS_NONE L6 -: Releasing execution lock...
log TS_NONE L6 -: Execution lock released.
ShowInfo 0 4294967295 'Test suite Passed!' true '' 0 2 ''
headline 0: Test suite Passed!
)");
    EXPECT_EQ(run.Host.Services.Run.ReportName, " - Passed");
    EXPECT_TRUE(run.Tree->LockAcquired());
    EXPECT_TRUE(run.LockIsFree());

    // A second run tells the same.
    const std::string first = run.Host.Text(REC_ALL);
    run.Host.Clear();
    run.Host.NewSuiteLog();
    EXPECT_EQ(run.Tree->CallTree(), TS_NONE);
    EXPECT_EQ(run.Host.Text(REC_ALL), first);
    EXPECT_EQ(run.Host.Services.Run.ReportName, " - Passed");
}

TEST(CallTree, StoriesOfRunsThatGoWrong)
{
    const std::string library = WITH_LIBRARY;
    const std::string passed = "log TS_NONE L6 -: Succeed return status: 0x00000000.\n";
    const std::string passedAfterError = "log TS_NONE L6 -: Succeed return status: 0x40000000.\n";
    const struct
    {
        std::string body;
        std::string attributes;
        TEST_STATUS status;
        std::string story;
        const char* headline;
    } rows[] = {
        // clang-format off
        // A loop group in the initialisation group stops on failure.
        {"<x:InitGroup><x:Group to='2'><x:Function name='Fail'/><x:Function name='Warn'/></x:Group></x:InitGroup>"
         "<x:ExitGroup><x:Function name='Succeed'/></x:ExitGroup>",
         library, TS_ERROR, R"(
log TS_NONE L6 -: Fail return status: 0x00000000.
log TS_ERROR L1 -: Test Suite Initialization failed.
log TS_ERROR L1 -: Test Suite Execution failed, and stop on failure was enabled.
)" + passedAfterError, "headline 3: Test suite Aborted!"},
        {"<x:InitGroup><x:Function name='Succeed'/></x:InitGroup><x:Group/><x:ExitGroup><x:Function name='Succeed'/>"
         "</x:ExitGroup>",
         library, TS_FAILED | TS_ERROR,
         "\n" + passed + R"(log TS_ERROR L1 -: Test suite failed unexpectedly:\n -- \nZKEngine/Orvanta/GroupNode(LINE): )"
             R"(CGroupNode::SomethingToExecute:\nx:Group must have at least one child element.
log TS_FAILED L2 -: Attempting to call cleanup functions.
log TS_NONE L6 -: Succeed return status: 0x60000000.
)", "headline 3: Test suite Aborted!"},
        {Suite("Succeed", "ThrowRuntimeError"), library, TS_ERROR, "\n" + passed + R"(log TS_ERROR L1 -: Unexpected failure: x
log TS_ERROR L1 -: Test suite function 'ThrowRuntimeError' has aborted unexpectedly.
log TS_NONE L6 -: ThrowRuntimeError return status: 0x40000000.
)" + passedAfterError, "headline 3: Test suite Failed!"},
        {Suite("Succeed", "Abort"), library, TS_NONE, "\n" + passed + passed, "headline 3: Test suite Failed!"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        CRun run(row.body, row.attributes.c_str());
        run.Host.Services.Settings.LibraryPath = {};
        EXPECT_EQ(run.Tree->CallTree(), row.status);
        EXPECT_EQ(Story(run.Host, REC_LOG | REC_HEADLINE),
                  LOCKED + row.story.substr(1) + RELEASED + row.headline + "\n");
        EXPECT_FALSE(run.Host.Services.Run.FunctionIsExecuting);
    }
}

TEST(CallTree, DiagnosticOnly)
{
    CRun run(R"(<x:InitGroup><x:Function name="Succeed"/></x:InitGroup>
        <x:Group name="G"><x:Function name="Succeed" label="Bar"/><x:Function name="Fail" label="Fail"/></x:Group>
        <x:Group><x:Function name="Succeed"/></x:Group>
        <x:ExitGroup><x:Function name="Missing"/></x:ExitGroup>)");
    run.Node("/1/1").SetSelected(false, SELECT_NOT_UP);
    run.Node("/2/0").SetSelected(false, SELECT_ALL); // and with it its group, which then lists nothing
    run.Node("/2").SetSelected(false, static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
    run.Host.Services.Settings.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_EQ(run.Tree->CallTree(), TS_FAILED);
    EXPECT_EQ(Story(run.Host, REC_LOG | REC_HEADLINE), R"(
log TS_NONE L6 -: Acquiring execution lock...
log TS_NONE L6 -: Execution lock acquired.
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:InitGroup.
log TS_NONE/4 L3 unlogged: Calling function: Succeed
log TS_NONE L3 -: 
log TS_NONE L3 unlogged:     - no parameters
log TS_NONE L3 -: 
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:Group.
log TS_NONE/4 L3 unlogged: Calling function: Succeed
log TS_NONE L3 (112,112,112,255 400 italic):  (Bar)
log TS_NONE L3 unlogged:     - no parameters
log TS_NONE L3 -: 
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:ExitGroup.
log TS_NONE/4 L3 unlogged: Calling function: Missing
log TS_NONE L3 -: 
log TS_FAILED L2 -: Couldn't find function: Missing.
log TS_NONE L6 -: Releasing execution lock...
log TS_NONE L6 -: Execution lock released.
log TS_FAILED L2 -: Test Suite did NOT run to completion
headline 3: Test suite Validation Aborted!
)");
    EXPECT_EQ(run.Host.Services.Run.ReportName, " - Aborted");
    for (const char* path : {"/0", "/0/0", "/3", "/3/0"})
    {
        EXPECT_FALSE(run.Node(path).Selected()) << path;
    }
    EXPECT_TRUE(run.Node("/1").Selected());
}

TEST(CallTree, Summaries)
{
    // clang-format off
    enum EFlags : unsigned { PLAIN = 0, REPORT = 1, ABORT = 2, CANCEL = 4, NO_TESTS = 8, DEBUG = 16 };
    // clang-format on
    const auto normal = EXECUTION_NORMAL;
    const auto validation = EXECUTION_VALIDATION;
    const std::string good = "log TS_NONE L3 -: ";
    const std::string bad = "log TS_FAILED L2 -: ";
    const std::string none = "log TS_NONE L6 -: Execution lock released.";
    const struct
    {
        ETestSuiteExecutionType type;
        const char* test;
        unsigned flags;
        std::string closing;
        const char* headline;
        const char* reportName;
    } rows[] = {
        // clang-format off
        {normal, "Succeed", PLAIN, none, "0: Test suite Passed!", " - Passed"},
        {normal, "ReportFailure", PLAIN, none, "3: Test suite Failed!", " - Failed"},
        {normal, "Fail", PLAIN, none, "3: Test suite Failed!", " - Failed"}, // without a word
        {normal, "Error", PLAIN, none, "3: Test suite Failed!", " - Failed"},
        {normal, "Succeed", NO_TESTS, none, "0: Test suite Completed!", " - Completed"},
        {normal, "Fail", NO_TESTS, none, "3: Test suite Aborted!", " - Aborted"},
        {normal, "Succeed", CANCEL, none, "0: Test suite Aborted!", " - Aborted"},
        {validation, "Succeed", REPORT, good + "Validation was successful", "0: Test suite Validation Passed!", " - Passed"},
        {validation, "Fail", REPORT, bad + "Validation was NOT successful", "3: Test suite Validation Failed!", " - Failed"},
        {validation, "Succeed", CANCEL, good + "Test Suite ran to completion", "0: Test suite Validation Passed!", " - Passed"},
        {validation, "Fail", PLAIN, bad + "Test Suite did NOT run to completion", "3: Test suite Validation Failed!", " - Failed"},
        {validation, "Succeed", DEBUG, good + "Test Suite ran to completion", "0: Test suite Validation Passed!", " - Passed - DEBUG"},
        {validation, "Succeed", ABORT, good + "Test Suite ran to completion", "0: Test suite Validation Failed!", " - Failed"},
        {validation, "Succeed", ABORT | REPORT, good + "Validation was successful", "0: Test suite Validation Failed!", " - Failed"},
        {validation, "Succeed", NO_TESTS, good + "Test Suite ran to completion", "0: Test suite Validation Completed!", " - Completed"},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.test + row.closing + row.headline);
        CRun run(Suite("Succeed", row.test));
        run.Host.Services.Settings.ExecutionType = row.type;
        run.Host.Services.Settings.TestSuiteMode = row.flags & DEBUG ? MODE_DEBUG : MODE_NORMAL;
        run.Host.SuiteLog().SetHasTestsToRun(!(row.flags & NO_TESTS));
        run.Tree->ValidationReport(row.flags & REPORT);
        run.Host.At("Entering x:ExitGroup",
                    [&]
                    {
                        row.flags& ABORT ? CUIUpdate::GetUIUpdate().AbortFunction(true) : void();
                        row.flags& CANCEL ? CCallTree::Cancel(true) : void();
                    });
        CUIUpdate::GetUIUpdate().AbortFunction(true); // earlier requests are forgotten
        CCallTree::Cancel(true);
        run.Tree->CallTree();
        EXPECT_EQ(run.Headline(), std::string("headline ") + row.headline);
        EXPECT_EQ(run.Host.Transcript(REC_LOG).back(), row.closing);
        EXPECT_EQ(run.Host.Services.Run.ReportName, row.reportName);
        EXPECT_FALSE(CUIUpdate::GetUIUpdate().AbortFunction());
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
    EXPECT_EQ(run.Host.Services.Run.ReportName, "");
    EXPECT_FALSE(run.Tree->LockAcquired());

    // The same object once the lock is free.
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
    EXPECT_EQ(ThrownText<ZKRunTimeException>([] { const CCallTree none(nullptr); }),
              "\nZKEngine/Orvanta/CallTree(LINE): CCallTree::CCallTree:\n"
              "Internal error: NULL Test Suite Document object.");
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
    EXPECT_EQ(run.Headline(), "headline 3: Test suite Aborted!");
    EXPECT_TRUE(run.LockIsFree());

    run.Host.Clear();
    TestSuiteState unread(QStringLiteral("/nowhere/suite.xml"), ACCESS_IN_APPLICATION);
    CCallTree withoutDocument(&unread);
    EXPECT_EQ(ThrownText<ZKRunTimeException>([&] { withoutDocument.CallTree(); }),
              "Test suite 'suite' has no document to run: initialize it first.");
    unread.Initialize();
    EXPECT_EQ(ThrownText<ZKRunTimeException>([&] { withoutDocument.CallTree(); }),
              "Test suite 'suite' is not valid: correct its file, reload it and build its tree anew.");
    EXPECT_EQ(run.Host.Text(REC_ALL), "");

    run.Host.Services.TestSuiteLog = nullptr;
    for (CCallTree* tree : {run.Tree.get(), &withoutDocument})
    {
        EXPECT_EQ(ThrownText<ZKRunTimeException>([&] { tree->CallTree(); }),
                  "INTERNAL ERROR: NULL test suite log object.");
    }
    EXPECT_EQ(run.Host.Text(REC_ALL), "");
}

TEST(CallTree, AfterAReloadARunNeedsANewTree)
{
    CRun run(Suite("Succeed", "Succeed"));
    run.State().Reload();
    EXPECT_EQ(ThrownText<ZKRunTimeException>([&] { run.Tree->CallTree(); }),
              "Test suite 'suite' has no tree to run: set a root node built from the document as last read.");
    CTestSuiteNode root(run.State().Document()->GetRootElement());
    run.State().TestSuiteNode(&root);
    run.Host.NewSuiteLog();
    run.Host.Clear();
    run.Host.At("Entering x:Group", [&] { run.State().Reload(); }); // the document in use lives on
    run.Tree->CallTree();
    EXPECT_EQ(run.Headline(), "headline 0: Test suite Passed!");
}

TEST(CallTree, ARunWithinARunIsRefused)
{
    CRun run(Suite("Succeed", "Succeed"));
    CCallTree other(&run.State());
    std::string refusal;
    run.Host.At("Entering x:Group",
                [&]
                {
                    CCallTree::Cancel(true);
                    CUIUpdate::GetUIUpdate().AbortFunction(true);
                    refusal = ThrownText<ZKRunTimeException>([&] { run.Tree->CallTree(); });
                    EXPECT_EQ(other.CallTree(), TS_ERROR);
                    EXPECT_FALSE(run.LockIsFree());
                    EXPECT_TRUE(CUIUpdate::GetUIUpdate().AbortFunction());
                });
    run.Tree->CallTree();
    EXPECT_EQ(refusal, "Test suite 'suite' is running: start it again when this run has ended.");
    EXPECT_EQ(run.Host.Text(REC_HEADLINE),
              "headline 3: Test suite did not execute!\nheadline 3: Test suite Aborted!\n");
    EXPECT_TRUE(run.Tree->LockAcquired() && run.LockIsFree());
    EXPECT_EQ(run.Host.Services.Run.ReportName, " - Aborted");
    EXPECT_FALSE(CUIUpdate::GetUIUpdate().AbortFunction());
}

TEST(CallTree, AFailureCountsAlsoWhereNobodyHearsItsSignal)
{
    CRun run("<x:InitGroup><x:Function name='Succeed'/></x:InitGroup><x:Group><x:Function name='Fail'/></x:Group>"
             "<x:ExitGroup><x:Function name='Succeed'/></x:ExitGroup>");
    for (const char* path : {"/", "/1", "/1/0"})
    {
        run.Node(path).blockSignals(true);
    }
    run.Tree->CallTree();
    EXPECT_EQ(run.Headline(), "headline 3: Test suite Aborted!");
}

TEST(CallTree, WhenTheHostTakesTheSuiteLogAway)
{
    const std::string bare = RELEASED + "headline 3: Test suite Did not execute!\n";
    const std::tuple<const char*, std::function<void()>, std::string> rows[] = {
        {"Execution lock acquired.", [] {}, bare},
        {"SetSuiteName", [] { throw ZKUserAbort("stop"); }, "log TS_NONE L4 abort: User aborted test suite.\n" + bare},
        {"SetSuiteName", [] { throw ZKRunTimeException("T"); }, bare},
    };
    for (const auto& [at, raise, rest] : rows)
    {
        CRun run(Suite("Succeed", "Succeed"));
        run.Host.At(at,
                    [&, &act = raise]
                    {
                        run.Host.Services.TestSuiteLog = nullptr;
                        act();
                    });
        EXPECT_ANY_THROW(run.Tree->CallTree());
        EXPECT_EQ(Story(run.Host), LOCKED + rest);
    }
    CRun refused(Suite("Succeed", "Succeed"));
    const CLockingProcess other(refused.Host.Folder() + QStringLiteral("/lock"));
    refused.Host.At("Acquiring", [&] { refused.Host.Services.TestSuiteLog = nullptr; });
    EXPECT_EQ(refused.Tree->CallTree(), TS_ERROR);
}

TEST(CallTree, WhatLeavesTheRun)
{
    const std::tuple<const char*, std::function<void()>, std::string> rows[] = {
        {"abort", [] { throw ZKUserAbort("stop"); },
         "log TS_NONE L4 abort: User aborted test suite.\n" + RELEASED + "headline 3: Test suite Aborted!\n"},
        {"family", [] { throw ZKRunTimeException("T"); }, RELEASED + "headline 3: Test suite Aborted!\n"},
        {"unknown", [] { throw 1; }, RELEASED + "headline 3: Test suite Aborted!\n"},
        {"memory", [] { throw std::bad_alloc(); }, ""},
        {"parser's memory", [] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, ""},
    };
    for (const auto& [name, raise, rest] : rows)
    {
        SCOPED_TRACE(name);
        CRun run(Suite("Succeed", "Succeed"));
        run.Host.At("SetSuiteName", raise);
        EXPECT_ANY_THROW(run.Tree->CallTree());
        EXPECT_EQ(Story(run.Host), LOCKED + rest);
        EXPECT_TRUE(run.LockIsFree());
    }
    // Also what is thrown where nothing is handled: before the suite runs and in the summary.
    for (const char* at : {"Execution lock acquired.", "Releasing execution lock..."})
    {
        CRun unhandled(Suite("Succeed", "Succeed"));
        unhandled.Host.At(at, [] { throw std::runtime_error("r"); });
        EXPECT_THROW(unhandled.Tree->CallTree(), std::runtime_error);
        EXPECT_TRUE(unhandled.LockIsFree()) << at;
    }
}
