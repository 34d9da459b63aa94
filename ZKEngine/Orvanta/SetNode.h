#pragma once

#include <Orvanta/NumericCalcNode.h>

/// "x:Set": stores the value of its first term in a variable of the suite, constants included. The whole 64-bit slot is
/// written, whatever the variable's type.
class ORVANTA_EXPORT CSetNode : public CNumericCalcNode
{
public:
    CSetNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool SomethingToExecute() const override;
    bool IsSelectable() const override;

    QString Label() const;

protected:
    /// `CTestSuiteException` for an unknown variable.
    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

private:
    void Assign(CVariable& variable, std::uint64_t value);

    QString m_Label;
    QString m_VariableName;
};
