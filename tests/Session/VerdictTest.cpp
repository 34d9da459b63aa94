#include "SessionFixture.h"

namespace
{
constexpr const char* NEVER =
    R"(<x:Condition><x:Comparison operator="eq"><x:Value value="1"/><x:Value value="2"/></x:Comparison></x:Condition>)";

using CVerdictTest = CSessionTest;
} // namespace

// What a run comes to: the verdict on each execution, the tests that never ran, and the outcome, for everything that a
// test, the init group and the operator can do.
TEST_F(CVerdictTest, EveryExecutionIsJudgedAndEveryTestAccountedFor)
{
    const std::string fine = "/0/0 test passed\n";
    const std::string tidy = "/2/0 test passed\n";
    const struct
    {
        std::string body;
        std::string story; ///< between the init group's and the exit group's verdicts
        std::string end;
        EOutcome outcome;
    } rows[] = {
        {Call("Passes"), "/1/0 test passed\n", "Passed 3/0/0/0/0 passed\n", EOutcome::Passed},
        {Call("ReturnsFalse") + Call("Passes"), "/1/0 test failed: returned false\n/1/1 test passed\n",
         "Failed 3/1/0/0/0 not passed\n", EOutcome::Failed},
        {Call("LogsFailure"), "/1/0 test failed: the voltage is low\n", "Failed 2/1/0/0/0 not passed\n",
         EOutcome::Failed},
        {Call("LogsError"), "/1/0 test error: no device\n", "Failed 2/0/1/0/0 not passed\n", EOutcome::Failed},
        {Call("Throws"), "/1/0 test error: Unexpected failure: out of cheese\n", "Failed 2/0/1/0/0 not passed\n",
         EOutcome::Failed},
        {Call("Missing"), "/1/0 test error: Couldn't find function: Missing.\n", "Failed 2/0/1/0/0 not passed\n",
         EOutcome::Failed},
        {Call("Warns"), "/1/0 test passed warned\n", "Passed 3/0/0/0/0 passed\n", EOutcome::Passed},
        {Call("Passes", NEVER), "skip /1/0\n", "Passed 2/0/0/0/1 passed\n", EOutcome::Passed},
        {"<x:Group from=\"0\" to=\"2\" iterator=\"$N\">" + Call("Passes") + "</x:Group>",
         "pass /1/0 1 $N=0\n/1/0/0 [1] test passed\npass /1/0 2 $N=1\n/1/0/0 [2] test passed\n",
         "Passed 4/0/0/0/0 passed\n", EOutcome::Passed},
        {"<x:Group from=\"2\" to=\"2\">" + Call("Passes") + "</x:Group>", "", "Passed 2/0/0/0/1 passed\n",
         EOutcome::Passed},
        {"<x:Group to=\"1\" iterator=\"$None\">" + Call("Passes") + "</x:Group>",
         "/1/0 error: No such iterator: $None\n", "Failed 2/0/0/0/1 not passed\n", EOutcome::Failed},
        {"<x:Group><x:Tooltip>nothing</x:Tooltip></x:Group>",
         "/1 error: x:Group must have at least one child element.\n", "Aborted 2/0/0/0/0 not passed\n",
         EOutcome::Failed},
        {Call("Aborts") + Call("Passes"), "abort: the operator went home\n/1/0 test aborted: the operator went home\n",
         "Aborted 2/0/0/1/1 not passed\n", EOutcome::Aborted},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.body);
        CSession session(setup);
        CStory story;
        session.Add(story);
        const SOutcome outcome = session.Run(*session.LoadSuite(Suite(row.body)));
        EXPECT_EQ(outcome.outcome, row.outcome) << outcome.reason;
        EXPECT_EQ(story.text.substr(0, fine.size() + row.story.size() + tidy.size()), fine + row.story + tidy)
            << story.text;
        EXPECT_TRUE(story.text.ends_with(row.end)) << story.text;
        EXPECT_EQ(row.outcome != EOutcome::Passed && story.text.find("Passed!") != std::string::npos, false)
            << story.text;
    }
}

TEST_F(CVerdictTest, ATestThatDidNotRunHasTheFirstReasonThatHolds)
{
    const std::string loop = "<x:Group from=\"2\" to=\"2\">" + Call("Passes") + "</x:Group>";
    const std::string byValue = "<x:Parameter name=\"n\" type=\"LONG\" passed=\"byVal\" value=\"1\"/>";
    const struct
    {
        std::string body;
        std::string init;
        const char* library;
        std::string notRun;
        EOutcome outcome;
        ETestSuiteExecutionType type = EXECUTION_NORMAL;
    } rows[] = {
        // clang-format off
        {Call("Passes", NEVER) + loop, Call("Prepares"), "CliLibrary", "not run /1/0: condition\nnot run /1/1/0: no pass\n", EOutcome::Passed},
        {Call("Passes"), Call("ReturnsFalse"), "CliLibrary", "not run /1/0: initialization\n", EOutcome::Failed},
        {Call("Passes"), "<x:Tooltip>nothing</x:Tooltip>", "CliLibrary", "not run /1/0: initialization\n", EOutcome::Failed},
        {Call("Passes"), Call("Aborts"), "CliLibrary", "not run /1/0: stopped\n", EOutcome::Aborted},
        {Call("Passes"), "", "Nowhere", "not run /1/0: library\nnot run /2/0: library\n", EOutcome::NotLoaded},
        {Call("Passes", byValue), "<x:Set variable=\"$N\"><x:Value value=\"1\"/></x:Set>", "CliLibrary", "not run /1/0: left out\n", EOutcome::Passed, EXECUTION_VALIDATION},
        {Call("ReturnsFalse"), Call("Prepares"), "CliLibrary", "", EOutcome::Passed, EXECUTION_DIAGNOSTIC},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.notRun);
        setup.executionType = row.type;
        CSession session(setup);
        CStory story;
        session.Add(story);
        const std::string init = row.init.empty() ? "<x:Set variable=\"$N\"><x:Value value=\"1\"/></x:Set>" : row.init;
        const SOutcome outcome = session.Run(*session.LoadSuite(Suite(row.body, init, Call("Prepares"), row.library)));
        EXPECT_EQ(outcome.outcome, row.outcome);
        const std::size_t begin = story.text.find("not run");
        EXPECT_EQ(begin == std::string::npos
                      ? ""
                      : story.text.substr(begin,
                                          story.text.rfind("not run") - begin +
                                              story.text.substr(story.text.rfind("not run")).find('\n') + 1),
                  row.notRun)
            << story.text;
    }
}
