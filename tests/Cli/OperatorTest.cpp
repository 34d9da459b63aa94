#include "CliFixture.h"

#include <csignal>

namespace
{
/// A step of the operator: what the terminal shows first, and what is typed then.
struct SStep
{
    std::string shown;
    std::string typed;
};

const char* const CTRL_C = "\x03";
const char* const CTRL_D = "\x04";
const std::string READY = "<x:BooleanPopup text=\"Ready?\" variable=\"$On\"/>\n";
const std::string OFF = "<x:BooleanPopup text=\"Off?\" variable=\"$On\"/>\n";
const std::string LOOP = "<x:Group name=\"Long\" to=\"10000\">" + Call("Naps") + "</x:Group>\n";

class COperatorTest : public CCliTest
{
protected:
    /// Runs a suite with a record "r" and goes through the steps.
    std::unique_ptr<CPty> Operate(const std::string& body, const std::vector<SStep>& steps,
                                  const std::string& exit = {})
    {
        auto terminal = RunAtTerminal("--record r " + Suite(body, exit));
        for (const auto& [shown, typed] : steps)
        {
            terminal->Expect(shown);
            terminal->Send(typed);
        }
        return terminal;
    }

    /// How the prompts ended, as JSON, each followed by a blank.
    std::string Answers() const
    {
        std::string answers;
        for (const TJson& prompt : Events("prompt"))
        {
            answers += prompt.at("answer").dump() + ' ';
        }
        return answers;
    }

    /// Runs a suite that the operator aborts, and checks all that has to hold then.
    void Abort(const char* name, const std::string& body, const std::string& exit, const char* ran, const char* answers,
               const char* message, const std::vector<SStep>& steps)
    {
        SCOPED_TRACE(name);
        const auto terminal = Operate(body, steps, exit);
        EXPECT_EQ(terminal->Wait(), 2);
        EXPECT_EQ(Ran(), ran);
        EXPECT_EQ(Answers(), answers);
        const std::string& output = terminal->Output();
        EXPECT_PRED2(Contains, output, message);
        EXPECT_PRED2(Contains, output, "\033[1;31mTest suite Aborted!\033[0m\r\n");
        EXPECT_PRED2(Contains, output, "suite.xml: aborted by the operator\r\n");
        EXPECT_TRUE(terminal->IsRestored());

        const std::vector<TJson> events = Record();
        ASSERT_GE(events.size(), 2U);
        EXPECT_EQ(events[events.size() - 2].at("text"), "Test suite Aborted!");
        EXPECT_EQ(events.back().at("result"), "Aborted");
        EXPECT_EQ(events.back().at("passed"), false);
        const TJson last = Events("state").back();
        EXPECT_EQ(last.at("path"), "/");
        EXPECT_NE(last.at("state"), "executing");
        EXPECT_PRED2(Contains, Read("r"), "\"text\":\"Execution lock released.\"");
    }
};
} // namespace

TEST_F(COperatorTest, AWrongAnswerIsAskedAgainWithTheReason)
{
    const auto terminal = Operate(
        R"(<x:BooleanPopup text="Is it on?" variable="$On" yes_button="Aye" no_button="Nay"/>
           <x:BooleanPopup text="Still on?" variable="$On" no_button="S&#xFC;&#xDF;"/>
           <x:SetPopup text="How much?" label="Volts" variable="$N" min="10" max="300"/>
           <x:SetPopup text="Which mask?" variable="$N" hex="true" initialize="false" max="0x300"/>
           <x:SetPopup text="And now?" variable="$N" hex="true"/>
           <x:SetPopup text="Any more?" variable="$N"/>
           <x:InfoPopup text="Mind the gap" button="Got it"/>)",
        {{"Is it on?\r\n  [y] Aye  [n] Nay  [!] Abort\r\n", "maybe\n"},
         {"\"maybe\" is neither y nor n.\r\n", "yes\n"}, // the caption is another one
         {"\"yes\" is neither y nor n.\r\n", " aYE \n"},
         {"Still on?\r\n  [y] Yes  [n] S\u00FC\u00DF ", "s\u00FC\u00DF\n"},
         {"How much?\r\n  Volts from 10 to 300  [Enter] 42  [!] Abort\r\n", "4x\n"},
         {"\"4x\" is no number.\r\n", "-20\n"},
         {"\"-20\" is no number.\r\n", "18446744073709551626\n"}, // 2^64 more than 10
         {"\"18446744073709551626\" is no number.\r\n", "9\n"},
         {"9 is not from 10 to 300.\r\n", "301\n"},
         {"301 is not from 10 to 300.\r\n", "\n"},
         {"Which mask?\r\n  Select a value: from 0x0 to 0x300, hexadecimal  [!] Abort\r\n", "\n"},
         {"\"\" is no hexadecimal number.\r\n", "12G\n"},
         {"\"12G\" is no hexadecimal number.\r\n", "301\n"},
         {"0x301 is not from 0x0 to 0x300.\r\n", "12C\n"},
         {"And now?\r\n  Select a value: from 0x0 to 0xFFFFFFFFFFFFFFFF, hexadecimal  [Enter] 0x12C ", "0x12d\n"},
         {"Any more?\r\n  Select a value: from 0 to 18446744073709551615  [Enter] 301 ", "0XFF\n"},
         {"Mind the gap\r\n  [Enter] Got it  [!] Abort\r\n", "what\n"},
         {"Press Enter for \"Got it\".\r\n", "\n"}});
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(Answers(), "true false 42 300 301 255 \"ok\" ");
    EXPECT_PRED2(Contains, terminal->Output(), "\033[1;32mTest suite Completed!\033[0m");
}

