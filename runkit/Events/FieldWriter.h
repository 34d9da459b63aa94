#pragma once

#include <Events/EventFields.h>
#include <Events/Words.h>

#include "JsonText.h"

#include <rapidjson/allocators.h>
#include <rapidjson/writer.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

using TJsonPool = rapidjson::MemoryPoolAllocator<>;
using TJsonWriter = rapidjson::Writer<CTextStream, rapidjson::UTF8<>, rapidjson::UTF8<>, TJsonPool>;

/// Room for the objects and arrays that stand in each other, without an allocation up to eight of them.
class CJsonLevels
{
protected:
    static constexpr std::size_t LEVELS = 8;

    alignas(std::max_align_t) std::array<char, 512> m_Buffer;
    TJsonPool m_Pool{m_Buffer.data(), m_Buffer.size()};
};

/// The JSON library's writer, with keys and texts of our own.
class CJsonWriter : private CJsonLevels, public TJsonWriter
{
public:
    explicit CJsonWriter(CTextStream& stream)
        : TJsonWriter(stream, &m_Pool, LEVELS)
    {
    }

    /// A key or another text that needs no escape.
    void Plain(std::string_view text)
    {
        Prefix(rapidjson::kStringType);
        os_->Put('"');
        os_->Append(text);
        os_->Put('"');
    }

    void Text(std::string_view text)
    {
        Prefix(rapidjson::kStringType);
        os_->Put('"');
        os_->AppendEscaped(text);
        os_->Put('"');
    }

    /// A number as it stands.
    void Number(std::string_view digits)
    {
        Prefix(rapidjson::kNumberType);
        os_->Append(digits);
    }
};

/// The archive that appends structures to a text as JSON.
class CFieldWriter
{
public:
    explicit CFieldWriter(std::string& json)
        : m_Stream(json)
        , m_Json(m_Stream)
    {
    }

    template <class T>
    void operator()(std::string_view key, const T& value)
    {
        m_Json.Plain(key);
        Write(value);
    }

    void Version(std::string_view key, std::uint64_t version) { (*this)(key, version); }
    void Place(std::string_view key, std::uint64_t place)
    {
        (*this)(key, place != 0 ? std::optional(place) : std::nullopt);
    }
    void Base(std::string_view key, bool hexadecimal) { (*this)(key, hexadecimal ? 16U : 10U); }

    /// A line of a record: `name` and time of an event, then its fields.
    template <class Event>
    void WriteEvent(std::string_view name, std::chrono::system_clock::time_point time, const Event& event)
    {
        m_Json.StartObject();
        (*this)("event", name);
        (*this)("time", time);
        Fields(*this, event);
        m_Json.EndObject();
        m_Stream.Put('\n');
    }

    /// What was written stands; without it the text stays as it was.
    void Finish() { m_Stream.Finish(); }

    void Write(bool value) { m_Json.Bool(value); }
    void Write(std::uint32_t value) { m_Json.Uint(value); }
    void Write(std::uint64_t value) { m_Json.Uint64(value); }
    void Write(double value);
    void Write(std::string_view text) { m_Json.Text(text); }
    void Write(const std::string& text) { m_Json.Text(text); }
    void Write(std::chrono::system_clock::time_point time);
    void Write(const TPromptAnswer& answer);
    void Write(const std::vector<std::pair<std::string, std::string>>& texts);

    /// A duration counts thousandths of the unit that the record has.
    template <class Period>
    void Write(std::chrono::duration<std::int64_t, Period> duration)
    {
        WriteThousandths(duration.count());
    }

    template <class T>
    void Write(const std::optional<T>& value)
    {
        value ? Write(*value) : static_cast<void>(m_Json.Null());
    }

    template <class T>
    void Write(const std::vector<T>& values)
    {
        WriteArray(values);
    }

    void Write(const TLogColor& color) { WriteArray(color); }

    template <class T>
    void Write(const T& value)
    {
        if constexpr (std::is_enum_v<T>)
        {
            m_Json.Plain(WordOf(value));
        }
        else
        {
            m_Json.StartObject();
            Fields(*this, value);
            m_Json.EndObject();
        }
    }

private:
    void WriteArray(const auto& values)
    {
        m_Json.StartArray();
        for (const auto& value : values)
        {
            Write(value);
        }
        m_Json.EndArray();
    }

    void WriteThousandths(std::int64_t thousandths);

    CTextStream m_Stream;
    CJsonWriter m_Json;
};
