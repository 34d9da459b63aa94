#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/FunctionNode.h>
#include <Orvanta/GroupRecursiveNode.h>
#include <Orvanta/MakeNode.h>

#include <CoreKit/CatchLadder.h>

#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace
{
/// A node whose run a test decides, with the base's inner side open.
class CProbeNode : public CNode
{
public:
    explicit CProbeNode(const pugi::xml_node& element = {})
        : CNode(element, nullptr, 0, nullptr)
    {
    }

    bool IsSelectable() const override { return true; }

    using CNode::DoGetVariableList;
    using CNode::GetVariable;
    using CNode::m_Condition;
    using CNode::RunQuery;
    using CNode::VariableList;

    std::function<bool()> Body = [] { return true; };

protected:
    bool DoExecute(bool) override { return Body(); }
};

class CProbeCondition : public CBooleanBaseNode
{
public:
    explicit CProbeCondition(std::function<std::pair<bool, bool>()> calculate)
        : CBooleanBaseNode(pugi::xml_node(), nullptr, 0)
        , m_Calculate(std::move(calculate))
    {
    }
    std::pair<bool, bool> Calculate() override { return m_Calculate(); }

private:
    std::function<std::pair<bool, bool>()> m_Calculate;
};

const char* const TREE = R"(
    <x:InitGroup><x:Function name="Succeed"/></x:InitGroup>
    <x:Group name="A">
        <x:Function name="Succeed"/><x:Function name="Succeed"/>
        <x:Group name="C"><x:Function name="Succeed"/></x:Group>
    </x:Group>
    <x:Group name="B"><x:Function name="Succeed"/></x:Group>
    <x:ExitGroup><x:Function name="Succeed"/></x:ExitGroup>)";
const char* const TREE_PATHS[] = {"/",    "/0",     "/0/0", "/1",   "/1/0", "/1/1",
                                  "/1/2", "/1/2/0", "/2",   "/2/0", "/3",   "/3/0"};
const char* const WITH_LIBRARY = "name=\"Suite\" library=\"EngineTests\"";

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
        {{{"/1/0", true, 0}}, "/1/0"},
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
        for (const char* path : TREE_PATHS)
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
    CNode& a = suite.Node("/1");
    CNode& b = suite.Node("/2");
    EXPECT_EQ(root.ChildCount(), 4);
    EXPECT_EQ(root.GetChild(3), &suite.Node("/3"));
    EXPECT_EQ(root.GetChild(-1), nullptr);
    EXPECT_EQ(root.GetChild(4), nullptr);
    EXPECT_EQ(root.SelectableChildCount(), 2);
    EXPECT_EQ(root.GetSelectableChild(1), &b);
    EXPECT_EQ(root.GetSelectableChild(2), nullptr);
    EXPECT_EQ(root.SelectableIndexFromChild(&b), 1);
    EXPECT_EQ(root.SelectableIndexFromChild(&suite.Node("/3")), 0);
    EXPECT_EQ(b.SelectableIndexInParent(), 1);
    EXPECT_EQ(root.SelectableIndexInParent(), 0);

    EXPECT_EQ(root.SelectableDescendentsCount(), 7);
    EXPECT_TRUE(root.AllDescendantsChecked());
    a.SetSelected(false, SELECT_NOT_DOWN);
    EXPECT_EQ(root.CheckedDescendentsCount(), 6);
    EXPECT_FALSE(root.AllDescendantsChecked());

    root.CalcFamilyCount(); // does not ask its children to count
    EXPECT_EQ(root.FamilyCount(), 1U);
    for (const char* path : {"/1/0", "/1/1", "/1/2/0", "/1/2", "/1"})
    {
        suite.Node(path).CalcFamilyCount();
    }
    EXPECT_EQ(a.FamilyCount(), 5U);

    CNode& leaf = suite.Node("/1/2/0");
    EXPECT_EQ(leaf.RootNode(), &root);
    EXPECT_EQ(leaf.ParentNode(), &suite.Node("/1/2"));
    EXPECT_NE(leaf.GetLibWrapper(), nullptr);
    EXPECT_EQ(leaf.GetLibWrapper(), root.DoGetLibWrapper());
    EXPECT_EQ(leaf.DoGetLibWrapper(), nullptr);
}

