#include <Reports/LogText.h>

#include <Reports/EventText.h>
#include <Reports/TestNames.h>

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>
#include <CoreKit/TestStatus.h>
#include <CoreKit/Time.h>
#include <Events/Words.h>

#include <utility>
#include <variant>

namespace
{
constexpr std::uint32_t ALWAYS = 0;
constexpr std::uint32_t TRACE = 5;

const char* StatusName(std::uint32_t status)
{
    return (status & TS_ERROR) != 0 ? "ERROR" : (status & TS_FAILED) != 0 ? "FAILED" : "-";
}

const char* Heading(EVerdict verdict)
{
    switch (verdict)
    {
    case EVerdict::Passed:
        return "Passed: ";
    case EVerdict::Failed:
        return "Failed: ";
    case EVerdict::Error:
        return "Error: ";
    case EVerdict::Aborted:
        break;
    }
    return "Aborted: ";
}

/// "2 errors", and "1 error".
std::string Counted(std::uint64_t count, const std::string& what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string Counts(const SVerdictCounts& verdicts)
{
    return Counted(verdicts.passed + verdicts.failed + verdicts.errors + verdicts.aborted, "test") + ": " +
        std::to_string(verdicts.passed) + " passed, " + std::to_string(verdicts.failed) + " failed, " +
        Counted(verdicts.errors, "error") + ", " + std::to_string(verdicts.aborted) + " aborted, " +
        std::to_string(verdicts.notRun) + " not run";
}
} // namespace

CLogText::CLogText(std::function<void(std::string_view)> write)
    : m_Write(std::move(write))
{
}

void CLogText::Take(const SEvent& event)
{
    m_Time = event.time;
    std::visit([this](const auto& what) { Tell(what); }, event.what);
}

void CLogText::Tell(const SSuiteLoadEvent& event)
{
    if (!event.loaded)
    {
        Line("note", "Not loaded: " + event.file);
    }
    for (const SProblem& problem : event.problems)
    {
        Text(ALWAYS, problem.severity == ESeverity::Error ? "ERROR" : "note", ProblemText(event.file, problem));
    }
}

void CLogText::Tell(const SRunStartEvent& event)
{
    m_SuiteFile = event.file;
    m_Nodes.clear();
    for (const auto& [key, value] : event.meta)
    {
        Line("note", std::string(key).append(": ").append(value));
    }
}

void CLogText::Tell(const SNodeEvent& event)
{
    const std::string& title = event.label.empty() ? event.name : event.label;
    m_Nodes[event.path] = {event.element + (title.empty() ? "" : " \"" + title + '"'), event.line};
}

void CLogText::Tell(const SLogEvent& event)
{
    Text(event.level, StatusName(event.status), event.text);
}

void CLogText::Tell(const SPrintEvent& event)
{
    Text(event.level, "print", event.text);
}

void CLogText::Tell(const STestLogEvent& event)
{
    Line(event.test ? "test" : event.separator ? "part" : "step", event.text);
}

void CLogText::Tell(const SPassEvent& event)
{
    const std::string iterator = event.variable ? ", " + *event.variable + " = " + std::to_string(event.iterator) : "";
    Write(TRACE, "pass", PrintableLine(Describe(event.path) + ": pass " + std::to_string(event.number) + iterator));
}

void CLogText::Tell(const SSkipEvent& event)
{
    Line("note", "Skipped: " + Describe(event.path) + ": its condition does not hold");
}

void CLogText::Tell(const SVerdictEvent& event)
{
    const std::string what = Heading(event.verdict) + Describe(event.path, event.passes);
    if (event.verdict != EVerdict::Passed)
    {
        Write(ALWAYS, "note", PrintableLine(what + ": ") + PrintableText(event.reason));
    }
    else if (event.test)
    {
        Line("note", what + ", " + SecondsText(event.duration) + " s");
    }
}

void CLogText::Tell(const SAbortEvent& event)
{
    Line("abort", event.text);
}

void CLogText::Tell(const SOutputEvent& event)
{
    Text(ALWAYS, event.stream == EOutputStream::StdErr ? "stderr" : "stdout", event.text);
}

void CLogText::Tell(const SLockEvent& event)
{
    Line("note", LockText(event));
}

void CLogText::Tell(const SVanishedEvent& event)
{
    const std::string node = event.path.empty() ? "" : "; this was running: " + Describe(event.path);
    Line("ERROR", VanishedText(event) + node);
}

void CLogText::Tell(const SHeadlineEvent& event)
{
    Line("result", event.text);
}

void CLogText::Tell(const SNotRunEvent& event)
{
    Line("note", "Not run: " + Describe(event.path) + ": " + std::string(WordOf(event.reason)));
}

void CLogText::Tell(const SRunEndEvent& event)
{
    // The engine's result knows nothing of what went wrong outside of its tests.
    const bool isMisleading = !event.passed && (event.result.empty() || event.result == "Passed");
    Line("result",
         (isMisleading ? "Not passed" : event.result) + "; " + Counts(event.verdicts) + "; " +
             SecondsText(event.duration) + " s");
}

std::string CLogText::Describe(const std::string& path, const std::vector<std::uint64_t>& passes) const
{
    const std::string loops = passes.empty() ? "" : ' ' + PassesText(passes);
    const auto node = m_Nodes.find(path);
    return node == m_Nodes.end()
        ? path + loops
        : path + ' ' + node->second.name + loops + " (" + m_SuiteFile + ':' + std::to_string(node->second.line) + ')';
}

void CLogText::Text(std::uint32_t level, const char* kind, std::string_view text)
{
    Write(level, kind, PrintableText(text));
}

void CLogText::Line(const char* kind, std::string_view text)
{
    Write(ALWAYS, kind, PrintableLine(text));
}

void CLogText::Write(std::uint32_t level, const char* kind, std::string_view text)
{
    while (!text.empty() && text.back() == '\n')
    {
        text.remove_suffix(1);
    }
    const CSafeString time = MakeUtcTimeString(m_Time);
    std::string line(FormatText("%s %u %-6s ", time.c_str(), level, kind));
    const std::string indent(line.size(), ' ');
    for (const char c : text)
    {
        line += c;
        if (c == '\n')
        {
            line += indent;
        }
    }
    m_Write(line += '\n');
}
