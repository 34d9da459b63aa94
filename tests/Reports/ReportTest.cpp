#include "EventScript.h"
#include "TestFile.h"

#include <Reports/Comparison.h>
#include <Reports/JUnitReport.h>
#include <Reports/MakeReports.h>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace
{
/// What a strict reader says against a report; empty when it takes it.
class CStrictReader : private xercesc::ErrorHandler
{
public:
    CStrictReader() { xercesc::XMLPlatformUtils::Initialize(); }
    ~CStrictReader() override { xercesc::XMLPlatformUtils::Terminate(); }

    std::string Read(const std::string& xml)
    {
        m_Errors.clear();
        xercesc::XercesDOMParser parser;
        parser.setValidationScheme(xercesc::XercesDOMParser::Val_Always);
        parser.setDoNamespaces(true);
        parser.setDoSchema(true);
        parser.setExternalNoNamespaceSchemaLocation(ORVANTA_JUNIT_SCHEMA);
        parser.setErrorHandler(this);
        const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "report");
        parser.parse(source);
        return m_Errors;
    }

private:
    void Add(const xercesc::SAXParseException& error)
    {
        char* text = xercesc::XMLString::transcode(error.getMessage());
        m_Errors += std::to_string(error.getLineNumber()) + ": " + text + '\n';
        xercesc::XMLString::release(&text);
    }
    void warning(const xercesc::SAXParseException& error) override { Add(error); }
    void error(const xercesc::SAXParseException& error) override { Add(error); }
    void fatalError(const xercesc::SAXParseException& error) override { Add(error); }
    void resetErrors() override {}

    std::string m_Errors;
};

std::string JUnit(const std::vector<CEventScript>& records)
{
    const CTestFile report;
    std::vector<std::string> names;
    for (const CEventScript& record : records)
    {
        names.push_back(report.Path() + '.' + std::to_string(names.size()));
        std::ofstream(names.back()) << record.Json();
    }
    std::string errors;
    MakeReports(names, {report.Path(), {}, {}}, [&](const std::string& error) { errors += error; });
    for (const std::string& name : names)
    {
        std::filesystem::remove(name);
    }
    EXPECT_EQ(errors, "");
    EXPECT_EQ(CStrictReader().Read(report.Text()), "") << report.Text();
    return report.Text();
}

std::string JUnit(const CEventScript& record)
{
    return JUnit(std::vector{record});
}

/// The test cases of a report, a line each: "CLASSNAME/NAME", and what it has below it.
std::string Cases(const std::string& xml)
{
    std::string cases;
    const auto value = [&](const char* name, std::size_t from)
    {
        const std::size_t begin = xml.find(std::string(" ") + name + "=\"", from) + std::string(name).size() + 3;
        return xml.substr(begin, xml.find('"', begin) - begin);
    };
    for (std::size_t at = xml.find("<testcase"); at != std::string::npos; at = xml.find("<testcase", at + 1))
    {
        const std::size_t below = xml.find('<', at + 1);
        const std::string element = xml.substr(below + 1, xml.find(' ', below) - below - 1);
        const bool hasTrouble = element == "failure" || element == "error" || element == "skipped";
        cases += value("classname", at) + '/' + value("name", at) +
            (hasTrouble ? ' ' + element + ": " + value("message", below) : "") + '\n';
    }
    return cases;
}

const std::string TREE = "record\n run Suite\n group /1 G.1\n group /1/0 Loop\n test /1/0/0 In loop\n test /1/1 Twin\n"
                         "test /1/2 Twin\n call /1/3 Step\n off /1/4 Off\n test /1/5\n";
} // namespace

