#pragma once

#include <Orvanta/Node.h>

#include <cstdint>

class CUserInput;

/// What the three prompts share: they ask the operator through the host's dialogs, which block until they end, log what
/// happened, and count as executed, never as tests. The result is whether the dialog concluded. Nothing is caught: an
/// unknown variable, a bad time-out and the operator's abort leave the node.
class ORVANTA_EXPORT CPopupNode : public CNode
{
public:
    CPopupNode(const pugi::xml_node& node, CNode* const parent, int level);

    bool IsSelectable() const override;

protected:
    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

    /// The prompt itself.
    virtual void Ask(CUserInput& input) = 0;

    /// The time-out for the dialog, in seconds: a variable's value, a literal, or none when the attribute is empty.
    std::uint32_t Timeout() const;

    void LogExiting() const;
    static void LogTimedOut(const char* text);

    QString m_Text;
    QString m_Timeout;
};
