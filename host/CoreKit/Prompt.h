#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

/// How a prompt ends without a choice or a number: the information box's button, or no answer at all.
enum class EPromptEnd
{
    Ok,
    TimeOut,
    Cancel, ///< the dialog was closed
    Abort,  ///< the operator, or a stop request, ended the run
};

/// A choice, a number, or how the prompt ended.
using TPromptAnswer = std::variant<bool, std::uint64_t, EPromptEnd>;

enum class EPromptKind
{
    Boolean,
    Info,
    Integer,
};

/// What the operator is asked; which fields count depends on the kind. Texts are UTF-8.
struct SPrompt
{
    EPromptKind kind = EPromptKind::Info;
    std::string text;
    std::optional<std::uint32_t> timeout; ///< seconds; none: wait for ever

    std::string yes; ///< boolean: the captions
    std::string no;

    std::string button; ///< info: the caption

    std::string label; ///< integer, with all that follows
    bool hexadecimal = false;
    bool initialize = true; ///< the dialog starts from `initial`
    std::uint64_t initial = 0;
    std::uint64_t min = 0;
    std::uint64_t max = 0;
};
