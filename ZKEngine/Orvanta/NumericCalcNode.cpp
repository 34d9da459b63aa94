#include <Orvanta/NumericCalcNode.h>

CNumericCalcNode::CNumericCalcNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNumericBaseNode(node, parent, level)
{
}

bool CNumericCalcNode::IsSelectable() const
{
    return false;
}

bool CNumericCalcNode::DoDiagOnly()
{
    return true;
}

std::pair<bool, std::uint64_t> CNumericCalcNode::Calculate()
{
    return CalculateTerm(GetChild(0));
}

bool CNumericCalcNode::DoExecute(bool)
{
    const auto [succeeded, calculated] = Calculate();
    if (succeeded)
    {
        m_Value = calculated;
        const unsigned long long value = m_Value;
        LogTrace(" - %s: Returning %llu (%llX)", TypeName().c_str(), value, value);
    }
    else
    {
        LogDefault(TS_ERROR, "Calculation failed. Value not set.");
    }
    return succeeded;
}
