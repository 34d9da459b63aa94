#include "CliFixture.h"

namespace
{
const std::string YES_NO = "<x:BooleanPopup text=\"Is it on?\" variable=\"$On\" yes_button=\"Aye\"/>\n";
const std::string INTEGER =
    "<x:SetPopup text=\"How much?\" label=\"Volts\" variable=\"$N\" min=\"10\" max=\"300\" timeout=\"7\"/>\n";
const std::string HEX = "<x:SetPopup text=\"Which mask?\" variable=\"$N\" hex=\"true\" initialize=\"false\"/>\n";
const std::string INFO = "<x:InfoPopup text=\"Mind the gap\"/>\n";

using CAnswersTest = CCliTest;

/// Events without their times, each on a line.
std::string Timeless(std::vector<TJson> events)
{
    std::string text;
    for (TJson& event : events)
    {
        for (const char* key : {"time", "ms", "seconds"})
        {
            event.erase(key);
        }
        text += event.dump() + '\n';
    }
    return text;
}
} // namespace

TEST_F(CAnswersTest, AnswersStandInForTheOperatorAndSavedOnesGiveTheSameRunAgain)
{
    Write("answers.json", R"([{"answer": true, "text": "Is it on?"}, {"answer": 300}, {"answer": "0x12C"},
                              {"text": "Mind the gap", "answer": "ok"}, {"answer": "cancel"},
                              {"answer": "0xFFFFFFFFFFFFFFFF"}, {"answer": "timeout"}, {"answer": "abort"}, {"answer": 1}])");
    Suite(YES_NO + INTEGER + HEX + INFO + INTEGER + HEX + INFO + INFO + Call("Passes"));
    const SOutcome outcome = Run("--record r --answers answers.json --save-answers saved.json suite.xml");
    EXPECT_EQ(outcome.code, 2) << outcome.out << outcome.err;
    EXPECT_PRED2(Contains, outcome.out, "Setting $N to 300 (0x12C)");
    std::vector<TJson> prompts = Events("prompt");
    prompts.resize(4);
    EXPECT_EQ('\n' + Timeless(prompts), R"(
{"event":"prompt","kind":"boolean","text":"Is it on?","yes":"Aye","no":"No","timeout":null,"answer":true,"id":1}
{"event":"prompt","kind":"integer","text":"How much?","label":"Volts","base":10,"initialize":true,"initial":42,"min":10,"max":300,"timeout":7,"answer":300,"id":2}
{"event":"prompt","kind":"integer","text":"Which mask?","label":"Select a value:","base":16,"initialize":false,"initial":300,"min":0,"max":18446744073709551615,"timeout":null,"answer":300,"id":3}
{"event":"prompt","kind":"info","text":"Mind the gap","button":"OK","timeout":null,"answer":"ok","id":4}
)");
    EXPECT_EQ('\n' + Read("saved.json"), R"(
[
  {"text":"Is it on?","answer":true},
  {"text":"How much?","answer":300},
  {"text":"Which mask?","answer":300},
  {"text":"Mind the gap","answer":"ok"},
  {"text":"How much?","answer":"cancel"},
  {"text":"Which mask?","answer":18446744073709551615},
  {"text":"Mind the gap","answer":"timeout"},
  {"text":"Mind the gap","answer":"abort"}
]
)");
    EXPECT_EQ(Run("--record again --answers saved.json --save-answers saved.json suite.xml").code, 2);
    EXPECT_EQ(Timeless(Record("again")), Timeless(Record()));
}

TEST_F(CAnswersTest, AnEntryEndsItsPromptAsItSays)
{
    struct SRow
    {
        std::string body;
        const char* answers;
        int code;
        const char* ends; ///< the prompt's answer in the record
        const char* words;
    };
    // clang-format off
    const SRow rows[] = {
        {YES_NO, R"([{"answer": "timeout"}])", 1, "\"timeout\"", "\n      timed out\n"},
        {INTEGER, R"([{"answer": "cancel"}])", 1, "\"cancel\"", "\n      closed without an answer\n"},
        {YES_NO, R"([{"answer": true}, {"answer": 1}, {"answer": "ok"}])", 4, "true", "orvanta: answers.json: 2 of the answers were left over"},
        {YES_NO, R"([{"answer": "cancel"}, {"answer": 1}])", 1, "\"cancel\"", "orvanta: answers.json: 1 of the answers were left over"},
        {INTEGER, R"([{"answer": " 0x0A "}])", 0, "10", "Test suite Passed!"},
        {INFO, R"([{"answer": "abort"}])", 2, "\"abort\"", "The operator aborted at the prompt \"Mind the gap\"."},
        {YES_NO, R"([{"answer": true, "text": "Is it off?"}])", 2, "\"abort\"", "Answer 1 to the prompt \"Is it on?\": the entry is for the prompt \"Is it off?\"."},
        {YES_NO, R"([{"answer": 1}])", 2, "\"abort\"", "Answer 1 to the prompt \"Is it on?\": a yes/no prompt takes "},
        {INTEGER, R"([{"answer": "0x12D"}])", 2, "\"abort\"", "301 is not from 10 to 300."},
        {YES_NO + INFO, R"([{"answer": true}])", 2, "\"abort\"", "Answer 2 to the prompt \"Mind the gap\": the list"},
    };
    // clang-format on
    for (const SRow& row : rows)
    {
        SCOPED_TRACE(row.body + row.answers);
        Write("answers.json", row.answers);
        const SOutcome outcome = Run("--record r --answers answers.json " + Suite(row.body + Call("Passes")));
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_EQ(Events("prompt").back().at("answer").dump(), row.ends);
        EXPECT_EQ(Contains(Ran(), "/1/1 "), row.code != 2);
        EXPECT_PRED2(Contains, outcome.out + outcome.err, row.words);
    }
}

TEST_F(CAnswersTest, ABadListIsAUsageErrorThatNamesTheEntry)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "the answers are not valid JSON"},
        {"{\"answer\": true}", "the answers are no JSON array"},
        {"[{\"answer\": true}, true]", "entry 2 of the answers: it is no object with an \"answer\""},
        {"[{\"text\": \"Is it on?\"}]", "entry 1 of the answers: it is no object with an \"answer\""},
        {"[{\"answer\": true, \"txt\": \"\"}]", "entry 1 of the answers: it has the unknown key \"txt\""},
        {"[{\"answer\": 1, \"text\": null}]", "entry 1 of the answers: its \"text\" is no text"},
        {"[{\"answer\": -1}]", "entry 1 of the answers: its answer is not true, false, "},
        {"[{\"answer\": 18446744073709551616}]", "entry 1 of the answers: its answer is not true, false, "},
        {"[{\"answer\": \"-1\"}]", "entry 1 of the answers: its answer is not true, false, "},
        {"[{\"answer\": null}]", "entry 1 of the answers: its answer is not true, false, "},
    };
    Suite(INFO);
    for (const auto& [content, message] : rows)
    {
        SCOPED_TRACE(content);
        Write("answers.json", content);
        const SOutcome outcome = Run("--answers answers.json suite.xml");
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with(std::string("orvanta: answers.json: ") + message)) << outcome.err;
    }
}
