#include "CliFixture.h"

#include <QDeadlineTimer>

#include <csignal>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace
{
const std::string READY = "<x:BooleanPopup text=\"Ready?\" variable=\"$On\"/>\n";
const std::string MUCH = "<x:SetPopup text=\"How much?\" variable=\"$N\" min=\"10\" max=\"300\"/>\n";
const std::string LOOP = "<x:Group to=\"10000\">" + Call("Naps") + "</x:Group>";

class CProtocolTest : public CCliTest
{
protected:
    std::unique_ptr<QProcess> StartProtocol(const std::string& body, const std::string& options = {},
                                            const std::string& exit = {})
    {
        m_Events.clear();
        return Start(ORVANTA_PROGRAM, Words(RUN + "--protocol --record r " + options + Suite(body, exit)));
    }

    /// Reads lines until one has a text in it; gives it.
    TJson Await(QProcess& run, const std::string& text)
    {
        for (const QDeadlineTimer deadline(30000); !deadline.hasExpired();)
        {
            while (run.canReadLine())
            {
                const std::string line = run.readLine().toStdString();
                m_Events.push_back(TJson::parse(line, nullptr, false));
                EXPECT_TRUE(m_Events.back().is_object()) << line;
                if (Contains(line, text))
                {
                    return m_Events.back();
                }
            }
            if (!run.waitForReadyRead(1000) && run.state() == QProcess::NotRunning)
            {
                break;
            }
        }
        ADD_FAILURE() << "no line with " << text << '\n' << run.readAllStandardError().toStdString();
        return {};
    }

    static void Say(QProcess& run, const std::string& line)
    {
        run.write((line + '\n').c_str());
        run.waitForBytesWritten();
    }

    int End(QProcess& run)
    {
        run.waitForFinished(30000);
        while (run.canReadLine())
        {
            m_Events.push_back(TJson::parse(run.readLine().toStdString(), nullptr, false));
        }
        return run.exitStatus() == QProcess::NormalExit ? run.exitCode() : -1;
    }

    std::vector<TJson> m_Events; ///< all that were read
};
} // namespace

TEST_F(CProtocolTest, AnswersThatDoNotFitAreRefusedAndThePromptStaysOpen)
{
    const auto run = StartProtocol(Call("Rests") + READY + MUCH);
    Await(*run, "resting");
    Say(*run, R"({"answer": true})");
    EXPECT_EQ(Await(*run, "\"refused\"").at("reason"), "no prompt is open");
    EXPECT_EQ(Await(*run, "\"prompt-open\"").at("text"), "Ready?");
    const struct
    {
        const char* said;
        const char* reason;
    } rows[] = {
        {"not JSON", "not understood: "},
        {R"([true])", "not understood: "},
        {R"({"answer": true, "colour": 1})", "not understood: "},
        {R"({"abort": false})", "not understood: "},
        {R"({"answer": true, "id": "1"})", "not understood: "},
        {R"({"answer": 7})", "a yes/no prompt takes true or false"},
        {R"({"answer": "perhaps"})", "the answer is not true, false, a number"},
        {R"({"answer": [true]})", "the answer is not true, false, a number"},
        {R"({"answer": null})", "the answer is not true, false, a number"},
        {R"({"answer": true, "id": 2})", "prompt 1 is open, not 2"},
    };
    for (const auto& [said, reason] : rows)
    {
        Say(*run, said);
        EXPECT_PRED2(Contains, Await(*run, "\"refused\"").at("reason"), reason) << said;
    }
    Say(*run,
        R"({"answer": false, "id": 1})"
        "\n"
        R"({"answer": 9})");
    EXPECT_EQ(Await(*run, "\"refused\"").at("reason"), "no prompt is open") << "that one is answered";
    EXPECT_EQ(Await(*run, "\"prompt\"").at("answer"), false);
    Await(*run, "\"prompt-open\"");
    Say(*run, R"({"answer": "0x12C"})");
    EXPECT_EQ(Await(*run, "\"prompt\"").at("answer"), 300);
    EXPECT_EQ(End(*run), 0);

    // But for what was refused, the stream is the record.
    std::erase_if(m_Events, [](const TJson& event) { return event.at("event") == "refused"; });
    std::vector<TJson> record = Record();
    ASSERT_EQ(m_Events.size(), record.size());
    for (std::size_t i = 1; i < record.size(); ++i)
    {
        EXPECT_EQ(m_Events[i], record[i]);
    }
    EXPECT_EQ(m_Events.front().at("event"), "record");
}

TEST_F(CProtocolTest, AnAbortCountsAsOneCtrlC)
{
    const auto once = StartProtocol(LOOP, "", MUCH);
    Await(*once, "napping");
    Say(*once, R"({"abort": true})");
    Await(*once, "\"prompt-open\"");
    Say(*once, R"({"answer": 10})");
    EXPECT_EQ(End(*once), 2);
    EXPECT_EQ(Events("abort").size(), 1U);
    EXPECT_EQ(Events("prompt").size(), 1U);

    const auto twice = StartProtocol(LOOP, "", MUCH + Call("Prepares"));
    Await(*twice, "napping");
    Say(*twice, R"({"abort": true})");
    Await(*twice, "\"prompt-open\"");
    Say(*twice, R"({"abort": true})");
    EXPECT_EQ(End(*twice), 2);
    EXPECT_EQ(Events("prompt").back().at("answer"), "abort");
    EXPECT_FALSE(Contains(Ran(), "/2/1")) << "the exit group is cut short";

    const auto thrice = StartProtocol(Call("NeverReturns"));
    Await(*thrice, "stuck");
    Say(*thrice, "{\"abort\": true}\n{\"abort\": true}\n{\"abort\": true}");
    EXPECT_EQ(End(*thrice), 3);
    EXPECT_EQ(m_Events.back().at("event"), "vanished");
}

