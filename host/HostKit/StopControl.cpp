#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>

void CStopControl::RequestFor(EAbortCause cause, const char* text) noexcept
{
    if (!HasReason())
    {
        m_Cause = cause;
        m_Text = text;
    }
    Request();
}

void CStopControl::RaiseIfDue(bool inExitGroup, std::string_view text)
{
    if (!IsDue(inExitGroup))
    {
        return;
    }
    m_Raised = Needed(inExitGroup);
    const char* const reason = m_Text.exchange(nullptr);
    RaiseUserAbort(reason ? reason : text, reason ? m_Cause.load() : EAbortCause::Operator);
}

void CStopControl::ReportUnraised(std::string_view text)
{
    const char* const reason = m_Text.exchange(nullptr);
    ReportAbort(reason ? m_Cause.load() : EAbortCause::Operator, reason ? reason : text);
}
