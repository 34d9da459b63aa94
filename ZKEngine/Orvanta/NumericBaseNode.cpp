#include <Orvanta/NumericBaseNode.h>

CNumericBaseNode::CNumericBaseNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNode(node, parent, level, nullptr)
{
}

bool CNumericBaseNode::SomethingToExecute() const
{
    return false;
}

bool CNumericBaseNode::DoExecute(bool)
{
    const auto [succeeded, value] = Calculate();
    if (succeeded)
    {
        m_Value = value;
    }
    return succeeded;
}

std::pair<bool, std::uint64_t> CNumericBaseNode::CalculateTerm(CNode* term)
{
    CNumericBaseNode* const numeric = dynamic_cast<CNumericBaseNode*>(term);
    return numeric ? numeric->Calculate() : std::pair(false, std::uint64_t{0});
}
