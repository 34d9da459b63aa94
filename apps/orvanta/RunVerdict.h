#pragma once

#include <HostKit/HostListener.h>

class CTestSuiteLog;

/// Sees to it that a run with an error, a failure or an operator's abort never passes, wherever it was written: tells
/// the suite log what its entries cannot tell, and the engine of an abort. Told before the other listeners. Owned by
/// the command; the suite log outlives it.
class CRunVerdict : public CHostListener
{
public:
    explicit CRunVerdict(CTestSuiteLog& suiteLog);

    bool Aborted() const { return m_Aborted; }

    void LogWritten(const SLogEntry& entry) override;
    void OperatorAborted(std::string_view text) override;

private:
    CTestSuiteLog& m_SuiteLog;
    bool m_Aborted = false;
};
