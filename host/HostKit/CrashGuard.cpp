#include <HostKit/CrashGuard.h>

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>

#include <cstdio>
#include <cstring>
#include <iostream>

#include <cxxabi.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr std::size_t STACK_SIZE = std::size_t{64} * 1024;
constexpr std::array CRASHES{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

CCrashGuard* g_Guard = nullptr;
std::array<struct sigaction, CRASHES.size()> g_CrashesBefore;
struct sigaction g_TimerBefore;
struct sigaction g_StopBefore;

/// A real-time signal that few programs take for themselves.
int TimerSignal()
{
    return SIGRTMAX - 3;
}

std::string SecondsText(std::chrono::milliseconds time)
{
    return std::string(FormatText("%g s", std::chrono::duration<double>(time).count()));
}

void Handle(int signal, void (*handler)(int, siginfo_t*, void*), int blocked, struct sigaction* before)
{
    struct sigaction action
    {
    };
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    if (blocked != 0)
    {
        sigaddset(&action.sa_mask, blocked);
    }
    sigaction(signal, &action, before);
}

void FlushStreams()
{
    std::cout.flush();
    std::clog.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}
} // namespace

CGuardedProcess::~CGuardedProcess() = default;

CCrashGuard::CCrashGuard(const STimeLimits& limits, CGuardedProcess& process)
    : m_Limits(limits)
    , m_Process(process)
    , m_Id(getpid())
    , m_Thread(pthread_self())
    , m_Stack(std::make_unique<char[]>(STACK_SIZE))
{
    if (m_Limits.run)
    {
        m_RunLimitText = "The run reached its time limit of " + SecondsText(*m_Limits.run) + '.';
    }
    stack_t stack{};
    stack.ss_sp = m_Stack.get();
    stack.ss_size = STACK_SIZE;
    sigaltstack(&stack, &m_StackBefore);
    g_Guard = this;
    for (std::size_t i = 0; i < CRASHES.size(); ++i)
    {
        sigaction(CRASHES[i], nullptr, &g_CrashesBefore[i]);
    }
    sigaction(TimerSignal(), nullptr, &g_TimerBefore);
    sigaction(SIGTSTP, nullptr, &g_StopBefore);
    HandleSignals();
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = TimerSignal();
    event._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
    if (timer_create(CLOCK_MONOTONIC, &event, &m_Timer) != 0)
    {
        ThrowFormatted<ZKRunTimeException>("no timer can be made for the time limits: %s", std::strerror(errno));
    }
}

CCrashGuard::~CCrashGuard()
{
    timer_delete(m_Timer);
    for (std::size_t i = 0; i < CRASHES.size(); ++i)
    {
        sigaction(CRASHES[i], &g_CrashesBefore[i], nullptr);
    }
    sigaction(TimerSignal(), &g_TimerBefore, nullptr);
    sigaction(SIGTSTP, &g_StopBefore, nullptr);
    g_Guard = nullptr;
    sigaltstack(&m_StackBefore, nullptr);
}

void CCrashGuard::HandleSignals()
{
    for (const int signal : CRASHES)
    {
        Handle(signal, OnCrash, 0, nullptr);
    }
    Handle(TimerSignal(), OnTimer, 0, nullptr);
    if (g_StopBefore.sa_handler != SIG_IGN && (m_Limits.call || m_Limits.run))
    {
        Handle(SIGTSTP, OnStop, TimerSignal(), nullptr);
    }
}

// ------------------------------------------------------------------------------------------------------- the handlers

CCrashGuard::TTime CCrashGuard::Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now); // safe in a handler
    return std::chrono::seconds(now.tv_sec) + TTime(now.tv_nsec);
}

bool CCrashGuard::IsInTestCode() const
{
    return m_InCall != 0 && m_InService == 0 && pthread_equal(pthread_self(), m_Thread) != 0 && getpid() == m_Id;
}

