#include "CliFixture.h"

#include <csignal>

namespace
{
/// A step of the operator: what the terminal shows first, and what is typed then; a line only where one is asked for.
struct SStep
{
    std::string shown;
    std::string typed;
};

const char* const CTRL_C = "\x03";
const char* const CTRL_D = "\x04";
const char* const CTRL_Z = "\x1A";
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
        Follow(*terminal, steps);
        return terminal;
    }

    static void Follow(CPty& terminal, const std::vector<SStep>& steps)
    {
        for (const auto& [shown, typed] : steps)
        {
            terminal.Expect(shown);
            if (typed.ends_with('\n'))
            {
                terminal.Expect("> ");
            }
            terminal.Send(typed);
        }
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
        EXPECT_PRED2(Contains, output, "\r\nsuite.xml: Aborted: ");
        EXPECT_TRUE(terminal->IsRestored());

        const std::vector<TJson> events = Record();
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(Events("headline").back().at("text"), "Test suite Aborted!");
        EXPECT_EQ(Events("abort").at(0).at("by"), "operator");
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
        {{"Is it on?\r\n  [a] Aye  [n] Nay  [!] Abort\r\n", "maybe\n"},
         {"\"maybe\" is neither a nor n.\r\n", "yes\n"}, // the caption is another one
         {"\"yes\" is neither a nor n.\r\n", " aYE \n"},
         {"Still on?\r\n  [y] Yes  [s] S\u00FC\u00DF ", "s\u00FC\u00DF\n"},
         {"How much?\r\n  Volts from 10 to 300  [Enter] 42  [!] Abort\r\n", "4x\n"},
         {"\"4x\" is no number.\r\n", "-20\n"},
         {"\"-20\" is no number.\r\n", "18446744073709551626\n"}, // 2^64 more than 10
         {"18446744073709551626 is too large: numbers have up to 64 bits.\r\n", "9\n"},
         {"9 is not from 10 to 300.\r\n", "301\n"},
         {"301 is not from 10 to 300.\r\n", "\n"},
         {"Which mask?\r\n  Select a value: from 0x0 to 0x300, hexadecimal  [!] Abort\r\n", "\n"},
         {"\"\" is no hexadecimal number.\r\n", "12G\n"},
         {"\"12G\" is no hexadecimal number.\r\n", "301\n"},
         {"0x301 is not from 0x0 to 0x300.\r\n", "12C\n"},
         {"And now?\r\n  Select a value: from 0x0 to 0xFFFFFFFFFFFFFFFF, hexadecimal  [Enter] 0x12C\r\n  [!] Abort",
          "0x12d\n"},
         {"Any more?\r\n  Select a value: from 0 to 18446744073709551615  [Enter] 301 ", "0XFF\n"},
         {"Mind the gap\r\n  [Enter] Got it  [!] Abort\r\n", "what\n"},
         {"Press Enter for \"Got it\".\r\n", "\n"}});
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(Answers(), "true false 42 300 301 255 \"ok\" ");
    const std::string& output = terminal->Output();
    EXPECT_PRED2(Contains, output, "\033[1;32mTest suite Completed!\033[0m");
    EXPECT_EQ(output.find("Mind the gap"), output.rfind("Mind the gap")) << "shown again by the log: " << output;
}

TEST_F(COperatorTest, ATimeoutCountsDownAndLeavesNothingTyped)
{
    const auto terminal =
        Operate("<x:SetPopup text=\"How much?\" variable=\"$N\" timeout=\"2\"/>" + READY + Call("Passes"),
                {{"(2 s)", "x\n"}, {"\"x\" is no number.\r\n", "7"}, {"\r\033[K(1 s) > 7", ""}, {"Ready?", "n\n"}});
    EXPECT_EQ(terminal->Wait(), 1);
    EXPECT_EQ(Answers(), "\"timeout\" false ");
    EXPECT_EQ(Ran(), "/0/0 /1/2 /2/0 ");
    const std::string& output = terminal->Output();
    EXPECT_PRED2(Contains, output, "Set integer dialog timed out.");
    EXPECT_EQ(output.find("\"7"), std::string::npos) << output;
    EXPECT_EQ(Read("r").find("Setting $N"), std::string::npos);
}

TEST_F(COperatorTest, KeysFollowTheCaptionsAndLinesTheTerminal)
{
    const struct
    {
        std::string yes;
        std::string no;
        std::string shown;
        std::string typed;
        std::string answer;
    } rows[] = {
        // clang-format off
        {"Left", "Right", "[l] Left  [r] Right", "r", "false"},
        {"No", "Yes", "[n] No  [y] Yes", "n", "true"},
        {"", " ", "[y] Yes  [n] No", "N", "false"},
        {"Start", "Stop", "[a] Start  [o] Stop", "O", "false"},
        {"On", "Off", "[1] On  [2] Off", "2", "false"}, // no [n] that chooses On
        {"Aim!", "(Ayr)", "[m] Aim!  [r] (Ayr)", "aim!", "true"}, // nor a [y] for the other
        {"Retry", "Retry  all", "[1] Retry  [2] Retry all", "RETRY ALL", "false"},
        {"Same", "SAME", "[1] Same  [2] SAME", "1", "true"},
        {"2 V", "1 V", "[2] 2 V  [1] 1 V", "1", "false"},
        {"\u00DCber", "Unter", "[\u00FC] \u00DCber  [u] Unter", "\u00DCBER", "true"},
        // clang-format on
    };
    // 80 columns, as the terminal has, and one more: bytes and characters do not count.
    const std::string lines =
        std::string(75, 'a') + " \u96FB\u6E90&#10;  b" + std::string(73, 'b') + " \u96FB\u6E90 fin";
    std::string body;
    std::vector<SStep> steps;
    std::string answers;
    for (const auto& row : rows)
    {
        body +=
            "<x:BooleanPopup text=\"?\" variable=\"$On\" yes_button=\"" + row.yes + "\" no_button=\"" + row.no + "\"/>";
        steps.push_back({"?\r\n  " + row.shown + "  [!] Abort\r\n", row.typed + "\n"});
        answers += row.answer + ' ';
    }
    body += "<x:BooleanPopup text=\"?\" variable=\"$On\" yes_button=\"Same\" no_button=\"Same\"/>"
            "<x:InfoPopup button=\"\" text=\"" +
        lines + "\"/>";
    steps.push_back({"[1] Same  [2] Same ", "same\n"});
    steps.push_back({"\"same\" is neither 1 nor 2.\r\n", "2\n"});
    steps.push_back({"a \u96FB\u6E90\r\n  bb", ""});
    steps.push_back({"b\r\n  \u96FB\u6E90 fin\r\n  [Enter] OK  [!] Abort\r\n", "ok\n"});
    EXPECT_EQ(Operate(body, steps)->Wait(), 0);
    EXPECT_EQ(Answers(), answers + "false \"ok\" ");
}

