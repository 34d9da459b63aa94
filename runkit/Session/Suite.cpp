#include <Session/Suite.h>

#include <Session/AnswersCheck.h>
#include <Session/Selection.h>
#include <Session/SuiteCheck.h>
#include <Session/SuiteProblems.h>
#include <Session/SuiteState.h>

#include <Events/Node.h>
#include <HostKit/DOMDoc.h>
#include <HostKit/DocumentSource.h>
#include <Orvanta/Element.h>
#include <Orvanta/FunctionNode.h>
#include <Orvanta/GroupRecursiveNode.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace
{
/// The nodes of one tree, described on the way from the root down.
class CDescription
{
public:
    CDescription(const CNode& root, const CDOMDoc& document)
        : m_Document(document)
    {
        Describe(root, {}, false);
    }

    std::vector<SNodeInfo> Take() { return std::move(m_Nodes); }

private:
    /// `runsAnyway`: it stands below a node that has no check mark.
    void Describe(const CNode& node, const std::string& path, bool runsAnyway)
    {
        SNodeInfo info;
        info.path = path.empty() ? "/" : path;
        info.element = node.TypeName().c_str();
        info.name = node.Attribute(QStringLiteral("name"));
        info.label = node.Attribute(QStringLiteral("label"));
        info.tooltip = ElementText(node.Element().child("x:Tooltip")).c_str();
        info.line = m_Document.Place(node.Element()).line;
        info.selectable = node.IsSelectable();
        info.checkable = info.selectable && !runsAnyway;
        info.selected = node.Selected() || !info.checkable;
        const auto* const function = dynamic_cast<const CFunctionNode*>(&node);
        info.test = function && function->IsTest();
        m_Nodes.push_back(std::move(info));
        for (int i = 0; i < node.ChildCount(); ++i)
        {
            Describe(*node.GetChild(i), path + '/' + std::to_string(i), runsAnyway || !node.IsSelectable());
        }
    }

    const CDOMDoc& m_Document;
    std::vector<SNodeInfo> m_Nodes;
};

ENodeKind KindOf(const CNode& node)
{
    if (IsExecution(std::string_view(node.TypeName())))
    {
        return ENodeKind::Execution;
    }
    const auto* const group = dynamic_cast<const CGroupRecursiveNode*>(&node);
    return group && group->IsLoop() ? ENodeKind::Loop : ENodeKind::Other;
}
} // namespace

CSuite::CSuite(std::unique_ptr<SState> state)
    : m_State(std::move(state))
{
}

CSuite::~CSuite()
{
    const CScopedServices installed(m_State->services);
    m_State->root.reset();
}

const std::string& CSuite::File() const
{
    return m_State->file;
}

bool CSuite::Loaded() const
{
    return m_State->root != nullptr;
}

const std::vector<SProblem>& CSuite::Problems() const
{
    return m_State->problems;
}

std::string CSuite::Name() const
{
    if (!Loaded())
    {
        return {};
    }
    const QString name = m_State->state->Document()->LogName();
    return (name.isEmpty() ? m_State->state->TestName() : name).toStdString();
}

std::string CSuite::Library() const
{
    return Loaded() ? m_State->state->Document()->LibFileName().toStdString() : std::string();
}

ETestSuiteMode CSuite::Mode() const
{
    return m_State->services.Settings.TestSuiteMode;
}

std::vector<SNodeInfo> CSuite::Nodes() const
{
    return Loaded() ? CDescription(*m_State->root, *m_State->state->Document()).Take() : std::vector<SNodeInfo>();
}

std::vector<std::string> CSuite::Select(const std::vector<SSelection>& selections)
{
    return Loaded() ? ApplySelection(*m_State->root, m_State->nodes, Nodes(), selections) : std::vector<std::string>();
}

std::vector<SProblem> CSuite::Check() const
{
    const CScopedServices installed(m_State->services);
    const CDocumentSource& source = *m_State->services.Document;
    std::vector<SProblem> problems = m_State->problems;
    if (!m_State->state)
    {
        // It was left out before anyone looked whether it is valid.
        TestSuiteState trial(source.Path(), ACCESS_NONE);
        trial.Initialize();
        const std::vector<SProblem> found = trial.IsValid() ? std::vector<SProblem>() : DocumentProblems(trial, source);
        problems.insert(problems.end(), found.begin(), found.end());
    }
    return CheckDocument(source, problems);
}

std::vector<SProblem> CSuite::CheckAnswers(SAnswersAhead& answers) const
{
    const CScopedServices installed(m_State->services);
    return Loaded() ? CheckAnswersAhead(*m_State->services.Document, m_State->nodes, Nodes(), answers)
                    : std::vector<SProblem>();
}

bool CSuite::SelectOnly(const std::function<bool(const SNodeInfo& node)>& isWanted)
{
    return Loaded() && ApplyChoice(*m_State->root, m_State->nodes, Nodes(), isWanted);
}

void CSuite::SState::DescribeRun(std::vector<SRunNode>& table, std::vector<std::size_t>& rows) const
{
    std::vector<SNodeInfo> infos = CDescription(*root, *state->Document()).Take();
    std::map<const CNode*, std::size_t> rowOf;
    for (std::size_t row = 0; row < nodes.size(); ++row)
    {
        const CNode& node = *nodes[row];
        rowOf.emplace(&node, row);
        SRunNode entry;
        entry.info = std::move(infos[row]);
        entry.kind = KindOf(node);
        if (const auto parent = rowOf.find(node.ParentNode()); parent != rowOf.end())
        {
            entry.parent = parent->second;
        }
        table.push_back(std::move(entry));
        rows.resize(std::max<std::size_t>(rows.size(), node.Id() + 1));
        rows[node.Id()] = row;
    }
}
