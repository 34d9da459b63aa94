#include "CliFixture.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace
{
using CLoadTest = CCliTest;

const std::string HEAD = "<?xml version=\"1.0\"?>\n<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\">\n";
const std::string TAIL = "<x:InitGroup/>\n<x:ExitGroup/>\n</x:TestSuite>\n";

/// The lines of a text up to the message's own words: "file:line:column: severity:", each followed by a line feed.
std::string Prefixes(const std::string& text)
{
    std::string prefixes;
    for (const QString& line : QString::fromStdString(text).split(u'\n', Qt::SkipEmptyParts))
    {
        prefixes += line.left(line.indexOf(u": ", line.indexOf(u": ") + 1) + 1).toStdString() + '\n';
    }
    return prefixes;
}
} // namespace

TEST_F(CLoadTest, EveryProblemOfABadSuiteIsToldWithItsPlace)
{
    QDir(QString::fromStdString(Path(""))).mkdir(QStringLiteral("folder"));
    Write("empty.xml", "");
    Write("early.xml", "<?xml version=\"1.0\"?>\n<a>\n");
    Write("three.xml", HEAD + "<x:Grp/>\n<x:InitGroup lable=\"a\"/>\n</x:TestSuite>\n");
    std::string deep;
    for (int level = 0; level < 1000000; ++level)
    {
        deep += "<x:Group>";
    }
    Write("deep.xml", HEAD + "<x:InitGroup/>" + deep);
    Write("variables.xml",
          HEAD +
              "<x:Variables>\n"
              "  <x:Local type=\"FLOAT\" name=\"$A\"/>\n"
              "  <x:Local type=\"LONG\" name=\"$B\"/>\n"
              "  <x:Define type=\"BYTE\" name=\"$B\" value=\"1\"/>\n"
              "</x:Variables>\n" +
              TAIL);
    const struct
    {
        std::string file;
        std::vector<std::string> places;
        const char* words;
    } rows[] = {
        {"missing.xml", {""}, "missing.xml: error: no such file [unreadable]\n"},
        {"folder", {""}, "folder: error: is a folder, not a file [unreadable]\n"},
        {"empty.xml", {""}, "empty.xml: error: is empty [unreadable]\n"},
        {"early.xml", {"2:1", "3:1"}, "last tag started is 'a' [xml]\n"},
        {"three.xml", {"2:1", "3:1", "4:1"}, "did you mean \"label\"? [schema]\n"},
        {"deep.xml", {"3:2310"}, "elements nest deeper than 256 levels [xml]\n"},
        {"variables.xml", {"4:3", "6:3"}, "Invalid variable type: FLOAT. [unknown-type]\n"},
        {"variables.xml", {"4:3", "6:3"}, "the variable \"$B\" is declared already [duplicate-variable]\n"},
    };
    for (const auto& [file, places, words] : rows)
    {
        SCOPED_TRACE(file);
        const SOutcome outcome = Run(file);
        EXPECT_EQ(outcome.code, 6);
        EXPECT_TRUE(outcome.out.starts_with(file + ": not loaded\n1 suite: 0 tests: ")) << outcome.out;
        std::string expected;
        for (const std::string& place : places)
        {
            expected += file + (place.empty() ? "" : ':' + place) + ": error:\n";
        }
        EXPECT_EQ(Prefixes(outcome.err), expected) << outcome.err;
        EXPECT_PRED2(Contains, outcome.err, words);
    }
}

TEST_F(CLoadTest, AHundredProblemsAreShownAndTheRestIsCounted)
{
    std::string body;
    for (int i = 0; i < 102; ++i)
    {
        body += "<x:Foo/>\n";
    }
    Write("many.xml", HEAD + body + TAIL);
    const std::string shown = Run("many.xml").err;
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 101);
    EXPECT_TRUE(shown.ends_with("many.xml: and 2 more\n")) << shown;
}

TEST_F(CLoadTest, ASuiteWhoseConditionIsFalseRunsNothing)
{
    const auto condition = [](const char* right)
    {
        return "<x:Condition><x:Comparison operator=\"eq\"><x:Value value=\"$N\"/><x:Value value=\"" +
            std::string(right) + "\"/></x:Comparison></x:Condition>";
    };
    for (const bool holds : {true, false})
    {
        const std::string suite = Suite(Call("Passes"));
        std::string text = Read(suite);
        text.insert(text.find("<x:InitGroup"), condition(holds ? "42" : "43"));
        Write(suite, text);
        Run("--record r " + suite);
        EXPECT_EQ(Ran(), holds ? "/0/0 /1/0 /2/0 " : "");
    }
}

