#pragma once

#include <Orvanta/OrvantaExport.h>
#include <Orvanta/VariableList.h>

#include <CoreKit/SafeString.h>
#include <CoreKit/TestStatus.h>
#include <HostKit/FormatInfo.h>
#include <HostKit/LogTypes.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>

#include <QObject>
#include <QString>

#include <pugixml.hpp>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class CLibWrapper;
class CTestLog;

/// How far `SetSelected` reaches, a bit set: by default to the selectable descendants and to the ancestors.
enum ESelectOption : std::uint32_t
{
    SELECT_ALL = 0,
    SELECT_NOT_DOWN = 2,
    SELECT_NOT_UP = 4,
};

/// What was counted at or below a node since the last reset.
struct ResultSummary
{
    std::uint32_t ExecCount = 0;       ///< counted executions
    std::uint32_t FailedExecCount = 0; ///< of these, how many had a failure or an abort in their test log
    std::uint32_t RunCount = 0;        ///< counted executions that are tests
    std::uint32_t PassCount = 0;       ///< tests with neither failures nor aborts
    std::uint32_t WarningCount = 0;    ///< tests with a warning
    std::uint32_t AbortCount = 0;      ///< tests with an abort
    std::uint32_t FailCount = 0;       ///< tests with a failure
};

/// Base of every executable node of a suite: the tree, the operator's selection, counters, run state, and the frame in
/// which a node runs. A parent owns every node built from its element; the host owns the root. Nodes read their
/// elements whenever they need them, so the document outlives its tree. Built, selected and run on one thread.
class ORVANTA_EXPORT CNode : public QObject
{
    Q_OBJECT

public:
    /// Builds the node and, through `MakeNode`, everything below it. Only the root has no parent and may have a library
    /// wrapper, which it keeps. What a child's constructor throws passes through; nothing is left behind.
    CNode(const pugi::xml_node& node, CNode* const parent, int level, CLibWrapper* libWrapper);
    ~CNode() override;

    virtual bool IsValid() const;
    /// Whether the selection leaves anything to run at or below this node.
    virtual bool SomethingToExecute() const;
    /// Evaluates the node's condition, if it has one.
    virtual bool SatisfiesCondition();
    /// Takes the node into a state and emits it.
    virtual void SetExecuting(bool executing, ERunState state);
    virtual QString GetDiagnosticString() const;
    virtual bool IsSelectable() const;

    /// The node's number in its tree, by which the host is told of it.
    TNodeId Id() const { return m_Id; }

    CNode* ParentNode() const { return m_Parent; }
    void ParentNode(CNode* const parent) { m_Parent = parent; }
    const CNode* RootNode() const;
    CNode* RootNode();
    int ChildCount() const;
    /// Null for an index out of range.
    CNode* GetChild(int index) const;
    int SelectableChildCount() const;
    CNode* GetSelectableChild(int index) const;
    /// 0 when the node is no selectable child, or has no parent.
    int SelectableIndexFromChild(const CNode* child) const;
    int SelectableIndexInParent() const;
    /// How many nodes below can be selected, and how many of them are. What is below a node that can't be selected does
    /// not count.
    int SelectableDescendentsCount() const { return m_SelectableDescendents; }
    int CheckedDescendentsCount() const { return m_CheckedDescendents; }
    bool AllDescendantsChecked() const { return m_SelectableDescendents == m_CheckedDescendents; }
    /// Stores 1 plus what the children have stored: call it bottom-up.
    void CalcFamilyCount();
    std::uint64_t FamilyCount() const { return m_FamilyCount; }
    std::uint64_t SelectedCount() const { return m_SelectedCount; }
    /// The wrapper of this node or of its nearest ancestor that has one, else null.
    CLibWrapper* GetLibWrapper() const;
    CLibWrapper* DoGetLibWrapper() const { return m_LibWrapper; }

    const pugi::xml_node& Element() const { return m_Node; }
    /// An attribute's text in UTF-8, empty when it or the element is missing; valid as long as the document.
    const char* Attribute(const QString& name) const;
    /// An attribute's text; `defaultText` when it or the element is missing.
    QString AttributeText(const char* name, const char* defaultText = "") const;
    bool HasAttribute(const QString& name) const;
    bool Confirm(const QString& name, const QString& expected) const;
    CSafeString TypeName() const;

    bool Selected() const { return m_Selected; }
    void SetSelected(bool selected, ESelectOption option);

    ResultSummary& Results() { return m_Results; }
    const ResultSummary& Results() const { return m_Results; }
    std::uint32_t RunCount() const { return m_Results.RunCount; }
    std::uint32_t PassCount() const { return m_Results.PassCount; }
    std::uint32_t FailCount() const { return m_Results.FailCount; }
    std::uint32_t WarningCount() const { return m_Results.WarningCount; }
    std::uint32_t AbortCount() const { return m_Results.AbortCount; }
    bool NodePassed() const { return RunCount() == PassCount(); }
    void ResetRunCount() { m_Results = ResultSummary(); }
    /// Counts one execution, from what its test log counted, at this node and up through its selectable ancestors.
    void IncrementRunCount(const CTestLog& log, bool isTest);

