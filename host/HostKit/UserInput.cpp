#include <HostKit/AppState.h>
#include <HostKit/UserInput.h>

CUserInput::~CUserInput() = default;

void CUserInput::EnableInput() {}

void CUserInput::FunctionFinished() {}

bool CUserInput::IsHeadline()
{
    return !CAppState::Services().TestSuiteExecuting;
}

EUIReturnCode CUserInput::PassOnHeadline(std::string_view text, EUIEmphasis emphasis)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.HeadlineShown(text, emphasis); });
    Begin();
    return Answered(false);
}

void CUserInput::Begin()
{
    m_Concluded = m_ReturnedResult = m_TimedOut = false;
}

EUIReturnCode CUserInput::Answered(bool withResult)
{
    m_Concluded = true;
    m_ReturnedResult = withResult;
    return UI_ANSWERED;
}

EUIReturnCode CUserInput::EndedByTimeout()
{
    m_TimedOut = true;
    return UI_TIMED_OUT;
}

EUIReturnCode CUserInput::Closed()
{
    return UI_CANCELLED;
}
