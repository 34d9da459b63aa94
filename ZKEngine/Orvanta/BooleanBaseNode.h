#pragma once

#include <Orvanta/Node.h>

#include <utility>

/// Base of the nodes that compute a truth value: conditions, loop terminators and their terms. A failed calculation
/// counts as false.
class ORVANTA_EXPORT CBooleanBaseNode : public CNode
{
public:
    CBooleanBaseNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool SomethingToExecute() const override;
    /// Calculates the node's own value, which is what it means as a condition.
    bool SatisfiesCondition() override;

    /// The value of the last successful calculation.
    bool Value() const { return m_Value; }

protected:
    bool DoExecute(bool stopOnFail) override;

public:
    /// Whether the calculation succeeded, and its value (false on failure).
    virtual std::pair<bool, bool> Calculate() = 0;

    /// Calculates a term; null, or a node that is not boolean, is a failed calculation.
    static std::pair<bool, bool> CalculateTerm(CNode* term);

protected:
    bool m_Value = false;
};
