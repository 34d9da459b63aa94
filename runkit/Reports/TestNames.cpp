#include <Reports/TestNames.h>

#include <Events/Node.h>

#include <algorithm>
#include <string_view>

namespace
{
/// A dot inside of a part would read as one between two.
std::string Part(std::string text)
{
    std::replace(text.begin(), text.end(), '.', '_');
    return text;
}

/// A title that ends as if passes or a path were added to it already.
bool ReadsAsMore(std::string_view title)
{
    const auto endsIn = [title](std::string_view begin, std::string_view inside, char end)
    {
        const std::size_t at = title.rfind(begin);
        return at != std::string_view::npos && title.back() == end &&
            title.find_first_not_of(inside, at + begin.size()) == title.size() - 1;
    };
    return endsIn(" [", "0123456789.", ']') || endsIn(" (/", "0123456789/", ')');
}
} // namespace

std::string PassesText(const std::vector<std::uint64_t>& passes)
{
    std::string text;
    for (const std::uint64_t pass : passes)
    {
        text += (text.empty() ? "[" : ".") + std::to_string(pass);
    }
    return text.empty() ? text : text + ']';
}

void CTestNames::Begin(const std::string& suite, const std::string& file)
{
    *this = CTestNames();
    m_Suite = suite.empty() ? file : suite;
    m_Groups["/"] = SuiteClass();
}

std::string CTestNames::SuiteClass() const
{
    return Part(m_Suite);
}

void CTestNames::Add(const SNodeEvent& node)
{
    if (node.path == "/")
    {
        return;
    }
    const std::string& title = !node.label.empty() ? node.label : !node.name.empty() ? node.name : node.element;
    const auto group = m_Groups.find(ParentPath(node.path));
    SNode entry{group == m_Groups.end() ? SuiteClass() : group->second, title};
    if (IsGroup(node.element))
    {
        m_Groups[node.path] = entry.classname + '.' + Part(title);
    }
    else
    {
        ++m_Count[Key(entry)];
    }
    m_Nodes[node.path] = std::move(entry);
}

STestName CTestNames::Name(const std::string& path, const std::vector<std::uint64_t>& passes) const
{
    const std::string loops = passes.empty() ? "" : ' ' + PassesText(passes);
    const auto found = m_Nodes.find(path);
    if (found == m_Nodes.end())
    {
        return {SuiteClass(), path + loops};
    }
    const SNode& node = found->second;
    const auto count = m_Count.find(Key(node));
    const bool isShared = (count != m_Count.end() && count->second > 1) || ReadsAsMore(node.title);
    return {node.classname, node.title + (isShared ? " (" + path + ')' : "") + loops};
}
