#include <Reports/FailedNodes.h>

#include <utility>

CFailedNodes::CFailedNodes(const std::string& file, std::function<void(const std::string& line)> say)
    : m_File(file)
    , m_Say(std::move(say))
{
}

void CFailedNodes::NodeStateChanged(const SNodeInfo& node, ERunState state)
{
    if (state == RS_EXECUTING)
    {
        // What an abort left is never told to have ended.
        while (!m_Running.empty() && !IsBelow(node, *m_Running.back().node))
        {
            EndInnermost();
        }
        m_Running.push_back({&node, false});
        return;
    }
    while (!m_Running.empty() && m_Running.back().node != &node)
    {
        EndInnermost();
    }
    if (m_Running.empty())
    {
        return;
    }
    if (state == RS_FAILED && !m_Running.back().isSaid)
    {
        Say(node);
        m_Running.back().isSaid = true;
    }
    EndInnermost();
}

void CFailedNodes::EndInnermost()
{
    const bool isSaid = m_Running.back().isSaid;
    m_Running.pop_back();
    if (isSaid && !m_Running.empty())
    {
        m_Running.back().isSaid = true;
    }
}

void CFailedNodes::Say(const SNodeInfo& node) const
{
    const std::string& title = node.label.empty() ? node.name : node.label;
    m_Say("Failed: " + node.path + ' ' + node.element + (title.empty() ? "" : " \"" + title + '"') + " (" + m_File +
          ':' + std::to_string(node.line) + ')');
}
