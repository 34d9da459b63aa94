#include <Support/RecordingHost.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/BooleanOperatorNode.h>
#include <Orvanta/NumericCalcNode.h>
#include <Orvanta/NumericExpressionNode.h>

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace
{
const char* const VARIABLES = R"(<x:Variables>
    <x:Define type="LONG" name="$Fixed" value="1"/>
    <x:Local type="BYTE" name="$Byte" value="300"/>
    <x:Local type="LONG" name="$i" value="3"/>
    <x:Local type="LONGLONG" name="$v" value="0"/>
    <x:Local type="LONGLONG" name="$Huge" value="0x8000000000000001"/>
</x:Variables>)";
const char* const TWO_POW_32 = "4294967296";
const char* const MAX = "18446744073709551615";

/// What stands between the initialisation and the exit group, which do nothing.
std::string Body(const std::string& content)
{
    return std::string(VARIABLES) + R"(<x:InitGroup><x:Value value="0"/></x:InitGroup>)" + content +
        R"(<x:ExitGroup><x:Value value="0"/></x:ExitGroup>)";
}

std::string Value(const std::string& value)
{
    return "<x:Value value=\"" + value + "\"/>";
}

std::string Compare(const std::string& word, const std::string& left, const std::string& right)
{
    return "<x:Comparison operator=\"" + word + "\">" + Value(left) + Value(right) + "</x:Comparison>";
}

const std::string HOLDS = Compare("eq", "1", "1");
const std::string FAILS = Compare("eq", "1", "2");
const std::string NO_RESULT = R"(<x:Comparison operator="eq"><x:Expression operator="div">
    <x:Value value="1"/><x:Value value="0"/></x:Expression><x:Value value="1"/></x:Comparison>)";

/// The story of a run. Trace lines begin with ">", error lines with "!"; line numbers of sources show as N. Left out:
/// the values read and what the two idle groups write, or all lines but those that match `only`.
std::string Story(const CRecordingHost& host, const char* only = nullptr, unsigned kinds = REC_STORY)
{
    static const std::regex lineNumber(R"((Orvanta/\w+)\(\d+\))");
    static const std::regex leftOut(R"(- In x:Value: value attr|(Entering|Exiting) x:(Init|Exit)Group\.$)");
    const std::pair<std::string, std::string> marks[] = {{"log TS_NONE L5 node: ", ">"}, {"log TS_ERROR L1 -: ", "! "}};
    std::string text = "\n";
    for (std::string line : host.Transcript(kinds))
    {
        for (const auto& [head, mark] : marks)
        {
            line = line.starts_with(head) ? mark + line.substr(head.size()) : line;
        }
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
    CLoadedSuite suite(host, Body("<x:Group>" + children + "</x:Group>"), "name=\"Suite\"");
    EXPECT_EQ(suite.Run(), expected);
    return Story(host, only);
}

/// Calculates a node without a schema's protection and returns what it wrote.
std::string Calculated(const std::string& element, const char* path = "/1/0", unsigned kinds = REC_STORY)
{
    CRecordingHost host;
    CLoadedSuite suite(host, Body("<x:Group>" + element + "</x:Group>"), "name=\"Suite\"", false);
    CNode& node = suite.Node(path);
    if (CBooleanBaseNode* const boolean = dynamic_cast<CBooleanBaseNode*>(&node))
    {
        EXPECT_EQ(boolean->Calculate(), std::pair(false, false)) << element;
    }
    else if (CNumericBaseNode* const numeric = dynamic_cast<CNumericBaseNode*>(&node))
    {
        EXPECT_EQ(numeric->Calculate(), std::pair(false, std::uint64_t{0})) << element;
    }
    return Story(host, nullptr, kinds);
}

/// A custom iterator that a test can run by itself, as no suite does.
class CExposedCalcNode : public CNumericCalcNode
{
public:
    using CNumericCalcNode::CNumericCalcNode;
    using CNumericCalcNode::DoExecute;
};
} // namespace

// ---------------------------------------------------------------------------------------------- values and operators

