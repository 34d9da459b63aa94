#pragma once

#include <Orvanta/NumericBaseNode.h>

/// "x:Value": a decimal or hexadecimal number, a variable (its name begins with "$"), or a bool word.
class ORVANTA_EXPORT CNumericValueNode : public CNumericBaseNode
{
public:
    CNumericValueNode(const pugi::xml_node& node, CNode* const parent, int level);

protected:
    bool DoDiagOnly() override;

public:
    /// `CTestSuiteException` for a missing or bad value or an unknown variable.
    std::pair<bool, std::uint64_t> Calculate() override;

private:
    std::uint64_t ReadValue(const char* text) const;
};
