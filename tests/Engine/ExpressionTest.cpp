#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/NumericExpressionNode.h>

#include <regex>
#include <sstream>

namespace
{
const char* const TWO_POW_32 = "4294967296";
const char* const MAX = "18446744073709551615";

/// Variables, and what stands between the initialisation and the exit group, which do nothing.
std::string Body(const std::string& content)
{
    return R"(<x:Variables>
            <x:Define type="LONG" name="$Fixed" value="1"/>
            <x:Local type="BYTE" name="$Byte" value="0x1AB"/>
            <x:Local type="LONG" name="$i" value="3"/>
            <x:Local type="LONGLONG" name="$v" value="0"/>
            <x:Local type="LONGLONG" name="$Huge" value="0x8000000000000001"/>
        </x:Variables><x:InitGroup><x:Value value="0"/></x:InitGroup>)" +
        content + R"(<x:ExitGroup><x:Value value="0"/></x:ExitGroup>)";
}

/// An element; `head` is its name without the prefix, and its attributes.
std::string In(const std::string& head, const std::string& children)
{
    return "<x:" + head + ">" + children + "</x:" + head.substr(0, head.find(' ')) + ">";
}

std::string Value(const std::string& value)
{
    return "<x:Value value=\"" + value + "\"/>";
}

std::string Compare(const std::string& word, const std::string& left, const std::string& right)
{
    return In("Comparison operator='" + word + "'", Value(left) + Value(right));
}

/// An expression of terms that blanks separate.
std::string Expression(const std::string& word, const std::string& terms)
{
    std::istringstream stream(terms);
    std::string children;
    for (std::string term; stream >> term;)
    {
        children += Value(term);
    }
    return In("Expression operator='" + word + "'", children);
}

std::string Hex(std::uint64_t value)
{
    std::ostringstream text;
    text << std::uppercase << std::hex << value;
    return text.str();
}

const std::string HOLDS = Compare("eq", "1", "1");
const std::string FAILS = Compare("eq", "1", "2");
const std::string NO_RESULT = In("Comparison operator='eq'", Expression("div", "1 0") + Value("1"));

/// The story of a run. Trace lines begin with ">", error lines with "!"; line numbers of sources show as N. Left out:
/// the values read and what the two idle groups write, or all lines but those that match `only`.
std::string Story(const CRecordingHost& host, const char* only = nullptr, unsigned kinds = REC_STORY)
{
    static const std::regex lineNumber(R"((Orvanta/\w+)\(\d+\))"), trace("^log TS_NONE L5 node: ");
    static const std::regex error("^log TS_ERROR L1 -: "), leftOut("- In x:Value: |(Entering|Exiting) x:(Init|Exit)");
    std::string text = "\n";
    for (const std::string& recorded : host.Transcript(kinds))
    {
        const std::string line = std::regex_replace(std::regex_replace(recorded, trace, ">"), error, "! ");
        if (only ? std::regex_search(line, std::regex(only)) : !std::regex_search(line, leftOut))
        {
            text += std::regex_replace(line, lineNumber, "$1(N)") + '\n';
        }
    }
    return text;
}

/// Loads and runs a suite with one group that holds `children`.
std::string RunGroup(const std::string& children, const char* only = nullptr, bool expected = true)
{
    CRecordingHost host;
    CLoadedSuite suite(host, Body(In("Group", children)));
    EXPECT_EQ(suite.Run(), expected);
    return Story(host, only);
}

/// Calculates a node without a schema's protection, which fails, and returns what it wrote.
std::string Calculated(const std::string& element, unsigned kinds = REC_STORY)
{
    CRecordingHost host;
    CLoadedSuite suite(host, Body(In("Group", element)), "", false);
    CNode& node = suite.Node("/1/0");
    CBooleanBaseNode* const boolean = dynamic_cast<CBooleanBaseNode*>(&node);
    const std::pair<bool, std::uint64_t> result = boolean ? std::pair<bool, std::uint64_t>(boolean->Calculate())
                                                          : dynamic_cast<CNumericBaseNode&>(node).Calculate();
    EXPECT_EQ(result, std::pair(false, std::uint64_t{0})) << element;
    return Story(host, nullptr, kinds);
}
} // namespace

