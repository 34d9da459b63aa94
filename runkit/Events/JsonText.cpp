#include "JsonText.h"

#include <CoreKit/Time.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace
{
constexpr char32_t REPLACEMENT = 0xFFFD;

/// A character and how many bytes it takes up; for bytes that are not UTF-8 a replacement, and as many of them as could
/// have begun a character.
struct SCharacter
{
    char32_t value;
    std::size_t length;
};

constexpr bool IsPlain(unsigned char byte)
{
    return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
}

/// The bytes of `word` that are zero have their highest bit set in the result, and only bytes above one of these may
/// have it set besides.
constexpr std::uint64_t ZeroBytes(std::uint64_t word)
{
    return (word - 0x0101010101010101) & ~word & 0x8080808080808080;
}

bool AreEightPlain(const char* text)
{
    std::uint64_t word = 0;
    std::memcpy(&word, text, sizeof word);
    const std::uint64_t below32 = (word - 0x2020202020202020) & ~word;
    return ((word | below32) & 0x8080808080808080) == 0 &&
        (ZeroBytes(word ^ 0x2222222222222222) | ZeroBytes(word ^ 0x5C5C5C5C5C5C5C5C) |
         ZeroBytes(word ^ 0x7F7F7F7F7F7F7F7F)) == 0;
}

/// Where the first character stands that must be looked at.
const char* SkipPlain(const char* text, const char* end)
{
    while (end - text >= 8 && AreEightPlain(text))
    {
        text += 8;
    }
    return std::find_if_not(text, end, [](char byte) { return IsPlain(static_cast<unsigned char>(byte)); });
}

/// How many bytes a character takes up that begins with `lead`, and between which bytes its second lies; 0 for a byte
/// that begins none.
struct SLead
{
    std::size_t length;
    unsigned char least = 0x80;
    unsigned char most = 0xBF;
};

constexpr SLead LeadOf(unsigned char lead)
{
    if (lead < 0x80)
    {
        return {1};
    }
    if (lead < 0xC2 || lead > 0xF4)
    {
        return {0};
    }
    if (lead < 0xE0)
    {
        return {2};
    }
    const unsigned char least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return {lead < 0xF0 ? std::size_t{3} : std::size_t{4}, least, most};
}

SCharacter CharacterAt(const char* text, const char* end)
{
    const auto first = static_cast<unsigned char>(*text);
    const SLead lead = LeadOf(first);
    if (lead.length == 0)
    {
        return {REPLACEMENT, 1};
    }
    char32_t value = lead.length == 1 ? first : first & (0x7FU >> lead.length);
    for (std::size_t i = 1; i < lead.length; ++i)
    {
        const auto byte = static_cast<unsigned char>(text + i < end ? text[i] : '\0');
        if (byte < (i == 1 ? lead.least : 0x80) || byte > (i == 1 ? lead.most : 0xBF))
        {
            return {REPLACEMENT, i};
        }
        value = (value << 6) | (byte & 0x3FU);
    }
    return {value, lead.length};
}

constexpr bool IsEscaped(char32_t value)
{
    return value < 0x20 || value == '"' || value == '\\' || (value >= 0x7F && value <= 0x9F) || value == 0x061C ||
        value == 0x200E || value == 0x200F || (value >= 0x2028 && value <= 0x202E) ||
        (value >= 0x2066 && value <= 0x2069);
}

/// A number in the text of a time: where its digits stand, and between which values it lies.
struct STimePart
{
    std::size_t begin;
    std::size_t length;
    int least;
    int most;
};

constexpr std::string_view TIME_FORM = "0000-00-00T00:00:00.000Z";
/// Year to millisecond; the clock counts nanoseconds and knows no years beyond these.
constexpr std::array<STimePart, 7> TIME_PARTS = {{{0, 4, 1678, 2261},
                                                  {5, 2, 1, 12},
                                                  {8, 2, 1, 31},
                                                  {11, 2, 0, 23},
                                                  {14, 2, 0, 59},
                                                  {17, 2, 0, 59},
                                                  {20, 3, 0, 999}}};
} // namespace

void CTextStream::Grow(std::size_t count)
{
    constexpr std::size_t LEAST = 256;
    const std::size_t size = Size();
    m_Text.resize(size + std::max({count, LEAST, size - m_Kept}));
    m_At = m_Text.data() + size;
    m_End = m_Text.data() + m_Text.size();
}

void CTextStream::AppendEscaped(std::string_view text)
{
    const char* const end = text.data() + text.size();
    const char* kept = text.data();
    for (const char* at = SkipPlain(kept, end); at != end; at = SkipPlain(at, end))
    {
        const SCharacter character = CharacterAt(at, end);
        if (character.value == REPLACEMENT || IsEscaped(character.value))
        {
            Append({kept, static_cast<std::size_t>(at - kept)});
            AppendEscape(character.value);
            kept = at + character.length;
        }
        at += character.length;
    }
    Append({kept, static_cast<std::size_t>(end - kept)});
}

void CTextStream::AppendEscape(char32_t value)
{
    if (value == REPLACEMENT)
    {
        Append("\xEF\xBF\xBD");
        return;
    }
    constexpr std::string_view SHORT = "\"\"\\\\\bb\ff\nn\rr\tt";
    for (std::size_t i = 0; i < SHORT.size(); i += 2)
    {
        if (value == static_cast<char32_t>(SHORT[i]))
        {
            Put('\\');
            Put(SHORT[i + 1]);
            return;
        }
    }
    Append("\\u");
    for (int shift = 12; shift >= 0; shift -= 4)
    {
        Put("0123456789abcdef"[(value >> shift) & 0xF]);
    }
}

TTimeText TimeText(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    static thread_local sys_seconds lastSecond = sys_seconds::min();
    static thread_local TTimeText lastText{};
    const auto milliseconds = floor<std::chrono::milliseconds>(time);
    const auto second = floor<seconds>(milliseconds);
    if (second != lastSecond)
    {
        std::string_view(MakeUtcTimeString(second)).copy(lastText.data(), lastText.size());
        lastSecond = second;
    }
    const auto rest = static_cast<int>((milliseconds - second).count());
    TTimeText text = lastText;
    text[20] = static_cast<char>('0' + rest / 100);
    text[21] = static_cast<char>('0' + rest / 10 % 10);
    text[22] = static_cast<char>('0' + rest % 10);
    return text;
}

std::optional<std::chrono::system_clock::time_point> TimeOf(std::string_view text)
{
    using namespace std::chrono;
    const auto fits = [](char form, char actual)
    { return form == '0' ? actual >= '0' && actual <= '9' : actual == form; };
    if (!std::equal(TIME_FORM.begin(), TIME_FORM.end(), text.begin(), text.end(), fits))
    {
        return std::nullopt;
    }
    std::array<int, TIME_PARTS.size()> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        const STimePart& part = TIME_PARTS[i];
        const char* const begin = text.data() + part.begin;
        std::from_chars(begin, begin + part.length, numbers[i]);
        if (numbers[i] < part.least || numbers[i] > part.most)
        {
            return std::nullopt;
        }
    }
    const auto& [year, month, day, hour, minute, second, rest] = numbers;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    return date.ok() ? std::optional(sys_days(date) + hours(hour) + minutes(minute) + seconds(second) +
                                     milliseconds(rest) + system_clock::duration{})
                     : std::nullopt;
}
