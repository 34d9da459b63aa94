#include <Reports/RunCompletion.h>

#include <Events/Node.h>

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

void CRunCompletion::EndRecord()
{
    if (m_RunStart)
    {
        Complete({});
    }
}

void CRunCompletion::On(const SRunStartEvent& start)
{
    m_RunStart = m_Time;
    m_IsJudged = start.executionType != 1;
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
    // What an abort left is never told to have ended.
    while (!m_Running.empty() && !IsBelow(state.path, m_Running.back().path))
    {
        m_Running.pop_back();
    }
    if (state.state == ENodeState::Executing)
    {
        ++Have(state.path).begun;
        m_Running.push_back({state.path, 0, m_Time});
    }
    m_InitializationFailed =
        m_InitializationFailed || (state.element == "x:InitGroup" && state.state == ENodeState::Failed);
}

void CRunCompletion::On(const SPassEvent& pass)
{
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
    const std::string path = !running.empty() ? running : m_Running.empty() ? "" : m_Running.back().path;
    if (m_IsJudged && !path.empty())
    {
        Judge(path);
    }
    for (const std::string& node : m_Order)
    {
        const SNode& entry = m_Nodes[node];
        if (m_IsJudged && entry.told.test && entry.told.selected && entry.verdicts == 0)
        {
            Emit(SNotRunEvent{node,
                              m_InitializationFailed ? ENotRunReason::Initialization
                                  : WasSkipped(node) ? ENotRunReason::Condition
                                                     : ENotRunReason::Stopped});
        }
    }
    SRunEndEvent end;
    end.verdicts = m_Counts;
    end.duration = std::chrono::duration_cast<std::chrono::milliseconds>(m_Time - *m_RunStart);
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
            verdict.duration = std::chrono::duration_cast<std::chrono::microseconds>(m_Time - node.begin);
        }
        if (node.pass > 0 && IsBelow(path, node.path))
        {
            verdict.passes.push_back(node.pass);
        }
    }
    Emit(std::move(verdict));
}

bool CRunCompletion::WasSkipped(const std::string& path) const
{
    for (std::string at = path; !at.empty(); at = ParentPath(at))
    {
        const auto node = m_Nodes.find(at);
        if (node != m_Nodes.end() && node->second.skipped > 0 && node->second.begun == 0)
        {
            return true;
        }
    }
    return false;
}

void CRunCompletion::Emit(TEvent what)
{
    const SEvent event{m_Time, std::move(what)};
    std::visit([this](const auto& told) { On(told); }, event.what);
    m_Next.Take(event);
}
