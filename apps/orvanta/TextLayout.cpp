#include "TextLayout.h"

#include <algorithm>
#include <cwchar>

namespace
{
/// A character at the begin of a text.
struct SStep
{
    std::size_t bytes;
    std::size_t column; ///< where the cursor is behind it
};

SStep StepOver(std::string_view text, std::size_t column)
{
    constexpr std::size_t TAB = 8;
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t used = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (used == 0 || used > text.size())
    {
        return {1, column + 1}; // no UTF-8: a column a byte
    }
    const int columns = wcwidth(character);
    return {used,
            character == L'\t' ? (column / TAB + 1) * TAB : column + static_cast<std::size_t>(std::max(columns, 0))};
}

/// Where the cursor is behind a text that begins in a column.
std::size_t ColumnBehind(std::string_view text, std::size_t column)
{
    while (!text.empty())
    {
        const SStep step = StepOver(text, column);
        column = step.column;
        text.remove_prefix(step.bytes);
    }
    return column;
}
} // namespace

CUtf8Locale::CUtf8Locale()
    : m_Locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
    , m_Before(uselocale(m_Locale))
{
}

CUtf8Locale::~CUtf8Locale()
{
    uselocale(m_Before);
    if (m_Locale)
    {
        freelocale(m_Locale);
    }
}

std::string Wrapped(std::string_view text, std::size_t width)
{
    const CUtf8Locale locale;
    std::string wrapped;
    std::string_view indent;
    std::size_t column = 0;
    for (std::size_t at = 0; at < text.size();)
    {
        if (text[at] == '\n')
        {
            wrapped += text[at++];
            column = 0;
            continue;
        }
        const std::size_t word = std::min(text.find_first_not_of(" \t", at), text.size());
        const std::size_t end = std::min(text.find_first_of(" \t\n", word), text.size());
        std::string_view piece = text.substr(at, end - at);
        at = end;
        if (word == end)
        {
            continue; // blanks that nothing follows
        }
        if (column == 0)
        {
            indent = piece.substr(0, piece.size() - (end - word));
        }
        else if (ColumnBehind(piece, column) > width)
        {
            wrapped.append("\n").append(indent);
            column = ColumnBehind(indent, 0);
            piece = text.substr(word, end - word);
        }
        wrapped += piece;
        column = ColumnBehind(piece, column);
        column = column > width ? column % width : column;
    }
    return wrapped;
}

std::string CutToColumns(std::string_view text, std::size_t width)
{
    const CUtf8Locale locale;
    std::size_t kept = 0;
    for (std::size_t column = 0; kept < text.size();)
    {
        const SStep step = StepOver(text.substr(kept), column);
        if (step.column > width)
        {
            break;
        }
        kept += step.bytes;
        column = step.column;
    }
    return std::string(text.substr(0, kept));
}

std::string MovedIn(std::string_view text, std::size_t indent)
{
    std::size_t least = indent;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', end + 1))
    {
        const std::size_t begin = text.find_first_not_of(' ', end + 1);
        least = begin == std::string_view::npos || text[begin] == '\n' ? least : std::min(least, begin - end - 1);
    }
    std::string moved;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        moved += text[i];
        const bool isLineBegin = text[i] == '\n' && i + 1 < text.size() && text[i + 1] != '\n';
        moved.append(isLineBegin ? indent - least : 0, ' ');
    }
    return moved;
}
