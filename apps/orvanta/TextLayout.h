#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <clocale>

/// While it lives, characters are UTF-8, as all text is, whatever the user's settings.
class CUtf8Locale
{
public:
    CUtf8Locale();
    ~CUtf8Locale();
    CUtf8Locale(const CUtf8Locale&) = delete;
    CUtf8Locale& operator=(const CUtf8Locale&) = delete;

private:
    locale_t m_Locale;
    locale_t m_Before;
};

/// The text with its lines broken between words, so that they fit into so many columns; its own line ends stay, and
/// what is broken off is indented like its line. A word that is wider has a line of its own, which the terminal breaks.
std::string Wrapped(std::string_view text, std::size_t width);

/// The begin of a line, as much as fits into so many columns.
std::string CutToColumns(std::string_view text, std::size_t width);

/// The text with its further lines moved in together where one of them begins left of that column, so that none looks
/// like a text of its own.
std::string MovedIn(std::string_view text, std::size_t indent);
