#include <Reports/RunCompletion.h>

#include <Events/Node.h>

#include <algorithm>
#include <utility>
#include <variant>

CRunCompletion::CRunCompletion(CEventSink& next)
    : m_Next(next)
{
}

void CRunCompletion::Take(const SEvent& event)
{
    if (std::holds_alternative<SRunStartEvent>(event.what) || std::holds_alternative<SRecordEvent>(event.what))
    {
        EndRecord();
    }
    m_Time = event.time;
    std::visit([this](const auto& what) { On(what); }, event.what);
    m_Next.Take(event);
    if (const auto* const vanished = std::get_if<SVanishedEvent>(&event.what); vanished && m_RunStart)
    {
        Complete(vanished->path);
    }
}

bool CRunCompletion::EndRecord()
{
    const bool isCutOff = m_RunStart.has_value();
    if (isCutOff)
    {
        Complete({});
    }
    return isCutOff;
}

void CRunCompletion::On(const SRunStartEvent& start)
{
    m_RunStart = m_Time;
    m_ExecutionType = start.executionType;
    m_InitializationFailed = false;
    m_Nodes.clear();
    m_Order.clear();
    m_Running.clear();
    m_Counts = {};
}

void CRunCompletion::On(const SNodeEvent& node)
{
    Have(node.path).told = node;
    m_Order.push_back(node.path);
}

void CRunCompletion::On(const SStateEvent& state)
{
    m_InitializationFailed =
        m_InitializationFailed || (state.element == "x:InitGroup" && state.state == ENodeState::Failed);
    SNode& node = Have(state.path);
    const bool isBegin = state.state == ENodeState::Executing;
    node.begun += isBegin ? 1 : 0;
    node.passed += state.state == ENodeState::Passed ? 1 : 0;
    if (!isBegin && IsExecution(state.element) && !m_Running.empty() && m_Running.back().path == state.path)
    {
        m_Running.back().hasEnded = true;
        return;
    }
    // What an abort left is never told to have ended.
    while (!m_Running.empty() && !IsBelow(state.path, m_Running.back().path))
    {
        m_Running.pop_back();
    }
    if (isBegin)
    {
        m_Running.push_back({state.path, 0, m_Time});
    }
}

void CRunCompletion::On(const SPassEvent& pass)
{
    ++Have(pass.path).passes;
    // What was left out in the pass before has no verdict.
    while (!m_Running.empty() && IsBelow(m_Running.back().path, pass.path))
    {
        m_Running.pop_back();
    }
    if (!m_Running.empty() && m_Running.back().path == pass.path)
    {
        m_Running.back().pass = pass.number;
    }
}

void CRunCompletion::On(const SSkipEvent& skip)
{
    ++Have(skip.path).skipped;
}

void CRunCompletion::On(const SVerdictEvent& verdict)
{
    ++Have(verdict.path).verdicts;
    if (verdict.test)
    {
        m_Counts.Count(verdict);
    }
    // After an abort, no state tells that the execution has ended.
    if (!m_Running.empty() && m_Running.back().path == verdict.path)
    {
        m_Running.pop_back();
    }
}

void CRunCompletion::On(const SNotRunEvent& notRun)
{
    ++Have(notRun.path).verdicts;
    ++m_Counts.notRun;
}

void CRunCompletion::On(const SRunEndEvent& /*end*/)
{
    m_RunStart.reset();
}

CRunCompletion::SNode& CRunCompletion::Have(const std::string& path)
{
    SNode& node = m_Nodes[path];
    node.told.path = path;
    return node;
}

/// `running` is the path of the node that is known to have been running; empty: what the events say.
void CRunCompletion::Complete(const std::string& running)
{
    constexpr std::uint32_t DIAGNOSTIC = 1;
    constexpr std::uint32_t VALIDATION = 2;
    const bool isJudged = m_ExecutionType != DIAGNOSTIC;
    if (!m_Running.empty() && m_Running.back().hasEnded && m_ExecutionType == VALIDATION)
    {
        m_Running.pop_back(); // perhaps a call that was left out, which has no verdict
    }
    const std::string path = !running.empty() ? running : m_Running.empty() ? "" : m_Running.back().path;
    if (isJudged && !path.empty())
    {
        Judge(path);
    }
    for (const std::string& node : m_Order)
    {
        const SNode& entry = m_Nodes[node];
        if (isJudged && entry.told.test && entry.told.selected && entry.verdicts == 0)
        {
            Emit(SNotRunEvent{node, WhyNotRun(node)});
        }
    }
    SRunEndEvent end;
    end.verdicts = m_Counts;
    end.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Since(*m_RunStart));
    Emit(std::move(end));
}

void CRunCompletion::Judge(const std::string& path)
{
    const SNodeEvent& told = Have(path).told;
    SVerdictEvent verdict;
    verdict.path = path;
    verdict.test = told.test;
    verdict.verdict = EVerdict::Error;
    const std::string& title = !told.name.empty() ? told.name : !told.label.empty() ? told.label : told.element;
    verdict.reason = "ended inside " + (title.empty() ? path : title);
    for (const SRunning& node : m_Running)
    {
        if (node.path == path)
        {
            verdict.duration = Since(node.begin);
        }
        if (node.pass > 0 && IsBelow(path, node.path))
        {
            verdict.passes.push_back(node.pass);
        }
    }
    Emit(std::move(verdict));
}

/// As far as the events tell the reasons apart.
ENotRunReason CRunCompletion::WhyNotRun(const std::string& path) const
{
    if (m_InitializationFailed)
    {
        return ENotRunReason::Initialization;
    }
    static const SNode NONE;
    bool hasNoPass = false;
    std::uint64_t begunBelow = m_Nodes.at(path).begun;
    for (std::string at = path; !at.empty(); at = ParentPath(at))
    {
        const auto found = m_Nodes.find(at);
        const SNode& node = found == m_Nodes.end() ? NONE : found->second;
        if (node.skipped > 0 && node.begun == 0)
        {
            return ENotRunReason::Condition;
        }
        // A group that came to its end without what stands in it made no pass.
        hasNoPass = hasNoPass || (at != path && node.passed > 0 && node.passes == 0 && begunBelow == 0);
        begunBelow = node.begun;
    }
    const bool isLeftOut = m_Nodes.at(path).passed > 0;
    return hasNoPass ? ENotRunReason::NoPass : isLeftOut ? ENotRunReason::LeftOut : ENotRunReason::Stopped;
}

/// A clock that was set back in between makes it 0.
std::chrono::microseconds CRunCompletion::Since(std::chrono::system_clock::time_point begin) const
{
    return std::max(std::chrono::microseconds(0),
                    std::chrono::duration_cast<std::chrono::microseconds>(m_Time - begin));
}

void CRunCompletion::Emit(TEvent what)
{
    const SEvent event{m_Time, std::move(what)};
    std::visit([this](const auto& told) { On(told); }, event.what);
    m_Next.Take(event);
}
