#pragma once

#include <HostKit/HostKitExport.h>

#include <cstdint>
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

/// The operator's dialogs. Each call blocks until the operator answers, the time-out passes or the dialog is closed;
/// the operator's abort leaves it through `RaiseUserAbort`. Derive from it to draw dialogs of your own. Owned by the
/// host.
class HOSTKIT_EXPORT CUserInput
{
public:
    virtual ~CUserInput();

    virtual EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                                   std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                                   std::string_view help) = 0;

    /// Asks a yes/no question; an answer is stored through `answer` as 1 (yes) or 0. On entry the slot may hold any
    /// byte.
    virtual EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                        std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                        std::string_view help) = 0;

    /// Asks for a number from `min` to `max` (the upper bound comes first); an answer is stored through `value`. With
    /// `initialize` the dialog starts from what `value` holds.
    virtual EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                                     std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                                     std::uint64_t min, std::string_view title, std::string_view unit,
                                     gui::EAbortBtn abortButton, std::string_view help) = 0;

    /// How the last dialog ended. After an answer: concluded and, but for the information box, a result; after a
    /// time-out: timed out alone; after a close without an answer: none of the three.
    virtual bool Concluded() const { return m_Concluded; }
    virtual bool ReturnedResult() const { return m_ReturnedResult; }
    virtual bool TimedOut() const { return m_TimedOut; }

    /// The run is at a point where the operator's input may be enabled again.
    virtual void EnableInput();
    /// A test function has ended.
    virtual void FunctionFinished();

protected:
    /// Whether a box shown now is a run's closing headline and no prompt of a suite.
    static bool IsHeadline();
    /// Tells the listeners of a headline, which no dialog has to show then.
    EUIReturnCode PassOnHeadline(std::string_view text, EUIEmphasis emphasis);

    /// Every dialog begins with the first and ends with one of the others, which give what it returns.
    void Begin();
    EUIReturnCode Answered(bool withResult);
    EUIReturnCode EndedByTimeout();
    EUIReturnCode Closed();

private:
    bool m_Concluded = false;
    bool m_ReturnedResult = false;
    bool m_TimedOut = false;
};
