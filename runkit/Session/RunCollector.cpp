#include <Session/RunCollector.h>

#include <Session/LockInfo.h>

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/StopControl.h>
#include <Orvanta/CallTree.h>

#include <cmath>
#include <utility>

namespace
{
std::optional<TLogColor> ColorOf(const std::optional<ZKColor>& color)
{
    return color ? std::optional(TLogColor{color->red, color->green, color->blue, color->alpha}) : std::nullopt;
}

std::optional<SLogFormat> FormatOf(const CFormatInfo* format)
{
    if (!format)
    {
        return std::nullopt;
    }
    return SLogFormat{ColorOf(format->Color()), ColorOf(format->BackColor()), format->Strength(), format->Italics(),
                      format->Underline()};
}

ENodeState StateOf(ERunState state)
{
    switch (state)
    {
    case RS_EXECUTING:
        return ENodeState::Executing;
    case RS_PASSED:
        return ENodeState::Passed;
    case RS_FAILED:
        return ENodeState::Failed;
    case RS_NOT_RUN:
        break;
    }
    return ENodeState::NotRun;
}
} // namespace

CRunCollector::CRunCollector(CEventSink& sink)
    : m_Sink(sink)
{
}

void CRunCollector::RunBegins(std::vector<SRunNode> nodes, std::vector<std::size_t> rows, bool isJudged)
{
    m_IsJudged = isJudged;
    m_Frames.clear();
    m_Tally = m_LoadTally;
    m_Nodes = std::move(nodes);
    m_Rows = std::move(rows);
}

void CRunCollector::Emit(TEvent what)
{
    m_Event.time = std::chrono::system_clock::now();
    m_Event.what = std::move(what);
    m_Sink.Take(m_Event);
}

// ------------------------------------------------------------------------------------------- what the services report

void CRunCollector::LogWritten(const SLogEntry& entry)
{
    if (entry.type.status != TS_NONE)
    {
        m_Tally.HasLoggedFailure();
    }
    if (!m_Frames.empty())
    {
        SFrame& frame = m_Frames.back();
        frame.hasError = frame.hasError || (entry.type.status & TS_ERROR) != 0;
        frame.hasFailure = frame.hasFailure || (entry.type.status & TS_FAILED) != 0;
        frame.warnings += IsWarning(entry) ? 1U : 0U;
        if (entry.type.status != TS_NONE && frame.firstBadEntry.empty())
        {
            frame.firstBadEntry = entry.text;
        }
    }
    Emit(SLogEvent{entry.type.status, entry.type.second, entry.level, FormatOf(entry.format), std::string(entry.text)});
}

void CRunCollector::Printed(ELogLevel level, bool line, std::string_view text)
{
    Emit(SPrintEvent{level, line, std::string(text)});
}

void CRunCollector::TestLogAdded(std::string_view text, bool isTest, bool isSeparator)
{
    Emit(STestLogEvent{std::string(text), isTest, isSeparator});
}

/// Before every step and before the run is summed up: a stop that was requested elsewhere makes it an aborted one.
void CRunCollector::OutputFlushed(bool /*complete*/)
{
    const CStopControl* const stop = CAppState::Services().Stop;
    if (stop && (stop->Requests() > 0 || stop->HasBrokenDown()))
    {
        CCallTree::Cancel(true);
    }
}

void CRunCollector::HeadlineShown(std::string_view text, std::uint32_t emphasis)
{
    Emit(SHeadlineEvent{std::string(text), emphasis});
}

void CRunCollector::PromptOpened(std::uint64_t id, const SPrompt& prompt)
{
    Emit(SPromptOpenEvent{prompt, id});
}

void CRunCollector::PromptEnded(std::uint64_t id, const SPrompt& prompt, const TPromptAnswer& answer)
{
    const EPromptEnd* const end = std::get_if<EPromptEnd>(&answer);
    if (end && !m_Frames.empty())
    {
        m_Frames.back().promptEnd = *end;
    }
    Emit(SPromptEvent{prompt, answer, id});
}

void CRunCollector::Aborted(EAbortCause cause, std::string_view text)
{
    m_Tally.Aborted(cause, text);
    CCallTree::Cancel(true);
    Emit(SAbortEvent{std::string(text), cause});
}

void CRunCollector::HandOver()
{
    m_Sink.HandOver();
}

// --------------------------------------------------------------------------------------------- what the engine reports

void CRunCollector::NodeStateChanged(TNodeId id, ERunState state)
{
    SRunNode& node = Node(id);
    const SNodeInfo& info = node.info;
    Emit(SStateEvent{info.path, info.element, info.name, info.label, info.line, StateOf(state)});
    if (state == RS_EXECUTING)
    {
        ++node.begun;
        SFrame& frame = m_Frames.emplace_back();
        frame.row = m_Rows.at(id);
        frame.begin = std::chrono::steady_clock::now();
    }
    else
    {
        NodeEnds(state == RS_FAILED);
    }
}

