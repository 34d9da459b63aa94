#include "EarlyExit.h"

#include "ExitCode.h"
#include "Terminal.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace
{
const std::function<std::string()>* g_Message = nullptr; ///< of the innermost guard; null when there is none
pid_t g_Guarded = 0;                                     ///< the process that the guards were made in

void RefuseExit()
{
    if (g_Message && getpid() == g_Guarded)
    {
        std::fflush(stdout);
        ReportError((*g_Message)());
        _exit(static_cast<int>(EExitCode::Unexpected));
    }
}
} // namespace

CEarlyExitGuard::CEarlyExitGuard(std::function<std::string()> message)
    : m_Message(std::move(message))
    , m_Outer(std::exchange(g_Message, &m_Message))
{
    static const bool isRegistered = std::atexit(RefuseExit) == 0 && std::at_quick_exit(RefuseExit) == 0;
    static_cast<void>(isRegistered);
    g_Guarded = getpid();
}

CEarlyExitGuard::~CEarlyExitGuard()
{
    g_Message = m_Outer;
}