TEST(Expression, LiteralsOfAValue)
{
    const auto run = [](const std::string& element, bool expected)
    { return RunGroup(In("Set variable='$v'", element), "In x:Value|Setting|failed unexp", expected); };
    // A leading zero is decimal, unlike a variable's value; only the second character tells of hexadecimal digits; a
    // variable gives its whole slot.
    const std::pair<std::string, std::uint64_t> valid[] = {
        // clang-format off
        {"42", 42}, {"0x2A", 42}, {"0X2a", 42}, {"1x2A", 42}, {"0", 0}, {"017", 17}, {"00000000000000000000007", 7},
        {"TRUE", 1}, {"False", 0}, {"Null", 0}, {MAX, ~0ULL}, {"0xFFFFFFFFFFFFFFFF", ~0ULL}, {"$Byte", 0x1AB},
        {"$Huge", 0x8000000000000001},
        // clang-format on
    };
    for (const auto& [text, value] : valid)
    {
        EXPECT_EQ(run(Value(text), true),
                  "\n>       - In x:Value: value attribute string=\"" + text + "\", value = " + std::to_string(value) +
                      " (0x" + Hex(value) + ")\nlog TS_NONE L3 -: Setting $v to " + std::to_string(value) + " (" +
                      Hex(value) + ")\n");
    }

    const auto refused = [&](const std::string& element, const std::string& text)
    { EXPECT_EQ(run(element, false), "\n! Test suite failed unexpectedly:\\n -- " + text + "\n"); };
    const std::string where = "\\nZKEngine/Orvanta/NumericValueNode(N): CNumericValueNode::Calculate:\\n";
    for (const char* text : {"0x", "42abc", "0x2G", "-1", "+1", " 42", "42 ", "0x 1", "0x-1", "0x0x1",
                             "18446744073709551616", "0x10000000000000000", "yes", "truex", "\u00e9"})
    {
        refused(Value(text), where + "Invalid value for x:Value/@value: " + text);
    }
    refused(Value(""), where + "x:Value element missing required attribute value.");
    refused("<x:Value/>", where + "x:Value element missing required attribute value.");
    refused(Value("$none"), "Variable does not exist:  $none");
    refused(Value("$V"), "Variable does not exist:  $V");
    refused(Value("$"), "Variable does not exist:  $");
}

TEST(Expression, OperatorsAtTheirLimits)
{
    const std::string sumOverflow = "ZKTESTS Overflow (addition). (lhs = ";
    const std::string underflow = "ZKTESTS Underflow:  subtraction would result in a negative number. (lhs = ";
    const std::string productOverflow = "ZKTESTS Overflow (multiplication). (lhs = ";
    const std::string zero = "ZKTESTS Divide by zero";
    const struct
    {
        std::string word, terms;
        std::uint64_t value;
        std::string refusal;
    } rows[] = {
        // clang-format off
        {"add", "0 0", 0, ""},                         {"add", "1 2 3 4", 10, ""},
        {"add", "18446744073709551614 1", ~0ULL, ""},  {"add", "4294967296 4294967296", 0x200000000, ""},
        {"add", "18446744073709551615 1", 0, sumOverflow + "18446744073709551615, rhs = 1)"},
        {"add", "1 1 18446744073709551615", 0, sumOverflow + "2, rhs = 18446744073709551615)"},
        {"sub", "10 3 2", 5, ""},                      {"sub", "4294967296 1", 0xFFFFFFFF, ""},
        {"sub", "18446744073709551615 18446744073709551615", 0, ""},
        {"sub", "0 1", 0, underflow + "0, rhs = 1"}, // the message ends without a parenthesis
        {"sub", "4294967296 18446744073709551615", 0, underflow + "4294967296, rhs = 18446744073709551615"},
        {"mul", "2 3 7", 42, ""},                      {"mul", "4294967295 4294967297", ~0ULL, ""},
        {"mul", "0 18446744073709551615", 0, ""},      {"mul", "18446744073709551615 0", 0, ""},
        {"mul", "18446744073709551615 1", ~0ULL, ""},  {"mul", "4294967296 4294967295", 0xFFFFFFFF00000000, ""},
        {"mul", "4294967296 4294967296", 0, productOverflow + "4294967296, rhs = 4294967296)"},
        {"mul", "2 0x8000000000000000", 0, productOverflow + "2, rhs = 9223372036854775808)"},
        {"div", "100 7 2", 7, ""},                     {"div", "18446744073709551615 4294967296", 0xFFFFFFFF, ""},
        {"div", "18446744073709551615 1", ~0ULL, ""},  {"div", "1 18446744073709551615", 0, ""},
        {"div", "0 0", 0, zero},                       {"mod", "7 0", 0, zero + ": mod 0 is not defined."},
        {"mod", "100 30 4", 2, ""},                    {"mod", "18446744073709551615 4294967296", 0xFFFFFFFF, ""},
        {"mod", "18446744073709551615 1", 0, ""},      {"mod", "0 18446744073709551615", 0, ""},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        const std::string named = "x:Expression (operator=\"" + row.word + "\")";
        const std::string value = std::to_string(row.value);
        EXPECT_EQ(RunGroup(In("Set variable='$v'", Expression(row.word, row.terms)), "x:Expr|^!|Setting",
                           row.refusal.empty()),
                  "\n>       - Calculating " + named + ".\n" +
                      (row.refusal.empty()
                           ? ">       - " + named + " completed: value=" + value + " (0x" + Hex(row.value) +
                               ").\nlog TS_NONE L3 -: Setting $v to " + value + " (" + Hex(row.value) + ")\n"
                           : "! Unexpected failure in numeric calculation: " + row.refusal +
                               "\n! x:Set calculation failed.\n"));
    }
}