void CCrashGuard::OnCrash(int signal, siginfo_t* info, void* /*context*/)
{
    CCrashGuard* const guard = g_Guard;
    if (guard && guard->IsInTestCode())
    {
        // What a process sends, by kill or abort, has no address.
        const bool hasAddress = info->si_code > 0 && info->si_code != SI_KERNEL;
        guard->m_Signal = signal;
        guard->m_Address = hasAddress ? std::optional(reinterpret_cast<std::uintptr_t>(info->si_addr)) : std::nullopt;
        guard->Leave();
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void CCrashGuard::Leave()
{
    siglongjmp(m_Return, 1);
}

void CCrashGuard::OnTimer(int /*signal*/, siginfo_t* /*info*/, void* /*context*/)
{
    const int callersError = errno;
    if (g_Guard && getpid() == g_Guard->m_Id)
    {
        g_Guard->ExpireIfDue();
    }
    errno = callersError;
}

void CCrashGuard::ExpireIfDue()
{
    const TTime now = Now();
    const bool isRun = m_RunEnds && now >= *m_RunEnds;
    const bool isCall = m_CallEnds && now >= *m_CallEnds;
    if (!isRun && !isCall)
    {
        Arm(); // the process was stopped meanwhile
        return;
    }
    if (isRun)
    {
        m_RunEnds.reset();
        m_RunIsOver = 1;
    }
    if (m_InCall == 0)
    {
        StopRun(isRun);
        return;
    }
    m_Reached = isRun ? ELimit::Run : ELimit::Call;
    if (IsInTestCode())
    {
        m_Signal = 0;
        Leave();
    }
}

/// The run's own limit ended it outside of test code.
void CCrashGuard::StopRun(bool isRun)
{
    if (isRun && m_Stop)
    {
        m_Process.CallLeft();
        m_Stop->RequestFor(EAbortCause::Limit, m_RunLimitText.c_str());
    }
}

/// Ctrl-Z: stops the process as it would without a handler; the limits do not count that time.
void CCrashGuard::OnStop(int signal, siginfo_t* /*info*/, void* /*context*/)
{
    const int callersError = errno;
    const TTime begin = Now();
    struct sigaction handled
    {
    };
    struct sigaction usual
    {
    };
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &handled);
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, signal);
    std::raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &stops, nullptr); // here it stops
    pthread_sigmask(SIG_BLOCK, &stops, nullptr);
    sigaction(signal, &handled, nullptr);
    if (g_Guard && getpid() == g_Guard->m_Id)
    {
        const TTime stopped = Now() - begin;
        for (std::optional<TTime>* time : {&g_Guard->m_CallEnds, &g_Guard->m_RunEnds, &g_Guard->m_WaitBegan})
        {
            *time = *time ? std::optional(**time + stopped) : std::nullopt;
        }
        g_Guard->Arm();
    }
    errno = callersError;
}

// --------------------------------------------------------------------------------------------------------- the limits

/// Zero: not at all.
void CCrashGuard::SetTimer(TTime time)
{
    itimerspec when{};
    when.it_value.tv_sec = static_cast<time_t>(time / std::chrono::seconds(1));
    when.it_value.tv_nsec = static_cast<long>((time % std::chrono::seconds(1)).count());
    timer_settime(m_Timer, TIMER_ABSTIME, &when, nullptr);
}

void CCrashGuard::Arm()
{
    std::optional<TTime> next = m_CallEnds;
    if (m_RunEnds && !m_WaitBegan)
    {
        next = next ? std::min(*next, *m_RunEnds) : *m_RunEnds;
    }
    SetTimer(next.value_or(TTime(0)));
    m_Process.LimitEndsAt(next);
}

void CCrashGuard::LockAwaited()
{
    m_WaitBegan = Now();
    Arm();
}

void CCrashGuard::LockTaken()
{
    m_Stop = CAppState::Services().Stop;
    if (m_RunEnds && m_WaitBegan)
    {
        *m_RunEnds += Now() - *m_WaitBegan;
    }
    else if (m_Limits.run && !m_RunEnds && m_RunIsOver == 0)
    {
        m_RunEnds = Now() + *m_Limits.run;
    }
    m_WaitBegan.reset();
    Arm();
    // The suite's library may have set its own while it was loaded.
    HandleSignals();
    m_State.Remember();
}

