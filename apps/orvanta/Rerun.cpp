#include "Rerun.h"

namespace
{
SNodeEvent EventOf(const SNodeInfo& node)
{
    return {node.path, node.element, node.name, node.label, node.line, node.selectable, node.selected, node.test};
}
} // namespace

ERerun SelectAgain(CSuite& suite, const SRecordedRuns& runs)
{
    CTestNames names;
    names.Begin(suite.Name(), suite.File());
    for (const SNodeInfo& node : suite.Nodes())
    {
        names.Add(EventOf(node));
    }
    const SRecordedSuite* const recorded = runs.Find(names.Suite(), suite.File());
    if (!recorded)
    {
        return runs.leftOut.contains(suite.File()) ? ERerun::LeftOut : ERerun::All;
    }
    const auto find = [&](const SNodeInfo& node) -> const SRecordedNode*
    {
        const auto found = recorded->nodes.find(KeyOf(names.Name(node.path, {})));
        return found == recorded->nodes.end() ? nullptr : &found->second;
    };
    const auto wasSelected = [&](const SNodeInfo& node)
    {
        const SRecordedNode* const before = find(node);
        return before ? before->selected : node.selected;
    };
    bool hasTest = false;
    const bool isChosen = suite.SelectOnly(
        [&](const SNodeInfo& node)
        {
            const SRecordedNode* const before = find(node);
            const bool isWanted = wasSelected(node) && !(node.test && before && before->HasPassed());
            hasTest = hasTest || (isWanted && node.test);
            return isWanted;
        });
    if (recorded->passed && !hasTest)
    {
        return ERerun::Passed;
    }
    if (!isChosen)
    {
        // What went wrong was no test: all of it has to show itself again.
        suite.SelectOnly(wasSelected);
    }
    return ERerun::Some;
}
