#include "TerminalUserInput.h"

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>
#include <CoreKit/SafeString.h>
#include <HostKit/UIUpdate.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstring>
#include <cwchar>

#include <histedit.h>
#include <poll.h>
#include <unistd.h>

namespace
{
using TClock = std::chrono::steady_clock;

constexpr const char* ABORT_KEY = "!";

std::string Trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    const std::size_t end = text.find_last_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string() : std::string(text.substr(begin, end - begin + 1));
}

/// A typed answer stands for a caption when it is the caption, or one of the keys, in any case.
bool Means(const std::string& line, std::string_view caption, const char* key)
{
    const CSafeString typed = ToLower(line);
    return typed == ToLower(caption) || typed == key;
}

std::string ShowNumber(std::uint64_t number, ENumericBase base)
{
    const unsigned long long shown = number;
    return std::string(base == BASE_HEXADECIMAL ? FormatText("0x%llX", shown) : FormatText("%llu", shown));
}

/// A number as operators write it: hexadecimal behind "0x", and without it when that is the dialog's base.
std::optional<std::uint64_t> ReadNumber(const std::string& line, ENumericBase base)
{
    const bool hasPrefix = line.starts_with("0x") || line.starts_with("0X");
    const std::string digits = hasPrefix ? line.substr(2) : line;
    std::uint64_t number = 0;
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number, hasPrefix ? 16 : static_cast<int>(base));
    return error == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

/// While it lives, typed characters are UTF-8, as all text is, whatever the user's settings.
class CUtf8Locale
{
public:
    CUtf8Locale()
        : m_Locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
        , m_Before(uselocale(m_Locale))
    {
    }
    ~CUtf8Locale()
    {
        uselocale(m_Before);
        if (m_Locale)
        {
            freelocale(m_Locale);
        }
    }
    CUtf8Locale(const CUtf8Locale&) = delete;
    CUtf8Locale& operator=(const CUtf8Locale&) = delete;

private:
    locale_t m_Locale;
    locale_t m_Before;
};
} // namespace

// -------------------------------------------------------------------------------------------------- the line editor

/// How reading a line ended.
enum class ELineEnd
{
    Typed,
    Closed,
    TimedOut,
    Interrupted,
};

/// Reads lines from the terminal with a prompt that counts the seconds down. Owns the editing library's state.
class CTerminalUserInput::CLineEditor
{
public:
    CLineEditor()
        : m_Editor(el_init("orvanta", stdin, stdout, stderr))
    {
        const CUtf8Locale locale; // choosing the editor decides which characters it inserts
        el_set(m_Editor, EL_CLIENTDATA, this);
        el_set(m_Editor, EL_EDITOR, "emacs");
        el_set(m_Editor, EL_PROMPT, &CLineEditor::PromptText);
        el_set(m_Editor, EL_GETCFN, &CLineEditor::ReadCharacter);
        el_set(m_Editor, EL_SIGNAL, 0);
    }
    ~CLineEditor() { el_end(m_Editor); }
    CLineEditor(const CLineEditor&) = delete;
    CLineEditor& operator=(const CLineEditor&) = delete;

    ELineEnd Read(std::optional<TClock::time_point> deadline, std::string& line)
    {
        const CUtf8Locale locale;
        m_Deadline = deadline;
        m_End = ELineEnd::Typed;
        UpdatePrompt();
        // Before the prompt is seen: the terminal would still take a Ctrl-D for itself otherwise.
        el_set(m_Editor, EL_PREP_TERM, 1);
        int length = 0;
        const char* const typed = el_gets(m_Editor, &length);
        if (m_End == ELineEnd::Typed && (!typed || length <= 0))
        {
            m_End = ELineEnd::Closed;
        }
        if (m_End == ELineEnd::Typed)
        {
            line = Trimmed(std::string_view(typed, static_cast<std::size_t>(length)));
        }
        else
        {
            el_reset(m_Editor);
            std::fputs("\n", stdout);
        }
        std::fflush(stdout);
        return m_End;
    }

private:
    static CLineEditor& Self(EditLine* editor)
    {
        void* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *static_cast<CLineEditor*>(self);
    }

    static char* PromptText(EditLine* editor) { return Self(editor).m_Prompt.data(); }
    static int ReadCharacter(EditLine* editor, wchar_t* character) { return Self(editor).WaitForCharacter(*character); }

    /// 1 and a character; 0 or -1 when the line ends without one, as `m_End` says.
    int WaitForCharacter(wchar_t& character)
    {
        for (;;)
        {
            if (CUIUpdate::GetUIUpdate().AbortFunction())
            {
                m_End = ELineEnd::Interrupted;
                return -1;
            }
            if (m_Deadline && TClock::now() >= *m_Deadline)
            {
                m_End = ELineEnd::TimedOut;
                return -1;
            }
            pollfd input{STDIN_FILENO, POLLIN, 0};
            const int ready = poll(&input, 1, TickMilliseconds());
            if (ready > 0)
            {
                return TakeByte(character);
            }
            if (ready == 0 && UpdatePrompt())
            {
                // The editor draws from where it believes to be: at the start of an empty line.
                std::fputs("\r\033[K", stdout);
                std::fflush(stdout);
                el_set(m_Editor, EL_REFRESH);
            }
        }
    }

    /// One character of UTF-8, assembled from its bytes.
    int TakeByte(wchar_t& character)
    {
        for (;;)
        {
            char byte = 0;
            const ssize_t count = read(STDIN_FILENO, &byte, 1);
            if (count <= 0)
            {
                return count == 0 || errno != EINTR ? 0 : -1;
            }
            const std::size_t used = std::mbrtowc(&character, &byte, 1, &m_Partial);
            if (used == static_cast<std::size_t>(-2))
            {
                continue;
            }
            if (used == static_cast<std::size_t>(-1))
            {
                m_Partial = {};
                character = L'?';
            }
            return 1;
        }
    }

