#include <Orvanta/BooleanBaseNode.h>

CBooleanBaseNode::CBooleanBaseNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNode(node, parent, level, nullptr)
{
}

bool CBooleanBaseNode::SomethingToExecute() const
{
    return false;
}

bool CBooleanBaseNode::SatisfiesCondition()
{
    const auto [succeeded, value] = Calculate();
    return succeeded && value;
}

bool CBooleanBaseNode::DoExecute(bool)
{
    const auto [succeeded, value] = Calculate();
    return succeeded && value;
}

std::pair<bool, bool> CBooleanBaseNode::CalculateTerm(CNode* term)
{
    CBooleanBaseNode* const boolean = dynamic_cast<CBooleanBaseNode*>(term);
    return boolean ? boolean->Calculate() : std::pair(false, false);
}
