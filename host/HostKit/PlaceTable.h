#pragma once

#include <HostKit/DOMError.h>

#include <cstddef>
#include <string_view>
#include <vector>

/// Tells the places of offsets in UTF-8 text, in any order, from one table of where lines begin. A long line has more
/// entries, so that a file of one line is as quick. The text outlives the table.
class CPlaceTable
{
public:
    explicit CPlaceTable(std::string_view text);

    /// Line, and column in characters.
    SElementPlace PlaceOf(std::size_t offset) const;

private:
    struct SMark
    {
        std::size_t offset;
        SElementPlace place;
    };

    std::string_view m_Text;
    std::vector<SMark> m_Marks; ///< by offset; between two there is no line end
};
