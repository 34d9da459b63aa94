#include <zk/test.hpp>

#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Test functions that do what no test function should.

namespace
{
volatile int g_Zero = 0;

__attribute__((noinline)) int Recurse(int depth)
{
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return g_Zero == 0 ? Recurse(depth + 1) + frame[0] : 0;
}

bool Ends(pid_t child)
{
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// Has its output in a file for a while, as a test may that looks at what a library prints.
bool CapturesOutput()
{
    std::FILE* const file = std::tmpfile();
    const int before = dup(STDOUT_FILENO);
    std::fputs("what stands here already", file);
    std::rewind(file);
    dup2(fileno(file), STDOUT_FILENO);
    zk_log(3, "redirected");
    std::printf("captured");
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
    char text[9]{};
    std::rewind(file);
    const bool isCaptured = std::fread(text, 1, 8, file) == 8 && std::strcmp(text, "captured") == 0;
    std::fclose(file);
    return isCaptured;
}

/// The last function that runs of a library may be its destructor.
struct SFarewell
{
    ~SFarewell()
    {
        if (std::getenv("LIBRARY_EXITS_LATE"))
        {
            _exit(0);
        }
    }
} g_Farewell;
} // namespace

// clang-format off
ZK_TEST(Works) { return true; }
ZK_TEST(ReturnsFalse) { return false; }
ZK_TEST(PowersOff) { zk_log(3, "powered off"); return true; }
ZK_TEST(ReadsNull) { *reinterpret_cast<volatile int*>(8) = 1; return true; }
ZK_TEST(Overflows) { return Recurse(0) != 0; }
ZK_TEST(Divides) { feenableexcept(FE_DIVBYZERO); volatile double x = 1; x = x / g_Zero; return x > 0; }
ZK_TEST(BusError) { return std::raise(SIGBUS) == 0; }
ZK_TEST(Illegal) { return std::raise(SIGILL) == 0; }
ZK_TEST(CallsAbort) { std::abort(); }
ZK_TEST(Loops) { for (;;) { g_Zero = 0; } }
ZK_TEST(BlocksAndLoops) { sigset_t all; sigfillset(&all); sigprocmask(SIG_BLOCK, &all, nullptr); for (;;) { g_Zero = 0; } }
ZK_TEST(LogsForEver) { for (;;) { zk_log(6, "still here"); } }
ZK_TEST(AwaitsThenCrashes) { zk_log(3, "awaiting"); usleep(400000); *reinterpret_cast<volatile int*>(8) = 1; return true; }
ZK_TEST(Sleeps) { zk_log(3, "sleeping"); for (unsigned left = 2; left > 0;) { left = sleep(left); } return true; }
ZK_TEST(IgnoresSignals) { for (int s = 1; s < 65; ++s) { std::signal(s, SIG_IGN); } return true; }
ZK_TEST(FlushesToZero) { __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040); return true; }
ZK_TEST(LogsElsewhereAndThrows) { std::thread([] { zk_failure("lost"); }).join(); throw 1; }
ZK_TEST(ForkExits) { std::printf("unended "); const pid_t child = fork(); if (child == 0) { std::exit(0); } return Ends(child); }
ZK_TEST(UnderscoreExits) { _exit(0); }
ZK_TEST(Executes) { execl("/bin/true", "true", nullptr); return true; }
ZK_TEST(BecomesDaemon) { return daemon(1, 1) == 0; }
ZK_TEST(KillsItself) { return kill(getpid(), SIGKILL) == 0; }
ZK_TEST(EndsThread) { pthread_exit(nullptr); }
ZK_TEST(CrashesElsewhere) { std::thread([] { *reinterpret_cast<volatile int*>(8) = 1; }).join(); return true; }
ZK_TEST(LogsElsewhere) { std::thread([] { zk_failure("lost"); zk_log(3, "lost too"); }).join(); return true; }
ZK_TEST(AbortsElsewhere) { std::thread([] { zk_abort("lost"); }).join(); return true; }
ZK_TEST(LeavesThread) { std::thread([] { for (;;) { sleep(1); } }).detach(); return true; }
ZK_TEST(ForkReturns) { const pid_t child = fork(); return child == 0 || Ends(child); }
ZK_TEST(ForkThrows) { const pid_t child = fork(); if (child == 0) { throw 1; } return Ends(child); }
ZK_TEST(ForkLogs) { const pid_t child = fork(); if (child == 0) { zk_failure("lost"); _exit(0); } return Ends(child); }
ZK_TEST(ForkCrashes) { const pid_t child = fork(); if (child == 0) { *reinterpret_cast<volatile int*>(8) = 1; } int status = 0; return waitpid(child, &status, 0) == child && WIFSIGNALED(status); }
ZK_TEST(ClosesAll) { for (int file = 0; file < 1024; ++file) { close(file); } zk_log(3, "all closed"); return true; }
ZK_TEST(ReplacesAll) { for (int file = 0; file < 64; ++file) { close(file); open("/dev/null", O_RDWR); } zk_log(3, "all replaced"); return true; }
ZK_TEST(Redirects) { return CapturesOutput(); }
ZK_TEST(ChangesFolder) { return chdir("/") == 0; }
ZK_TEST(ChangesLocale) { return std::setlocale(LC_ALL, "C.UTF-8") != nullptr; }
ZK_TEST(ChangesMask) { sigset_t all; sigfillset(&all); return sigprocmask(SIG_BLOCK, &all, nullptr) == 0; }
ZK_TEST(ChangesHandler) { return std::signal(SIGSEGV, SIG_IGN) != SIG_ERR && std::signal(SIGINT, SIG_DFL) != SIG_ERR; }
ZK_TEST(ChangesRounding) { return std::fesetround(FE_UPWARD) == 0; }
ZK_TEST(ChangesUmask) { umask(0); return true; }
ZK_TEST(Prints) { std::printf("one\n"); zk_log(3, "two"); std::fputs("three\n", stderr); zk_log(3, "four"); std::printf("five, unended"); return true; }
ZK_TEST(PrintsMuch) { for (int i = 0; i < 20000; ++i) { std::printf("line %d of many\n", i); } return true; }
ZK_TEST(PrintsHalf) { std::printf("\xE2\x82"); std::fflush(stdout); usleep(300000); std::printf("\xAC is a euro\n"); return true; }
ZK_TEST(ReadsStdin) { char byte = 0; return read(0, &byte, 1) == 0; }
ZK_TEST(Dawdles) { zk_log(3, "dawdling"); usleep(20000); return true; }
// clang-format on
