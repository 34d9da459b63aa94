#include <Orvanta/Node.h>

#include <Orvanta/MakeNode.h>

#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <HostKit/AppState.h>
#include <HostKit/TestSuiteLog.h>

#include <algorithm>
#include <cstdarg>
#include <numeric>
#include <string_view>
#include <utility>

const CFormatInfo CNode::NODE_LOG_FORMAT(ZKColor{59, 59, 59, 255}, ZKColor{255, 255, 255, 0}, 400);
CVariableList* CNode::m_VariableList = nullptr;

namespace
{
CNode* At(const std::vector<CNode*>& nodes, int index)
{
    return index >= 0 && static_cast<std::size_t>(index) < nodes.size() ? nodes[static_cast<std::size_t>(index)]
                                                                        : nullptr;
}
} // namespace

CNode::CNode(const pugi::xml_node& node, CNode* const parent, int level, CLibWrapper* libWrapper)
    : m_Parent(parent)
    , m_Node(node)
    , m_Level(level)
    , m_Indent(qsizetype{2} * level, QLatin1Char(' '))
    , m_LibWrapper(libWrapper)
    , m_Id(RootNode()->m_BuiltCount++)
{
    BuildChildren();
    connect(this, &CNode::UpdateNodeRunState, RootNode(), &CNode::TestSuiteRunStateChanged);
}

CNode::~CNode() = default;

void CNode::BuildChildren()
{
    for (const pugi::xml_node& element : m_Node.children())
    {
        std::unique_ptr<CNode> built = MakeNode(element, this, m_Level);
        CNode* const child = built.get();
        if (child)
        {
            m_Owned.push_back(std::move(built));
        }
        if (std::string_view(element.name()) == "x:Condition")
        {
            m_Condition = child;
        }
        else if (child)
        {
            m_Children.push_back(child);
            if (child->IsSelectable())
            {
                m_SelectableChildren.push_back(child);
                m_SelectableDescendents += 1 + child->m_SelectableDescendents;
                child->m_CountedBy = this;
            }
        }
    }
}

bool CNode::IsValid() const
{
    return true;
}

bool CNode::IsSelectable() const
{
    return false;
}

const std::vector<CNode*>& CNode::DoGetChildren() const
{
    return m_Children;
}

bool CNode::DoExecute(bool)
{
    return true;
}

void CNode::TestSuiteRunStateChanged(ERunState) {}

// ---------------------------------------------------------------------------------------------------------- the tree

const CNode* CNode::RootNode() const
{
    const CNode* node = this;
    while (node->m_Parent)
    {
        node = node->m_Parent;
    }
    return node;
}

CNode* CNode::RootNode()
{
    return const_cast<CNode*>(std::as_const(*this).RootNode());
}

int CNode::ChildCount() const
{
    return static_cast<int>(m_Children.size());
}

CNode* CNode::GetChild(int index) const
{
    return At(m_Children, index);
}

int CNode::SelectableChildCount() const
{
    return static_cast<int>(m_SelectableChildren.size());
}

CNode* CNode::GetSelectableChild(int index) const
{
    return At(m_SelectableChildren, index);
}

int CNode::SelectableIndexFromChild(const CNode* child) const
{
    const auto found = std::find(m_SelectableChildren.begin(), m_SelectableChildren.end(), child);
    return found == m_SelectableChildren.end() ? 0 : static_cast<int>(found - m_SelectableChildren.begin());
}

int CNode::SelectableIndexInParent() const
{
    return m_Parent ? m_Parent->SelectableIndexFromChild(this) : 0;
}

void CNode::CalcFamilyCount()
{
    const std::vector<CNode*>& children = GetChildren();
    m_FamilyCount = std::accumulate(children.begin(), children.end(), std::uint64_t{1},
                                    [](std::uint64_t sum, const CNode* child) { return sum + child->m_FamilyCount; });
}

CLibWrapper* CNode::GetLibWrapper() const
{
    const CNode* node = this;
    while (node && !node->m_LibWrapper)
    {
        node = node->m_Parent;
    }
    return node ? node->m_LibWrapper : nullptr;
}

