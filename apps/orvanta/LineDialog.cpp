#include "LineDialog.h"

#include "Terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace
{
constexpr const char* TERMINAL = "/dev/tty";

volatile std::sig_atomic_t g_StopAsked = 0;
volatile std::sig_atomic_t g_Continued = 0;

extern "C" void NoteStopSignal(int signal)
{
    if (signal == SIGTSTP)
    {
        g_StopAsked = 1;
    }
    else
    {
        g_Continued = 1;
    }
}

bool Take(volatile std::sig_atomic_t& flag)
{
    const bool taken = flag != 0;
    flag = 0;
    return taken;
}

void Handle(int signal, struct sigaction* before)
{
    struct sigaction action
    {
    };
    action.sa_handler = NoteStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, before);
}

std::string Trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    const std::size_t end = text.find_last_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string() : std::string(text.substr(begin, end - begin + 1));
}
} // namespace

// ------------------------------------------------------------------------------------------------------- the signals

CStopSignals::CStopSignals()
{
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGTSTP);
    sigaddset(&watched, SIGCONT);
    sigprocmask(SIG_BLOCK, &watched, &m_MaskBefore);
    g_StopAsked = 0;
    g_Continued = 0;
    Handle(SIGCONT, &m_ContinueBefore);
    Handle(SIGTSTP, &m_StopBefore);
    if (m_StopBefore.sa_handler == SIG_IGN)
    {
        sigaction(SIGTSTP, &m_StopBefore, nullptr);
    }
}

CStopSignals::~CStopSignals()
{
    sigaction(SIGTSTP, &m_StopBefore, nullptr);
    sigaction(SIGCONT, &m_ContinueBefore, nullptr);
    sigprocmask(SIG_SETMASK, &m_MaskBefore, nullptr);
}

bool CStopSignals::TakeStop()
{
    return Take(g_StopAsked);
}

bool CStopSignals::TakeContinued()
{
    return Take(g_Continued);
}

void CStopSignals::Stop()
{
    struct sigaction own
    {
    };
    sigset_t mask;
    sigaction(SIGTSTP, &m_StopBefore, &own);
    std::raise(SIGTSTP);
    sigprocmask(SIG_SETMASK, &m_MaskBefore, &mask); // here it stops
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    sigaction(SIGTSTP, &own, nullptr);
    g_Continued = 1; // also where nothing can stop the process
}

// -------------------------------------------------------------------------------------------------------- the dialog

bool CLineDialog::IsPossible()
{
    return std::unique_ptr<std::FILE, SClose>(std::fopen(TERMINAL, "r+e")) != nullptr;
}

CLineDialog::CLineDialog(CDialogWatch& watch)
    : m_Watch(watch)
    , m_Terminal(std::fopen(TERMINAL, "r+e"))
{
    if (!m_Terminal)
    {
        return;
    }
    std::FILE* const terminal = m_Terminal.get();
    const CUtf8Locale locale; // choosing the editor decides which characters it inserts
    m_Editor = el_init("orvanta", terminal, terminal, terminal);
    el_set(m_Editor, EL_CLIENTDATA, this);
    el_set(m_Editor, EL_EDITOR, "emacs");
    el_set(m_Editor, EL_PROMPT, &CLineDialog::PromptText);
    el_set(m_Editor, EL_GETCFN, &CLineDialog::ReadCharacter);
    el_set(m_Editor, EL_SIGNAL, 0);
}

void CLineDialog::Open(const std::string& text, std::optional<std::uint32_t> timeout, CStopSignals& signals)
{
    if (!m_Editor)
    {
        return;
    }
    std::FILE* const terminal = m_Terminal.get();
    m_Text = '\n' + Wrapped(text, TerminalWidth(terminal)) + '\n';
    m_Signals = &signals;
    m_Partial = {};
    el_set(m_Editor, EL_PREP_TERM, 1);
    std::fputs(m_Text.c_str(), terminal);
    std::fflush(terminal);
    // Only now can the text be read, and only the terminal itself has read ahead.
    tcdrain(fileno(terminal));
    tcflush(fileno(terminal), TCIFLUSH);
    m_Deadline = timeout ? std::optional(TClock::now() + std::chrono::seconds(*timeout)) : std::nullopt;
}

CLineDialog::~CLineDialog()
{
    if (m_Editor)
    {
        el_end(m_Editor);
    }
}

