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
    const auto recorded = runs.suites.find(names.Suite());
    if (recorded == runs.suites.end())
    {
        return ERerun::All;
    }
    if (recorded->second.passed)
    {
        return ERerun::Nothing;
    }
    const auto find = [&](const SNodeInfo& node) -> const SRecordedNode*
    {
        const auto found = recorded->second.nodes.find(KeyOf(names.Name(node.path, {})));
        return found == recorded->second.nodes.end() ? nullptr : &found->second;
    };
    const auto wasSelected = [&](const SNodeInfo& node)
    {
        const SRecordedNode* const before = find(node);
        return before ? before->selected : node.selected;
    };
    const bool isChosen = suite.SelectOnly(
        [&](const SNodeInfo& node)
        {
            const SRecordedNode* const before = find(node);
            const bool hasPassed =
                before && node.test && before->executions > 0 && before->passed == before->executions;
            return wasSelected(node) && !hasPassed;
        });
    if (!isChosen)
    {
        // What went wrong was no test: all of it has to show itself again.
        suite.SelectOnly(wasSelected);
    }
    return ERerun::Some;
}
