#include "CliFixture.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
using CLoadTest = CCliTest;

constexpr const char* HEAD = "<?xml version=\"1.0\"?>\n<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\">\n";
constexpr const char* TAIL = "<x:InitGroup/>\n<x:ExitGroup/>\n</x:TestSuite>\n";

/// The lines of a text up to the message's own words: "file:line:column: severity:".
std::vector<std::string> Prefixes(const std::string& text)
{
    std::vector<std::string> prefixes;
    for (const QString& line : QString::fromStdString(text).split(u'\n', Qt::SkipEmptyParts))
    {
        prefixes.push_back(line.left(line.indexOf(u": ", line.indexOf(u": ") + 1) + 1).toStdString());
    }
    return prefixes;
}
} // namespace

TEST_F(CLoadTest, EveryProblemOfABadSuiteIsToldWithItsPlace)
{
    struct SRow
    {
        const char* name;
        QByteArray content;
        std::vector<std::string> places;
        const char* words;
    };
    const QByteArray variables = QByteArray(HEAD) +
        "<x:Variables>\n"
        "  <x:Local type=\"FLOAT\" name=\"$A\"/>\n"
        "  <x:Local type=\"LONG\" name=\"$B\"/>\n"
        "  <x:Define type=\"BYTE\" name=\"$B\" value=\"1\"/>\n"
        "</x:Variables>\n" +
        TAIL;
    const SRow rows[] = {
        {"empty", "", {"1:1"}, "is empty"},
        {"not XML", "BEGIN\n", {"1:1"}, ""},
        {"ends early", "<?xml version=\"1.0\"?>\n<a>\n", {"2:1", "2:4", "3:1"}, ""},
        {"three errors",
         QByteArray(HEAD) + "<x:Grp/>\n<x:InitGroup lable=\"a\"/>\n</x:TestSuite>\n",
         {"3:9", "4:25", "5:15"},
         ""},
        {"variables", variables, {"4:3", "6:3"}, "Invalid variable type: FLOAT."},
        {"the second variable", variables, {"4:3", "6:3"}, "Variable already exists:  $B"},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.name);
        const std::string file = Write(u"bad.xml"_s, row.content).toStdString();
        const SOutcome outcome = Run({QString::fromStdString(file)});
        EXPECT_EQ(outcome.code, 6);
        EXPECT_EQ(outcome.out, "");
        std::vector<std::string> expected;
        for (const std::string& place : row.places)
        {
            expected.push_back(file + ':' + place + ": error:");
        }
        EXPECT_EQ(Prefixes(outcome.err), expected) << outcome.err;
        EXPECT_NE(outcome.err.find(row.words), std::string::npos) << outcome.err;
    }
}

TEST_F(CLoadTest, APathThatIsNoFileIsToldInOneLine)
{
    QDir().mkdir(Path(u"folder"_s));
    const std::string missing = Path(u"missing.xml"_s).toStdString();
    const std::string folder = Path(u"folder"_s).toStdString();
    EXPECT_EQ(Run({Path(u"missing.xml"_s)}).err, missing + ":1:1: error: no such file\n");
    EXPECT_EQ(Run({Path(u"folder"_s)}).err, folder + ":1:1: error: is a folder, not a file\n");
    EXPECT_EQ(Run({Path(u"folder"_s)}).code, 6);
}

