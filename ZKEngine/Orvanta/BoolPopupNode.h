#pragma once

#include <Orvanta/PopupNode.h>

/// "x:BooleanPopup": asks a yes/no question and stores the answer in a variable, in the variable's own type.
class ORVANTA_EXPORT CBoolPopupNode : public CPopupNode
{
public:
    CBoolPopupNode(const pugi::xml_node& node, CNode* const parent, int level);

    QString GetDiagnosticString() const override;

    QString Label() const { return AttributeText("label"); }
    QString Text() const { return m_Text; }

protected:
    void Ask(CUserInput& input) override;

private:
    void Store(CVariable& variable) const;

    QString m_Variable;
    QString m_YesButton;
    QString m_NoButton;
};
