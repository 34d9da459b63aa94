#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/MakeNode.h>

#include <new>
#include <optional>

namespace
{
/// A node whose run a test decides, with the base's inner side open.
class CProbeNode : public CNode
{
public:
    CProbeNode()
        : CNode(pugi::xml_node(), nullptr, 0, nullptr)
    {
        SetSelected(true, SELECT_ALL);
    }

    bool IsSelectable() const override { return true; }

    using CNode::GetVariable;
    using CNode::m_Condition;
    using CNode::VariableList;

    std::function<bool()> Body = [] { return true; };

protected:
    bool DoExecute(bool) override { return Body(); }
};

/// A condition with a result of its own; without one it throws.
class CProbeCondition : public CBooleanBaseNode
{
public:
    explicit CProbeCondition(std::optional<std::pair<bool, bool>> result)
        : CBooleanBaseNode(pugi::xml_node(), nullptr, 0)
        , m_Result(result)
    {
    }
    std::pair<bool, bool> Calculate() override { return m_Result.value(); }

private:
    std::optional<std::pair<bool, bool>> m_Result;
};

/// How many selectable nodes, or selected ones, are below a node, counted one by one.
int Selectable(const CNode& node, bool selectedOnly)
{
    int count = 0;
    for (int i = 0; i < node.SelectableChildCount(); ++i)
    {
        const CNode& child = *node.GetSelectableChild(i);
        count += (child.Selected() || !selectedOnly ? 1 : 0) + Selectable(child, selectedOnly);
    }
    return count;
}

const char* const TREE = R"(
    <x:InitGroup><x:Function name="Succeed"/></x:InitGroup>
    <x:Group name="A">
        <x:Function name="Succeed"/><x:Function name="Succeed"/>
        <x:Group name="C"><x:Function name="Succeed"/></x:Group>
    </x:Group>
    <x:Group name="B"><x:Function name="Succeed"/></x:Group>
    <x:ExitGroup><x:Function name="Succeed"/></x:ExitGroup>)";
} // namespace

TEST(Node, SelectionReachesDownAndUpAsAsked)
{
    struct SStep
    {
        const char* path;
        bool selected;
        unsigned option;
    };
    const struct
    {
        std::vector<SStep> steps;
        const char* selected;
    } rows[] = {
        {{}, ""},
        {{{"/", true, 0}}, "/ /1 /1/0 /1/1 /1/2 /1/2/0 /2 /2/0"},
        {{{"/1/2/0", true, 0}}, "/1/2 /1/2/0"},
        {{{"/1/0", true, 0}, {"/1/1", true, 0}, {"/1/2", true, 0}}, "/1 /1/0 /1/1 /1/2 /1/2/0"},
        {{{"/1", true, 0}, {"/2", true, 0}}, "/ /1 /1/0 /1/1 /1/2 /1/2/0 /2 /2/0"},
        {{{"/", true, 0}, {"/1/2/0", false, 0}}, "/1/0 /1/1 /2 /2/0"},
        {{{"/", true, 0}, {"/1", false, 2}}, "/1/0 /1/1 /1/2 /1/2/0 /2 /2/0"},
        {{{"/", true, 0}, {"/1/2/0", false, 4}}, "/ /1 /1/0 /1/1 /1/2 /2 /2/0"},
        {{{"/2", true, 4}, {"/1", true, 6}}, "/1 /2 /2/0"},
        {{{"/0", true, 0}}, "/0 /0/0"},
    };
    CRecordingHost host;
    host.Services.Settings.TestSuiteMode = MODE_DEBUG;
    for (const auto& row : rows)
    {
        CLoadedSuite suite(host, TREE);
        for (const SStep& step : row.steps)
        {
            suite.Node(step.path).SetSelected(step.selected, static_cast<ESelectOption>(step.option));
        }
        std::string selected;
        for (const char* path : {"/", "/0", "/0/0", "/1", "/1/0", "/1/1", "/1/2", "/1/2/0", "/2", "/2/0", "/3", "/3/0"})
        {
            const CNode& node = suite.Node(path);
            selected += node.Selected() ? std::string(selected.empty() ? "" : " ") + path : "";
            EXPECT_EQ(node.SelectableDescendentsCount(), Selectable(node, false)) << path << " after " << row.selected;
            EXPECT_EQ(node.CheckedDescendentsCount(), Selectable(node, true)) << path << " after " << row.selected;
        }
        EXPECT_EQ(selected, row.selected);
    }
}

