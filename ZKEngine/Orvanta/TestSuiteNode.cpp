#include <Orvanta/TestSuiteNode.h>

#include <Orvanta/Element.h>
#include <Orvanta/GroupNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <HostKit/LibWrapper.h>
#include <HostKit/Logger.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UserInput.h>

#include <string_view>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/TestSuiteNode";
constexpr ZKColor RED{255, 0, 0, 255};

std::unique_ptr<CLibWrapper> MakeLibrary(const pugi::xml_node& root)
{
    const CSafeString name(CTestSuiteNode::LibraryName(root));
    return name.empty() ? nullptr : CAppState::MakeLibrary(name);
}

/// What a run leaves to do on every way out.
void Finish()
{
    CAppState::TestSuiteExecuting(false);
    if (CAppState::HelperCreated())
    {
        LogDefault(TS_FAILED,
                   "Internal error: Global helper class not cleaned up by test suite.  Attempting cleanup now...");
        CAppState::RemoveHelper();
    }
}

void LogUnexpectedFailure(EFunctionGroupType phase, const CSafeString& failure)
{
    switch (phase)
    {
    case FG_INITIALIZATION:
        LogDefault(TS_ERROR, "Test suite initialization failed unexpectedly:\n -- %s", failure.c_str());
        break;
    case FG_TESTS:
        LogDefault(TS_ERROR, "Test suite failed unexpectedly:\n -- %s", failure.c_str());
        break;
    case FG_EXIT:
        LogDefault(TS_ERROR, "Test suite cleanup failed unexpectedly:\n -- %s", failure.c_str());
        break;
    }
}
} // namespace

void SetSuitePhase(EFunctionGroupType phase)
{
    if (phase < FG_INITIALIZATION || phase > FG_EXIT)
    {
        ThrowAt<ZKRunTimeException>({SOURCE_FILE, __LINE__, "SetSuitePhase"}, "Unexpected EFunctionGroupType: %d",
                                    phase);
    }
    if (CSuiteRuntimeState* const state = CAppState::SuiteRuntimeState())
    {
        state->CurrentPhase = phase;
    }
}

// The library's wrapper comes before the tree, whose function nodes open the library while they are built.
CTestSuiteNode::CTestSuiteNode(const pugi::xml_node& root, std::unique_ptr<CLibWrapper> library)
    : CNode(root, nullptr, 0, library.get())
    , m_Library(std::move(library))
{
}

// From here on a throw runs the destructor, so that no list stays current that dies with this object.
CTestSuiteNode::CTestSuiteNode(const pugi::xml_node& root)
    : CTestSuiteNode(root, MakeLibrary(root))
{
    ResetVariableList(GetVariablesNode(m_Node), m_SuiteVariables);
    ReadModeSetting();
    FindPhaseGroups();
    SetSelected(CAppState::TestSuiteMode() == MODE_NORMAL, SELECT_ALL);
}

CTestSuiteNode::~CTestSuiteNode()
{
    VariableList(nullptr);
}

void CTestSuiteNode::ReadModeSetting()
{
    if (const CVariable* const setting = m_SuiteVariables.GetConfig(QStringLiteral("DEBUG_MODE")))
    {
        m_ModeSet = true;
        m_Mode = setting->View<bool>() ? MODE_DEBUG : MODE_NORMAL;
    }
}

void CTestSuiteNode::FindPhaseGroups()
{
    for (CNode* child : GetChildren())
    {
        const CSafeString type = child->TypeName();
        if (type == "x:InitGroup")
        {
            m_InitGroupNode = dynamic_cast<CGroupNode*>(child);
        }
        else if (type == "x:ExitGroup")
        {
            m_ExitGroupNode = dynamic_cast<CGroupNode*>(child);
        }
    }
}

bool CTestSuiteNode::IsValid() const
{
    return !m_Node.empty();
}

bool CTestSuiteNode::SomethingToExecute() const
{
    return true;
}

bool CTestSuiteNode::IsSelectable() const
{
    return true;
}

