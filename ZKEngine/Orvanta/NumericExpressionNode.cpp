#include <Orvanta/NumericExpressionNode.h>

#include <CoreKit/CatchLadder.h>
#include <HostKit/Logger.h>

#include <limits>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/NumericExpressionNode";
constexpr std::uint64_t MAX_VALUE = std::numeric_limits<std::uint64_t>::max();

unsigned long long Printable(std::uint64_t value)
{
    return value;
}
} // namespace

const CNumericExpressionNode::TOperation CNumericExpressionNode::Add = [](std::uint64_t left, std::uint64_t right)
{
    if (right > MAX_VALUE - left)
    {
        ThrowFormatted<ZKRunTimeException>("ZKTESTS Overflow (addition). (lhs = %llu, rhs = %llu)", Printable(left),
                                           Printable(right));
    }
    return left + right;
};

const CNumericExpressionNode::TOperation CNumericExpressionNode::Subtract = [](std::uint64_t left, std::uint64_t right)
{
    if (right > left)
    {
        ThrowFormatted<ZKRunTimeException>(
            "ZKTESTS Underflow:  subtraction would result in a negative number. (lhs = %llu, rhs = %llu",
            Printable(left), Printable(right));
    }
    return left - right;
};

const CNumericExpressionNode::TOperation CNumericExpressionNode::Multiply = [](std::uint64_t left, std::uint64_t right)
{
    if (left != 0 && MAX_VALUE / left < right)
    {
        ThrowFormatted<ZKRunTimeException>("ZKTESTS Overflow (multiplication). (lhs = %llu, rhs = %llu)",
                                           Printable(left), Printable(right));
    }
    return left * right;
};

const CNumericExpressionNode::TOperation CNumericExpressionNode::Divide = [](std::uint64_t left, std::uint64_t right)
{
    if (right == 0)
    {
        throw ZKRunTimeException("ZKTESTS Divide by zero");
    }
    return left / right;
};

const CNumericExpressionNode::TOperation CNumericExpressionNode::Modulus = [](std::uint64_t left, std::uint64_t right)
{
    if (right == 0)
    {
        throw ZKRunTimeException("ZKTESTS Divide by zero: mod 0 is not defined.");
    }
    return left % right;
};

const std::map<QString, CNumericExpressionNode::TOperation> CNumericExpressionNode::m_OperatorList = {
    {QStringLiteral("add"), Add},    {QStringLiteral("sub"), Subtract}, {QStringLiteral("mul"), Multiply},
    {QStringLiteral("div"), Divide}, {QStringLiteral("mod"), Modulus},
};

CNumericExpressionNode::CNumericExpressionNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNumericBaseNode(node, parent, level)
    , m_Operator(m_OperatorList.at(AttributeText("operator")))
{
}

QStringList CNumericExpressionNode::Operators()
{
    QStringList words;
    for (const auto& [word, operation] : m_OperatorList)
    {
        words.push_back(word);
    }
    return words;
}

bool CNumericExpressionNode::DoDiagOnly()
{
    return true;
}

std::pair<bool, std::uint64_t> CNumericExpressionNode::Calculate()
{
    return Guarded([this] { return Fold(); },
                   [](const std::exception& exception)
                   {
                       LogDefault(TS_ERROR, "Unexpected failure in numeric calculation: %s", exception.what());
                       return std::pair(false, std::uint64_t{0});
                   });
}

std::pair<bool, std::uint64_t> CNumericExpressionNode::Fold()
{
    const CSafeString type = TypeName();
    const char* const word = Attribute(QStringLiteral("operator"));
    LogTrace(" - Calculating %s (operator=\"%s\").", type.c_str(), word);

    CNode* const first = GetChild(0);
    auto [succeeded, value] = CalculateTerm(first);
    if (first && !succeeded)
    {
        LogDefault(TS_ERROR, "Calculation failed on first element in expression failed.");
        return {false, 0};
    }
    if (m_Children.size() < 2)
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CNumericExpressionNode::Calculate"},
                                     "An %s must have at least two terms.", type.c_str());
    }
    for (auto term = m_Children.begin() + 1; term != m_Children.end(); ++term)
    {
        const auto [termSucceeded, termValue] = CalculateTerm(*term);
        if (!termSucceeded)
        {
            throw ZKRunTimeException("NumericExpression: calculation failed.");
        }
        value = m_Operator(value, termValue);
    }
    m_Value = value;
    LogTrace(" - %s (operator=\"%s\") completed: value=%llu (0x%llX).", type.c_str(), word, Printable(m_Value),
             Printable(m_Value));
    FlushOutput(true);
    return {true, m_Value};
}