TEST(Node, RunStatesArriveInOrderAndUnselectedNodesAreSkipped)
{
    CRecordingHost host;
    host.Services.Settings.TestSuiteMode = MODE_DEBUG; // nothing is selected
    CLoadedSuite suite(host, TREE, WITH_LIBRARY);
    suite.Node("/1/1").SetSelected(true, SELECT_ALL);
    std::string rootSignals;
    QObject::connect(&suite.Root(), &CTestSuiteNode::UpdateTestSuiteState,
                     [&](ERunState state) { rootSignals += std::to_string(state); });
    host.At("state /", [&] { rootSignals += suite.Node("/3").TestSuiteRunState() == RS_NOT_RUN ? "" : "!"; });
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ("\n" + host.Text(REC_STATE), R"(
state / x:TestSuite 1
state /0 x:InitGroup 1
state /0/0 x:Function 1
state /0/0 x:Function 2
state /0 x:InitGroup 2
state /1 x:Group 1
state /1/1 x:Function 1
state /1/1 x:Function 2
state /1/2 x:Group 1
state /1/2 x:Group 2
state /1 x:Group 2
state /2 x:Group 1
state /2 x:Group 2
state /3 x:ExitGroup 1
state /3/0 x:Function 1
state /3/0 x:Function 2
state /3 x:ExitGroup 2
state / x:TestSuite 2
)");
    EXPECT_EQ(rootSignals, "1!11221121221211222!");
    EXPECT_TRUE(suite.Node("/1/1").CanDisplayResult());
    EXPECT_FALSE(suite.Node("/1/0").CanDisplayResult());
    EXPECT_EQ(suite.Node("/1/0").RunState(), RS_NOT_RUN);
}

TEST(Node, SomethingToExecuteEndsAtAnUnselectedLeaf)
{
    const char* const pair = "<x:Function/><x:Function/>";
    const char* const nested = "<x:Function><x:Function/></x:Function><x:Function/>";
    const std::tuple<const char*, const char*, bool> rows[] = {
        // clang-format off
        {pair, "", false},     {pair, "/0/0", true},   {pair, "/0/1", false}, // not reached
        {nested, "", false},   {nested, "/0/0/0", true}, {nested, "/0/1", true},
        {"<x:InitGroup><x:Function/></x:InitGroup>", "", true}, {"<x:Function/>", "/0", true},
        // clang-format on
    };
    CRecordingHost host;
    host.Services.Settings.TestSuiteMode = MODE_DEBUG;
    for (const auto& [children, selected, expected] : rows)
    {
        CLoadedSuite suite(host, "<x:Function>" + std::string(children) + "</x:Function>", "", false);
        const auto alone = static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP);
        *selected ? suite.Node(selected).SetSelected(true, alone) : void();
        EXPECT_EQ(suite.Node("/0").SomethingToExecute(), expected) << children << selected;
    }
}

TEST(Node, AConditionDecidesBeforeAnythingElse)
{
    const struct
    {
        std::optional<std::pair<bool, bool>> condition;
        const char* outcome;
        ERunState state;
    } rows[] = {
        {std::pair(true, true), "false", RS_FAILED},
        {std::pair(true, false), "true", RS_NOT_RUN},
        {std::pair(false, true), "true", RS_NOT_RUN},
        {std::nullopt, "thrown", RS_NOT_RUN},
    };
    for (const auto& row : rows)
    {
        CRecordingHost host;
        CProbeNode node;
        CProbeCondition condition(row.condition);
        node.m_Condition = &condition;
        node.Body = [] { return false; };
        EXPECT_EQ(Outcome([&] { return node.Execute(true); }), row.outcome);
        EXPECT_EQ(host.Text(REC_ALL),
                  row.state == RS_FAILED ? "flush false\nflush false\nflush false\n" : "flush false\n");
        EXPECT_EQ(node.RunState(), row.state);
        EXPECT_EQ(node.CanDisplayResult(), row.state == RS_FAILED);
    }
}

