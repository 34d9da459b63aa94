#include <Orvanta/CallTree.h>

#include <Orvanta/TestSuiteState.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <CoreKit/PathName.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UserInput.h>
#include <HostKit/VersionInfo.h>

#include <QDir>
#include <QStandardPaths>

#include <thread>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/CallTree";
constexpr const char* LOCK_FILE_SETTING = "runtime/LockFileName";
constexpr int RUNTIME_SCOPE = 1;

/// Frees the lock, without a word, on the ways out that no handler covers.
class CUnlockGuard
{
public:
    explicit CUnlockGuard(QLockFile& lock)
        : m_Lock(lock)
    {
    }
    ~CUnlockGuard() { m_Lock.unlock(); }
    CUnlockGuard(const CUnlockGuard&) = delete;
    CUnlockGuard& operator=(const CUnlockGuard&) = delete;

private:
    QLockFile& m_Lock;
};

/// Marks a runner as running, and one run more as under way in the process, while it lives.
class CRunMark
{
public:
    CRunMark(bool& isRunning, std::atomic<int>& runsUnderWay)
        : m_IsRunning(isRunning)
        , m_RunsUnderWay(runsUnderWay)
    {
        m_IsRunning = true;
        ++m_RunsUnderWay;
    }
    ~CRunMark()
    {
        --m_RunsUnderWay;
        m_IsRunning = false;
    }
    CRunMark(const CRunMark&) = delete;
    CRunMark& operator=(const CRunMark&) = delete;

private:
    bool& m_IsRunning;
    std::atomic<int>& m_RunsUnderWay;
};

std::string DefaultLockFilePath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (folder.isEmpty())
    {
        throw ZKRunTimeException(
            "Couldn't find writable location for execution lock.  Do you have write privileges on this system?");
    }
    QDir().mkpath(folder);
    return (folder + QStringLiteral("/GuiZKExecuteLock.txt")).toStdString();
}

CTestSuiteLog& NeededSuiteLog()
{
    CTestSuiteLog* const suiteLog = CAppState::TestSuiteLog();
    if (!suiteLog)
    {
        throw ZKRunTimeException("INTERNAL ERROR: NULL test suite log object.");
    }
    return *suiteLog;
}

/// Writes a line about the lock.
void LogLock(const char* text)
{
    WriteLog(TS_NONE, LL_DETAIL, ZKLogger::GetDefaultFormat(TS_NONE), text);
}

bool IsStopRequested()
{
    const CStopControl* const stop = CAppState::Services().Stop;
    return (stop && stop->IsDue(false)) || CUIUpdate::GetUIUpdate().AbortFunction();
}

struct SResultTexts
{
    const char* pass;
    const char* fail;
};

SResultTexts ChooseResultTexts(const CTestSuiteLog* suiteLog)
{
    if (!suiteLog)
    {
        return {"Did not execute", "Did not execute"};
    }
    if (suiteLog->HasTestsToRun() && suiteLog->TestCount() > 0)
    {
        return {"Passed", "Failed"};
    }
    return {"Completed", "Aborted"};
}
} // namespace

std::atomic<bool> CCallTree::m_DoCancel = false;
std::atomic<int> CCallTree::m_RunsUnderWay = 0;

std::string GetLockFilePath()
{
    static std::string path;
    CAppSettings& settings = CAppState::AppSettings();
    settings.GetAppSetting(LOCK_FILE_SETTING, path, RUNTIME_SCOPE);
    if (path.empty())
    {
        path = DefaultLockFilePath();
        settings.UpdateAppSetting(LOCK_FILE_SETTING, path, RUNTIME_SCOPE);
        settings.SyncSettings();
    }
    return path;
}

