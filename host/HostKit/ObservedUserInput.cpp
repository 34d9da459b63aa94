#include <HostKit/AppState.h>
#include <HostKit/ObservedUserInput.h>

#include <CoreKit/CatchLadder.h>

namespace
{
void TellEnded(const SPrompt& prompt, const TPromptAnswer& answer)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.PromptEnded(prompt, answer); });
}
} // namespace

CObservedUserInput::CObservedUserInput(CUserInput& input)
    : m_Input(input)
{
}

EUIReturnCode CObservedUserInput::Observe(const SPrompt& prompt, const std::function<EUIReturnCode()>& dialog,
                                          const std::function<TPromptAnswer()>& result)
{
    const EUIReturnCode code = Guarded(dialog,
                                       [&prompt](const ZKUserAbort&) -> EUIReturnCode
                                       {
                                           TellEnded(prompt, EPromptEnd::Abort);
                                           throw;
                                       });
    if (m_Input.TimedOut())
    {
        TellEnded(prompt, EPromptEnd::TimeOut);
    }
    else
    {
        TellEnded(prompt, m_Input.Concluded() ? result() : EPromptEnd::Cancel);
    }
    return code;
}

EUIReturnCode CObservedUserInput::ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                                           std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                                           std::string_view help)
{
    const auto dialog = [&]
    { return m_Input.ShowInfo(mode, timeout, text, wait, button, emphasis, abortButton, help); };
    if (!CAppState::Services().TestSuiteExecuting)
    {
        return dialog();
    }
    SPrompt prompt;
    prompt.kind = EPromptKind::Info;
    prompt.text = text;
    prompt.timeout = timeout;
    prompt.button = button;
    return Observe(prompt, dialog, [] { return EPromptEnd::Ok; });
}

EUIReturnCode CObservedUserInput::BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text,
                                                bool* answer, std::string_view yes, std::string_view no,
                                                gui::EAbortBtn abortButton, std::string_view help)
{
    SPrompt prompt;
    prompt.kind = EPromptKind::Boolean;
    prompt.text = text;
    prompt.timeout = timeout;
    prompt.yes = yes;
    prompt.no = no;
    return Observe(
        prompt, [&] { return m_Input.BooleanChoice(mode, timeout, text, answer, yes, no, abortButton, help); },
        [&] { return *reinterpret_cast<const unsigned char*>(answer) != 0; });
}

EUIReturnCode CObservedUserInput::GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text,
                                             std::string_view label, std::uint64_t* value, ENumericBase base,
                                             bool initialize, std::uint64_t max, std::uint64_t min,
                                             std::string_view title, std::string_view unit, gui::EAbortBtn abortButton,
                                             std::string_view help)
{
    SPrompt prompt;
    prompt.kind = EPromptKind::Integer;
    prompt.text = text;
    prompt.timeout = timeout;
    prompt.label = label;
    prompt.base = base;
    prompt.initialize = initialize;
    prompt.initial = *value;
    prompt.min = min;
    prompt.max = max;
    return Observe(
        prompt,
        [&]
        {
            return m_Input.GetInteger(mode, timeout, text, label, value, base, initialize, max, min, title, unit,
                                      abortButton, help);
        },
        [&] { return *value; });
}
