#include <Orvanta/BooleanCalcBinaryNode.h>

#include <CoreKit/CatchLadder.h>
#include <HostKit/Logger.h>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/BooleanCalcBinaryNode";
}

const CBooleanCalcBinaryNode::TOperation CBooleanCalcBinaryNode::And = [](bool left, bool right)
{ return left && right; };
const CBooleanCalcBinaryNode::TOperation CBooleanCalcBinaryNode::Or = [](bool left, bool right)
{ return left || right; };

const std::map<QString, CBooleanCalcBinaryNode::TOperation> CBooleanCalcBinaryNode::m_OperatorList = {
    {QStringLiteral("x:And"), And},
    {QStringLiteral("x:Or"), Or},
};

CBooleanCalcBinaryNode::CBooleanCalcBinaryNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CBooleanBaseNode(node, parent, level)
    , m_Operator(m_OperatorList.at(QString::fromUtf8(TypeName().c_str())))
{
}

bool CBooleanCalcBinaryNode::SomethingToExecute() const
{
    return RunsByItself();
}

bool CBooleanCalcBinaryNode::IsSelectable() const
{
    return false;
}

bool CBooleanCalcBinaryNode::DoDiagOnly()
{
    return true;
}

QString CBooleanCalcBinaryNode::Label() const
{
    return AttributeText("label");
}

std::pair<bool, bool> CBooleanCalcBinaryNode::Calculate()
{
    return Guarded([this] { return Fold(); },
                   [this](const std::exception& exception)
                   {
                       LogDefault(TS_ERROR, "%s: Calculation failed: %s.", TypeName().c_str(), exception.what());
                       return std::pair(false, false);
                   });
}

std::pair<bool, bool> CBooleanCalcBinaryNode::Fold()
{
    const CSafeString type = TypeName();
    const char* const word = Attribute(QStringLiteral("operator"));
    LogTrace(" - Calculating %s (\"%s\").", type.c_str(), word);

    CNode* const first = GetChild(0);
    auto [succeeded, value] = CalculateTerm(first);
    if (!succeeded && dynamic_cast<CBooleanBaseNode*>(first))
    {
        return {false, false};
    }
    if (m_Children.size() < 2)
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CBooleanCalcBinaryNode::Calculate"},
                                     "An %s must have at least two terms.", type.c_str());
    }
    for (auto term = m_Children.begin() + 1; succeeded && term != m_Children.end(); ++term)
    {
        const auto [termSucceeded, termValue] = CalculateTerm(*term);
        succeeded = termSucceeded;
        value = m_Operator(value, termValue);
    }
    if (!succeeded)
    {
        ThrowFormatted<ZKRunTimeException>("%s: calculation failed.", type.c_str());
    }
    m_Value = value;
    LogTrace(" - %s (operator=\"%s\") value=%u.", type.c_str(), word, m_Value ? 1U : 0U);
    FlushOutput(true);
    return {true, m_Value};
}