TEST(Expression, LiteralsOfAValue)
{
    const struct
    {
        const char* text;
        const char* shown; ///< decimal and hexadecimal
        const char* set;
    } valid[] = {
        {"42", "42 (0x2A)", "42 (2A)"},
        {"0x2A", "42 (0x2A)", "42 (2A)"},
        {"0X2a", "42 (0x2A)", "42 (2A)"},
        {"0", "0 (0x0)", "0 (0)"},
        {"017", "17 (0x11)", "17 (11)"}, // not octal, as a variable's value is
        {"18446744073709551615", "18446744073709551615 (0xFFFFFFFFFFFFFFFF)",
         "18446744073709551615 (FFFFFFFFFFFFFFFF)"},
        {"0xFFFFFFFFFFFFFFFF", "18446744073709551615 (0xFFFFFFFFFFFFFFFF)", "18446744073709551615 (FFFFFFFFFFFFFFFF)"},
        {"00000000000000000000007", "7 (0x7)", "7 (7)"},
        {"1x2A", "42 (0x2A)", "42 (2A)"}, // only the second character tells
        {"TRUE", "1 (0x1)", "1 (1)"},
        {"False", "0 (0x0)", "0 (0)"},
        {"Null", "0 (0x0)", "0 (0)"},
        {"$Byte", "300 (0x12C)", "300 (12C)"}, // the whole slot
        {"$Huge", "9223372036854775809 (0x8000000000000001)", "9223372036854775809 (8000000000000001)"},
    };
    for (const auto& row : valid)
    {
        EXPECT_EQ(RunGroup("<x:Set variable=\"$v\">" + Value(row.text) + "</x:Set>", "In x:Value|Setting|failure"),
                  std::string("\n>       - In x:Value: value attribute string=\"") + row.text +
                      "\", value = " + row.shown + "\nlog TS_NONE L3 -: Setting $v to " + row.set + "\n");
    }

    const std::string where = "\\nZKEngine/Orvanta/NumericValueNode(N): CNumericValueNode::Calculate:\\n";
    const auto failure = [](const std::string& children)
    { return RunGroup(children, "In x:Value|Setting|failed unexp", false); };
    const auto expected = [](const std::string& text)
    { return "\n! Test suite failed unexpectedly:\\n -- " + text + "\n"; };
    for (const char* text : {"0x", "0X", "42abc", "0x2G", "-1", "+1", " 42", "42 ", "0x 1", "0x-1", "0x0x1",
                             "18446744073709551616", "0x10000000000000000", "yes", "true ", "truex", "\u00e9"})
    {
        EXPECT_EQ(failure("<x:Set variable=\"$v\">" + Value(text) + "</x:Set>"),
                  expected(where + "Invalid value for x:Value/@value: " + text));
    }
    for (const char* element : {"<x:Value value=\"\"/>", "<x:Value/>"})
    {
        EXPECT_EQ(failure(std::string("<x:Set variable=\"$v\">") + element + "</x:Set>"),
                  expected(where + "x:Value element missing required attribute value."));
    }
    for (const std::string name : {"$none", "$V", "$"})
    {
        EXPECT_EQ(failure("<x:Set variable=\"$v\">" + Value(name) + "</x:Set>"),
                  expected("Variable does not exist:  " + name));
    }
}

