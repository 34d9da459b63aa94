#include "SessionFixture.h"

namespace
{
std::string Shown(const SProblem& problem)
{
    return std::to_string(problem.line) + ':' + std::to_string(problem.column) +
        (problem.severity == ESeverity::Error ? " error " : " warning ") + problem.rule + ": " + problem.message;
}

/// A group with something inside, which stands in its second line.
std::string In(const std::string& inside)
{
    return "<x:Group>\n  " + inside + "\n</x:Group>";
}

std::string Passing(const std::string& attributes)
{
    return In("<x:Function name=\"Passes\"><x:Parameter " + attributes + "/></x:Function>");
}

std::string Looping(const std::string& attributes, const std::string& further = {})
{
    return "<x:Group " + attributes + ">" + further + "<x:Function name=\"Passes\"/></x:Group>";
}

std::string Setting(const std::string& variable, const std::string& term)
{
    return In("<x:Set variable=\"" + variable + "\">\n" + term + "</x:Set>");
}

std::string Asking(const std::string& attributes)
{
    return In("<x:SetPopup variable=\"$N\" " + attributes + "/>");
}

std::string Comparing(const std::string& word)
{
    return "<x:Comparison operator=\"" + word + "\"><x:Value value=\"1\"/><x:Value value=\"2\"/></x:Comparison>";
}

std::string OnCondition(const std::string& condition)
{
    return In("<x:Function name=\"Passes\">\n" + condition + "</x:Function>");
}

std::string Local(const std::string& type, const std::string& name, const std::string& value = "0")
{
    return "<x:Local type=\"" + type + "\" name=\"" + name + "\" value=\"" + value + "\"/>";
}

std::string Constant(const std::string& type, const std::string& name, const std::string& value = "0")
{
    return "<x:Define type=\"" + type + "\" name=\"" + name + "\" value=\"" + value + "\"/>";
}

const std::string LIBRARY = "library=\"CliLibrary\"";
const std::string CALL = "<x:Function name=\"Passes\"/>";
const std::string ONE = "<x:Value value=\"1\"/>";
const std::string TERMINATE = "<x:LoopTerminate>" + Comparing("eq") + "</x:LoopTerminate>";
const std::string NEXT = "<x:NextIteration>" + ONE + "</x:NextIteration>";

class CCheckTest : public CSessionTest
{
protected:
    CCheckTest() { setup.readOnly = true; }

    /// A suite whose declarations stand in line 2 and whose groups begin in line 4.
    std::string Checked(const std::string& variables, const std::string& groups, const std::string& root = LIBRARY)
    {
        Write("suite.xml",
              "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" " + root + "><x:Variables>\n" + variables +
                  "\n</x:Variables><x:InitGroup>" + CALL + "</x:InitGroup>\n" + groups + "\n<x:ExitGroup>" + CALL +
                  "</x:ExitGroup></x:TestSuite>");
        return Path("suite.xml");
    }

    /// Each problem begins with what is expected, or is that where it ends in $, and there are no others.
    static void Expect(const std::vector<SProblem>& problems, const std::vector<std::string>& expected)
    {
        std::string shown;
        bool isAsExpected = problems.size() == expected.size();
        for (std::size_t i = 0; i < problems.size(); ++i)
        {
            shown += Shown(problems[i]) + '\n';
            isAsExpected = isAsExpected && (Shown(problems[i]) + '$').starts_with(expected[i]);
        }
        EXPECT_TRUE(isAsExpected) << shown << "expected: " << ::testing::PrintToString(expected);
    }
};

struct SRow
{
    std::string variables;
    std::string groups;
    std::vector<std::string> expected; ///< empty: nearly the same, and right
};

void PrintTo(const SRow& row, std::ostream* stream)
{
    *stream << row.variables << '\n' << row.groups;
}
} // namespace

#define CHECK_ROWS(rows)                                                                      \
    for (const SRow& row : rows)                                                              \
    {                                                                                         \
        SCOPED_TRACE(::testing::PrintToString(row));                                          \
        CSession session(setup);                                                              \
        Expect(session.LoadSuite(Checked(row.variables, row.groups))->Check(), row.expected); \
    }

