#pragma once

#include <Reports/NodeInfo.h>
#include <Reports/OldReportsExport.h>

#include <QObject>

#include <vector>

/// Follows the run states of a tree and tells its listeners, in the order in which they were added. Owned by the host;
/// it goes before the tree and the listeners do.
class OLDREPORTS_EXPORT CRunMonitor
{
public:
    /// `nodes` are those of the tree, from `DescribeTree`.
    explicit CRunMonitor(std::vector<SDescribedNode> nodes);
    CRunMonitor(const CRunMonitor&) = delete;
    CRunMonitor& operator=(const CRunMonitor&) = delete;

    void Add(CNodeStateListener& listener) { m_Listeners.push_back(&listener); }

private:
    void StateChanged(const SNodeInfo& node, ERunState state);

    std::vector<SDescribedNode> m_Nodes;
    std::vector<CNodeStateListener*> m_Listeners;
    QObject m_Connections; ///< the last member, so that its end disconnects first
};
