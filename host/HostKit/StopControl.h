#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/AbortCause.h>

#include <array>
#include <atomic>
#include <csignal>
#include <string>
#include <string_view>

/// What stops the runs of a session. One request of the operator ends a run before its next node, but for the exit
/// group; a second one ends the exit group too. Requests stand until the object dies. A breakdown (a crash, a limit)
/// ends the group that it happened in: a run, but for the exit group, or the exit group. Owned by the host, named in
/// its services.
class HOSTKIT_EXPORT CStopControl
{
public:
    /// Counts the requests in `requests`, which another process may share and which outlives the object; null: in a
    /// counter of its own.
    explicit CStopControl(std::atomic<int>* requests = nullptr)
        : m_Requests(requests ? *requests : m_OwnRequests)
    {
    }
    CStopControl(const CStopControl&) = delete;
    CStopControl& operator=(const CStopControl&) = delete;

    /// From any thread, or a signal handler.
    void Request() noexcept { m_Requests.fetch_add(1); }
    int Requests() const noexcept { return m_Requests.load(); }

    /// A breakdown, on the thread that runs the suite or in a handler of a signal there. Of several, the text of the
    /// first is told, cut to its room.
    void BreakDown(EAbortCause cause, const char* text, bool inExitGroup) noexcept;
    /// Whether a breakdown has not become an abort yet.
    bool HasBrokenDown() const noexcept { return m_HasBrokenDown != 0; }
    /// Whether one is to stop the run at once.
    bool IsBreakdownDue(bool inExitGroup) const noexcept
    {
        return HasBrokenDown() && (!inExitGroup || m_BrokeInExitGroup != 0);
    }

    /// Whether the run is to stop at once: for what waits within a step, such as a prompt.
    bool IsDue(bool inExitGroup) const noexcept
    {
        return IsBreakdownDue(inExitGroup) || (Requests() >= Needed(inExitGroup) && m_Raised < Needed(inExitGroup));
    }
    /// Raises the abort when it is due: once for the groups and once for the exit group. The text says where the
    /// operator's requests stopped it.
    void RaiseIfDue(bool inExitGroup, std::string_view text);
    /// Reports a stop that there was nothing left for.
    void ReportUnraised(std::string_view text);
    /// A new run begins, which the requests made so far stop as well.
    void NewRun() { m_Raised = 0; }

private:
    struct SAbort
    {
        EAbortCause cause = EAbortCause::Operator;
        std::string text;
    };

    /// The breakdown that is to be told now, else a stop by the operator with the text.
    SAbort TakeReason(std::string_view text);
    static constexpr int Needed(bool inExitGroup) { return inExitGroup ? 2 : 1; }

    std::atomic<int> m_OwnRequests = 0;
    std::atomic<int>& m_Requests;
    static_assert(std::atomic<int>::is_always_lock_free);
    int m_Raised = 0; ///< the number of the request that became an abort last

    // Of breakdowns, which handlers of signals report.
    EAbortCause m_Cause = EAbortCause::Crash;
    std::array<char, 1000> m_Text{};
    volatile std::sig_atomic_t m_HasBrokenDown = 0; ///< set after the text
    volatile std::sig_atomic_t m_BrokeInExitGroup = 0;
};
