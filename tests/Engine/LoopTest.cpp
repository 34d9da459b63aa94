#include <Support/RecordingHost.h>

#include <Orvanta/GroupRecursiveNode.h>

namespace
{
using TValues = std::vector<std::uint64_t>;

const char* const BODY = R"(<x:Function label="f" name="Succeed"/>)";

std::string Declare(const char* type)
{
    return std::string("<x:Variables><x:Local type='") + type +
        "' name='$i' value='9'/>"
        "<x:Local type='LONG' name='$o'/><x:Define type='LONG' name='$two' value='2'/>"
        "<x:Define type='BYTE' name='$four' value='4'/></x:Variables>";
}

std::string Loop(const std::string& attributes, const std::string& body = BODY)
{
    return "<x:Group " + attributes + ">" + body + "</x:Group>";
}

/// A suite with a loop as its first node, outside the phases of a run.
class CLoop
{
public:
    explicit CLoop(const std::string& loop, const std::string& variables = Declare("LONG"))
        : m_Suite(Host, variables + loop, WITH_LIBRARY, false)
    {
    }

    CGroupRecursiveNode& Group() { return dynamic_cast<CGroupRecursiveNode&>(m_Suite.Node("/0")); }

    /// Runs the group, which has to throw exactly that class and to fail, and returns the exception's text.
    template <class Exception>
    std::string Thrown()
    {
        const std::string text = ThrownText<Exception>([this] { Group().Execute(false); });
        EXPECT_EQ(Group().RunState(), RS_FAILED);
        return text;
    }

    /// Runs the group and returns what the iterator held whenever its function was entered.
    TValues Values()
    {
        TValues values;
        Host.At("Entering x:Function", [&] { values.push_back(CVariables::Value("$i")); });
        EXPECT_TRUE(Group().Execute(false));
        return values;
    }

    /// The group's own trace lines, without those of functions.
    std::string Trace() const { return Host.Trace("x:Function"); }

    CRecordingHost Host;

private:
    CLoadedSuite m_Suite;
};
} // namespace

TEST(Loop, Passes)
{
    const struct
    {
        const char* attributes;
        const char* type;
        TValues seen;
        std::uint64_t after;
    } rows[] = {
        {"from='0' to='3'", "LONG", {0, 1, 2}, 3},
        {"from='0' to='3' breakConditionType='NonStrict'", "LONG", {0, 1, 2, 3}, 4},
        {"from='3' to='0' iterType='Decr'", "LONG", {3, 2, 1}, 0},
        {"from='3' to='0' iterType='Decr' breakConditionType='NonStrict'", "LONG", {3, 2, 1, 0}, 0},
        {"from='2' to='2'", "LONG", {}, 2},
        {"from='2' to='2' breakConditionType='NonStrict'", "LONG", {2}, 3},
        {"from='2' to='2' iterType='Decr'", "LONG", {}, 2},
        {"from='2' to='2' iterType='Decr' breakConditionType='NonStrict'", "LONG", {2}, 1},
        {"from='5' to='3'", "LONG", {}, 5},
        {"from='3' to='5' iterType='Decr'", "LONG", {}, 3},
        {"to='2'", "LONG", {0, 1}, 2},
        {"from='0' to='5' interval='2'", "LONG", {0, 2, 4}, 6},
        {"from='5' to='0' interval='2' iterType='Decr' breakConditionType='NonStrict'", "LONG", {5, 3, 1}, 1},
        // Words other than the known ones, in another case too, are the default.
        {"from='0' to='2' iterType='decr'", "LONG", {0, 1}, 2},
        {"from='0' to='2' breakConditionType='nonStrict'", "LONG", {0, 1}, 2},
        // Numbers: variables, constants, other notations, no number at all.
        {"from='$two' to='$four'", "LONG", {2, 3}, 4},
        {"from='$i' to='12'", "LONG", {9, 10, 11}, 12},
        {"from='0' to='$four' interval='$two'", "LONG", {0, 2}, 4},
        {"from='0x10' to='022'", "LONG", {16, 17}, 18},
        {"from='0x100000001' to='3'", "LONG", {1, 2}, 3},
        // The ceiling of the iterator's type ends a loop.
        {"from='0' to='1000' interval='100' breakConditionType='NonStrict'", "BYTE", {0, 100, 200}, 200},
        {"from='253' to='255' breakConditionType='NonStrict'", "BYTE", {253, 254, 255}, 255},
        {"from='253' to='255'", "BYTE", {253, 254}, 255},
        {"from='0xFFFE' to='0x20000'", "SHORT", {0xFFFE, 0xFFFF}, 0xFFFF},
        {"from='0xFFFFFFFF' to='0xFFFFFFFF' breakConditionType='NonStrict'", "LONG", {0xFFFFFFFF}, 0xFFFFFFFF},
        {"from='300' to='1000'", "BYTE", {44}, 44}, // starts beyond it
        // Without "to": once, and the iterator is written afterwards.
        {"from='7'", "LONG", {9}, 7},
        {"from='7' interval='0' iterType='Decr'", "LONG", {9}, 7},
        // An interval of 0 matters only to a loop that has somewhere to go.
        {"from='2' to='2' interval='0'", "LONG", {}, 2},
        {"from='5' to='3' interval='0'", "LONG", {}, 5},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.attributes);
        CLoop loop(Loop(std::string("iterator='$i' ") + row.attributes), Declare(row.type));
        EXPECT_EQ(loop.Values(), row.seen);
        EXPECT_EQ(CVariables::Value("$i"), row.after);
    }
}

