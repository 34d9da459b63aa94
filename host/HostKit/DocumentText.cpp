#include <HostKit/DocumentText.h>

#include "PlaceTable.h"

#include <CoreKit/Format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <string_view>

namespace
{
enum class EFamily
{
    Bytes, ///< UTF-8 or one byte a character: the declaration decides
    Utf8,  ///< certainly UTF-8
    Utf16,
    Utf32,
    Ascii,
    Latin1,
};

/// How the units of a document are laid out.
struct SLayout
{
    EFamily family;
    bool bigEndian;
    const char* name;
};

/// A layout and the first bytes that tell it.
struct SSignature
{
    std::string_view bytes;
    bool isMark; ///< a byte order mark, which is no part of the text
    SLayout layout;
};

using namespace std::string_view_literals;

constexpr std::array SIGNATURES{
    SSignature{"\xEF\xBB\xBF"sv, true, {EFamily::Utf8, false, "UTF-8"}},
    SSignature{"\xFF\xFE\0\0"sv, true, {EFamily::Utf32, false, "UTF-32 (little-endian)"}},
    SSignature{"\0\0\xFE\xFF"sv, true, {EFamily::Utf32, true, "UTF-32 (big-endian)"}},
    SSignature{"\xFF\xFE"sv, true, {EFamily::Utf16, false, "UTF-16 (little-endian)"}},
    SSignature{"\xFE\xFF"sv, true, {EFamily::Utf16, true, "UTF-16 (big-endian)"}},
    SSignature{"<\0\0\0"sv, false, {EFamily::Utf32, false, "UTF-32 (little-endian)"}},
    SSignature{"\0\0\0<"sv, false, {EFamily::Utf32, true, "UTF-32 (big-endian)"}},
    SSignature{"<\0"sv, false, {EFamily::Utf16, false, "UTF-16 (little-endian)"}},
    SSignature{"\0<"sv, false, {EFamily::Utf16, true, "UTF-16 (big-endian)"}},
    SSignature{""sv, false, {EFamily::Bytes, false, "neither UTF-16 nor UTF-32"}},
};

/// A name that an XML declaration may give, in capitals.
struct SDeclaredName
{
    std::string_view name;
    EFamily family;
    int bigEndian; ///< -1: either
};

constexpr std::array DECLARED_NAMES{
    SDeclaredName{"UTF-8"sv, EFamily::Utf8, -1},        SDeclaredName{"UTF8"sv, EFamily::Utf8, -1},
    SDeclaredName{"UTF-16"sv, EFamily::Utf16, -1},      SDeclaredName{"UTF-16LE"sv, EFamily::Utf16, 0},
    SDeclaredName{"UTF-16BE"sv, EFamily::Utf16, 1},     SDeclaredName{"UTF-32"sv, EFamily::Utf32, -1},
    SDeclaredName{"UTF-32LE"sv, EFamily::Utf32, 0},     SDeclaredName{"UTF-32BE"sv, EFamily::Utf32, 1},
    SDeclaredName{"US-ASCII"sv, EFamily::Ascii, -1},    SDeclaredName{"ASCII"sv, EFamily::Ascii, -1},
    SDeclaredName{"ISO-8859-1"sv, EFamily::Latin1, -1}, SDeclaredName{"ISO8859-1"sv, EFamily::Latin1, -1},
    SDeclaredName{"ISO_8859-1"sv, EFamily::Latin1, -1}, SDeclaredName{"ISO-LATIN-1"sv, EFamily::Latin1, -1},
    SDeclaredName{"LATIN-1"sv, EFamily::Latin1, -1},    SDeclaredName{"LATIN1"sv, EFamily::Latin1, -1},
    SDeclaredName{"L1"sv, EFamily::Latin1, -1},         SDeclaredName{"IBM819"sv, EFamily::Latin1, -1},
    SDeclaredName{"CP819"sv, EFamily::Latin1, -1},      SDeclaredName{"ISO-IR-100"sv, EFamily::Latin1, -1},
};

constexpr const char* ADVICE = "save the file as UTF-8";

std::string_view View(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

SDocumentText Problem(const CSafeString& problem, SElementPlace place)
{
    return {QByteArray(), problem.c_str(), place};
}

/// A problem behind the last character that could be read.
SDocumentText ProblemAfter(const QByteArray& text, const CSafeString& problem)
{
    const std::string_view read = View(text);
    return Problem(problem, CPlaceTable(read).PlaceOf(read.size()));
}

void Append(QByteArray& text, std::uint32_t character)
{
    if (character < 0x80)
    {
        text.append(static_cast<char>(character));
        return;
    }
    const int following = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::uint32_t LEADS[] = {0, 0xC0, 0xE0, 0xF0};
    text.append(static_cast<char>(LEADS[following] | (character >> (6 * following))));
    for (int shift = 6 * (following - 1); shift >= 0; shift -= 6)
    {
        text.append(static_cast<char>(0x80U | ((character >> shift) & 0x3FU)));
    }
}

/// The number made of `size` bytes.
std::uint32_t UnitAt(std::string_view bytes, std::size_t size, bool bigEndian)
{
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < size; ++i)
    {
        unit = (unit << 8U) | static_cast<unsigned char>(bytes[bigEndian ? i : size - 1 - i]);
    }
    return unit;
}

constexpr bool IsSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

/// UTF-16 and UTF-32.
SDocumentText FromWideUnits(std::string_view bytes, const SLayout& layout)
{
    const std::size_t size = layout.family == EFamily::Utf16 ? 2 : 4;
    SDocumentText result;
    for (; bytes.size() >= size; bytes.remove_prefix(size))
    {
        std::uint32_t character = UnitAt(bytes, size, layout.bigEndian);
        if (size == 2 && character >= 0xD800 && character <= 0xDBFF && bytes.size() >= 4)
        {
            const std::uint32_t low = UnitAt(bytes.substr(2), size, layout.bigEndian);
            if (low >= 0xDC00 && low <= 0xDFFF)
            {
                character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
                bytes.remove_prefix(size);
            }
        }
        if (IsSurrogate(character) || character > 0x10FFFF)
        {
            return ProblemAfter(result.utf8,
                                FormatText("0x%X is no character of %s; %s", character, layout.name, ADVICE));
        }
        Append(result.utf8, character);
    }
    return bytes.empty() ? result
                         : ProblemAfter(result.utf8,
                                        FormatText("the file ends within a character of %s; it was cut "
                                                   "off, or is not %s",
                                                   layout.name, layout.name));
}

SDocumentText FromLatin1(std::string_view bytes)
{
    SDocumentText result;
    for (const char byte : bytes)
    {
        Append(result.utf8, static_cast<unsigned char>(byte));
    }
    return result;
}

/// How many bytes the valid character at the front has; 0 when there is none.
std::size_t Utf8Length(std::string_view bytes)
{
    const auto byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
    {
        return 1;
    }
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || bytes.size() < length)
    {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0U) != 0x80U)
        {
            return 0;
        }
    }
    const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool noCharacter = (lead == 0xED && byte(1) >= 0xA0) || (lead == 0xF4 && byte(1) >= 0x90);
    return overlong || noCharacter ? 0 : length;
}