TEST(Expression, WordsOfAComparison)
{
    const struct
    {
        const char* word;
        bool below, equal, above; ///< of 2 and 3, 3 and 3, 5 and 3
    } words[] = {
        {"eq", false, true, false},  {"ne", true, false, true},
        {"gt", false, false, true},  {"lt", false, true, true}, // the words "lt" and "gte" are crossed
        {"gte", true, false, false}, {"lte", true, true, false},
    };
    const auto expect = [](const std::string& word, const std::string& left, const std::string& right, bool holds)
    {
        const std::string result = holds ? "TRUE" : "FALSE";
        EXPECT_EQ(RunGroup(In("Set variable='$v'", In("Condition", Compare(word, left, right)) + Value("1")),
                           "x:Comparison|x:Condition: |Setting|^!"),
                  "\n>         - x:Comparison (operator: " + word + "): lhs=" + left + ", rhs=" + right +
                      ", result = " + result + "\n>       - x:Condition: value=" + result + ".\n" +
                      (holds ? "log TS_NONE L3 -: Setting $v to 1 (1)\n" : ""));
    };
    for (const auto& row : words)
    {
        expect(row.word, "2", "3", row.below);
        expect(row.word, "3", "3", row.equal);
        expect(row.word, TWO_POW_32, "1", row.above); // all 64 bits count, and show, without a sign
        expect(row.word, "0", MAX, row.below);
    }

    for (const std::string element :
         {"<x:Comparison operator=\"EQ\"/>", "<x:Comparison/>", "<x:Expression/>", "<x:Expression operator=\"pow\"/>"})
    {
        CRecordingHost host;
        EXPECT_THROW(CLoadedSuite(host, Body(In("Group", element)), "", false), std::out_of_range) << element;
    }
}

TEST(Expression, Conditions)
{
    const auto set = [](const std::string& terms)
    { return In("Set variable='$v' label='L'", In("Condition", terms) + Value("1")); };
    CRecordingHost host;
    CLoadedSuite suite(
        host,
        Body(In("Group",
                set(FAILS + "</x:Condition><x:Condition>" + HOLDS) + set(FAILS) + set(NO_RESULT) +
                    set(Compare("eq", "1", "x")) + set(In("Comparison operator='eq'", Value("1"))) + set(HOLDS))));
    EXPECT_EQ(suite.Node("/1/0").ChildCount(), 1); // the later of two conditions counts, and is no child
    EXPECT_FALSE(suite.Run());
    EXPECT_EQ(Story(host, "^!|x:Co|x:Expr|test-log: L|Unexp"), R"(
>       - Calculating x:Condition.
>         - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>       - x:Condition: value=TRUE.
test-log: L
>       - Calculating x:Condition.
>         - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>       - x:Condition: value=FALSE.
>       - Calculating x:Condition.
>           - Calculating x:Expression (operator="div").
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
! x:Comparison: couldn't get comparisons.
! x:Condition: calculation failed.
>       - Calculating x:Condition.
! x:Comparison: unexpected failure: \nZKEngine/Orvanta/NumericValueNode(N): CNumericValueNode::Calculate:\nInvalid value for x:Value/@value: x
! x:Condition: calculation failed.
>       - Calculating x:Condition.
>   - Unexpected failure x:Group.
)");
    const ERunState states[] = {RS_PASSED, RS_NOT_RUN, RS_NOT_RUN, RS_NOT_RUN, RS_NOT_RUN, RS_NOT_RUN};
    for (int index = 0; index < 6; ++index)
    {
        EXPECT_EQ(suite.Node("/1").GetChild(index)->RunState(), states[index]) << index;
    }
    EXPECT_EQ(suite.Node("/1").RunState(), RS_FAILED);
}

