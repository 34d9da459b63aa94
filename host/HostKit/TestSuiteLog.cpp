#include <HostKit/AppState.h>
#include <HostKit/TestSuiteLog.h>

CTestLog::CTestLog(std::string_view text, bool isTest, bool isSeparator)
    : m_Text(text)
    , m_StartTime(std::chrono::system_clock::now())
    , m_IsTest(isTest)
    , m_IsSeparator(isSeparator)
{
}

void CTestLog::CountFailure()
{
    m_FailureCount += m_Closed ? 0 : 1;
}

void CTestLog::CountWarning()
{
    m_WarningCount += m_Closed ? 0 : 1;
}

void CTestLog::CountAbort()
{
    m_AbortCount += m_Closed ? 0 : 1;
}

CTestSuiteLog::CTestSuiteLog() = default;

CTestSuiteLog::~CTestSuiteLog() = default;

void CTestSuiteLog::AddTestLog(std::string_view text, bool isTest, bool isSeparator)
{
    m_EarlierFailed = m_EarlierFailed || (m_Current && m_Current->Failed());
    m_Current = CTestLog(text, isTest, isSeparator);
    m_TestCount += isTest ? 1 : 0;
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener)
                                            { listener.TestLogAdded(text, isTest, isSeparator); });
}

CTestLog* CTestSuiteLog::CurrentTestLog()
{
    return m_Current ? &*m_Current : nullptr;
}

void CTestSuiteLog::SetSuiteName(std::string_view name)
{
    m_SuiteName = name;
}

void CTestSuiteLog::TestSuitePhase(int phase)
{
    m_Phase = phase;
}

bool CTestSuiteLog::HasTestsToRun() const
{
    return m_HasTestsToRun;
}

std::uint32_t CTestSuiteLog::TestCount() const
{
    return m_TestCount;
}

bool CTestSuiteLog::SuitePassed() const
{
    return !m_RunFailed && !m_OperatorAborted && !m_EarlierFailed && !(m_Current && m_Current->Failed());
}
