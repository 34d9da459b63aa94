#pragma once

#include <HostKit/Prompt.h>
#include <HostKit/UserInput.h>

#include <deque>
#include <optional>
#include <string>
#include <utility>

/// One entry of a list of answers.
struct SScriptedAnswer
{
    template <class Answer>
    SScriptedAnswer(Answer value)
        : answer(value)
    {
    }
    SScriptedAnswer(TPromptAnswer value, std::optional<std::string> promptText)
        : answer(value)
        , text(std::move(promptText))
    {
    }

    TPromptAnswer answer;
    std::optional<std::string> text; ///< what the prompt's text must be, when given
};

/// Dialogs answered from a list, one entry a prompt in the order they come. An entry that does not fit its prompt or
/// its text, a number outside the bounds or an exhausted list aborts the run with a message that names prompt and
/// entry. Headlines (boxes shown while no suite is executing) take no entry.
class HOSTKIT_EXPORT CScriptedUserInput : public CUserInput
{
public:
    explicit CScriptedUserInput(std::deque<SScriptedAnswer> answers = {});

    EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                           std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                           std::string_view help) override;
    EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                std::string_view help) override;
    EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                             std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                             std::uint64_t min, std::string_view title, std::string_view unit,
                             gui::EAbortBtn abortButton, std::string_view help) override;

    /// What an abort says when the list is exhausted, instead of naming the missing entry.
    void WhenExhausted(const std::string& reason) { m_WhenExhausted = reason; }

private:
    TPromptAnswer Next(std::string_view prompt);
    EUIReturnCode EndWith(EPromptEnd end, std::string_view prompt);
    [[noreturn]] void Refuse(std::string_view prompt, const char* reason) const;

    std::deque<SScriptedAnswer> m_Answers;
    std::size_t m_Taken = 0;
    std::string m_WhenExhausted;
};
