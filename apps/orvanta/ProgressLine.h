#pragma once

#include "RunView.h"

#include <chrono>
#include <cstdint>
#include <cstdio>

/// The line that says how far a run has come: "217 of 2000, 3 failed, 0:12  Group / Label". Whoever writes to the
/// terminal erases it before and draws it again afterwards. Times are those of the events. Does nothing unless enabled.
class CProgressLine
{
public:
    CProgressLine(std::FILE* stream, bool enabled, const CRunView& view);
    ~CProgressLine() { Erase(); }
    CProgressLine(const CProgressLine&) = delete;
    CProgressLine& operator=(const CProgressLine&) = delete;

    /// Counts; nothing is drawn. The view has seen the event already.
    void Take(const SEvent& event);

    /// How long the run has lasted, by its events.
    std::chrono::milliseconds Elapsed() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_Now - m_Begin);
    }

    /// Makes room; nothing is drawn until `Draw`.
    void Erase();
    /// Shows how things stand now; nothing when no suite runs.
    void Draw();
    /// As `Draw` unless there is no room, but at most ten times a second while nothing else is written.
    void Refresh();

private:
    void On(const SRunStartEvent& start);
    void On(const SVerdictEvent& verdict);
    void On(const SSkipEvent& skip);
    void On(const SPassEvent& pass);
    void On(const SHeadlineEvent& headline);
    void On(const SRunEndEvent& end);

    std::string Text() const;

    std::FILE* m_Stream;
    bool m_Enabled;
    const CRunView& m_View;
    bool m_Running = false;
    bool m_Drawn = false;
    bool m_HasRoom = true;
    bool m_Interrupted = true; ///< something else was written since the last refresh
    bool m_TotalKnown = true;
    std::uint64_t m_Done = 0; ///< tests
    std::uint64_t m_Failed = 0;
    std::chrono::system_clock::time_point m_Begin;
    std::chrono::system_clock::time_point m_Now;
    std::chrono::system_clock::time_point m_Refreshed;
};
