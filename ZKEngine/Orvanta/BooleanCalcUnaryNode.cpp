#include <Orvanta/BooleanCalcUnaryNode.h>

#include <HostKit/Logger.h>

const CBooleanCalcUnaryNode::TOperation CBooleanCalcUnaryNode::Not = [](bool operand) { return !operand; };
const CBooleanCalcUnaryNode::TOperation CBooleanCalcUnaryNode::Default = [](bool operand) { return operand; };

const std::map<QString, CBooleanCalcUnaryNode::TOperation> CBooleanCalcUnaryNode::m_OperatorList = {
    {QStringLiteral("x:Not"), Not},
};

CBooleanCalcUnaryNode::CBooleanCalcUnaryNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CBooleanBaseNode(node, parent, level)
{
    const auto found = m_OperatorList.find(QString::fromUtf8(TypeName().c_str()));
    m_Operator = found == m_OperatorList.end() ? Default : found->second;
}

bool CBooleanCalcUnaryNode::SomethingToExecute() const
{
    return RunsByItself();
}

bool CBooleanCalcUnaryNode::IsSelectable() const
{
    return false;
}

bool CBooleanCalcUnaryNode::DoDiagOnly()
{
    return true;
}

QString CBooleanCalcUnaryNode::Label() const
{
    return AttributeText("label");
}

std::pair<bool, bool> CBooleanCalcUnaryNode::Calculate()
{
    const CSafeString type = TypeName();
    LogTrace(" - Calculating %s.", type.c_str());
    const auto [succeeded, value] = CalculateTerm(GetChild(0));
    if (succeeded)
    {
        m_Value = m_Operator(value);
        LogTrace(" - %s: value=%s.", type.c_str(), m_Value ? "TRUE" : "FALSE");
    }
    else
    {
        LogDefault(TS_ERROR, "%s: calculation failed.", type.c_str());
    }
    FlushOutput(true);
    return {succeeded, succeeded && m_Value};
}
