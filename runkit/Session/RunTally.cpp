#include <Session/RunTally.h>

#include <algorithm>

void CRunTally::Count(const SVerdictEvent& verdict)
{
    m_BadVerdict = m_BadVerdict || verdict.verdict != EVerdict::Passed;
    if (verdict.test)
    {
        m_Counts.Count(verdict);
    }
}

void CRunTally::Aborted(EAbortCause cause, std::string_view text)
{
    if (!m_Abort)
    {
        m_Abort = SAbortEvent{std::string(text), cause};
    }
    if (!m_Breakdown && (cause == EAbortCause::Crash || cause == EAbortCause::Limit))
    {
        m_Breakdown = SAbortEvent{std::string(text), cause};
    }
}

std::vector<SNotRunEvent> CRunTally::FindNotRun(const std::vector<SRunNode>& nodes)
{
    // An init group that cannot even begin has failed as well.
    const auto cannotBegin = [](const SRunNode& node)
    { return node.info.element == "x:InitGroup" && node.begun == 0 && node.skipped == 0; };
    const bool hasBegun = !nodes.empty() && nodes.front().begun > 0;
    m_InitializationFailed =
        m_InitializationFailed || (hasBegun && !m_Abort && std::any_of(nodes.begin(), nodes.end(), cannotBegin));
    std::vector<SNotRunEvent> notRun;
    for (const SRunNode& node : nodes)
    {
        if (node.info.test && node.info.selected && node.verdicts == 0)
        {
            notRun.push_back({node.info.path, ReasonFor(node, nodes)});
        }
    }
    m_Counts.notRun = notRun.size();
    return notRun;
}

ENotRunReason CRunTally::ReasonFor(const SRunNode& test, const std::vector<SRunNode>& nodes) const
{
    if (m_LibraryNotOpened)
    {
        return ENotRunReason::Library;
    }
    if (m_InitializationFailed)
    {
        return ENotRunReason::Initialization;
    }
    bool isSkipped = false;
    bool hasNoPass = false;
    for (const SRunNode* node = &test; node; node = node->parent ? &nodes[*node->parent] : nullptr)
    {
        isSkipped = isSkipped || (node->skipped > 0 && node->begun == 0);
        hasNoPass = hasNoPass || (node->kind == ENodeKind::Loop && node->begun > 0 && node->passes == 0);
    }
    if (isSkipped)
    {
        return ENotRunReason::Condition;
    }
    if (hasNoPass)
    {
        return ENotRunReason::NoPass;
    }
    return test.leftOut > 0 ? ENotRunReason::LeftOut : ENotRunReason::Stopped;
}
