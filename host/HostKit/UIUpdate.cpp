#include <HostKit/AppState.h>
#include <HostKit/UIUpdate.h>

CUIUpdate& CUIUpdate::GetUIUpdate()
{
    return CAppState::Services().UIUpdate;
}