TEST(Node, ElementAccess)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string("<x:Any type='A'><x:P/><x:Q/><x:P/></x:Any>"));
    const CProbeNode node(document.document_element());
    EXPECT_STREQ(node.Attribute(QStringLiteral("type")), "A");
    EXPECT_TRUE(node.Confirm(QStringLiteral("type"), QStringLiteral("A")));
    EXPECT_FALSE(node.Confirm(QStringLiteral("type"), QStringLiteral("a")));
    EXPECT_FALSE(node.HasAttribute(QStringLiteral("Type")));
    EXPECT_EQ(node.RunQuery("x:P").size(), 2U);

    const CProbeNode empty;
    EXPECT_STREQ(empty.Attribute(QStringLiteral("type")), "");
    EXPECT_FALSE(empty.HasAttribute(QStringLiteral("type")));
    EXPECT_TRUE(empty.RunQuery("x:P").empty());
    EXPECT_STREQ(empty.TypeName().c_str(), "<Invalid Node>");
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
    host.OnRecord = [&](ERecorded kind, const std::string& line)
    {
        if (kind == REC_STATE && line != "state / x:TestSuite 1" && line != "state / x:TestSuite 2")
        {
            EXPECT_EQ(suite.Node("/1/2/0").TestSuiteRunState(), RS_NOT_RUN) << line;
        }
    };
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
    EXPECT_EQ(rootSignals, "111221121221211222");
    EXPECT_TRUE(suite.Node("/1/1").CanDisplayResult());
    EXPECT_FALSE(suite.Node("/1/0").CanDisplayResult());
    EXPECT_EQ(suite.Node("/1/0").RunState(), RS_NOT_RUN);
}

TEST(Node, SomethingToExecuteEndsAtAnUnselectedLeaf)
{
    const struct
    {
        const char* children;
        std::vector<const char*> selected;
        bool expected;
    } rows[] = {
        {"<x:Function/><x:Function/>", {}, false},
        {"<x:Function/><x:Function/>", {"/0/0"}, true},
        {"<x:Function/><x:Function/>", {"/0/1"}, false}, // not reached
        {"<x:Function><x:Function/></x:Function><x:Function/>", {"/0/0/0"}, true},
        {"<x:Function><x:Function/></x:Function><x:Function/>", {"/0/1"}, true},
        {"<x:InitGroup><x:Function/></x:InitGroup>", {}, true},
        {"<x:Function/>", {"/0"}, true},
    };
    CRecordingHost host;
    host.Services.TestSuiteMode = MODE_DEBUG;
    for (const auto& row : rows)
    {
        CLoadedSuite suite(host, "<x:Function>" + std::string(row.children) + "</x:Function>", "", false);
        for (const char* path : row.selected)
        {
            suite.Node(path).SetSelected(true, static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
        }
        EXPECT_EQ(suite.Node("/0").SomethingToExecute(), row.expected) << row.children << row.selected.size();
    }
    // Below a group that can't be selected everything runs.
    CLoadedSuite suite(host, "<x:InitGroup><x:Function/></x:InitGroup>", "", false);
    EXPECT_TRUE(suite.Node("/0/0").SomethingToExecute());
}

TEST(Node, AConditionDecidesBeforeAnythingElse)
{
    CRecordingHost host;
    CProbeNode node;
    node.SetSelected(true, SELECT_ALL);
    node.Body = []() -> bool { throw std::logic_error("must not run"); };

    CProbeCondition no([] { return std::pair(true, false); });
    CProbeCondition failed([] { return std::pair(false, true); });
    for (CProbeCondition* condition : {&no, &failed})
    {
        node.m_Condition = condition;
        host.Clear();
        EXPECT_TRUE(node.Execute(true));
        EXPECT_EQ(host.Text(REC_ALL), "flush false\n");
    }
    CProbeCondition broken([]() -> std::pair<bool, bool> { throw ZKRunTimeException("broken"); });
    node.m_Condition = &broken;
    EXPECT_THROW(node.Execute(true), ZKRunTimeException);
    EXPECT_EQ(node.RunState(), RS_NOT_RUN);
    EXPECT_FALSE(node.CanDisplayResult());

    CProbeCondition yes([] { return std::pair(true, true); });
    node.m_Condition = &yes;
    EXPECT_THROW(node.Execute(true), std::logic_error);
}

TEST(Node, HowARunEnds)
{
    const struct
    {
        const char* name;
        std::function<bool()> body;
        const char* states;
        bool throws;
    } rows[] = {
        {"true", [] { return true; }, "12", false},
        {"false", [] { return false; }, "13", false},
        {"family", []() -> bool { throw ZKRunTimeException("T"); }, "13", true},
        {"standard", []() -> bool { throw std::runtime_error("r"); }, "13", true},
        {"unknown", []() -> bool { throw 1; }, "13", true},
        {"memory", []() -> bool { throw std::bad_alloc(); }, "13", true},
        {"parser's memory", []() -> bool { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, "13", true},
        {"abort", []() -> bool { throw ZKUserAbort("stop"); }, "1", true},
    };
    CRecordingHost host;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        CProbeNode node;
        node.SetSelected(true, SELECT_ALL);
        node.Body = row.body;
        std::string states;
        QObject::connect(&node, &CNode::UpdateNodeRunState, [&](ERunState rs) { states += std::to_string(rs); });
        if (row.throws)
        {
            EXPECT_ANY_THROW(node.Execute(false));
        }
        else
        {
            const bool result = node.Execute(false);
            EXPECT_EQ(result, states == "12");
        }
        EXPECT_EQ(states, row.states);
        EXPECT_EQ(node.IsExecuting(), node.RunState() == RS_EXECUTING);
        EXPECT_EQ(node.CanDisplayResult(), !row.throws);
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
    CLoadedSuite suite(host, R"(<x:Group><x:Group><x:Function name="Abort"/></x:Group></x:Group>)", WITH_LIBRARY,
                       false);
    suite.Run();
    for (const char* path : {"/0", "/0/0", "/0/0/0"})
    {
        EXPECT_EQ(suite.Node(path).RunState(), RS_EXECUTING) << path;
        EXPECT_TRUE(suite.Node(path).IsExecuting()) << path;
    }
    EXPECT_NE(suite.Root().RunState(), RS_EXECUTING);
    suite.Root().ExecutionInit();
    EXPECT_EQ(suite.Node("/0/0/0").RunState(), RS_NOT_RUN);
    EXPECT_TRUE(suite.Node("/0/0/0").IsExecuting());
}

TEST(Node, DiagnosticListingOfAPlainNode)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string("<x:Any/>"));
    CRecordingHost host;
    CProbeNode node(document.document_element());
    CProbeNode empty;
    EXPECT_TRUE(node.DiagOnly()); // not selected: nothing
    node.SetSelected(true, SELECT_ALL);
    empty.SetSelected(true, SELECT_ALL);
    EXPECT_TRUE(node.DiagOnly());
    host.Services.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_TRUE(empty.Execute(false));
    EXPECT_EQ("\n" + host.Text(REC_LOG), R"(
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:Any.\n
log TS_NONE L3 -: This is a Test Suite Node.  Type: <Invalid Node>.\n
)");
}