TEST(JUnitReport, TellsEveryVerdictWithItsReasonAndLog)
{
    const std::string xml = JUnit(CEventScript()(TREE)(
        "log before\n begin /1\n begin /1/0\n pass /1/0 3\n begin /1/0/0\n log first <line>\n log:failed broke & fell\n"
        "failed /1/0/0 [3] broke & fell\n pass /1/0 4\n begin /1/0/0\n log other\n passed /1/0/0 [4]\n ends /1/0\n"
        "begin /1/1\n log:error wrong\n error /1/1 wrong\n begin /1/2\n aborted /1/2 enough\n begin /1/3\n passed /1/3\n"
        "begin /1/3\n failed /1/3 returned false\n fails /1")(SNotRunEvent{"/1/5", ENotRunReason::Stopped})("bad"));
    const std::string head = R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites>
  <testsuite name="Suite" package="Suite" id="0" timestamp="2024-02-29T12:34:57" hostname="localhost" tests="7" failures="2" errors="2" skipped="2" time="1.234">
    <properties>
    </properties>
    <testcase name="In loop [3]" classname="Suite.G_1.Loop" time="0.012">
      <failure message="broke &amp; fell" type="failed">broke &amp; fell

first &lt;line&gt;
broke &amp; fell
</failure>
    </testcase>
    <testcase name="In loop [4]" classname="Suite.G_1.Loop" time="0.012" />
)";
    EXPECT_EQ(xml.substr(0, head.size()), head);
    EXPECT_EQ(Cases(xml),
              "Suite.G_1.Loop/In loop [3] failure: broke &amp; fell\nSuite.G_1.Loop/In loop [4]\n"
              "Suite.G_1/Twin (/1/1) error: wrong\nSuite.G_1/Twin (/1/2) error: enough\n"
              "Suite.G_1/Step failure: returned false\nSuite.G_1/Func skipped: stopped\n"
              "Suite.G_1/Off skipped: not selected\n");
    EXPECT_THAT(xml, HasSubstr("type=\"aborted\""));
}

TEST(JUnitReport, ARunThatDidNotPassSaysSoWhateverPassedInIt)
{
    const std::string run = "record\n run S\n test /0 T\n begin /0\n passed /0\n";
    const std::pair<CEventScript, std::string> rows[] = {
        // clang-format off
        {CEventScript()(run + "end"), "S/T\n"},
        {CEventScript()(run + "bad"), "S/T\nS/run error: The run ended before its time.\n"},
        {CEventScript()(run + "log:error late\n log:failed later\n bad"), "S/T\nS/run error: late\n"},
        {CEventScript()(run)(SAbortEvent{"stop", EAbortCause::Operator})("log:error late\n bad"), "S/T\nS/run error: stop\n"},
        {CEventScript()(run + "group /1 G\n begin /1\n failed /1 no bound\n bad"), "S/T\nS/run error: no bound\n"},
        {CEventScript()("record\n run S\n test /0 T")(SLockEvent{ELockState::Refused, "lock", 7, "h", {}})(SNotRunEvent{"/0", ENotRunReason::Stopped})("bad"),
         "S/load error: The execution lock lock is held by process 7 on h: refused\n"},
        {CEventScript()("record")(SSuiteLoadEvent{"a.xml", false, {{0, 0, ESeverity::Warning, "w", "first"}, {3, 7, ESeverity::Error, "schema", "no such"}}})(SSuiteLoadEvent{"b.xml", true, {}}),
         "a_xml/load error: no such\n"},
        {CEventScript()("record")(SVanishedEvent{11, {}, ""}),
         "load/load error: The process that ran the suite ended without a word, signal 11, outside of a run\n"},
        // clang-format on
    };
    for (const auto& [script, expected] : rows)
    {
        EXPECT_EQ(Cases(JUnit(script)), expected);
    }
}

TEST(JUnitReport, ARunThatWasCutOffNamesTheCallThatWasRunning)
{
    const std::string run = TREE + "test /2 Other\n begin /1\n begin /1/0\n pass /1/0 2\n begin /1/0/0\n log at work\n";
    const std::string expected =
        "Suite.G_1.Loop/In loop [2] error: ended inside Func\nSuite.G_1/Twin (/1/1) skipped: condition\n"
        "Suite.G_1/Twin (/1/2) skipped: stopped\nSuite.G_1/Func skipped: stopped\nSuite/Other skipped: stopped\n"
        "Suite.G_1/Off skipped: not selected\n";
    const CEventScript cut = CEventScript()(TREE + "test /2 Other")(SSkipEvent{"/1/1"})(
        "begin /1\n begin /1/0\n pass /1/0 2\n begin /1/0/0\n log at work");
    CEventScript vanished = cut;
    vanished(SVanishedEvent{9, {}, "/1/0/0"});
    const std::string xml = JUnit({cut, vanished});
    EXPECT_EQ(Cases(xml), expected + expected);
    EXPECT_THAT(xml, HasSubstr("ended inside Func\n\nat work\n</error>"));
    EXPECT_EQ(Cases(JUnit(CEventScript()(run + "passed /1/0/0 [2]"))).substr(0, 80),
              std::string("Suite.G_1.Loop/In loop [2]\nSuite.G_1/Twin (/1/1) skipped: stopped\n"
                          "Suite.G_1/Twin (/1/2) skipped: stopped\n")
                  .substr(0, 80));
}

