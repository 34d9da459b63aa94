#pragma once

#include <Orvanta/NumericBaseNode.h>

#include <QStringList>

#include <functional>
#include <map>

/// "x:Expression": folds its terms from left to right with checked unsigned 64-bit arithmetic.
class ORVANTA_EXPORT CNumericExpressionNode : public CNumericBaseNode
{
public:
    using TOperation = std::function<std::uint64_t(std::uint64_t left, std::uint64_t right)>;

    /// `std::out_of_range` for an operator word that the table lacks.
    CNumericExpressionNode(const pugi::xml_node& node, CNode* const parent, int level);

    /// The operator words.
    static QStringList Operators();

    /// Each throws `ZKRunTimeException` instead of a result that 64 bits can't hold or that is not defined.
    static const TOperation Add;
    static const TOperation Subtract;
    static const TOperation Multiply;
    static const TOperation Divide;
    static const TOperation Modulus;

protected:
    bool DoDiagOnly() override;

public:
    /// Every failure is an error line, also what a term throws.
    std::pair<bool, std::uint64_t> Calculate() override;

private:
    std::pair<bool, std::uint64_t> Fold();

    static const std::map<QString, TOperation> m_OperatorList;

    TOperation m_Operator;
};
