#pragma once

#include <HostKit/HostListener.h>

#include <QObject>

class CTestSuiteLog;
class CTestSuiteNode;

/// What the user's signals did when the program was started. Owned by the command, made before any test code runs; puts
/// them back when it dies.
class CUserSignals
{
public:
    CUserSignals();
    ~CUserSignals();
    CUserSignals(const CUserSignals&) = delete;
    CUserSignals& operator=(const CUserSignals&) = delete;
};

/// Ctrl-C (or SIGTERM) while it lives. Once: the run counts as aborted and stops before the next node; the exit group
/// still runs, its prompts included. Twice, even within one call: the exit group stops before its next node too. The
/// third time ends the process. The abort is raised only at the flush that opens a node's run, never at one that
/// follows a change of state, so that no handler, summary or lock release is cut short. A signal that test code
/// ignores, blocks or handles itself is taken back before the next node; one that the user had ignored stays so. Lives
/// for one run; signals, log and tree outlive it.
class CInterrupt : public CHostListener
{
public:
    CInterrupt(CTestSuiteLog& suiteLog, const CTestSuiteNode& root);
    ~CInterrupt() override;
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    void OutputFlushed(bool complete) override;

    /// Whether the operator has interrupted the run.
    static bool Happened();

private:
    CTestSuiteLog& m_SuiteLog;
    const CTestSuiteNode& m_Root;
    int m_Raised = 0;            ///< the number of the request that became an abort last
    bool m_StateChanged = false; ///< the next flush follows a change of state
    QObject m_Connections;       ///< the last member, so that its end disconnects first
};
