#include "Progress.h"

#include "Terminal.h"

#include <CoreKit/PrintableText.h>

#include <algorithm>
#include <cstdio>

namespace
{
/// Cuts UTF-8 text to a number of characters.
void CutTo(std::string& text, std::size_t characters)
{
    const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    const auto cut = std::find_if(text.begin(), text.end(), [&](char c) { return begins(c) && characters-- == 0; });
    text.erase(cut, text.end());
}
} // namespace

void CProgress::NodeStateChanged(const SNodeInfo& node, ERunState state)
{
    // Nodes that an abort left are never told to have ended.
    while (!m_Running.empty() && m_Running.back() != &node && !IsBelow(node, *m_Running.back()))
    {
        m_Running.pop_back();
    }
    if (state == RS_EXECUTING)
    {
        m_Running.push_back(&node);
    }
    else if (!m_Running.empty() && m_Running.back() == &node)
    {
        m_Running.pop_back();
    }
    Draw();
}

void CProgress::Erase()
{
    if (m_Drawn)
    {
        std::fputs("\r\033[K", stderr);
        m_Drawn = false;
    }
}

void CProgress::Draw()
{
    Erase();
    if (!m_Enabled || m_Running.empty())
    {
        return;
    }
    const SNodeInfo& node = *m_Running.back();
    const std::string& title = !node.label.empty() ? node.label : !node.name.empty() ? node.name : node.element;
    std::string line = PrintableLine("running " + node.path + "  " + title);
    std::replace(line.begin(), line.end(), '\t', ' ');
    CutTo(line, TerminalWidth(stderr) - 1);
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
    m_Drawn = true;
}

void CProgress::Clear()
{
    Erase();
    m_Running.clear();
}