const std::vector<CNode*>& CTestSuiteNode::DoGetChildren() const
{
    return m_Children;
}

QString CTestSuiteNode::Name() const
{
    return AttributeText("name");
}

void CTestSuiteNode::TestSuiteRunStateChanged(ERunState rs)
{
    Q_EMIT UpdateTestSuiteState(rs);
}

const char* CTestSuiteNode::LibraryName(const pugi::xml_node& root)
{
    const pugi::xml_attribute library = root.attribute("library");
    return (library ? library : root.attribute("dll")).value();
}

pugi::xml_node CTestSuiteNode::GetVariablesNode(const pugi::xml_node& element)
{
    return element ? element.select_node("x:Variables").node() : pugi::xml_node();
}

void CTestSuiteNode::ResetVariableList(const pugi::xml_node& variables, CVariableList& list)
{
    VariableList(nullptr);
    list.Clear();
    if (const pugi::xml_node other = AddDeclarations(list, variables))
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CTestSuiteNode::ResetVariableList"},
                                     "Invalid variable type: %s", other.name());
    }
    VariableList(&m_SuiteVariables);
}

void CTestSuiteNode::EmitNodeSettings()
{
    const ETestSuiteMode hostMode = CAppState::TestSuiteMode();
    if (m_ModeSet && m_Mode != hostMode)
    {
        Q_EMIT UpdateTestSuiteMode(m_Mode);
    }
    else if (!m_ModeSet && hostMode != MODE_NORMAL)
    {
        Q_EMIT UpdateTestSuiteMode(MODE_NORMAL);
    }
}

// ------------------------------------------------------------------------------------------------ a diagnostic run

bool CTestSuiteNode::DoDiagOnly()
{
    const auto selectPhaseGroups = [this](bool selected)
    {
        for (CGroupNode* group : {m_InitGroupNode, m_ExitGroupNode})
        {
            if (group)
            {
                group->SetSelected(selected, SELECT_ALL);
            }
        }
    };
    selectPhaseGroups(true);
    bool result = true;
    for (CNode* child : GetChildren())
    {
        result = child->DiagOnly() && result;
    }
    selectPhaseGroups(false);
    return result;
}

// ------------------------------------------------------------------------------------------------------ a real run

bool CTestSuiteNode::DoExecute(bool stopOnFail)
{
    const bool result = Guarded([this, stopOnFail] { return RunSuite(stopOnFail); },
                                [](const auto&) -> bool
                                {
                                    CAppState::SuiteRuntimeState(nullptr);
                                    Finish();
                                    throw;
                                });
    CAppState::SuiteRuntimeState(nullptr);
    Finish();
    return result;
}

bool CTestSuiteNode::RunSuite(bool stopOnFail)
{
    CAppState::SuiteRuntimeState(nullptr);
    CAppState::TestSuiteExecuting(true);
    CAppState::Services().Run.Aborted = false;
    CAppState::Services().Run.InExitGroup = false;
    ExecutionInit();
    ResetVariableList(GetVariablesNode(m_Node), m_SuiteVariables);
    CAppState::UserInput().EnableInput();
    if (!OpenTestLibrary())
    {
        return false;
    }

    m_Phase = FG_INITIALIZATION;
    SRun run;
    RunGroups(stopOnFail, run);
    RunExitPhase(run);
    if (run.failure)
    {
        LogUnexpectedFailure(m_Phase, *run.failure);
    }
    CAppState::UserInput().EnableInput();
    return run.result;
}

bool CTestSuiteNode::OpenTestLibrary()
{
    if (!m_LibWrapper || m_LibWrapper->IsLoaded())
    {
        return true;
    }
    m_LibWrapper->OpenLibrary();
    if (m_LibWrapper->IsLoaded())
    {
        return true;
    }
    ReportLibraryNotOpened();
    ReportLoadFailure();
    return false;
}

