#include <Session/Session.h>

#include <Session/LockInfo.h>
#include <Session/SettingsProblems.h>
#include <Session/SuiteProblems.h>
#include <Session/SuiteState.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Time.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/DocumentSource.h>
#include <HostKit/ReadLibrary.h>
#include <HostKit/ScriptedUserInput.h>
#include <HostKit/StopControl.h>
#include <HostKit/TestCall.h>
#include <HostKit/TestSuiteFilters.h>
#include <Orvanta/CallTree.h>

#include <QFile>
#include <QSysInfo>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <vector>

#include <unistd.h>

namespace
{
constexpr const char* LOCK_FILE_SETTING = "runtime/LockFileName";
constexpr int RUNTIME_SCOPE = 1;

/// Settings that are read and never written: what the engine stores in them is kept in memory.
class CReadSettings : public CAppSettings
{
public:
    using CAppSettings::CAppSettings;

    void SyncSettings() override {}
};

/// Hands every event on to the sinks of a session.
class CSinks : public CEventSink
{
public:
    void Add(CEventSink& sink) { m_Sinks.push_back(&sink); }

    void Take(const SEvent& event) override
    {
        for (CEventSink* sink : m_Sinks)
        {
            sink->Take(event);
        }
    }

    void HandOver() override
    {
        for (CEventSink* sink : m_Sinks)
        {
            sink->HandOver();
        }
    }

private:
    std::vector<CEventSink*> m_Sinks;
};

std::unique_ptr<CAppSettings> MakeSettings(const std::string& path)
{
    return path.empty() ? std::make_unique<CReadSettings>() : std::make_unique<CReadSettings>(path);
}

std::string KnownFilters(const CTestSuiteFilters& filters)
{
    std::string names;
    for (int i = 0; const CFilter* filter = filters.Filter(i); ++i)
    {
        names += (names.empty() ? "" : ", ") + filter->Name().toStdString();
    }
    return names.empty() ? "the settings declare no filters" : "known filters: " + names;
}

int FindFilter(const SSetup& setup, const CAppSettings& settings, const CTestSuiteFilters& filters)
{
    const std::string name = setup.filter ? *setup.filter : settings.SectionValue("filters", "current");
    const int index = filters.IndexOf(QString::fromStdString(name));
    if (index < 0 && (setup.filter || !name.empty()))
    {
        ThrowFormatted<ZKRunTimeException>("unknown filter '%s'%s; %s", name.c_str(),
                                           setup.filter ? "" : " (the current one of the settings)",
                                           KnownFilters(filters).c_str());
    }
    return index;
}

/// Follows the mode that the suite asks for.
void FollowMode(CTestSuiteNode& root)
{
    QObject context;
    QObject::connect(&root, &CTestSuiteNode::UpdateTestSuiteMode, &context,
                     [&root](ETestSuiteMode mode)
                     {
                         CAppState::Services().Settings.TestSuiteMode = mode;
                         root.SetSelected(true, SELECT_ALL);
                     });
    root.EmitNodeSettings();
}

void CollectNodes(CNode& node, std::vector<CNode*>& nodes)
{
    nodes.push_back(&node);
    for (int i = 0; i < node.ChildCount(); ++i)
    {
        CollectNodes(*node.GetChild(i), nodes);
    }
}

/// Who holds the lock, for people.
std::string HolderText(const SLockEvent& lock)
{
    if (!lock.process)
    {
        return "another run holds the execution lock " + lock.file;
    }
    std::string text =
        "process " + std::to_string(*lock.process) + " on " + lock.host + " holds the execution lock " + lock.file;
    if (lock.since)
    {
        text += " since " + std::string(MakeTimeString("%Y-%m-%d %H:%M:%S", *lock.since));
    }
    if (lock.host == QSysInfo::machineHostName().toStdString())
    {
        const bool lives = kill(static_cast<pid_t>(*lock.process), 0) == 0 || errno == EPERM;
        text += lives ? " and still lives" : " and lives no more";
    }
    return text;
}
} // namespace

