#include "RunCommand.h"

#include "EarlyExit.h"
#include "Interrupt.h"
#include "RunPlan.h"
#include "SetupOf.h"
#include "SuiteRunner.h"
#include "Terminal.h"
#include "TerminalReport.h"
#include "TerminalUserInput.h"
#include "WaitingProcess.h"

#include <CoreKit/CatchLadder.h>
#include <Events/EventJson.h>
#include <HostKit/ScriptedUserInput.h>
#include <Session/Session.h>

#include <csignal>
#include <memory>

namespace
{
/// Passes events on as their record has them, so that a file says the same as one made from a record.
class CAsRecorded : public CEventSink
{
public:
    explicit CAsRecorded(CEventSink& next)
        : m_Next(next)
    {
    }

    void Take(const SEvent& event) override
    {
        m_Line.clear();
        ToJson(event, m_Line);
        if (const SEventLine read = FromJson(m_Line); read.event)
        {
            m_Next.Take(*read.event);
        }
    }
    void HandOver() override { m_Next.HandOver(); }

private:
    CEventSink& m_Next;
    std::string m_Line;
};

/// Runs the suites of a plan in this very process.
class CRunHere : private CRunVoice, private CStopReceiver
{
public:
    explicit CRunHere(SRunPlan& plan);

    EExitCode Run();

private:
    void Error(std::string_view text) override;
    void Line(std::string_view text) override { m_Terminal.Line(text); }
    void SuitesBegun(std::size_t count) override { m_SuitesBegun = count; }
    int CountStop() noexcept override;
    void EndAtOnce(int signal) noexcept override;
    std::string WhereItExited();

    SRunPlan& m_Plan;
    CScriptedUserInput m_Answers;
    CTerminalReport m_Terminal;
    CTerminalUserInput m_Dialogs;
    std::vector<std::unique_ptr<CAsRecorded>> m_Files;
    std::optional<CSession> m_Session;
    std::size_t m_SuitesBegun = 0;
};

CRunHere::CRunHere(SRunPlan& plan)
    : m_Plan(plan)
    , m_Answers(plan.answers)
    , m_Terminal(stdout, stderr, StyleOf(plan.options, plan.answerer == EAnswerer::Terminal))
    , m_Dialogs(m_Terminal.Progress())
{
    SSetup setup = plan.setup;
    if (plan.answerer != EAnswerer::Nobody)
    {
        setup.dialogs = plan.answerer == EAnswerer::List ? static_cast<CUserInput*>(&m_Answers)
                                                         : static_cast<CUserInput*>(&m_Dialogs);
    }
    m_Session.emplace(std::move(setup));
}

EExitCode CRunHere::Run()
{
    SRunFiles& files = m_Plan.files;
    EExitCode code = EExitCode::Passed;
    {
        const CEarlyExitGuard guard([this] { return WhereItExited(); });
        // The first of the sinks, so that the others write with the run's own signal handlers.
        CInterrupt interrupt(*this);
        m_Session->Add(interrupt);
        if (files.record)
        {
            m_Session->Add(*files.record);
        }
        for (CEventSink* const sink : files.Sinks())
        {
            m_Session->Add(*m_Files.emplace_back(std::make_unique<CAsRecorded>(*sink)));
        }
        m_Session->Add(m_Terminal);
        code = CSuiteRunner(m_Plan, *m_Session, *this, m_Plan.answerer == EAnswerer::List ? &m_Answers : nullptr).Run();
    }
    m_Plan.MakeReports(false,
                       [&](const std::string& error)
                       {
                           Error(error);
                           code = Graver(code, EExitCode::Usage);
                       });
    for (const std::string& line : m_Plan.Left())
    {
        if (m_Plan.options.logLevel >= LL_NORMAL && m_SuitesBegun > 0)
        {
            m_Terminal.Line(line);
        }
    }
    if (m_SuitesBegun > 0)
    {
        m_Terminal.Finish();
    }
    for (const std::string& error : files.Errors())
    {
        ReportError(error);
        code = Graver(code, EExitCode::Usage);
    }
    return code;
}

void CRunHere::Error(std::string_view text)
{
    m_Terminal.Progress().Erase();
    ReportError(text);
}

int CRunHere::CountStop() noexcept
{
    m_Session->RequestStop();
    return m_Session->StopRequests();
}

void CRunHere::EndAtOnce(int signal) noexcept
{
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string CRunHere::WhereItExited()
{
    m_Terminal.Progress().Erase();
    const std::string running = m_Terminal.Running();
    return running.empty() ? "a test library ended the process while it was being loaded"
                           : "a test function ended the process: " + running;
}
} // namespace

EExitCode RunSuites(const SOptions& options)
{
    const CUserSignals signals;
    std::optional<SRunPlan> plan;
    const EExitCode prepared = Guarded(
        [&]
        {
            plan.emplace(options);
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::Run, exception.what()); });
    if (prepared != EExitCode::Passed)
    {
        return prepared;
    }
    return options.inProcess ? CRunHere(*plan).Run() : CWaitingProcess(*plan).Run();
}
