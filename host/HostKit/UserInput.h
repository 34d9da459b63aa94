#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/Prompt.h>

#include <cstdint>
#include <string>
#include <string_view>

enum EUIMode : std::uint32_t
{
    UI_MODE_NORMAL = 0,
};

enum EUIEmphasis : std::uint32_t
{
    UI_EMPHASIS_NONE = 0,
    UI_EMPHASIS_FAILURE = 3,
};

namespace gui
{
enum EAbortBtn : std::uint32_t
{
    ABORT_BTN_SHOWN = 2,
};
}

enum ENumericBase : std::uint32_t
{
    BASE_DECIMAL = 10,
    BASE_HEXADECIMAL = 16,
};

/// How a dialog ended.
enum EUIReturnCode : std::uint32_t
{
    UI_ANSWERED = 0,
    UI_TIMED_OUT = 1,
    UI_CANCELLED = 2,
};

/// A time-out in seconds; this value means none.
inline constexpr std::uint32_t UI_NO_TIMEOUT = 0xFFFFFFFF;

/// The operator's dialogs, between the engine's three operations and the one that a host overrides: each operation
/// fills a prompt, tells the listeners, calls `Ask`, checks and stores the answer and tells the listeners how the
/// prompt ended. Each blocks until then; the operator's abort leaves it through `RaiseUserAbort`. Owned by the host.
class HOSTKIT_EXPORT CUserInput
{
public:
    virtual ~CUserInput();

    /// Shows a box with one button. A run's closing headline (`CClosingHeadline`) is no prompt: it goes to the
    /// listeners' `HeadlineShown`.
    virtual EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                                   std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                                   std::string_view help);

    /// Asks a yes/no question; an answer is stored through `answer` as 1 (yes) or 0. On entry the slot may hold any
    /// byte.
    virtual EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                        std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                        std::string_view help);

    /// Asks for a number from `min` to `max` (the upper bound comes first); an answer is stored through `value`. With
    /// `initialize` the dialog starts from what `value` holds.
    virtual EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                                     std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                                     std::uint64_t min, std::string_view title, std::string_view unit,
                                     gui::EAbortBtn abortButton, std::string_view help);

    /// How the last dialog ended. After an answer: concluded and, but for the information box, a result; after a
    /// time-out: timed out alone; after a close without an answer: none of the three.
    bool Concluded() const { return m_Concluded; }
    bool ReturnedResult() const { return m_ReturnedResult; }
    bool TimedOut() const { return m_TimedOut; }

    /// The run is at a point where the operator's input may be enabled again.
    virtual void EnableInput();
    /// A test function has ended.
    virtual void FunctionFinished();

    /// Why a prompt cannot be answered like that; empty when it can.
    static std::string Misfit(const SPrompt& prompt, const TPromptAnswer& answer);

protected:
    /// Puts the question and gives the answer: a bool or a number within the bounds as the prompt's kind has it, `Ok`
    /// for an information box, else one of the other ends. Any other answer is an error of the dialog and thrown as
    /// `ZKRunTimeException`. `Abort` aborts the run, as `RaiseUserAbort` with a text of the dialog's own does.
    virtual TPromptAnswer Ask(const SPrompt& prompt) = 0;

private:
    /// Shows a prompt from its opening to its end; `store` is called with an answer that fits, before the listeners
    /// hear of it.
    template <class Store>
    EUIReturnCode Prompt(const SPrompt& prompt, const Store& store);
    TPromptAnswer CheckedAnswer(const SPrompt& prompt);
    EUIReturnCode Conclude(const TPromptAnswer& answer);

    std::uint64_t m_PromptCount = 0;
    bool m_Concluded = false;
    bool m_ReturnedResult = false;
    bool m_TimedOut = false;
};

/// While it lives, an information box is a run's closing headline.
class HOSTKIT_EXPORT CClosingHeadline
{
public:
    CClosingHeadline();
    ~CClosingHeadline();
    CClosingHeadline(const CClosingHeadline&) = delete;
    CClosingHeadline& operator=(const CClosingHeadline&) = delete;
};
