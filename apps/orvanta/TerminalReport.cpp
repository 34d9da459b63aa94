#include "TerminalReport.h"

#include "Terminal.h"
#include "TextLayout.h"

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>
#include <CoreKit/Time.h>
#include <Events/Node.h>
#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace
{
/// So many executions of a node are shown one by one, of each kind.
constexpr std::uint64_t SHOWN_EXECUTIONS = 3;
constexpr std::size_t SHOWN_PROBLEMS = 100;
/// What the further lines of an entry begin with at least.
constexpr std::size_t FURTHER_INDENT = 4;

const CFormatInfo HEADING({}, CFormatInfo::BOLD_STRENGTH);
const CFormatInfo GOOD_NEWS({0, 255, 0, 255}, CFormatInfo::BOLD_STRENGTH);
const CFormatInfo BAD_NEWS({255, 0, 0, 255}, CFormatInfo::BOLD_STRENGTH);

std::string Counted(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string CountsText(const SVerdictCounts& counts, std::chrono::milliseconds duration)
{
    const std::uint64_t tests = counts.passed + counts.failed + counts.errors + counts.aborted;
    return Counted(tests, "test", "tests") + ": " + std::to_string(counts.passed) + " passed, " +
        std::to_string(counts.failed) + " failed, " + Counted(counts.errors, "error", "errors") + ", " +
        std::to_string(counts.aborted) + " aborted, " + std::to_string(counts.notRun) + " not run; " +
        std::string(FormatText("%.1f s", std::chrono::duration<double>(duration).count()));
}

void Add(SVerdictCounts& sum, const SVerdictCounts& counts)
{
    sum.passed += counts.passed;
    sum.failed += counts.failed;
    sum.errors += counts.errors;
    sum.aborted += counts.aborted;
    sum.notRun += counts.notRun;
    sum.warned += counts.warned;
}

/// How a run came out, in a word or few; never a good one for a run that did not pass.
std::string ResultWord(const SRunEndEvent& end, bool isRefused, bool hasVanished)
{
    if (end.result.empty())
    {
        return isRefused  ? "did not run"
            : hasVanished ? "ended by a process that vanished"
                          : "ended by an unexpected error";
    }
    const bool isGood = end.result == "Passed" || end.result == "Completed";
    return isGood && !end.passed ? "Not passed" : PrintableLine(end.result);
}

bool IsPrompt(const SViewedNode& node)
{
    return node.element == "x:BooleanPopup" || node.element == "x:InfoPopup" || node.element == "x:SetPopup";
}

ZKColor ColorOf(const TLogColor& color)
{
    return {color[0], color[1], color[2], color[3]};
}

CFormatInfo FormatOf(const SLogEvent& entry)
{
    if (!entry.format)
    {
        return ZKLogger::GetDefaultFormat(static_cast<TEST_STATUS>(entry.status));
    }
    const SLogFormat& format = *entry.format;
    CFormatInfo shown({}, format.italic, format.strength, format.underline);
    shown.SetColor(format.color ? ColorOf(*format.color) : ZKColor(), format.color.has_value());
    return shown;
}

/// The text with a word in front that tells its kind without colours, unless it begins with that word already.
std::string Marked(const std::string& text, std::string_view word)
{
    const std::size_t begin = word.empty() ? 0 : std::min(text.find_first_not_of(" \n"), text.size());
    const auto isSame = [](char wanted, char actual)
    { return wanted == std::tolower(static_cast<unsigned char>(actual)); };
    const bool isMarked = text.size() - begin >= word.size() &&
        std::equal(word.begin(), word.end(), text.begin() + static_cast<std::ptrdiff_t>(begin), isSame);
    return (isMarked ? "" : std::string(word)) + text.substr(begin);
}

std::string HolderText(const SLockEvent& lock)
{
    return (lock.process ? "process " + std::to_string(*lock.process) : "another process") +
        (lock.host.empty() ? "" : " on " + lock.host) +
        (lock.since ? " since " + std::string(MakeTimeString("%Y-%m-%d %H:%M:%S", *lock.since)) : "");
}
} // namespace

CTerminalReport::CTerminalReport(std::FILE* stream, std::FILE* errors, const STerminalStyle& style)
    : m_Errors(errors)
    , m_Style(style)
    , m_Progress(errors, style.progress, m_View)
    , m_Output(stream, style.color, m_Progress)
    , m_ErrorOutput(errors, false, m_Progress)
{
}

void CTerminalReport::Show(const SEvent& event)
{
    const bool wasInLoop = m_View.InLoop();
    if (std::holds_alternative<SRunStartEvent>(event.what))
    {
        m_NotPassed = CNotPassedList();
        m_Refused = false;
        m_FirstBad.clear();
        m_Vanished = false;
        m_Shares.clear();
        m_Shortened.clear();
        m_InRun = true;
    }
    m_View.Take(event);
    m_Progress.Take(event);
    if (!std::holds_alternative<SOutputEvent>(event.what))
    {
        m_ErrorOutput.EndLine();
        if (m_OutputOpen)
        {
            m_Output.EndLine();
        }
        m_OutputOpen = false;
    }
    if (wasInLoop && !m_View.InLoop() && !IsQuiet())
    {
        SumUpShortened();
    }
    std::visit(
        [this](const auto& what)
        {
            if constexpr (requires { this->On(what); })
            {
                this->On(what);
            }
        },
        event.what);
}

bool CTerminalReport::IsQuiet() const
{
    return m_Style.level < LL_NORMAL;
}

// ------------------------------------------------------------------------------------------------------------- a suite

void CTerminalReport::On(const SSuiteLoadEvent& load)
{
    ++m_Suites;
    if (load.loaded)
    {
        for (const SLogEvent& entry : std::exchange(m_LoadErrors, {}))
        {
            Show(entry);
        }
        return;
    }
    m_LoadErrors.clear(); // the problems say as much, and where
    m_Output.EndLine();
    m_Progress.Erase();
    const std::size_t shown = std::min(load.problems.size(), SHOWN_PROBLEMS);
    for (std::size_t i = 0; i < shown; ++i)
    {
        std::fprintf(m_Errors, "%s\n", ProblemLine(load.file, load.problems[i]).c_str());
    }
    if (shown < load.problems.size())
    {
        std::fprintf(m_Errors, "%s: and %zu more\n", PrintableLine(load.file).c_str(), load.problems.size() - shown);
    }
    std::fflush(m_Errors);
    Line(load.file + ": not loaded");
}

void CTerminalReport::On(const SLockEvent& lock)
{
    m_Refused = lock.state == ELockState::Refused;
    const char* const state = lock.state == ELockState::Waiting ? "waiting for the execution lock " : "execution lock ";
    Line(state + lock.file + ": held by " + HolderText(lock));
}

void CTerminalReport::On(const SAbortEvent& abort)
{
    m_Output.Line("Aborted: " + PrintableLine(abort.text), DefaultAbortFormat());
}

void CTerminalReport::On(const SHeadlineEvent& headline)
{
    m_Output.Line(PrintableLine(headline.text), headline.emphasis == UI_EMPHASIS_FAILURE ? BAD_NEWS : GOOD_NEWS);
}

/// What test code wrote itself, line for line, as far as it is there.
void CTerminalReport::On(const SOutputEvent& output)
{
    if (IsQuiet())
    {
        return;
    }
    const bool isError = output.stream == EOutputStream::StdErr;
    CTerminalOutput& other = isError ? m_Output : m_ErrorOutput;
    CTerminalOutput& shown = isError ? m_ErrorOutput : m_Output;
    other.EndLine();
    if (!isError && !m_OutputOpen)
    {
        shown.EndLine();
    }
    const bool endsLine = output.text.ends_with('\n');
    shown.Write(PrintableText(std::string_view(output.text).substr(0, output.text.size() - (endsLine ? 1 : 0))), {},
                endsLine);
    m_OutputOpen = !isError && !endsLine;
}

void CTerminalReport::On(const SVanishedEvent& /*vanished*/)
{
    m_Vanished = true;
}

void CTerminalReport::On(const SNotRunEvent& notRun)
{
    m_NotPassed.Add(notRun, m_View);
}

void CTerminalReport::On(const SRunEndEvent& end)
{
    m_NotPassed.ShowNotPassed(m_Output);
    if (!end.passed && m_NotPassed.IsEmpty() && !m_FirstBad.empty())
    {
        // An error outside of every test, such as in a condition.
        m_Output.Line("Not passed: " + MovedIn(PrintableText(m_FirstBad), FURTHER_INDENT),
                      LookOf(EVerdict::Error).format);
    }
    if (!IsQuiet())
    {
        m_NotPassed.ShowNotRun(m_Output);
    }
    const std::string warned =
        end.verdicts.warned > 0 ? ", " + std::to_string(end.verdicts.warned) + " with warnings" : std::string();
    Line(m_View.File() + ": " + ResultWord(end, m_Refused, m_Vanished) + ": " + CountsText(end.verdicts, end.duration) +
         warned);
    Add(m_Counts, end.verdicts);
    m_Duration += end.duration;
    m_InRun = false;
}

void CTerminalReport::Finish()
{
    // Programs read this line: its form does not change.
    Line(Counted(m_Suites, "suite", "suites") + ": " + CountsText(m_Counts, m_Duration));
}

std::string CTerminalReport::Running() const
{
    const SViewedNode* const node = m_View.Innermost();
    return node ? TitleAndPlace(m_View.TitleInPasses(*node), *node, m_View) : std::string();
}

void CTerminalReport::Line(std::string_view text)
{
    m_Output.Line(PrintableLine(text));
}

// ------------------------------------------------------------------------------------------------- groups and verdicts

void CTerminalReport::On(const SStateEvent& state)
{
    if (state.state != ENodeState::Executing)
    {
        return;
    }
    m_Asked = false;
    const SViewedNode& node = m_View.Node(state.path);
    if (IsGroup(state.element) && node.runs && node.begun == 1 && !IsQuiet())
    {
        m_Output.Line(PrintableLine(node.title), HEADING);
    }
    m_Progress.Refresh();
}

void CTerminalReport::On(const SSkipEvent& skip)
{
    const SViewedNode& node = m_View.Node(skip.path);
    if (node.tests > 0 && !IsQuiet() && MayShowExecution(node, node.skipped))
    {
        m_Output.Line("  SKIPPED  " + PrintableLine(m_View.TitleInPasses(node)), DefaultWarningFormat());
    }
}

void CTerminalReport::On(const SVerdictEvent& verdict)
{
    const SViewedNode& node = m_View.Node(verdict.path);
    const bool isPassed = verdict.verdict == EVerdict::Passed;
    if (!isPassed)
    {
        m_NotPassed.Add(verdict, m_View);
    }
    if ((isPassed && (!verdict.test || IsQuiet())) ||
        !MayShowExecution(node, isPassed ? node.passed : node.executions - node.passed))
    {
        return;
    }
    const SVerdictLook look = LookOf(verdict.verdict);
    const double seconds = std::chrono::duration<double>(verdict.duration).count();
    m_Output.Line("  " + std::string(look.word) + "  " + PrintableLine(m_View.TitleInPasses(node)) +
                      std::string(FormatText("  %.3f s", seconds)) +
                      (verdict.warnings > 0 ? "  (" + Counted(verdict.warnings, "warning", "warnings") + ')' : ""),
                  look.format);
}

bool CTerminalReport::MayShowExecution(const SViewedNode& node, std::uint64_t count)
{
    const bool isShown = count <= SHOWN_EXECUTIONS || m_Style.level >= LL_TRACE;
    if (!isShown)
    {
        Shorten(node);
    }
    return isShown;
}

CTerminalReport::SShare& CTerminalReport::Shorten(const SViewedNode& node)
{
    SShare& share = m_Shares[&node];
    if (!share.isShortened)
    {
        share.isShortened = true;
        m_Shortened.push_back(&node);
    }
    return share;
}

void CTerminalReport::SumUpShortened()
{
    for (const SViewedNode* node : m_Shortened)
    {
        const std::uint64_t entries = m_Shares[node].entries;
        std::string sum = node->executions == 0
            ? ""
            : ", " + Counted(node->executions, "execution", "executions") + ", " + std::to_string(node->passed) +
                " passed, " + std::to_string(node->executions - node->passed) + " not passed";
        sum += node->skipped == 0 ? "" : ", " + std::to_string(node->skipped) + " skipped";
        sum += entries == 0 ? "" : ", " + Counted(entries, "entry", "entries") + " not shown (-v shows all)";
        m_Output.Line("  " + PrintableLine(node->title) + ": " + sum.substr(2));
    }
    m_Shortened.clear();
}

// --------------------------------------------------------------------------------------------------------- log entries

CTerminalReport::EEntryKind CTerminalReport::KindOf(const SLogEvent& entry, const CFormatInfo& format)
{
    if ((entry.status & TS_ERROR) != 0)
    {
        return EK_ERROR;
    }
    if ((entry.status & TS_FAILED) != 0)
    {
        return EK_FAILURE;
    }
    return entry.level == LL_WARNING && format == DefaultWarningFormat() ? EK_WARNING : EK_PLAIN;
}

void CTerminalReport::On(const SLogEvent& entry)
{
    if (!m_InRun && (entry.status & TS_ERROR) != 0)
    {
        m_LoadErrors.push_back(entry);
        return;
    }
    if (entry.status != TS_NONE && m_FirstBad.empty())
    {
        m_FirstBad = entry.text;
    }
    Show(entry);
}

void CTerminalReport::Show(const SLogEvent& entry)
{
    static constexpr std::array<std::string_view, EK_COUNT> WORDS_IN_FRONT{"", "warning: ", "failure: ", "error: "};
    const CFormatInfo format = FormatOf(entry);
    const EEntryKind kind = KindOf(entry, format);
    const bool isLeftOut =
        entry.level > m_Style.level || (IsQuiet() && entry.status == TS_NONE) || IsQuestion(entry, kind);
    if (isLeftOut || !MayShowTurn(kind))
    {
        return;
    }
    const bool goesOn = m_Output.IsLineOpen() && kind == m_LastKind;
    const std::string text = PrintableText(entry.text);
    m_Output.Write(MovedIn(goesOn ? text : Marked(text, WORDS_IN_FRONT.at(kind)), FURTHER_INDENT), format,
                   entry.second != LOG_CONTINUES);
    m_LastKind = kind;
}

void CTerminalReport::On(const SPrintEvent& print)
{
    if (print.level > m_Style.level || IsQuiet() || !MayShowTurn(EK_PLAIN))
    {
        return;
    }
    m_Output.EndLine();
    std::string_view text = print.text;
    const bool isEnded = text.ends_with('\n');
    text.remove_suffix(isEnded ? 1 : 0);
    m_Output.Write(MovedIn(PrintableText(text), FURTHER_INDENT), {}, print.line || isEnded);
}

/// Whether an entry says what a dialog at this terminal is about to ask.
bool CTerminalReport::IsQuestion(const SLogEvent& entry, EEntryKind kind) const
{
    const SViewedNode* const node = m_View.Innermost();
    return m_Style.showsDialogs && !m_Asked && kind == EK_PLAIN && entry.level < LL_TRACE && node && IsPrompt(*node);
}

/// Entries of a kind are shown in the first turns of the innermost node in which there are any.
bool CTerminalReport::MayShowTurn(EEntryKind kind)
{
    const SViewedNode* const node = m_View.Innermost();
    if (!node || m_Style.level >= LL_TRACE)
    {
        return true;
    }
    STurns& turns = m_Shares[node].turns.at(kind);
    turns.count += turns.last == m_View.Turn() ? 0U : 1U;
    turns.last = m_View.Turn();
    const bool isShown = turns.count <= SHOWN_EXECUTIONS;
    if (!isShown)
    {
        ++Shorten(*node).entries;
    }
    return isShown;
}

void CTerminalReport::On(const SPromptOpenEvent& /*prompt*/)
{
    m_Asked = true;
    m_Output.EndLine();
    m_Progress.Erase();
}

void CTerminalReport::On(const SPromptEvent& /*prompt*/)
{
    m_Progress.Draw();
}