/// Shares the text that is good as it stands.
SDocumentText FromUtf8(const QByteArray& text, bool asciiOnly)
{
    const std::string_view bytes = View(text);
    std::size_t at = 0;
    while (at < bytes.size())
    {
        const std::size_t length = Utf8Length(bytes.substr(at));
        if (length == 0 || (asciiOnly && length > 1))
        {
            return Problem(FormatText("the byte 0x%02X is not %s here; %s", static_cast<unsigned char>(bytes[at]),
                                      asciiOnly ? "US-ASCII" : "UTF-8", ADVICE),
                           CPlaceTable(bytes).PlaceOf(at));
        }
        at += length;
    }
    return {text, {}, {}};
}

/// Where the name of the encoding stands in an XML declaration; empty when there is none.
std::string_view DeclaredEncoding(std::string_view text)
{
    constexpr std::string_view BLANKS = " \t\r\n";
    if (!text.starts_with("<?xml") || text.size() < 6 || BLANKS.find(text[5]) == std::string_view::npos)
    {
        return {};
    }
    text = text.substr(0, text.find("?>"));
    constexpr std::string_view KEY = "encoding";
    const std::size_t key = text.find(KEY, 6);
    const std::size_t sign = key == std::string_view::npos ? key : text.find_first_not_of(BLANKS, key + KEY.size());
    if (sign == std::string_view::npos || text[sign] != '=')
    {
        return {};
    }
    const std::size_t quote = text.find_first_not_of(BLANKS, sign + 1);
    if (quote == std::string_view::npos || (text[quote] != '"' && text[quote] != '\''))
    {
        return {};
    }
    const std::size_t end = text.find(text[quote], quote + 1);
    return end == std::string_view::npos ? std::string_view() : text.substr(quote + 1, end - quote - 1);
}

