#pragma once

#include <Orvanta/BooleanBaseNode.h>

#include <functional>
#include <map>

/// "x:And" and "x:Or": folds its terms from left to right. Every term is calculated, also when the result is decided.
class ORVANTA_EXPORT CBooleanCalcBinaryNode : public CBooleanBaseNode
{
public:
    using TOperation = std::function<bool(bool left, bool right)>;

    /// `std::out_of_range` for an element that is neither.
    CBooleanCalcBinaryNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool SomethingToExecute() const override;
    bool IsSelectable() const override;

    QString Label() const;

    static const TOperation And;
    static const TOperation Or;

protected:
    bool DoDiagOnly() override;

public:
    /// A first term whose calculation fails is no error line; every other failure is one, so is a first term that is
    /// not boolean.
    std::pair<bool, bool> Calculate() override;

private:
    std::pair<bool, bool> Fold();

    static const std::map<QString, TOperation> m_OperatorList;

    TOperation m_Operator;
};