TEST(Node, VariablesNeedAList)
{
    CProbeNode::VariableList(nullptr);
    CProbeNode node;
    const std::function<void()> readers[] = {
        [&] { node.VariableList(); },
        [&] { std::as_const(node).VariableList(); },
        [] { CProbeNode::DoGetVariableList(); },
        [] { CProbeNode::GetVariable(QStringLiteral("$x")); },
    };
    for (const auto& read : readers)
    {
        try
        {
            read();
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const ZKParseTreeException& exception)
        {
            EXPECT_STREQ(exception.what(),
                         "Internal Error: the Variable List for this test suite has not been initialized.");
            EXPECT_EQ(exception.Status(), TS_ERROR);
        }
    }
    CVariableList list;
    list.AddLocal(DT_LONG, "$x", "5", QString());
    CProbeNode::VariableList(&list);
    EXPECT_EQ(CProbeNode::GetVariable(QStringLiteral("$x")).View<std::uint32_t>(), 5U);
    EXPECT_THROW(CProbeNode::GetVariable(QStringLiteral("$y")), CTestSuiteException);
    CProbeNode::VariableList(nullptr);
}

TEST(MakeNode, ElementsAndTheirNodes)
{
    CRecordingHost host;
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

    CLoadedSuite suite(host, R"(<x:InitGroup/><x:Group><x:Parameter/><x:Tooltip/><x:Function/>text</x:Group>
                                <x:ExitGroup/>)",
                       "", false);
    EXPECT_NE(dynamic_cast<CFunctionNode*>(&suite.Node("/1/0")), nullptr);
    EXPECT_NE(dynamic_cast<CGroupRecursiveNode*>(&suite.Node("/1")), nullptr);
    EXPECT_EQ(suite.Node("/1").ChildCount(), 1);
    for (const char* path : {"/0", "/2"})
    {
        EXPECT_NE(dynamic_cast<CGroupNode*>(&suite.Node(path)), nullptr);
        EXPECT_EQ(dynamic_cast<CGroupRecursiveNode*>(&suite.Node(path)), nullptr);
    }
    // The level shows as indentation: a child of the root has level 1, its child level 2.
    suite.Node("/1").Execute(false);
    const std::vector<std::string> log = host.Transcript(REC_LOG);
    ASSERT_GE(log.size(), 2U);
    EXPECT_EQ(log[0], "log TS_NONE L5 node:    - Entering x:Group: .");
    EXPECT_EQ(log[1], "log TS_NONE L5 node:      - Entering x:Function:  ().");
}