TEST(JUnitReport, ARunThatWasCutOffSaysWhatTheEventsSayOfTheTestsThatDidNotRun)
{
    const std::string tree = "record\n run S\n group /0 G\n test /0/0 T\n";
    const std::pair<CEventScript, std::string> rows[] = {
        // clang-format off
        {CEventScript()(tree + "begin /0\n begin /0/0\n fails /0/0"), "S.G/T error: ended inside Func\n"},
        {CEventScript()(tree + "begin /0\n ends /0"), "S.G/T skipped: no pass\nS/run error: The run ended before its time.\n"},
        {CEventScript()(tree + "begin /0\n fails /0"), "S.G/T skipped: stopped\nS/run error: The run ended before its time.\n"},
        {CEventScript()(tree)(SStateEvent{"/1", "x:InitGroup", "", "", 1, ENodeState::Failed}), "S.G/T skipped: initialization\nS/run error: The run ended before its time.\n"},
        {CEventScript()("record")(SRunStartEvent{"S", "s.xml", "", 2, 0, {}})("test /0 T\n begin /0\n ends /0"), "S/T skipped: left out\nS/run error: The run ended before its time.\n"},
        {CEventScript()("record")(SRunStartEvent{"S", "s.xml", "", 1, 0, {}})("test /0 T\n begin /0"), "S/run error: The run ended before its time.\n"},
        // clang-format on
    };
    for (const auto& [script, expected] : rows)
    {
        EXPECT_EQ(Cases(JUnit(script)), expected);
    }
}

TEST(JUnitReport, NoTwoCasesHaveOneNameAndNoNameIsBlank)
{
    const std::string xml = JUnit(CEventScript()("record")(SRunStartEvent{" ", "", "", 0, 0, {{" ", "blank"}}})(
        SNodeEvent{"/0", "x:Function", " ", "", 1, true, true, true})(
        "test /2 " + std::string(500'000, 'x') +
        "\n group /1 L\n test /1/0 Read\n test /1/1 Read [2]\n test /1/2 a\n test /1/3 a\n test /1/4 a (/1/2)\n begin /0\n passed /0\n"
        "begin /1/0\n passed /1/0 [2]\n begin /1/1\n passed /1/1\n begin /1/2\n passed /1/2\n begin /1/3\n passed /1/3\n begin /1/4\n passed /1/4\n end"));
    EXPECT_EQ(
        Cases(xml),
        "&quot; &quot;/&quot; &quot;\n .L/Read [2]\n .L/Read [2] (/1/1)\n .L/a (/1/2)\n .L/a (/1/3)\n .L/a (/1/2) (/1/4)\n");
}

TEST(JUnitReport, CarriesMetaMeasurementsAndOutputAndNothingThatIsIllegal)
{
    const std::string hostile = "a\x01\x1B[31m]]>\xFF\xEF\xBF\xBF\xE2\x80\xAE\n\"<&";
    CEventScript script;
    script("record")(SRunStartEvent{hostile, hostile, "", 0, 0, {{"serial", hostile}}})("test /0 " + std::string("x"));
    script("begin /0")(SMeasurementEvent{"/0", "supply", 5.25, "V", 4.75, {}, true})(
        SMeasurementEvent{"/0", "rise", std::numeric_limits<double>::quiet_NaN(), "", {}, {}, false});
    script(SOutputEvent{"/0", EOutputStream::StdOut, hostile})(SOutputEvent{"/0", EOutputStream::StdErr, "oops\n"});
    script(SVerdictEvent{"/0", true, EVerdict::Failed, 0, {}, {}, hostile})("bad");
    const std::string xml = JUnit(script);
    for (const char* part :
         {R"(<property name="serial" value="a\x01\x1B[31m]]>)"
          "\xEF\xBF\xBD"
          R"(\uFFFF\u202E&#10;&quot;&lt;&amp;")",
          R"~(.x: supply" value="5.25 V (from 4.75)" />)~", R"(.x: rise" value="nan, out of limits" />)",
          "<system-out>a\\x01\\x1B[31m]]&gt;\xEF\xBF\xBD\\uFFFF\\u202E\n\"&lt;&amp;</system-out>",
          "<system-err>oops\n</system-err>"})
    {
        EXPECT_THAT(xml, HasSubstr(part));
    }
}

