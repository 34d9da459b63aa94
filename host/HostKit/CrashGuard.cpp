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

/// A real-time signal that few programs take for themselves.
int TimerSignal()
{
    return SIGRTMAX - 3;
}

/// The signals whose handlers belong to the host.
std::vector<int> HandledSignals()
{
    std::vector<int> signals(CRASHES.begin(), CRASHES.end());
    signals.insert(signals.end(), {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGTSTP, TimerSignal()});
    return signals;
}

void FlushStreams()
{
    std::cout.flush();
    std::clog.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}

/// A process that test code forks is not to write again what is gathered here.
void FlushBeforeFork()
{
    if (g_Guard)
    {
        FlushStreams();
    }
}

std::string SecondsText(std::chrono::milliseconds time)
{
    return std::string(FormatText("%g s", std::chrono::duration<double>(time).count()));
}

void Handle(int signal, void (*handler)(int, siginfo_t*, void*))
{
    struct sigaction action
    {
    };
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}
} // namespace

CGuardedProcess::~CGuardedProcess() = default;

CCrashGuard::CCrashGuard(const STimeLimits& limits, CGuardedProcess& process)
    : m_Limits(limits)
    , m_Process(process)
    , m_State(HandledSignals())
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
    HandleSignals();
    static const bool isFlushed = pthread_atfork(FlushBeforeFork, nullptr, nullptr) == 0;
    static_cast<void>(isFlushed);
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
    g_Guard = nullptr;
    sigaltstack(&m_StackBefore, nullptr);
}

void CCrashGuard::HandleSignals()
{
    for (const int signal : CRASHES)
    {
        Handle(signal, OnCrash);
    }
    Handle(TimerSignal(), OnTimer);
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
    m_Process.CallLeft(); // now: what was torn apart may keep the rest from going on
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
    const bool isRun = m_RunLimit.ends != 0 && !m_WaitBegan && now >= Due(m_RunLimit);
    const bool isCall = m_CallLimit.ends != 0 && now >= Due(m_CallLimit);
    if (!isRun && !isCall)
    {
        Arm(); // the process was stopped meanwhile
        return;
    }
    if (isRun)
    {
        m_RunLimit.ends = 0;
        m_RunIsOver = 1;
    }
    if (m_InCall == 0)
    {
        if (isRun)
        {
            StopRun();
        }
        return;
    }
    m_Reached = isRun ? ELimit::Run : ELimit::Call;
    if (IsInTestCode())
    {
        m_Signal = 0;
        Leave();
    }
}

/// The run's own limit ends it outside of test code.
void CCrashGuard::StopRun()
{
    m_Process.CallLeft();
    BreakDown(EAbortCause::Limit, m_RunLimitText.c_str());
}

void CCrashGuard::BreakDown(EAbortCause cause, const char* text)
{
    if (m_Services)
    {
        m_Services->Stop->BreakDown(cause, text, m_Services->Run.InExitGroup);
    }
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

void CCrashGuard::Begin(SLimit& limit, TTime time)
{
    limit.began = Now().count();
    limit.activeBegan = m_Process.ActiveTime().count();
    limit.ends = limit.began + time.count();
}

/// When a limit ends, with the time that the process was stopped on top.
CCrashGuard::TTime CCrashGuard::Due(const SLimit& limit) const
{
    constexpr TTime UNCERTAIN = std::chrono::milliseconds(1500);
    const TTime stopped = Now() - TTime(limit.began) - (m_Process.ActiveTime() - TTime(limit.activeBegan));
    return TTime(limit.ends) + (stopped > UNCERTAIN ? stopped : TTime(0));
}

void CCrashGuard::Arm()
{
    const bool hasRun = m_RunLimit.ends != 0 && !m_WaitBegan;
    std::optional<TTime> next = m_CallLimit.ends != 0 ? std::optional(Due(m_CallLimit)) : std::nullopt;
    if (hasRun)
    {
        next = next ? std::min(*next, Due(m_RunLimit)) : Due(m_RunLimit);
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
    SHostServices& services = CAppState::Services();
    m_Services = services.Stop ? &services : nullptr;
    if (m_RunLimit.ends != 0 && m_WaitBegan)
    {
        m_RunLimit.ends += (Now() - *m_WaitBegan).count();
    }
    else if (m_Limits.run && m_RunLimit.ends == 0 && m_RunIsOver == 0)
    {
        Begin(m_RunLimit, *m_Limits.run);
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
    const auto passOn = [&](const auto&) -> bool
    {
        EndCall(function);
        if (m_Reached == ELimit::Run) // within the service that threw
        {
            StopRun();
        }
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

/// False when the call was left. While `m_InCall` is set, this frame lives.
bool CCrashGuard::Protect(TCall call, const void* context)
{
    try
    {
        if (sigsetjmp(m_Return, 0) != 0)
        {
            m_InCall = 0;
            m_State.PutBackSignals(); // the handler's own is in force still
            return false;
        }
        m_InCall = 1;
        BeginLimit();
        m_Result = call(context);
        m_InCall = 0;
    }
    catch (const abi::__forced_unwind&)
    {
        m_InCall = 0;
        // Below is nothing that could go on without its thread.
        if (getpid() == m_Id)
        {
            m_Process.End("a test function ended its thread (pthread_exit)");
        }
        throw;
    }
    catch (...)
    {
        m_InCall = 0;
        throw;
    }
    return true;
}

/// Not before the call can be left: a limit that ends before would have nothing to end.
void CCrashGuard::BeginLimit()
{
    if (m_RunIsOver != 0 && m_Services && m_Services->Stop->IsBreakdownDue(m_Services->Run.InExitGroup))
    {
        m_Reached = ELimit::Run;
        m_Signal = 0;
        Leave();
    }
    if (m_Limits.call)
    {
        Begin(m_CallLimit, *m_Limits.call);
        Arm();
    }
}

void CCrashGuard::EndCall(const QString& function)
{
    m_InService = 0;
    if (getpid() != m_Id)
    {
        return;
    }
    if (m_CallLimit.ends != 0)
    {
        m_CallLimit.ends = 0;
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
    BreakDown(cause, (name + (cause == EAbortCause::Crash ? why + '.' : "reached its " + why + '.')).c_str());
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
