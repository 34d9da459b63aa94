#include "TerminalUserInput.h"

#include <HostKit/AppState.h>
#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>

CTerminalUserInput::CTerminalUserInput(CProgressLine& progress)
    : m_Dialog(progress, *this)
{
}

bool CTerminalUserInput::IsOver()
{
    const SHostServices& services = CAppState::Services();
    return services.Stop && services.Stop->IsDue(services.Run.InExitGroup);
}

TPromptAnswer CTerminalUserInput::Ask(const SPrompt& prompt)
{
    const auto end = m_Dialog.Ask(prompt);
    if (const auto* const answer = std::get_if<TPromptAnswer>(&end))
    {
        return *answer;
    }
    if (std::get<EUnanswered>(end) == EUnanswered::Lost)
    {
        RaiseUnanswered(prompt, "the terminal is gone");
    }
    const SHostServices& services = CAppState::Services();
    services.Stop->RaiseIfDue(services.Run.InExitGroup, InterruptedAt(prompt));
    return EPromptEnd::Abort;
}
