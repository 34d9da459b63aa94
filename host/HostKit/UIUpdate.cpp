#include <HostKit/AppState.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UIUpdate.h>

#include <CoreKit/Exceptions.h>

CUIUpdate& CUIUpdate::GetUIUpdate()
{
    return CAppState::Services().UIUpdate;
}

void RaiseUserAbort(std::string_view text)
{
    if (CTestSuiteLog* log = CAppState::TestSuiteLog())
    {
        log->OperatorAborted();
    }
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.OperatorAborted(text); });
    throw ZKUserAbort(text);
}
