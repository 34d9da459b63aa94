#include <zk/test.hpp>

#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/// Says something, then waits for an interrupt; no interrupt that follows the words is missed. The process that counts
/// it gets it at the same time, and has a moment to do so.
void AwaitInterrupt(const char* text)
{
    sigset_t interrupt;
    sigset_t before;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupt, &before);
    zk_log(3, "%s", text);
    const timespec limit{60, 0};
    ppoll(nullptr, 0, &limit, &before);
    usleep(50000);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

/// How a child process ends that leaves with 0.
int ForkedExitCode()
{
    const pid_t child = fork();
    if (child == 0)
    {
        std::exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

/// Forks a process that outlives the run, with all that it inherited but the standard streams.
bool LeaveChild()
{
    const pid_t child = fork();
    if (child == 0)
    {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        {
            close(stream);
        }
        sleep(5);
        _exit(0);
    }
    return child > 0;
}

/// Leaves no signal that ends a program as it was.
bool TakeSignals()
{
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t terminate;
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    return sigprocmask(SIG_BLOCK, &terminate, nullptr) == 0;
}

/// A library whose initialiser does not come back, or has something to say.
[[maybe_unused]] const bool g_Loaded = []
{
    if (std::getenv("CLI_LIBRARY_EXITS"))
    {
        std::exit(0);
    }
    if (std::getenv("CLI_LIBRARY_COMPLAINS"))
    {
        zk_error("no licence");
    }
    return true;
}();
} // namespace

// clang-format off
ZK_TEST(Prepares) { return true; }
ZK_TEST(Passes) { zk_log(3, "all is well\nwith the device"); return true; }
ZK_TEST(ReturnsFalse) { return false; }
ZK_TEST(LogsFailure) { zk_failure("the voltage is low"); return true; }
ZK_TEST(LogsError) { zk_error("no device"); return true; }
ZK_TEST(Warns) { zk_warning("the fan is loud"); return true; }
ZK_TEST(Throws) { throw std::runtime_error("out of cheese"); }
ZK_TEST(ExhaustsMemory) { throw std::bad_alloc(); }
ZK_TEST(Aborts) { zk_abort("the operator went home"); }
ZK_TEST(Interrupts) { return std::raise(SIGINT) == 0; }
ZK_TEST(InterruptsRun) { return kill(std::getenv("CLI_LIBRARY_PARENT") ? getppid() : getpid(), SIGINT) == 0 && usleep(50000) == 0; }
ZK_TEST(Terminates) { return std::raise(SIGTERM) == 0; }
ZK_TEST(HangsUp) { return std::raise(SIGHUP) == 0; }
ZK_TEST(TakesSignals) { return TakeSignals(); }
ZK_TEST(ChangesFolder) { return chdir("/") == 0; }
ZK_TEST(SpeaksGerman) { return std::setlocale(LC_ALL, "de_DE.UTF-8") && *std::localeconv()->decimal_point == ','; }
ZK_TEST(LogsNumber) { zk_log(3, "half is %.1f", 0.5); return true; }
ZK_TEST(Exits) { std::exit(0); }
ZK_TEST(QuickExits) { std::quick_exit(0); }
ZK_TEST(LeavesChild) { return LeaveChild(); }
ZK_TEST(Forks) { return ForkedExitCode() == 0; }
ZK_TEST(LogsOddBytes) { zk_log(3, "odd \xFF and \033[31mred"); return true; }
ZK_TEST(Hangs) { AwaitInterrupt("hanging"); return true; }
ZK_TEST(HangsTwice) { AwaitInterrupt("hanging"); AwaitInterrupt("still hanging"); return true; }
ZK_TEST(NeverReturns) { for (;;) { AwaitInterrupt("stuck"); } }
ZK_TEST(Rests) { zk_log(3, "resting"); usleep(500000); return true; }
ZK_TEST(Naps) { zk_log(3, "napping"); usleep(50000); return true; }
ZK_TEST(IsRepaired) { return access("repaired", F_OK) == 0; }
ZK_TEST(SupplyVoltage, uint32_t lowest, uint32_t highest) { return zk_measure("supply voltage", 4.95, "V", lowest / 1000.0, highest / 1000.0); }
ZK_TEST(Temperature) { return !zk_measure("temperature", NAN, nullptr, NAN, NAN) && zk_measure("draught", -1e-9, "m/s", NAN, 0); }
// clang-format on
