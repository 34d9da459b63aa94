#include <HostKit/RunFacts.h>
#include <HostKit/ScriptedUserInput.h>
#include <HostKit/UIUpdate.h>

#include <CoreKit/Format.h>

#include <utility>

CScriptedUserInput::CScriptedUserInput(std::deque<SScriptedAnswer> answers)
    : m_Answers(std::move(answers))
{
}

TPromptAnswer CScriptedUserInput::Ask(const SPrompt& prompt)
{
    ++m_Taken;
    if (m_Answers.empty() && !m_WhenExhausted.empty())
    {
        RaiseUnanswered(prompt, m_WhenExhausted);
    }
    if (m_Answers.empty())
    {
        Refuse(prompt, "the list has no further entry");
    }
    const SScriptedAnswer entry = std::move(m_Answers.front());
    m_Answers.pop_front();
    if (entry.text && *entry.text != prompt.text)
    {
        Refuse(prompt, FormatText("the entry is for the prompt \"%s\"", entry.text->c_str()).c_str());
    }
    if (const std::string misfit = Misfit(prompt, entry.answer); !misfit.empty())
    {
        Refuse(prompt, misfit.c_str());
    }
    return entry.answer;
}

void CScriptedUserInput::Refuse(const SPrompt& prompt, const char* reason) const
{
    RaiseUserAbort(FormatText("Answer %zu to the prompt \"%s\": %s.", m_Taken, prompt.text.c_str(), reason),
                   EAbortCause::Unanswered);
}