TEST_F(CCheckTest, VariablesAndLiterals)
{
    // clang-format off
    const SRow rows[] = {
        {Local("LONG", "$N"), Setting("$N", ONE), {}},
        {Local("LONGLONG", "$N") + "\n " + Local("Long", "$N"), Setting("$N", ONE),
         {"3:2 error unknown-type: Invalid variable type: Long.; did you mean \"LONG\"?", "3:2 error duplicate-variable: the variable \"$N\" is declared already"}},
        {Local("LONG", "$Count"), Setting("$Cuont", "<x:Value value=\"$Count\"/>"), {"5:3 error undeclared-variable: variable: \"$Cuont\" is not declared; did you mean \"$Count\"?"}},
        {"", Setting("", "<x:Value value=\"$N\"/>"), {"5:3 error undeclared-variable: x:Set names no variable", "6:1 error undeclared-variable: value: \"$N\" is not declared"}},
        {"", Looping("to=\"2\" iterator=\"$i\""), {"4:1 error undeclared-variable: iterator: \"$i\""}},
        {"", Looping("iterator=\"$i\""), {"4:1 error undeclared-variable: iterator: \"$i\""}},
        {"", Looping("to=\"$n\""), {"4:1 error undeclared-variable: to: \"$n\""}},
        {"", In("<x:InfoPopup timeout=\"$T\"/>"), {"5:3 error undeclared-variable: timeout: \"$T\""}},
        {"", Passing("type=\"LONG\" passed=\"byVal\" value=\"$N\""), {"5:29 error undeclared-variable: value: \"$N\""}},
        {"", Passing("type=\"LONG\" value=\"3\""), {"5:29 error undeclared-variable: \"3\" is passed by reference and names no variable; a literal needs passed=\"byVal\""}},
        {"", Passing("type=\"LONG\" passed=\"byRef\" value=\"N\""), {"5:29 error undeclared-variable: \"N\", passed by reference, is not declared"}},
        {Local("LONG", "$N") + Local("LONG", "$M"), Setting("$N", ONE), {"2:43 warning unused-variable: \"$M\""}},
        {"<x:Local type=\"BOOL\" name=\"$D\" value=\"false\" ZKconfig=\"DEBUG_MODE\"/>" + Local("BYTE", "$T"), In("<x:InfoPopup timeout=\"$T\"/>"), {}},
        {Constant("LONG", "$N"), Passing("type=\"LONG\" passed=\"byRef\" value=\"$N\""), {"5:29 error constant-written: the constant \"$N\""}},
        {Constant("LONG", "$N"), Passing("type=\"LONG\" passed=\"byVal\" value=\"$N\""), {}},
        {Constant("LONG", "$N"), Setting("$N", ONE), {"5:3 warning constant-written: x:Set changes"}},
        {Constant("LONG", "$N"), Looping("to=\"2\" iterator=\"$N\""), {"4:1 warning constant-written: x:Group changes"}},
        {Constant("LONG", "$N"), Asking(""), {"5:3 warning constant-written: x:SetPopup changes"}},
        {Local("LONG", "$N"), Passing("type=\"SHORT\" value=\"$N\""), {"5:29 error reference-width: a reference to SHORT is too narrow for \"$N\", which is LONG"}},
        {Local("LONG", "$N"), Passing("type=\"PVOID\" value=\"$N\""), {"5:29 warning reference-width: a reference to PVOID reaches beyond \"$N\""}},
        {Local("BOOL", "$N"), Passing("type=\"BYTE\" value=\"$N\""), {}},
        {Local("LONG", "$N"), Passing("type=\"SHORT\" passed=\"byVal\" value=\"$N\""), {"5:29 error value-width: value: \"$N\" is LONG, wider than the SHORT"}},
        {Local("SHORT", "$N"), Passing("type=\"LONG\" passed=\"byVal\" value=\"$N\""), {}},
        {Local("LONGLONG", "$N"), Looping("from=\"$N\" interval=\"$N\" to=\"3\""), {"4:1 error value-width: from: ", "4:1 error value-width: interval: "}},
        {Local("PVOID", "$N"), In("<x:InfoPopup timeout=\"$N\"/>"), {"5:3 error value-width: timeout: "}},
        {Local("LONGLONG", "$N"), Setting("$N", "<x:Value value=\"$N\"/>"), {}},
        {Local("BYTE", "$N", "256"), Setting("$N", ONE), {"2:1 error literal: the value of \"$N\": \"256\" does not fit a BYTE, which holds 0 to 255: read as one it is 0"}},
        {Local("BYTE", "$N", " 0xFF"), Setting("$N", ONE), {}},
        {Local("LONG", "$N", "08"), Setting("$N", ONE), {"2:1 error literal: the value of \"$N\": \"08\" is no literal of the type LONG; 0 would be used"}},
        {Local("PVOID", "$N", "true"), Setting("$N", ONE), {"2:1 error literal: "}},
        {Local("BOOL", "$N", "2"), Setting("$N", ONE), {"2:1 error literal: the value of \"$N\": \"2\" does not fit a BOOL, which holds 0 to 1: read as one it is 1"}},
        {Local("BOOL", "$N", "TRUE"), Setting("$N", ONE), {}},
        {"", Passing("type=\"BYTE\" passed=\"byVal\" value=\"300\""), {"5:29 error literal: value: \"300\" does not fit a BYTE, which holds 0 to 255: read as one it is 44"}},
        {"", Passing("type=\"LONG\" passed=\"byVal\" value=\"ten\""), {"5:29 error literal: value: \"ten\" is no literal and names no variable"}},
        {"", Passing("type=\"LONG\" passed=\"byVal\""), {}},
        {Local("LONG", "ten"), Looping("to=\"tin\" from=\"ten\""), {"4:1 error literal: to: \"tin\" is no literal and names no variable; 0 would be used; did you mean \"ten\"?"}},
        {"", Looping("to=\"0x100000002\""), {"4:1 error literal: to: "}},
        {"", In("<x:InfoPopup timeout=\"-1\"/>"), {"5:3 error literal: timeout: "}},
        {Local("LONG", "n"), Setting("n", "<x:Value value=\"n\"/>"), {"6:1 error literal: \"n\" names a variable, but x:Value reads only those that begin with $"}},
        {Local("LONG", "n"), Setting("n", "<x:Value/>"), {"6:1 error literal: x:Value has no value"}},
        {Local("LONG", "n"), Setting("n", "<x:Value value=\" 1\"/>"), {"6:1 error literal: \" 1\" is no number"}},
        {Local("LONG", "n"), Setting("n", "<x:Value value=\"08\"/>"), {}},
        {Local("BYTE", "n"), Setting("n", "<x:Value value=\"256\"/>"), {"6:1 error literal: the value for \"n\": \"256\" does not fit"}},
        {Local("LONG", "$N"), Asking("min=\"1a\" max=\"0\""), {"5:3 error literal: min: \"1a\" is no number, as a prompt's bounds must be; 1 would be used"}},
        {Local("LONG", "$N") + Local("LONG", "$M"), Asking("max=\"$M\""), {"5:3 error literal: max: \"$M\" is no number, as a prompt's bounds must be; 0 would be used"}},
        {Local("LONG", "$N"), Asking("min=\" 0x10 \" max=\"+017\""), {}},
    };
    // clang-format on
    CHECK_ROWS(rows)
}

