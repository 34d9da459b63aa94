#pragma once

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
/// entry.
class HOSTKIT_EXPORT CScriptedUserInput : public CUserInput
{
public:
    explicit CScriptedUserInput(std::deque<SScriptedAnswer> answers = {});

    /// How many entries no prompt has asked for yet.
    std::size_t Left() const { return m_Answers.size(); }
    /// What an abort says when the list is exhausted, instead of naming the missing entry.
    void WhenExhausted(const std::string& reason) { m_WhenExhausted = reason; }

protected:
    TPromptAnswer Ask(const SPrompt& prompt) override;

private:
    [[noreturn]] void Refuse(const SPrompt& prompt, const char* reason) const;

    std::deque<SScriptedAnswer> m_Answers;
    std::size_t m_Taken = 0;
    std::string m_WhenExhausted;
};
