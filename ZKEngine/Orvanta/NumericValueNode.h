#pragma once

#include <Orvanta/NumericBaseNode.h>

#include <cstdint>
#include <optional>

/// "x:Value": a decimal or hexadecimal number, a variable (its name begins with "$"), or a bool word.
class ORVANTA_EXPORT CNumericValueNode : public CNumericBaseNode
{
public:
    CNumericValueNode(const pugi::xml_node& node, CNode* const parent, int level);

    /// The number that a text other than a variable's name stands for; none when it is no literal.
    static std::optional<std::uint64_t> ReadLiteral(const char* text);

protected:
    bool DoDiagOnly() override;

public:
    /// `CTestSuiteException` for a missing or bad value or an unknown variable.
    std::pair<bool, std::uint64_t> Calculate() override;

private:
    std::uint64_t ReadValue(const char* text) const;
};
