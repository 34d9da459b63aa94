#include "CliFixture.h"

using namespace Qt::StringLiterals;

namespace
{
/// Paths: /1 Main, /1/0 First, /1/1 Inner, /1/1/0 Passes, /1/1/1 Warns, /1/2 Warns, /2 Other, /2/0 Passes.
const QByteArray BODY = "<x:Function name=\"Passes\" label=\"First\"/>\n"
                        "<x:Group name=\"Inner\" label=\"The inner\">" +
    Call("Passes") + Call("Warns") + "</x:Group>\n" + Call("Warns") + "</x:Group>\n<x:Group name=\"Other\">\n" +
    Call("Passes");
const char* const ALL = "/1/0 /1/1/0 /1/1/1 /1/2 /2/0 ";

class CSelectionTest : public CCliTest
{
protected:
    /// The paths of the functions below the groups that `orvanta list` shows with a mark, each followed by a blank.
    std::string Marked(const QStringList& options, const QString& suite) const
    {
        const SOutcome outcome = Orvanta(QStringList{u"list"_s, u"--json"_s} + options + QStringList{suite});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        std::string paths;
        const TJson suites = TJson::parse(outcome.out);
        for (const TJson& node : suites.at(0).at("nodes"))
        {
            const std::string path = node.at("path");
            const bool isOutside = path.starts_with("/0") || path.starts_with("/3");
            if (node.at("element") == "x:Function" && !isOutside && node.at("selected"))
            {
                paths += path + ' ';
            }
        }
        return paths;
    }
};
} // namespace

TEST_F(CSelectionTest, PatternsChooseWhatRunsInTheOrderGiven)
{
    struct SRow
    {
        QStringList options;
        const char* ran;
    };
    const SRow rows[] = {
        {{}, ALL},
        {{u"-t"_s, u"/"_s}, ALL},
        {{u"-t"_s, u"/1/1"_s}, "/1/1/0 /1/1/1 "},
        {{u"-t"_s, u"/*/0"_s}, "/1/0 /2/0 "},
        {{u"--select"_s, u"Main/Passes"_s}, "/1/0 "},
        {{u"-t"_s, u"Main/First"_s}, "/1/0 "},
        {{u"-t"_s, u"Main/The inner/Warns"_s}, "/1/1/1 "},
        {{u"-t"_s, u"Main/*/Warns"_s}, "/1/1/1 "},
        {{u"-t"_s, u"*/?ass*"_s}, "/1/0 /2/0 "},
        {{u"-t"_s, u"**/Warns"_s}, "/1/1/1 /1/2 "},
        {{u"-t"_s, u"Main/**/Warns"_s}, "/1/1/1 /1/2 "},
        {{u"-t"_s, u"**"_s}, ALL},
        {{u"-t"_s, u"Other"_s, u"-t"_s, u"/1/0"_s}, "/1/0 /2/0 "},
        {{u"-T"_s, u"Main/Inner"_s}, "/1/0 /1/2 /2/0 "},
        {{u"-t"_s, u"Main"_s, u"-T"_s, u"**/Passes"_s}, "/1/1/1 /1/2 "},
        {{u"-T"_s, u"/1/2"_s, u"-t"_s, u"Main/Inner"_s}, "/1/1/0 /1/1/1 "},
        {{u"-t"_s, u"Main"_s, u"--deselect"_s, u"Main/Inner"_s, u"-t"_s, u"/1/1/0"_s}, "/1/0 /1/1/0 /1/2 "},
        {{u"--debug"_s, u"-t"_s, u"Main/Warns"_s}, "/1/2 "},
    };
    const QString suite = Suite(BODY);
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.options.join(u' ').toStdString());
        const SOutcome outcome = Run(QStringList{u"--record"_s, Path(u"r"_s)} + row.options + QStringList{suite});
        EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
        EXPECT_EQ(Ran(u"r"_s), "/0/0 " + std::string(row.ran) + "/3/0 ");
        EXPECT_EQ(Marked(row.options, suite), row.ran);
    }
}

TEST_F(CSelectionTest, WhereNothingIsSelectedNothingPasses)
{
    struct SRow
    {
        QStringList options;
        const char* unmatched; ///< null: the patterns match, but leave nothing selected
    };
    const SRow rows[] = {
        {{u"--debug"_s}, nullptr},
        {{u"-t"_s, u"Main"_s, u"-T"_s, u"**"_s}, nullptr},
        {{u"-t"_s, u"Main/Nothing"_s}, "Main/Nothing"},
        {{u"-t"_s, u"passes"_s}, "passes"}, // not below Main, and not in this case
        {{u"-t"_s, u"/1/3"_s}, "/1/3"},
        {{u"-t"_s, u"/0/0"_s, u"-t"_s, u"/0"_s}, "/0"}, // what is not the operator's to select
        {{u"-T"_s, u"*/*/*/*"_s}, "*/*/*/*"},
        {{u"-t"_s, u"Main"_s, u"-T"_s, u""_s}, ""},
    };
    const QString suite = Suite(BODY);
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.options.join(u' ').toStdString());
        const SOutcome run = Run(row.options + QStringList{suite});
        EXPECT_EQ(run.code, 5);
        const SOutcome list = Orvanta(QStringList{u"list"_s} + row.options + QStringList{suite});
        EXPECT_EQ(list.code, row.unmatched ? 5 : 0);
        EXPECT_EQ(list.err, run.err);
        EXPECT_EQ(run.err.empty(), !row.unmatched);
        if (row.unmatched)
        {
            const std::string message = "no node matches '" + std::string(row.unmatched) + "'";
            EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
            EXPECT_EQ(run.out, "") << "nothing runs, not even the first group";
        }
    }
}

TEST_F(CSelectionTest, ListShowsTheSelectionAsATree)
{
    const QString suite = Suite(BODY);
    EXPECT_EQ(Orvanta({u"list"_s, u"-t"_s, u"Main/Inner"_s, suite}).out,
              suite.toStdString() +
                  "\n"
                  "[ ] /      x:TestSuite Bench\n"
                  "    /0     x:InitGroup\n"
                  "    /0/0   x:Function  Prepares\n"
                  "[ ] /1     x:Group     Main\n"
                  "[ ] /1/0   x:Function  Passes \"First\"\n"
                  "[x] /1/1   x:Group     Inner \"The inner\"\n"
                  "[x] /1/1/0 x:Function  Passes\n"
                  "[x] /1/1/1 x:Function  Warns\n"
                  "[ ] /1/2   x:Function  Warns\n"
                  "[ ] /2     x:Group     Other\n"
                  "[ ] /2/0   x:Function  Passes\n"
                  "    /3     x:ExitGroup\n"
                  "    /3/0   x:Function  Prepares\n");
}
