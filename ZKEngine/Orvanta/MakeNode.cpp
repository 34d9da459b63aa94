#include <Orvanta/MakeNode.h>

#include <Orvanta/BoolPopupNode.h>
#include <Orvanta/BooleanCalcBinaryNode.h>
#include <Orvanta/BooleanCalcUnaryNode.h>
#include <Orvanta/BooleanOperatorNode.h>
#include <Orvanta/FunctionNode.h>
#include <Orvanta/GroupNode.h>
#include <Orvanta/GroupRecursiveNode.h>
#include <Orvanta/InfoPopupNode.h>
#include <Orvanta/NumericCalcNode.h>
#include <Orvanta/NumericExpressionNode.h>
#include <Orvanta/NumericValueNode.h>
#include <Orvanta/SetNode.h>
#include <Orvanta/SetPopupNode.h>

#include <CoreKit/Exceptions.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/MakeNode";

using TBuilder = std::unique_ptr<CNode> (*)(const pugi::xml_node& node, CNode* const parent, int level);

template <class Node>
std::unique_ptr<CNode> LevelFirst(const pugi::xml_node& node, CNode* const parent, int level)
{
    return std::make_unique<Node>(node, level, parent);
}

template <class Node>
std::unique_ptr<CNode> ParentFirst(const pugi::xml_node& node, CNode* const parent, int level)
{
    return std::make_unique<Node>(node, parent, level);
}

struct SElementRow
{
    std::string_view element;
    TBuilder build; ///< null: known, but no node
};

constexpr std::array ELEMENTS = {
    SElementRow{"x:Variables", nullptr},
    SElementRow{"x:Function", LevelFirst<CFunctionNode>},
    SElementRow{"x:Group", LevelFirst<CGroupRecursiveNode>},
    SElementRow{"x:InitGroup", LevelFirst<CGroupNode>},
    SElementRow{"x:ExitGroup", LevelFirst<CGroupNode>},
    SElementRow{"x:BooleanPopup", ParentFirst<CBoolPopupNode>},
    SElementRow{"x:SetPopup", ParentFirst<CSetPopupNode>},
    SElementRow{"x:InfoPopup", ParentFirst<CInfoPopupNode>},
    SElementRow{"x:Set", ParentFirst<CSetNode>},
    SElementRow{"x:NextIteration", ParentFirst<CNumericCalcNode>},
    SElementRow{"x:And", ParentFirst<CBooleanCalcBinaryNode>},
    SElementRow{"x:Or", ParentFirst<CBooleanCalcBinaryNode>},
    SElementRow{"x:Comparison", ParentFirst<CBooleanOperatorNode>},
    SElementRow{"x:Not", ParentFirst<CBooleanCalcUnaryNode>},
    SElementRow{"x:Condition", ParentFirst<CBooleanCalcUnaryNode>},
    SElementRow{"x:LoopTerminate", ParentFirst<CBooleanCalcUnaryNode>},
    SElementRow{"x:Expression", ParentFirst<CNumericExpressionNode>},
    SElementRow{"x:Value", ParentFirst<CNumericValueNode>},
};
} // namespace

std::unique_ptr<CNode> MakeNode(const pugi::xml_node& node, CNode* const parent, int level)
{
    const std::string_view element = node.name();
    const auto row = std::find_if(ELEMENTS.begin(), ELEMENTS.end(),
                                  [element](const SElementRow& candidate) { return candidate.element == element; });
    if (row == ELEMENTS.end() || !row->build)
    {
        return nullptr;
    }
    std::unique_ptr<CNode> built = row->build(node, parent, level + 1);
    if (!built)
    {
        ThrowAt<ZKRunTimeException>({SOURCE_FILE, __LINE__, "MakeNode"}, "Invalid node: type=%s", node.name());
    }
    return built;
}