struct CSession::SState
{
    explicit SState(SSetup sessionSetup);

    std::string Absolute(const std::string& path) const;
    void Equip(CSuite::SState& suite) const;
    void Build(CSuite::SState& suite) const;
    void Load(CSuite::SState& suite);

    SSetup setup;
    std::filesystem::path startFolder; ///< where relative paths begin, whatever test code does
    std::unique_ptr<CAppSettings> settings;
    std::vector<SProblem> settingsProblems;
    ZKCustomConfiguration configuration;
    int currentFilter = -1;
    CScriptedUserInput nobody;
    CStopControl stop;
    CSinks sinks;
    std::shared_ptr<CDOMParser> parser; ///< shared by the suites
};

/// One run of a suite, from its first event to its last.
class CSession::CRun
{
public:
    CRun(SState& session, CSuite& suite)
        : m_Session(session)
        , m_Suite(suite)
        , m_State(*suite.m_State)
    {
    }

    SOutcome Go();

private:
    void Start();
    void CallTree();
    EOutcome Judge() const;
    std::string Explain(EOutcome outcome) const;
    bool NothingSelected() const;
    void Unexpected(const char* what);
    void Refused();
    void End(const SOutcome& outcome);

    SState& m_Session;
    CSuite& m_Suite;
    CSuite::SState& m_State;
    std::optional<CCallTree> m_CallTree;
    TEST_STATUS m_Status = TS_NONE;
    bool m_NothingSelected = false;
    std::uint64_t m_SelectedTests = 0;
    std::optional<EOutcome> m_Ended; ///< how the run ended, when it did not end by itself
    SOutcome m_Outcome;
};

// ----------------------------------------------------------------------------------------------------------- a session

CSession::SState::SState(SSetup sessionSetup)
    : setup(std::move(sessionSetup))
    , settings(MakeSettings(setup.settings))
    , settingsProblems(FindSettingsProblems(setup.settings))
    , stop(setup.stopRequests)
{
    std::error_code ignored; // without a folder to start in, only absolute paths lead anywhere
    startFolder = std::filesystem::current_path(ignored);
    configuration.ReadFilters(*settings);
    currentFilter = FindFilter(setup, *settings, configuration.TestSuiteFilters());
    if (setup.product)
    {
        settings->Override("TestScriptLabel", *setup.product, 0);
    }
    for (std::string& folder : setup.libraryPath)
    {
        folder = Absolute(folder);
    }
    nobody.WhenExhausted(setup.whyNobodyAnswers);
    SHostServices services;
    services.AppSettings = settings.get();
    const CScopedServices installed(services);
    settings->Override(LOCK_FILE_SETTING, Absolute(GetLockFilePath()), RUNTIME_SCOPE);
}

std::string CSession::SState::Absolute(const std::string& path) const
{
    const std::filesystem::path absolute = startFolder / path;
    // Behind a link, the folder above is another one than the text says.
    const bool isPlain = path.find("..") == std::string::npos;
    return (isPlain ? absolute.lexically_normal() : absolute).string();
}

void CSession::SState::Equip(CSuite::SState& suite) const
{
    SHostServices& services = suite.services;
    suite.log.emplace();
    suite.suiteLog.emplace(suite.collector, stop);
    services.Log = &*suite.log;
    services.TestSuiteLog = &*suite.suiteLog;
}

void CSession::SState::Build(CSuite::SState& suite) const
{
    const auto fail = [&suite](const std::string& reason)
    {
        suite.root.reset();
        suite.problems = TreeProblems(*suite.services.Document, reason);
    };
    Guarded(
        [&]
        {
            suite.root = std::make_unique<CTestSuiteNode>(suite.state->Document()->GetRootElement());
            if (!setup.debug)
            {
                FollowMode(*suite.root);
            }
            suite.state->TestSuiteNode(suite.root.get());
            CollectNodes(*suite.root, suite.nodes);
        },
        [&](const ZKException& exception) { fail(exception.Message()); },
        [&](const std::exception& exception) { fail(exception.what()); },
        [&](SUnknownFailure) { fail("the tree cannot be built"); });
}

