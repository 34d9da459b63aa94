#pragma once

#include <Orvanta/Node.h>

#include <HostKit/AppState.h>

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

class CGroupNode;

/// Where a run is.
enum EFunctionGroupType : std::int32_t
{
    FG_INITIALIZATION = 0,
    FG_TESTS = 1,
    FG_EXIT = 2,
};

/// Tells the host's runtime state, if one is attached, which phase a run is in. `ZKRunTimeException` for any other
/// value.
ORVANTA_EXPORT void SetSuitePhase(EFunctionGroupType phase);

/// The root of a suite's tree: owns the test library's wrapper and the suite's variables, and runs the initialisation
/// group, the test groups in order, and the exit group, which runs even after a failure or the operator's abort. The
/// suite log is told of failed nodes and of the abort, so that it never calls such a run passed. The host owns the
/// root; the document it was built from outlives it.
class ORVANTA_EXPORT CTestSuiteNode : public CNode
{
    Q_OBJECT

public:
    /// Builds the whole tree and makes its variables current. Throws for a suite that cannot be built.
    explicit CTestSuiteNode(const pugi::xml_node& root);
    ~CTestSuiteNode() override;

    bool IsValid() const override;
    bool SomethingToExecute() const override;
    bool IsSelectable() const override;

    QString Name() const;
    int GroupIndexInParent() const { return 0; }

    /// The test library that a root element names, empty when it names none.
    static const char* LibraryName(const pugi::xml_node& root);
    /// The first "x:Variables" child of an element, null when there is none.
    static pugi::xml_node GetVariablesNode(const pugi::xml_node& element);
    /// Refills a list from declarations and makes the suite's own variables current. Throws for a bad declaration, with
    /// no variables current.
    void ResetVariableList(const pugi::xml_node& variables, CVariableList& list);
    /// The same for the suite's own declarations and variables, as every run begins with.
    void ResetVariableList() { ResetVariableList(GetVariablesNode(m_Node), m_SuiteVariables); }
    /// The phase that the run under way, or the last one, has reached.
    EFunctionGroupType Phase() const { return m_Phase; }
    /// Tells the host which mode the suite asks for, when it is not the host's.
    void EmitNodeSettings();

Q_SIGNALS:
    void UpdateExecutionType(ETestSuiteExecutionType);
    void UpdateTestSuiteMode(ETestSuiteMode);
    void UpdateTestSuiteState(ERunState);

protected Q_SLOTS:
    void TestSuiteRunStateChanged(ERunState rs) override;

protected:
    const std::vector<CNode*>& DoGetChildren() const override;
    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

private:
    /// What one run has come to.
    struct SRun
    {
        bool result = false;
        bool lastResult = false;
        std::optional<CSafeString> failure;
    };

    CTestSuiteNode(const pugi::xml_node& root, std::unique_ptr<CLibWrapper> library);

    void ReadModeSetting();
    void FindPhaseGroups();

    bool RunSuite(bool stopOnFail);
    bool OpenTestLibrary();
    void RunGroups(bool stopOnFail, SRun& run);
    void RunGroupsInOrder(bool stopOnFail, SRun& run);
    void RunExitPhase(SRun& run);
    void ReportLoadFailure() const;
    void EnterPhase(EFunctionGroupType phase);

    const std::unique_ptr<CLibWrapper> m_Library;
    ETestSuiteMode m_Mode = MODE_NORMAL;
    bool m_ModeSet = false;
    CVariableList m_SuiteVariables;
    CGroupNode* m_InitGroupNode = nullptr;
    CGroupNode* m_ExitGroupNode = nullptr;
    EFunctionGroupType m_Phase = FG_INITIALIZATION;
};
