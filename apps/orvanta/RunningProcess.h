#pragma once

#include "KeptDescriptors.h"
#include "RunLink.h"
#include "RunPlan.h"
#include "RunVoice.h"

#include <Events/EventSink.h>
#include <HostKit/CrashGuard.h>
#include <HostKit/UserInput.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <termios.h>

/// The forked process, which runs the suites: passes the events on to the one that waits, tells it which node runs, and
/// gets answers from it. Every node that runs and every descriptor it needs is known there, so that nothing depends on
/// how this process ends. The link and the plan outlive it.
class CRunningProcess : public CEventSink, public CRunVoice, public CGuardedProcess
{
public:
    CRunningProcess(SRunLink& link, SRunPlan& plan, pid_t waiting);
    ~CRunningProcess() override;
    CRunningProcess(const CRunningProcess&) = delete;
    CRunningProcess& operator=(const CRunningProcess&) = delete;

    void Take(const SEvent& event) override;
    void HandOver() override;

    void Error(std::string_view text) override;
    void Line(std::string_view text) override;
    void SuitesBegun(std::size_t count) override;
    /// Only now the way in which the process ends says nothing any more.
    void LastWord(EExitCode code);

    void SyncOutput() override;
    bool PutBackDescriptors(bool withStandardStreams) override;
    void CallLeft() override;
    std::chrono::nanoseconds ActiveTime() const override;
    void LimitEndsAt(std::optional<std::chrono::nanoseconds> time) override;
    [[noreturn]] void End(const std::string& why) override;

    /// Waits for a line about the open prompt, with the signals let through that `mask` lets; none when one came. When
    /// the waiting process is gone, restores the terminal and ends.
    std::optional<std::string> ReadLine(const sigset_t& mask);
    std::uint64_t OpenPrompt() const { return m_Prompt; }

private:
    bool IsWanted(const SEvent& event) const;
    void Follow(const SEvent& event);
    void Follow(const SStateEvent& state);
    void Say(char kind, std::string_view text);
    bool IsOutputPending() const;
    [[noreturn]] void EndOrphaned();

    SRunLink& m_Link;
    const SRunPlan& m_Plan;
    const pid_t m_Waiting;
    CKeptDescriptors m_Descriptors;
    int m_Events;
    int m_Answers;
    int m_Output; ///< the pipes of the standard streams, wherever test code has these
    int m_Errors;
    std::string m_Gathered;
    std::chrono::system_clock::time_point m_HandedOver;
    struct SRunning
    {
        std::string path;
        std::string place; ///< path, line and name, a line each
    };

    std::vector<SRunning> m_Running; ///< from the root inwards
    std::uint64_t m_Prompt = 0;      ///< the id of the one that was opened last
    std::string m_Received;          ///< of lines to come
    int m_Terminal = -1;
    termios m_TerminalMode{};
};

/// The dialogs of the running process: the waiting one asks.
class CRelayedUserInput : public CUserInput
{
public:
    explicit CRelayedUserInput(CRunningProcess& process);

protected:
    TPromptAnswer Ask(const SPrompt& prompt) override;

private:
    std::optional<TPromptAnswer> Read(const SPrompt& prompt, std::string_view line) const;

    CRunningProcess& m_Process;
};

/// What a forked process has to know of the one that waits.
struct SWaiting
{
    pid_t process;
    sigset_t mask; ///< the signals that it had blocked before
};

/// Runs the suites of a plan in the forked process, which it ends.
[[noreturn]] void RunForked(SRunLink& link, SRunPlan& plan, const SWaiting& waiting);
