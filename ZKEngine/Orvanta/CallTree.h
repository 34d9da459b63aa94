#pragma once

#include <Orvanta/OrvantaExport.h>

#include <CoreKit/TestStatus.h>

#include <QLockFile>
#include <QString>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

class CTestSuiteLog;
class TestSuiteState;

/// The path of the execution lock, from the host's settings; a default one is stored there when it is not set. Throws
/// `ZKRunTimeException` when the system has no place for it.
ORVANTA_EXPORT std::string GetLockFilePath();

/// Writes what opens the log of every run.
ORVANTA_EXPORT void DisplayStartupBanner(CTestSuiteLog& suiteLog, const TestSuiteState& state);

/// Runs a suite for the host: banner, execution lock, run, summary, headline. While one runner holds the lock, in this
/// process or another, every other run is refused; the cancel and abort requests of the one that runs stay. Owned by
/// the host, which may run it any number of times, one run after the other.
class ORVANTA_EXPORT CCallTree
{
public:
    /// `state` is not owned. Throws `ZKRunTimeException` when it is null, or when there is no place for the lock.
    explicit CCallTree(TestSuiteState* state);
    ~CCallTree();
    CCallTree(const CCallTree&) = delete;
    CCallTree& operator=(const CCallTree&) = delete;

    /// One run; returns the status that the logger has gathered since it was last cleared. Throws `ZKRunTimeException`
    /// before anything else when there is no suite log, no valid document, or when this runner is running already. What
    /// leaves the run, the operator's abort too, passes on after the summary; exhausted memory passes on without one.
    /// The lock is free on every way out.
    TEST_STATUS CallTree();

    /// The host's request to call the running suite aborted; may be set from another thread. A new run clears it.
    static void Cancel(bool cancel) { m_DoCancel.store(cancel); }

    /// Whether the run stops at the first test group that fails; false unless set. The exit group runs all the same.
    void StopOnFailure(bool stopOnFailure) { m_StopOnFailure = stopOnFailure; }

    /// How long a run waits for the lock while another one holds it, trying every 200 ms until it is taken, the time is
    /// up or a stop is asked for; none, as at first: it is tried once.
    void LockWait(std::optional<std::chrono::milliseconds> wait) { m_LockWait = wait; }

    /// Chooses the closing line of a validation run: about the validation, or about the run.
    void ValidationReport(bool validationReport) { m_ValidationReport = validationReport; }

    /// Whether the last run went ahead, and the result text of its summary ("Passed"; empty when it did not).
    bool LockAcquired() const { return m_LockAcquired; }
    const QString& ResultText() const { return m_ResultText; }
    /// Why the lock could not be taken: another holder, or no permission to write the lock file.
    QLockFile::LockError LockError() const { return m_Lock.error(); }

private:
    TEST_STATUS RunLocked();
    TEST_STATUS RunSuite();
    /// Throws when the suite cannot be run, or is being run by this object.
    void RefuseToStart() const;
    bool TakeLock();
    TEST_STATUS Refuse();
    TEST_STATUS TestRunCleanup(TEST_STATUS status);
    void ReleaseLock();
    QString MakeHeadline(const CTestSuiteLog* suiteLog, bool passed);
    void WriteClosingLine(bool passed) const;

    /// Whether another runner of the process is running around this one. The requests are then for that one.
    static bool IsWithinARun() { return m_RunsUnderWay > 1; }
    static void ForgetAbort();

    TestSuiteState* m_State;
    bool m_IsRunning = false;
    bool m_LockAcquired = false;
    bool m_ValidationReport = false;
    QLockFile m_Lock;
    bool m_StopOnFailure = false;
    std::optional<std::chrono::milliseconds> m_LockWait;
    QString m_ResultText;

    static std::atomic<bool> m_DoCancel;
    static std::atomic<int> m_RunsUnderWay;
};