TEST_F(CCheckTest, Calls)
{
    std::string parameters;
    for (int i = 0; i < 20; ++i)
    {
        parameters += "<x:Parameter type=\"BYTE\" passed=\"byVal\" value=\"1\"/>";
    }
    const auto with = [](const std::string& inside)
    { return In("<x:Function name=\"Passes\">" + inside + "</x:Function>"); };
    const auto typed = [](const std::string& type)
    { return In("<x:Function name=\"Passes\" type=\"" + type + "\"/>"); };
    // clang-format off
    const SRow rows[] = {
        {"", with(parameters), {}},
        {"", with(parameters + "<x:Parameter type=\"BYTE\" passed=\"byVal\" value=\"1\"/>"), {"5:3 error too-many-parameters: \"Passes\" has 21 parameters; a call takes 20 at the most"}},
        {"", Passing("type=\"BIT\" passed=\"byVal\" value=\"$x\""), {"5:29 error unknown-type: \"BIT\" is no type, so the function gets 0"}},
        {"", Passing("passed=\"byVal\" value=\"1\""), {"5:29 error unknown-type: the parameter has no type"}},
        {Constant("LONG", "$N"), Passing("type=\"LONG\" passed=\"byval\" value=\"$N\""), {"5:29 error unknown-word: passed: \"byval\" means nothing, so an address is passed; did you mean \"byVal\"?"}},
        {Local("LONG", "$N"), Passing("type=\"LONG\" passed=\"byRef\" value=\"$N\""), {}},
        {"", typed("PassFailtest"), {"5:3 warning unknown-word: type: \"PassFailtest\" makes it a plain call, not a test; did you mean \"PassFailTest\"?"}},
        {"", typed("PassFailTest"), {}},
        {"", typed("PassFail"), {"5:3 warning unknown-word: type: \"PassFail\" makes it a plain call, not a test; did you mean \"PassFailTest\"?"}},
        {"", typed("Helper"), {}},
        {"", In("<x:Function name=\"Pases\"/>"), {"5:3 error missing-function: the test library exports no function \"Pases\"; did you mean \"Passes\"?"}},
        {"", In("<x:Function/>"), {"5:3 error missing-function: the function has no name"}},
        {"", In("<x:Function name=\"malloc\"/>"), {"5:3 error missing-function: "}},
    };
    // clang-format on
    CHECK_ROWS(rows)
}

