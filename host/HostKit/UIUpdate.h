#pragma once

#include <HostKit/HostKitExport.h>

#include <atomic>

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