TEST(Expression, BooleanNodesAsChildrenOfAGroup)
{
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body(In("Group",
                               In("And operator='both'", HOLDS + In("Not", HOLDS) + In("Or", FAILS + HOLDS + FAILS)) +
                                   In("Not", FAILS) + FAILS)));
    EXPECT_TRUE(suite.Run());
    // Nothing is cut short. What is false is skipped; what is true is calculated again to run; a comparison never runs.
    EXPECT_EQ(Story(host), R"(
>   - Entering x:Group: .
>     - Calculating x:And ("both").
>       - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>       - Calculating x:Not.
>         - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>       - x:Not: value=FALSE.
>       - Calculating x:Or ("").
>         - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>         - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>         - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>       - x:Or (operator="") value=1.
>     - x:And (operator="both") value=0.
>     - Calculating x:Not.
>       - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>     - x:Not: value=TRUE.
>     - Calculating x:Not.
>       - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>     - x:Not: value=TRUE.
>     - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>   - Exiting x:Group.
)");
    EXPECT_EQ(suite.Node("/1/0").RunState(), RS_NOT_RUN);
    EXPECT_EQ(suite.Node("/1/1").RunState(), RS_PASSED);
    EXPECT_EQ(suite.Node("/1/2").RunState(), RS_NOT_RUN);
}

TEST(Expression, AFailedCalculationFlushesOnlyInNot)
{
    const std::string failure = R"(
>         - Calculating x:Expression (operator="div").
flush true
flush true
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
flush true
! x:Comparison: couldn't get comparisons.
)"; // the right side is calculated although the left one failed
    EXPECT_EQ(Calculated(In("Not", NO_RESULT), REC_LOG | REC_FLUSH),
              "\n>     - Calculating x:Not." + failure + "! x:Not: calculation failed.\nflush true\n");
    EXPECT_EQ(Calculated(In("Or", NO_RESULT), REC_LOG | REC_FLUSH), // a first term fails in silence
              "\n>     - Calculating x:Or (\"\")." + failure);
}

TEST(Expression, ChildrenThatAreMissingOrOfAnotherClass)
{
    const std::string one = Value("1");
    const std::string numeric = "Unexpected failure in numeric calculation: ";
    const std::string twoBooleans = "x:And: Calculation failed: \\nZKEngine/Orvanta/BooleanCalcBinaryNode(N): "
                                    "CBooleanCalcBinaryNode::Calculate:\\nAn x:And must have at least two terms..";
    const std::string twoNumbers = "\\nZKEngine/Orvanta/NumericExpressionNode(N): CNumericExpressionNode::Calculate:"
                                   "\\nAn x:Expression must have at least two terms.";
    const std::pair<std::string, std::string> rows[] = {
        // clang-format off
        {In("And", ""), twoBooleans},
        {In("And", one), twoBooleans},
        {In("And", HOLDS), twoBooleans},
        {In("And", HOLDS + one + HOLDS), "x:And: Calculation failed: x:And: calculation failed.."},
        {In("And", FAILS + NO_RESULT + HOLDS), numeric + "ZKTESTS Divide by zero\n! x:Comparison: couldn't get comparisons.\n! x:And: Calculation failed: x:And: calculation failed.."},
        {In("Or", one + HOLDS), "x:Or: Calculation failed: x:Or: calculation failed.."},
        {In("Not", ""), "x:Not: calculation failed."},
        {In("Not", one), "x:Not: calculation failed."},
        {In("Comparison operator='eq'", one + HOLDS), "x:Comparison: couldn't get comparisons."},
        {In("Comparison operator='eq'", HOLDS + one), "x:Comparison: couldn't get comparisons."},
        {In("Expression operator='add'", ""), numeric + twoNumbers},
        {In("Expression operator='add'", one), numeric + twoNumbers},
        {In("Expression operator='add'", HOLDS + one), "Calculation failed on first element in expression failed."},
        {In("Expression operator='add'", one + HOLDS), numeric + "NumericExpression: calculation failed."},
        // clang-format on
    };
    for (const auto& [element, error] : rows)
    {
        const std::string text = Calculated(element);
        EXPECT_EQ(text.substr(std::min(text.find('!'), text.size())), "! " + error + "\n") << element;
    }

    for (const std::string& child : {std::string(), HOLDS})
    {
        CRecordingHost host;
        CLoadedSuite suite(
            host,
            Body(In("Group", In("Set variable='$v'", child)) + In("Group to='3'", In("NextIteration", child) + HOLDS)),
            "", false);
        EXPECT_TRUE(suite.Run()); // the loop ends after one pass, which is no failure
        EXPECT_EQ(suite.Node("/1/0").RunState(), RS_FAILED);
        EXPECT_EQ(Story(host, "^!|^>     - x:Comp"),
                  "\n! x:Set calculation failed.\n>     - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE\n");
    }

    // A comparison's missing side is no failed calculation; a guard above it turns it into one.
    const std::string childless = In("Comparison operator='eq'", "");
    CRecordingHost host;
    CLoadedSuite suite(
        host, Body(In("Group", childless + In("Comparison operator='eq'", one) + In("And", HOLDS + childless))), "",
        false);
    for (const char* has : {"0", "1"})
    {
        try
        {
            suite.Node(std::string("/1/") + has).SatisfiesCondition();
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const std::out_of_range& exception)
        {
            EXPECT_EQ(exception.what(), std::string("x:Comparison needs two terms, has ") + has);
        }
    }
    EXPECT_FALSE(suite.Node("/1/2").SatisfiesCondition());
    EXPECT_EQ(Story(host, "^!"), "\n! x:And: Calculation failed: x:Comparison needs two terms, has 0.\n");
}