TEST_F(CCheckTest, GroupsAndLoops)
{
    const std::string byte = Local("BYTE", "$i");
    const std::string iterator = "iterator=\"$i\" ";
    const auto ignored = [](const char* what) { return "4:1 warning ignored: " + std::string(what); };
    // clang-format off
    const SRow rows[] = {
        {"", "<x:Group>\n<x:Tooltip>t</x:Tooltip>" + TERMINATE + "</x:Group>", {"4:1 error empty-group: x:Group has nothing to run"}},
        {"", In("<x:InfoPopup/>"), {}},
        {Local("BOOL", "$i"), Looping(iterator + "to=\"3\""), {"4:1 error iterator-type: the iterator \"$i\" is BOOL"}},
        {Local("PVOID", "$i"), Looping(iterator, TERMINATE), {"4:1 error iterator-type: the iterator \"$i\" is PVOID"}},
        {Local("BOOL", "$i"), Looping(iterator + "to=\"2\"", NEXT), {}},
        {Local("BOOL", "$i"), Looping(iterator + "from=\"2\" to=\"3\"", NEXT), {"4:1 warning iterator-range: from: 2 is beyond the iterator \"$i\", whose type BOOL ends at 1", "4:1 warning iterator-range: to: 3"}},
        {Local("BOOL", "$i"), Looping(iterator), {}},
        {Local("LONGLONG", "$i"), Looping(iterator), {"4:1 error iterator-type: the iterator \"$i\" is LONGLONG; it must be BYTE, SHORT or LONG"}},
        {byte, Looping(iterator + "to=\"256\""), {}},
        {byte, Looping(iterator + "to=\"257\""), {"4:1 warning iterator-range: to: 257"}},
        {byte, Looping(iterator + "to=\"256\" breakConditionType=\"NonStrict\""), {"4:1 warning iterator-range: to: 256"}},
        {byte, Looping(iterator + "to=\"3\"", NEXT + "<x:NextIteration>\n<x:Value value=\"256\"/></x:NextIteration>"), {"4:31 warning ignored: ", "5:1 warning iterator-range: x:NextIteration: 256 is beyond the iterator"}},
        {byte, Looping(iterator + "to=\"300\""), {"4:1 warning iterator-range: to: 300 is beyond the iterator \"$i\", whose type BYTE ends at 255"}},
        {byte, Looping(iterator + "from=\"300\" to=\"0\" iterType=\"Decr\""), {"4:1 warning iterator-range: from: 300"}},
        {byte, Looping(iterator + "to=\"255\" breakConditionType=\"NonStrict\""), {}},
        {byte + Local("SHORT", "$n", "300"), Looping(iterator + "to=\"$n\""), {}},
        {byte, Looping(iterator + "to=\"2\" interval=\"0\""), {"4:1 error interval-zero: "}},
        {Constant("LONG", "$z"), Looping("to=\"2\" interval=\"$z\""), {"4:1 error interval-zero: "}},
        {Local("LONG", "$z"), Looping("to=\"2\" interval=\"$z\""), {"4:1 error interval-zero: "}},
        {Local("LONG", "$z"), Looping("to=\"2\" interval=\"$z\"") + Passing("type=\"LONG\" value=\"$z\""), {}},
        {byte, Looping(iterator + "interval=\"0\"", TERMINATE), {}},
        {"", Looping("from=\"2\" to=\"2\" interval=\"0\""), {"4:1 warning no-pass: from 2 up to 2, which is excluded, there is no pass"}},
        {"", Looping("from=\"2\" to=\"2\" breakConditionType=\"NonStrict\""), {}},
        {"", Looping("to=\"3\" iterType=\"Decr\" breakConditionType=\"NonStrict\""), {"4:1 warning no-pass: from 0 down to 3 there is no pass"}},
        {Constant("LONG", "$n"), Looping("to=\"$n\""), {}},
        {"", Looping("to=\"3\" iterType=\"decr\""), {"4:1 warning unknown-word: iterType: \"decr\" means nothing, so the loop counts up; did you mean \"Decr\"?"}},
        {"", Looping("to=\"3\" iterType=\"increment\""), {"4:1 warning unknown-word: iterType: \"increment\" means nothing, so the loop counts up; did you mean \"Incr\"?"}},
        {"", Looping("to=\"3\" breakConditionType=\"Nonstrict\""), {"4:1 warning unknown-word: breakConditionType: \"Nonstrict\" means nothing, so the bound is excluded; did you mean \"NonStrict\"?"}},
        {"", Looping("to=\"3\" iterType=\"Incr\" breakConditionType=\"Strict\""), {}},
        {"", Looping("from=\"1\" interval=\"2\" iterType=\"Decr\" breakConditionType=\"Strict\""), {ignored("\"from\""), ignored("\"interval\""), ignored("\"iterType\""), ignored("\"breakConditionType\"")}},
        {byte, Looping(iterator + "from=\"1\""), {}},
        {byte, Looping(iterator, NEXT), {}},
        {byte, Looping(iterator + "from=\"1\"", NEXT), {ignored("\"from\"")}},
        {"", Looping("", "\n" + NEXT), {"5:1 warning ignored: nothing reads the value of x:NextIteration: "}},
        {"", Looping("from=\"1\" to=\"3\" interval=\"2\" breakConditionType=\"Strict\"", TERMINATE), {ignored("\"to\""), ignored("\"breakConditionType\""), ignored("\"from\""), ignored("\"interval\"")}},
        {"", Looping("from=\"9\" interval=\"2\" iterType=\"Decr\"", TERMINATE), {}},
        {byte, Looping(iterator + "from=\"9\" to=\"3\" interval=\"2\" iterType=\"Decr\"", NEXT), {ignored("\"interval\"")}},
        {byte, Looping(iterator + "iterType=\"Decr\"", NEXT + TERMINATE), {ignored("\"iterType\"")}},
        {"", Looping("to=\"$gone\" iterType=\"Decr\"", TERMINATE), {ignored("\"to\"")}},
        {byte, Looping(iterator + "from=\"1a\" interval=\"$gone\"", NEXT), {ignored("\"from\""), ignored("\"interval\"")}},
        {byte, Looping(iterator + "from=\"1a\""), {"4:1 error literal: from: "}},
        {"", Looping("from=\"1a\" interval=\"1a\" iterType=\"Decr\"", TERMINATE), {"4:1 error literal: from: ", "4:1 error literal: interval: "}},
        {Local("LONGLONG", "$n"), Looping("to=\"$n\"", TERMINATE), {"4:1 error value-width: to: ", ignored("\"to\"")}},
        {"", Looping("", "<x:LoopTerminate><x:Or>" + Comparing("eq") + "</x:Or></x:LoopTerminate>\n" + TERMINATE), {"4:11 warning ignored: x:LoopTerminate"}},
        {byte, Looping(iterator, TERMINATE + "\n" + TERMINATE), {"4:25 warning ignored: x:LoopTerminate has no effect: of several, only the last one counts"}},
    };
    // clang-format on
    CHECK_ROWS(rows)
}

