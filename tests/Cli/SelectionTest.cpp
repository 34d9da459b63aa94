#include "CliFixture.h"

namespace
{
/// Paths: /1 Main, /1/0 First, /1/1 Inner, /1/1/0 Passes, /1/1/1 Warns, /1/2 Warns, /2 Other, /2/0 Passes.
const std::string BODY = "<x:Function name=\"Passes\" label=\"First\"/>\n"
                         "<x:Group name=\"Inner\" label=\"Inmost\">" +
    Call("Passes") + Call("Warns") + "</x:Group>\n" + Call("Warns") + "</x:Group>\n<x:Group name=\"Other\">\n" +
    Call("Passes");
const char* const ALL = "/1/0 /1/1/0 /1/1/1 /1/2 /2/0 ";

class CSelectionTest : public CCliTest
{
protected:
    /// The paths of the nodes of one element in the groups that `orvanta list` shows with a mark, each followed by a
    /// blank.
    std::string Marked(const std::string& options, const char* element = "x:Function") const
    {
        std::string paths;
        const TJson suites = TJson::parse(Orvanta("list --json suite.xml " + options).out);
        for (const TJson& node : suites.at(0).at("nodes"))
        {
            const std::string path = node.at("path");
            const bool isOutside = path.starts_with("/0") || path.starts_with("/3");
            paths += node.at("element") == element && !isOutside && node.at("selected") ? path + ' ' : "";
        }
        return paths;
    }
};
} // namespace

TEST_F(CSelectionTest, PatternsChooseWhatRunsInTheOrderGiven)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", ALL},
        {"-t /", ALL},
        {"-t /*/0", "/1/0 /2/0 "},
        {"--select Main/Passes", "/1/0 "},
        {"-t Main/First", "/1/0 "},
        {"-t Main/Inmost/Warns", "/1/1/1 "},
        {"-t Main/*/Warns", "/1/1/1 "},
        {"-t */?ass*", "/1/0 /2/0 "},
        {"-t Main/**/Warns", "/1/1/1 /1/2 "},
        {"-t Main/**/**/Warns/**", "/1/1/1 /1/2 "},
        {"-t **", ALL},
        {"-T **/*n*/Warns", "/1/0 /1/1/0 /2/0 "},
        {"-t /** -T /1/**/1", "/1/0 /1/2 /2/0 "},
        {"-t Other -t /1/0", "/1/0 /2/0 "},
        {"-T Main/Inner", "/1/0 /1/2 /2/0 "},
        {"-T /1/2 -t Main/Inner", "/1/1/0 /1/1/1 "},
        {"-t Main --deselect Main/Inner -t /1/1/0", "/1/0 /1/1/0 /1/2 "},
        {"--debug -t Main/Warns", "/1/2 "},
        {"--select-file patterns", "/1/1/1 "},
        {"-t Other --select-file patterns -T /2", "/1/1/1 "},
    };
    Write("patterns", "Main/Inner\r\n\n-/1/1/0\n/2/0\n-Other");
    Suite(BODY);
    for (const auto& [options, ran] : rows)
    {
        SCOPED_TRACE(options);
        EXPECT_EQ(Run(std::string("--record r suite.xml ") + options).code, 0);
        EXPECT_EQ(Ran(), "/0/0 " + std::string(ran) + "/3/0 ");
        EXPECT_EQ(Marked(options), ran);
    }
}

TEST_F(CSelectionTest, AGroupIsMarkedWhileAllBelowItIs)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "/1 /1/1 /2 "},        {"-t **/Passes", "/2 "},       {"-t Main/Inner/*", "/1/1 "},
        {"-t Main/** -T Main", ""}, {"-T Main/First", "/1/1 /2 "}, {"-T Main/** -t Main/* -t Other", "/1 /1/1 /2 "},
    };
    Suite(BODY);
    for (const auto& [options, groups] : rows)
    {
        EXPECT_EQ(Marked(options, "x:Group"), groups) << options;
    }
    const TJson nodes = TJson::parse(Orvanta("list --json -t /** suite.xml").out)[0]["nodes"];
    EXPECT_EQ(nodes[2]["selected"], true) << "what stands below the init group is reached by its own path alone";
}