TEST(Loop, WithoutAnIteratorVariable)
{
    CLoop once(Loop("name='G'", std::string(BODY) + BODY));
    EXPECT_EQ(once.Values(), (TValues{9, 9}));
    EXPECT_EQ(CVariables::Value("$i"), 9U);
    CLoop counted(Loop("to='3' breakConditionType='NonStrict'"));
    EXPECT_EQ(counted.Values(), (TValues{9, 9, 9, 9}));
}

TEST(Loop, NestedLoopsStartAnew)
{
    const std::string body = Loop("iterator='$i' from='$o' to='3'");
    CLoop loop(Loop("iterator='$o' to='3'", body));
    TValues pairs;
    loop.Host.At("Entering x:Function",
                 [&] { pairs.push_back(10 * CVariables::Value("$o") + CVariables::Value("$i")); });
    EXPECT_TRUE(loop.Group().Execute(false));
    EXPECT_EQ(pairs, (TValues{0, 1, 2, 11, 12, 22}));
}

TEST(Loop, AttributesAreLoggedAsRead)
{
    const std::string all = "breakConditionType='Any' iterType='Incr' interval='0x1' iterator='$i' from='$two' to=' 3 '"
                            " name='G'";
    CLoop counted(Loop(all));
    EXPECT_TRUE(counted.Group().Execute(false));
    EXPECT_EQ(counted.Trace(), R"(
   - Entering x:Group: G.
   - attribute name.
   -   value: "G".
   - attribute to.
   -   raw value: " 3 ", value: "3".
   - attribute from.
   -   raw value: "$two", value: "2".
   - attribute interval.
   -   raw value: "0x1", value: "1".
   - attribute iterator.
   -   raw value: "$i", value: "9".
   - attribute iterType.
   -   value: "Incr".
   - attribute breakConditionType.
   -   value: "Any".
   - Exiting x:Group.
)");
}

TEST(Loop, BoundsTheWrongWayRoundAreWarnedOf)
{
    CLoop up(Loop("from='5' to='3'"));
    EXPECT_TRUE(up.Group().Execute(false));
    EXPECT_EQ(up.Host.Transcript().at(1), // before any attribute
              "log TS_NONE L4 warning: \"from\" is greater than \"to\". Exiting x:Group main loop. (from = 5, to = 3)");
    CLoop down(Loop("from='3' to='0xFFFFFFFF' iterType='Decr'"));
    EXPECT_TRUE(down.Group().Execute(false));
    EXPECT_EQ(down.Host.Transcript().at(1),
              "log TS_NONE L4 warning: \"from\" is less than \"to\" in decrementing mode. Exiting x:Group main loop. "
              "(from = 3, to = 4294967295)");
}

