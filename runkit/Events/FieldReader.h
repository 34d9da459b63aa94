#pragma once

#include <Events/EventFields.h>
#include <Events/Words.h>

#include <rapidjson/allocators.h>
#include <rapidjson/document.h>

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

using TDocumentPool = rapidjson::MemoryPoolAllocator<>;

/// The JSON library's document, with a conversion of numbers that is exact and holds for every text; the library's own
/// is either one or the other.
class CExactDocument : public rapidjson::GenericDocument<rapidjson::UTF8<>, TDocumentPool, TDocumentPool>
{
public:
    using GenericDocument::GenericDocument;

    /// Called by the library's reader for each number; false when a double cannot hold it.
    bool RawNumber(const char* text, rapidjson::SizeType length, bool copy);
};

/// A JSON text that was read. Short ones take no memory from the heap.
class CJsonDocument
{
public:
    using TValue = CExactDocument::ValueType;

    explicit CJsonDocument(std::string_view json);

    /// Why the text is not JSON; empty when it is.
    const std::string& Error() const { return m_Error; }
    const TValue& Root() const { return m_Document; }

private:
    static constexpr std::size_t STACK_SIZE = 1024;

    alignas(std::max_align_t) std::array<char, 4096> m_ValueBuffer;
    alignas(std::max_align_t) std::array<char, 3 * STACK_SIZE> m_StackBuffer;
    TDocumentPool m_Values{m_ValueBuffer.data(), m_ValueBuffer.size()};
    TDocumentPool m_Stack{m_StackBuffer.data(), m_StackBuffer.size()};
    CExactDocument m_Document{&m_Values, STACK_SIZE, &m_Stack};
    std::string m_Error;
};

/// The archive that fills structures from a JSON object. The first key that is missing, or has a value of the wrong
/// kind, ends the reading: `Error` names it, and what would come after it stays untouched.
class CFieldReader
{
public:
    using TValue = CJsonDocument::TValue;

    /// `place` stands before the names of keys in errors: "run-end.verdicts.".
    CFieldReader(const TValue& object, std::string place)
        : m_Object(object)
        , m_Place(std::move(place))
    {
    }

    const std::string& Error() const { return m_Error; }

    template <class T>
    void operator()(std::string_view key, T& value)
    {
        if (const TValue* const found = Find(key))
        {
            Read(key, *found, value);
        }
    }

    void Version(std::string_view key, std::uint64_t version);
    void Place(std::string_view key, std::uint64_t& place);
    void Base(std::string_view key, bool& hexadecimal);

private:
    /// Null, with an error, when the object has no such key, and when there is an error already.
    const TValue* Find(std::string_view key);
    void Refuse(std::string_view key, std::string_view expected);

    void Read(std::string_view key, const TValue& json, bool& value);
    void Read(std::string_view key, const TValue& json, std::uint32_t& value);
    void Read(std::string_view key, const TValue& json, std::uint64_t& value);
    void Read(std::string_view key, const TValue& json, double& value);
    void Read(std::string_view key, const TValue& json, std::string& text);
    void Read(std::string_view key, const TValue& json, std::chrono::system_clock::time_point& time);
    void Read(std::string_view key, const TValue& json, TPromptAnswer& answer);
    void Read(std::string_view key, const TValue& json, std::vector<std::pair<std::string, std::string>>& texts);
    void Read(std::string_view key, const TValue& json, TLogColor& color);
    void ReadThousandths(std::string_view key, const TValue& json, std::int64_t& thousandths);

    template <class Period>
    void Read(std::string_view key, const TValue& json, std::chrono::duration<std::int64_t, Period>& duration)
    {
        std::int64_t thousandths = 0;
        ReadThousandths(key, json, thousandths);
        duration = std::chrono::duration<std::int64_t, Period>(thousandths);
    }

    template <class T>
    void Read(std::string_view key, const TValue& json, std::optional<T>& value)
    {
        json.IsNull() ? value.reset() : Read(key, json, value.emplace());
    }

    template <class T>
    void Read(std::string_view key, const TValue& json, std::vector<T>& values)
    {
        if (!json.IsArray())
        {
            Refuse(key, "an array");
            return;
        }
        for (rapidjson::SizeType i = 0; i < json.Size(); ++i)
        {
            Read(std::string(key) + '[' + std::to_string(i) + ']', json[i], values.emplace_back());
        }
    }

    template <class T>
    void Read(std::string_view key, const TValue& json, T& value)
    {
        if constexpr (std::is_enum_v<T>)
        {
            const std::optional<T> known = json.IsString() ? FromWord<T>(TextOf(json)) : std::nullopt;
            known ? static_cast<void>(value = *known) : Refuse(key, OneOf<T>());
        }
        else if (json.IsObject())
        {
            CFieldReader inner(json, m_Place + std::string(key) + '.');
            Fields(inner, value);
            m_Error = m_Error.empty() ? inner.Error() : m_Error;
        }
        else
        {
            Refuse(key, "an object");
        }
    }

    static std::string_view TextOf(const TValue& json) { return {json.GetString(), json.GetStringLength()}; }

    template <class Enum>
    static std::string OneOf()
    {
        std::string words;
        for (const auto& [value, word] : WORDS<Enum>)
        {
            words.append(words.empty() ? "\"" : " or \"").append(word) += '"';
        }
        return words;
    }

    const TValue& m_Object;
    std::string m_Place;
    std::string m_Error;
};
