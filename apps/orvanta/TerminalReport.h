#pragma once

#include "NotPassedList.h"
#include "ProgressLine.h"
#include "RunView.h"
#include "TerminalOutput.h"

#include <Events/EventSink.h>
#include <Reports/RunCompletion.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// How much of a run the terminal shows, and how.
struct STerminalStyle
{
    std::uint32_t level = 4;   ///< entries show when their level is at most this; below 3 only those with a status
    bool color = false;        ///< formats become escape sequences
    bool progress = false;     ///< there is a progress line
    bool showsDialogs = false; ///< prompts are asked at this terminal, so that questions need not be shown twice
};

/// What the operator sees of the runs of one call: headings, a line for each finished test, log entries, what did not
/// pass again at the end, and one last line; problems and progress on a stream of their own. A node that runs over and
/// over in loops gets its first lines and, when the outermost loop ends, one that sums up; from level 5 on it gets all.
class CTerminalReport : public CEventSink
{
public:
    /// The streams outlive the report.
    CTerminalReport(std::FILE* stream, std::FILE* errors, const STerminalStyle& style);

    void Take(const SEvent& event) override { m_Completion.Take(event); }

    /// A line of the host's own.
    void Line(std::string_view text);
    /// The last line, over all suites.
    void Finish();

    /// What executes now: its title, its path and its place in the file; empty when nothing does.
    std::string Running() const;

    /// Erased by whoever else writes to the terminal.
    CProgressLine& Progress() { return m_Progress; }

private:
    enum EEntryKind : std::size_t
    {
        EK_PLAIN,
        EK_WARNING,
        EK_FAILURE,
        EK_ERROR,
        EK_COUNT,
    };

    /// The turns of a node in which entries of a kind came.
    struct STurns
    {
        std::uint64_t last = 0;
        std::uint64_t count = 0;
    };

    /// What was left out of the lines of a node.
    struct SShare
    {
        std::array<STurns, EK_COUNT> turns;
        std::uint64_t entries = 0;
        bool isShortened = false;
    };

    /// Shows what comes of the events when every run has its end.
    class CShown : public CEventSink
    {
    public:
        explicit CShown(CTerminalReport& report)
            : m_Report(report)
        {
        }
        void Take(const SEvent& event) override { m_Report.Show(event); }

    private:
        CTerminalReport& m_Report;
    };

    void Show(const SEvent& event);
    void On(const SSuiteLoadEvent& load);
    void On(const SLogEvent& entry);
    void Show(const SLogEvent& entry);
    void On(const SPrintEvent& print);
    void On(const SStateEvent& state);
    void On(const SSkipEvent& skip);
    void On(const SVerdictEvent& verdict);
    void On(const SPromptOpenEvent& prompt);
    void On(const SPromptEvent& prompt);
    void On(const SAbortEvent& abort);
    void On(const SLockEvent& lock);
    void On(const SHeadlineEvent& headline);
    void On(const SOutputEvent& output);
    void On(const SVanishedEvent& vanished);
    void On(const SNotRunEvent& notRun);
    void On(const SRunEndEvent& end);

    static EEntryKind KindOf(const SLogEvent& entry, const CFormatInfo& format);
    bool IsQuiet() const;
    bool IsQuestion(const SLogEvent& entry, EEntryKind kind) const;
    bool MayShowTurn(EEntryKind kind);
    bool MayShowExecution(const SViewedNode& node, std::uint64_t count);
    SShare& Shorten(const SViewedNode& node);
    void SumUpShortened();

    std::FILE* m_Errors;
    STerminalStyle m_Style;
    CShown m_Shown{*this};
    CRunCompletion m_Completion{m_Shown};
    CRunView m_View;
    CProgressLine m_Progress;
    CTerminalOutput m_Output;
    CTerminalOutput m_ErrorOutput;                           ///< what test code writes there
    CNotPassedList m_NotPassed;                              ///< of this run
    std::unordered_map<const SViewedNode*, SShare> m_Shares; ///< of this run
    std::vector<const SViewedNode*> m_Shortened;             ///< in the loop that runs
    EEntryKind m_LastKind = EK_PLAIN;                        ///< of the entry that was shown last
    std::string m_FirstBad;                                  ///< entry of this run with a status
    bool m_Refused = false;                                  ///< by the execution lock
    bool m_Asked = false;                                    ///< the innermost node, when it is a prompt

    std::vector<SLogEvent> m_LoadErrors; ///< shown once the suite proves to be loaded
    bool m_InRun = false;
    bool m_Vanished = false;   ///< the process that ran it
    bool m_OutputOpen = false; ///< test code has not ended its line

    std::uint64_t m_Suites = 0;
    SVerdictCounts m_Counts; ///< of all suites
    std::chrono::milliseconds m_Duration{};
};
