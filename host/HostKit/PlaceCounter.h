#pragma once

#include <HostKit/DOMParser.h>

#include <cstddef>
#include <string_view>

/// The place of an offset in UTF-8 text. Places are asked for front to back.
class CPlaceCounter
{
public:
    explicit CPlaceCounter(std::string_view text)
        : m_Text(text)
    {
    }

    SElementPlace PlaceOf(std::size_t offset)
    {
        for (; m_Counted < offset; ++m_Counted)
        {
            const char c = m_Text[m_Counted];
            const bool isBeforeLineFeed = m_Counted + 1 < m_Text.size() && m_Text[m_Counted + 1] == '\n';
            const bool endsLine = c == '\n' || (c == '\r' && !isBeforeLineFeed);
            const bool continuesCharacter = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
            m_Place.line += endsLine ? 1 : 0;
            m_Place.column = endsLine ? 1 : m_Place.column + (continuesCharacter ? 0 : 1);
        }
        return m_Place;
    }

private:
    std::string_view m_Text;
    std::size_t m_Counted = 0;
    SElementPlace m_Place{1, 1};
};
