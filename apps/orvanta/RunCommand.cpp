#include "RunCommand.h"

#include "Answers.h"
#include "EarlyExit.h"
#include "Interrupt.h"
#include "LineDialog.h"
#include "OutputNames.h"
#include "SelectedSuite.h"
#include "SetupOf.h"
#include "Terminal.h"
#include "TerminalReport.h"
#include "TerminalUserInput.h"

#include <CoreKit/CatchLadder.h>
#include <HostKit/ScriptedUserInput.h>
#include <Reports/LogFile.h>
#include <Reports/RecordFile.h>
#include <Session/Session.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace
{
/// What the runs of one call leave behind. The constructor throws `ZKRunTimeException` when a file cannot be written.
struct SFiles
{
    explicit SFiles(const SOptions& options)
    {
        if (options.record)
        {
            record.emplace(*options.record, "orvanta");
        }
        if (options.log)
        {
            log.emplace(*options.log);
        }
        if (options.saveAnswers)
        {
            savedAnswers.emplace(*options.saveAnswers);
        }
    }

    void AddTo(CSession& session)
    {
        if (record)
        {
            session.Add(*record);
        }
        if (log)
        {
            session.Add(*log);
        }
        if (savedAnswers)
        {
            session.Add(*savedAnswers);
        }
    }

    /// What kept a file from being complete, for each that is not.
    std::vector<std::string> Errors() const
    {
        std::vector<std::string> errors{record ? record->WriteError() : "", log ? log->WriteError() : "",
                                        savedAnswers ? savedAnswers->WriteError() : ""};
        std::erase(errors, "");
        return errors;
    }

    std::optional<CRecordFile> record;
    std::optional<CLogFile> log;
    std::optional<CSavedAnswers> savedAnswers;
};

/// One call of `run`: its suites one after the other. The constructor reads everything before it opens anything for
/// writing, and throws `ZKRunTimeException` for what is wrong with the files that the options name.
class CRunCommand
{
public:
    explicit CRunCommand(const SOptions& options);

    EExitCode Run();

private:
    EExitCode RunSuite(const SSelectedSuite& selected);
    EExitCode RunLoaded(CSuite& suite);
    EExitCode CheckRest(EExitCode code);

    const SOptions& m_Options;
    std::optional<CScriptedUserInput> m_Answers;
    const bool m_AsksAtTerminal;
    CTerminalReport m_Terminal;
    std::optional<CTerminalUserInput> m_Dialogs;
    std::optional<CSession> m_Session;
    std::optional<CInterrupt> m_Interrupt;
    std::optional<SFiles> m_Files;
};

STerminalStyle StyleOf(const SOptions& options, bool asksAtTerminal)
{
    STerminalStyle style;
    style.level = options.logLevel;
    style.color = InForce(options.color, stdout);
    style.progress = InForce(options.progress, stderr);
    style.showsDialogs = asksAtTerminal;
    return style;
}

CRunCommand::CRunCommand(const SOptions& options)
    : m_Options(options)
    , m_AsksAtTerminal(!options.answers && !options.unattended && CLineDialog::IsPossible())
    , m_Terminal(stdout, stderr, StyleOf(options, m_AsksAtTerminal))
{
    SSetup setup = SetupOf(options);
    if (options.answers)
    {
        m_Answers.emplace(ReadAnswers(*options.answers));
        setup.dialogs = &*m_Answers;
    }
    else if (m_AsksAtTerminal)
    {
        m_Dialogs.emplace(m_Terminal.Progress());
        setup.dialogs = &*m_Dialogs;
    }
    m_Session.emplace(std::move(setup));
    for (const SProblem& problem : m_Session->SettingsProblems())
    {
        WriteErrorLine(ProblemLine(m_Session->Setup().settings, problem));
    }
    CheckOutputNames(options, m_Session->CheckLock());
    m_Files.emplace(options);
    // The first of the sinks, so that the others write with the run's own signal handlers.
    m_Interrupt.emplace(*m_Session);
    m_Session->Add(*m_Interrupt);
    m_Files->AddTo(*m_Session);
    m_Session->Add(m_Terminal);
}

EExitCode CRunCommand::Run()
{
    std::vector<SSelectedSuite> suites = LoadAhead(*m_Session, m_Options.suites, m_Options.selections);
    if (ReportUnmatched(suites, m_Options.selections))
    {
        const bool isWhole = std::all_of(suites.begin(), suites.end(),
                                         [](const SSelectedSuite& suite) { return suite.suite->Loaded(); });
        return isWhole ? EExitCode::NothingRan : EExitCode::NotLoaded;
    }
    EExitCode code = EExitCode::Passed;
    for (std::size_t index = 0; index < m_Options.suites.size(); ++index)
    {
        const EExitCode suiteCode =
            RunSuite(suites.empty() ? LoadSelected(*m_Session, m_Options.suites[index], {}) : std::move(suites[index]));
        code = Graver(code, suiteCode);
        const std::size_t left = m_Options.suites.size() - index - 1;
        if ((suiteCode == EExitCode::Aborted || suiteCode == EExitCode::Unexpected) && left > 0)
        {
            ReportError(std::to_string(left) + (left == 1 ? " further suite was" : " further suites were") +
                        " not run after that");
            break;
        }
    }
    m_Interrupt.reset();
    if (m_Files->record && m_Options.logLevel >= LL_NORMAL)
    {
        m_Terminal.Line("record: " + *m_Options.record);
    }
    m_Terminal.Finish();
    return CheckRest(code);
}

EExitCode CRunCommand::RunSuite(const SSelectedSuite& selected)
{
    CSuite& suite = *selected.suite;
    if (!suite.Loaded())
    {
        return EExitCode::NotLoaded;
    }
    if (IsLeftOut(selected, m_Options.selections))
    {
        m_Terminal.Line(suite.File() + ": no pattern matches here; the suite is not run");
        return EExitCode::Passed;
    }
    return RunLoaded(suite);
}

EExitCode CRunCommand::RunLoaded(CSuite& suite)
{
    const CEarlyExitGuard guard(
        [this]
        {
            m_Terminal.Progress().Erase();
            return "a test function ended the process: " + m_Terminal.Running();
        });
    const SOutcome outcome = m_Session->Run(suite);
    switch (outcome.outcome)
    {
    case EOutcome::Unexpected:
        ReportError(suite.File() + ": an unexpected error ended the run: " + outcome.reason);
        break;
    case EOutcome::LockRefused:
    case EOutcome::LockUnwritable:
        ReportError(suite.File() + ": " + outcome.reason);
        break;
    case EOutcome::NothingRan:
        ReportError(suite.File() + ": nothing ran: " + outcome.reason +
                    (outcome.verdicts.notRun == 0 ? "; choose tests with --select" : ""));
        break;
    default:
        break;
    }
    return ExitCodeOf(outcome.outcome);
}

/// An incomplete file and answers left over are no success, but they do not hide a worse result either.
EExitCode CRunCommand::CheckRest(EExitCode code)
{
    for (const std::string& error : m_Files->Errors())
    {
        ReportError(error + " (the file is not complete)");
        code = Graver(code, EExitCode::Usage);
    }
    if (m_Answers && m_Answers->Left() > 0 && code != EExitCode::Aborted && code != EExitCode::Unexpected)
    {
        ReportError(*m_Options.answers + ": " + std::to_string(m_Answers->Left()) +
                    " of the answers were left over: no prompt asked for them");
        code = Graver(code, EExitCode::Usage);
    }
    return code;
}
} // namespace

EExitCode RunSuites(const SOptions& options)
{
    const CUserSignals signals;
    std::optional<CRunCommand> command;
    const EExitCode prepared = Guarded(
        [&]
        {
            command.emplace(options);
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::Run, exception.what()); });
    return prepared == EExitCode::Passed ? command->Run() : prepared;
}