TEST_F(CSelectionTest, LongPatternsAndManyNodesTakeNoLonger)
{
    std::string deep = Call("Passes");
    for (int level = 0; level < 60; ++level)
    {
        deep = "<x:Group name=\"a\">" + deep + "</x:Group>";
    }
    std::string flat;
    for (int i = 0; i < 20000; ++i)
    {
        flat += Call("Passes");
    }
    Suite(deep + flat);
    EXPECT_EQ(Orvanta("list suite.xml -T **/a/**/a/**/a/**/a/**/a/**/b").code, 5);
    EXPECT_EQ(Orvanta("list suite.xml -t **/Passes").code, 0);
}

TEST_F(CSelectionTest, WhereNothingIsSelectedNothingPasses)
{
    const std::pair<std::string, const char*> rows[] = {
        {"-t Main -T **", nullptr}, // the patterns match, but leave nothing selected
        {"-t Main/Nothing", "Main/Nothing"},
        {"-t passes", "passes"}, // not below Main, and not in this case
        {"-t /1/3", "/1/3"},
        {"-t /0/0 -t /0", "/0"}, // what is not the operator's to select
        {"-T */*/*/*", "*/*/*/*"},
        {"-t Main -T ''", ""},
    };
    Suite(BODY);
    for (const auto& [options, unmatched] : rows)
    {
        SCOPED_TRACE(options);
        const SOutcome run = Run("suite.xml " + options);
        const SOutcome list = Orvanta("list suite.xml " + options);
        EXPECT_EQ(run.code, 5);
        EXPECT_EQ(list.code, unmatched ? 5 : 0);
        if (unmatched)
        {
            EXPECT_EQ(run.out, "Loaded 'suite'.\n") << "nothing runs, not even the first group";
            EXPECT_PRED2(Contains, run.err, "no node matches '" + std::string(unmatched) + "'");
            EXPECT_EQ(list.err, run.err);
        }
        else
        {
            EXPECT_PRED2(Contains, run.err, "suite.xml: nothing ran: nothing was selected; choose ");
            EXPECT_EQ(list.err, "");
        }
    }
}

TEST_F(CSelectionTest, APatternNeedsToMatchInOneOfTheSuitesOnly)
{
    const struct
    {
        const char* options;
        int run;
        int list;
        const char* leftOut; ///< the suites that the selection says nothing of
    } rows[] = {
        {"-t Main/Passes good.xml bad.xml", 0, 0, "bad.xml"},
        {"-t Main/ReturnsFalse good.xml bad.xml", 1, 0, "good.xml"},
        {"-t Main/Passes -T Main/Warns good.xml bad.xml", 0, 0, "bad.xml"},
        {"-T Main/ReturnsFalse good.xml bad.xml", 0, 0, ""},
        {"-T Main/Passes bad.xml good.xml", 1, 0, ""},
        {"-t Main/Passes -t Typo good.xml bad.xml", 5, 5, ""},
        {"-t Typo missing.xml good.xml", 6, 6, ""},
        {"-t Main/Passes missing.xml good.xml", 6, 6, ""},
    };
    Suite(Call("Passes") + Call("Prepares"), "", "good.xml");
    Suite(Call("ReturnsFalse") + Call("Warns"), "", "bad.xml");
    for (const auto& [options, run, list, leftOut] : rows)
    {
        SCOPED_TRACE(options);
        const SOutcome outcome = Run(options);
        EXPECT_EQ(outcome.code, run) << outcome.out << outcome.err;
        EXPECT_EQ(Orvanta(std::string("list ") + options).code, list);
        for (const std::string suite : {"good.xml", "bad.xml"})
        {
            EXPECT_EQ(Contains(outcome.out, suite + ": no pattern matches here"), suite == leftOut) << outcome.out;
        }
    }
}