TEST(Expression, OperatorsAtTheirLimits)
{
    const std::string sumOverflow = "ZKTESTS Overflow (addition). (lhs = ";
    const std::string underflow = "ZKTESTS Underflow:  subtraction would result in a negative number. (lhs = ";
    const std::string productOverflow = "ZKTESTS Overflow (multiplication). (lhs = ";
    const std::string max = MAX;
    const struct
    {
        const char* word;
        std::vector<const char*> terms;
        std::uint64_t value;
        std::string refusal;
    } rows[] = {
        {"add", {"0", "0"}, 0, ""},
        {"add", {"1", "2", "3", "4"}, 10, ""},
        {"add", {TWO_POW_32, TWO_POW_32}, 0x200000000, ""},
        {"add", {"18446744073709551614", "1"}, ~0ULL, ""},
        {"add", {MAX, "0"}, ~0ULL, ""},
        {"add", {MAX, "1"}, 0, sumOverflow + max + ", rhs = 1)"},
        {"add", {"1", "1", MAX}, 0, sumOverflow + "2, rhs = " + max + ")"},
        {"sub", {"0", "0"}, 0, ""},
        {"sub", {"10", "3", "2"}, 5, ""},
        {"sub", {TWO_POW_32, "1"}, 0xFFFFFFFF, ""},
        {"sub", {MAX, MAX}, 0, ""},
        {"sub", {"0", "1"}, 0, underflow + "0, rhs = 1"}, // the message ends without a parenthesis
        {"sub", {"3", "5"}, 0, underflow + "3, rhs = 5"},
        {"sub", {TWO_POW_32, MAX}, 0, underflow + "4294967296, rhs = " + max},
        {"mul", {"0", MAX}, 0, ""},
        {"mul", {MAX, "0"}, 0, ""},
        {"mul", {MAX, "1"}, ~0ULL, ""},
        {"mul", {"2", "3", "7"}, 42, ""},
        {"mul", {"4294967295", "4294967297"}, ~0ULL, ""},
        {"mul", {TWO_POW_32, "4294967295"}, 0xFFFFFFFF00000000, ""},
        {"mul", {TWO_POW_32, TWO_POW_32}, 0, productOverflow + "4294967296, rhs = 4294967296)"},
        {"mul", {"2", "0x8000000000000000"}, 0, productOverflow + "2, rhs = 9223372036854775808)"},
        {"div", {"7", "2"}, 3, ""},
        {"div", {"100", "7", "2"}, 7, ""},
        {"div", {MAX, "1"}, ~0ULL, ""},
        {"div", {MAX, TWO_POW_32}, 0xFFFFFFFF, ""},
        {"div", {"1", MAX}, 0, ""},
        {"div", {"0", "0"}, 0, "ZKTESTS Divide by zero"},
        {"div", {MAX, "0"}, 0, "ZKTESTS Divide by zero"},
        {"mod", {MAX, TWO_POW_32}, 0xFFFFFFFF, ""},
        {"mod", {"100", "30", "4"}, 2, ""},
        {"mod", {MAX, "1"}, 0, ""},
        {"mod", {"0", MAX}, 0, ""},
        {"mod", {"7", "0"}, 0, "ZKTESTS Divide by zero: mod 0 is not defined."},
    };
    for (const auto& row : rows)
    {
        std::string children = "<x:Set variable=\"$v\"><x:Expression operator=\"" + std::string(row.word) + "\">";
        for (const char* term : row.terms)
        {
            children += Value(term);
        }
        std::ostringstream expected;
        const std::string named = "x:Expression (operator=\"" + std::string(row.word) + "\")";
        expected << "\n>       - Calculating " << named << ".\n";
        if (row.refusal.empty())
        {
            expected << ">       - " << named << " completed: value=" << row.value << std::uppercase << std::hex
                     << " (0x" << row.value << ").\nlog TS_NONE L3 -: Setting $v to " << std::dec << row.value << " ("
                     << std::hex << row.value << ")\n";
        }
        else
        {
            expected << "! Unexpected failure in numeric calculation: " << row.refusal
                     << "\n! x:Set calculation failed.\n";
        }
        EXPECT_EQ(RunGroup(children + "</x:Expression></x:Set>", "x:Expr|^!|Setting", row.refusal.empty()),
                  expected.str());
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
        EXPECT_EQ(RunGroup("<x:Set variable=\"$v\"><x:Condition>" + Compare(word, left, right) +
                               "</x:Condition><x:Value value=\"1\"/></x:Set>",
                           "x:Comparison|x:Condition: |Setting|^!"),
                  "\n>         - x:Comparison (operator: " + word + "): lhs=" + left + ", rhs=" + right +
                      ", result = " + result + "\n>       - x:Condition: value=" + result + ".\n" +
                      (holds ? "log TS_NONE L3 -: Setting $v to 1 (1)\n" : ""));
    };
    for (const auto& row : words)
    {
        expect(row.word, "2", "3", row.below);
        expect(row.word, "3", "3", row.equal);
        expect(row.word, "5", "3", row.above);
        expect(row.word, TWO_POW_32, "1", row.above); // all 64 bits count, and show, without a sign
        expect(row.word, "0", MAX, row.below);
    }

    EXPECT_TRUE(CBooleanOperatorNode::LessThan(2, 3));
    EXPECT_FALSE(CBooleanOperatorNode::LessThan(3, 3));
    EXPECT_TRUE(CBooleanOperatorNode::GreaterThanOrEqual(3, 3));
    EXPECT_FALSE(CBooleanOperatorNode::GreaterThanOrEqual(2, 3));
}

