#include <Support/RecordingHost.h>

namespace
{
const char* const THREE = R"(<x:InitGroup>
    <x:Function label="a" name="Succeed"/><x:Function label="b" name="Fail"/><x:Function label="c" name="Succeed"/>
</x:InitGroup>)";
} // namespace

TEST(Group, AllChildrenRunUnlessItStopsOnFailure)
{
    for (const bool stopOnFail : {false, true})
    {
        CRecordingHost host;
        CLoadedSuite suite(host, THREE, WITH_LIBRARY, false);
        EXPECT_FALSE(suite.Node("/0").Execute(stopOnFail));
        EXPECT_EQ(host.Trace(),
                  std::string(R"(
   - Entering x:InitGroup.
     - Entering x:Function: a (Succeed).
     - Exiting x:Function: a (Succeed).
     - Entering x:Function: b (Fail).
     - Exiting x:Function: b (Fail).
)") + (stopOnFail ? "" : "     - Entering x:Function: c (Succeed).\n     - Exiting x:Function: c (Succeed).\n") +
                      "   - Exiting x:InitGroup.\n");
        EXPECT_EQ(suite.Node("/0").RunState(), RS_FAILED);
    }
}

TEST(Group, ExceptionsFromBelow)
{
    const std::string family = "{   - Unexpected Zelkor failure - x:InitGroup:\\n   - T.\n";
    const struct
    {
        std::function<void()> raise;
        std::string line; // what the group writes
        const char* outcome;
        bool closesTestLog;
        ERunState state;
    } rows[] = {
        // clang-format off
        {[] { throw ZKRunTimeException("T"); }, family, "false", false, RS_FAILED},
        {[] { throw std::out_of_range("r"); }, "{   - Unexpected failure - x:InitGroup:\\n   - r.\n", "false", false, RS_FAILED},
        {[] { throw 1; }, "   - Unexpected failure - x:InitGroup.\n", "false", false, RS_FAILED},
        {[] { throw ZKUserAbort("stop"); }, "   - Aborted by user x:InitGroup.\n", "thrown", false, RS_EXECUTING},
        {[] { throw std::bad_alloc(); }, "", "thrown", true, RS_FAILED},
        {[] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, "", "thrown", true, RS_FAILED},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.line);
        // From a child, and from the group's own line before any test log is open.
        for (const bool isChild : {true, false})
        {
            CRecordingHost host;
            CLoadedSuite suite(host, THREE, WITH_LIBRARY, false);
            host.At(isChild ? "Entering x:Function: b" : "Entering x:InitGroup", row.raise);
            CNode& group = suite.Node("/0");
            EXPECT_EQ(Outcome([&] { return group.Execute(false); }), row.outcome);
            EXPECT_EQ(group.RunState(), row.state);
            const char* const before = "   - Entering x:InitGroup.\n     - Entering x:Function: a (Succeed).\n"
                                       "     - Exiting x:Function: a (Succeed).\n";
            EXPECT_EQ(host.Trace(), std::string("\n") + (isChild ? before : "") + row.line);
            const CTestLog* const log = host.SuiteLog().CurrentTestLog();
            EXPECT_EQ(log != nullptr, isChild);
            EXPECT_EQ(log && log->Closed(), isChild && row.closesTestLog);
        }
    }
}

TEST(Group, NeedsAChild)
{
    for (const char* content : {"/>", "><x:Parameter/>text</x:InitGroup>"})
    {
        CRecordingHost host;
        CLoadedSuite suite(host, std::string("<x:InitGroup") + content, "", false);
        EXPECT_EQ(ThrownText<CTestSuiteException>([&] { suite.Node("/0").Execute(false); }),
                  "\nZKEngine/Orvanta/GroupNode(LINE): CGroupNode::SomethingToExecute:\n"
                  "x:InitGroup must have at least one child element.");
        EXPECT_EQ(host.Text(REC_ALL & ~REC_FLUSH), "");
        EXPECT_EQ(suite.Node("/0").RunState(), RS_NOT_RUN);
    }
}
