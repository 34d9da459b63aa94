#include <HostKit/AppState.h>
#include <HostKit/ScriptedUserInput.h>

#include <CoreKit/Format.h>

#include <cstring>
#include <utility>

CScriptedUserInput::CScriptedUserInput(std::deque<SScriptedAnswer> answers)
    : m_Answers(std::move(answers))
{
}

EUIReturnCode CScriptedUserInput::ShowInfo(EUIMode /*mode*/, std::uint32_t /*timeout*/, std::string_view text,
                                           bool /*wait*/, std::string_view /*button*/, EUIEmphasis emphasis,
                                           gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    if (IsHeadline())
    {
        return PassOnHeadline(text, emphasis);
    }
    const TPromptAnswer answer = Next(text);
    const auto* end = std::get_if<EPromptEnd>(&answer);
    if (!end)
    {
        Refuse(text, "an information box takes \"ok\"");
    }
    return *end == EPromptEnd::Ok ? Answered(false) : EndWith(*end, text);
}

EUIReturnCode CScriptedUserInput::BooleanChoice(EUIMode /*mode*/, std::uint32_t /*timeout*/, std::string_view text,
                                                bool* answer, std::string_view /*yes*/, std::string_view /*no*/,
                                                gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    const TPromptAnswer next = Next(text);
    if (const auto* end = std::get_if<EPromptEnd>(&next); end && *end != EPromptEnd::Ok)
    {
        return EndWith(*end, text);
    }
    const auto* choice = std::get_if<bool>(&next);
    if (!choice)
    {
        Refuse(text, "a yes/no prompt takes true or false");
    }
    // The slot may hold any byte, so it must not be touched as a bool.
    const unsigned char byte = *choice ? 1 : 0;
    std::memcpy(answer, &byte, sizeof(byte));
    return Answered(true);
}

EUIReturnCode CScriptedUserInput::GetInteger(EUIMode /*mode*/, std::uint32_t /*timeout*/, std::string_view text,
                                             std::string_view /*label*/, std::uint64_t* value, ENumericBase /*base*/,
                                             bool /*initialize*/, std::uint64_t max, std::uint64_t min,
                                             std::string_view /*title*/, std::string_view /*unit*/,
                                             gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    const TPromptAnswer next = Next(text);
    if (const auto* end = std::get_if<EPromptEnd>(&next); end && *end != EPromptEnd::Ok)
    {
        return EndWith(*end, text);
    }
    const auto* number = std::get_if<std::uint64_t>(&next);
    if (!number)
    {
        Refuse(text, "an integer prompt takes a number");
    }
    if (*number < min || *number > max)
    {
        const auto wide = [](std::uint64_t n) { return static_cast<unsigned long long>(n); };
        Refuse(text, FormatText("%llu is not from %llu to %llu", wide(*number), wide(min), wide(max)).c_str());
    }
    *value = *number;
    return Answered(true);
}

TPromptAnswer CScriptedUserInput::Next(std::string_view prompt)
{
    Begin();
    ++m_Taken;
    if (m_Answers.empty() && !m_WhenExhausted.empty())
    {
        const CSafeString shown(prompt);
        RaiseUserAbort(FormatText("The prompt \"%s\" cannot be answered: %s.", shown.c_str(), m_WhenExhausted.c_str()));
    }
    if (m_Answers.empty())
    {
        Refuse(prompt, "the list has no further entry");
    }
    const SScriptedAnswer entry = std::move(m_Answers.front());
    m_Answers.pop_front();
    if (entry.text && *entry.text != prompt)
    {
        Refuse(prompt, FormatText("the entry is for the prompt \"%s\"", entry.text->c_str()).c_str());
    }
    return entry.answer;
}

EUIReturnCode CScriptedUserInput::EndWith(EPromptEnd end, std::string_view prompt)
{
    if (end == EPromptEnd::Abort)
    {
        const CSafeString shown(prompt);
        RaiseUserAbort(FormatText("The operator aborted at the prompt \"%s\".", shown.c_str()));
    }
    return end == EPromptEnd::TimeOut ? EndedByTimeout() : Closed();
}

void CScriptedUserInput::Refuse(std::string_view prompt, const char* reason) const
{
    const CSafeString shown(prompt);
    RaiseUserAbort(FormatText("Answer %zu to the prompt \"%s\": %s.", m_Taken, shown.c_str(), reason));
}
