#include <HostKit/ServiceThread.h>

#include <atomic>

#include <pthread.h>
#include <unistd.h>

namespace
{
std::atomic<pthread_t> g_Thread;
std::atomic<pid_t> g_Process = 0;
std::atomic<std::uint64_t> g_ForeignCalls = 0;
} // namespace

void OwnServices() noexcept
{
    g_Thread = pthread_self();
    g_Process = getpid();
}

ECaller IdentifyCaller() noexcept
{
    // Before services were installed for the first time, they answer for themselves.
    if (g_Process != 0 && g_Process != getpid())
    {
        return ECaller::Process;
    }
    if (g_Process != 0 && pthread_equal(g_Thread, pthread_self()) == 0)
    {
        ++g_ForeignCalls;
        return ECaller::Thread;
    }
    return ECaller::Own;
}

std::uint64_t TakeForeignCalls() noexcept
{
    return g_ForeignCalls.exchange(0);
}