TEST_F(COperatorTest, WhatIsTypedBeforeAPromptIsSeenDoesNotAnswerIt)
{
    const auto terminal = Operate(Call("Rests") + "<x:InfoPopup text=\"High voltage!\"/>" + READY,
                                  {{"resting", "\r\ry\rx"}, {"[Enter] OK", ""}, {"> ", CTRL_D}, {"Ready?", "n\n"}});
    EXPECT_EQ(terminal->Wait(), 1);
    EXPECT_EQ(Answers(), "\"cancel\" false ");
}

TEST_F(COperatorTest, BehindPipesPromptsAreAskedAtTheTerminal)
{
    const auto terminal = ShellAtTerminal("set -o pipefail; " + Command("--record r ") + Suite(READY + OFF) +
                                          " < /dev/null 2> err | cat > out");
    Follow(*terminal, {{"\r\nReady?\r\n  [y] Yes  [n] No  [!] Abort\r\n", "y\n"}, {"Off?", "n\n"}});
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(Answers(), "true false ");
    EXPECT_PRED2(Contains, Read("out"), "Test suite Completed!");
    EXPECT_EQ(Read("err"), "");
    EXPECT_FALSE(Contains(terminal->Output(), "User selected"));
    EXPECT_TRUE(terminal->IsRestored());
}

TEST_F(COperatorTest, AnUnattendedRunAsksNobody)
{
    const auto terminal = RunAtTerminal("--unattended --record r " + Suite(READY));
    EXPECT_EQ(terminal->Wait(), 2);
    EXPECT_PRED2(
        Contains, terminal->Output(),
        "The prompt \"Ready?\" cannot be answered: the run is unattended (--unattended), and no list of answers "
        "(--answers).");
    EXPECT_EQ(Events("abort").at(0).at("by"), "unanswered");
}

TEST_F(COperatorTest, CtrlZLeavesTheTerminalSoundAndTheReturnShowsThePromptAgain)
{
    const std::string prompt = "How much?\r\n  Volts from 10 to 300  [Enter] 42  [!] Abort\r\n";
    const auto terminal = ShellAtTerminal(
        "set -m; " + Command("-q --record r ") +
        Suite("<x:SetPopup text=\"How much?\" label=\"Volts\" variable=\"$N\" min=\"10\" max=\"300\" timeout=\"3\"/>") +
        "; echo stopped; sleep 3.2; fg > /dev/null");
    Follow(*terminal, {{prompt + "(3 s) > ", "12"}, {"12", CTRL_Z}, {"stopped", ""}});
    EXPECT_TRUE(terminal->IsRestored());
    Follow(*terminal, {{prompt, "5\n"}});
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(Answers(), "125 ");
    EXPECT_PRED2(Contains, terminal->Output().substr(terminal->Output().find("stopped")), ") > 12");
    EXPECT_TRUE(terminal->IsRestored());
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
          between, {breaksLoop, {"Off?", "n\n"}});
    Abort("Ctrl-C during a loop, again in the exit group", LOOP, hangs + prepares, "/0/0 /1/0/0 /2/0 ", "", between,
          {breaksLoop, breaksHanging});
    Abort("Ctrl-C twice during one call", Call("HangsTwice"), prepares, "/0/0 /1/0 ", "", between,
          {breaksHanging, breaksHanging});
    Abort("Ctrl-C in the exit group", Call("Passes"), hangs + prepares, "/0/0 /1/0 /2/0 /2/1 ", "",
          "Aborted: Interrupted by the operator, with nothing left to stop.", {breaksHanging});
    EXPECT_EQ(Run(Suite(Call("Passes"))).code, 0);
}

TEST_F(COperatorTest, TheThirdCtrlCEndsTheProcessAndTheRecordStands)
{
    const auto terminal =
        Operate(Call("Passes") + Call("NeverReturns"), {{"stuck", CTRL_C}, {"stuck", CTRL_C}, {"stuck", CTRL_C}});
    EXPECT_EQ(terminal->Wait(), 3);
    EXPECT_PRED2(Contains, terminal->Output(),
                 "orvanta: the process that ran the suite ended because the operator wanted the end; this was running: "
                 "Main / NeverReturns  /1/1  ");
    EXPECT_EQ(Ran(), "/0/0 /1/0 /1/1 ");
    EXPECT_EQ(Events("state").back().at("name"), "NeverReturns");
    EXPECT_EQ(Record().back().at("event"), "vanished");
    EXPECT_EQ(Record().back().at("signal"), SIGKILL);
    EXPECT_EQ(Run(Suite(Call("Passes"))).code, 0) << "the next run gets the lock";
}
