#include "FieldReader.h"

#include "JsonText.h"

#include <Events/Answer.h>

#include <rapidjson/encodedstream.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

bool CExactDocument::RawNumber(const char* text, rapidjson::SizeType length, bool)
{
    const char* const end = text + length;
    std::uint64_t whole = 0;
    if (const auto [last, error] = std::from_chars(text, end, whole); error == std::errc() && last == end)
    {
        return Uint64(whole);
    }
    double number = 0;
    const auto [last, error] = std::from_chars(text, end, number);
    return error == std::errc() && last == end && Double(number);
}

CJsonDocument::CJsonDocument(std::string_view json)
{
    // Iterative: how deep a text nests must not decide how much of the thread's stack is used.
    constexpr unsigned FLAGS =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
    rapidjson::MemoryStream bytes(json.data(), json.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, TDocumentPool> reader(&m_Stack, STACK_SIZE);
    auto read = [&](auto&) { return !reader.Parse<FLAGS>(stream, m_Document).IsError(); };
    m_Document.Populate(read);

    std::size_t offset = std::min(json.find('\0'), json.size());
    const char* reason = offset != json.size() ? "A null character." : nullptr;
    if (reader.HasParseError())
    {
        const rapidjson::ParseErrorCode code = reader.GetParseErrorCode();
        offset = reader.GetErrorOffset();
        reason = code == rapidjson::kParseErrorTermination ? "A number out of range." : GetParseError_En(code);
    }
    if (reason)
    {
        m_Error.append("not valid JSON at byte ").append(std::to_string(offset + 1)).append(": ").append(reason);
    }
}

const CFieldReader::TValue* CFieldReader::Find(std::string_view key)
{
    if (!m_Error.empty())
    {
        return nullptr;
    }
    const TValue name(rapidjson::StringRef(key.data(), key.size()));
    const auto member = m_Object.FindMember(name);
    if (member == m_Object.MemberEnd())
    {
        m_Error = '"' + m_Place + std::string(key) + "\" is missing";
        return nullptr;
    }
    return &member->value;
}

void CFieldReader::Refuse(std::string_view key, std::string_view expected)
{
    if (m_Error.empty())
    {
        m_Error.append("\"").append(m_Place).append(key).append("\" must be ").append(expected);
    }
}

void CFieldReader::Version(std::string_view key, std::uint64_t version)
{
    std::uint64_t found = version;
    (*this)(key, found);
    if (found != version)
    {
        m_Error = "this is a record of version " + std::to_string(found) + ", and only version " +
            std::to_string(version) + " can be read: " +
            (found < version ? "run the suite again for a new record" : "read it with a newer version of this program");
    }
}

void CFieldReader::Place(std::string_view key, std::uint64_t& place)
{
    std::optional<std::uint64_t> known;
    (*this)(key, known);
    place = known.value_or(0);
}

void CFieldReader::Base(std::string_view key, bool& hexadecimal)
{
    std::uint32_t base = 10;
    (*this)(key, base);
    if (base != 10 && base != 16)
    {
        Refuse(key, "10 or 16");
    }
    hexadecimal = base == 16;
}

void CFieldReader::Read(std::string_view key, const TValue& json, bool& value)
{
    json.IsBool() ? static_cast<void>(value = json.GetBool()) : Refuse(key, "true or false");
}

void CFieldReader::Read(std::string_view key, const TValue& json, std::uint32_t& value)
{
    json.IsUint() ? static_cast<void>(value = json.GetUint()) : Refuse(key, "a whole number from 0 to 2^32 - 1");
}

void CFieldReader::Read(std::string_view key, const TValue& json, std::uint64_t& value)
{
    json.IsUint64() ? static_cast<void>(value = json.GetUint64()) : Refuse(key, "a whole number from 0 to 2^64 - 1");
}

void CFieldReader::Read(std::string_view key, const TValue& json, double& value)
{
    if (json.IsNumber())
    {
        value = json.GetDouble();
        return;
    }
    value = std::numeric_limits<double>::quiet_NaN();
    if (!json.IsNull())
    {
        Refuse(key, "a number or null");
    }
}

void CFieldReader::Read(std::string_view key, const TValue& json, std::string& text)
{
    json.IsString() ? static_cast<void>(text = TextOf(json)) : Refuse(key, "a text");
}

void CFieldReader::Read(std::string_view key, const TValue& json, std::chrono::system_clock::time_point& time)
{
    const auto known = json.IsString() ? TimeOf(TextOf(json)) : std::nullopt;
    known ? static_cast<void>(time = *known) : Refuse(key, "a time such as \"2026-11-22T05:13:04.250Z\"");
}

void CFieldReader::Read(std::string_view key, const TValue& json, TPromptAnswer& answer)
{
    const std::optional<TPromptAnswer> known = AnswerOf(json);
    known ? static_cast<void>(answer = *known) : Refuse(key, ANSWER_FORMS);
}

void CFieldReader::Read(std::string_view key, const TValue& json,
                        std::vector<std::pair<std::string, std::string>>& texts)
{
    if (!json.IsObject())
    {
        Refuse(key, "an object");
        return;
    }
    for (const auto& [name, value] : json.GetObject())
    {
        Read(std::string(key) + '.' + name.GetString(), value, texts.emplace_back(TextOf(name), "").second);
    }
}

void CFieldReader::Read(std::string_view key, const TValue& json, TLogColor& color)
{
    if (!json.IsArray() || json.Size() != color.size())
    {
        Refuse(key, "an array of four numbers");
        return;
    }
    for (rapidjson::SizeType i = 0; i < json.Size(); ++i)
    {
        Read(key, json[i], color[i]);
    }
}

void CFieldReader::ReadThousandths(std::string_view key, const TValue& json, std::int64_t& thousandths)
{
    // As far as a double counts thousandths exactly.
    constexpr double MOST = 9e12;
    const bool fits = json.IsNumber() && std::abs(json.GetDouble()) <= MOST;
    fits ? static_cast<void>(thousandths = std::llround(json.GetDouble() * 1000)) : Refuse(key, "a duration");
}
