#pragma once

#include <Reports/NodeInfo.h>

#include <string>
#include <vector>

/// The line on stderr that says which node is running. Whoever writes to the terminal erases it before and draws it
/// again afterwards. Does nothing unless enabled. Owned by the command.
class CProgress : public CNodeStateListener
{
public:
    explicit CProgress(bool enabled)
        : m_Enabled(enabled)
    {
    }
    ~CProgress() override { Erase(); }

    void NodeStateChanged(const SNodeInfo& node, ERunState state) override;

    void Erase();
    void Draw();
    /// Nothing runs any more.
    void Clear();

private:
    std::vector<const SNodeInfo*> m_Running; ///< the innermost last
    bool m_Enabled;
    bool m_Drawn = false;
};
