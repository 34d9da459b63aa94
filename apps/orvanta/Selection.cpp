#include "Selection.h"

#include <Orvanta/TestSuiteNode.h>

#include <algorithm>
#include <span>
#include <sstream>

#include <fnmatch.h>

namespace
{
using TParts = std::vector<std::string>;

TParts Split(const std::string& text)
{
    TParts parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, '/');)
    {
        parts.push_back(part);
    }
    return parts;
}

/// What a node may be called: its label and its name, else its element.
TParts NamesOf(const CNode& node)
{
    TParts names;
    for (const QString& attribute : {QStringLiteral("label"), QStringLiteral("name")})
    {
        if (const std::string text = node.Attribute(attribute); !text.empty())
        {
            names.push_back(text);
        }
    }
    return names.empty() ? TParts{node.TypeName().c_str()} : names;
}

/// The names of the nodes from below the root down to a node.
std::vector<TParts> NamePath(const CNode& node)
{
    std::vector<TParts> path;
    for (const CNode* step = &node; step->ParentNode(); step = step->ParentNode())
    {
        path.insert(path.begin(), NamesOf(*step));
    }
    return path;
}

bool Matches(std::span<const std::string> pattern, std::span<const TParts> path)
{
    if (pattern.empty())
    {
        return path.empty();
    }
    if (pattern.front() == "**")
    {
        return Matches(pattern.subspan(1), path) || (!path.empty() && Matches(pattern, path.subspan(1)));
    }
    const auto fits = [&](const std::string& name) { return fnmatch(pattern.front().c_str(), name.c_str(), 0) == 0; };
    return !path.empty() && std::any_of(path.front().begin(), path.front().end(), fits) &&
        Matches(pattern.subspan(1), path.subspan(1));
}

/// A node's path as parts that match like names: "/1/0" is {"1"}, {"0"}.
std::vector<TParts> IndexPath(const std::string& path)
{
    std::vector<TParts> parts;
    for (const std::string& index : Split(path.substr(1)))
    {
        parts.push_back({index});
    }
    return parts;
}

bool Matches(const std::string& pattern, const SDescribedNode& described)
{
    if (pattern.starts_with('/'))
    {
        return Matches(Split(pattern.substr(1)), IndexPath(described.info.path));
    }
    const std::vector<TParts> path = NamePath(*described.node);
    return !path.empty() && Matches(Split(pattern), path);
}
} // namespace

std::vector<std::string> ApplySelection(CTestSuiteNode& root, const std::vector<SDescribedNode>& nodes,
                                        const std::vector<SSelection>& selections)
{
    std::vector<std::string> unmatched;
    bool isFirstSelect = true;
    for (const auto& [select, pattern] : selections)
    {
        if (select && isFirstSelect)
        {
            root.SetSelected(false, SELECT_ALL);
            isFirstSelect = false;
        }
        bool matched = false;
        for (const SDescribedNode& described : nodes)
        {
            if (described.node->IsSelectable() && Matches(pattern, described))
            {
                described.node->SetSelected(select, SELECT_ALL);
                matched = true;
            }
        }
        if (!matched)
        {
            unmatched.push_back(pattern);
        }
    }
    return unmatched;
}
