#include "TestServices.h"

#include <HostKit/ScriptedUserInput.h>

#include <functional>

namespace
{
/// A host's dialog that answers by what it is given.
class CDialog : public CUserInput
{
public:
    std::function<TPromptAnswer()> Answer;
    SPrompt Asked;

protected:
    TPromptAnswer Ask(const SPrompt& prompt) override
    {
        Asked = prompt;
        return Answer();
    }
};
} // namespace

class UserInputTest : public CServicesTest
{
protected:
    static std::string Shown(const CUserInput& input, EUIReturnCode code)
    {
        return std::string(FormatText("%u: concluded %d, result %d, timed out %d", static_cast<unsigned>(code),
                                      input.Concluded(), input.ReturnedResult(), input.TimedOut()));
    }
    static std::string Info(CUserInput& input)
    {
        return Shown(input,
                     input.ShowInfo(UI_MODE_NORMAL, UI_NO_TIMEOUT, "Plug it in", true, "OK", UI_EMPHASIS_FAILURE,
                                    gui::ABORT_BTN_SHOWN, ""));
    }
    std::string Choice(CUserInput& input)
    {
        return Shown(input,
                     input.BooleanChoice(UI_MODE_NORMAL, 0, "Is it on?", reinterpret_cast<bool*>(&slot), "Yes", "No",
                                         gui::ABORT_BTN_SHOWN, ""));
    }
    std::string Number(CUserInput& input)
    {
        return Shown(input,
                     input.GetInteger(UI_MODE_NORMAL, 30, "How many?", "Select:", &slot, BASE_HEXADECIMAL, false, 10, 1,
                                      "", "", gui::ABORT_BTN_SHOWN, ""));
    }

    static constexpr std::uint64_t UNTOUCHED = 0xAAAAAAAAAAAAAAAA;
    std::uint64_t slot = UNTOUCHED;
};

TEST_F(UserInputTest, EachAnswerToEachKindIsStoredAndTold)
{
    const std::string result = "0: concluded 1, result 1, timed out 0";
    const std::string concluded = "0: concluded 1, result 0, timed out 0";
    const std::string timedOut = "1: concluded 0, result 0, timed out 1";
    const std::string cancelled = "2: concluded 0, result 0, timed out 0";
    const std::string choice = "a yes/no prompt takes true or false.";
    const std::string info = "an information box takes \"ok\".";
    const std::string number = "an integer prompt takes a number.";
    const auto boolean = [this](CUserInput& input) { return Choice(input); };
    const auto integer = [this](CUserInput& input) { return Number(input); };
    const struct
    {
        std::function<std::string(CUserInput&)> show;
        TPromptAnswer answer;
        std::string ends; ///< what is returned, else the reason why it does not fit
        const char* told;
        std::uint64_t slot = UNTOUCHED;
    } rows[] = {
        // clang-format off
        {boolean, true, result, "true", 0xAAAAAAAAAAAAAA01}, {boolean, false, result, "false", 0xAAAAAAAAAAAAAA00},
        {boolean, std::uint64_t{1}, choice, "cancel"},       {boolean, EPromptEnd::Ok, choice, "cancel"},
        {boolean, EPromptEnd::TimeOut, timedOut, "timeout"}, {boolean, EPromptEnd::Cancel, cancelled, "cancel"},
        {integer, std::uint64_t{1}, result, "1", 1},         {integer, std::uint64_t{10}, result, "10", 10},
        {integer, std::uint64_t{0}, "0 is not from 1 to 10.", "cancel"},
        {integer, std::uint64_t{11}, "11 is not from 1 to 10.", "cancel"},
        {integer, true, number, "cancel"},                   {integer, EPromptEnd::Ok, number, "cancel"},
        {integer, EPromptEnd::TimeOut, timedOut, "timeout"}, {integer, EPromptEnd::Cancel, cancelled, "cancel"},
        {Info, EPromptEnd::Ok, concluded, "ok"},             {Info, true, info, "cancel"},
        {Info, std::uint64_t{1}, info, "cancel"},            {Info, EPromptEnd::TimeOut, timedOut, "timeout"},
        {Info, EPromptEnd::Cancel, cancelled, "cancel"},
        {boolean, EPromptEnd::Abort, "", "abort"}, {integer, EPromptEnd::Abort, "", "abort"}, {Info, EPromptEnd::Abort, "", "abort"},
        // clang-format on
    };
    CDialog dialog;
    std::size_t count = 0;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::to_string(++count) + ": " + row.ends);
        const std::string id = std::to_string(count);
        slot = UNTOUCHED;
        TLines opened;
        dialog.Answer = [&]
        {
            opened = transcript.Take();
            return row.answer;
        };
        std::string ends;
        const std::string outcome = Outcome([&] { ends = row.show(dialog); });
        const std::string text = dialog.Asked.text;
        const bool aborts = row.answer == TPromptAnswer(EPromptEnd::Abort);
        EXPECT_EQ(opened, TLines{"opened " + id + ": " + text});
        EXPECT_EQ(slot, row.slot);
        const TLines told = transcript.Take();
        EXPECT_EQ(told.back(), "ended " + id + ": " + row.told);
        EXPECT_EQ(told.size(), aborts ? 2U : 1U);

        // What fits no dialog is what no entry of a list may say.
        CScriptedUserInput entry({row.answer});
        std::string listed;
        const std::string listOutcome = Outcome([&] { listed = row.show(entry); });
        EXPECT_EQ(listed, ends);
        if (aborts)
        {
            EXPECT_EQ(outcome, "abort: The operator aborted at the prompt \"" + text + "\".");
            EXPECT_EQ(listOutcome, outcome);
        }
        else if (row.ends.ends_with('.'))
        {
            EXPECT_EQ(outcome, "error: The dialog's answer to the prompt \"" + text + "\" does not fit: " + row.ends);
            EXPECT_EQ(listOutcome, "abort: Answer 1 to the prompt \"" + text + "\": " + row.ends);
            EXPECT_EQ(transcript.Take().back(), "ended 1: abort");
        }
        else
        {
            EXPECT_EQ(ends, row.ends);
        }
        transcript.Take();
    }
}

