#pragma once

#include <HostKit/HostKitExport.h>

#include <atomic>
#include <string_view>

/// The operator's abort request; may be set from another thread or a signal handler.
class HOSTKIT_EXPORT CUIUpdate
{
public:
    /// The object of the installed services.
    static CUIUpdate& GetUIUpdate();

    void AbortFunction(bool request) { m_Abort.store(request, std::memory_order_relaxed); }
    bool AbortFunction() const { return m_Abort.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> m_Abort = false;
    static_assert(std::atomic<bool>::is_always_lock_free);
};

/// Marks the running suite as aborted by the operator, tells the listeners and throws `ZKUserAbort` with the text.
/// Every operator's abort begins here.
[[noreturn]] HOSTKIT_EXPORT void RaiseUserAbort(std::string_view text);