void CSession::SState::Load(CSuite::SState& suite)
{
    const std::string absolute = Absolute(suite.file);
    const QString path = QFile::decodeName(absolute.c_str());
    SHostServices& services = suite.services;
    services.Document = std::make_shared<CDocumentSource>(path);
    services.Settings.LibraryPath.push_back(std::filesystem::path(absolute).parent_path().string());
    services.Settings.LibraryPath.insert(services.Settings.LibraryPath.end(), setup.libraryPath.begin(),
                                         setup.libraryPath.end());
    const ETestSuiteAccessType access = CDOMDocTestSuite::ShouldLoad(*services.Document);
    suite.problems = DecisionProblems(*services.Document, access);
    if (!suite.problems.empty())
    {
        return;
    }
    suite.state = std::make_unique<TestSuiteState>(path, access);
    suite.state->Initialize();
    suite.state->Activate(nullptr);
    if (suite.state->IsValid())
    {
        Build(suite);
    }
    else
    {
        suite.problems = DocumentProblems(*suite.state, *services.Document);
    }
}

CSession::CSession(SSetup setup)
    : m_State(std::make_unique<SState>(std::move(setup)))
{
}

CSession::~CSession() = default;

std::string CSession::SuiteSchema()
{
    return CDOMParser::SchemaText(CDOMDocTestSuite::GetSchemaName()).toStdString();
}

const SSetup& CSession::Setup() const
{
    return m_State->setup;
}

const std::vector<SProblem>& CSession::SettingsProblems() const
{
    return m_State->settingsProblems;
}

void CSession::Add(CEventSink& sink)
{
    m_State->sinks.Add(sink);
}

std::unique_ptr<CSuite> CSession::LoadSuite(const std::string& file)
{
    auto suite = std::make_unique<CSuite::SState>(file, m_State->sinks);
    SHostServices& services = suite->services;
    services.UserInput = m_State->setup.dialogs ? m_State->setup.dialogs : &m_State->nobody;
    services.AppSettings = m_State->settings.get();
    services.CustomConfiguration = &m_State->configuration;
    services.Parser = m_State->parser;
    services.Stop = &m_State->stop;
    services.Guard = m_State->setup.guard;
    services.MakeLibrary = m_State->setup.readOnly ? MakeReadLibrary : nullptr;
    services.Settings.CurrentFilter = m_State->currentFilter;
    services.Settings.ExecutionType = m_State->setup.executionType;
    services.Settings.TestSuiteMode = m_State->setup.debug ? MODE_DEBUG : MODE_NORMAL;
    services.Settings.LogVerbosity = m_State->setup.logLevel;
    services.Listeners.Add(suite->collector);
    if (services.Guard)
    {
        services.Listeners.Add(*services.Guard);
    }
    const CScopedServices installed(services);
    m_State->Equip(*suite);
    m_State->Load(*suite);
    m_State->parser = services.Parser;
    suite->collector.LoadEnds();
    suite->collector.Emit(SSuiteLoadEvent{file, suite->root != nullptr, suite->problems});
    m_State->sinks.HandOver();
    return std::unique_ptr<CSuite>(new CSuite(std::move(suite)));
}

SOutcome CSession::Run(CSuite& suite)
{
    if (!suite.Loaded())
    {
        SOutcome outcome;
        outcome.outcome = EOutcome::NotLoaded;
        outcome.reason = suite.Problems().empty() ? "" : suite.Problems().front().message;
        return outcome;
    }
    if (m_State->setup.readOnly)
    {
        SOutcome outcome;
        outcome.outcome = EOutcome::NotLoaded;
        outcome.reason = "the suite was loaded for reading only: its test library is not opened";
        return outcome;
    }
    const CScopedServices installed(suite.m_State->services);
    return CRun(*m_State, suite).Go();
}