// ------------------------------------------------------------------------------------------------------- the element

const char* CNode::Attribute(const QString& name) const
{
    return m_Node.attribute(qUtf8Printable(name)).value();
}

QString CNode::AttributeText(const char* name, const char* defaultText) const
{
    return QString::fromUtf8(m_Node.attribute(name).as_string(defaultText));
}

bool CNode::HasAttribute(const QString& name) const
{
    return !m_Node.attribute(qUtf8Printable(name)).empty();
}

bool CNode::Confirm(const QString& name, const QString& expected) const
{
    return AttributeText(qUtf8Printable(name)) == expected;
}

CSafeString CNode::TypeName() const
{
    return m_Node ? m_Node.name() : "<Invalid Node>";
}

pugi::xpath_node_set CNode::RunQuery(const CSafeString& xpath) const
{
    return m_Node ? m_Node.select_nodes(xpath.c_str()) : pugi::xpath_node_set();
}

QString CNode::GetConditionString() const
{
    return QString();
}

QString CNode::GetDiagnosticString() const
{
    return QString::fromUtf8(FormatText("This is a Test Suite Node.  Type: %s.", TypeName().c_str()).c_str());
}

// ------------------------------------------------------------------------------------------- selection and counting

void CNode::SetSelected(bool selected, ESelectOption option)
{
    TellCounters((option & SELECT_NOT_DOWN) ? Mark(selected) : MarkSubtree(selected));
    if (option & SELECT_NOT_UP)
    {
        return;
    }
    for (CNode* ancestor = m_Parent; ancestor; ancestor = ancestor->m_Parent)
    {
        ancestor->TellCounters(ancestor->Mark(ancestor->AllDescendantsChecked()));
    }
}

int CNode::Mark(bool selected)
{
    return (selected ? 1 : 0) - (std::exchange(m_Selected, selected) ? 1 : 0);
}

int CNode::MarkSubtree(bool selected)
{
    int change = 0;
    for (CNode* child : m_SelectableChildren)
    {
        change += child->MarkSubtree(selected);
    }
    m_CheckedDescendents += change;
    return change + Mark(selected);
}

void CNode::TellCounters(int change)
{
    for (CNode* node = m_CountedBy; change != 0 && node; node = node->m_CountedBy)
    {
        node->m_CheckedDescendents += change;
    }
}

void CNode::IncrementRunCount(const CTestLog& log, bool isTest)
{
    for (CNode* node = this; node && node->IsSelectable(); node = node->m_Parent)
    {
        ResultSummary& results = node->m_Results;
        const std::uint32_t aborts = log.AbortCount();
        const std::uint32_t failures = log.FailureCount();
        const std::uint32_t warnings = log.WarningCount();
        ++results.ExecCount;
        if (isTest)
        {
            ++results.RunCount;
            results.AbortCount += aborts != 0;
            results.FailCount += failures != 0;
            results.WarningCount += warnings != 0;
        }
        if (failures != 0 || aborts != 0)
        {
            ++results.FailedExecCount;
        }
        else if (isTest)
        {
            ++results.PassCount;
        }
        CAppState::QtSignaler().UpdateResults();
    }
}

void CNode::ExecutionInit()
{
    m_RunState = RS_NOT_RUN;
    ResetRunCount();
    for (CNode* child : DoGetChildren())
    {
        child->ExecutionInit();
    }
}

// ---------------------------------------------------------------------------------------------------------- running

bool CNode::SatisfiesCondition()
{
    return !m_Condition || m_Condition->SatisfiesCondition();
}

bool CNode::ExecutesUnconditionally() const
{
    if (!IsSelectable() || m_Selected)
    {
        return true;
    }
    for (const CNode* ancestor = m_Parent; ancestor; ancestor = ancestor->m_Parent)
    {
        if (!ancestor->IsSelectable())
        {
            return true;
        }
    }
    return false;
}

