#include "Interrupt.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string_view>

#include <unistd.h>

namespace
{
constexpr int EXIT_GROUP_REQUEST = 2; ///< the one that ends the exit group as well
constexpr int LAST_REQUEST = 3;

std::atomic<CStopReceiver*> g_Receiver = nullptr;
static_assert(std::atomic<CStopReceiver*>::is_always_lock_free);

/// Tells the operator what a request leads to; safe in a signal handler.
void Acknowledge(std::string_view text)
{
    const int callersError = errno;
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written);
    errno = callersError;
}

extern "C" void OnSignal(int signal)
{
    CStopReceiver* const receiver = g_Receiver.load();
    if (receiver && signal == SIGQUIT)
    {
        receiver->EndAtOnce(signal);
    }
    else if (receiver)
    {
        RequestStopOf(*receiver, signal);
    }
}

struct SSignal
{
    int number;
    void (*handler)(int); ///< during a run
    struct sigaction users;
};

std::array g_Signals{SSignal{SIGINT, OnSignal, {}}, SSignal{SIGTERM, OnSignal, {}}, SSignal{SIGHUP, OnSignal, {}},
                     SSignal{SIGQUIT, OnSignal, {}}, SSignal{SIGPIPE, SIG_IGN, {}}};
sigset_t g_UsersMask;

/// Sets the run's own handlers where others are in place.
void HandleSignals()
{
    sigset_t mask;
    sigemptyset(&mask);
    for (const SSignal& signal : g_Signals)
    {
        struct sigaction action
        {
        };
        sigaction(signal.number, nullptr, &action);
        const auto handler = signal.users.sa_handler == SIG_IGN ? SIG_IGN : signal.handler;
        if (action.sa_handler != handler)
        {
            action = {};
            action.sa_handler = handler;
            // Test functions may be in the middle of a system call; they need not know of the request.
            action.sa_flags = SA_RESTART;
            sigaction(signal.number, &action, nullptr);
        }
        if (sigismember(&g_UsersMask, signal.number) == 0)
        {
            sigaddset(&mask, signal.number);
        }
    }
    pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
}

void RestoreSignals()
{
    for (const SSignal& signal : g_Signals)
    {
        sigaction(signal.number, &signal.users, nullptr);
    }
}
} // namespace

void RequestStopOf(CStopReceiver& receiver, int signal) noexcept
{
    const int request = receiver.CountStop();
    if (request == 1)
    {
        Acknowledge("\norvanta: aborting before the next step; once more to cut the exit group short too\n");
    }
    else if (request == EXIT_GROUP_REQUEST)
    {
        Acknowledge("\norvanta: cutting the exit group short; once more to end the process\n");
    }
    else if (request >= LAST_REQUEST)
    {
        Acknowledge("\n");
        receiver.EndAtOnce(signal);
    }
}

CUserSignals::CUserSignals()
{
    for (SSignal& signal : g_Signals)
    {
        sigaction(signal.number, nullptr, &signal.users);
    }
    pthread_sigmask(SIG_SETMASK, nullptr, &g_UsersMask);
}

CUserSignals::~CUserSignals()
{
    RestoreSignals();
}

CInterrupt::CInterrupt(CStopReceiver& receiver)
{
    g_Receiver = &receiver;
    HandleSignals();
}

CInterrupt::~CInterrupt()
{
    RestoreSignals();
    g_Receiver = nullptr;
}

void CInterrupt::Take(const SEvent& event)
{
    if (std::holds_alternative<SStateEvent>(event.what))
    {
        HandleSignals();
    }
}
