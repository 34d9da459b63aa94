#include "RunVerdict.h"

#include <HostKit/TestSuiteLog.h>
#include <Orvanta/CallTree.h>

CRunVerdict::CRunVerdict(CTestSuiteLog& suiteLog)
    : m_SuiteLog(suiteLog)
{
}

void CRunVerdict::LogWritten(const SLogEntry& entry)
{
    if (entry.type.status != TS_NONE)
    {
        m_SuiteLog.RunFailed();
    }
}

void CRunVerdict::OperatorAborted(std::string_view)
{
    m_Aborted = true;
    CCallTree::Cancel(true);
}
