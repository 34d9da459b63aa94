#pragma once

#include <Orvanta/PopupNode.h>

#include <cstdint>

/// "x:SetPopup": asks for an unsigned number, within bounds if the suite gives any, and stores it in a variable, in the
/// variable's own type. The dialog watches the bounds; the node only hands them over.
class ORVANTA_EXPORT CSetPopupNode : public CPopupNode
{
public:
    CSetPopupNode(const pugi::xml_node& node, CNode* const parent, int level);

    QString GetDiagnosticString() const override;

    QString Label() const { return m_Label; }

    /// The smallest and the largest number that an element asks for.
    struct SBounds
    {
        std::uint64_t min;
        std::uint64_t max;
    };
    static SBounds BoundsOf(const pugi::xml_node& element);

protected:
    void Ask(CUserInput& input) override;

private:
    CSafeString RangeText() const;
    void Store(CVariable& variable) const;

    static constexpr const char* const DEF_LABEL_TEXT = "Select a value:";
    static constexpr std::uint64_t DEF_MIN = 0;
    static constexpr std::uint64_t DEF_MAX = 0xFFFFFFFFFFFFFFFF; ///< unbounded
    static constexpr bool DEF_HEX = false;
    static constexpr bool DEF_INIT = true;

    QString m_Variable;
    QString m_Label;
    bool m_Hex;
    bool m_Initialize;
    SBounds m_Bounds;
};
