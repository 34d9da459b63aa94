#pragma once

#include <Events/EventsExport.h>

#include <CoreKit/Prompt.h>

#include <optional>
#include <string>
#include <string_view>

// A prompt's answer as a JSON value, the same in lists of answers, in records and over the protocol: true, false, a
// number, or how the prompt ended.

/// What an answer may be, for messages that refuse anything else.
inline constexpr std::string_view ANSWER_FORMS =
    "true, false, a number from 0 to 2^64 - 1 (also as a text such as \"0x12C\"), \"ok\", \"timeout\", \"cancel\" or "
    "\"abort\"";

/// Appends the answer's JSON to `json`.
EVENTS_EXPORT void AppendAnswer(const TPromptAnswer& answer, std::string& json);

/// The answer that a JSON value stands for, none when it is not JSON or not an answer.
EVENTS_EXPORT std::optional<TPromptAnswer> ParseAnswer(std::string_view json);

/// The answer that a text in JSON stands for: one of the words, or a number, decimal or after "0x" hexadecimal, blanks
/// around it allowed.
EVENTS_EXPORT std::optional<TPromptAnswer> AnswerOfText(std::string_view text);

/// The answer that a JSON value stands for which RapidJSON has read.
template <class JsonValue>
std::optional<TPromptAnswer> AnswerOf(const JsonValue& value)
{
    if (value.IsBool())
    {
        return value.GetBool();
    }
    if (value.IsUint64())
    {
        return std::uint64_t{value.GetUint64()};
    }
    return value.IsString() ? AnswerOfText({value.GetString(), value.GetStringLength()}) : std::nullopt;
}