TEST(Expression, AWordOutsideTheTableStopsTheConstruction)
{
    for (const std::string element : {"<x:Comparison operator=\"less\"/>", "<x:Comparison/>", "<x:Expression/>",
                                      "<x:Comparison operator=\"EQ\"/>", "<x:Expression operator=\"pow\"/>"})
    {
        CRecordingHost host;
        EXPECT_THROW(CLoadedSuite(host, Body("<x:Group>" + element + "</x:Group>"), "", false), std::out_of_range)
            << element;
    }
}

// -------------------------------------------------------------------------------------------------- boolean nodes

TEST(Expression, Conditions)
{
    const auto set = [](const std::string& label, const std::string& terms)
    {
        return "<x:Set variable=\"$v\" label=\"" + label + "\"><x:Condition>" + terms + "</x:Condition>" + Value("1") +
            "</x:Set>";
    };
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body("<x:Group>" + set("holds", HOLDS) + set("fails", FAILS) + set("none", NO_RESULT) +
                            set("bad", Compare("eq", "1", "x")) +
                            set("later wins", FAILS + "</x:Condition><x:Condition>" + HOLDS) +
                            set("throws", "<x:Comparison operator=\"eq\"><x:Value value=\"1\"/></x:Comparison>") +
                            set("after", HOLDS) + "</x:Group>"));
    EXPECT_EQ(suite.Node("/1/4").ChildCount(), 1);
    EXPECT_FALSE(suite.Run());
    EXPECT_EQ(Story(host), R"(
>   - Entering x:Group: .
>       - Calculating x:Condition.
>         - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>       - x:Condition: value=TRUE.
test-log: holds
>     - Entering x:Set: holds.
log TS_NONE L5 -: Calculating new value for $v
log TS_NONE L3 -: Setting $v to 1 (1)
>     - Exiting x:Set: holds.
test-log: ------- [separator]
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
>         - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
>       - x:Condition: value=TRUE.
test-log: later wins
>     - Entering x:Set: later wins.
log TS_NONE L5 -: Calculating new value for $v
log TS_NONE L3 -: Setting $v to 1 (1)
>     - Exiting x:Set: later wins.
test-log: ------- [separator]
>       - Calculating x:Condition.
>   - Unexpected failure x:Group.
)");
    const ERunState states[] = {RS_PASSED, RS_NOT_RUN, RS_NOT_RUN, RS_NOT_RUN, RS_PASSED, RS_NOT_RUN, RS_NOT_RUN};
    for (int index = 0; index < 7; ++index)
    {
        EXPECT_EQ(suite.Node("/1").GetChild(index)->RunState(), states[index]) << index;
    }
    EXPECT_EQ(suite.Node("/1").RunState(), RS_FAILED);
}

TEST(Expression, BooleanNodesAsChildrenOfAGroup)
{
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body("<x:Group><x:And operator=\"both\">" + HOLDS + "<x:Not>" + HOLDS + "</x:Not><x:Or>" +
                            FAILS + HOLDS + FAILS + "</x:Or></x:And><x:Not>" + FAILS + "</x:Not>" + FAILS +
                            "</x:Group>"));
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

TEST(Expression, FailuresOfAndAndOr)
{
    EXPECT_EQ(RunGroup("<x:And>" + HOLDS + "</x:And><x:Or>" + NO_RESULT + "</x:Or><x:Or>" + NO_RESULT + HOLDS +
                       "</x:Or><x:And>" + FAILS + NO_RESULT + HOLDS + "</x:And>"),
              R"(
>   - Entering x:Group: .
>     - Calculating x:And ("").
>       - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE
! x:And: Calculation failed: \nZKEngine/Orvanta/BooleanCalcBinaryNode(N): CBooleanCalcBinaryNode::Calculate:\nAn x:And must have at least two terms..
>     - Calculating x:Or ("").
>         - Calculating x:Expression (operator="div").
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
! x:Comparison: couldn't get comparisons.
>     - Calculating x:Or ("").
>         - Calculating x:Expression (operator="div").
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
! x:Comparison: couldn't get comparisons.
>     - Calculating x:And ("").
>       - x:Comparison (operator: eq): lhs=1, rhs=2, result = FALSE
>         - Calculating x:Expression (operator="div").
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
! x:Comparison: couldn't get comparisons.
! x:And: Calculation failed: x:And: calculation failed..
>   - Exiting x:Group.
)");
}

