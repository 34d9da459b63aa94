#include "CliFixture.h"

#include <cstdlib>

namespace
{
class CCheckCommandTest : public CCliTest
{
protected:
    SOutcome Check(const std::string& arguments) const
    {
        return Orvanta("check --settings settings.ini -L " ORVANTA_LIBRARY_FOLDER " " + arguments);
    }
};

const std::string USED =
    "<x:Function name=\"Passes\"><x:Condition><x:Comparison operator=\"eq\"><x:Value value=\"$On\"/>"
    "<x:Value value=\"$N\"/></x:Comparison></x:Condition></x:Function>\n";
const std::string ERROR = "<x:Function name=\"Pases\"/>\n";
const std::string WARNING = "<x:Function name=\"Passes\" type=\"passfailtest\"/>\n";
const std::string ASK = "<x:InfoPopup text=\"Well?\"/>\n";
} // namespace

TEST_F(CCheckCommandTest, TheCodeSaysWhetherThereAreErrors)
{
    Suite(USED, "", "good.xml");
    Suite(USED + WARNING, "", "warned.xml");
    Suite(USED + ERROR, "", "bad.xml");
    Suite(USED + ASK, "", "asks.xml");
    Write("one.json", R"([{"answer": "ok"}])");
    Write("two.json", R"([{"answer": "ok"}, {"answer": "ok"}, {"answer": 1}])");
    Write("odd.json", "{}");
    const std::string warned =
        "warned.xml:7:1: warning: type: \"passfailtest\" makes it a plain call, not a test; did you mean "
        "\"PassFailTest\"? [unknown-word]\n";
    const std::string bad = "bad.xml:7:1: error: the test library exports no function \"Pases\"; did you mean "
                            "\"Passes\"? [missing-function]\n";
    const struct
    {
        const char* arguments;
        int code;
        std::string out;
        const char* error;
    } rows[] = {
        {"good.xml", 0, "", ""},
        {"warned.xml", 0, warned, ""},
        {"--strict warned.xml", 1, warned, ""},
        {"--strict good.xml", 0, "", ""},
        {"bad.xml warned.xml", 1, bad + warned, ""},
        {"gone.xml good.xml", 1, "gone.xml: error: no such file [unreadable]\n", ""},
        {"--answers one.json asks.xml", 0, "", ""},
        {"--answers one.json asks.xml asks.xml", 1,
         "asks.xml:7:1: error: the prompt \"Well?\" finds no answer: the list ends after 1 entry [answers]\n", ""},
        {"--answers two.json asks.xml asks.xml", 1, "two.json: error: no prompt asks for the last entry [answers]\n",
         ""},
        {"--answers one.json --debug asks.xml", 1, "one.json: error: no prompt asks for the last entry [answers]\n",
         ""},
        {"--answers odd.json good.xml", 4, "", "odd.json: the answers are no JSON array"},
        {"-t Nowhere good.xml", 4, "", "no node matches 'Nowhere'"},
        {"--record r good.xml", 4, "", "Usage: orvanta check [options] SUITE...\n"},
    };
    for (const auto& [arguments, code, out, error] : rows)
    {
        SCOPED_TRACE(arguments);
        const SOutcome outcome = Check(arguments);
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.out, out);
        EXPECT_PRED2(Contains, outcome.err, error);
    }
}

TEST_F(CCheckCommandTest, ForProgramsThereIsOneArray)
{
    Suite(USED + "<x:Function name=\"\xE2\x80\xAEseP\"/>\n", "", "odd.xml");
    const SOutcome outcome = Check("--json odd.xml gone.xml");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(TJson::parse(outcome.out).dump(),
              R"([{"file":"odd.xml","line":7,"column":1,"severity":"error","rule":"missing-function",)"
              "\"message\":\"the test library exports no function \\\"\xE2\x80\xAEseP\\\"\"},"
              R"({"file":"gone.xml","line":null,"column":null,"severity":"error","rule":"unreadable",)"
              R"("message":"no such file"}])");
    EXPECT_PRED2(Contains, outcome.out, "\\u202EseP");
    EXPECT_PRED2(Contains, Check("odd.xml").out, "\"\\u202EseP\" [missing-function]");
}

TEST_F(CCheckCommandTest, NothingOfTheTestLibraryRuns)
{
    Suite(USED);
    for (const char* const command : {"check suite.xml", "list suite.xml"})
    {
        const SOutcome outcome =
            Shell(std::string("CLI_LIBRARY_EXITS=1 " ORVANTA_PROGRAM " ") + command + " -L " ORVANTA_LIBRARY_FOLDER);
        EXPECT_EQ(outcome.code, 0) << command;
        EXPECT_EQ(outcome.err, "") << command;
    }
}

TEST_F(CCheckCommandTest, TheExampleIsFine)
{
    const SOutcome outcome =
        Check("--strict --answers " ORVANTA_EXAMPLE "/answers.json " ORVANTA_EXAMPLE "/filesystem.xml");
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(outcome.code, 0);
}
