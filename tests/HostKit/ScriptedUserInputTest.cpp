#include "TestServices.h"

#include <HostKit/ScriptedUserInput.h>

class ScriptedUserInputTest : public CServicesTest
{
protected:
    ScriptedUserInputTest() { services.TestSuiteExecuting = true; }

    static std::string Shown(CUserInput& input, EUIReturnCode code)
    {
        return std::string(FormatText("%u: concluded %d, result %d, timed out %d", static_cast<unsigned>(code),
                                      input.Concluded(), input.ReturnedResult(), input.TimedOut())
                               .c_str());
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
                     input.BooleanChoice(UI_MODE_NORMAL, UI_NO_TIMEOUT, "Is it on?", reinterpret_cast<bool*>(&slot),
                                         "Yes", "No", gui::ABORT_BTN_SHOWN, ""));
    }
    std::string Number(CUserInput& input, std::uint64_t max, std::uint64_t min)
    {
        return Shown(input,
                     input.GetInteger(UI_MODE_NORMAL, 30, "How many?", "Select:", &slot, BASE_DECIMAL, true, max, min,
                                      "", "", gui::ABORT_BTN_SHOWN, ""));
    }

    static constexpr const char* RESULT = "0: concluded 1, result 1, timed out 0";
    std::uint64_t slot = 0xAAAAAAAAAAAAAAAA;
};

TEST_F(ScriptedUserInputTest, OnlyAnAnswerFillsTheSlot)
{
    const std::string concluded = "0: concluded 1, result 0, timed out 0";
    const std::string timedOut = "1: concluded 0, result 0, timed out 1";
    const std::string cancelled = "2: concluded 0, result 0, timed out 0";
    CScriptedUserInput input({true, EPromptEnd::TimeOut, false, EPromptEnd::Cancel, std::uint64_t{1},
                              EPromptEnd::Cancel, std::uint64_t{10}, EPromptEnd::TimeOut, EPromptEnd::Ok,
                              EPromptEnd::TimeOut, EPromptEnd::Abort});
    EXPECT_EQ(Choice(input), RESULT);
    EXPECT_EQ(Choice(input), timedOut);
    EXPECT_EQ(slot, 0xAAAAAAAAAAAAAA01);
    EXPECT_EQ(Choice(input), RESULT);
    EXPECT_EQ(Choice(input), cancelled);
    EXPECT_EQ(slot, 0xAAAAAAAAAAAAAA00);
    EXPECT_EQ(Number(input, 10, 1), RESULT);
    EXPECT_EQ(Number(input, 10, 1), cancelled);
    EXPECT_EQ(slot, 1U);
    EXPECT_EQ(Number(input, 10, 1), RESULT);
    EXPECT_EQ(Number(input, 10, 1), timedOut);
    EXPECT_EQ(slot, 10U);
    EXPECT_EQ(Info(input), concluded);
    services.TestSuiteExecuting = false; // a headline takes no entry
    EXPECT_EQ(Info(input), concluded);
    EXPECT_EQ(transcript.Take(), TLines{"headline 3: Plug it in"});
    services.TestSuiteExecuting = true;
    EXPECT_EQ(Info(input), timedOut);
    EXPECT_EQ(Outcome([&] { Info(input); }), "abort: The operator aborted at the prompt \"Plug it in\".");
    EXPECT_FALSE(suiteLog.SuitePassed());
}

TEST_F(ScriptedUserInputTest, WhatDoesNotFitAbortsTheRun)
{
    CScriptedUserInput input({std::uint64_t{1}, true, EPromptEnd::Ok, false, std::uint64_t{0}, std::uint64_t{11}});
    const auto choice = [&] { Choice(input); };
    const auto number = [&] { Number(input, 10, 1); };
    EXPECT_EQ(Outcome(choice), "abort: Answer 1 to the prompt \"Is it on?\": a yes/no prompt takes true or false.");
    EXPECT_EQ(Outcome(number), "abort: Answer 2 to the prompt \"How many?\": an integer prompt takes a number.");
    EXPECT_EQ(Outcome(number), "abort: Answer 3 to the prompt \"How many?\": an integer prompt takes a number.");
    EXPECT_EQ(Outcome([&] { Info(input); }),
              "abort: Answer 4 to the prompt \"Plug it in\": an information box takes \"ok\".");
    EXPECT_EQ(Outcome(number), "abort: Answer 5 to the prompt \"How many?\": 0 is not from 1 to 10.");
    EXPECT_EQ(Outcome(number), "abort: Answer 6 to the prompt \"How many?\": 11 is not from 1 to 10.");
    EXPECT_EQ(Outcome(choice), "abort: Answer 7 to the prompt \"Is it on?\": the list has no further entry.");
    EXPECT_EQ(slot, 0xAAAAAAAAAAAAAAAA);
}