TEST(Expression, AFailedCalculationFlushesOnlyInNotAndKeepsTheValue)
{
    const std::string failure = R"(
>         - Calculating x:Expression (operator="div").
flush true
flush true
! Unexpected failure in numeric calculation: ZKTESTS Divide by zero
flush true
! x:Comparison: couldn't get comparisons.
)"; // the right side is calculated although the left one failed
    EXPECT_EQ(Calculated("<x:Not>" + NO_RESULT + "</x:Not>", "/1/0", REC_LOG | REC_FLUSH),
              "\n>     - Calculating x:Not." + failure + "! x:Not: calculation failed.\nflush true\n");
    EXPECT_EQ(Calculated("<x:Or>" + NO_RESULT + "</x:Or>", "/1/0", REC_LOG | REC_FLUSH),
              "\n>     - Calculating x:Or (\"\")." + failure);

    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body(R"(<x:Group from="2" to="0" iterator="$i" iterType="Decr" breakConditionType="NonStrict">
        <x:Not><x:Comparison operator="eq">
            <x:Expression operator="div"><x:Value value="10"/><x:Value value="$i"/></x:Expression><x:Value value="5"/>
        </x:Comparison></x:Not></x:Group>)"));
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ(Story(host, "x:Not: "),
              "\n>     - x:Not: value=FALSE.\n>     - x:Not: value=TRUE.\n"
              ">     - x:Not: value=TRUE.\n! x:Not: calculation failed.\n");
    EXPECT_TRUE(dynamic_cast<CBooleanBaseNode&>(suite.Node("/1/0")).Value());
    EXPECT_EQ(dynamic_cast<CNumericBaseNode&>(suite.Node("/1/0/0/0")).Value(), 10U);
}

TEST(Expression, ChildrenThatAreMissingOrOfAnotherClass)
{
    const std::string twoTerms = "(N): CBooleanCalcBinaryNode::Calculate:\\nAn x:And must have at least two terms..\n";
    const std::string one = Value("1");
    const struct
    {
        std::string element;
        std::string error; ///< the only error line
    } rows[] = {
        {"<x:And/>", "x:And: Calculation failed: \\nZKEngine/Orvanta/BooleanCalcBinaryNode" + twoTerms},
        {"<x:And>" + one + "</x:And>",
         "x:And: Calculation failed: \\nZKEngine/Orvanta/BooleanCalcBinaryNode" + twoTerms},
        {"<x:And>" + HOLDS + one + "</x:And>", "x:And: Calculation failed: x:And: calculation failed..\n"},
        {"<x:Or>" + one + HOLDS + "</x:Or>", "x:Or: Calculation failed: x:Or: calculation failed..\n"},
        {"<x:Not/>", "x:Not: calculation failed.\n"},
        {"<x:Not>" + one + "</x:Not>", "x:Not: calculation failed.\n"},
        {"<x:Comparison operator=\"eq\">" + one + HOLDS + "</x:Comparison>",
         "x:Comparison: couldn't get comparisons.\n"},
        {"<x:Comparison operator=\"eq\">" + HOLDS + one + "</x:Comparison>",
         "x:Comparison: couldn't get comparisons.\n"},
        {"<x:Expression operator=\"add\"/>",
         "Unexpected failure in numeric calculation: \\nZKEngine/Orvanta/NumericExpressionNode(N): "
         "CNumericExpressionNode::Calculate:\\nAn x:Expression must have at least two terms.\n"},
        {"<x:Expression operator=\"add\">" + one + "</x:Expression>",
         "Unexpected failure in numeric calculation: \\nZKEngine/Orvanta/NumericExpressionNode(N): "
         "CNumericExpressionNode::Calculate:\\nAn x:Expression must have at least two terms.\n"},
        {"<x:Expression operator=\"add\">" + HOLDS + one + "</x:Expression>",
         "Calculation failed on first element in expression failed.\n"},
        {"<x:Expression operator=\"add\">" + one + HOLDS + "</x:Expression>",
         "Unexpected failure in numeric calculation: NumericExpression: calculation failed.\n"},
    };
    for (const auto& row : rows)
    {
        const std::string text = Calculated(row.element);
        EXPECT_EQ(text.substr(std::min(text.find('!'), text.size())), "! " + row.error) << row.element;
    }

    for (const std::string& child : {std::string(), HOLDS})
    {
        CRecordingHost host;
        CLoadedSuite suite(host,
                           Body("<x:Group><x:Set variable=\"$v\">" + child + "</x:Set></x:Group><x:Group to=\"3\">" +
                                "<x:NextIteration>" + child + "</x:NextIteration>" + HOLDS + "</x:Group>"),
                           "", false);
        EXPECT_TRUE(suite.Run()); // the loop ends after one pass, which is no failure
        EXPECT_EQ(suite.Node("/1/0").RunState(), RS_FAILED);
        EXPECT_EQ(Story(host, "^!"), "\n! x:Set calculation failed.\n");
        EXPECT_EQ(Story(host, "^>     - x:Comp"),
                  "\n>     - x:Comparison (operator: eq): lhs=1, rhs=1, result = TRUE\n");
    }

    // A comparison's missing side is no failed calculation; a guard above it turns it into one.
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body("<x:Group><x:Comparison operator=\"eq\"/><x:Comparison operator=\"eq\">" + one +
                            "</x:Comparison><x:And>" + HOLDS + "<x:Comparison operator=\"eq\"/></x:And></x:Group>"),
                       "", false);
    EXPECT_THROW(suite.Node("/1/0").SatisfiesCondition(), std::out_of_range);
    EXPECT_THROW(suite.Node("/1/1").SatisfiesCondition(), std::out_of_range);
    EXPECT_FALSE(suite.Node("/1/2").SatisfiesCondition());
    EXPECT_TRUE(std::regex_match(Story(host, "^!"), std::regex(R"(\n! x:And: Calculation failed: .+\.\n)")));
}

