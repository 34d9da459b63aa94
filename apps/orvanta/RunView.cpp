#include "RunView.h"

#include <Events/Node.h>

#include <algorithm>

void CRunView::Take(const SEvent& event)
{
    std::visit(
        [this](const auto& what)
        {
            if constexpr (requires { this->On(what); })
            {
                this->On(what);
            }
        },
        event.what);
}

void CRunView::On(const SSuiteLoadEvent& load)
{
    m_File = load.file;
}

void CRunView::On(const SRunStartEvent& start)
{
    *this = CRunView();
    m_File = start.file;
    m_IsInRun = true;
}

void CRunView::On(const SNodeEvent& event)
{
    // The root stands for the suite, which titles need not name.
    const std::string above = ParentPath(event.path);
    const auto parent = above == "/" ? m_ByPath.end() : m_ByPath.find(above);
    SViewedNode& node = Have(event.path);
    node.parent = parent == m_ByPath.end() ? nullptr : parent->second;
    node.title = !event.label.empty() ? event.label : !event.name.empty() ? event.name : event.element;
    node.title = node.parent ? node.parent->title + " / " + node.title : node.title;
    node.element = event.element;
    node.line = event.line;
    node.test = event.test;
    const std::uint64_t tests = event.test && event.selected ? 1 : 0;
    m_Tests += tests;
    for (SViewedNode* at = &node; at; at = at->parent)
    {
        at->tests += tests;
        at->runs = at->runs || (event.selectable && event.selected && !IsGroup(event.element));
    }
}

void CRunView::On(const SStateEvent& state)
{
    SViewedNode& node = Have(state.path);
    // What an abort left is never told to have ended.
    while (!m_Running.empty() && !IsBelow(state.path, m_Running.back().node->path))
    {
        m_Running.pop_back();
    }
    if (state.state == ENodeState::Executing)
    {
        ++node.begun;
        m_Running.push_back({&node, ++m_Turn, 0, 0, {}});
    }
}

void CRunView::On(const SPassEvent& pass)
{
    const SViewedNode& node = Have(pass.path);
    if (Innermost() == &node)
    {
        m_Running.back() = {&node, ++m_Turn, pass.number, pass.iterator, pass.variable.value_or("")};
    }
}

void CRunView::On(const SSkipEvent& skip)
{
    ++Have(skip.path).skipped;
}

void CRunView::On(const SVerdictEvent& verdict)
{
    SViewedNode& node = Have(verdict.path);
    ++node.executions;
    node.passed += verdict.verdict == EVerdict::Passed ? 1 : 0;
}

void CRunView::On(const SNotRunEvent& notRun)
{
    Have(notRun.path);
}

void CRunView::On(const SRunEndEvent& /*end*/)
{
    m_Running.clear();
    m_IsInRun = false;
}

SViewedNode& CRunView::Have(const std::string& path)
{
    SViewedNode*& node = m_ByPath[path];
    if (!node)
    {
        node = &m_Nodes.emplace_back();
        node->path = path;
        node->title = path;
    }
    return *node;
}

bool CRunView::InLoop() const
{
    return std::any_of(m_Running.begin(), m_Running.end(), [](const SRunning& running) { return running.pass > 0; });
}

std::string CRunView::TitleInPasses(const SViewedNode& node) const
{
    std::string numbers;
    std::string iterators;
    for (const SRunning& running : m_Running)
    {
        if (running.pass > 0 && IsBelow(node.path, running.node->path))
        {
            numbers += (numbers.empty() ? " [" : ".") + std::to_string(running.pass);
            iterators +=
                running.variable.empty() ? "" : ' ' + running.variable + '=' + std::to_string(running.iterator);
        }
    }
    return node.title + numbers + (numbers.empty() ? "" : "]") + iterators;
}
