#pragma once

#include "Progress.h"

#include <HostKit/UserInput.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// The operator's dialogs on a terminal: the question, what may be answered, and a line to type it in, with editing and
/// the seconds left when there is a time-out. An answer that does not fit is refused with the reason and asked again.
/// "!" or Ctrl-C aborts the run, Ctrl-D closes the dialog without an answer. Owned by the command; the progress line
/// outlives it.
class CTerminalUserInput : public CUserInput
{
public:
    explicit CTerminalUserInput(CProgress& progress);
    ~CTerminalUserInput() override;

    EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                           std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                           std::string_view help) override;
    EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                std::string_view help) override;
    EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                             std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                             std::uint64_t min, std::string_view title, std::string_view unit,
                             gui::EAbortBtn abortButton, std::string_view help) override;

    /// Whether there is an operator at a terminal to ask.
    static bool IsPossible();

private:
    class CLineEditor;

    /// Takes a typed line; gives the reason when it is no answer.
    using TAccept = std::function<std::optional<std::string>(const std::string& line)>;

    EUIReturnCode Ask(std::uint32_t timeout, std::string_view text, const std::string& choices, bool withResult,
                      const TAccept& accept);

    CProgress& m_Progress;
    std::unique_ptr<CLineEditor> m_Editor;
};
