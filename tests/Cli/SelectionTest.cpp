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
    /// The paths of the functions below the groups that `orvanta list` shows with a mark, each followed by a blank.
    std::string Marked(const std::string& options) const
    {
        std::string paths;
        const TJson suites = TJson::parse(Orvanta("list --json suite.xml " + options).out);
        for (const TJson& node : suites.at(0).at("nodes"))
        {
            const std::string path = node.at("path");
            const bool isOutside = path.starts_with("/0") || path.starts_with("/3");
            paths += node.at("element") == "x:Function" && !isOutside && node.at("selected") ? path + ' ' : "";
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
        {"-t **", ALL},
        {"-t Other -t /1/0", "/1/0 /2/0 "},
        {"-T Main/Inner", "/1/0 /1/2 /2/0 "},
        {"-T /1/2 -t Main/Inner", "/1/1/0 /1/1/1 "},
        {"-t Main --deselect Main/Inner -t /1/1/0", "/1/0 /1/1/0 /1/2 "},
        {"--debug -t Main/Warns", "/1/2 "},
    };
    Suite(BODY);
    for (const auto& [options, ran] : rows)
    {
        SCOPED_TRACE(options);
        EXPECT_EQ(Run(std::string("--record r suite.xml ") + options).code, 0);
        EXPECT_EQ(Ran(), "/0/0 " + std::string(ran) + "/3/0 ");
        EXPECT_EQ(Marked(options), ran);
    }
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
        EXPECT_EQ(list.err, run.err);
        EXPECT_EQ(run.err.empty(), !unmatched);
        if (unmatched)
        {
            EXPECT_PRED2(Contains, run.err, "no node matches '" + std::string(unmatched) + "'");
            EXPECT_EQ(run.out, "Loaded 'suite'.\n") << "nothing runs, not even the first group";
        }
    }
}