TEST(Loop, IteratorsThatCannotCount)
{
    // Written at the start, before any attribute is logged; nothing is handled there.
    CLoop missing(Loop("iterator='$none' to='2'"));
    EXPECT_EQ(missing.Thrown<CTestSuiteException>(), "No such iterator: $none");
    EXPECT_EQ(missing.Trace(), "\n   - Entering x:Group: .\n");

    // Written after the one pass.
    CLoop missingOnce(Loop("iterator='$none'"));
    EXPECT_EQ(missingOnce.Thrown<CTestSuiteException>(), "No such iterator: $none");
    EXPECT_EQ(missingOnce.Trace(), R"(
   - Entering x:Group: .
   - attribute iterator (ignored).
   -   raw value: "$none", value: "0".
   - Unexpected Zelkor failure x:Group.
)");

    CLoop wide(Loop("iterator='$i' to='2'"), Declare("LONGLONG"));
    EXPECT_EQ(wide.Thrown<CTestSuiteException>(), "Test script error: variable '$i' cannot be cast to 'LONG'.");
    EXPECT_EQ(wide.Trace(), "\n   - Entering x:Group: .\n");
    wide.Host.Services.Settings.ExecutionType = EXECUTION_VALIDATION; // logs and goes on
    EXPECT_EQ(wide.Values(), (TValues{0, 1}));

    // Neither counts, also downwards: the type's ceiling is asked for first.
    for (const char* direction : {"Incr", "Decr"})
    {
        CLoop truth(Loop(std::string("iterator='$i' from='1' to='1' breakConditionType='NonStrict' iterType='") +
                         direction + "'"),
                    Declare("BOOL"));
        EXPECT_NE(truth.Thrown<ZKException>().find("Only a numeric type can have a maximum value.  (Type = 1)"),
                  std::string::npos);
        EXPECT_NE(truth.Trace().find("\n   - Unexpected Zelkor failure x:Group.\n"), std::string::npos);
        EXPECT_EQ(truth.Host.Transcript(REC_TEST_LOG).size(), 2U); // after one pass
    }

    CLoop endless(Loop("name='Endless' to='2' interval='$o'"));
    EXPECT_NE(endless.Thrown<CTestSuiteException>().find("Endless"), std::string::npos);
    EXPECT_EQ(endless.Host.Transcript(REC_TEST_LOG).size(), 0U);
}

TEST(Loop, StoppingOnFailureEndsEachEnclosingLoop)
{
    const std::string children = R"(<x:Function label="a" name="Succeed"/><x:Function label="b" name="Fail"/>
                                    <x:Function label="c" name="Succeed"/>)";
    CLoop loop(Loop("to='2'", Loop("name='G'", children) + BODY));
    EXPECT_FALSE(loop.Group().Execute(true));
    EXPECT_EQ(loop.Trace(), R"(
   - Entering x:Group: .
   - attribute to.
   -   raw value: "2", value: "2".
     - Entering x:Group: G.
     - attribute name.
     -   value: "G".
     - Unexpected Zelkor failure x:Group.
   - Unexpected Zelkor failure x:Group.
)");
    // Without the flag everything runs, and one failure is enough for the result.
    loop.Host.Clear();
    EXPECT_FALSE(loop.Group().Execute(false));
    EXPECT_EQ(loop.Host.Transcript(REC_TEST_LOG).size(), 16U);
}

TEST(Loop, ExceptionsFromBelow)
{
    const char* const start = "Entering x:Group";
    const char* const attribute = "attribute to";
    const char* const child = "Entering x:Function";
    const char* const exit = "Exiting x:Group";
    const char* const aborted = "   - Aborted by user x:Group.\n";
    const char* const family = "   - Unexpected Zelkor failure x:Group.\n";
    const char* const standard = "   - Unexpected failure x:Group.\n";
    const char* const nothing = "   -   raw value: \"2\", value: \"2\".\n";
    const char* const entry = "   - Entering x:Group: .\n";
    const struct
    {
        const char* at;
        std::function<void()> raise;
        const char* outcome;
        const char* line; // the last one
        ERunState state;
        bool closesTestLog;
    } rows[] = {
        // clang-format off
        {child, [] { throw ZKUserAbort("stop"); }, "thrown", aborted, RS_EXECUTING, false},
        {child, [] { throw ZKRunTimeException("T"); }, "thrown", family, RS_FAILED, false},
        {child, [] { throw std::runtime_error("r"); }, "false", standard, RS_FAILED, false},
        {child, [] { throw 1; }, "thrown", nothing, RS_FAILED, false},
        {child, [] { throw std::bad_alloc(); }, "thrown", nothing, RS_FAILED, true},
        {child, [] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }, "thrown", nothing, RS_FAILED, true},
        {exit, [] { throw std::runtime_error("r"); }, "false", standard, RS_FAILED, false},
        // What happens before the first pass is not handled.
        {start, [] { throw ZKRunTimeException("T"); }, "thrown", "\n", RS_FAILED, false},
        {attribute, [] { throw ZKUserAbort("stop"); }, "thrown", entry, RS_EXECUTING, false},
        {attribute, [] { throw std::runtime_error("r"); }, "thrown", entry, RS_FAILED, false},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.at) + " -> " + row.line);
        CLoop loop(Loop("to='2'"));
        loop.Host.SuiteLog().AddTestLog("open", false, false);
        loop.Host.At(row.at, row.raise);
        EXPECT_EQ(Outcome([&] { return loop.Group().Execute(false); }), row.outcome);
        EXPECT_TRUE(loop.Trace().ends_with(row.line)) << loop.Trace();
        EXPECT_EQ(loop.Group().RunState(), row.state);
        EXPECT_EQ(loop.Host.SuiteLog().CurrentTestLog()->Closed(), row.closesTestLog);
    }
}