void CSession::RequestStop() noexcept
{
    m_State->stop.Request();
    CCallTree::Cancel(true);
}

int CSession::StopRequests() const noexcept
{
    return m_State->stop.Requests();
}

std::string CSession::CheckLock() const
{
    std::string path;
    m_State->settings->GetAppSetting(LOCK_FILE_SETTING, path, RUNTIME_SCOPE);
    const std::filesystem::path lock(path);
    const std::string folder = lock.parent_path().string();
    std::error_code ignored;
    const auto refuse = [&path](const std::string& reason)
    { throw ZKRunTimeException("the execution lock " + path + " cannot be written: " + reason); };
    if (!std::filesystem::is_directory(folder, ignored))
    {
        refuse("there is no folder " + folder);
    }
    if (std::filesystem::exists(lock, ignored) && !std::filesystem::is_regular_file(lock, ignored))
    {
        refuse("it is no file");
    }
    std::string trial = folder + "/.orvanta-XXXXXX";
    const int file = mkstemp(trial.data());
    if (file < 0)
    {
        refuse(std::generic_category().message(errno));
    }
    close(file);
    unlink(trial.c_str());
    return path;
}

// --------------------------------------------------------------------------------------------------------------- a run

SOutcome CSession::CRun::Go()
{
    const auto begin = std::chrono::steady_clock::now();
    Start();
    CallTree();
    ReportForeignCalls();
    CStopControl& stop = m_Session.stop;
    if (stop.HasBrokenDown() || (stop.Requests() > 0 && !m_State.collector.Tally().Abort()))
    {
        stop.ReportUnraised("Interrupted by the operator, with nothing left to stop.");
    }
    m_Outcome.outcome = Judge();
    m_State.collector.ReportNotRun();
    m_Outcome.reason = Explain(m_Outcome.outcome);
    m_Outcome.verdicts = m_State.collector.Tally().Counts();
    m_Outcome.result = m_CallTree ? m_CallTree->ResultText().toStdString() : "";
    m_Outcome.duration =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    End(m_Outcome);
    return m_Outcome;
}

void CSession::CRun::Start()
{
    m_Session.Equip(m_State);
    m_Session.stop.NewRun();
    m_State.suiteLog->SetHasTestsToRun(m_State.state->HasTestFunction());
    m_NothingSelected = NothingSelected();
    const SHostSettings& settings = m_State.services.Settings;
    SRunStartEvent start;
    start.suite = m_Suite.Name();
    start.file = m_State.file;
    start.library = m_Suite.Library();
    start.executionType = settings.ExecutionType;
    start.mode = settings.TestSuiteMode;
    start.meta = m_Session.setup.meta;
    m_State.collector.Emit(std::move(start));

    std::vector<SRunNode> nodes;
    std::vector<std::size_t> rows;
    m_State.DescribeRun(nodes, rows);
    for (const SRunNode& node : nodes)
    {
        const SNodeInfo& info = node.info;
        m_SelectedTests += info.test && info.selected ? 1 : 0;
        m_State.collector.Emit(SNodeEvent{info.path, info.element, info.name, info.label, info.line, info.selectable,
                                          info.selected, info.test});
    }
    m_State.collector.RunBegins(std::move(nodes), std::move(rows), settings.ExecutionType != EXECUTION_DIAGNOSTIC);
}

bool CSession::CRun::NothingSelected() const
{
    return m_State.root->SelectableDescendentsCount() > 0 && m_State.root->CheckedDescendentsCount() == 0;
}

