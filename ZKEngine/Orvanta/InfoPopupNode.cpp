#include <Orvanta/InfoPopupNode.h>

#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

CInfoPopupNode::CInfoPopupNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CPopupNode(node, parent, level)
    , m_Button(AttributeText("button", "OK"))
{
}

bool CInfoPopupNode::DoExecute(bool stopOnFail)
{
    return CPopupNode::DoExecute(stopOnFail);
}

bool CInfoPopupNode::DoDiagOnly()
{
    return CPopupNode::DoDiagOnly();
}

void CInfoPopupNode::Ask(CUserInput& input)
{
    LogDefault(TS_NONE, "Inform user:\n%s.", qUtf8Printable(m_Text));
    FlushOutput(true);
    input.ShowInfo(UI_MODE_NORMAL, Timeout(), m_Text.toStdString(), true, m_Button.toStdString(), UI_EMPHASIS_NONE,
                   gui::ABORT_BTN_SHOWN, {});
    LogExiting();
    if (input.TimedOut())
    {
        LogTimedOut("Info popup dialog timed out.");
    }
}
