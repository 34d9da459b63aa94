#include "NotPassedList.h"

#include "TextLayout.h"

#include <CoreKit/PrintableText.h>
#include <HostKit/Logger.h>

namespace
{
constexpr std::size_t KEPT_EXECUTIONS = 3;
constexpr std::size_t KEPT_NOT_RUN = 10;

const char* ReasonText(ENotRunReason reason)
{
    switch (reason)
    {
    case ENotRunReason::Condition:
        return "the condition did not hold, its own or that of a group around it";
    case ENotRunReason::NoPass:
        return "the loop made no pass";
    case ENotRunReason::Initialization:
        return "the init group failed";
    case ENotRunReason::Library:
        return "there is no test library";
    case ENotRunReason::LeftOut:
        return "a validation run leaves it out";
    case ENotRunReason::Stopped:
        break;
    }
    return "the run was stopped before";
}
} // namespace

std::string TitleAndPlace(const std::string& title, const SViewedNode& node, const CRunView& view)
{
    const std::string line = node.line > 0 ? ':' + std::to_string(node.line) : std::string();
    return PrintableLine(title + "  " + node.path + "  " + view.File() + line);
}

SVerdictLook LookOf(EVerdict verdict)
{
    static const CFormatInfo green({0, 128, 0, 255}, CFormatInfo::NORMAL_STRENGTH);
    switch (verdict)
    {
    case EVerdict::Passed:
        return {"PASSED", green};
    case EVerdict::Failed:
        return {"FAILED", ZKLogger::GetDefaultFormat(TS_FAILED)};
    case EVerdict::Error:
        return {"ERROR", ZKLogger::GetDefaultFormat(TS_ERROR)};
    case EVerdict::Aborted:
        break;
    }
    return {"ABORTED", DefaultAbortFormat()};
}

void CNotPassedList::Add(const SVerdictEvent& verdict, const CRunView& view)
{
    const auto [found, isNew] = m_ByPath.try_emplace(verdict.path, m_Nodes.size());
    SNode& kept = isNew ? m_Nodes.emplace_back() : m_Nodes[found->second];
    if (kept.executions.size() == KEPT_EXECUTIONS)
    {
        ++kept.more;
        return;
    }
    const SViewedNode& node = view.Node(verdict.path);
    kept.executions.push_back(
        {verdict.verdict, TitleAndPlace(view.TitleInPasses(node), node, view), PrintableText(verdict.reason)});
}

void CNotPassedList::Add(const SNotRunEvent& notRun, const CRunView& view)
{
    SNotRun& kept = m_NotRun[notRun.reason];
    if (kept.titles.size() == KEPT_NOT_RUN)
    {
        ++kept.more;
        return;
    }
    const SViewedNode& node = view.Node(notRun.path);
    kept.titles.push_back(TitleAndPlace(node.title, node, view));
}

void CNotPassedList::ShowNotPassed(CTerminalOutput& output) const
{
    constexpr std::size_t REASON_INDENT = 6;
    const std::string indent(REASON_INDENT, ' ');
    if (!m_Nodes.empty())
    {
        output.Line("Not passed:");
    }
    for (const SNode& node : m_Nodes)
    {
        for (const SExecution& execution : node.executions)
        {
            const SVerdictLook look = LookOf(execution.verdict);
            output.Line("  " + std::string(look.word) + "  " + execution.title, look.format);
            const std::size_t begin = execution.reason.find_first_not_of(" \n");
            if (begin != std::string::npos)
            {
                const std::size_t end = execution.reason.find_last_not_of(" \n") + 1;
                output.Line(indent + MovedIn(execution.reason.substr(begin, end - begin), REASON_INDENT));
            }
        }
        if (node.more > 0)
        {
            output.Line(indent + "and " + std::to_string(node.more) + (node.more == 1 ? " more time" : " more times"));
        }
    }
}

void CNotPassedList::ShowNotRun(CTerminalOutput& output) const
{
    for (const auto& [reason, notRun] : m_NotRun)
    {
        output.Line("Not run, since " + std::string(ReasonText(reason)) + ':', DefaultWarningFormat());
        for (const std::string& title : notRun.titles)
        {
            output.Line("  " + title);
        }
        if (notRun.more > 0)
        {
            output.Line("  and " + std::to_string(notRun.more) + " more");
        }
    }
}