TEST_F(COperatorTest, ATimeoutCountsDownAndLeavesNothingTyped)
{
    const auto terminal =
        Operate("<x:SetPopup text=\"How much?\" variable=\"$N\" timeout=\"2\"/>" + READY + Call("Passes"),
                {{"(2 s) > ", "x\n"},
                 {"\"x\" is no number.\r\n", "7"},
                 {"\r\033[K(1 s) > 7", ""},
                 {"Ready?", ""},
                 {"> ", "n\n"}});
    EXPECT_EQ(terminal->Wait(), 1);
    EXPECT_EQ(Answers(), "\"timeout\" false ");
    EXPECT_EQ(Ran(), "/0/0 /1/2 /2/0 ");
    const std::string& output = terminal->Output();
    EXPECT_PRED2(Contains, output, "Set integer dialog timed out.");
    EXPECT_EQ(output.find("\"7"), std::string::npos) << output;
    EXPECT_EQ(Read("r").find("Setting $N"), std::string::npos);
}

TEST_F(COperatorTest, CtrlDClosesAPromptWithoutAnAnswerAndTheRunGoesOn)
{
    const auto terminal = Operate(READY + OFF + Call("Passes"), {{"Ready?", ""}, {"> ", CTRL_D}, {"Off?", "y\n"}});
    EXPECT_EQ(terminal->Wait(), 1);
    EXPECT_EQ(Answers(), "\"cancel\" true ");
    EXPECT_EQ(Ran(), "/0/0 /1/2 /2/0 ");
    EXPECT_PRED2(Contains, terminal->Output(), "\033[1;31mTest suite Failed!");
}

TEST_F(COperatorTest, AnAbortEndsTheRunBehindTheExitGroup)
{
    const std::string prepares = Call("Prepares", "Call");
    const std::string hangs = Call("Hangs", "Call");
    const char* const aborted = "Aborted: The operator aborted at the prompt \"Ready?\".";
    const char* const atReady = "Aborted: Interrupted at the prompt \"Ready?\".";
    const char* const atOff = "Aborted: Interrupted at the prompt \"Off?\".";
    const char* const between = "Aborted: Interrupted by the operator.";
    const SStep ready{"Ready?", ""};
    const SStep off{"Off?", ""};
    const SStep breaks{"> ", CTRL_C};
    const SStep breaksLoop{"napping", CTRL_C};
    const SStep breaksHanging{"hanging", CTRL_C};
    Abort("the key, two groups deep", "<x:Group>" + READY + Call("Passes") + "</x:Group>", prepares, "/0/0 /2/0 ",
          "\"abort\" ", aborted, {{"Ready?", "!\n"}});
    Abort("the key, then a prompt of the exit group", READY, OFF + prepares, "/0/0 /2/1 ", "\"abort\" true ", aborted,
          {{"Ready?", "!\n"}, {"Off?", "y\n"}});
    Abort("Ctrl-C inside a prompt", READY + Call("Passes"), prepares, "/0/0 /2/0 ", "\"abort\" ", atReady,
          {ready, breaks});
    Abort("Ctrl-C inside a prompt, again inside one of the exit group", READY, OFF + prepares, "/0/0 ",
          "\"abort\" \"abort\" ", atOff, {ready, breaks, off, breaks});
    Abort("Ctrl-C during a loop", LOOP + Call("Passes"), prepares, "/0/0 /1/0/0 /2/0 ", "", between, {breaksLoop});
    Abort("Ctrl-C during a loop, then a prompt of the exit group", LOOP, OFF + prepares, "/0/0 /1/0/0 /2/1 ", "false ",
          between, {breaksLoop, off, {"> ", "n\n"}});
    Abort("Ctrl-C during a loop, again in the exit group", LOOP, hangs + prepares, "/0/0 /1/0/0 /2/0 ", "", between,
          {breaksLoop, breaksHanging});
    Abort("Ctrl-C twice during one call", Call("HangsTwice"), prepares, "/0/0 /1/0 ", "", between,
          {breaksHanging, breaksHanging});
    Abort("Ctrl-C in the exit group", Call("Passes"), hangs + prepares, "/0/0 /1/0 /2/0 /2/1 ", "", "aborted",
          {breaksHanging});
    EXPECT_EQ(Run(Suite(Call("Passes"))).code, 0);
}

TEST_F(COperatorTest, TheThirdCtrlCEndsTheProcessAndTheRecordStands)
{
    const auto terminal =
        Operate(Call("Passes") + Call("NeverReturns"), {{"stuck", CTRL_C}, {"stuck", CTRL_C}, {"stuck", CTRL_C}});
    EXPECT_EQ(terminal->Wait(), 128 + SIGINT);
    EXPECT_EQ(Ran(), "/0/0 /1/0 /1/1 ");
    EXPECT_EQ(Events("state").back().at("name"), "NeverReturns");
    EXPECT_EQ(Record().back().at("text"), "stuck");
    EXPECT_EQ(Run(Suite(Call("Passes"))).code, 0) << "the next run gets the lock";
}