TEST_F(UserInputTest, ADialogIsAskedWithWhatTheEngineSaysAndItsOwnErrorEndsThePrompt)
{
    CDialog dialog;
    dialog.Answer = []() -> TPromptAnswer { throw std::runtime_error("no display"); };
    EXPECT_EQ(Outcome([&] { Number(dialog); }), "error: no display");
    EXPECT_EQ(transcript.Take(), (TLines{"opened 1: How many?", "ended 1: cancel"}));
    EXPECT_EQ(dialog.Asked.timeout, 30U);
    EXPECT_EQ(dialog.Asked.label, "Select:");
    EXPECT_TRUE(dialog.Asked.hexadecimal && !dialog.Asked.initialize);
    EXPECT_EQ(dialog.Asked.initial, UNTOUCHED);
    EXPECT_EQ(std::pair(dialog.Asked.min, dialog.Asked.max), std::pair(std::uint64_t{1}, std::uint64_t{10}));
    dialog.Answer = [] { return true; };
    Choice(dialog);
    EXPECT_EQ(dialog.Asked.timeout, 0U);
    EXPECT_EQ(dialog.Asked.yes + dialog.Asked.no, "YesNo");
    dialog.Answer = [] { return EPromptEnd::Ok; };
    Info(dialog);
    EXPECT_EQ(dialog.Asked.timeout, std::nullopt);
    EXPECT_EQ(dialog.Asked.button, "OK");
}

TEST_F(UserInputTest, OnlyTheMarkMakesABoxAHeadline)
{
    CScriptedUserInput input({EPromptEnd::TimeOut});
    {
        const CClosingHeadline closing;
        EXPECT_EQ(Info(input), "0: concluded 1, result 0, timed out 0");
        EXPECT_EQ(transcript.Take(), TLines{"headline 3: Plug it in"});
    }
    EXPECT_EQ(Info(input), "1: concluded 0, result 0, timed out 1");
    EXPECT_EQ(transcript.Take(), (TLines{"opened 1: Plug it in", "ended 1: timeout"}));
    EXPECT_EQ(Outcome([&] { Info(input); }),
              "abort: Answer 2 to the prompt \"Plug it in\": the list has no further entry.");
}