TEST_F(CLoadTest, ASuiteThatIsLeftOutIsToldTheRule)
{
    Write("settings.ini",
          "[runtime]\nLockFileName=lock\n[application]\nTestScriptLabel=AbC\n[filter:Bench]\ncategories=Lab, X\n"
          "[filter:Hide]\ncategories=Lab, X\nhideUnfiltered=true\n");
    const std::string other = "products=\"xyz;abcd\"";
    const std::string filtered = "products=\"abc\" configurations=\"z\"";
    const std::string lab = "its configurations are 'z', the filter's categories are 'Lab, X'";
    const struct
    {
        std::string attributes;
        std::string options;
        std::string rule; ///< empty: the suite runs
    } rows[] = {
        {other, "", "not for this product: its products are 'xyz;abcd', the product label is 'AbC' [product]\n"},
        {other, "--product XYZ ", ""},
        {other, "--product '' ", ""},
        {"", "", "not for this product: it names no products, the product label is 'AbC' [product]\n"},
        {filtered, "", ""},
        {filtered, "--filter Bench ", "left out by the filter 'Bench': " + lab + " [filter]\n"},
        {filtered, "--filter Hide ",
         "left out by the filter 'Hide': " + lab + " (the filter hides such suites) [filter]\n"},
    };
    for (const auto& [attributes, options, rule] : rows)
    {
        SCOPED_TRACE(attributes + options);
        const SOutcome outcome = Run(options + Suite(Call("Passes"), "", "suite.xml", attributes));
        EXPECT_EQ(outcome.code, rule.empty() ? 0 : 6);
        EXPECT_EQ(outcome.err, rule.empty() ? "" : "suite.xml: error: " + rule);
    }
}

TEST_F(CLoadTest, ListShowsTheTreeInEightyColumnsAndAsJson)
{
    Suite("<x:Function name=\"Passes\" label=\"The \xC3\xA4\" type=\"PassFailTest\">"
          "<x:Tooltip>In short</x:Tooltip></x:Function>\n"
          "<x:Group name=\"Inner\">" +
          Call("Warns") +
          "</x:Group>\n<x:Function name=\"ReturnsFalseWhateverTheBenchIsSetUpToBeForAWhile\" "
          "label=\"A long label\"/>\n");
    EXPECT_EQ(Orvanta("list -t Main/Inner suite.xml").out,
              "suite.xml\n"
              "[ ] /      x:TestSuite Bench\n"
              "    /0     x:InitGroup\n"
              "    /0/0   x:Function  Prepares\n"
              "[ ] /1     x:Group     Main\n"
              "[ ] /1/0   x:Function  Passes \"The \xC3\xA4\"\n"
              "[x] /1/1   x:Group     Inner\n"
              "[x] /1/1/0 x:Function  Warns\n"
              "[ ] /1/2   x:Function  ReturnsFalseWhateverTheBenchIsSetUpToBeForAWhile\n"
              "                       \"A long label\"\n"
              "    /2     x:ExitGroup\n"
              "    /2/0   x:Function  Prepares\n");

    const SOutcome outcome = Orvanta("list --json suite.xml missing.xml");
    EXPECT_EQ(outcome.code, 6);
    const TJson suites = TJson::parse(outcome.out);
    ASSERT_EQ(suites.size(), 2U);
    TJson heading = suites[0];
    heading.erase("nodes");
    EXPECT_EQ(heading.dump(),
              R"({"file":"suite.xml","loaded":true,"problems":[],"name":"Bench","library":"CliLibrary",)"
              R"("mode":0})");
    EXPECT_EQ(suites[1].dump(),
              R"({"file":"missing.xml","loaded":false,"problems":[{"line":null,"column":null,)"
              R"("severity":"error","rule":"unreadable","message":"no such file"}],"name":"",)"
              R"("library":"","mode":0,"nodes":[]})");
    EXPECT_EQ(suites[0]["nodes"].size(), 10U);
    EXPECT_EQ(suites[0]["nodes"][4].dump(),
              "{\"path\":\"/1/0\",\"element\":\"x:Function\",\"name\":\"Passes\","
              "\"label\":\"The \xC3\xA4\",\"line\":6,\"selectable\":true,\"selected\":true,"
              "\"test\":true,\"tooltip\":\"In short\"}");
    EXPECT_EQ(suites[0]["nodes"][1]["selectable"], false);
}

TEST_F(CLoadTest, SchemaPrintsTheSchema)
{
    QFile schema(QStringLiteral(ORVANTA_SCHEMA));
    ASSERT_TRUE(schema.open(QIODevice::ReadOnly));
    EXPECT_EQ(Orvanta("schema").out, schema.readAll().toStdString());
}
