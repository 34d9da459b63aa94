#pragma once

#include <HostKit/HostListener.h>

class CTestSuiteLog;

/// Marks a run as not passed when an error or a failure is logged outside its tests too, and tells the engine of an
/// operator's abort. Added before the other listeners. Owned by the command; the suite log outlives it.
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
