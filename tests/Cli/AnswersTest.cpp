#include "CliFixture.h"

using namespace Qt::StringLiterals;

namespace
{
const QByteArray VARIABLES = "<x:Variables><x:Local type=\"BOOL\" name=\"$On\" value=\"false\"/>"
                             "<x:Local type=\"LONGLONG\" name=\"$N\" value=\"42\"/></x:Variables>\n";
const QByteArray YES_NO = "<x:BooleanPopup text=\"Is it on?\" variable=\"$On\" yes_button=\"Aye\"/>\n";
const QByteArray INTEGER =
    "<x:SetPopup text=\"How much?\" label=\"Volts\" variable=\"$N\" min=\"10\" max=\"300\" timeout=\"7\"/>\n";
const QByteArray HEX = "<x:SetPopup text=\"Which mask?\" variable=\"$N\" hex=\"true\" initialize=\"false\"/>\n";
const QByteArray INFO = "<x:InfoPopup text=\"Mind the gap\"/>\n";

class CAnswersTest : public CCliTest
{
protected:
    /// Runs a suite of prompts with a record "r" and a list of answers.
    SOutcome Answer(const QByteArray& body, const QByteArray& answers, const QStringList& options = {}) const
    {
        return Run(QStringList{u"--record"_s, Path(u"r"_s), u"--answers"_s, Write(u"answers.json"_s, answers)} +
                   options + QStringList{Suite(body, u"suite.xml"_s, {}, VARIABLES)});
    }

    /// The record without the times.
    std::string Timeless(const QString& record) const
    {
        std::string text;
        for (TJson event : Record(record))
        {
            event.erase("time");
            text += event.dump() + '\n';
        }
        return text;
    }
};
} // namespace

TEST_F(CAnswersTest, AnswersStandInForTheOperatorAndTheRecordTellsThem)
{
    const SOutcome outcome = Answer(YES_NO + INTEGER + HEX + INFO,
                                    R"([{"answer": true, "text": "Is it on?"}, {"answer": 300}, {"answer": "0x12C"},
                                        {"text": "Mind the gap", "answer": "ok"}, {"answer": false}])");
    EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
    std::string prompts;
    for (TJson event : Events(u"r"_s, "prompt"))
    {
        event.erase("time");
        prompts += event.dump() + '\n';
    }
    EXPECT_EQ(prompts,
              R"({"event":"prompt","kind":"boolean","text":"Is it on?","yes":"Aye","no":"No",)"
              R"("timeout":null,"answer":true})"
              "\n"
              R"({"event":"prompt","kind":"integer","text":"How much?","label":"Volts","base":10,"initialize":true,)"
              R"("initial":42,"min":10,"max":300,"timeout":7,"answer":300})"
              "\n"
              R"({"event":"prompt","kind":"integer","text":"Which mask?","label":"Select a value:","base":16,)"
              R"("initialize":false,"initial":300,"min":0,"max":18446744073709551615,"timeout":null,"answer":300})"
              "\n"
              R"({"event":"prompt","kind":"info","text":"Mind the gap","button":"OK","timeout":null,"answer":"ok"})"
              "\n");
    EXPECT_NE(outcome.out.find("Setting $N to 300 (0x12C)"), std::string::npos) << outcome.out;
}

TEST_F(CAnswersTest, AnEntryEndsItsPromptAsItSays)
{
    struct SRow
    {
        QByteArray body;
        const char* answers;
        int code;
        const char* ends;    ///< the prompt's answer in the record
        const char* message; ///< of the abort; null: the run goes on
    };
    const SRow rows[] = {
        {YES_NO, R"([{"answer": "timeout"}])", 1, "\"timeout\"", nullptr},
        {INTEGER, R"([{"answer": "cancel"}])", 1, "\"cancel\"", nullptr},
        {INFO, R"([{"answer": "timeout"}])", 1, "\"timeout\"", nullptr},
        {INTEGER, R"([{"answer": " 0x0A "}])", 0, "10", nullptr},
        {HEX, R"([{"answer": 18446744073709551615}])", 0, "18446744073709551615", nullptr},
        {INFO, R"([{"answer": "abort"}])", 2, "\"abort\"", "The operator aborted at the prompt \"Mind the gap\"."},
        {INTEGER, R"([{"answer": "abort"}])", 2, "\"abort\"", "The operator aborted at the prompt \"How much?\"."},
        {YES_NO, "[]", 2, "\"abort\"", "Answer 1 to the prompt \"Is it on?\": the list has no further entry."},
        {YES_NO, R"([{"answer": true, "text": "Is it off?"}])", 2, "\"abort\"",
         "Answer 1 to the prompt \"Is it on?\": the entry is for the prompt \"Is it off?\"."},
        {YES_NO, R"([{"answer": 1}])", 2, "\"abort\"", "Answer 1 to the prompt \"Is it on?\": a yes/no prompt takes "},
        {YES_NO, R"([{"answer": "ok"}])", 2, "\"abort\"", "\"Is it on?\": a yes/no prompt takes true or false."},
        {INTEGER, R"([{"answer": true}])", 2, "\"abort\"", "\"How much?\": an integer prompt takes a number."},
        {INFO, R"([{"answer": 1}])", 2, "\"abort\"", "\"Mind the gap\": an information box takes \"ok\"."},
        {INTEGER, R"([{"answer": 9}])", 2, "\"abort\"",
         "Answer 1 to the prompt \"How much?\": 9 is not from 10 to 300."},
        {INTEGER, R"([{"answer": "0x12D"}])", 2, "\"abort\"", "301 is not from 10 to 300."},
        {YES_NO + INFO, R"([{"answer": true}])", 2, "\"abort\"", "Answer 2 to the prompt \"Mind the gap\": the list"},
    };
    for (const SRow& row : rows)
    {
        SCOPED_TRACE((row.body + row.answers).toStdString());
        const SOutcome outcome = Answer(row.body + Call("Passes"), row.answers);
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_EQ(Events(u"r"_s, "prompt").back().at("answer").dump(), row.ends);
        EXPECT_EQ(Ran(u"r"_s).find("/1/1 ") != std::string::npos, !row.message);
        EXPECT_NE(outcome.out.find(row.message ? row.message : "Test suite "), std::string::npos) << outcome.out;
    }
}