void CTestSuiteNode::ReportLoadFailure() const
{
    const CSafeString diagnostic = m_LibWrapper->GetDiagnostic();
    LogDefault(TS_ERROR, "Unable to open test suite Library: %s", MakeLibraryName(LibraryName(m_Node)).c_str());
    const ELogLevel level = ZKLogger::GetDefaultLogVerbosity(TS_FAILED);
    WriteLog(TS_FAILED, level, CFormatInfo(RED, false, 400, false),
             FormatText("Error message: %s", diagnostic.c_str()));

    pugi::xml_node message = m_Node.first_element_by_path("x:LibraryLoadError", '/');
    if (!message)
    {
        message = m_Node.first_element_by_path("x:DllLoadError", '/');
    }
    const CSafeString text = ElementText(message);
    if (!text.empty())
    {
        WriteLog(TS_FAILED, level, CFormatInfo(RED, true, 400, false),
                 FormatText("--------------------------\n%s", text.c_str()));
    }
}

void CTestSuiteNode::RunGroups(bool stopOnFail, SRun& run)
{
    const auto fail = [&run](const char* text)
    {
        run.failure = CSafeString(text);
        run.lastResult = false;
    };
    Guarded(
        [&]
        {
            CAppState::UserInput().EnableInput();
            RunGroupsInOrder(stopOnFail, run);
        },
        [](SOutOfMemory)
        {
            CAppState::UserInput().EnableInput();
            throw;
        },
        [this](const ZKUserAbort& abort)
        {
            ReportAbortSeen(abort.what());
            LogTrace(" - Aborted by user %s.", TypeName().c_str());
        },
        [&fail](const std::exception& exception) { fail(exception.what()); },
        [&fail](SUnknownFailure) { fail("<unknown failure>"); });
}

void CTestSuiteNode::EnterPhase(EFunctionGroupType phase)
{
    m_Phase = phase;
    CAppState::Services().Run.InExitGroup = phase == FG_EXIT;
    SetSuitePhase(phase);
}

void CTestSuiteNode::RunGroupsInOrder(bool stopOnFail, SRun& run)
{
    if (!m_InitGroupNode)
    {
        // Like an empty group: it passes and the host sees its phases, but nothing has been initialised.
        run.lastResult = run.result = true;
        SetSuitePhase(FG_INITIALIZATION);
        SetSuitePhase(FG_TESTS);
    }
    for (CNode* child : GetChildren())
    {
        if (child == m_ExitGroupNode)
        {
            return;
        }
        const bool isInitGroup = child == m_InitGroupNode;
        const bool stopFlag = isInitGroup || stopOnFail;
        if (isInitGroup)
        {
            EnterPhase(FG_INITIALIZATION);
        }
        run.lastResult = run.result = child->Execute(stopFlag);
        if (isInitGroup)
        {
            EnterPhase(FG_TESTS);
            if (!run.lastResult)
            {
                LogDefault(TS_ERROR, "Test Suite Initialization failed.");
            }
        }
        if (stopFlag && !run.lastResult)
        {
            LogDefault(TS_ERROR, "Test Suite Execution failed, and stop on failure was enabled.");
            return;
        }
    }
}

void CTestSuiteNode::RunExitPhase(SRun& run)
{
    const auto fail = [&run](const char* text)
    {
        run.failure = CSafeString(text);
        run.result = false;
    };
    Guarded(
        [&]
        {
            if (run.failure)
            {
                LogUnexpectedFailure(m_Phase, *run.failure);
                LogDefault(TS_FAILED, "Attempting to call cleanup functions.");
            }
            EnterPhase(FG_EXIT);
            run.failure.reset();
            const bool exitResult = !m_ExitGroupNode || m_ExitGroupNode->Execute(true);
            run.result = run.lastResult && exitResult;
        },
        [](SOutOfMemory)
        {
            CAppState::UserInput().EnableInput();
            throw;
        },
        [&fail](const ZKUserAbort& abort)
        {
            ReportAbortSeen(abort.what());
            fail(abort.what());
        },
        [&fail](const std::exception& exception) { fail(exception.what()); },
        [&fail](SUnknownFailure) { fail("<unknown failure>"); });
}
