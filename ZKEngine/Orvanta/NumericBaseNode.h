#pragma once

#include <Orvanta/Node.h>

#include <cstdint>
#include <utility>

/// Base of the nodes that compute an unsigned 64-bit value. Whether a calculation failed is part of its result; a
/// mistake in the suite throws.
class ORVANTA_EXPORT CNumericBaseNode : public CNode
{
public:
    CNumericBaseNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool SomethingToExecute() const override;

    /// The value that the last run, or a value or expression's last calculation, stored.
    std::uint64_t Value() const { return m_Value; }

protected:
    bool DoExecute(bool stopOnFail) override;

public:
    /// Whether the calculation succeeded, and its value (0 on failure).
    virtual std::pair<bool, std::uint64_t> Calculate() = 0;

    /// Calculates a term; null, or a node that is not numeric, is a failed calculation.
    static std::pair<bool, std::uint64_t> CalculateTerm(CNode* term);

protected:
    std::uint64_t m_Value = 0;
};