void CSession::CRun::CallTree()
{
    Guarded(
        [this]
        {
            // What stands before the root's own start already reads the suite's variables.
            m_State.root->ResetVariableList();
            m_CallTree.emplace(m_State.state.get());
            m_CallTree->StopOnFailure(m_Session.setup.stopOnFailure);
            m_CallTree->LockWait(m_Session.setup.lockWait);
            m_Status = m_CallTree->CallTree();
            if (!m_CallTree->LockAcquired())
            {
                Refused();
            }
        },
        [this](const ZKUserAbort&)
        {
            m_Status = m_State.log->TestStatus(TS_ERROR);
            m_Ended = EOutcome::Aborted;
        },
        [this](SOutOfMemory) { Unexpected("out of memory"); },
        [this](const std::exception& exception) { Unexpected(exception.what()); },
        [this](SUnknownFailure) { Unexpected("an unknown failure"); });
}

void CSession::CRun::Unexpected(const char* what)
{
    m_Status = m_State.log->TestStatus(TS_ERROR);
    m_Ended = EOutcome::Unexpected;
    m_Outcome.reason = what;
}

void CSession::CRun::Refused()
{
    if (m_Session.stop.Requests() > 0)
    {
        ReportAbort(EAbortCause::Operator, "Stopped before the execution lock was free.");
        return;
    }
    const SLockEvent lock = ExecutionLock(ELockState::Refused);
    if (m_CallTree->LockError() != QLockFile::LockFailedError)
    {
        m_Ended = EOutcome::LockUnwritable;
        m_Outcome.reason = "the execution lock " + lock.file + " cannot be written";
        return;
    }
    m_Ended = EOutcome::LockRefused;
    m_Outcome.reason = HolderText(lock);
    m_Outcome.lock = lock;
    m_State.collector.Emit(lock);
}

EOutcome CSession::CRun::Judge() const
{
    const CRunTally& tally = m_State.collector.Tally();
    if (m_Ended == EOutcome::Unexpected || tally.Breakdown())
    {
        return EOutcome::Unexpected;
    }
    if (m_Ended == EOutcome::Aborted || tally.Abort())
    {
        return EOutcome::Aborted;
    }
    if (m_Ended)
    {
        return *m_Ended;
    }
    if (!tally.HasLibrary())
    {
        return EOutcome::NotLoaded;
    }
    if (!m_State.suiteLog->SuitePassed())
    {
        return EOutcome::Failed;
    }
    const bool isNormal = m_State.services.Settings.ExecutionType == EXECUTION_NORMAL;
    const bool noTestRan = isNormal && m_SelectedTests > 0 && tally.Executions() == 0;
    return m_NothingSelected || noTestRan ? EOutcome::NothingRan : EOutcome::Passed;
}

/// What there is to say about an outcome that is neither passed nor failed.
std::string CSession::CRun::Explain(EOutcome outcome) const
{
    const std::optional<SAbortEvent>& abort = m_State.collector.Tally().Abort();
    const std::optional<SAbortEvent>& breakdown = m_State.collector.Tally().Breakdown();
    switch (outcome)
    {
    case EOutcome::NothingRan:
        return m_NothingSelected ? "nothing was selected" : "none of the selected tests was executed";
    case EOutcome::NotLoaded:
        return "the test library \"" + m_Suite.Library() + "\" cannot be opened";
    case EOutcome::Aborted:
        return abort ? abort->text : m_Outcome.reason;
    case EOutcome::Unexpected:
        return breakdown ? breakdown->text : m_Outcome.reason;
    default:
        return m_Outcome.reason;
    }
}

void CSession::CRun::End(const SOutcome& outcome)
{
    const ResultSummary& counters = m_State.root->Results();
    SRunEndEvent end;
    end.status = m_Status;
    end.result = outcome.result;
    end.reportName = m_State.services.Run.ReportName;
    end.passed = outcome.outcome == EOutcome::Passed;
    end.executed = counters.ExecCount;
    end.failedExecutions = counters.FailedExecCount;
    end.tests = counters.RunCount;
    end.passes = counters.PassCount;
    end.warnings = counters.WarningCount;
    end.aborts = counters.AbortCount;
    end.failures = counters.FailCount;
    end.verdicts = outcome.verdicts;
    end.duration = outcome.duration;
    m_State.collector.Emit(std::move(end));
    m_Session.sinks.HandOver();
}
