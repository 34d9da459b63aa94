#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>

#include <algorithm>
#include <cstring>

void CStopControl::BreakDown(EAbortCause cause, const char* text, bool inExitGroup) noexcept
{
    if (!HasBrokenDown())
    {
        m_Cause = cause;
        const std::size_t length = std::min(std::strlen(text), m_Text.size() - 1);
        std::memcpy(m_Text.data(), text, length);
        m_Text.at(length) = '\0';
        m_HasBrokenDown = 1;
    }
    if (inExitGroup)
    {
        m_BrokeInExitGroup = 1;
    }
}

CStopControl::SAbort CStopControl::TakeReason(std::string_view text)
{
    if (!HasBrokenDown())
    {
        return {EAbortCause::Operator, std::string(text)};
    }
    SAbort abort{m_Cause, m_Text.data()};
    m_HasBrokenDown = 0;
    m_BrokeInExitGroup = 0;
    return abort;
}

void CStopControl::RaiseIfDue(bool inExitGroup, std::string_view text)
{
    if (!IsDue(inExitGroup))
    {
        return;
    }
    if (Requests() >= Needed(inExitGroup))
    {
        m_Raised = Needed(inExitGroup);
    }
    const SAbort abort = TakeReason(text);
    RaiseUserAbort(abort.text, abort.cause);
}

void CStopControl::ReportUnraised(std::string_view text)
{
    const SAbort abort = TakeReason(text);
    ReportAbort(abort.cause, abort.text);
}