TEST_F(CProtocolTest, TheEndOfInputMattersOnlyToAPrompt)
{
    const auto silent = StartProtocol(Call("Passes"));
    silent->closeWriteChannel();
    EXPECT_EQ(End(*silent), 0);

    const auto asked = StartProtocol(Call("Passes") + READY);
    asked->closeWriteChannel();
    EXPECT_EQ(End(*asked), 2);
    EXPECT_EQ(Events("abort").at(0).at("by"), "unanswered");
    EXPECT_EQ(Events("abort").at(0).at("text"), "The prompt \"Ready?\" cannot be answered: stdin has ended.");

    const SOutcome file =
        Shell("echo '{\"answer\": true}' > in; '" ORVANTA_PROGRAM "' " + RUN + "--protocol suite.xml < in > /dev/null");
    EXPECT_EQ(file.code, 2) << "the answer came before the question";

    const SOutcome gone = Shell("'" ORVANTA_PROGRAM "' " + RUN + "--protocol --record r " + Suite(LOOP) +
                                " | head -n 1; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(gone.code, 2) << "the reader of stdout went away";
    EXPECT_EQ(Events("abort").at(0).at("by"), "operator");
    EXPECT_EQ(Record().back().at("event"), "run-end");
}

TEST_F(CProtocolTest, ATimeoutIsKeptForTheFrontEnd)
{
    const auto run = StartProtocol("<x:BooleanPopup text=\"Ready?\" variable=\"$On\" timeout=\"1\"/>");
    Await(*run, "\"prompt-open\"");
    EXPECT_EQ(Await(*run, "\"prompt\"").at("answer"), "timeout");
    EXPECT_EQ(End(*run), 1);
}

TEST_F(CProtocolTest, AReaderThatStandsStillKeepsNobodyFromStoppingTheRun)
{
    const SOutcome outcome =
        Shell("mkfifo in out; exec 3<>in 4<>out; '" ORVANTA_PROGRAM "' " + RUN + "--protocol --record r " +
              Suite("<x:Group to=\"100000\">" + Call("Passes") + "</x:Group>") +
              " < in > out & sleep 1; for i in 1 2 3; do echo '{\"abort\": true}' >&3; done; wait $!");
    EXPECT_EQ(outcome.code, 3);
    EXPECT_PRED2(Contains, outcome.err, "ended because the operator wanted the end; ");
    EXPECT_EQ(Record().back().at("event"), "vanished");
}

TEST_F(CProtocolTest, ALineNestedDeeplyIsRefused)
{
    const auto run = StartProtocol(READY);
    Await(*run, "\"prompt-open\"");
    const std::string depth(200000, '[');
    Say(*run, "{\"answer\": " + depth + std::string(200000, ']') + '}');
    EXPECT_PRED2(Contains, Await(*run, "\"refused\"").at("reason"), "the answer is not true, false");
    Say(*run, R"({"answer": true})");
    EXPECT_EQ(End(*run), 0);
}

TEST_F(CProtocolTest, TestCodeNeitherSeesTheInputNorWritesToTheOutput)
{
    Write("bad.xml",
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" name=\"Bench\" "
          "library=\"MisbehavingLibrary\"><x:InitGroup>" +
              Call("Works") + "</x:InitGroup><x:Group>" + Call("ReadsStdin") + Call("Prints") +
              "</x:Group><x:ExitGroup>" + Call("Works") + "</x:ExitGroup></x:TestSuite>");
    const SOutcome outcome = Shell("echo '{\"answer\": true}' | '" ORVANTA_PROGRAM "' " + RUN + "--protocol bad.xml");
    EXPECT_EQ(outcome.code, 0);
    std::istringstream lines(outcome.out);
    std::string output;
    for (std::string line; std::getline(lines, line);)
    {
        const TJson event = TJson::parse(line, nullptr, false);
        ASSERT_TRUE(event.is_object()) << line;
        output += event.at("event") == "output" ? event.at("text").get<std::string>() : "";
    }
    EXPECT_EQ(output, "one\nthree\nfive, unended");
}

TEST_F(CProtocolTest, TheExampleClientDrivesARun)
{
    const SOutcome outcome = Shell(
        "printf 'true\\n' | python3 '" ORVANTA_CLIENT "' --answer 'How much?=9' --answer 'Ready?=true' -- '" +
        Command("--protocol " + Suite(READY + MUCH + Call("Passes"))).insert(std::string(ORVANTA_PROGRAM).size(), "'"));
    EXPECT_EQ(outcome.code, 2) << outcome.err
                               << "the second answer to the number does not fit, and then nobody is there";
    EXPECT_PRED2(Contains, outcome.err, "refused: 9 is not from 10 to 300\n? How much? (10 to 300)\n");
    EXPECT_PRED2(Contains, outcome.err, "refused: an integer prompt takes a number\n");
    const SOutcome passed = Shell("printf '\\n' | python3 '" ORVANTA_CLIENT "' --answer 'Ready?=true' -- '" +
                                  Command("--protocol suite.xml").insert(std::string(ORVANTA_PROGRAM).size(), "'"));
    EXPECT_EQ(passed.code, 0) << passed.err;
    EXPECT_PRED2(Contains, passed.out, "passed   /1/2 ");
    EXPECT_PRED2(Contains, passed.out, "Test suite Passed!\n");
}