// ------------------------------------------------------------------------------------------------------ custom loops

TEST(Expression, LoopThatEndsAndAdvancesByCalculation)
{
    const std::string text =
        RunGroup(R"(<x:Group name="g" from="1" to="99" interval="7" iterator="$i" iterType="Decr"
            breakConditionType="NonStrict">)" +
                     Compare("ne", "$i", "0") + "<x:LoopTerminate>" + Compare("gt", "$i", "2") + R"(</x:LoopTerminate>
            <x:NextIteration><x:Expression operator="mul"><x:Value value="$i"/><x:Value value="2"/></x:Expression>
            </x:NextIteration></x:Group>)" +
                     Compare("ne", "$i", "0"),
                 "^(>     +- (?!In )|!)");
    EXPECT_EQ(text, R"(
>     - Entering x:Group: g.
>     - attribute name.
>     -   value: "g".
>     - attribute to (ignored).
>     -   raw value: "99", value: "99".
>     - attribute from.
>     -   raw value: "1", value: "1".
>     - attribute interval (ignored).
>     -   raw value: "7", value: "7".
>     - attribute iterator (ignored).
>     -   raw value: "$i", value: "3".
>     - attribute iterType (ignored).
>     -   value: "Decr".
>     - attribute breakConditionType (ignored).
>     -   value: "NonStrict".
>       - Calculating x:LoopTerminate.
>         - x:Comparison (operator: gt): lhs=1, rhs=2, result = FALSE
>       - x:LoopTerminate: value=FALSE.
>       - x:Comparison (operator: ne): lhs=1, rhs=0, result = TRUE
>         - Calculating x:Expression (operator="mul").
>         - x:Expression (operator="mul") completed: value=2 (0x2).
>       - Calculating x:LoopTerminate.
>         - x:Comparison (operator: gt): lhs=2, rhs=2, result = FALSE
>       - x:LoopTerminate: value=FALSE.
>       - x:Comparison (operator: ne): lhs=2, rhs=0, result = TRUE
>         - Calculating x:Expression (operator="mul").
>         - x:Expression (operator="mul") completed: value=4 (0x4).
>       - Calculating x:LoopTerminate.
>         - x:Comparison (operator: gt): lhs=4, rhs=2, result = TRUE
>       - x:LoopTerminate: value=TRUE.
>     - Exiting x:Group.
>     - x:Comparison (operator: ne): lhs=4, rhs=0, result = TRUE
)");
}

