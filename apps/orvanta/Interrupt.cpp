#include "Interrupt.h"

#include <HostKit/AppState.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UIUpdate.h>
#include <Orvanta/CallTree.h>
#include <Orvanta/TestSuiteNode.h>

#include <array>
#include <atomic>
#include <csignal>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace
{
constexpr int EXIT_GROUP_REQUEST = 2; ///< the one that ends the exit group as well
constexpr int LAST_REQUEST = 3;

std::atomic<CUIUpdate*> g_Update = nullptr;
std::atomic<int> g_Requests = 0;
static_assert(std::atomic<CUIUpdate*>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

/// Tells the operator what a request leads to; safe in a signal handler.
void Acknowledge(std::string_view text)
{
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written);
}

extern "C" void RequestAbort(int signal)
{
    const int request = ++g_Requests;
    if (request == 1)
    {
        Acknowledge("\norvanta: aborting before the next step; once more to cut the exit group short too\n");
    }
    else if (request == EXIT_GROUP_REQUEST)
    {
        Acknowledge("\norvanta: cutting the exit group short; once more to end the process\n");
    }
    if (request >= LAST_REQUEST)
    {
        Acknowledge("\n");
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    if (CUIUpdate* update = g_Update.load())
    {
        update->AbortFunction(true);
    }
    CCallTree::Cancel(true);
}

/// Withdraws the abort that so many requests asked for, now that it has come as far as it goes: what still runs may
/// prompt. A request that arrives meanwhile stands.
void Settle(int requests)
{
    CUIUpdate& update = CUIUpdate::GetUIUpdate();
    update.AbortFunction(false);
    if (g_Requests > requests)
    {
        update.AbortFunction(true);
    }
}

struct SSignal
{
    int number;
    void (*handler)(int); ///< during a run
    struct sigaction users;
};

std::array g_Signals{SSignal{SIGINT, RequestAbort, {}}, SSignal{SIGTERM, RequestAbort, {}},
                     SSignal{SIGPIPE, SIG_IGN, {}}};
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

CInterrupt::CInterrupt(CTestSuiteLog& suiteLog, const CTestSuiteNode& root)
    : m_SuiteLog(suiteLog)
    , m_Root(root)
{
    QObject::connect(&root, &CTestSuiteNode::UpdateTestSuiteState, &m_Connections,
                     [this](ERunState) { m_StateChanged = true; });
    g_Requests = 0;
    g_Update = &CAppState::Services().UIUpdate;
    HandleSignals();
}

CInterrupt::~CInterrupt()
{
    RestoreSignals();
    g_Update = nullptr;
}

bool CInterrupt::Happened()
{
    return g_Requests > 0;
}

void CInterrupt::OutputFlushed(bool complete)
{
    if (!complete)
    {
        HandleSignals();
    }
    const int requests = g_Requests;
    if (requests > 0)
    {
        m_SuiteLog.OperatorAborted();
    }
    if (complete || std::exchange(m_StateChanged, false) || !CAppState::Services().TestSuiteExecuting)
    {
        return;
    }
    const int needed = m_Root.Phase() == FG_EXIT ? EXIT_GROUP_REQUEST : 1;
    if (requests > 0 && requests < needed)
    {
        Settle(requests);
    }
    if (requests >= needed && m_Raised < needed)
    {
        m_Raised = needed;
        RaiseUserAbort("Interrupted by the operator.");
    }
}
