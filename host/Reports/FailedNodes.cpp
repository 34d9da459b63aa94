#include <Reports/FailedNodes.h>

#include <utility>

CFailedNodes::CFailedNodes(const std::string& file, std::function<void(const std::string& line)> say)
    : m_File(file)
    , m_Say(std::move(say))
{
}

void CFailedNodes::NodeStateChanged(const SNodeInfo& node, ERunState state)
{
    if (state != RS_FAILED)
    {
        return;
    }
    const std::string below = node.path == "/" ? node.path : node.path + '/';
    const bool isSaid = std::erase_if(m_Said, [&](const std::string& path) { return path.starts_with(below); }) > 0;
    if (!isSaid)
    {
        const std::string& title = node.label.empty() ? node.name : node.label;
        m_Say("Failed: " + node.path + ' ' + node.element + (title.empty() ? "" : " \"" + title + '"') + " (" + m_File +
              ':' + std::to_string(node.line) + ')');
    }
    m_Said.push_back(node.path);
}