TEST_F(CLoadTest, ASuiteThatIsLeftOutIsToldTheRule)
{
    Write(u"settings.ini"_s,
          "[runtime]\nLockFileName=" + Path(u"lock"_s).toUtf8() +
              "\n[application]\nTestScriptLabel=AbC\n"
              "[filter:Bench]\ncategories=Lab, X\n"
              "[filter:Hide]\ncategories=Lab, X\nhideUnfiltered=true\n"
              "[filter:All]\nunrestricted=true\n");
    struct SRow
    {
        QByteArray attributes;
        QStringList options;
        const char* rule; ///< null: the suite runs
    };
    const char* products = "not for this product: its products are 'xyz;abcd', the product label is 'AbC'\n";
    const char* filter =
        "left out by the filter 'Bench': its configurations are 'z', the filter's categories are 'Lab, X'\n";
    const char* hidden = "left out by the filter 'Hide': its configurations are 'z', the filter's categories are "
                         "'Lab, X' (the filter hides such suites)\n";
    const SRow rows[] = {
        {"products=\"xyz;;abc\"", {}, nullptr},
        {"products=\"xyz;abcd\"", {}, products},
        {"products=\"xyz;abcd\"", {u"--product"_s, u"XYZ"_s}, nullptr},
        {"products=\"xyz;abcd\"", {u"--product"_s, u""_s}, nullptr},
        {"", {}, "not for this product: it names no products, the product label is 'AbC'\n"},
        {"alwaysload=\"true\"", {}, nullptr},
        {"products=\"abc\" configurations=\"z\"", {}, nullptr},
        {"products=\"abc\" configurations=\"z\"", {u"--filter"_s, u"Bench"_s}, filter},
        {"products=\"abc\" configurations=\"z\"", {u"--filter"_s, u"Hide"_s}, hidden},
        {"products=\"abc\" configurations=\"z\"", {u"--filter"_s, u"All"_s}, nullptr},
        {"products=\"abc\" configurations=\"x;y\"", {u"--filter"_s, u"Bench"_s}, nullptr},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE((row.attributes + ' ' + row.options.join(u' ').toUtf8()).constData());
        const QString suite = Suite(Call("Passes"), u"suite.xml"_s, row.attributes);
        const SOutcome outcome = Run(row.options + QStringList{suite});
        EXPECT_EQ(outcome.code, row.rule ? 6 : 0);
        EXPECT_EQ(outcome.err, row.rule ? suite.toStdString() + ": error: " + row.rule : "");
    }
}

TEST_F(CLoadTest, ListShowsTheTreeInEightyColumns)
{
    const QString suite = Suite("<x:Function name=\"Passes\" label=\"The first\" type=\"PassFailTest\"/>\n"
                                "<x:Function name=\"ReturnsFalseWhateverTheBenchIsSetUpToBeForAWhile\" "
                                "label=\"A long label\"/>\n");
    const std::string expected = suite.toStdString() +
        "\n"
        "[x] /    x:TestSuite Bench\n"
        "    /0   x:InitGroup\n"
        "    /0/0 x:Function  Prepares\n"
        "[x] /1   x:Group     Main\n"
        "[x] /1/0 x:Function  Passes \"The first\"\n"
        "[x] /1/1 x:Function  ReturnsFalseWhateverTheBenchIsSetUpToBeForAWhile\n"
        "                     \"A long label\"\n"
        "    /2   x:ExitGroup\n"
        "    /2/0 x:Function  Prepares\n";
    const SOutcome outcome = Orvanta({u"list"_s, suite});
    EXPECT_EQ(outcome.out, expected);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(Orvanta({u"list"_s, u"--debug"_s, suite}).out.find("\n[ ] /1/0"), std::string::npos);
}

TEST_F(CLoadTest, ListAsJsonKeepsGoodSuitesBesideABadOne)
{
    const QString suite = Suite("<x:Function name=\"Passes\" label=\"The \xC3\xA4\"/>\n");
    const SOutcome outcome = Orvanta({u"list"_s, u"--json"_s, suite, Path(u"missing.xml"_s)});
    EXPECT_EQ(outcome.code, 6);
    const TJson suites = TJson::parse(outcome.out);
    ASSERT_EQ(suites.size(), 1U);
    EXPECT_EQ(suites[0]["file"], suite.toStdString());
    EXPECT_EQ(suites[0]["name"], "Bench");
    EXPECT_EQ(suites[0]["library"], "CliLibrary");
    EXPECT_EQ(suites[0]["nodes"].size(), 7U);
    EXPECT_EQ(suites[0]["nodes"][4].dump(),
              "{\"path\":\"/1/0\",\"element\":\"x:Function\",\"name\":\"Passes\","
              "\"label\":\"The \xC3\xA4\",\"line\":5,\"selectable\":true,\"selected\":true}");
    EXPECT_EQ(suites[0]["nodes"][1]["selectable"], false);
}

TEST_F(CLoadTest, SchemaPrintsTheSchema)
{
    QFile schema(QStringLiteral(ORVANTA_SCHEMA));
    ASSERT_TRUE(schema.open(QIODevice::ReadOnly));
    const SOutcome outcome = Orvanta({u"schema"_s});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, schema.readAll().toStdString());
}