const SDeclaredName* FindName(std::string_view name)
{
    std::string upper(name);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const auto* const found = std::find_if(DECLARED_NAMES.begin(), DECLARED_NAMES.end(),
                                           [&](const SDeclaredName& row) { return row.name == upper; });
    return found == DECLARED_NAMES.end() ? nullptr : found;
}

/// Whether the declared encoding can be that of a document laid out so.
bool Agrees(const SDeclaredName& declared, const SLayout& layout)
{
    if (layout.family == EFamily::Bytes)
    {
        return declared.family != EFamily::Utf16 && declared.family != EFamily::Utf32;
    }
    return declared.family == layout.family &&
        (declared.bigEndian < 0 || (declared.bigEndian == 1) == layout.bigEndian);
}

/// Reads bytes whose layout is known; `declared` is null without a declaration.
SDocumentText Convert(const QByteArray& text, const SLayout& layout, const SDeclaredName* declared)
{
    const std::string_view bytes = View(text);
    if (layout.family == EFamily::Utf16 || layout.family == EFamily::Utf32)
    {
        return FromWideUnits(bytes, layout);
    }
    const EFamily family = declared ? declared->family : EFamily::Utf8;
    return family == EFamily::Latin1 ? FromLatin1(bytes) : FromUtf8(text, family == EFamily::Ascii);
}

/// The start of a document, up to the end of an XML declaration, as text in which only ASCII counts.
std::string Prologue(std::string_view bytes, const SLayout& layout)
{
    constexpr std::size_t MAX_UNITS = 1024;
    const std::size_t size = layout.family == EFamily::Utf16 ? 2 : layout.family == EFamily::Utf32 ? 4 : 1;
    std::string text;
    for (; bytes.size() >= size && text.size() < MAX_UNITS && !text.ends_with('>'); bytes.remove_prefix(size))
    {
        const std::uint32_t unit = UnitAt(bytes, size, layout.bigEndian);
        text += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return text;
}
} // namespace

SDocumentText ToDocumentText(const QByteArray& bytes)
{
    const SSignature& signature =
        *std::find_if(SIGNATURES.begin(), SIGNATURES.end(),
                      [&](const SSignature& row) { return View(bytes).starts_with(row.bytes); });
    const QByteArray rest = bytes.mid(signature.isMark ? static_cast<qsizetype>(signature.bytes.size()) : 0);

    const std::string prologue = Prologue(View(rest), signature.layout);
    const std::string_view encoding = DeclaredEncoding(prologue);
    const SDeclaredName* const declared = FindName(encoding);
    if (!encoding.empty() && !(declared && Agrees(*declared, signature.layout)))
    {
        const std::string name(encoding);
        const SElementPlace place =
            CPlaceTable(prologue).PlaceOf(static_cast<std::size_t>(encoding.data() - prologue.data()));
        return Problem(
            declared ? FormatText("the encoding \"%s\" is declared, but the file is %s; %s and declare that",
                                  name.c_str(), signature.layout.name, ADVICE)
                     : FormatText("the encoding \"%s\" is not supported; %s and declare that", name.c_str(), ADVICE),
            place);
    }
    SDocumentText text = Convert(rest, signature.layout, declared);
    const qsizetype nul = text.utf8.indexOf('\0');
    if (text.problem.empty() && nul >= 0)
    {
        return ProblemAfter(text.utf8.left(nul), FormatText("a NUL character is not allowed; %s", ADVICE));
    }
    return text;
}
