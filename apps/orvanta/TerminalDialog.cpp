#include "TerminalDialog.h"

#include "Captions.h"
#include "LineDialog.h"
#include "Terminal.h"

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>

#include <charconv>
#include <functional>

namespace
{
constexpr const char* ABORT_KEY = "!";

/// An answer, or the reason why a line is none.
struct STaken
{
    std::optional<TPromptAnswer> answer;
    std::string reason;
};

/// What may be answered to a prompt, as it is shown and as it is read.
struct SChoices
{
    std::string shown;
    std::function<STaken(const std::string& line)> take;
};

SChoices ChoicesOfInfo(const SPrompt& prompt)
{
    const QString caption = CaptionOr(prompt.button, "OK");
    return {"[Enter] " + caption.toStdString(),
            [caption](const std::string& line) -> STaken
            {
                if (line.empty() || ReadsAs(QString::fromStdString(line), caption))
                {
                    return {EPromptEnd::Ok, {}};
                }
                return {std::nullopt, "Press Enter for \"" + caption.toStdString() + "\"."};
            }};
}

SChoices ChoicesOfBoolean(const SPrompt& prompt)
{
    const CCaptions captions(prompt.yes, prompt.no);
    return {captions.Shown(),
            [captions](const std::string& line) -> STaken
            {
                const std::optional<bool> choice = captions.Choice(line);
                return {choice, choice ? "" : "\"" + line + "\" is neither " + captions.Keys() + "."};
            }};
}

std::string ShowNumber(std::uint64_t number, bool hexadecimal)
{
    const unsigned long long shown = number;
    return std::string(hexadecimal ? FormatText("0x%llX", shown) : FormatText("%llu", shown));
}

/// A number as operators write it: hexadecimal behind "0x", and without it when the dialog is.
STaken ReadNumber(const std::string& line, bool hexadecimal)
{
    const bool hasPrefix = line.starts_with("0x") || line.starts_with("0X");
    const std::string digits = hasPrefix ? line.substr(2) : line;
    std::uint64_t number = 0;
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number, hasPrefix || hexadecimal ? 16 : 10);
    if (end != last || error == std::errc::invalid_argument)
    {
        return {std::nullopt, "\"" + line + "\" is no " + (hexadecimal ? "hexadecimal number." : "number.")};
    }
    if (error != std::errc())
    {
        return {std::nullopt, line + " is too large: numbers have up to 64 bits."};
    }
    return {number, {}};
}

SChoices ChoicesOfInteger(const SPrompt& prompt)
{
    const auto isWithin = [min = prompt.min, max = prompt.max](std::uint64_t number)
    { return number >= min && number <= max; };
    const bool hexadecimal = prompt.hexadecimal;
    const std::string range =
        "from " + ShowNumber(prompt.min, hexadecimal) + " to " + ShowNumber(prompt.max, hexadecimal);
    const auto initial = prompt.initialize && isWithin(prompt.initial) ? std::optional(prompt.initial) : std::nullopt;
    return {prompt.label + " " + range + (hexadecimal ? ", hexadecimal" : "") +
                (initial ? "  [Enter] " + ShowNumber(*initial, hexadecimal) : ""),
            [=](const std::string& line) -> STaken
            {
                if (line.empty() && initial)
                {
                    return {*initial, {}};
                }
                STaken taken = ReadNumber(line, hexadecimal);
                if (taken.answer && !isWithin(std::get<std::uint64_t>(*taken.answer)))
                {
                    const std::uint64_t number = std::get<std::uint64_t>(*taken.answer);
                    return {std::nullopt, ShowNumber(number, hexadecimal) + " is not " + range + "."};
                }
                return taken;
            }};
}

SChoices ChoicesOf(const SPrompt& prompt)
{
    switch (prompt.kind)
    {
    case EPromptKind::Boolean:
        return ChoicesOfBoolean(prompt);
    case EPromptKind::Integer:
        return ChoicesOfInteger(prompt);
    default:
        return ChoicesOfInfo(prompt);
    }
}
} // namespace

CTerminalDialog::CTerminalDialog(CProgressLine& progress, CDialogWatch& watch)
    : m_Progress(progress)
    , m_Watch(watch)
{
}

CTerminalDialog::~CTerminalDialog() = default;

std::variant<TPromptAnswer, EUnanswered> CTerminalDialog::Ask(const SPrompt& prompt)
{
    m_Progress.Erase();
    std::fflush(stdout);
    const SChoices choices = ChoicesOf(prompt);
    if (!m_Dialog)
    {
        m_Dialog = std::make_unique<CLineDialog>(m_Watch);
    }
    CStopSignals signals;
    m_Dialog->Open(PrintableText(prompt.text) + "\n  " + PrintableLine(choices.shown) + "  [" + ABORT_KEY + "] Abort",
                   prompt.timeout, signals);
    for (;;)
    {
        std::string line;
        switch (m_Dialog->Read(line))
        {
        case ELineEnd::TimedOut:
            return TPromptAnswer(EPromptEnd::TimeOut);
        case ELineEnd::Closed:
            return TPromptAnswer(EPromptEnd::Cancel);
        case ELineEnd::Interrupted:
            return EUnanswered::Interrupted;
        case ELineEnd::Lost:
            return EUnanswered::Lost;
        case ELineEnd::Typed:
            break;
        }
        if (line == ABORT_KEY)
        {
            return TPromptAnswer(EPromptEnd::Abort);
        }
        STaken taken = choices.take(line);
        if (taken.answer)
        {
            return *taken.answer;
        }
        m_Dialog->Say(PrintableLine(taken.reason));
    }
}
