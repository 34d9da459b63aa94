#include <HostKit/AppState.h>
#include <HostKit/RunFacts.h>
#include <HostKit/UserInput.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>

#include <cstring>

namespace
{
void TellEnded(std::uint64_t id, const SPrompt& prompt, const TPromptAnswer& answer)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.PromptEnded(id, prompt, answer); });
}

SPrompt MakePrompt(EPromptKind kind, std::string_view text, std::uint32_t timeout)
{
    SPrompt prompt;
    prompt.kind = kind;
    prompt.text = text;
    prompt.timeout = timeout == UI_NO_TIMEOUT ? std::nullopt : std::optional(timeout);
    return prompt;
}
} // namespace

CUserInput::~CUserInput() = default;

EUIReturnCode CUserInput::ShowInfo(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text, bool /*wait*/,
                                   std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn /*abortButton*/,
                                   std::string_view /*help*/)
{
    const SHostServices& services = CAppState::Services();
    if (services.Run.ClosingHeadline)
    {
        services.Listeners.ForEach([&](CHostListener& listener) { listener.HeadlineShown(text, emphasis); });
        return Conclude(EPromptEnd::Ok);
    }
    SPrompt prompt = MakePrompt(EPromptKind::Info, text, timeout);
    prompt.button = button;
    return Prompt(prompt, [](const TPromptAnswer&) {});
}

EUIReturnCode CUserInput::BooleanChoice(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text, bool* answer,
                                        std::string_view yes, std::string_view no, gui::EAbortBtn /*abortButton*/,
                                        std::string_view /*help*/)
{
    SPrompt prompt = MakePrompt(EPromptKind::Boolean, text, timeout);
    prompt.yes = yes;
    prompt.no = no;
    return Prompt(prompt,
                  [answer](const TPromptAnswer& given)
                  {
                      // The slot may hold any byte, so it must not be touched as a bool.
                      const unsigned char byte = std::get<bool>(given) ? 1 : 0;
                      std::memcpy(answer, &byte, sizeof byte);
                  });
}

EUIReturnCode CUserInput::GetInteger(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text,
                                     std::string_view label, std::uint64_t* value, ENumericBase base, bool initialize,
                                     std::uint64_t max, std::uint64_t min, std::string_view /*title*/,
                                     std::string_view /*unit*/, gui::EAbortBtn /*abortButton*/,
                                     std::string_view /*help*/)
{
    SPrompt prompt = MakePrompt(EPromptKind::Integer, text, timeout);
    prompt.label = label;
    prompt.hexadecimal = base == BASE_HEXADECIMAL;
    prompt.initialize = initialize;
    prompt.initial = *value;
    prompt.min = min;
    prompt.max = max;
    return Prompt(prompt, [value](const TPromptAnswer& given) { *value = std::get<std::uint64_t>(given); });
}

void CUserInput::EnableInput() {}

void CUserInput::FunctionFinished() {}

std::string CUserInput::Misfit(const SPrompt& prompt, const TPromptAnswer& answer)
{
    const auto* const end = std::get_if<EPromptEnd>(&answer);
    if (end && (*end != EPromptEnd::Ok || prompt.kind == EPromptKind::Info))
    {
        return {};
    }
    switch (prompt.kind)
    {
    case EPromptKind::Boolean:
        return std::holds_alternative<bool>(answer) ? "" : "a yes/no prompt takes true or false";
    case EPromptKind::Info:
        return "an information box takes \"ok\"";
    case EPromptKind::Integer:
        break;
    }
    const auto* const number = std::get_if<std::uint64_t>(&answer);
    if (!number)
    {
        return "an integer prompt takes a number";
    }
    const auto wide = [](std::uint64_t n) { return static_cast<unsigned long long>(n); };
    return *number >= prompt.min && *number <= prompt.max
        ? std::string()
        : FormatText("%llu is not from %llu to %llu", wide(*number), wide(prompt.min), wide(prompt.max)).c_str();
}

template <class Store>
EUIReturnCode CUserInput::Prompt(const SPrompt& prompt, const Store& store)
{
    m_Concluded = m_ReturnedResult = m_TimedOut = false;
    const std::uint64_t id = ++m_PromptCount;
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.PromptOpened(id, prompt); });
    HandOver();
    const auto tellEnded = [&](EPromptEnd end) -> TPromptAnswer
    {
        TellEnded(id, prompt, end);
        throw;
    };
    const TPromptAnswer answer =
        Guarded([&] { return CheckedAnswer(prompt); }, [&](const ZKUserAbort&) { return tellEnded(EPromptEnd::Abort); },
                [&](SUnknownFailure) { return tellEnded(EPromptEnd::Cancel); });
    if (!std::holds_alternative<EPromptEnd>(answer))
    {
        store(answer);
    }
    const EUIReturnCode code = Conclude(answer);
    TellEnded(id, prompt, answer);
    return code;
}

TPromptAnswer CUserInput::CheckedAnswer(const SPrompt& prompt)
{
    const TPromptAnswer answer = Ask(prompt);
    if (answer == TPromptAnswer(EPromptEnd::Abort))
    {
        RaiseUserAbort(FormatText("The operator aborted at the prompt \"%s\".", prompt.text.c_str()));
    }
    if (const std::string misfit = Misfit(prompt, answer); !misfit.empty())
    {
        ThrowFormatted<ZKRunTimeException>("The dialog's answer to the prompt \"%s\" does not fit: %s.",
                                           prompt.text.c_str(), misfit.c_str());
    }
    return answer;
}

EUIReturnCode CUserInput::Conclude(const TPromptAnswer& answer)
{
    const auto* const end = std::get_if<EPromptEnd>(&answer);
    m_ReturnedResult = !end;
    m_Concluded = !end || *end == EPromptEnd::Ok;
    m_TimedOut = end && *end == EPromptEnd::TimeOut;
    return m_Concluded ? UI_ANSWERED : m_TimedOut ? UI_TIMED_OUT : UI_CANCELLED;
}

CClosingHeadline::CClosingHeadline()
{
    CAppState::Services().Run.ClosingHeadline = true;
}

CClosingHeadline::~CClosingHeadline()
{
    CAppState::Services().Run.ClosingHeadline = false;
}
