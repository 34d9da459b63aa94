#include "CliFixture.h"

#include <sstream>

namespace
{
using CUsageTest = CCliTest;
} // namespace

TEST_F(CUsageTest, AWrongCommandLineRunsNothingAndSaysWhatIsWrong)
{
    Suite(Call("Passes"));
    Write("filters.ini", "[filter:Lab]\ncategories=Lab\n[filter:Field]\ncategories=Field\n");
    Write("current.ini", "[filters]\ncurrent=Gone\n");
    Write("nowhere.ini", "[runtime]\nLockFileName=" + Path("nowhere/lock") + '\n');
    Write("folder.ini", "[runtime]\nLockFileName=/tmp\n");
    Write("flag.ini", "[filter:Lab]\nunrestricted=perhaps\n");
    const char* run = "Usage: orvanta run [options] SUITE...\nSee 'orvanta help run'.\n";
    const char* list = "Usage: orvanta list [options] SUITE...\n";
    const char* report = "Usage: orvanta report [options] RECORD...\n";
    const char* diff = "Usage: orvanta diff OLD NEW\n";
    const char* general = "Usage: orvanta COMMAND [options] [FILE...]\nSee 'orvanta help'.\n";
    const struct
    {
        const char* arguments;
        std::string message;
        const char* usage;
    } rows[] = {
        // clang-format off
        {"", "no command given", general},
        {"frob", "unknown command 'frob'", general},
        {"help frob", "unknown command 'frob'", general},
        {"run", "SUITE is required", run},
        {"run --frob suite.xml", "--frob", run},
        {"run --log-level much suite.xml", "much", run},
        {"run --color red suite.xml", "'red' is none of auto, always, never", run},
        {"run -q -v suite.xml", "excludes", run},
        {"run -v --log-level 3 suite.xml", "excludes", run},
        {"run --validation --diagnostic suite.xml", "excludes", run},
        {"list --record r suite.xml", "--record", list},
        {"run --filter Nope --settings filters.ini suite.xml", "unknown filter 'Nope'; known filters: Lab, Field", run},
        {"list --settings current.ini suite.xml", "unknown filter 'Gone' (the current one of the settings); the settings declare no filters", list},
        {"run --settings flag.ini suite.xml", "unrestricted must be \"true\" or \"false\"", run},
        {"run --settings gone.ini suite.xml", "gone.ini: the settings cannot be read", run},
        {"run --settings nowhere.ini suite.xml", "the execution lock " + Path("nowhere/lock") + " cannot be written: there is no folder " + Path("nowhere") + '\n', run},
        {"run --settings folder.ini suite.xml", "the execution lock /tmp cannot be written: it is no file\n", run},
        {"run --wait=soon suite.xml", "--wait 'soon' is no number of seconds", run},
        {"run --wait=-1 suite.xml", "--wait '-1' is no number of seconds", run},
        {"run --meta serial suite.xml", "--meta 'serial' is no KEY=VALUE", run},
        {"run --meta a=1 --meta a=2 suite.xml", "--meta 'a=2' gives a key for the second time", run},
        {"run --select-file gone suite.xml", "gone: the patterns cannot be read: No such file or directory", run},
        {"list --select-file . suite.xml", ".: the patterns cannot be read: Is a directory", list},
        {"run --record suite.xml suite.xml", "named as a suite and as the record", run},
        {"run --record r --log ./r suite.xml", "named as the record and as the log", run},
        {"run --record nowhere/r suite.xml", "cannot write nowhere/r: No such file or directory", run},
        {"run --log . suite.xml", "cannot write .: Is a directory", run},
        {"run --junit nowhere/j suite.xml", "cannot write nowhere/j: No such file or directory", run},
        {"run --html . suite.xml", "cannot write .: Is a directory", run},
        {"run --record /dev/null --junit j suite.xml", "/dev/null: reports are made from the record, which then has to be a file", run},
        {"run --rerun suite.xml suite.xml", "suite.xml:1: cannot be read as the record of a run: ", run},
        {"run --rerun gone -t /1 suite.xml", "excludes", run},
        {"report gone", "no report is asked for: name one with --junit, --html or --log", report},
        {"diff gone", "NEW is required", diff},
        {"run --answers gone.json suite.xml", "gone.json: the answers cannot be read: No such file", run},
        {"run --save-answers nowhere/a suite.xml", "nowhere/a: the answers cannot be written: ", run},
        // clang-format on
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.arguments);
        const SOutcome outcome = Orvanta(row.arguments);
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("orvanta: ")) << outcome.err;
        EXPECT_PRED2(Contains, outcome.err, row.message);
        EXPECT_PRED2(Contains, outcome.err, row.usage);
    }
}

TEST_F(CUsageTest, HelpFitsTheScreenAndNamesWhatThereIs)
{
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"--help", {"Usage: orvanta COMMAND", "run ", "list ", "check ", "schema ", "help ", "--version"}},
        {"help run",
         {"Usage: orvanta run [options] SUITE...",
          "-L,--library-path DIR",
          "--diagnostic",
          "--validation",
          "--debug",
          "--product LABEL",
          "--filter NAME",
          "--settings FILE",
          "--record FILE",
          "--log FILE",
          "-v,--verbose",
          "-q,--quiet",
          "--select-file FILE",
          "--stop-on-failure",
          "--wait",
          "--unattended",
          "--meta KEY=VALUE",
          "--answers FILE",
          "--save-answers FILE",
          "--log-level N",
          "--color WHEN",
          "--progress WHEN",
          "\n  7  another run holds"}},
        {"list --help", {"Usage: orvanta list [options] SUITE...", "--json"}},
        {"check --help", {"Usage: orvanta check [options] SUITE...", "--json", "--strict", "--answers FILE"}},
    };
    for (const auto& [arguments, words] : rows)
    {
        SCOPED_TRACE(arguments);
        const SOutcome outcome = Orvanta(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        for (const char* word : words)
        {
            EXPECT_PRED2(Contains, outcome.out, word);
        }
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);)
        {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
    EXPECT_EQ(Orvanta("--version").out, "orvanta 5.0.0\n");
}
