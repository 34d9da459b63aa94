#pragma once

#include <HostKit/HostKitExport.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// One entry of the suite log: what a call, prompt or assignment left behind. Owned by its suite log.
class HOSTKIT_EXPORT CTestLog
{
public:
    CTestLog(std::string_view text, bool isTest, bool isSeparator);

    const std::string& Text() const { return m_Text; }
    bool IsTest() const { return m_IsTest; }
    bool IsSeparator() const { return m_IsSeparator; }

    void StartTime(std::chrono::system_clock::time_point when) { m_StartTime = when; }
    std::chrono::system_clock::time_point StartTime() const { return m_StartTime; }

    void FunctionCompleted(bool completed) { m_FunctionCompleted = completed; }
    bool FunctionCompleted() const { return m_FunctionCompleted; }

    /// Ends the entry early, when memory is exhausted: nothing more is counted in it.
    void Close() { m_Closed = true; }
    bool Closed() const { return m_Closed; }

    void CountFailure();
    void CountWarning();
    void CountAbort();
    std::uint32_t FailureCount() const { return m_FailureCount; }
    std::uint32_t WarningCount() const { return m_WarningCount; }
    std::uint32_t AbortCount() const { return m_AbortCount; }
    bool Failed() const { return m_FailureCount != 0 || m_AbortCount != 0; }

private:
    std::string m_Text;
    std::chrono::system_clock::time_point m_StartTime;
    std::uint32_t m_FailureCount = 0;
    std::uint32_t m_WarningCount = 0;
    std::uint32_t m_AbortCount = 0;
    bool m_IsTest;
    bool m_IsSeparator;
    bool m_FunctionCompleted = false;
    bool m_Closed = false;
};

/// The log of one run of a suite: its current test log, and what the earlier ones came to. Its size does not depend on
/// how many there are. Owned by the host, a fresh one a run.
class HOSTKIT_EXPORT CTestSuiteLog
{
public:
    CTestSuiteLog();
    virtual ~CTestSuiteLog();
    CTestSuiteLog(const CTestSuiteLog&) = delete;
    CTestSuiteLog& operator=(const CTestSuiteLog&) = delete;

    /// Opens an entry, which becomes the current one, and tells the listeners.
    virtual void AddTestLog(std::string_view text, bool isTest, bool isSeparator);

    /// The entry opened last, null before the first. The object stays the same as long as the log: it becomes the next
    /// entry when that is opened.
    virtual CTestLog* CurrentTestLog();

    virtual void SetSuiteName(std::string_view name);
    const std::string& SuiteName() const { return m_SuiteName; }

    /// 0 while the suite may run, 1 once the run was refused.
    virtual void TestSuitePhase(int phase);
    int TestSuitePhase() const { return m_Phase; }

    /// Whether the suite has tests at all; true unless the host says otherwise.
    virtual bool HasTestsToRun() const;
    void SetHasTestsToRun(bool hasTests) { m_HasTestsToRun = hasTests; }

    /// How many entries are tests.
    virtual std::uint32_t TestCount() const;

    /// True unless an entry counts a failure or an abort, the run failed otherwise or the operator aborted.
    virtual bool SuitePassed() const;

    /// What the entries cannot tell: a node of the running tree ended in the failed state, or an error left the run;
    /// the operator aborted.
    void RunFailed() { m_RunFailed = true; }
    void OperatorAborted() { m_OperatorAborted = true; }

private:
    std::optional<CTestLog> m_Current;
    bool m_EarlierFailed = false; ///< an entry before the current one counted a failure or an abort
    std::string m_SuiteName;
    std::uint32_t m_TestCount = 0;
    int m_Phase = 0;
    bool m_HasTestsToRun = true;
    bool m_RunFailed = false;
    bool m_OperatorAborted = false;
};