    int TickMilliseconds() const
    {
        constexpr auto second = std::chrono::milliseconds(1000);
        if (!m_Deadline)
        {
            return static_cast<int>(second.count());
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_Deadline - TClock::now());
        return static_cast<int>(std::clamp(left % second, std::chrono::milliseconds(1), second).count());
    }

    /// True when the prompt has changed.
    bool UpdatePrompt()
    {
        const std::string before = m_Prompt;
        m_Prompt = "> ";
        if (m_Deadline)
        {
            const auto left = std::chrono::ceil<std::chrono::seconds>(*m_Deadline - TClock::now());
            m_Prompt = "(" + std::to_string(std::max<long>(left.count(), 0)) + " s) > ";
        }
        return m_Prompt != before;
    }

    EditLine* m_Editor;
    std::string m_Prompt;
    std::optional<TClock::time_point> m_Deadline;
    ELineEnd m_End = ELineEnd::Typed;
    std::mbstate_t m_Partial{};
};

// ------------------------------------------------------------------------------------------------------- the dialogs

CTerminalUserInput::CTerminalUserInput(CProgress& progress)
    : m_Progress(progress)
    , m_Editor(std::make_unique<CLineEditor>())
{
}

CTerminalUserInput::~CTerminalUserInput() = default;

bool CTerminalUserInput::IsPossible()
{
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
}

EUIReturnCode CTerminalUserInput::Ask(std::uint32_t timeout, std::string_view text, const std::string& choices,
                                      bool withResult, const TAccept& accept)
{
    Begin();
    m_Progress.Erase();
    std::printf("\n%s\n  %s  [%s] Abort\n", PrintableText(text).c_str(), PrintableLine(choices).c_str(), ABORT_KEY);
    std::fflush(stdout);
    const auto deadline =
        timeout == UI_NO_TIMEOUT ? std::nullopt : std::optional(TClock::now() + std::chrono::seconds(timeout));
    const CSafeString shown(text);
    for (;;)
    {
        std::string line;
        switch (m_Editor->Read(deadline, line))
        {
        case ELineEnd::TimedOut:
            return EndedByTimeout();
        case ELineEnd::Closed:
            return Closed();
        case ELineEnd::Interrupted:
            RaiseUserAbort(FormatText("Interrupted at the prompt \"%s\".", shown.c_str()));
        case ELineEnd::Typed:
            break;
        }
        if (line == ABORT_KEY)
        {
            RaiseUserAbort(FormatText("The operator aborted at the prompt \"%s\".", shown.c_str()));
        }
        const std::optional<std::string> reason = accept(line);
        if (!reason)
        {
            return Answered(withResult);
        }
        std::printf("%s\n", PrintableLine(*reason).c_str());
    }
}

EUIReturnCode CTerminalUserInput::ShowInfo(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text,
                                           bool /*wait*/, std::string_view button, EUIEmphasis emphasis,
                                           gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    if (IsHeadline())
    {
        return PassOnHeadline(text, emphasis);
    }
    const std::string caption(button);
    return Ask(timeout, text, "[Enter] " + caption, false,
               [&](const std::string& line) -> std::optional<std::string>
               {
                   const bool acknowledged = line.empty() || Means(line, caption, "y");
                   return acknowledged ? std::nullopt : std::optional("Press Enter for \"" + caption + "\".");
               });
}

EUIReturnCode CTerminalUserInput::BooleanChoice(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text,
                                                bool* answer, std::string_view yes, std::string_view no,
                                                gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    const std::string choices = "[y] " + std::string(yes) + "  [n] " + std::string(no);
    return Ask(timeout, text, choices, true,
               [&](const std::string& line) -> std::optional<std::string>
               {
                   const bool isYes = Means(line, yes, "y");
                   if (!isYes && !Means(line, no, "n"))
                   {
                       return "\"" + line + "\" is neither y nor n.";
                   }
                   // The slot may hold any byte, so it must not be touched as a bool.
                   const unsigned char byte = isYes ? 1 : 0;
                   std::memcpy(answer, &byte, sizeof byte);
                   return std::nullopt;
               });
}

EUIReturnCode CTerminalUserInput::GetInteger(EUIMode /*mode*/, std::uint32_t timeout, std::string_view text,
                                             std::string_view label, std::uint64_t* value, ENumericBase base,
                                             bool initialize, std::uint64_t max, std::uint64_t min,
                                             std::string_view /*title*/, std::string_view /*unit*/,
                                             gui::EAbortBtn /*abortButton*/, std::string_view /*help*/)
{
    const std::uint64_t initial = *value;
    const std::string range = "from " + ShowNumber(min, base) + " to " + ShowNumber(max, base);
    const std::string choices = std::string(label) + " " + range + (base == BASE_HEXADECIMAL ? ", hexadecimal" : "") +
        (initialize ? "  [Enter] " + ShowNumber(initial, base) : "");
    return Ask(timeout, text, choices, true,
               [&](const std::string& line) -> std::optional<std::string>
               {
                   const auto number = line.empty() && initialize ? std::optional(initial) : ReadNumber(line, base);
                   if (!number)
                   {
                       return "\"" + line + "\" is no " +
                           (base == BASE_HEXADECIMAL ? "hexadecimal number." : "number.");
                   }
                   if (*number < min || *number > max)
                   {
                       return ShowNumber(*number, base) + " is not " + range + ".";
                   }
                   *value = *number;
                   return std::nullopt;
               });
}