TEST(Expression, LoopsWithOneCalculationOrAFailingOne)
{
    const std::string untilFive = "<x:LoopTerminate>" + Compare("gt", "$i", "5") + "</x:LoopTerminate>";
    const std::string next = "<x:NextIteration><x:Expression operator=\"add\">" + Value("$i") + Value("10") +
        "</x:Expression></x:NextIteration>";
    const std::string divide = "<x:Expression operator=\"mod\">" + Value("1") + Value("0") + "</x:Expression>";
    const std::string divided =
        "! Unexpected failure in numeric calculation: ZKTESTS Divide by zero: mod 0 is not defined.\n";
    const struct
    {
        const char* attributes;
        std::string children;
        std::string expected; ///< marks of attributes, then "lhs=" for each pass and once after the loop
    } rows[] = {
        // A terminator alone: steps by "interval", whatever "to" says.
        {R"(from="1" to="2" interval="3" iterator="$i" breakConditionType="NonStrict")", untilFive,
         "to (ignored)\nfrom\ninterval\niterator\nbreakConditionType (ignored)\nlhs=1\nlhs=4\nlhs=7\n"},
        // A next iteration alone: the bound counts.
        {R"(from="1" to="21" interval="3" iterator="$i" iterType="up" breakConditionType="NonStrict")", next,
         "to\nfrom\ninterval (ignored)\niterator (ignored)\niterType (ignored)\nbreakConditionType\n"
         "lhs=1\nlhs=11\nlhs=21\nlhs=31\n"},
        // Without a bound: one pass with the variable as it was, then one advance.
        {R"(from="1" interval="3" iterator="$i")", next,
         "from (ignored)\ninterval (ignored)\niterator (ignored)\nlhs=3\nlhs=13\n"},
        // A termination that can't be calculated ends the loop before its first pass.
        {R"(from="1" iterator="$i")",
         "<x:LoopTerminate><x:Comparison operator=\"ne\">" + divide + Value("0") + "</x:Comparison></x:LoopTerminate>",
         "from\niterator\n" + divided +
             "! x:Comparison: couldn't get comparisons.\n! x:LoopTerminate: calculation failed.\n" + "lhs=1\n"},
        // An advance that can't be calculated ends it after a pass.
        {R"(from="1" to="5" iterator="$i")", "<x:NextIteration>" + divide + "</x:NextIteration>",
         "to\nfrom\niterator (ignored)\nlhs=1\n" + divided + "lhs=1\n"},
    };
    static const std::regex kept(R"(^>     - attribute (.*)\.$|^>.*operator: ne.*(lhs=\d+).*$)");
    for (const auto& row : rows)
    {
        const std::string show = Compare("ne", "$i", "0");
        std::istringstream lines(
            RunGroup("<x:Group " + std::string(row.attributes) + ">" + show + row.children + "</x:Group>" + show,
                     "- attribute |operator: ne|^!"));
        std::string text;
        for (std::string line; std::getline(lines, line);)
        {
            text += line.empty() ? "" : std::regex_replace(line, kept, "$1$2") + '\n';
        }
        EXPECT_EQ(text, row.expected) << row.attributes;
    }

    EXPECT_EQ(RunGroup("<x:Group to=\"3\"><x:NextIteration><x:Value/></x:NextIteration>" + FAILS + "</x:Group>",
                       "failure|Exiting x:Group|^!|cleanup", false),
              R"(
>     - Unexpected Zelkor failure x:Group.
>   - Unexpected Zelkor failure x:Group.
! Test suite failed unexpectedly:\n -- \nZKEngine/Orvanta/NumericValueNode(N): CNumericValueNode::Calculate:\nx:Value element missing required attribute value.
log TS_FAILED L2 -: Attempting to call cleanup functions.
)");
}

