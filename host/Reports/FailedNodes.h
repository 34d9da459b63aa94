#pragma once

#include <Reports/NodeInfo.h>

#include <functional>
#include <string>
#include <vector>

/// Says which nodes ended failed, the innermost of each failure: the one place where a test function that returned
/// false without a word, or a prompt without an answer, shows. Owned by the host; the nodes' descriptions outlive it.
class OLDREPORTS_EXPORT CFailedNodes : public CNodeStateListener
{
public:
    /// `say` gets a line for each: path, element, label or name, and the place in the suite's file.
    CFailedNodes(const std::string& file, std::function<void(const std::string& line)> say);

    void NodeStateChanged(const SNodeInfo& node, ERunState state) override;

private:
    struct SRunning
    {
        const SNodeInfo* node;
        bool isSaid; ///< that something failed here or below
    };

    void EndInnermost();
    void Say(const SNodeInfo& node) const;

    std::string m_File;
    std::function<void(const std::string& line)> m_Say;
    std::vector<SRunning> m_Running; ///< the innermost last
};
