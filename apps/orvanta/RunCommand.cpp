#include "RunCommand.h"

#include "Answers.h"
#include "EarlyExit.h"
#include "HostSession.h"
#include "Interrupt.h"
#include "LineDialog.h"
#include "OutputNames.h"
#include "Progress.h"
#include "RunVerdict.h"
#include "SuiteLoader.h"
#include "Terminal.h"
#include "TerminalListener.h"
#include "TerminalUserInput.h"

#include <CoreKit/CatchLadder.h>
#include <HostKit/ScriptedUserInput.h>
#include <Orvanta/CallTree.h>
#include <Orvanta/DOMDocTestSuite.h>
#include <Reports/FailedNodes.h>
#include <Reports/HostLogFile.h>
#include <Reports/NodeInfo.h>
#include <Reports/RunMonitor.h>
#include <Reports/RunRecord.h>

#include <chrono>
#include <deque>
#include <optional>

namespace
{
/// Where a run is shown and what it leaves behind, for all suites of the call. The constructor throws
/// `ZKRunTimeException` when a file cannot be written.
struct SOutputs
{
    explicit SOutputs(const SOptions& options)
        : progress(InForce(options.progress, stderr))
        , terminal(stdout, options.logLevel, InForce(options.color, stdout), progress)
    {
        if (options.record)
        {
            record.emplace(*options.record);
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

    void AddTo(CHostListeners& listeners)
    {
        if (record)
        {
            listeners.Add(*record);
        }
        if (log)
        {
            listeners.Add(*log);
        }
        if (savedAnswers)
        {
            listeners.Add(*savedAnswers);
        }
        listeners.Add(terminal);
    }

    void AddTo(CRunMonitor& monitor)
    {
        if (record)
        {
            monitor.Add(*record);
        }
        monitor.Add(progress);
    }

    void SuiteLoaded(const SLoadedSuite& suite)
    {
        if (!record)
        {
            return;
        }
        SSuiteLoad load{suite.file, suite.root != nullptr, {}};
        for (const SProblem& problem : suite.problems)
        {
            load.problems.push_back({problem.line, problem.column, problem.severity, problem.message});
        }
        record->SuiteLoaded(load);
    }

    /// A line of the host's own, for people.
    void Note(const std::string& line)
    {
        terminal.Line(line);
        if (log)
        {
            log->Note(line);
        }
    }

    CProgress progress;
    CTerminalListener terminal;
    std::optional<CRunRecord> record;
    std::optional<CHostLogFile> log;
    std::optional<CSavedAnswers> savedAnswers;
};

/// Who answers the prompts of all suites of the call: the list of answers if there is one, else the operator, else
/// nobody, which aborts the run.
class CPromptDialogs
{
public:
    CPromptDialogs(std::optional<std::deque<SScriptedAnswer>> answers, bool unattended, CProgress& progress)
    {
        if (answers)
        {
            m_Input = std::make_unique<CScriptedUserInput>(std::move(*answers));
        }
        else if (!unattended && CLineDialog::IsPossible())
        {
            m_Input = std::make_unique<CTerminalUserInput>(progress);
        }
        else
        {
            auto nobody = std::make_unique<CScriptedUserInput>();
            nobody->WhenExhausted(
                std::string(unattended ? "the run is unattended (--unattended)" : "there is no terminal") +
                ", and no list of answers (--answers)");
            m_Input = std::move(nobody);
        }
    }

    CUserInput& Input() { return *m_Input; }

private:
    std::unique_ptr<CUserInput> m_Input;
};

/// One suite, from the file to the exit code it stands for. Lives for one run; options and outputs outlive it.
class CSuiteRun
{
public:
    CSuiteRun(const SOptions& options, CHostConfiguration& configuration, SOutputs& outputs, CUserInput& input,
              const std::string& suite);

    EExitCode Run();

private:
    void NoteProblems(CHostLogFile& log) const;
    EExitCode RunLoaded();
    EExitCode CallTree();
    EExitCode Unexpected(const char* what);
    EExitCode Judge(EExitCode ended, bool nothingSelected) const;
    void RecordStart();
    void RecordEnd(EExitCode code);
    void PrintSummary(EExitCode code, std::chrono::steady_clock::duration duration);
    std::string ResultFor(EExitCode code) const;

    const SOptions& m_Options;
    SOutputs& m_Outputs;
    CHostSession m_Session;
    CRunVerdict m_Verdict;
    SLoadedSuite m_Suite;
    std::optional<CCallTree> m_CallTree;
    TEST_STATUS m_Status = TS_NONE;
};

CSuiteRun::CSuiteRun(const SOptions& options, CHostConfiguration& configuration, SOutputs& outputs, CUserInput& input,
                     const std::string& suite)
    : m_Options(options)
    , m_Outputs(outputs)
    , m_Session(options, configuration, input, suite)
    , m_Verdict(m_Session.SuiteLog)
{
    m_Session.Services.Listeners.Add(m_Verdict);
    m_Outputs.AddTo(m_Session.Services.Listeners);
    m_Suite = LoadSuite(suite, options.debug);
}

EExitCode CSuiteRun::Run()
{
    if (m_Suite.root)
    {
        m_Outputs.SuiteLoaded(m_Suite);
        return RunLoaded();
    }
    // The operator gets the problems in a shorter form than the engine's.
    m_Session.Services.Listeners.Remove(m_Outputs.terminal);
    if (m_Suite.state && !m_Suite.state->IsValid())
    {
        m_Suite.state->Activate(nullptr);
    }
    else if (m_Outputs.log)
    {
        NoteProblems(*m_Outputs.log);
    }
    m_Outputs.SuiteLoaded(m_Suite);
    std::fflush(stdout);
    PrintProblems(m_Suite);
    return EExitCode::NotLoaded;
}

/// The engine's report does not cover a suite that is left out or whose tree cannot be built.
void CSuiteRun::NoteProblems(CHostLogFile& log) const
{
    for (const SProblem& problem : m_Suite.problems)
    {
        const std::string line = problem.line == 0 ? "" : ", line " + std::to_string(problem.line);
        log.Note(m_Suite.file + line + ": " + problem.message);
    }
}

EExitCode CSuiteRun::RunLoaded()
{
    const auto begin = std::chrono::steady_clock::now();
    m_Session.SuiteLog.SetHasTestsToRun(m_Suite.state->HasTestFunction());
    std::vector<SDescribedNode> nodes = DescribeTree(*m_Suite.root, *m_Suite.state->Document());
    if (!SelectNodes(m_Suite, nodes, m_Options))
    {
        return EExitCode::NothingRan;
    }
    CRunMonitor monitor(std::move(nodes));
    m_Outputs.AddTo(monitor);
    CFailedNodes failedNodes(m_Suite.file, [this](const std::string& line) { m_Outputs.Note(line); });
    monitor.Add(failedNodes);
    const bool nothingSelected =
        m_Suite.root->SelectableDescendentsCount() > 0 && m_Suite.root->CheckedDescendentsCount() == 0;

    RecordStart();
    const EExitCode ended = CallTree();
    m_Outputs.progress.Clear();
    const EExitCode code = Judge(ended, nothingSelected);
    RecordEnd(code);
    PrintSummary(code, std::chrono::steady_clock::now() - begin);
    return code;
}

EExitCode CSuiteRun::CallTree()
{
    const CEarlyExitGuard guard("a test function ended the process; the last test named above did not return");
    CInterrupt interrupt(m_Session.SuiteLog, *m_Suite.root);
    m_Session.Services.Listeners.Add(interrupt);
    const EExitCode code = Guarded(
        [this]
        {
            m_CallTree.emplace(m_Suite.state.get());
            m_Status = m_CallTree->CallTree();
            return m_CallTree->LockAcquired() ? EExitCode::Passed : EExitCode::LockRefused;
        },
        [this](const ZKUserAbort&)
        {
            m_Status = m_Session.Log.TestStatus(TS_ERROR);
            return EExitCode::Aborted;
        },
        [this](SOutOfMemory) { return Unexpected("out of memory"); },
        [this](const std::exception& exception) { return Unexpected(exception.what()); },
        [this](SUnknownFailure) { return Unexpected("an unknown failure"); });
    m_Session.Services.Listeners.Remove(interrupt);
    return CInterrupt::Happened() ? Graver(code, EExitCode::Aborted) : code;
}

EExitCode CSuiteRun::Unexpected(const char* what)
{
    m_Status = m_Session.Log.TestStatus(TS_ERROR);
    m_Outputs.progress.Clear();
    std::fflush(stdout);
    ReportError(m_Suite.file + ": an unexpected error ended the run: " + what);
    return EExitCode::Unexpected;
}

EExitCode CSuiteRun::Judge(EExitCode ended, bool nothingSelected) const
{
    EExitCode code = m_Session.SuiteLog.SuitePassed() ? EExitCode::Passed : EExitCode::Failed;
    code = Graver(code, nothingSelected ? EExitCode::NothingRan : EExitCode::Passed);
    code = Graver(code, m_Verdict.Aborted() ? EExitCode::Aborted : EExitCode::Passed);
    return Graver(code, ended);
}

void CSuiteRun::RecordStart()
{
    if (!m_Outputs.record)
    {
        return;
    }
    const CDOMDocTestSuite& document = *m_Suite.state->Document();
    const QString name = document.LogName().isEmpty() ? m_Suite.state->TestName() : document.LogName();
    m_Outputs.record->RunStarted({.suite = name.toStdString(),
                                  .file = m_Suite.file,
                                  .library = document.LibFileName().toStdString(),
                                  .executionType = m_Session.Services.ExecutionType,
                                  .mode = m_Session.Services.TestSuiteMode});
}

void CSuiteRun::RecordEnd(EExitCode code)
{
    if (m_Outputs.record)
    {
        m_Outputs.record->RunEnded({.status = m_Status,
                                    .result = m_CallTree ? QString(m_CallTree->ResultText()).toStdString() : "",
                                    .reportName = m_Session.Services.ReportName,
                                    .passed = code == EExitCode::Passed,
                                    .counters = m_Suite.root->Results()});
    }
}

std::string CSuiteRun::ResultFor(EExitCode code) const
{
    switch (code)
    {
    case EExitCode::Unexpected:
        return "ended by an unexpected error";
    case EExitCode::Aborted:
        return "aborted by the operator";
    case EExitCode::NothingRan:
        return "nothing ran, since nothing was selected";
    case EExitCode::LockRefused:
        return m_CallTree->LockError() == QLockFile::LockFailedError
            ? "did not run, since another run holds the execution lock"
            : "did not run, since the execution lock " + GetLockFilePath() + " cannot be written";
    default:
        return QString(m_CallTree->ResultText()).toStdString();
    }
}

void CSuiteRun::PrintSummary(EExitCode code, std::chrono::steady_clock::duration duration)
{
    const ResultSummary& counters = m_Suite.root->Results();
    const std::string counts = std::string(FormatText(
        "%u executed; %u tests: %u passed, %u failed, %u with warnings, %u aborted", counters.ExecCount,
        counters.RunCount, counters.PassCount, counters.FailCount, counters.WarningCount, counters.AbortCount));
    const double seconds = std::chrono::duration<double>(duration).count();
    const std::string time(FormatText("%.3f s", seconds));
    m_Outputs.terminal.Line(m_Suite.file + ": " + ResultFor(code));
    m_Outputs.terminal.Line("  " + counts + "; " + time);
    if (m_Outputs.record)
    {
        m_Outputs.terminal.Line("  record: " + m_Outputs.record->Path());
    }
}

/// An incomplete file is no success, but it does not hide a worse result either.
EExitCode CheckFiles(const SOutputs& outputs, EExitCode code)
{
    const std::string record = outputs.record ? outputs.record->WriteError() : "";
    const std::string log = outputs.log ? outputs.log->WriteError() : "";
    const std::string answers = outputs.savedAnswers ? outputs.savedAnswers->WriteError() : "";
    for (const std::string& error : {record, log, answers})
    {
        if (!error.empty())
        {
            ReportError(error + " (the file is not complete)");
            code = code == EExitCode::Passed ? EExitCode::Usage : code;
        }
    }
    return code;
}
} // namespace

EExitCode RunSuites(const SOptions& options)
{
    const CUserSignals signals;
    std::optional<CHostConfiguration> configuration;
    std::optional<SOutputs> outputs;
    std::optional<CPromptDialogs> dialogs;
    const EExitCode prepared = Guarded(
        [&]
        {
            configuration.emplace(options);
            CheckOutputNames(options, configuration->LockFile());
            // Read before anything is written: they may be saved in the file they are read from.
            std::optional<std::deque<SScriptedAnswer>> answers;
            if (options.answers)
            {
                answers = ReadAnswers(*options.answers);
            }
            outputs.emplace(options);
            dialogs.emplace(std::move(answers), options.unattended, outputs->progress);
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::Run, exception.what()); });
    if (prepared != EExitCode::Passed)
    {
        return prepared;
    }
    EExitCode code = EExitCode::Passed;
    bool aborted = false;
    for (std::size_t index = 0; index < options.suites.size() && !aborted; ++index)
    {
        const std::string& suite = options.suites[index];
        const EExitCode suiteCode = CSuiteRun(options, *configuration, *outputs, dialogs->Input(), suite).Run();
        code = Graver(code, suiteCode);
        aborted = suiteCode == EExitCode::Aborted;
        const std::size_t left = options.suites.size() - index - 1;
        if (aborted && left > 0)
        {
            ReportError("aborted; " + std::to_string(left) + " of the suites named were not run");
        }
    }
    return CheckFiles(*outputs, code);
}