TEST(Node, HowARunEnds)
{
    const struct
    {
        std::function<bool()> body;
        const char* states;
        const char* outcome;
    } rows[] = {
        {[] { return true; }, "12", "true"},
        {[] { return false; }, "13", "false"},
        {[]() -> bool { throw std::runtime_error("r"); }, "13", "thrown"},
        {[]() -> bool { throw 1; }, "13", "thrown"},
        {[]() -> bool { throw std::bad_alloc(); }, "13", "thrown"},
        {[]() -> bool { throw ZKUserAbort("stop"); }, "1", "thrown"},
    };
    CRecordingHost host;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        CProbeNode node;
        node.Body = row.body;
        std::string states;
        QObject::connect(&node, &CNode::UpdateNodeRunState, [&](ERunState rs) { states += std::to_string(rs); });
        EXPECT_EQ(Outcome([&] { return node.Execute(false); }), row.outcome);
        EXPECT_EQ(states, row.states);
        EXPECT_EQ(node.IsExecuting(), node.RunState() == RS_EXECUTING);
        EXPECT_EQ(node.CanDisplayResult(), row.outcome != std::string("thrown"));
    }
}

TEST(Node, CountsClimbThroughSelectableAncestors)
{
    const struct
    {
        int failures, warnings, aborts;
        bool isTest;
        const char* counters; // Exec FailedExec Run Pass Warning Abort Fail
    } rows[] = {
        {0, 0, 0, true, "1011000"},  {2, 0, 0, true, "1110001"},  {0, 3, 0, true, "1011100"},
        {0, 0, 1, true, "1110010"},  {1, 1, 1, true, "1110111"},  {0, 0, 0, false, "1000000"},
        {1, 1, 0, false, "1100000"}, {0, 1, 2, false, "1100000"},
    };
    CRecordingHost host;
    int updates = 0;
    QObject::connect(&host.Services.OwnSignaler, &CQtSignaler::ResultsUpdated, [&] { ++updates; });
    CLoadedSuite suite(host, R"(<x:InitGroup><x:Group><x:Function/></x:Group></x:InitGroup>
                                <x:Group><x:Function/><x:Function/></x:Group>)",
                       "", false);
    for (const auto& row : rows)
    {
        CTestLog log("log", row.isTest, false);
        for (int count = 0; count < 3; ++count)
        {
            count < row.failures ? log.CountFailure() : void();
            count < row.warnings ? log.CountWarning() : void();
            count < row.aborts ? log.CountAbort() : void();
        }
        suite.Root().ExecutionInit();
        suite.Node("/1/0").IncrementRunCount(log, row.isTest);
        for (const char* path : {"/1/0", "/1", "/"})
        {
            EXPECT_EQ(Counters(suite.Node(path)), row.counters) << path;
        }
        EXPECT_EQ(Counters(suite.Node("/1/1")), "0000000");
        EXPECT_EQ(std::exchange(updates, 0), 3);
        EXPECT_EQ(suite.Root().NodePassed(), !row.isTest || row.failures + row.aborts == 0);
    }
    suite.Root().ExecutionInit();
    const CTestLog passed("log", true, false);
    suite.Node("/0/0/0").IncrementRunCount(passed, true);
    suite.Node("/0").IncrementRunCount(passed, true);
    EXPECT_EQ(updates, 2);
    EXPECT_EQ(Counters(suite.Node("/0/0")), "1011000");
    EXPECT_EQ(Counters(suite.Node("/0")), "0000000");
    EXPECT_EQ(Counters(suite.Root()), "0000000");
}

TEST(Node, VariablesNeedAList)
{
    CProbeNode::VariableList(nullptr);
    const std::string text = "Internal Error: the Variable List for this test suite has not been initialized.";
    EXPECT_EQ(ThrownText<ZKParseTreeException>([] { CProbeNode().VariableList(); }), text);
    EXPECT_EQ(ThrownText<ZKParseTreeException>([] { CProbeNode::GetVariable(QStringLiteral("$x")); }), text);
}

TEST(MakeNode, OtherElementsGetNoNode)
{
    pugi::xml_document document;
    ASSERT_TRUE(
        document.load_string("<r>text<!--comment--><x:Variables/><x:Parameter/><x:Define/><x:Local/><x:Tooltip/>"
                             "<x:LibraryLoadError/><x:DllLoadError/><x:TestSuite/><x:group/><x:Groups/><Group/>"
                             "<x:FUNCTION/></r>"));
    for (const pugi::xml_node& child : document.document_element().children())
    {
        EXPECT_EQ(MakeNode(child, nullptr, 0), nullptr) << child.name();
    }
    EXPECT_EQ(MakeNode(pugi::xml_node(), nullptr, 0), nullptr);
}
