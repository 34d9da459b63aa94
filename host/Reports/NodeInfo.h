#pragma once

#include <Reports/OldReportsExport.h>

#include <Orvanta/Node.h>

#include <cstdint>
#include <string>
#include <vector>

class CDOMDoc;

/// What a node is called and where it stands, for people and programs outside of the engine.
struct SNodeInfo
{
    std::string path; ///< child indices from the root: "/1/0"; "/" for the root itself
    std::string element;
    std::string name;
    std::string label;
    std::uint64_t line = 0; ///< in the suite file
};

/// Whether a node stands somewhere below another one of the same tree.
OLDREPORTS_EXPORT bool IsBelow(const SNodeInfo& node, const SNodeInfo& ancestor);

/// A node of a tree with its description. The node is not owned.
struct SDescribedNode
{
    CNode* node;
    SNodeInfo info;
};

/// The nodes of a tree in document order, a parent before its children. `document` is the one the tree was built from.
OLDREPORTS_EXPORT std::vector<SDescribedNode> DescribeTree(CNode& root, const CDOMDoc& document);

/// Receives the nodes' state changes, on the thread that runs the suite. Not owned by whoever tells it.
class OLDREPORTS_EXPORT CNodeStateListener
{
public:
    virtual ~CNodeStateListener();
    virtual void NodeStateChanged(const SNodeInfo& node, ERunState state) = 0;
};