// ----------------------------------------------------------------------------------------------------------- the call

bool CCrashGuard::Call(const QString& function, TCall call, const void* context)
{
    m_Reached = ELimit::None;
    m_HasMovedDescriptors = false;
    if (m_Limits.call)
    {
        m_CallEnds = Now() + *m_Limits.call;
        Arm();
    }
    const auto passOn = [&](const auto&) -> bool
    {
        EndCall(function);
        StopRun(m_Reached == ELimit::Run); // within the service that threw
        throw;
    };
    const bool isReturned = Guarded([&] { return Protect(call, context); }, passOn);
    EndCall(function);
    if (!isReturned)
    {
        ThrowLeft(function);
    }
    return m_Result;
}

/// False when the call was left.
bool CCrashGuard::Protect(TCall call, const void* context)
{
    try
    {
        if (sigsetjmp(m_Return, 0) != 0)
        {
            m_State.PutBackSignals(); // the handler's own is in force still
            return false;
        }
        m_InCall = 1;
        m_Result = call(context);
    }
    catch (const abi::__forced_unwind&)
    {
        // Below is nothing that could go on without its thread.
        if (getpid() == m_Id)
        {
            m_Process.End("a test function ended its thread (pthread_exit)");
        }
        throw;
    }
    return true;
}

void CCrashGuard::EndCall(const QString& function)
{
    m_InCall = 0;
    m_InService = 0;
    if (getpid() != m_Id)
    {
        return;
    }
    if (m_CallEnds)
    {
        m_CallEnds.reset();
        Arm();
    }
    std::string changed = m_State.PutBack();
    FlushStreams(); // to wherever test code has its streams
    m_HasMovedDescriptors = m_Process.PutBackDescriptors(true) || m_HasMovedDescriptors;
    m_Process.SyncOutput();
    if (m_HasMovedDescriptors)
    {
        changed += (changed.empty() ? "" : ", ") + std::string("the descriptors of files");
    }
    if (!changed.empty())
    {
        LogWarning("Test function '" + function.toStdString() + "' changed " + changed + ": put back.");
    }
}

void CCrashGuard::ThrowLeft(const QString& function)
{
    const std::string why = WhyLeft();
    const EAbortCause cause = m_Signal == 0 ? EAbortCause::Limit : EAbortCause::Crash;
    const std::string name = "Test function '" + function.toStdString() + "' ";
    m_LeftText = name + (cause == EAbortCause::Crash ? why + '.' : "reached its " + why + '.');
    m_Process.CallLeft();
    if (m_Stop)
    {
        m_Stop->RequestFor(cause, m_LeftText.c_str());
    }
    throw ZKRunTimeException(why);
}

std::string CCrashGuard::WhyLeft() const
{
    if (m_Signal == 0)
    {
        return m_Reached == ELimit::Run ? "time limit of " + SecondsText(*m_Limits.run) + " for the run"
                                        : "time limit of " + SecondsText(*m_Limits.call);
    }
    const char* const name = sigabbrev_np(m_Signal);
    const std::string address =
        m_Address ? std::string(FormatText(" at address 0x%llx", static_cast<unsigned long long>(*m_Address))) : "";
    return "crashed: SIG" + std::string(name ? name : "?") + address;
}

// -------------------------------------------------------------------------------------------------------- the services

void CCrashGuard::EnterService()
{
    m_InService = 1;
    m_HasMovedDescriptors = m_Process.PutBackDescriptors(false) || m_HasMovedDescriptors;
    FlushStreams();
    m_Process.SyncOutput();
}

void CCrashGuard::LeaveService() noexcept
{
    m_InService = 0;
}

void CCrashGuard::ReturnFromService()
{
    if (m_InCall != 0 && m_Reached != ELimit::None)
    {
        m_Signal = 0;
        Leave();
    }
}
