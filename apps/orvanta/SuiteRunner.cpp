#include "SuiteRunner.h"

#include <HostKit/ScriptedUserInput.h>

#include <algorithm>

std::string NotRunText(std::size_t suites)
{
    return std::to_string(suites) + (suites == 1 ? " further suite was" : " further suites were") +
        " not run after that";
}

CSuiteRunner::CSuiteRunner(const SRunPlan& plan, CSession& session, CRunVoice& voice, const CScriptedUserInput* answers)
    : m_Plan(plan)
    , m_Options(plan.options)
    , m_Session(session)
    , m_Voice(voice)
    , m_Answers(answers)
{
}

EExitCode CSuiteRunner::Run()
{
    std::vector<SSelectedSuite> suites = LoadAhead(m_Session, m_Options.suites, m_Options.selections, Again());
    if (ReportUnmatched(suites, m_Options.selections, [this](const std::string& text) { m_Voice.Error(text); }))
    {
        const bool isWhole = std::all_of(suites.begin(), suites.end(),
                                         [](const SSelectedSuite& suite) { return suite.suite->Loaded(); });
        return isWhole ? EExitCode::NothingRan : EExitCode::NotLoaded;
    }
    EExitCode code = RunAll(std::move(suites));
    if (m_NotAgain == m_Options.suites.size())
    {
        m_Voice.Error("nothing ran: everything that was selected in " + *m_Options.rerun + " has passed");
        code = Graver(code, EExitCode::NothingRan);
    }
    return CheckAnswers(code);
}

EExitCode CSuiteRunner::RunAll(std::vector<SSelectedSuite> suites)
{
    EExitCode code = EExitCode::Passed;
    for (std::size_t index = 0; index < m_Options.suites.size(); ++index)
    {
        m_Voice.SuitesBegun(index + 1);
        const EExitCode suiteCode = RunSuite(
            suites.empty() ? LoadSelected(m_Session, m_Options.suites[index], {}, Again()) : std::move(suites[index]));
        code = Graver(code, suiteCode);
        const std::size_t left = m_Options.suites.size() - index - 1;
        if ((suiteCode == EExitCode::Aborted || suiteCode == EExitCode::Unexpected) && left > 0)
        {
            m_Voice.Error(NotRunText(left));
            break;
        }
    }
    return code;
}

EExitCode CSuiteRunner::RunSuite(const SSelectedSuite& selected)
{
    CSuite& suite = *selected.suite;
    if (!suite.Loaded())
    {
        return EExitCode::NotLoaded;
    }
    if (IsLeftOut(selected, m_Options.selections))
    {
        m_Voice.Line(suite.File() + ": no pattern matches here; the suite is not run");
        return EExitCode::Passed;
    }
    if (selected.rerun == ERerun::Passed || selected.rerun == ERerun::LeftOut)
    {
        m_Voice.Line(suite.File() +
                     (selected.rerun == ERerun::Passed ? ": everything passed in " : ": nothing was selected in ") +
                     *m_Options.rerun + "; the suite is not run");
        ++m_NotAgain;
        return EExitCode::Passed;
    }
    if (m_Plan.again && selected.rerun == ERerun::All)
    {
        m_Voice.Line(suite.File() + ": not in " + *m_Options.rerun + "; the suite is run as it stands");
    }
    return RunLoaded(suite);
}

EExitCode CSuiteRunner::RunLoaded(CSuite& suite)
{
    const SOutcome outcome = m_Session.Run(suite);
    switch (outcome.outcome)
    {
    case EOutcome::Unexpected:
        m_Voice.Error(suite.File() + ": an unexpected error ended the run: " + outcome.reason);
        break;
    case EOutcome::LockRefused:
    case EOutcome::LockUnwritable:
        m_Voice.Error(suite.File() + ": " + outcome.reason);
        break;
    case EOutcome::NothingRan:
        m_Voice.Error(suite.File() + ": nothing ran: " + outcome.reason +
                      (outcome.verdicts.notRun == 0 ? "; choose tests with --select" : ""));
        break;
    default:
        break;
    }
    return ExitCodeOf(outcome.outcome);
}

/// Answers left over are no success, but they do not hide a worse result either.
EExitCode CSuiteRunner::CheckAnswers(EExitCode code)
{
    if (m_Answers && m_Answers->Left() > 0 && code != EExitCode::Aborted && code != EExitCode::Unexpected)
    {
        m_Voice.Error(*m_Options.answers + ": " + std::to_string(m_Answers->Left()) +
                      " of the answers were left over: no prompt asked for them");
        code = Graver(code, EExitCode::Usage);
    }
    return code;
}