TEST(JUnitReport, AnEndlessLogIsCutAndSaysSo)
{
    CEventScript script;
    script("record\n run S\n test /0 T\n begin /0\n");
    for (int line = 0; line < 3; ++line)
    {
        script("log " + std::string(500'000, 'x'));
    }
    const std::string xml = JUnit(script("failed /0 late\n bad"));
    EXPECT_LT(xml.size(), 1'100'000U);
    EXPECT_THAT(xml, HasSubstr("(451427 further bytes stand in the record)</failure>"));
}

TEST(Comparison, TellsWhatChanged)
{
    const std::string tree =
        "record\n run S\n group /0 G\n test /0/0 A\n test /0/1 B\n test /0/2 C\n test /0/3 D\n begin /0\n";
    const auto slow = [](std::chrono::microseconds time)
    { return SVerdictEvent{"/0/3", true, EVerdict::Passed, 0, {}, time, ""}; };
    const auto measured = [](double value)
    { return SMeasurementEvent{"/0/3", "supply", value, "V", 4.0, 6.0, value <= 6.0}; };
    using std::chrono_literals::operator""ms;
    const CTestFile file;
    const auto read = [&file](const CEventScript& script)
    {
        file.Write(script.Json());
        return ReadRuns(file.Path());
    };
    CEventScript before;
    before(tree +
           "begin /0/0\n passed /0/0 [1]\n begin /0/0\n passed /0/0 [2]\n begin /0/1\n failed /0/1 [1] was bad\n"
           "begin /0/2\n passed /0/2\n begin /0/3")(measured(5.0))(slow(100ms))("bad");
    CEventScript after;
    after(tree +
          "test /0/4 E\n begin /0/0\n passed /0/0 [1]\n begin /0/0\n error /0/0 [2] gone wrong\n"
          "begin /0/1\n passed /0/1 [1]\n begin /0/3")(measured(5.3))(slow(200ms))(
        SNotRunEvent{"/0/2", ENotRunReason::Condition})("begin /0/4\n failed /0/4 bad from the start\n bad");
    const SComparison comparison = Compare(read(before), read(after));
    EXPECT_THAT(comparison.lines,
                testing::ElementsAre("broken: S.G/A [2]: gone wrong", "fixed: S.G/B [1]",
                                     "gone: S.G/C: not run: condition", "slower: S.G/D: 0.200 s, was 0.100 s",
                                     "moved: S.G/D: supply 5.3 V (from 4 to 6), was 5 V (from 4 to 6)",
                                     "new: S.G/E: bad from the start"));
    EXPECT_EQ(comparison.Counts(), "1 broken, 1 fixed, 1 new, 1 gone, 1 slower, 1 measurement moved");
    EXPECT_TRUE(comparison.IsWorse());
    EXPECT_FALSE(Compare(read(after), read(after)).IsWorse());
    const auto slash = [](const char* suite, const char* first, const char* second)
    {
        return CEventScript()("record")(SRunStartEvent{"S", suite, "", 0, 0, {}})(
            "group /0 A\n test /0/0 B/C\n group /1 A/B\n test /1/0 C\n begin /0/0\n" + std::string(first) +
            " /0/0\n begin /1/0\n" + second + " /1/0\n end");
    };
    EXPECT_THAT(Compare(read(slash("a", "failed", "passed")), read(slash("a", "passed", "failed"))).lines,
                testing::ElementsAre("fixed: S.A/B/C", "broken: S.A/B/C"));
    CEventScript two = slash("a", "passed", "passed");
    const CEventScript other = slash("b", "failed", "passed");
    for (const SEvent& event : other.Events())
    {
        two(event.what);
    }
    EXPECT_THAT(Compare(read(two), read(other)).lines, testing::ElementsAre("gone: S.A/B/C", "gone: S.A/B/C"));
    const std::pair<std::chrono::milliseconds, std::chrono::milliseconds> fast[] = {
        {100ms, 199ms}, {150ms, 299ms}, {99ms, 198ms}};
    for (const auto& [then, now] : fast)
    {
        EXPECT_EQ(Compare(read(CEventScript()(tree)(slow(then))("end")), read(CEventScript()(tree)(slow(now))("end")))
                      .lines.size(),
                  0U);
    }
}