void DisplayStartupBanner(CTestSuiteLog& suiteLog, const TestSuiteState& state)
{
    ZKLogger& logger = CAppState::Log();
    suiteLog.AddTestLog("Startup", false, true);
    CFormatInfo format(ZKColor{0, 0, 255, 255}, 700);
    WriteLog(TS_NONE, LL_ALWAYS, format,
             FormatText("Calling test suite: %s.", qUtf8Printable(state.Document()->Name())));
    format.SetBold(0, true);
    WriteLog(TS_NONE, LL_ALWAYS, format,
             FormatText("Log Level: %s", GetLogLevelName(CAppState::ZKLogVerbosityLevel())));
    logger.DoWritePrintOnly(LL_ALWAYS, "\n");
    format.SetBold(700, true);
    Common_DisplayOSVersionInfo(format, DefaultErrorFormat());
    const ELogLevel level = ZKLogger::GetDefaultLogVerbosity(TS_NONE);
    WriteLog(TS_NONE, level, format,
             FormatText("Qt version: %d.%d.%d", QT_VERSION_MAJOR, QT_VERSION_MINOR, QT_VERSION_PATCH));
    WriteLog(TS_NONE, level, format,
             FormatText("PSF version supported: %s", CProductSheetFile::AppSupportedPSFVersionString()));
    Common_DisplayEngineFileVersions();
}

CCallTree::CCallTree(TestSuiteState* state)
    : m_State(state)
    , m_Lock(QString::fromStdString(GetLockFilePath()))
{
    if (!m_State)
    {
        ThrowAt<ZKRunTimeException>({SOURCE_FILE, __LINE__, "CCallTree::CCallTree"},
                                    "Internal error: NULL Test Suite Document object.");
    }
}

CCallTree::~CCallTree()
{
    m_Lock.unlock();
}

TEST_STATUS CCallTree::CallTree()
{
    CTestSuiteLog& suiteLog = NeededSuiteLog();
    RefuseToStart();
    const CRunMark mark(m_IsRunning, m_RunsUnderWay);
    m_ResultText.clear();
    DisplayStartupBanner(suiteLog, *m_State);
    CAppState::ReportNamePart("");
    if (!IsWithinARun())
    {
        m_DoCancel = false;
    }
    ForgetAbort();
    m_LockAcquired = true;
    LogLock("Acquiring execution lock...");
    FlushOutput(false);
    if (!TakeLock())
    {
        return TestRunCleanup(Refuse());
    }
    const CUnlockGuard guard(m_Lock);
    ReportLockTaken();
    return RunLocked();
}

void CCallTree::RefuseToStart() const
{
    const QByteArray name = m_State->TestName().toUtf8();
    if (m_IsRunning)
    {
        ThrowFormatted<ZKRunTimeException>("Test suite '%s' is running: start it again when this run has ended.",
                                           name.constData());
    }
    if (!m_State->Document())
    {
        ThrowFormatted<ZKRunTimeException>("Test suite '%s' has no document to run: initialize it first.",
                                           name.constData());
    }
    if (!m_State->IsValid())
    {
        ThrowFormatted<ZKRunTimeException>("Test suite '%s' is not valid: correct its file, reload it and build its "
                                           "tree anew.",
                                           name.constData());
    }
}

void CCallTree::ForgetAbort()
{
    if (!IsWithinARun())
    {
        CUIUpdate::GetUIUpdate().AbortFunction(false);
    }
}

bool CCallTree::TakeLock()
{
    using TClock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pause(200);
    bool isTaken = m_Lock.tryLock(0);
    if (isTaken || !m_LockWait || m_Lock.error() != QLockFile::LockFailedError)
    {
        return isTaken;
    }
    ReportLockAwaited();
    const auto waited = [begin = TClock::now()]
    { return std::chrono::duration_cast<std::chrono::milliseconds>(TClock::now() - begin); };
    while (!isTaken && !IsStopRequested() && waited() < *m_LockWait)
    {
        std::this_thread::sleep_for(pause);
        isTaken = m_Lock.tryLock(0);
    }
    return isTaken;
}

TEST_STATUS CCallTree::Refuse()
{
    if (CTestSuiteLog* const suiteLog = CAppState::TestSuiteLog())
    {
        suiteLog->TestSuitePhase(1);
    }
    LogDefault(TS_ERROR,
               "\nAnother application is running ZK Compliance tests.\n\n  Only one application may run a "
               "Compliance Test at a time.");
    m_LockAcquired = false;
    return TS_ERROR;
}

