#include <Session/Selection.h>

#include <Orvanta/TestSuiteNode.h>

#include <sstream>
#include <string_view>

#include <fnmatch.h>

namespace
{
std::vector<std::string> Split(const std::string& text)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, '/');)
    {
        parts.push_back(part);
    }
    return parts;
}

/// A pattern that is followed down a tree: a node's state is the set of the parts that may match its children.
class CPattern
{
public:
    /// One flag for each part, and one more for a match of them all.
    using TState = std::vector<bool>;

    explicit CPattern(const std::string& pattern)
        : m_IsPath(pattern.starts_with('/'))
        , m_Parts(Split(m_IsPath ? pattern.substr(1) : pattern))
    {
    }

    TState Root() const
    {
        TState state(m_Parts.size() + 1);
        Reach(state, 0);
        return state;
    }

    /// The state of a node below one with the state `parent`.
    TState Child(const TState& parent, const SNodeInfo& node) const
    {
        TState state(m_Parts.size() + 1);
        for (std::size_t part = 0; part < m_Parts.size(); ++part)
        {
            if (!parent[part])
            {
                continue;
            }
            if (IsAnyLevels(part))
            {
                Reach(state, part);
            }
            else if (Fits(m_Parts[part], node))
            {
                Reach(state, part + 1);
            }
        }
        return state;
    }

    /// The root has a path but no name.
    bool Matches(const TState& state, bool isRoot) const { return state.back() && (m_IsPath || !isRoot); }

private:
    bool IsAnyLevels(std::size_t part) const { return part < m_Parts.size() && m_Parts[part] == "**"; }

    /// Any number of levels may be none.
    void Reach(TState& state, std::size_t part) const
    {
        state[part] = true;
        while (IsAnyLevels(part))
        {
            state[++part] = true;
        }
    }

    /// Whether a part matches a node's index among its siblings, or its label or name, or its element when it has
    /// neither.
    bool Fits(const std::string& part, const SNodeInfo& node) const
    {
        const auto matches = [&part](const char* name) { return fnmatch(part.c_str(), name, 0) == 0; };
        if (m_IsPath)
        {
            return matches(node.path.c_str() + node.path.rfind('/') + 1);
        }
        if (node.label.empty() && node.name.empty())
        {
            return matches(node.element.c_str());
        }
        return (!node.label.empty() && matches(node.label.c_str())) ||
            (!node.name.empty() && matches(node.name.c_str()));
    }

    bool m_IsPath;
    std::vector<std::string> m_Parts;
};

/// A node on the way from the root to the one that is looked at.
struct SStep
{
    CNode* node;
    CPattern::TState state;
    bool isSet; ///< by a match here or above
    bool hasSetBelow = false;
};

/// Takes the last step back. By then all below it are set, so that its own check mark can follow them.
void StepBack(std::vector<SStep>& way)
{
    const auto [node, state, isSet, hasSetBelow] = std::move(way.back());
    way.pop_back();
    if (hasSetBelow)
    {
        node->SetSelected(node->AllDescendantsChecked(), static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
    }
    if (!way.empty() && (isSet || hasSetBelow))
    {
        way.back().hasSetBelow = true;
    }
}

/// Selects or deselects what matches and can be selected; false when nothing does. The outcome is that of `SetSelected`
/// for each match in document order, but each node is set once by what is above it and once by what is below.
bool Apply(const CPattern& pattern, bool select, const std::vector<CNode*>& nodes, const std::vector<SNodeInfo>& infos)
{
    std::vector<SStep> way;
    bool matched = false;
    for (std::size_t row = 0; row < nodes.size(); ++row)
    {
        CNode* const node = nodes[row];
        while (!way.empty() && way.back().node != node->ParentNode())
        {
            StepBack(way);
        }
        const bool isRoot = way.empty();
        const bool isSelectable = node->IsSelectable();
        SStep step{node, isRoot ? pattern.Root() : pattern.Child(way.back().state, infos[row]),
                   !isRoot && way.back().isSet && isSelectable};
        if (isSelectable && pattern.Matches(step.state, isRoot))
        {
            matched = true;
            if (!step.isSet)
            {
                node->SetSelected(select, SELECT_NOT_UP);
                step.isSet = true;
            }
        }
        way.push_back(std::move(step));
    }
    while (!way.empty())
    {
        StepBack(way);
    }
    return matched;
}
} // namespace

std::vector<std::string> ApplySelection(CTestSuiteNode& root, const std::vector<CNode*>& nodes,
                                        const std::vector<SNodeInfo>& infos, const std::vector<SSelection>& selections)
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
        if (!Apply(CPattern(pattern), select, nodes, infos))
        {
            unmatched.push_back(pattern);
        }
    }
    return unmatched;
}

bool ApplyChoice(CTestSuiteNode& root, const std::vector<CNode*>& nodes, const std::vector<SNodeInfo>& infos,
                 const std::function<bool(const SNodeInfo& node)>& isWanted)
{
    root.SetSelected(false, SELECT_ALL);
    bool isChosen = false;
    for (std::size_t row = 0; row < nodes.size(); ++row)
    {
        const bool isLeaf = row + 1 == nodes.size() || nodes[row + 1]->ParentNode() != nodes[row];
        if (infos[row].checkable && isLeaf && isWanted(infos[row]))
        {
            nodes[row]->SetSelected(true, static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
            isChosen = true;
        }
    }
    // What stands below a node comes behind it, so that its own mark can follow theirs.
    for (std::size_t row = nodes.size(); row-- > 0;)
    {
        CNode& node = *nodes[row];
        if (node.ChildCount() > 0 && node.IsSelectable())
        {
            node.SetSelected(node.AllDescendantsChecked(), static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
        }
    }
    return isChosen;
}
