#pragma once

#include <HostKit/UserInput.h>

#include <cstdint>
#include <string>
#include <variant>

/// How a prompt ends without a choice or a number: the information box's button, or no answer at all.
enum class EPromptEnd
{
    Ok,
    TimeOut,
    Cancel,
    Abort,
};
using TPromptAnswer = std::variant<bool, std::uint64_t, EPromptEnd>;

enum class EPromptKind
{
    Boolean,
    Info,
    Integer,
};

/// What a dialog was asked; which fields count depends on its kind.
struct SPrompt
{
    EPromptKind kind = EPromptKind::Info;
    std::string text;
    std::uint32_t timeout = UI_NO_TIMEOUT; ///< seconds

    std::string yes; ///< boolean: the captions
    std::string no;

    std::string button; ///< info: the caption

    std::string label; ///< integer, with all that follows
    ENumericBase base = BASE_DECIMAL;
    bool initialize = true; ///< the dialog starts from `initial`
    std::uint64_t initial = 0;
    std::uint64_t min = 0;
    std::uint64_t max = 0;
};
