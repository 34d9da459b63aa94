#pragma once

#include <Orvanta/NumericBaseNode.h>

/// "x:NextIteration": yields the value of its first term, as a loop's next iterator value.
class ORVANTA_EXPORT CNumericCalcNode : public CNumericBaseNode
{
public:
    CNumericCalcNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool IsSelectable() const override;

protected:
    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

public:
    std::pair<bool, std::uint64_t> Calculate() override;
};