TEST_F(CAnswersTest, ABadListIsAUsageErrorThatNamesTheEntry)
{
    const struct
    {
        const char* content;
        const char* message;
    } rows[] = {
        {"", "the answers are not valid JSON"},
        {"[{\"answer\": true},]", "the answers are not valid JSON"},
        {"{\"answer\": true}", "the answers are no JSON array"},
        {"[{\"answer\": true}, true]", "entry 2 of the answers: it is no object with an \"answer\""},
        {"[{\"text\": \"Is it on?\"}]", "entry 1 of the answers: it is no object with an \"answer\""},
        {"[{\"answer\": true, \"txt\": \"\"}]", "entry 1 of the answers: it has the unknown key \"txt\""},
        {"[{\"answer\": 1, \"text\": null}]", "entry 1 of the answers: its \"text\" is no text"},
        {"[{\"answer\": -1}]", "entry 1 of the answers: its answer is none of"},
        {"[{\"answer\": 1.5}]", "entry 1 of the answers: its answer is none of"},
        {"[{\"answer\": 18446744073709551616}]", "entry 1 of the answers: its answer is none of"},
        {"[{\"answer\": \"-1\"}]", "entry 1 of the answers: its answer is none of"},
        {"[{\"answer\": \"Ok\"}]", "entry 1 of the answers: its answer is none of"},
        {"[{\"answer\": null}]", "entry 1 of the answers: its answer is none of"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.content);
        const SOutcome outcome = Answer(YES_NO, row.content);
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.out, "");
        const std::string message = "orvanta: " + Path(u"answers.json"_s).toStdString() + ": " + row.message;
        EXPECT_TRUE(outcome.err.starts_with(message)) << outcome.err;
    }
    const QString suite = Suite(INFO);
    const SOutcome missing = Run({u"--answers"_s, u"missing.json"_s, suite});
    EXPECT_EQ(missing.code, 4);
    EXPECT_TRUE(missing.err.starts_with("orvanta: missing.json: the answers cannot be read: No such file"));
    const SOutcome unwritable = Run({u"--save-answers"_s, u"nowhere/saved.json"_s, suite});
    EXPECT_EQ(unwritable.code, 4);
    EXPECT_TRUE(unwritable.err.starts_with("orvanta: nowhere/saved.json: the answers cannot be written: "))
        << unwritable.err;
}

TEST_F(CAnswersTest, SavedAnswersGiveTheSameRunAgain)
{
    const QString saved = Path(u"saved.json"_s);
    const QByteArray body =
        "<x:Group name=\"Twice\" to=\"2\">" + YES_NO + INTEGER + "</x:Group>" + HEX + INFO + INFO + Call("Passes");
    EXPECT_EQ(Answer(body,
                     R"([{"answer": true}, {"answer": 11}, {"answer": false}, {"answer": "cancel"},
                         {"answer": "0xFFFFFFFFFFFFFFFF"}, {"answer": "timeout"}, {"answer": "abort"}])",
                     {u"--save-answers"_s, saved})
                  .code,
              2);
    const std::string first = Timeless(u"r"_s);
    EXPECT_EQ(Read(u"saved.json"_s),
              "[\n"
              "  {\"text\":\"Is it on?\",\"answer\":true},\n"
              "  {\"text\":\"How much?\",\"answer\":11},\n"
              "  {\"text\":\"Is it on?\",\"answer\":false},\n"
              "  {\"text\":\"How much?\",\"answer\":\"cancel\"},\n"
              "  {\"text\":\"Which mask?\",\"answer\":18446744073709551615},\n"
              "  {\"text\":\"Mind the gap\",\"answer\":\"timeout\"},\n"
              "  {\"text\":\"Mind the gap\",\"answer\":\"abort\"}\n"
              "]\n");
    const QStringList underTheSameName = {u"--answers"_s, saved, u"--save-answers"_s, saved};
    EXPECT_EQ(
        Run(QStringList{u"--record"_s, Path(u"again"_s)} + underTheSameName + QStringList{Path(u"suite.xml"_s)}).code,
        2);
    EXPECT_EQ(Timeless(u"again"_s), first);
}

TEST_F(CAnswersTest, WithoutAnOperatorThePromptIsNamed)
{
    const SOutcome outcome =
        Run({u"--record"_s, Path(u"r"_s), Suite(Call("Passes") + YES_NO + Call("Passes"), u"s.xml"_s, {}, VARIABLES)});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_NE(outcome.out.find("Aborted: The prompt \"Is it on?\" cannot be answered: there is no terminal, and no "
                               "list of answers (--answers).\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_EQ(Events(u"r"_s, "prompt").at(0).at("answer"), "abort");
    EXPECT_EQ(Ran(u"r"_s), "/0/0 /1/0 /2/0 ");
}
