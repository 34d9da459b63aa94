#include <Orvanta/SetNode.h>

#include <HostKit/AppState.h>

CSetNode::CSetNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNumericCalcNode(node, parent, level)
    , m_Label(Label())
    , m_VariableName(AttributeText("variable"))
{
}

bool CSetNode::SomethingToExecute() const
{
    return RunsByItself();
}

bool CSetNode::IsSelectable() const
{
    return true;
}

bool CSetNode::DoDiagOnly()
{
    return true;
}

QString CSetNode::Label() const
{
    return AttributeText("label");
}

bool CSetNode::DoExecute(bool)
{
    AddTestLog(m_Label.toStdString(), false, false);
    LogTrace(" - Entering %s: %s.", TypeName().c_str(), qUtf8Printable(m_Label));
    LogPlain(LL_TRACE, "Calculating new value for %s", qUtf8Printable(m_VariableName));
    CVariable& variable = GetVariable(m_VariableName);
    const auto [succeeded, value] = Calculate();
    if (succeeded)
    {
        Assign(variable, value);
    }
    else
    {
        LogDefault(TS_ERROR, "%s calculation failed.", TypeName().c_str());
    }
    CountExecution(false);
    AddSeparator();
    return succeeded;
}

void CSetNode::Assign(CVariable& variable, std::uint64_t value)
{
    m_Value = value;
    variable.SetSlot(value);
    const unsigned long long shown = value;
    LogDefault(TS_NONE, "Setting %s to %llu (%llX)", qUtf8Printable(m_VariableName), shown, shown);
    LogTrace(" - Exiting %s: %s.", TypeName().c_str(), qUtf8Printable(m_Label));
}
