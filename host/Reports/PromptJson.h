#pragma once

#include <CoreKit/Prompt.h>

#include <nlohmann/json.hpp>

#include <variant>

/// A prompt's answer as records and lists of answers have it: true, false, a number, or how the prompt ended.
inline nlohmann::ordered_json AnswerJson(const TPromptAnswer& answer)
{
    const EPromptEnd* const end = std::get_if<EPromptEnd>(&answer);
    if (!end)
    {
        const bool* const choice = std::get_if<bool>(&answer);
        return choice ? nlohmann::ordered_json(*choice) : nlohmann::ordered_json(std::get<std::uint64_t>(answer));
    }
    switch (*end)
    {
    case EPromptEnd::Ok:
        return "ok";
    case EPromptEnd::TimeOut:
        return "timeout";
    case EPromptEnd::Cancel:
        return "cancel";
    default:
        return "abort";
    }
}
