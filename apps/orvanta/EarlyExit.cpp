#include "EarlyExit.h"

#include "ExitCode.h"
#include "Terminal.h"

#include <cstdlib>

#include <unistd.h>

namespace
{
bool g_Running = false;

void RefuseExit()
{
    if (g_Running)
    {
        ReportError("a test function ended the process; the last test named above did not return");
        _exit(static_cast<int>(EExitCode::Unexpected));
    }
}
} // namespace

CEarlyExitGuard::CEarlyExitGuard()
{
    static const bool isRegistered = std::atexit(RefuseExit) == 0;
    g_Running = isRegistered;
}

CEarlyExitGuard::~CEarlyExitGuard()
{
    g_Running = false;
}