    ERunState RunState() const { return m_RunState; }
    ERunState TestSuiteRunState() const { return RootNode()->m_RunState; }
    bool IsExecuting() const { return m_Executing; }
    bool CanDisplayResult() const { return m_DisplayResult; }
    void SetDisplayResult(bool display) { m_DisplayResult = display; }
    /// Takes the tree from here down to "not run" with counters of 0. Selection and display flags stay.
    void ExecutionInit();
    void AddOutputLoc() {}
    void GotoOutput() {}

    /// Runs the node if its condition holds and the selection leaves something to run; true also when it was skipped.
    /// Exceptions pass through: all but the operator's abort leave the node failed.
    bool Execute(bool stopOnFail);
    /// Lists the node in a diagnostic run, if it is selected.
    bool DiagOnly();

Q_SIGNALS:
    void UpdateNodeRunState(ERunState);

protected Q_SLOTS:
    /// Receives, at the root, the state changes of every node.
    virtual void TestSuiteRunStateChanged(ERunState rs);

protected:
    /// The look of trace lines.
    static const CFormatInfo NODE_LOG_FORMAT;

    virtual const std::vector<CNode*>& DoGetChildren() const;
    virtual bool DoExecute(bool stopOnFail);
    virtual bool DoDiagOnly();

    const std::vector<CNode*>& GetChildren() const { return DoGetChildren(); }
    std::vector<CNode*>& GetChildren() { return const_cast<std::vector<CNode*>&>(DoGetChildren()); }
    const std::vector<CNode*>& DoGetSelectableChildren() const { return m_SelectableChildren; }
    const std::vector<CNode*>& GetSelectableChildren() const { return DoGetSelectableChildren(); }

    bool ExecutesUnconditionally() const;
    /// What `SomethingToExecute` is for nodes whose children never run by themselves.
    bool RunsByItself() const { return ExecutesUnconditionally() || m_Selected; }
    pugi::xpath_node_set RunQuery(const CSafeString& xpath) const;
    QString GetConditionString() const;

    /// The list that the running suite reads; `ZKParseTreeException` before a root has made one current.
    CVariableList& VariableList();
    const CVariableList& VariableList() const { return DoGetVariableList(); }
    static void VariableList(CVariableList* list) { m_VariableList = list; }
    static const CVariableList& DoGetVariableList();
    static CVariable& GetVariable(const QString& name);

    /// The verbs with which nodes log, all printf-style. A trace line, behind the node's indentation.
    void LogTrace(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    /// A line without a status that has a level of its own. The third verb is `LogDefault` (HostKit/Logger.h): a line
    /// at the defaults of a status, so also an error line.
    static void LogPlain(ELogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Opens an entry in the suite log; `ZKRunTimeException` when the host has none.
    static void AddTestLog(std::string_view text, bool isTest, bool isSeparator);
    /// Opens the entry that closes a node's own.
    static void AddSeparator() { AddTestLog("-------", false, true); }
    /// Counts one execution from the current entry of the suite log; without one nothing is counted.
    void CountExecution(bool isTest);
    /// Closes the current entry of the suite log, when memory is exhausted.
    static void CloseTestLog();

    std::vector<CNode*> m_Children;           ///< views, in document order
    std::vector<CNode*> m_SelectableChildren; ///< views
    std::uint64_t m_FamilyCount = 0;
    std::uint64_t m_SelectedCount = 0;
    CNode* m_Parent;
    ResultSummary m_Results;
    bool m_Executing = false;
    bool m_Selected = false;
    ERunState m_RunState = RS_NOT_RUN;
    pugi::xml_node m_Node;
    int m_Level;
    QString m_Indent; ///< two blanks a level
    CNode* m_Condition = nullptr;
    CLibWrapper* m_LibWrapper;
    bool m_DisplayResult = false;

private:
    void BuildChildren();
    /// Select or deselect the node alone, or with everything below. The result is how many more nodes are selected now.
    int Mark(bool selected);
    int MarkSubtree(bool selected);
    /// Adds to the counts of all nodes above that count this one.
    void TellCounters(int change);

    static CVariableList* m_VariableList;

    TNodeId m_BuiltCount = 0; ///< at the root: how many nodes of the tree were built
    TNodeId m_Id;

    std::vector<std::unique_ptr<CNode>> m_Owned; ///< every node built from a child element
    CNode* m_CountedBy = nullptr;                ///< the node whose selectable child this one is
    int m_SelectableDescendents = 0;
    int m_CheckedDescendents = 0;
};