void CRunCollector::NodeEnds(bool failed)
{
    const SFrame frame = std::move(m_Frames.back());
    m_Frames.pop_back();
    const SRunNode& node = m_Nodes[frame.row];
    if (failed && !m_Frames.empty())
    {
        m_Frames.back().failedBelow = true;
    }
    if (failed && node.info.element == "x:InitGroup")
    {
        m_Tally.InitializationFailed();
    }
    const bool isExecution = node.kind == ENodeKind::Execution && !frame.leftOut;
    if (m_IsJudged && (isExecution || (failed && !frame.failedBelow)))
    {
        const EVerdict verdict = VerdictOn(frame, failed);
        Judge(frame, verdict, verdict == EVerdict::Passed ? std::string() : ReasonFor(frame, node.kind));
    }
}

void CRunCollector::NodeLeftByException(TNodeId /*id*/, std::string_view what)
{
    m_Frames.back().thrown = what;
}

void CRunCollector::NodeLeftByAbort(TNodeId /*id*/, std::string_view text)
{
    const SFrame frame = std::move(m_Frames.back());
    m_Frames.pop_back();
    if (!m_Frames.empty())
    {
        m_Frames.back().failedBelow = true; // what ends around an abort has no reason of its own
    }
    if (m_IsJudged && m_Nodes[frame.row].kind == ENodeKind::Execution)
    {
        Judge(frame, EVerdict::Aborted, std::string(text));
    }
}

void CRunCollector::NodeSkipped(TNodeId id)
{
    SRunNode& node = Node(id);
    ++node.skipped;
    Emit(SSkipEvent{node.info.path});
}

void CRunCollector::FailureCaught(TNodeId /*id*/, std::string_view what)
{
    m_Frames.back().thrown = what;
}

void CRunCollector::PassBegan(TNodeId id, std::uint64_t number, std::uint64_t iterator, std::string_view variable)
{
    SRunNode& node = Node(id);
    ++node.passes;
    m_Frames.back().pass = number;
    Emit(SPassEvent{node.info.path, number, iterator,
                    variable.empty() ? std::nullopt : std::optional(std::string(variable))});
}

void CRunCollector::CallLeftOut(TNodeId id)
{
    ++Node(id).leftOut;
    m_Frames.back().leftOut = true;
}

void CRunCollector::Measured(const SMeasurement& measurement)
{
    const auto limit = [](double value) { return std::isnan(value) ? std::nullopt : std::optional(value); };
    Emit(SMeasurementEvent{m_Frames.empty() ? "" : m_Nodes[m_Frames.back().row].info.path,
                           std::string(measurement.name), measurement.value, std::string(measurement.unit),
                           limit(measurement.lower), limit(measurement.upper), measurement.IsWithin()});
}

void CRunCollector::LibraryNotOpened()
{
    m_Tally.LibraryNotOpened();
}

void CRunCollector::LockAwaited()
{
    Emit(ExecutionLock(ELockState::Waiting));
    HandOver();
}

void CRunCollector::ReportNotRun()
{
    if (!m_IsJudged)
    {
        return;
    }
    for (SNotRunEvent& notRun : m_Tally.FindNotRun(m_Nodes))
    {
        Emit(std::move(notRun));
    }
}

// ------------------------------------------------------------------------------------------------------- the verdict

void CRunCollector::Judge(const SFrame& frame, EVerdict verdict, std::string reason)
{
    SRunNode& node = m_Nodes[frame.row];
    ++node.verdicts;
    SVerdictEvent event;
    event.path = node.info.path;
    event.test = node.info.test;
    event.verdict = verdict;
    event.warnings = frame.warnings;
    event.passes = EnclosingPasses();
    event.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - frame.begin);
    event.reason = std::move(reason);
    m_Tally.Count(event);
    Emit(std::move(event));
}

std::vector<std::uint64_t> CRunCollector::EnclosingPasses() const
{
    std::vector<std::uint64_t> passes;
    for (const SFrame& frame : m_Frames)
    {
        if (frame.pass > 0)
        {
            passes.push_back(frame.pass);
        }
    }
    return passes;
}

EVerdict CRunCollector::VerdictOn(const SFrame& frame, bool failed)
{
    if (frame.hasError || frame.thrown)
    {
        return EVerdict::Error;
    }
    return failed || frame.hasFailure ? EVerdict::Failed : EVerdict::Passed;
}

std::string CRunCollector::ReasonFor(const SFrame& frame, ENodeKind kind)
{
    if (kind != ENodeKind::Execution)
    {
        return frame.thrown.value_or(frame.firstBadEntry);
    }
    if (!frame.firstBadEntry.empty() || frame.thrown)
    {
        return frame.firstBadEntry.empty() ? *frame.thrown : frame.firstBadEntry;
    }
    if (frame.promptEnd)
    {
        return *frame.promptEnd == EPromptEnd::TimeOut ? "timed out" : "closed without an answer";
    }
    return "returned false";
}
