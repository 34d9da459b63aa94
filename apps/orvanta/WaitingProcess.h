#pragma once

#include "Interrupt.h"
#include "RunFrontEnd.h"
#include "RunLink.h"
#include "RunPlan.h"
#include "TestOutput.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// The process that waits: forks the one that runs the suites, counts the requests to stop, takes what test code
/// writes, and shows the run through a front end. Whatever becomes of the other process, this one knows the end. The
/// plan and the user's signals outlive it.
class CWaitingProcess : private CFrontEndHost, private CStopReceiver
{
public:
    explicit CWaitingProcess(SRunPlan& plan);
    ~CWaitingProcess() override;
    CWaitingProcess(const CWaitingProcess&) = delete;
    CWaitingProcess& operator=(const CWaitingProcess&) = delete;

    /// Never returns in the process that it forks. Throws `ZKRunTimeException` when the system refuses to fork.
    EExitCode Run();

private:
    using TClock = std::chrono::steady_clock;

    // For the front end.
    bool IsOver() override { return !m_Prompt || m_Prompt->id != m_AskedPrompt; }
    int Descriptor() const override { return m_Inputs; }
    void Serve() override;
    void Answer(const TPromptAnswer& answer) override;
    void NobodyAnswers(std::string_view why) override;
    const SPromptOpenEvent* OpenPrompt() const override { return m_Prompt ? &*m_Prompt : nullptr; }
    void RequestStop() override { RequestStopOf(*this, 0); }
    void Tick() override { WatchTheClock(); }
    bool IsEnded() const override { return m_EndedByUser || !m_KilledFor.empty(); }

    // For signals.
    int CountStop() noexcept override;
    void EndAtOnce(int signal) noexcept override;

    void Fork(const sigset_t& mask);
    void Watch(int file) const;
    void WatchTheClock();
    void TakeRound(bool isLast);
    void ReadEvents();
    void TakeLine(std::string_view line);
    void Tell(const SEvent& event, std::string_view line);
    void TellOfOwn(const TEvent& what);
    void Send(char kind, std::string_view text);
    EExitCode End();
    void Vanished();
    std::string HowItEnded() const;
    EExitCode CheckFiles(EExitCode code);

    SRunPlan& m_Plan;
    SRunLink m_Link;
    CPipe m_Wake; ///< written by signal handlers
    int m_Inputs = -1;
    pid_t m_Child = -1;
    std::optional<int> m_Status; ///< as waited for
    std::unique_ptr<CRunFrontEnd> m_FrontEnd;
    CRunView m_View;
    std::vector<CTestOutput> m_Outputs;
    std::string m_Received;
    std::optional<SPromptOpenEvent> m_Prompt; ///< that waits for its answer
    std::uint64_t m_AskedPrompt = 0;          ///< id of the one that the front end was told of last
    std::optional<EExitCode> m_LastWord;
    TClock::time_point m_Now;
    std::chrono::nanoseconds m_Left{};    ///< for the rest of a run that breaks down
    std::chrono::nanoseconds m_Overdue{}; ///< how long a limit has not taken effect
    std::string m_KilledFor;
    std::set<std::string, std::less<>> m_Errors; ///< that the running process told of
    std::atomic<bool> m_EndedByUser = false;
};
