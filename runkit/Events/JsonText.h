#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Appends to a text that somebody else owns, as the output stream of the JSON library. What was appended counts when
/// `Finish` is called; else, when an exception came in between, the text is as it was.
class CTextStream
{
public:
    using Ch = char;

    explicit CTextStream(std::string& text)
        : m_Text(text)
        , m_Kept(text.size())
        , m_At(text.data() + m_Kept)
        , m_End(m_At)
    {
    }
    ~CTextStream() { m_Text.resize(m_Kept); }
    CTextStream(const CTextStream&) = delete;
    CTextStream& operator=(const CTextStream&) = delete;

    void Finish() { m_Kept = Size(); }

    /// Room for `count` characters that `PutUnsafe` puts.
    void Reserve(std::size_t count)
    {
        if (count > static_cast<std::size_t>(m_End - m_At))
        {
            Grow(count);
        }
    }
    void PutUnsafe(char character) { *m_At++ = character; }
    void Put(char character)
    {
        Reserve(1);
        PutUnsafe(character);
    }
    void Append(std::string_view text)
    {
        Reserve(text.size());
        m_At = std::copy(text.begin(), text.end(), m_At);
    }
    /// Appends `text` as the inside of a JSON string. Bytes that are not UTF-8 become U+FFFD; control characters (C0,
    /// DEL, C1), line and paragraph separators and what turns the direction of writing are escaped, so that a terminal
    /// or an editor that shows the JSON takes no harm. The value stays the same.
    void AppendEscaped(std::string_view text);
    void Flush() {}

private:
    std::size_t Size() const { return static_cast<std::size_t>(m_At - m_Text.data()); }
    void Grow(std::size_t count);
    void AppendEscape(char32_t value);

    std::string& m_Text;
    std::size_t m_Kept;
    char* m_At; ///< the text is longer than what was put, up to `m_End`
    char* m_End;
};

// What the JSON library calls instead of `Put` when it knows how many characters come.
inline void PutReserve(CTextStream& stream, std::size_t count)
{
    stream.Reserve(count);
}
inline void PutUnsafe(CTextStream& stream, char character)
{
    stream.PutUnsafe(character);
}

/// A time in a record, ISO 8601 in UTC with milliseconds: "2026-11-22T05:13:04.250Z".
using TTimeText = std::array<char, 24>;
TTimeText TimeText(std::chrono::system_clock::time_point time);
std::optional<std::chrono::system_clock::time_point> TimeOf(std::string_view text);
