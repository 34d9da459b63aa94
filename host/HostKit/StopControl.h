#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/AbortCause.h>

#include <atomic>
#include <string_view>

/// Requests to stop the runs of a session. One request ends a run before its next node, but for the exit group; a
/// second one ends the exit group too. Requests stand until the object dies. Owned by the host, named in its services.
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

    /// A request that has a reason of its own, on the thread that runs the suite or in a handler of a signal there; the
    /// text outlives the object. The first such reason is told, until it became an abort.
    void RequestFor(EAbortCause cause, const char* text) noexcept;
    /// Whether a request with a reason has not become an abort yet.
    bool HasReason() const noexcept { return m_Text.load() != nullptr; }

    /// Whether the run is to stop at once: for what waits within a step, such as a prompt.
    bool IsDue(bool inExitGroup) const noexcept
    {
        return Requests() >= Needed(inExitGroup) && m_Raised < Needed(inExitGroup);
    }
    /// Raises the abort when it is due: once for the groups and once for the exit group. The text says where the
    /// operator's requests stopped it.
    void RaiseIfDue(bool inExitGroup, std::string_view text);
    /// Reports a stop that there was nothing left for.
    void ReportUnraised(std::string_view text);
    /// A new run begins, which the requests made so far stop as well.
    void NewRun() { m_Raised = 0; }

private:
    static constexpr int Needed(bool inExitGroup) { return inExitGroup ? 2 : 1; }

    std::atomic<int> m_OwnRequests = 0;
    std::atomic<int>& m_Requests;
    static_assert(std::atomic<int>::is_always_lock_free);
    int m_Raised = 0; ///< the number of the request that became an abort last
    std::atomic<EAbortCause> m_Cause = EAbortCause::Operator;
    std::atomic<const char*> m_Text = nullptr; ///< set after the cause
};
