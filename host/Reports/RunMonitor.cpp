#include <Reports/RunMonitor.h>

#include <utility>

CRunMonitor::CRunMonitor(std::vector<SDescribedNode> nodes)
    : m_Nodes(std::move(nodes))
{
    for (const SDescribedNode& described : m_Nodes)
    {
        const SNodeInfo* info = &described.info;
        QObject::connect(described.node, &CNode::UpdateNodeRunState, &m_Connections,
                         [this, info](ERunState state) { StateChanged(*info, state); });
    }
}

void CRunMonitor::StateChanged(const SNodeInfo& node, ERunState state)
{
    for (CNodeStateListener* listener : m_Listeners)
    {
        listener->NodeStateChanged(node, state);
    }
}
