#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/MakeNode.h>

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <sstream>

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

    using CNode::DoGetVariableList;
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

const char* const TREE = R"(
    <x:InitGroup><x:Function name="Succeed"/></x:InitGroup>
    <x:Group name="A">
        <x:Function name="Succeed"/><x:Function name="Succeed"/>
        <x:Group name="C"><x:Function name="Succeed"/></x:Group>
    </x:Group>
    <x:Group name="B"><x:Function name="Succeed"/></x:Group>
    <x:ExitGroup><x:Function name="Succeed"/></x:ExitGroup>)";

std::string Counters(const CNode& node)
{
    const ResultSummary& r = node.Results();
    std::ostringstream text;
    text << r.ExecCount << r.FailedExecCount << r.RunCount << r.PassCount << r.WarningCount << r.AbortCount
         << r.FailCount;
    return text.str();
}
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
    host.Services.TestSuiteMode = MODE_DEBUG;
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
            selected += suite.Node(path).Selected() ? std::string(selected.empty() ? "" : " ") + path : "";
        }
        EXPECT_EQ(selected, row.selected);
    }
}

TEST(Node, TreeQueries)
{
    CRecordingHost host;
    CLoadedSuite suite(host, TREE, WITH_LIBRARY);
    CNode& root = suite.Root();
    EXPECT_EQ(root.GetChild(4), nullptr);
    EXPECT_EQ(root.GetSelectableChild(1), &suite.Node("/2"));
    EXPECT_EQ(suite.Node("/2").SelectableIndexInParent(), 1);
    EXPECT_EQ(suite.Node("/3").SelectableIndexInParent(), 0); // not selectable
    EXPECT_EQ(root.SelectableIndexInParent(), 0);

    EXPECT_EQ(root.SelectableDescendentsCount(), 7);
    EXPECT_TRUE(root.AllDescendantsChecked());
    suite.Node("/1").SetSelected(false, SELECT_NOT_DOWN);
    EXPECT_EQ(root.CheckedDescendentsCount(), 6);
    EXPECT_FALSE(root.AllDescendantsChecked());

    root.CalcFamilyCount(); // does not ask its children to count
    EXPECT_EQ(root.FamilyCount(), 1U);
    for (const char* path : {"/1/0", "/1/1", "/1/2/0", "/1/2", "/1"})
    {
        suite.Node(path).CalcFamilyCount();
    }
    EXPECT_EQ(suite.Node("/1").FamilyCount(), 5U);
    EXPECT_EQ(suite.Node("/1/2/0").GetLibWrapper(), root.DoGetLibWrapper());
}

TEST(Node, RunStatesArriveInOrderAndUnselectedNodesAreSkipped)
{
    CRecordingHost host;
    host.Services.TestSuiteMode = MODE_DEBUG; // nothing is selected
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
    const struct
    {
        const char* children;
        const char* selected;
        bool expected;
    } rows[] = {
        // clang-format off
        {pair, "", false},     {pair, "/0/0", true},   {pair, "/0/1", false}, // not reached
        {nested, "", false},   {nested, "/0/0/0", true}, {nested, "/0/1", true},
        {"<x:InitGroup><x:Function/></x:InitGroup>", "", true}, {"<x:Function/>", "/0", true},
        // clang-format on
    };
    CRecordingHost host;
    host.Services.TestSuiteMode = MODE_DEBUG;
    for (const auto& row : rows)
    {
        CLoadedSuite suite(host, "<x:Function>" + std::string(row.children) + "</x:Function>", "", false);
        if (*row.selected)
        {
            suite.Node(row.selected).SetSelected(true, static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
        }
        EXPECT_EQ(suite.Node("/0").SomethingToExecute(), row.expected) << row.children << row.selected;
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
    CProbeNode plain;
    EXPECT_TRUE(plain.DiagOnly());
    EXPECT_EQ(host.Text(), "log TS_NONE L3 -: This is a Test Suite Node.  Type: <Invalid Node>.\\n\n");
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

TEST(Node, CountsComeFromTheTestLogNotFromTheResult)
{
    const struct
    {
        const char* function;
        ERunState state;
        const char* counters;
    } rows[] = {
        {"name='Fail' type='PassFailTest'", RS_FAILED, "1011000"},
        {"name='ReportFailure' type='PassFailTest'", RS_PASSED, "1110001"},
        {"name='ReportFailure' type='passfailtest'", RS_PASSED, "1100000"},
        {"name='Warn' type='PassFailTest'", RS_PASSED, "1011100"},
    };
    for (const auto& row : rows)
    {
        CRecordingHost host;
        CLoadedSuite suite(host, "<x:Group><x:Function " + std::string(row.function) + "/></x:Group>", WITH_LIBRARY,
                           false);
        EXPECT_EQ(suite.Run(), row.state == RS_PASSED);
        EXPECT_EQ(suite.Node("/0/0").RunState(), row.state) << row.function;
        EXPECT_EQ(Counters(suite.Root()), row.counters) << row.function;
    }
}

TEST(Node, AnAbortLeavesNodesExecuting)
{
    CRecordingHost host;
    CLoadedSuite suite(host, R"(<x:Group><x:Function name="Abort"/></x:Group>)", WITH_LIBRARY, false);
    suite.Run();
    EXPECT_EQ(host.Text(REC_STATE),
              "state / x:TestSuite 1\nstate /0 x:Group 1\nstate /0/0 x:Function 1\nstate / x:TestSuite 2\n");
    suite.Root().ExecutionInit();
    EXPECT_EQ(suite.Node("/0/0").RunState(), RS_NOT_RUN);
    EXPECT_TRUE(suite.Node("/0/0").IsExecuting());
}

TEST(Node, VariablesNeedAList)
{
    CProbeNode::VariableList(nullptr);
    const CProbeNode node;
    const std::function<void()> readers[] = {
        [&] { const_cast<CProbeNode&>(node).VariableList(); },
        [&] { node.VariableList(); },
        [] { CProbeNode::DoGetVariableList(); },
        [] { CProbeNode::GetVariable(QStringLiteral("$x")); },
    };
    for (const auto& read : readers)
    {
        EXPECT_EQ(ThrownText<ZKParseTreeException>(read),
                  "Internal Error: the Variable List for this test suite has not been initialized.");
    }
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