TEST(Expression, LoopsThatEndOrAdvanceByCalculation)
{
    const std::string untilFive = In("LoopTerminate", Compare("gt", "$i", "5"));
    const std::string next = In("NextIteration", Expression("add", "$i 10"));
    const std::string noEnd =
        In("LoopTerminate", In("Comparison operator='ne'", Expression("mod", "1 0") + Value("0")));
    const std::string divided =
        "! Unexpected failure in numeric calculation: ZKTESTS Divide by zero: mod 0 is not defined.\n";
    const struct
    {
        std::string attributes, children;
        std::string expected; ///< marks of attributes, and each calculation; "ne" is a pass, or follows the loop
        bool result = true;
    } rows[] = {
        // Both: no bound, step or direction counts.
        {"from='3' to='99' interval='7' iterator='$i' iterType='Decr' breakConditionType='NonStrict'",
         untilFive + In("NextIteration", Expression("mul", "$i 2")),
         "to (ignored), from, interval (ignored), iterator (ignored), iterType (ignored), "
         "breakConditionType (ignored), gt lhs=3, ne lhs=3, value=6, gt lhs=6, ne lhs=6, "},
        // A terminator alone: steps by "interval", whatever "to" says.
        {"from='1' to='2' interval='3' iterator='$i' breakConditionType='NonStrict'", untilFive,
         "to (ignored), from, interval, iterator, breakConditionType (ignored), "
         "gt lhs=1, ne lhs=1, gt lhs=4, ne lhs=4, gt lhs=7, ne lhs=7, "},
        {"from='6' to='9' interval='0' iterator='$i'", untilFive,
         "to (ignored), from, interval, iterator, gt lhs=6, ne lhs=6, "},
        // A next iteration alone: the bound counts.
        {"from='1' to='21' interval='3' iterator='$i' iterType='up' breakConditionType='NonStrict'", next,
         "to, from, interval (ignored), iterator (ignored), iterType (ignored), breakConditionType, "
         "ne lhs=1, value=11, ne lhs=11, value=21, ne lhs=21, value=31, ne lhs=31, "},
        // Without a bound: one pass with the variable as it was, then one advance.
        {"from='1' interval='3' iterator='$i'", next,
         "from (ignored), interval (ignored), iterator (ignored), ne lhs=3, value=13, ne lhs=13, "},
        // A termination that can't be calculated ends the loop before its first pass.
        {"from='1' iterator='$i'", noEnd,
         "from, iterator, " + divided +
             "! x:Comparison: couldn't get comparisons.\n! x:LoopTerminate: calculation failed.\nne lhs=1, "},
        // An advance that can't be calculated ends it after a pass.
        {"from='1' to='5' iterator='$i'", In("NextIteration", Expression("mod", "1 0")),
         "to, from, iterator (ignored), ne lhs=1, " + divided + "ne lhs=1, "},
        // An advance that throws ends the run.
        {"to='3'", In("NextIteration", "<x:Value/>"),
         "to, ne lhs=3, ! Test suite failed unexpectedly:\\n -- \\nZKEngine/Orvanta/NumericValueNode(N): "
         "CNumericValueNode::Calculate:\\nx:Value element missing required attribute value.\n",
         false},
    };
    const std::regex kept(
        R"~(> +- (?:attribute (.*)\.|.*operator: (\w+)\):( lhs=\d+).*|.*completed: (value=\d+) .*)\n)~");
    for (const auto& row : rows)
    {
        const std::string show = Compare("ne", "$i", "0");
        const std::string text = RunGroup(In("Group " + row.attributes, show + row.children) + show,
                                          "- attribute |x:Comparison|completed|^!", row.result);
        EXPECT_EQ(std::regex_replace(text, kept, "$1$2$3$4, "), "\n" + row.expected) << row.attributes;
    }
}

