#include <Reports/RunMonitor.h>

#include <HostKit/TestSuiteLog.h>

#include <utility>

CRunMonitor::CRunMonitor(std::vector<SDescribedNode> nodes, CTestSuiteLog& suiteLog)
    : m_Nodes(std::move(nodes))
    , m_SuiteLog(suiteLog)
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
    if (state == RS_FAILED)
    {
        m_SuiteLog.NodeFailed();
    }
    for (CNodeStateListener* listener : m_Listeners)
    {
        listener->NodeStateChanged(node, state);
    }
}
