#pragma once

#include <Reports/NodeInfo.h>
#include <Reports/ReportsExport.h>

#include <QObject>

#include <vector>

class CTestSuiteLog;

/// Follows the run states of a tree: tells its listeners, in the order in which they were added, and the suite log when
/// a node ended in the failed state. Owned by the host; it goes before the tree, the log and the listeners do.
class REPORTS_EXPORT CRunMonitor
{
public:
    /// `nodes` are those of the tree, from `DescribeTree`.
    CRunMonitor(std::vector<SDescribedNode> nodes, CTestSuiteLog& suiteLog);
    CRunMonitor(const CRunMonitor&) = delete;
    CRunMonitor& operator=(const CRunMonitor&) = delete;

    void Add(CNodeStateListener& listener) { m_Listeners.push_back(&listener); }

private:
    void StateChanged(const SNodeInfo& node, ERunState state);

    std::vector<SDescribedNode> m_Nodes;
    CTestSuiteLog& m_SuiteLog;
    std::vector<CNodeStateListener*> m_Listeners;
    QObject m_Connections; ///< the last member, so that its end disconnects first
};