TEST_STATUS CCallTree::RunLocked()
{
    LogLock("Execution lock acquired.");
    FlushOutput(false);
    const auto cleanUpFailed = [this] { TestRunCleanup(CAppState::Log().TestStatus(TS_NONE) | TS_ERROR); };
    const TEST_STATUS status =
        Guarded([this] { return RunSuite(); },
                [this](SOutOfMemory) -> TEST_STATUS
                {
                    m_Lock.unlock();
                    throw;
                },
                [&](const ZKUserAbort& abort) -> TEST_STATUS
                {
                    ReportAbortSeen(abort.what());
                    WriteLog(TS_NONE, LL_WARNING, DefaultAbortFormat(), "User aborted test suite.");
                    cleanUpFailed();
                    throw;
                },
                [&](SUnknownFailure) -> TEST_STATUS
                {
                    ReportRunLeft();
                    cleanUpFailed();
                    throw;
                });
    return TestRunCleanup(status);
}

TEST_STATUS CCallTree::RunSuite()
{
    const std::string path = QDir::toNativeSeparators(m_State->Document()->FileName()).toStdString();
    NeededSuiteLog().SetSuiteName(LastComponent(path));
    m_State->RunTestSuite(m_StopOnFailure);
    FlushOutput(true);
    return CAppState::Log().TestStatus(TS_NONE);
}

void CCallTree::ReleaseLock()
{
    LogLock("Releasing execution lock...");
    FlushOutput(false);
    m_Lock.unlock();
    LogLock("Execution lock released.");
}

TEST_STATUS CCallTree::TestRunCleanup(TEST_STATUS status)
{
    const CTestSuiteLog* const suiteLog = CAppState::TestSuiteLog();
    if (m_Lock.isLocked())
    {
        ReleaseLock();
    }
    FlushOutput(false);
    CAppState::FunctionIsExecuting(false);

    const bool passed = suiteLog && suiteLog->SuitePassed();
    QString headline = MakeHeadline(suiteLog, passed);
    if (m_LockAcquired)
    {
        CAppState::AppendReportNamePart(" - ");
        CAppState::AppendReportNamePart(m_ResultText.toStdString());
        if (CAppState::TestSuiteMode() == MODE_DEBUG)
        {
            CAppState::AppendReportNamePart(" - DEBUG");
        }
    }
    FlushOutput(true);
    headline += QLatin1Char('!');
    const CClosingHeadline closing;
    CAppState::UserInput().ShowInfo(UI_MODE_NORMAL, UI_NO_TIMEOUT, headline.toStdString(), true, "",
                                    passed ? UI_EMPHASIS_NONE : UI_EMPHASIS_FAILURE, gui::ABORT_BTN_SHOWN, "");
    ForgetAbort();
    return status;
}

QString CCallTree::MakeHeadline(const CTestSuiteLog* suiteLog, bool passed)
{
    const QString headline = QStringLiteral("Test suite ");
    if (!m_LockAcquired)
    {
        return headline + QStringLiteral("did not execute");
    }
    const SResultTexts texts = ChooseResultTexts(suiteLog);
    if (CAppState::ExecutionType() == EXECUTION_NORMAL)
    {
        m_ResultText = QString::fromLatin1(m_DoCancel ? "Aborted" : passed ? texts.pass : texts.fail);
        return headline + m_ResultText;
    }
    const bool succeeded = passed && !CUIUpdate::GetUIUpdate().AbortFunction();
    m_ResultText = QString::fromLatin1(succeeded ? texts.pass : texts.fail);
    WriteClosingLine(passed);
    return headline + QStringLiteral("Validation ") + m_ResultText;
}

void CCallTree::WriteClosingLine(bool passed) const
{
    const char* text = nullptr;
    if (m_ValidationReport)
    {
        text = passed ? "Validation was successful" : "Validation was NOT successful";
    }
    else
    {
        text = passed ? "Test Suite ran to completion" : "Test Suite did NOT run to completion";
    }
    LogDefault(passed ? TS_NONE : TS_FAILED, "%s", text);
}
