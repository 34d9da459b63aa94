#pragma once

#include <Orvanta/BooleanBaseNode.h>

#include <QStringList>

#include <cstdint>
#include <functional>
#include <map>

/// "x:Comparison": compares the values of its first two numeric terms, both unsigned 64-bit.
class ORVANTA_EXPORT CBooleanOperatorNode : public CBooleanBaseNode
{
public:
    using TOperation = std::function<bool(std::uint64_t left, std::uint64_t right)>;

    /// `std::out_of_range` for an operator word that the table lacks.
    CBooleanOperatorNode(const pugi::xml_node& node, CNode* const parent, int level);

    /// The operator words.
    static QStringList Operators();

    static const TOperation Equals;
    static const TOperation NotEqual;
    static const TOperation GreaterThan;
    static const TOperation GreaterThanOrEqual;
    static const TOperation LessThan;
    static const TOperation LessThanOrEqual;

protected:
    bool DoDiagOnly() override;

public:
    /// `std::out_of_range` for fewer than two terms; every other failure is an error line.
    std::pair<bool, bool> Calculate() override;

private:
    std::pair<bool, bool> Compare(CNode* left, CNode* right);

    static const std::map<QString, TOperation> m_OperatorList;

    TOperation m_Operator;
};
