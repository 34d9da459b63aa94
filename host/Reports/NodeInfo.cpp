#include <Reports/NodeInfo.h>

#include <HostKit/DOMDoc.h>

namespace
{
SNodeInfo Describe(CNode& node, const std::string& path, const CDOMDoc& document)
{
    return {.path = path.empty() ? "/" : path,
            .element = node.TypeName().c_str(),
            .name = node.Attribute(QStringLiteral("name")),
            .label = node.Attribute(QStringLiteral("label")),
            .line = document.Place(node.Element()).line};
}

void DescribeBelow(CNode& node, const std::string& path, const CDOMDoc& document, std::vector<SDescribedNode>& nodes)
{
    nodes.push_back({&node, Describe(node, path, document)});
    for (int i = 0; i < node.ChildCount(); ++i)
    {
        DescribeBelow(*node.GetChild(i), path + '/' + std::to_string(i), document, nodes);
    }
}
} // namespace

bool IsBelow(const SNodeInfo& node, const SNodeInfo& ancestor)
{
    const std::size_t length = ancestor.path == "/" ? 0 : ancestor.path.size();
    return node.path.size() > length + 1 && node.path.starts_with(ancestor.path) && node.path[length] == '/';
}

std::vector<SDescribedNode> DescribeTree(CNode& root, const CDOMDoc& document)
{
    std::vector<SDescribedNode> nodes;
    DescribeBelow(root, {}, document, nodes);
    return nodes;
}

CNodeStateListener::~CNodeStateListener() = default;