TEST_F(CCheckTest, TermsConditionsAndPrompts)
{
    const std::string condition = "<x:Condition>" + Comparing("eq") + "</x:Condition>";
    const std::string n = Local("BYTE", "$N");
    const std::string bad =
        "<x:Comparison operator=\"eq\"><x:Value value=\"$gone\"/><x:Value value=\"a\"/></x:Comparison>";
    // clang-format off
    const SRow rows[] = {
        {"", OnCondition("<x:Condition>" + Comparing("ltee") + "</x:Condition>"), {"6:14 error unknown-operator: x:Comparison: the operator \"ltee\" is not known; known are eq, gt, gte, lt, lte, ne; did you mean \"lte\"?"}},
        {"", OnCondition("<x:Condition>" + Comparing("le") + "</x:Condition>"), {"6:14 error unknown-operator: x:Comparison: the operator \"le\" is not known; known are eq, gt, gte, lt, lte, ne$"}},
        {"", OnCondition("<x:Condition>" + Comparing("neq") + "</x:Condition>"), {"6:14 error unknown-operator: x:Comparison: the operator \"neq\" is not known; known are eq, gt, gte, lt, lte, ne$"}},
        {n, Setting("$N", "<x:Expression operator=\"sum\">" + ONE + ONE + "</x:Expression>"), {"6:1 error unknown-operator: x:Expression: the operator \"sum\""}},
        {n, Setting("$N", "<x:Expression operator=\"add\">" + ONE + "</x:Expression>"), {"6:1 error terms: x:Expression needs at least two terms"}},
        {n, Setting("$N", "<x:Expression operator=\"add\">" + ONE + ONE + ONE + "</x:Expression>"), {}},
        {"", OnCondition("<x:Condition><x:Or>" + Comparing("ne") + "</x:Or></x:Condition>"), {"6:14 error terms: x:Or"}},
        {"", OnCondition("<x:Condition><x:Comparison operator=\"eq\">" + ONE + "</x:Comparison></x:Condition>"), {"6:14 error terms: x:Comparison"}},
        {"", OnCondition("<x:Condition><x:Comparison operator=\"eq\">" + ONE + ONE + "\n" + ONE + "</x:Comparison></x:Condition>"), {"7:1 warning ignored: x:Value has no effect: x:Comparison compares two terms"}},
        {"", OnCondition("<x:Condition>" + Comparing("lt") + "</x:Condition>"), {"6:14 warning inverted-word: the operator \"lt\" is true when left >= right; for left < right write \"gt\" with the terms exchanged"}},
        {"", OnCondition("<x:Condition>" + Comparing("gte") + "</x:Condition>"), {"6:14 warning inverted-word: the operator \"gte\" is true when left < right; for left >= right write \"lte\" with the terms exchanged"}},
        {"", OnCondition("<x:Condition><x:And>" + Comparing("lte") + Comparing("gt") + "</x:And></x:Condition>"), {}},
        {"", OnCondition(condition + "\n" + condition), {"6:1 warning repeated-condition: "}},
        {"", In("<x:Group>" + condition + "<x:Function name=\"Passes\">" + condition + "</x:Function></x:Group>"), {}},
        {n, Setting("$N", "<x:Value value=\"1\">" + condition + "</x:Value>"), {"6:20 warning ignored: x:Condition has no effect in x:Value"}},
        {"", In(CALL + ONE), {"5:30 warning ignored: x:Value has no effect among the children of a group"}},
        {"", OnCondition("<x:Condition>" + bad + "</x:Condition>\n" + condition), {"6:1 warning repeated-condition: "}},
        {"", OnCondition("<x:Condition>" + bad + "</x:Condition>"), {"6:42 error undeclared-variable: ", "6:66 error literal: "}},
        {"", OnCondition("<x:Condition><x:Comparison operator=\"eq\">" + ONE + ONE + "\n<x:Value value=\"a\"/></x:Comparison></x:Condition>"), {"7:1 warning ignored: x:Value"}},
        {"", In(CALL + "<x:Expression operator=\"add\"><x:Value value=\"$gone\"/></x:Expression>"), {"5:30 warning ignored: x:Expression"}},
        {"", In(CALL + Comparing("eq")), {"5:30 warning ignored: x:Comparison decides nothing among the children of a group"}},
        {"", In(CALL + "<x:Not>" + bad + "</x:Not>"), {"5:30 warning ignored: x:Not decides nothing", "5:65 error undeclared-variable: ", "5:89 error literal: "}},
        {n, Asking("min=\"5\" max=\"4\""), {"5:3 error prompt-range: no number is from 5 to 4"}},
        {n, Asking("min=\"5\" max=\"256\""), {"5:3 warning prompt-range: 256 may be answered, but \"$N\" is BYTE, which ends at 255"}},
        {n, Asking("min=\"256\""), {"5:3 warning prompt-range: 256"}},
        {n, Asking("max=\"255\" min=\"255\" hex=\"TRUE\" initialize=\"no\""), {}},
        {n, Asking("hex=\"on\" initialize=\"ture\""), {"5:3 warning unknown-word: hex: \"on\" means nothing, so it counts as false", "5:3 warning unknown-word: initialize: \"ture\" means nothing, so it counts as true; did you mean \"true\"?"}},
    };
    // clang-format on
    CHECK_ROWS(rows)
}

