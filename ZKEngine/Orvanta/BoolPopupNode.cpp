#include <Orvanta/BoolPopupNode.h>

#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

CBoolPopupNode::CBoolPopupNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CPopupNode(node, parent, level)
    , m_Variable(AttributeText("variable"))
    , m_YesButton(AttributeText("yes_button", "Yes"))
    , m_NoButton(AttributeText("no_button", "No"))
{
}

QString CBoolPopupNode::GetDiagnosticString() const
{
    return CNode::GetDiagnosticString();
}

void CBoolPopupNode::Ask(CUserInput& input)
{
    LogPlain(LL_TRACE, "Prompting user for new value for %s", qUtf8Printable(m_Variable));
    FlushOutput(true);
    CVariable& variable = GetVariable(m_Variable);
    LogDefault(TS_NONE, "Request boolean choice:\n%s. [%s/%s]", qUtf8Printable(m_Text), qUtf8Printable(m_YesButton),
               qUtf8Printable(m_NoButton));
    input.BooleanChoice(UI_MODE_NORMAL, Timeout(), m_Text.toStdString(), variable.Reference<bool>(),
                        m_YesButton.toStdString(), m_NoButton.toStdString(), gui::ABORT_BTN_SHOWN, {});
    LogExiting();
    if (input.TimedOut())
    {
        LogTimedOut("Boolean selection popup dialog timed out.");
    }
    if (input.ReturnedResult())
    {
        Store(variable);
    }
    FlushOutput(true);
}

void CBoolPopupNode::Store(CVariable& variable) const
{
    const bool answer = variable.View<bool>();
    variable.Set(answer, variable.Type());
    LogDefault(TS_NONE, "User selected %s", qUtf8Printable(answer ? m_YesButton : m_NoButton));
    LogPlain(LL_TRACE, "Setting variable %s = %s.", qUtf8Printable(m_Variable), answer ? "TRUE" : "FALSE");
}
