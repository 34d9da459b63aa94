#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A text as a page may show it: `PrintableText`, with the number in place of every other character that has no look of
/// its own as well (zero-width and soft hyphens, marks of order, separators of lines and paragraphs, fillers).
std::string VisibleText(std::string_view text);

/// One array of JSON values that may stand in a script block of a page: no text in it ends the block, and every text is
/// a `VisibleText`. Numbers that are not finite become null.
class CJsonRow
{
public:
    template <class... T>
    explicit CJsonRow(const T&... values)
        : m_Writer(m_Buffer)
    {
        m_Writer.StartArray();
        (Add(values), ...);
        m_Writer.EndArray();
    }

    std::string Text() const;

private:
    void Add(bool value) { m_Writer.Bool(value); }
    void Add(std::uint32_t value) { m_Writer.Uint(value); }
    void Add(std::int64_t value) { m_Writer.Int64(value); }
    void Add(std::uint64_t value) { m_Writer.Uint64(value); }
    void Add(double value);
    void Add(std::string_view text);
    void Add(const std::string& text) { Add(std::string_view(text)); }
    void Add(const char* text) { Add(std::string_view(text)); }

    template <class T>
    void Add(const std::optional<T>& value)
    {
        value ? Add(*value) : static_cast<void>(m_Writer.Null());
    }
    template <class First, class Second>
    void Add(const std::pair<First, Second>& pair)
    {
        m_Writer.StartArray();
        Add(pair.first);
        Add(pair.second);
        m_Writer.EndArray();
    }
    template <class T>
    void Add(const std::vector<T>& values)
    {
        AddAll(values);
    }
    template <class T, std::size_t count>
    void Add(const std::array<T, count>& values)
    {
        AddAll(values);
    }
    void AddAll(const auto& values)
    {
        m_Writer.StartArray();
        for (const auto& value : values)
        {
            Add(value);
        }
        m_Writer.EndArray();
    }

    rapidjson::StringBuffer m_Buffer;
    rapidjson::Writer<rapidjson::StringBuffer> m_Writer;
};