TEST_F(CCheckTest, TheRootAndItsLibrary)
{
    const struct
    {
        std::string root;
        std::string groups;
        std::vector<std::string> expected;
    } rows[] = {
        {"dll=\"CliLibrary\" products=\"A\" configurations=\"B\"", "", {}},
        {LIBRARY + " dll=\"Other\"", "", {"1:1 warning ignored: \"dll\""}},
        {LIBRARY + " configurations=\"B\"", "", {"1:1 warning ignored: \"configurations\""}},
        {LIBRARY + " products=\"A\" alwaysload=\"1\"", "", {"1:1 warning ignored: \"products\""}},
        {LIBRARY + " alwaysload=\"ok\"", "", {"1:1 warning unknown-word: alwaysload: \"ok\" means nothing"}},
        {"", "", {"1:1 error missing-library: the suite calls functions and names no test library"}},
        {"library=\"Gone\"",
         "<x:Group><x:Function name=\"Gone\"/></x:Group>",
         {"1:1 error missing-library: the test library \"Gone\" cannot be opened: " + Path("libGone.so") +
          ": no such file; "}},
        {"library=\"Text\"", "", {"1:1 error missing-library: "}},
        {"library=\"a/b\"", "", {"1:1 error missing-library: the test library \"a/b\" cannot be opened: The library"}},
        {LIBRARY,
         "<x:DllLoadError>a</x:DllLoadError><x:LibraryLoadError>b</x:LibraryLoadError>",
         {"4:1 warning ignored: x:DllLoadError has no effect"}},
        {LIBRARY, "<x:Variables/>", {"4:1 warning ignored: x:Variables has no effect: of several, only the first"}},
    };
    Write("libText.so", "no library");
    for (const auto& [root, groups, expected] : rows)
    {
        SCOPED_TRACE(root);
        CSession session(setup);
        Expect(session.LoadSuite(Checked("", groups, root))->Check(), expected);
    }
}

