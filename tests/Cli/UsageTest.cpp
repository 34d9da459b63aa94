#include "CliFixture.h"

#include <QFile>

#include <sstream>

using namespace Qt::StringLiterals;

namespace
{
using CUsageTest = CCliTest;
} // namespace

TEST_F(CUsageTest, AWrongCommandLineRunsNothingAndSaysWhatIsWrong)
{
    const QString suite = Suite(Call("Passes"));
    Write(u"filters.ini"_s, "[filter:Lab]\ncategories=Lab\n[filter:Field]\ncategories=Field\n");
    Write(u"current.ini"_s, "[filters]\ncurrent=Gone\n");
    Write(u"flag.ini"_s, "[filter:Lab]\nunrestricted=perhaps\n");
    struct SRow
    {
        QStringList arguments;
        const char* message;
        const char* usage;
    };
    const char* run = "Usage: orvanta run [options] SUITE...\nSee 'orvanta help run'.\n";
    const char* general = "Usage: orvanta COMMAND [options] [SUITE...]\nSee 'orvanta help'.\n";
    const SRow rows[] = {
        {{}, "no command given", general},
        {{u"frob"_s}, "unknown command 'frob'", general},
        {{u"help"_s, u"frob"_s}, "unknown command 'frob'", "Usage: orvanta COMMAND"},
        {{u"--frob"_s}, "--frob", general},
        {{u"run"_s}, "SUITE is required", run},
        {{u"run"_s, u"--frob"_s, suite}, "--frob", run},
        {{u"run"_s, u"--log-level"_s, u"much"_s, suite}, "much", run},
        {{u"run"_s, u"--color"_s, u"red"_s, suite}, "'red' is none of auto, always, never", run},
        {{u"run"_s, u"-q"_s, u"-v"_s, suite}, "excludes", run},
        {{u"run"_s, u"--validation"_s, u"--diagnostic"_s, suite}, "excludes", run},
        {{u"list"_s, u"--record"_s, u"r"_s, suite}, "--record", "Usage: orvanta list [options] SUITE...\n"},
        {{u"run"_s, u"--filter"_s, u"Nope"_s, u"--settings"_s, u"filters.ini"_s, suite},
         "unknown filter 'Nope'; known filters: Lab, Field",
         run},
        {{u"list"_s, u"--settings"_s, u"current.ini"_s, suite},
         "unknown filter 'Gone' (the current one of the settings); the settings declare no filters",
         "Usage: orvanta list"},
        {{u"run"_s, u"--settings"_s, u"flag.ini"_s, suite}, "unrestricted must be \"true\" or \"false\"", run},
        {{u"run"_s, u"--settings"_s, u"."_s, suite}, "it is a folder", run},
        {{u"run"_s, u"--settings"_s, u"gone.ini"_s, suite}, "gone.ini: the settings cannot be read", run},
        {{u"run"_s, u"--record"_s, suite, suite}, "named as a suite and as the record", run},
        {{u"run"_s, u"--record"_s, u"r"_s, u"--log"_s, u"./r"_s, suite}, "named as the record and as the log", run},
        {{u"run"_s, u"--record"_s, u"nowhere/r"_s, suite}, "cannot write nowhere/r: No such file or directory", run},
        {{u"run"_s, u"--log"_s, u"."_s, suite}, "cannot write .: Is a directory", run},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.arguments.join(u' ').toStdString());
        const SOutcome outcome = Orvanta(row.arguments);
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("orvanta: ")) << outcome.err;
        EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find(row.usage), std::string::npos) << outcome.err;
    }
}

TEST_F(CUsageTest, HelpFitsTheScreenAndNamesWhatThereIs)
{
    struct SRow
    {
        QStringList arguments;
        std::vector<const char*> words;
    };
    const SRow rows[] = {
        {{u"--help"_s}, {"Usage: orvanta COMMAND", "run ", "list ", "schema ", "help ", "--version"}},
        {{u"help"_s}, {"Usage: orvanta COMMAND"}},
        {{u"help"_s, u"run"_s},
         {"Usage: orvanta run [options] SUITE...", "-L,--library-path DIR", "--diagnostic", "--validation", "--debug",
          "--product LABEL", "--filter NAME", "--settings FILE", "--record FILE", "--log FILE", "-v,--verbose",
          "-q,--quiet", "--log-level N", "--color WHEN", "--progress WHEN", "\n  7  another run holds"}},
        {{u"list"_s, u"--help"_s}, {"Usage: orvanta list [options] SUITE...", "--json"}},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.arguments.join(u' ').toStdString());
        const SOutcome outcome = Orvanta(row.arguments);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.err, "");
        for (const char* word : row.words)
        {
            EXPECT_NE(outcome.out.find(word), std::string::npos) << word << '\n' << outcome.out;
        }
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);)
        {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
    EXPECT_EQ(Orvanta({u"--version"_s}).out, "orvanta 5.0.0\n");
}
