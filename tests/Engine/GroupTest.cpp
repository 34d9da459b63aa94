#include <Support/RecordingHost.h>

#include <CoreKit/CatchLadder.h>

#include <gtest/gtest.h>

#include <regex>

namespace
{
const char* const WITH_LIBRARY = "name=\"Suite\" library=\"EngineTests\"";
const char* const THREE = R"(<x:InitGroup>
    <x:Function label="a" name="Succeed"/><x:Function label="b" name="Fail"/><x:Function label="c" name="Succeed"/>
</x:InitGroup>)";

/// The trace lines alone, which have one status, level and format.
std::string Trace(const CRecordingHost& host)
{
    const std::string head = "log TS_NONE L5 node: ";
    std::string text = "\n";
    for (const std::string& line : host.Transcript(REC_LOG))
    {
        text += line.starts_with(head) ? line.substr(head.size()) + '\n' : "";
    }
    return text;
}
} // namespace

TEST(Group, AllChildrenRunUnlessItStopsOnFailure)
{
    CRecordingHost host;
    CLoadedSuite suite(host, THREE, WITH_LIBRARY, false);
    EXPECT_FALSE(suite.Node("/0").Execute(false));
    EXPECT_EQ(Trace(host), R"(
   - Entering x:InitGroup.
     - Entering x:Function: a (Succeed).
     - Exiting x:Function: a (Succeed).
     - Entering x:Function: b (Fail).
     - Exiting x:Function: b (Fail).
     - Entering x:Function: c (Succeed).
     - Exiting x:Function: c (Succeed).
   - Exiting x:InitGroup.
)");
    EXPECT_EQ(suite.Node("/0").RunState(), RS_FAILED);

    host.Clear();
    EXPECT_FALSE(suite.Node("/0").Execute(true));
    EXPECT_EQ(Trace(host), R"(
   - Entering x:InitGroup.
     - Entering x:Function: a (Succeed).
     - Exiting x:Function: a (Succeed).
     - Entering x:Function: b (Fail).
     - Exiting x:Function: b (Fail).
   - Exiting x:InitGroup.
)");
}

TEST(Group, ExceptionsFromBelow)
{
    const struct
    {
        std::function<void()> raise;
        const char* line; // what the group writes
        bool passesThrough;
        bool closesTestLog;
        ERunState state;
    } rows[] = {
        {[] { throw ZKRunTimeException("T"); }, "{   - Unexpected Zelkor failure - x:InitGroup:\\n   - T.\n", false,
         false, RS_FAILED},
        {[] { throw CTestSuiteException("S"); }, "{   - Unexpected Zelkor failure - x:InitGroup:\\n   - S.\n", false,
         false, RS_FAILED},
        {[] { throw std::out_of_range("r"); }, "{   - Unexpected failure - x:InitGroup:\\n   - r.\n", false, false,
         RS_FAILED},
        {[] { throw 1; }, "   - Unexpected failure - x:InitGroup.\n", false, false, RS_FAILED},
        {[] { throw ZKUserAbort("stop"); }, "   - Aborted by user x:InitGroup.\n", true, false, RS_EXECUTING},
        {[] { throw std::bad_alloc(); }, "", true, true, RS_FAILED},
        {[] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, "", true, true, RS_FAILED},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.line);
        // From a child, and from the group's own line before any test log is open.
        for (const char* at : {"Entering x:Function: b", "Entering x:InitGroup"})
        {
            CRecordingHost host;
            CLoadedSuite suite(host, THREE, WITH_LIBRARY, false);
            host.OnRecord = [&](ERecorded, const std::string& line)
            { line.find(at) != std::string::npos ? row.raise() : void(); };
            CNode& group = suite.Node("/0");
            if (row.passesThrough)
            {
                EXPECT_ANY_THROW(group.Execute(false));
            }
            else
            {
                EXPECT_FALSE(group.Execute(false));
            }
            EXPECT_EQ(group.RunState(), row.state);
            const bool isChild = std::string(at).find("Function") != std::string::npos;
            const char* const before = "   - Entering x:InitGroup.\n     - Entering x:Function: a (Succeed).\n"
                                       "     - Exiting x:Function: a (Succeed).\n";
            EXPECT_EQ(Trace(host), std::string("\n") + (isChild ? before : "") + row.line);
            const CTestLog* const log = host.SuiteLog().CurrentTestLog();
            EXPECT_EQ(log != nullptr, isChild);
            EXPECT_EQ(log && log->Closed(), isChild && row.closesTestLog);
        }
    }
}

TEST(Group, AnAbortLeavesOneLineAGroup)
{
    CRecordingHost host;
    CLoadedSuite suite(host, R"(<x:InitGroup><x:ExitGroup><x:Function name="Abort"/></x:ExitGroup></x:InitGroup>)",
                       WITH_LIBRARY, false);
    EXPECT_THROW(suite.Node("/0").Execute(false), ZKUserAbort);
    EXPECT_EQ(Trace(host), R"(
   - Entering x:InitGroup.
     - Entering x:ExitGroup.
       - Entering x:Function:  (Abort).
     - Aborted by user x:ExitGroup.
   - Aborted by user x:InitGroup.
)");
}

TEST(Group, NeedsAChild)
{
    for (const char* body : {"<x:InitGroup/>", "<x:InitGroup><x:Parameter/>text</x:InitGroup>"})
    {
        CRecordingHost host;
        CLoadedSuite suite(host, body, "", false);
        try
        {
            suite.Node("/0").Execute(false);
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const CTestSuiteException& exception)
        {
            EXPECT_TRUE(
                std::regex_match(exception.what(),
                                 std::regex("\nZKEngine/Orvanta/GroupNode\\(\\d+\\): CGroupNode::SomethingToExecute:\n"
                                            "x:InitGroup must have at least one child element\\.")))
                << exception.what();
            EXPECT_EQ(exception.Status(), TS_ERROR);
        }
        EXPECT_EQ(host.Text(REC_ALL & ~REC_FLUSH), "");
        EXPECT_EQ(suite.Node("/0").RunState(), RS_NOT_RUN);
    }
}

TEST(Group, DiagnosticWalkListsEveryChild)
{
    CRecordingHost host;
    CLoadedSuite suite(host, R"(<x:InitGroup><x:Function name="Missing"/><x:Function name="Succeed"/></x:InitGroup>)",
                       WITH_LIBRARY, false);
    CNode& group = suite.Node("/0");
    EXPECT_TRUE(group.DiagOnly());
    EXPECT_EQ(host.Text(), "");

    group.SetSelected(true, SELECT_ALL);
    EXPECT_FALSE(group.DiagOnly());
    EXPECT_EQ(host.Transcript().at(0), "log TS_NONE L3 -: This is a Test Suite Node.  Type: x:InitGroup.");
    EXPECT_EQ(host.Transcript().size(), 8U); // three of the first function, four of the second
    // While it executes it has nothing to say of itself.
    host.Clear();
    host.Services.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_FALSE(group.Execute(true));
    EXPECT_EQ(host.Transcript().at(0), "log TS_NONE L3 -: ");
    EXPECT_EQ(host.Transcript().size(), 8U);
    EXPECT_FALSE(group.GetDiagnosticString().isEmpty());
}