TEST_F(CCheckTest, ADocumentThatDoesNotLoadIsCheckedAsFarAsItGoes)
{
    const std::string typo = Passing("type=\"LONG\" passed=\"byval\" value=\"$N\"");
    const char* const word = "5:29 error unknown-word: passed";
    const char* const undeclared = "5:29 error undeclared-variable: ";
    const struct
    {
        std::string variables;
        std::string groups;
        std::string root;
        std::vector<std::string> expected;
    } rows[] = {
        {Local("FLOAT", "$N"), typo, LIBRARY, {"2:1 error unknown-type: Invalid variable type: FLOAT.", word}},
        {"", typo, "products=\"Other\" " + LIBRARY, {"0:0 error product: ", word, undeclared}},
        {"",
         typo + "<x:Grup/>",
         "products=\"Other\" " + LIBRARY,
         {"0:0 error product: ", word, undeclared, "6:11 error schema: x:Grup is unknown"}},
        {"", typo + "<x:Grup/>", LIBRARY, {word, undeclared, "6:11 error schema: x:Grup is unknown"}},
        {"",
         In("<x:Function nmae=\"Passes\"/>"),
         LIBRARY,
         {"5:3 error schema: ", "5:3 error missing-function: the function has no name"}},
        {"",
         In("<x:Function nmae=\"n\" name=\"Pases\"/>"),
         LIBRARY,
         {"5:3 error schema: ", "5:3 error missing-function: "}},
        {"",
         In("<x:Function name=\"Passes\"><x:Parameter tpye=\"LONG\" value=\"$N\"/></x:Function>"),
         LIBRARY,
         {"5:29 error schema: "}},
        {"", "<x:Group>\n<x:Function name=\"Pass\"/>", LIBRARY, {"6:1 error schema: x:ExitGroup", "6:57 error xml: "}},
    };
    setup.product = "Mine";
    for (const auto& [variables, groups, root, expected] : rows)
    {
        SCOPED_TRACE(groups);
        const bool isMine = root == LIBRARY;
        CSession session(setup);
        const std::string attributes = isMine ? root + " products=\"mine\"" : root;
        Expect(session.LoadSuite(Checked(variables, groups, attributes))->Check(), expected);
    }
}

