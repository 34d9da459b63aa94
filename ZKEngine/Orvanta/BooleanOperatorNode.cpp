#include <Orvanta/BooleanOperatorNode.h>

#include <Orvanta/NumericBaseNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <HostKit/Logger.h>

#include <stdexcept>

const CBooleanOperatorNode::TOperation CBooleanOperatorNode::Equals = std::equal_to<std::uint64_t>();
const CBooleanOperatorNode::TOperation CBooleanOperatorNode::NotEqual = std::not_equal_to<std::uint64_t>();
const CBooleanOperatorNode::TOperation CBooleanOperatorNode::GreaterThan = std::greater<std::uint64_t>();
const CBooleanOperatorNode::TOperation CBooleanOperatorNode::GreaterThanOrEqual = std::greater_equal<std::uint64_t>();
const CBooleanOperatorNode::TOperation CBooleanOperatorNode::LessThan = std::less<std::uint64_t>();
const CBooleanOperatorNode::TOperation CBooleanOperatorNode::LessThanOrEqual = std::less_equal<std::uint64_t>();

const std::map<QString, CBooleanOperatorNode::TOperation> CBooleanOperatorNode::m_OperatorList = {
    {QStringLiteral("eq"), Equals},      {QStringLiteral("ne"), NotEqual},
    {QStringLiteral("gt"), GreaterThan}, {QStringLiteral("lt"), GreaterThanOrEqual},
    {QStringLiteral("gte"), LessThan},   {QStringLiteral("lte"), LessThanOrEqual},
};

CBooleanOperatorNode::CBooleanOperatorNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CBooleanBaseNode(node, parent, level)
    , m_Operator(m_OperatorList.at(AttributeText("operator")))
{
}

QStringList CBooleanOperatorNode::Operators()
{
    QStringList words;
    for (const auto& [word, operation] : m_OperatorList)
    {
        words.push_back(word);
    }
    return words;
}

bool CBooleanOperatorNode::DoDiagOnly()
{
    return true;
}

std::pair<bool, bool> CBooleanOperatorNode::Calculate()
{
    if (m_Children.size() < 2)
    {
        throw std::out_of_range(
            FormatText("%s needs two terms, has %u", TypeName().c_str(), static_cast<unsigned>(m_Children.size()))
                .c_str());
    }
    return Guarded([this] { return Compare(m_Children[0], m_Children[1]); },
                   [this](const std::exception& exception)
                   {
                       LogDefault(TS_ERROR, "%s: unexpected failure: %s", TypeName().c_str(), exception.what());
                       return std::pair(false, false);
                   });
}

std::pair<bool, bool> CBooleanOperatorNode::Compare(CNode* left, CNode* right)
{
    const auto [leftSucceeded, leftValue] = CNumericBaseNode::CalculateTerm(left);
    const auto [rightSucceeded, rightValue] = CNumericBaseNode::CalculateTerm(right);
    if (!leftSucceeded || !rightSucceeded)
    {
        LogDefault(TS_ERROR, "%s: couldn't get comparisons.", TypeName().c_str());
        return {false, false};
    }
    m_Value = m_Operator(leftValue, rightValue);
    static_assert(sizeof(unsigned long) == sizeof(std::uint64_t), "%lu prints both values in full");
    LogTrace(" - %s (operator: %s): lhs=%lu, rhs=%lu, result = %s", TypeName().c_str(),
             Attribute(QStringLiteral("operator")), static_cast<unsigned long>(leftValue),
             static_cast<unsigned long>(rightValue), m_Value ? "TRUE" : "FALSE");
    FlushOutput(true);
    return {true, m_Value};
}
