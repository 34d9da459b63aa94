#pragma once

#include <Orvanta/PopupNode.h>

/// "x:InfoPopup": shows a message that the operator acknowledges.
class ORVANTA_EXPORT CInfoPopupNode : public CPopupNode
{
public:
    CInfoPopupNode(const pugi::xml_node& node, CNode* const parent, int level);

    QString Label() const { return AttributeText("label"); }
    QString Text() const { return m_Text; }

    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

protected:
    void Ask(CUserInput& input) override;

private:
    QString m_Button;
};