TEST_F(CCheckTest, AnswersAreTakenThroughThePromptsThatAreMet)
{
    const std::string ask = "<x:SetPopup text=\"n?\" variable=\"$N\" max=\"9\"/>";
    const std::string tell = "<x:InfoPopup text=\"well\"/>";
    const std::string condition = "<x:Condition>" + Comparing("eq") + "</x:Condition>";
    const auto group = [](const std::string& attributes, const std::string& inside)
    { return "<x:Group " + attributes + ">\n" + inside + "</x:Group>\n"; };
    const SScriptedAnswer one(std::uint64_t{1});
    const SScriptedAnswer ok(EPromptEnd::Ok);
    const SScriptedAnswer named(EPromptEnd::Ok, "other");
    const struct
    {
        std::string groups;
        std::deque<SScriptedAnswer> answers;
        std::vector<std::string> expected;
        std::size_t left = 0;
        bool isCertain = true;
        std::vector<SSelection> selections = {};
    } rows[] = {
        {group("", ask + tell), {one, ok}, {}},
        {group("", ask + tell), {one, ok, ok}, {}, 1},
        {group("", ask + tell),
         {ok, one},
         {"5:1 error answers: entry 1 of the answers cannot serve the prompt \"n?\": an integer prompt takes a number"},
         1,
         false},
        {group("", ask), {SScriptedAnswer(std::uint64_t{10})}, {"5:1 error answers: entry 1 of the answers"}, 0, false},
        {group("", tell), {named}, {"5:1 error answers: entry 1"}, 0, false},
        {group("", ask + tell), {one}, {"5:46 error answers: the prompt \"well\" finds no answer"}, 0, false},
        {group("", ask + tell), {}, {}, 0, true, {{true, "/2"}}},
        {group("from=\"2\" to=\"5\"", tell), {ok, ok, ok}, {}},
        {group("from=\"9\" to=\"0\" interval=\"5\" iterType=\"Decr\"", tell), {ok, ok}, {}},
        {group("to=\"4000000000\"", tell), {ok, ok}, {"5:1 error answers: the prompt \"well\""}, 0, false},
        {group("to=\"4000000000\"", group("to=\"0\"", tell)), {ok}, {}, 1},
        {group("to=\"$N\"", CALL) + group("", tell), {ok}, {}},
        {group("to=\"$N\"", ask), {one, one}, {}, 2, false},
        {group("to=\"$N\"", tell), {ok}, {}, 1},
        {group("to=\"$N\"", tell) + group("", ask), {ok}, {}, 1, false},
        {group("to=\"3\"", ask + NEXT), {one}, {}, 1, false},
        {group("to=\"2\" iterator=\"$gone\"", CALL) + group("", tell), {ok}, {}, 1, false},
        {group("", "<x:InfoPopup timeout=\"$gone\"/>") + group("", tell), {ok, ok}, {}, 2, false},
        {group("", "<x:InfoPopup timeout=\"$N\"/>"), {ok}, {}},
        {group("", condition + ask) + group("", tell), {ok}, {}, 1, false},
        {group("", tell + group("", condition + CALL)), {ok}, {}},
        {group("", tell + tell) + group("", tell), {SScriptedAnswer(EPromptEnd::Cancel), ok, ok}, {}},
        {group("", tell + tell) + group("", tell), {SScriptedAnswer(EPromptEnd::Abort), ok}, {}, 1, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.groups);
        CSession session(setup);
        const std::unique_ptr<CSuite> suite = session.LoadSuite(Checked(Local("LONG", "$N"), row.groups));
        suite->Select(row.selections);
        SAnswersAhead answers{row.answers};
        Expect(suite->CheckAnswers(answers), row.expected);
        EXPECT_EQ(answers.entries.size(), row.left);
        EXPECT_EQ(answers.isCertain, row.isCertain);
    }
}

TEST_F(CCheckTest, WhatWasLoadedForReadingOnlyDoesNotRun)
{
    CSession session(setup);
    const std::unique_ptr<CSuite> suite = session.LoadSuite(Suite(Call("Passes")));
    ASSERT_TRUE(suite->Loaded());
    const SOutcome outcome = session.Run(*suite);
    EXPECT_EQ(outcome.outcome, EOutcome::NotLoaded);
    EXPECT_EQ(outcome.reason, "the suite was loaded for reading only: its test library is not opened");
}