TEST(Expression, ACustomIteratorThatRunsByItselfTracesItsValue)
{
    CRecordingHost host;
    CLoadedSuite suite(host, Body("<x:Group>" + HOLDS + "</x:Group>"));
    pugi::xml_document document;
    ASSERT_TRUE(
        document.load_string("<g><x:NextIteration><x:Value value=\"255\"/><x:Value value=\"7\"/></x:NextIteration>"
                             "<x:NextIteration/></g>"));
    CExposedCalcNode works(document.first_child().first_child(), &suite.Root(), 1);
    CExposedCalcNode fails(document.first_child().last_child(), &suite.Root(), 1);
    EXPECT_TRUE(works.DoExecute(false));
    EXPECT_EQ(works.Value(), 255U);
    EXPECT_FALSE(fails.DoExecute(false));
    EXPECT_EQ(Story(host), "\n>   - x:NextIteration: Returning 255 (FF)\n! Calculation failed. Value not set.\n");
}

// -------------------------------------------------------------------------------------------------------- assignment

TEST(Expression, Assignments)
{
    const auto set = [](const char* label, const char* variable, const std::string& value)
    { return std::string("<x:Set ") + label + " variable=\"" + variable + "\">" + value + "</x:Set>"; };
    const std::string underflow = "<x:Expression operator=\"sub\">" + Value("3") + Value("5") + "</x:Expression>";
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body("<x:Group>" + set("label=\"ok\"", "$v", Value("255")) + set("", "$v", underflow) +
                            Compare("ne", "$v", "0") + set("label=\"define\"", "$Fixed", Value(TWO_POW_32)) +
                            set("label=\"byte\"", "$Byte", Value("300")) + Compare("ne", "$Fixed", "$Byte") +
                            set("label=\"missing\"", "$none", underflow) + "</x:Group>"));
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
test-log: define
>     - Entering x:Set: define.
log TS_NONE L5 -: Calculating new value for $Fixed
log TS_NONE L3 -: Setting $Fixed to 4294967296 (100000000)
>     - Exiting x:Set: define.
test-log: ------- [separator]
test-log: byte
>     - Entering x:Set: byte.
log TS_NONE L5 -: Calculating new value for $Byte
log TS_NONE L3 -: Setting $Byte to 300 (12C)
>     - Exiting x:Set: byte.
test-log: ------- [separator]
>     - x:Comparison (operator: ne): lhs=4294967296, rhs=300, result = TRUE
test-log: missing
>     - Entering x:Set: missing.
log TS_NONE L5 -: Calculating new value for $none
>   - Unexpected Zelkor failure x:Group.
! Test suite failed unexpectedly:\n -- Variable does not exist:  $none
log TS_FAILED L2 -: Attempting to call cleanup functions.
)");
    EXPECT_EQ(counted, (std::vector<std::uint32_t>{0, 1, 1, 1, 1})); // counted between "Exiting" and its separator
    const ResultSummary& results = suite.Node("/1").Results();
    EXPECT_EQ(results.ExecCount, 4U);
    EXPECT_EQ(results.RunCount, 0U);
    EXPECT_EQ(suite.Node("/1/0").RunState(), RS_PASSED);
    EXPECT_EQ(suite.Node("/1/1").RunState(), RS_FAILED);
    EXPECT_EQ(suite.Node("/1/6").RunState(), RS_FAILED);
}

TEST(Expression, DiagnosticsCalculateNothing)
{
    CRecordingHost host;
    CLoadedSuite suite(host,
                       Body("<x:Group><x:Set variable=\"$v\">" + Value("1") + "</x:Set><x:And>" + HOLDS + "<x:Not>" +
                            HOLDS + R"(</x:Not></x:And><x:Expression operator="add">
                                  <x:Value value="1"/><x:Value value="2"/></x:Expression></x:Group>)"));
    for (const char* path : {"/1/0", "/1/0/0", "/1/1", "/1/1/0", "/1/1/1", "/1/2"})
    {
        suite.Node(path).SetSelected(true, static_cast<ESelectOption>(SELECT_NOT_DOWN | SELECT_NOT_UP));
        EXPECT_TRUE(suite.Node(path).DiagOnly()) << path;
    }
    EXPECT_EQ(host.Text(REC_ALL), "");

    host.Services.ExecutionType = EXECUTION_DIAGNOSTIC;
    EXPECT_TRUE(suite.Run());
    EXPECT_EQ(Story(host), R"(
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:InitGroup.
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:Group.
log TS_NONE L3 -: This is a Test Suite Node.  Type: x:ExitGroup.
)");
}
