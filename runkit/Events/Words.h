#pragma once

#include <Events/Event.h>

#include <array>
#include <optional>
#include <string_view>
#include <utility>

/// The words for an enumeration's values, as records, reports and people read them.
template <class Enum>
inline constexpr auto WORDS = nullptr;

template <>
inline constexpr auto WORDS<ESeverity> = std::to_array<std::pair<ESeverity, std::string_view>>({
    {ESeverity::Error, "error"},
    {ESeverity::Warning, "warning"},
});

template <>
inline constexpr auto WORDS<ENodeState> = std::to_array<std::pair<ENodeState, std::string_view>>({
    {ENodeState::NotRun, "not run"},
    {ENodeState::Executing, "executing"},
    {ENodeState::Passed, "passed"},
    {ENodeState::Failed, "failed"},
});

template <>
inline constexpr auto WORDS<EVerdict> = std::to_array<std::pair<EVerdict, std::string_view>>({
    {EVerdict::Passed, "passed"},
    {EVerdict::Failed, "failed"},
    {EVerdict::Error, "error"},
    {EVerdict::Aborted, "aborted"},
});

template <>
inline constexpr auto WORDS<EPromptKind> = std::to_array<std::pair<EPromptKind, std::string_view>>({
    {EPromptKind::Boolean, "boolean"},
    {EPromptKind::Info, "info"},
    {EPromptKind::Integer, "integer"},
});

template <>
inline constexpr auto WORDS<EPromptEnd> = std::to_array<std::pair<EPromptEnd, std::string_view>>({
    {EPromptEnd::Ok, "ok"},
    {EPromptEnd::TimeOut, "timeout"},
    {EPromptEnd::Cancel, "cancel"},
    {EPromptEnd::Abort, "abort"},
});

template <>
inline constexpr auto WORDS<EAbortCause> = std::to_array<std::pair<EAbortCause, std::string_view>>({
    {EAbortCause::Operator, "operator"},
    {EAbortCause::Library, "library"},
    {EAbortCause::Unanswered, "unanswered"},
    {EAbortCause::Limit, "limit"},
    {EAbortCause::Crash, "crash"},
});

template <>
inline constexpr auto WORDS<EOutputStream> = std::to_array<std::pair<EOutputStream, std::string_view>>({
    {EOutputStream::StdOut, "stdout"},
    {EOutputStream::StdErr, "stderr"},
});

template <>
inline constexpr auto WORDS<ELockState> = std::to_array<std::pair<ELockState, std::string_view>>({
    {ELockState::Waiting, "waiting"},
    {ELockState::Refused, "refused"},
});

template <>
inline constexpr auto WORDS<ENotRunReason> = std::to_array<std::pair<ENotRunReason, std::string_view>>({
    {ENotRunReason::Condition, "condition"},
    {ENotRunReason::NoPass, "no pass"},
    {ENotRunReason::Initialization, "initialization"},
    {ENotRunReason::Stopped, "stopped"},
    {ENotRunReason::Library, "library"},
    {ENotRunReason::LeftOut, "left out"},
});

/// The word for a value; empty when the value is none of the enumeration's.
template <class Enum>
constexpr std::string_view WordOf(Enum value)
{
    for (const auto& [known, word] : WORDS<Enum>)
    {
        if (known == value)
        {
            return word;
        }
    }
    return {};
}

/// The value for a word, none for any other text.
template <class Enum>
constexpr std::optional<Enum> FromWord(std::string_view text)
{
    for (const auto& [known, word] : WORDS<Enum>)
    {
        if (word == text)
        {
            return known;
        }
    }
    return std::nullopt;
}
