#include <HostKit/TestCall.h>

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/ServiceThread.h>

#include <CoreKit/CatchLadder.h>

#include <unistd.h>

namespace
{
void EndIfForked(pid_t process)
{
    if (getpid() != process)
    {
        _exit(0);
    }
}
} // namespace

bool CallTestFunction(const QString& function, CTestCallGuard::TCall call, const void* context)
{
    const pid_t process = getpid();
    CTestCallGuard* const guard = CAppState::Services().Guard;
    const auto passOn = [process](const auto&) -> bool
    {
        EndIfForked(process);
        ReportForeignCalls();
        throw;
    };
    const bool result = Guarded([&] { return guard ? guard->Call(function, call, context) : call(context); }, passOn);
    EndIfForked(process);
    ReportForeignCalls();
    return result;
}

void ReportForeignCalls()
{
    if (const unsigned long long calls = TakeForeignCalls(); calls > 0)
    {
        LogDefault(TS_ERROR,
                   "%llu call%s of zk_ functions came from other threads than the test function's and wrote nothing.",
                   calls, calls == 1 ? "" : "s");
    }
}