ELineEnd CLineDialog::Read(std::string& line)
{
    if (!m_Editor)
    {
        return ELineEnd::Lost;
    }
    const CUtf8Locale locale;
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
        std::fputs("\n", m_Terminal.get());
    }
    std::fflush(m_Terminal.get());
    return m_End;
}

void CLineDialog::Say(const std::string& text)
{
    std::FILE* const terminal = m_Terminal.get();
    std::fprintf(terminal, "%s\n", Wrapped(text, TerminalWidth(terminal)).c_str());
    std::fflush(terminal);
}

CLineDialog& CLineDialog::Self(EditLine* editor)
{
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<CLineDialog*>(self);
}

char* CLineDialog::PromptText(EditLine* editor)
{
    return Self(editor).m_Prompt.data();
}

int CLineDialog::ReadCharacter(EditLine* editor, wchar_t* character)
{
    return Self(editor).WaitForCharacter(*character);
}

/// 1 and a character; -1 when the line ends without one, as `m_End` says.
int CLineDialog::WaitForCharacter(wchar_t& character)
{
    for (;;)
    {
        m_Watch.Serve();
        if (m_Watch.IsOver())
        {
            return EndWith(ELineEnd::Interrupted);
        }
        if (m_Deadline && TClock::now() >= *m_Deadline)
        {
            return EndWith(ELineEnd::TimedOut);
        }
        std::array<pollfd, 2> inputs{pollfd{fileno(m_Terminal.get()), POLLIN, 0},
                                     pollfd{m_Watch.Descriptor(), POLLIN, 0}};
        const timespec second = UntilNextSecond();
        const int ready = ppoll(inputs.data(), inputs.size(), &second, &m_Signals->WhileWaiting());
        int result = 0;
        if (ready > 0 && inputs[0].revents != 0 && TakeByte(character, result))
        {
            return result;
        }
        if (CStopSignals::TakeStop())
        {
            Suspend();
        }
        if (CStopSignals::TakeContinued())
        {
            Resume();
        }
        else if (ready == 0 && UpdatePrompt())
        {
            Redraw();
        }
    }
}

int CLineDialog::EndWith(ELineEnd end)
{
    m_End = end;
    return -1;
}

/// One byte of a character in UTF-8; true when there is a result for the editor.
bool CLineDialog::TakeByte(wchar_t& character, int& result)
{
    char byte = 0;
    const ssize_t count = read(fileno(m_Terminal.get()), &byte, 1);
    if (count <= 0)
    {
        result = EndWith(ELineEnd::Lost);
        return count == 0 || errno != EINTR;
    }
    const std::size_t used = std::mbrtowc(&character, &byte, 1, &m_Partial);
    if (used == static_cast<std::size_t>(-1))
    {
        m_Partial = {};
        character = L'?';
    }
    result = 1;
    return used != static_cast<std::size_t>(-2);
}

timespec CLineDialog::UntilNextSecond() const
{
    using std::chrono::nanoseconds;
    constexpr nanoseconds SECOND = std::chrono::seconds(1);
    const nanoseconds left = m_Deadline ? nanoseconds(*m_Deadline - TClock::now()) % SECOND : SECOND;
    // A little later than the second, so that it has passed.
    const nanoseconds wait = std::min(std::max(left, nanoseconds(0)) + std::chrono::milliseconds(1), SECOND);
    return {wait / SECOND, (wait % SECOND).count()};
}

/// True when the prompt has changed.
bool CLineDialog::UpdatePrompt()
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

void CLineDialog::Suspend()
{
    el_set(m_Editor, EL_PREP_TERM, 0);
    std::fputs("\n", m_Terminal.get());
    std::fflush(m_Terminal.get());
    const TClock::time_point begin = TClock::now();
    m_Signals->Stop();
    if (m_Deadline)
    {
        *m_Deadline += TClock::now() - begin;
    }
}

void CLineDialog::Resume()
{
    el_set(m_Editor, EL_PREP_TERM, 0); // the editor sets only what it believes to be unset
    el_set(m_Editor, EL_PREP_TERM, 1);
    std::fputs(m_Text.c_str(), m_Terminal.get());
    UpdatePrompt();
    Redraw();
}

void CLineDialog::Redraw()
{
    // The editor draws from where it believes to be: at the start of an empty line.
    std::fputs("\r\033[K", m_Terminal.get());
    std::fflush(m_Terminal.get());
    el_set(m_Editor, EL_REFRESH);
}
