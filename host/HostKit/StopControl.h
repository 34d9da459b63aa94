#pragma once

#include <HostKit/HostKitExport.h>

#include <atomic>
#include <string_view>

/// Requests to stop the runs of a session. One request ends a run before its next node, but for the exit group; a
/// second one ends the exit group too. Requests stand until the object dies. Owned by the host, named in its services.
class HOSTKIT_EXPORT CStopControl
{
public:
    /// From any thread, or a signal handler.
    void Request() noexcept { m_Requests.fetch_add(1); }
    int Requests() const noexcept { return m_Requests.load(); }

    /// Whether the run is to stop at once: for what waits within a step, such as a prompt.
    bool IsDue(bool inExitGroup) const noexcept
    {
        return Requests() >= Needed(inExitGroup) && m_Raised < Needed(inExitGroup);
    }
    /// Raises the abort, with a text that says where, when it is due: once for the groups and once for the exit group.
    void RaiseIfDue(bool inExitGroup, std::string_view text);
    /// A new run begins, which the requests made so far stop as well.
    void NewRun() { m_Raised = 0; }

private:
    static constexpr int Needed(bool inExitGroup) { return inExitGroup ? 2 : 1; }

    std::atomic<int> m_Requests = 0;
    static_assert(std::atomic<int>::is_always_lock_free);
    int m_Raised = 0; ///< the number of the request that became an abort last
};
