#include "JsonRow.h"

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>

#include <QChar>

#include <bit>
#include <cmath>
#include <string_view>
#include <utility>

namespace
{
/// The character at the begin of a text in well-formed UTF-8 and its length in bytes.
std::pair<char32_t, std::size_t> FirstOf(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
    {
        return {lead, 1};
    }
    const auto length = static_cast<std::size_t>(std::countl_one(lead));
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        character = (character << 6U) | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    return {character, length};
}

bool IsInvisible(char32_t character)
{
    // Letters, marks and symbols by category: the combining joiner, fillers, inherent vowels, the blank of Braille.
    static constexpr std::u32string_view BLANKS = U"\u034F\u115F\u1160\u17B4\u17B5\u2800\u3164\uFFA0";
    const QChar::Category category = QChar::category(character);
    return category == QChar::Other_Format || category == QChar::Separator_Line ||
        category == QChar::Separator_Paragraph || BLANKS.find(character) != std::u32string_view::npos;
}
} // namespace

std::string VisibleText(std::string_view text)
{
    const std::string printable = PrintableText(text);
    std::string visible;
    visible.reserve(printable.size());
    std::size_t backslashes = 0; ///< right in front
    for (std::string_view rest = printable; !rest.empty();)
    {
        const auto [character, length] = FirstOf(rest);
        if (character >= 0x80 && IsInvisible(character))
        {
            visible.append(backslashes, '\\');
            visible += FormatText("\\u%04X", static_cast<unsigned>(character));
        }
        else
        {
            visible += rest.substr(0, length);
        }
        backslashes = character == '\\' ? backslashes + 1 : 0;
        rest.remove_prefix(length);
    }
    return visible;
}

std::string CJsonRow::Text() const
{
    std::string text;
    text.reserve(m_Buffer.GetSize());
    for (const char c : std::string_view(m_Buffer.GetString(), m_Buffer.GetSize()))
    {
        // They stand in strings only, and the parser of a page looks for them there too.
        c == '<' || c == '>' || c == '&' ? text += FormatText("\\u%04x", static_cast<unsigned>(c)) : text += c;
    }
    return text;
}

void CJsonRow::Add(double value)
{
    std::isfinite(value) ? m_Writer.Double(value) : m_Writer.Null();
}

void CJsonRow::Add(std::string_view text)
{
    const std::string visible = VisibleText(text);
    m_Writer.String(visible.data(), static_cast<rapidjson::SizeType>(visible.size()));
}
