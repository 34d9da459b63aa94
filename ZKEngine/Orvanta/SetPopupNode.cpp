#include <Orvanta/SetPopupNode.h>

#include <CoreKit/Format.h>
#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

CSetPopupNode::CSetPopupNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CPopupNode(node, parent, level)
    , m_Variable(AttributeText("variable"))
    , m_Label(AttributeText("label", DEF_LABEL_TEXT))
    , m_Hex(m_Node.attribute("hex").as_bool(DEF_HEX))
    , m_Initialize(m_Node.attribute("initialize").as_bool(DEF_INIT))
    , m_Bounds(BoundsOf(m_Node))
{
}

CSetPopupNode::SBounds CSetPopupNode::BoundsOf(const pugi::xml_node& element)
{
    return {element.attribute("min").as_ullong(DEF_MIN), element.attribute("max").as_ullong(DEF_MAX)};
}

QString CSetPopupNode::GetDiagnosticString() const
{
    return CNode::GetDiagnosticString();
}

CSafeString CSetPopupNode::RangeText() const
{
    const unsigned long long min = m_Bounds.min;
    const unsigned long long max = m_Bounds.max;
    if (m_Bounds.max == DEF_MAX)
    {
        return m_Hex ? FormatText("min: %llX, max: unbounded", min) : FormatText("min: %llu, max: unbounded", min);
    }
    return m_Hex ? FormatText("min: %llX, max: %llX", min, max) : FormatText("min: %llu, max: %llu", min, max);
}

void CSetPopupNode::Ask(CUserInput& input)
{
    LogDefault(TS_NONE, "Prompt user for integer (with range [%s]): ", RangeText().c_str());
    WriteLog(TS_NONE, LL_WARNING, NODE_LOG_FORMAT,
             FormatText("Prompt user for new value for %s", qUtf8Printable(m_Variable)));
    FlushOutput(true);
    CVariable& variable = GetVariable(m_Variable);
    input.GetInteger(UI_MODE_NORMAL, Timeout(), m_Text.toStdString(), m_Label.toStdString(),
                     variable.Reference<std::uint64_t>(), m_Hex ? BASE_HEXADECIMAL : BASE_DECIMAL, m_Initialize,
                     m_Bounds.max, m_Bounds.min, {}, {}, gui::ABORT_BTN_SHOWN, {});
    if (input.TimedOut())
    {
        LogTimedOut("Set integer dialog timed out.");
    }
    if (input.ReturnedResult())
    {
        Store(variable);
    }
    FlushOutput(true);
    LogExiting();
}

void CSetPopupNode::Store(CVariable& variable) const
{
    variable.Set(variable.View<std::uint64_t>(), variable.Type());
    const unsigned long long value = variable.View<std::uint64_t>();
    LogDefault(TS_NONE, "Setting %s to %llu (0x%llX)", qUtf8Printable(m_Variable), value, value);
}
