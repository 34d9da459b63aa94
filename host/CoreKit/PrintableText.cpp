#include <CoreKit/PrintableText.h>

#include <CoreKit/Format.h>

#include <array>
#include <cstddef>
#include <optional>

namespace
{
struct SCharacter
{
    std::size_t length; ///< bytes
    unsigned code;
};

/// How many bytes a character takes that begins with this one; 0 when none does.
std::size_t LengthBehind(unsigned lead)
{
    if (lead < 0x80)
    {
        return 1;
    }
    return lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
}

/// The character that a text begins with; none when its first byte belongs to no UTF-8.
std::optional<SCharacter> FirstCharacter(std::string_view text)
{
    const auto byte = [&](std::size_t index) -> unsigned { return static_cast<unsigned char>(text[index]); };
    const std::size_t length = LengthBehind(byte(0));
    if (length == 0 || length > text.size())
    {
        return std::nullopt;
    }
    unsigned code = length == 1 ? byte(0) : byte(0) & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index)
    {
        if ((byte(index) & 0xC0U) != 0x80)
        {
            return std::nullopt;
        }
        code = code << 6U | (byte(index) & 0x3FU);
    }
    constexpr std::array<unsigned, 5> LEAST{0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    const bool isCharacter = code >= LEAST.at(length) && code <= 0x10FFFF && !isSurrogate;
    return isCharacter ? std::optional(SCharacter{length, code}) : std::nullopt;
}

bool IsControl(unsigned code)
{
    const auto within = [code](unsigned first, unsigned last) { return code >= first && code <= last; };
    return (code < 0x20 && code != '\t' && code != '\n') || within(0x7F, 0x9F) || code == 0x061C ||
        within(0x200E, 0x200F) || within(0x202A, 0x202E) || within(0x2066, 0x2069);
}

/// What is shown for the first character of a text, or for a byte that is none; empty when it may stand as it is.
std::string FormOf(char first, const std::optional<SCharacter>& character, bool isLine)
{
    if (isLine && first == '\n')
    {
        return "\\n";
    }
    if (character && !IsControl(character->code))
    {
        return {};
    }
    const unsigned byte = static_cast<unsigned char>(first);
    return std::string(character && character->length > 1 ? FormatText("\\u%04X", character->code)
                                                          : FormatText("\\x%02X", byte));
}

/// Whether a text would read as one of the forms with a backslash in front.
bool ReadsAsForm(std::string_view text, bool isLine)
{
    const auto hasDigits = [text](std::size_t count)
    {
        const std::string_view digits = text.substr(1, count);
        return digits.size() == count && digits.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
    };
    return (text.front() == 'x' && hasDigits(2)) || (text.front() == 'u' && hasDigits(4)) ||
        (isLine && text.front() == 'n');
}

std::string Shown(std::string_view text, bool isLine)
{
    std::string shown;
    shown.reserve(text.size());
    std::size_t backslashes = 0; ///< right in front
    while (!text.empty())
    {
        const std::optional<SCharacter> character = FirstCharacter(text);
        const std::string form = FormOf(text.front(), character, isLine);
        if (backslashes > 0 && (!form.empty() || ReadsAsForm(text, isLine)))
        {
            shown.append(backslashes, '\\');
        }
        backslashes = text.front() == '\\' ? backslashes + 1 : 0;
        const std::size_t length = character ? character->length : 1;
        shown += form.empty() ? text.substr(0, length) : form;
        text.remove_prefix(length);
    }
    return shown;
}
} // namespace

std::string PrintableText(std::string_view text)
{
    return Shown(text, false);
}

std::string PrintableLine(std::string_view text)
{
    return Shown(text, true);
}

std::string PrintableJson(std::string_view json)
{
    std::string shown;
    shown.reserve(json.size());
    while (!json.empty())
    {
        const std::optional<SCharacter> character = FirstCharacter(json);
        const std::size_t length = character ? character->length : 1;
        if (character && IsControl(character->code))
        {
            shown += FormatText("\\u%04X", character->code);
        }
        else
        {
            shown += json.substr(0, length);
        }
        json.remove_prefix(length);
    }
    return shown;
}
