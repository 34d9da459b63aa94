#pragma once

#include <Orvanta/BooleanBaseNode.h>

#include <functional>
#include <map>

/// "x:Not", and the elements that pass their only term's value through: "x:Condition" and "x:LoopTerminate".
class ORVANTA_EXPORT CBooleanCalcUnaryNode : public CBooleanBaseNode
{
public:
    using TOperation = std::function<bool(bool operand)>;

    CBooleanCalcUnaryNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool SomethingToExecute() const override;
    bool IsSelectable() const override;

    QString Label() const;

    static const TOperation Not;
    static const TOperation Default;

protected:
    bool DoDiagOnly() override;

public:
    /// A failing term is an error line; what it throws passes through.
    std::pair<bool, bool> Calculate() override;

private:
    static const std::map<QString, TOperation> m_OperatorList;

    TOperation m_Operator;
};
