#include <Orvanta/NumericValueNode.h>

#include <CoreKit/Exceptions.h>
#include <HostKit/Logger.h>

#include <cctype>
#include <charconv>
#include <string_view>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/NumericValueNode";

std::optional<std::uint64_t> ReadNumber(std::string_view text)
{
    const bool isHexadecimal = text.size() >= 2 && (text[1] == 'x' || text[1] == 'X');
    const std::string_view digits = isHexadecimal ? text.substr(2) : text;
    std::uint64_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, isHexadecimal ? 16 : 10);
    const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> ReadWord(const char* text)
{
    const QString word = QString::fromUtf8(text).toLower();
    if (word == QLatin1String("true"))
    {
        return 1;
    }
    if (word == QLatin1String("false") || word == QLatin1String("null"))
    {
        return 0;
    }
    return std::nullopt;
}
} // namespace

CNumericValueNode::CNumericValueNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNumericBaseNode(node, parent, level)
{
}

bool CNumericValueNode::DoDiagOnly()
{
    return true;
}

std::optional<std::uint64_t> CNumericValueNode::ReadLiteral(const char* text)
{
    return std::isdigit(static_cast<unsigned char>(*text)) != 0 ? ReadNumber(text) : ReadWord(text);
}

std::uint64_t CNumericValueNode::ReadValue(const char* text) const
{
    if (*text == '\0')
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CNumericValueNode::Calculate"},
                                     "%s element missing required attribute %s.", TypeName().c_str(), "value");
    }
    if (*text == '$')
    {
        return GetVariable(QString::fromUtf8(text)).View<std::uint64_t>();
    }
    const std::optional<std::uint64_t> value = ReadLiteral(text);
    if (!value)
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CNumericValueNode::Calculate"},
                                     "Invalid value for %s/@%s: %s", TypeName().c_str(), "value", text);
    }
    return *value;
}

std::pair<bool, std::uint64_t> CNumericValueNode::Calculate()
{
    const char* const text = Attribute(QStringLiteral("value"));
    m_Value = ReadValue(text);
    const unsigned long long value = m_Value;
    LogTrace(" - In %s: value attribute string=\"%s\", value = %llu (0x%llX)", TypeName().c_str(), text, value, value);
    FlushOutput(true);
    return {true, m_Value};
}
