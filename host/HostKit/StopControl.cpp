#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>

void CStopControl::RaiseIfDue(bool inExitGroup, std::string_view text)
{
    if (IsDue(inExitGroup))
    {
        m_Raised = Needed(inExitGroup);
        RaiseUserAbort(text);
    }
}
