#include "PlaceTable.h"

#include <algorithm>
#include <iterator>

namespace
{
/// How many columns a byte takes: none when it continues a character.
constexpr std::uint64_t Width(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U ? 0 : 1;
}

/// Whether a line ends behind the byte at an offset: at "\n", "\r\n" and a lone "\r".
bool EndsLine(std::string_view text, std::size_t at)
{
    return text[at] == '\n' || (text[at] == '\r' && (at + 1 == text.size() || text[at + 1] != '\n'));
}
} // namespace

CPlaceTable::CPlaceTable(std::string_view text)
    : m_Text(text)
{
    constexpr std::size_t MAX_DISTANCE = 512;
    SElementPlace place{1, 1};
    m_Marks.push_back({0, place});
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        const bool endsLine = EndsLine(text, at);
        place = endsLine ? SElementPlace{place.line + 1, 1} : SElementPlace{place.line, place.column + Width(text[at])};
        if (endsLine || at + 1 - m_Marks.back().offset == MAX_DISTANCE)
        {
            m_Marks.push_back({at + 1, place});
        }
    }
}

SElementPlace CPlaceTable::PlaceOf(std::size_t offset) const
{
    const SMark& mark =
        *std::prev(std::upper_bound(m_Marks.begin(), m_Marks.end(), offset,
                                    [](std::size_t wanted, const SMark& row) { return wanted < row.offset; }));
    SElementPlace place = mark.place;
    for (std::size_t at = mark.offset; at < offset; ++at)
    {
        place.column += Width(m_Text[at]);
    }
    return place;
}