TEST(Expression, Assignments)
{
    const std::string underflow = Expression("sub", "3 5");
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body(In("Group",
                               In("Set label='ok' variable='$v'", Value("255")) + In("Set variable='$v'", underflow) +
                                   Compare("ne", "$v", "0") + In("Set label='missing' variable='$none'", underflow))));
    std::vector<std::uint32_t> counted;
    host.OnRecord = [&](ERecorded, const std::string& line)
    {
        if (line.find("Exiting x:Set: ok") != std::string::npos || line.find("[separator]") != std::string::npos)
        {
            counted.push_back(suite.Node("/1/0").Results().ExecCount);
        }
    };
    EXPECT_FALSE(suite.Run());
    EXPECT_EQ(Story(host), R"(
>   - Entering x:Group: .
test-log: ok
>     - Entering x:Set: ok.
log TS_NONE L5 -: Calculating new value for $v
log TS_NONE L3 -: Setting $v to 255 (FF)
>     - Exiting x:Set: ok.
test-log: ------- [separator]
test-log: 
>     - Entering x:Set: .
log TS_NONE L5 -: Calculating new value for $v
>       - Calculating x:Expression (operator="sub").
! Unexpected failure in numeric calculation: ZKTESTS Underflow:  subtraction would result in a negative number. (lhs = 3, rhs = 5
! x:Set calculation failed.
test-log: ------- [separator]
>     - x:Comparison (operator: ne): lhs=255, rhs=0, result = TRUE
test-log: missing
>     - Entering x:Set: missing.
log TS_NONE L5 -: Calculating new value for $none
>   - Unexpected Zelkor failure x:Group.
! Test suite failed unexpectedly:\n -- Variable does not exist:  $none
log TS_FAILED L2 -: Attempting to call cleanup functions.
)");
    EXPECT_EQ(counted, (std::vector<std::uint32_t>{0, 1, 1})); // counted between "Exiting" and its separator
    EXPECT_EQ(suite.Node("/1").Results().ExecCount, 2U);
    EXPECT_EQ(suite.Node("/1").Results().RunCount, 0U);
    EXPECT_EQ(suite.Node("/1/0").RunState(), RS_PASSED);
    EXPECT_EQ(suite.Node("/1/1").RunState(), RS_FAILED);
    EXPECT_EQ(suite.Node("/1/3").RunState(), RS_FAILED);

    // A constant is not protected, and a narrow variable takes the whole slot.
    EXPECT_EQ(RunGroup(In("Set variable='$Fixed'", Value(TWO_POW_32)) + In("Set variable='$Byte'", Value("300")) +
                           Compare("ne", "$Fixed", "$Byte"),
                       "Setting|x:Comparison"),
              R"(
log TS_NONE L3 -: Setting $Fixed to 4294967296 (100000000)
log TS_NONE L3 -: Setting $Byte to 300 (12C)
>     - x:Comparison (operator: ne): lhs=4294967296, rhs=300, result = TRUE
)");
}

TEST(Expression, DiagnosticsCalculateNothing)
{
    CRecordingHost host;
    CLoadedSuite suite(
        host,
        Body(In("Group",
                In("Set variable='$v'", Value("1")) + In("And", HOLDS + In("Not", HOLDS)) + Expression("add", "1 2"))));
    host.Services.Settings.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ(Story(host, "^>|^!|test-log|Setting|x:(Set|And|Expr)"), "\n");
}