bool CNode::SomethingToExecute() const
{
    if (ExecutesUnconditionally())
    {
        return true;
    }
    for (const CNode* child : m_Children)
    {
        if (child->IsSelectable() && child->m_Selected)
        {
            return true;
        }
        if (child->IsSelectable() && child->m_Children.empty())
        {
            return false;
        }
        if (child->SomethingToExecute())
        {
            return true;
        }
    }
    return false;
}

void CNode::SetExecuting(bool executing, ERunState state)
{
    m_Executing = executing;
    m_RunState = state;
    ReportNodeState(m_Id, state);
    Q_EMIT UpdateNodeRunState(state);
    FlushOutput(false);
}

bool CNode::Execute(bool stopOnFail)
{
    BeginStep();
    if (!SatisfiesCondition())
    {
        ReportNodeSkipped(m_Id);
        return true;
    }
    if (!SomethingToExecute())
    {
        return true;
    }
    const auto fail = [this](const char* what)
    {
        ReportNodeLeftByException(m_Id, what);
        SetExecuting(false, RS_FAILED);
    };
    return Guarded(
        [this, stopOnFail]
        {
            SetExecuting(true, RS_EXECUTING);
            const bool result =
                CAppState::ExecutionType() == EXECUTION_DIAGNOSTIC ? DoDiagOnly() : DoExecute(stopOnFail);
            m_DisplayResult = true;
            SetExecuting(false, result ? RS_PASSED : RS_FAILED);
            return result;
        },
        [this](const ZKUserAbort& abort) -> bool
        {
            ReportNodeLeftByAbort(m_Id, abort.what());
            throw;
        },
        [&fail](SOutOfMemory) -> bool
        {
            fail("out of memory");
            throw;
        },
        [&fail](const ZKException& exception) -> bool
        {
            fail(exception.Message());
            throw;
        },
        [&fail](const std::exception& exception) -> bool
        {
            fail(exception.what());
            throw;
        },
        [&fail](SUnknownFailure) -> bool
        {
            fail(nullptr);
            throw;
        });
}

bool CNode::DiagOnly()
{
    return !m_Selected || DoDiagOnly();
}

bool CNode::DoDiagOnly()
{
    LogDefault(TS_NONE, "%s\n", qUtf8Printable(GetDiagnosticString()));
    return true;
}

// -------------------------------------------------------------------------------------------------------- variables

CVariableList& CNode::VariableList()
{
    return const_cast<CVariableList&>(DoGetVariableList());
}

const CVariableList& CNode::DoGetVariableList()
{
    if (!m_VariableList)
    {
        throw ZKParseTreeException("Internal Error: the Variable List for this test suite has not been initialized.");
    }
    return *m_VariableList;
}

CVariable& CNode::GetVariable(const QString& name)
{
    DoGetVariableList();
    return m_VariableList->GetVariable(name);
}

// ---------------------------------------------------------------------------------------------------------- logging

void CNode::LogTrace(const char* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    WriteLog(TS_NONE, LL_TRACE, NODE_LOG_FORMAT,
             FormatFilledV(' ', static_cast<std::size_t>(m_Indent.size()), format, arguments));
}

void CNode::LogPlain(ELogLevel level, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    WriteLog(TS_NONE, level, ZKLogger::GetDefaultFormat(TS_NONE), FormatTextV(format, arguments));
}

void CNode::AddTestLog(std::string_view text, bool isTest, bool isSeparator)
{
    CTestSuiteLog* const log = CAppState::TestSuiteLog();
    if (!log)
    {
        throw ZKRunTimeException("INTERNAL ERROR: NULL test suite log object.");
    }
    log->AddTestLog(text, isTest, isSeparator);
}

void CNode::CountExecution(bool isTest)
{
    if (const CTestLog* const log = CAppState::CurrentTestLog())
    {
        IncrementRunCount(*log, isTest);
    }
}

void CNode::CloseTestLog()
{
    if (CTestLog* const log = CAppState::CurrentTestLog())
    {
        log->Close();
    }
}
