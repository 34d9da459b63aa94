#pragma once

#include <HostKit/HostKitExport.h>
#include <HostKit/ProcessState.h>
#include <HostKit/TestCall.h>

#include <CoreKit/AbortCause.h>

#include <atomic>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <pthread.h>
#include <time.h>

struct SHostServices;

/// How long test code may take; none: as long as it likes.
struct STimeLimits
{
    std::optional<std::chrono::milliseconds> call; ///< one call of a test function
    std::optional<std::chrono::milliseconds> run;  ///< from the first lock to the last suite's end, waiting aside
};

/// What a process does for its guard, on the thread that runs the suite; `CallLeft`, `ActiveTime` and `LimitEndsAt`
/// also in handlers of signals there.
class HOSTKIT_EXPORT CGuardedProcess
{
public:
    virtual ~CGuardedProcess();

    /// What test code wrote itself has to take its place among the events now.
    virtual void SyncOutput() = 0;
    /// The descriptors that the host relies on, where test code closed or replaced one; false when none was missing.
    /// Within a call test code may have the standard streams elsewhere.
    virtual bool PutBackDescriptors(bool withStandardStreams) = 0;
    /// A call was left: what remains of the run has little time.
    virtual void CallLeft() = 0;
    /// A clock that stands still while the process is stopped, good to a second.
    virtual std::chrono::nanoseconds ActiveTime() const = 0;
    /// When a limit in force ends, on the monotonic clock; none: no limit is.
    virtual void LimitEndsAt(std::optional<std::chrono::nanoseconds> time) = 0;
    /// The process cannot go on.
    [[noreturn]] virtual void End(const std::string& why) = 0;
};

/// Leaves calls of test functions that crash or outlive their limit: the frames in between are dropped without their
/// destructors, and the call ends with an exception. After that the run is stopped. A crash outside of test code, on
/// another thread or inside a service ends the process as if there were no guard; a limit waits for the service to end.
/// Puts back what a call changed in the process. Handles signals of the process while it lives: one at a time, on the
/// thread that runs the suite, in a process that makes no other threads. The owned process outlives it.
class HOSTKIT_EXPORT CCrashGuard : public CTestCallGuard
{
public:
    CCrashGuard(const STimeLimits& limits, CGuardedProcess& process);
    ~CCrashGuard() override;
    CCrashGuard(const CCrashGuard&) = delete;
    CCrashGuard& operator=(const CCrashGuard&) = delete;

    bool Call(const QString& function, TCall call, const void* context) override;
    void EnterService() override;
    void LeaveService() noexcept override;
    void ReturnFromService() override;

    void LockAwaited() override;
    void LockTaken() override;

private:
    using TTime = std::chrono::nanoseconds; ///< on the monotonic clock
    /// A limit in force.
    struct SLimit
    {
        std::atomic<std::int64_t> ends = 0;        ///< nanoseconds, time spent stopped aside; 0: it is not in force
        std::atomic<std::int64_t> began = 0;       ///< on the monotonic clock
        std::atomic<std::int64_t> activeBegan = 0; ///< on the process's own
    };
    enum class ELimit
    {
        None,
        Call,
        Run,
    };

    static void OnCrash(int signal, siginfo_t* info, void* context);
    static void OnTimer(int signal, siginfo_t* info, void* context);
    static TTime Now();

    void HandleSignals();
    bool IsInTestCode() const;
    [[noreturn]] void Leave();
    void ExpireIfDue();
    void SetTimer(TTime time);
    void StopRun();
    void Arm();
    void Begin(SLimit& limit, TTime time);
    TTime Due(const SLimit& limit) const;
    void BreakDown(EAbortCause cause, const char* text);
    void BeginLimit();
    bool Protect(TCall call, const void* context);
    void EndCall(const QString& function);
    [[noreturn]] void ThrowLeft(const QString& function);
    std::string WhyLeft() const;

    const STimeLimits m_Limits;
    CGuardedProcess& m_Process;
    SHostServices* m_Services = nullptr; ///< of the run under way; null: none that can be stopped
    CProcessState m_State;
    const pid_t m_Id;
    const pthread_t m_Thread;
    std::unique_ptr<char[]> m_Stack; ///< where handlers run: the usual one may be exhausted
    stack_t m_StackBefore{};
    timer_t m_Timer{};
    std::string m_RunLimitText;

    // What handlers of signals touch.
    sigjmp_buf m_Return{};
    volatile std::sig_atomic_t m_InCall = 0;
    volatile std::sig_atomic_t m_InService = 0;
    volatile std::sig_atomic_t m_RunIsOver = 0;
    volatile ELimit m_Reached = ELimit::None; ///< during this call
    SLimit m_CallLimit;
    SLimit m_RunLimit;
    std::optional<TTime> m_WaitBegan; ///< for the lock
    int m_Signal = 0;                 ///< why the call was left; 0: a limit
    std::optional<std::uintptr_t> m_Address;
    bool m_Result = false;
    bool m_HasMovedDescriptors = false; ///< during this call
};
