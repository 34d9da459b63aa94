#pragma once

#include "DialogWatch.h"
#include "TextLayout.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <optional>
#include <string>

#include <histedit.h>

/// How reading a line ended.
enum class ELineEnd
{
    Typed,
    Closed, ///< Ctrl-D
    TimedOut,
    Interrupted, ///< the watch said so
    Lost,        ///< there is no terminal any more
};

/// Lets a dialog see Ctrl-Z and the return from it, which otherwise would leave the terminal as the dialog set it.
/// Lives with the dialog.
class CStopSignals
{
public:
    CStopSignals();
    ~CStopSignals();
    CStopSignals(const CStopSignals&) = delete;
    CStopSignals& operator=(const CStopSignals&) = delete;

    /// The signals to block while waiting.
    const sigset_t& WhileWaiting() const { return m_MaskBefore; }

    /// Whether that was asked for, or came about, since the last call.
    static bool TakeStop();
    static bool TakeContinued();
    /// Stops the process as Ctrl-Z would have without the object; returns when it goes on.
    void Stop();

private:
    sigset_t m_MaskBefore{};
    struct sigaction m_StopBefore
    {
    };
    struct sigaction m_ContinueBefore
    {
    };
};

/// Dialogs at the terminal that the process belongs to, whatever stdin and stdout are. Each shows a text, throws away
/// what was typed before it could be read, and takes lines, with editing and the seconds left when there is a time-out.
/// After a Ctrl-Z all is shown again with the line typed so far; the seconds count on where they were, those that
/// another process stopped this one with SIGSTOP aside.
class CLineDialog
{
public:
    /// Whether there is such a terminal.
    static bool IsPossible();

    /// The watch outlives it.
    explicit CLineDialog(CDialogWatch& watch);
    ~CLineDialog();
    CLineDialog(const CLineDialog&) = delete;
    CLineDialog& operator=(const CLineDialog&) = delete;

    /// Begins a dialog; the signals live as long as lines are read.
    void Open(const std::string& text, std::optional<std::uint32_t> timeout, CStopSignals& signals);
    /// The line is without the blanks around it.
    ELineEnd Read(std::string& line);
    void Say(const std::string& text);

private:
    using TClock = std::chrono::steady_clock;
    struct SClose
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    static CLineDialog& Self(EditLine* editor);
    static char* PromptText(EditLine* editor);
    static int ReadCharacter(EditLine* editor, wchar_t* character);

    int WaitForCharacter(wchar_t& character);
    int EndWith(ELineEnd end);
    bool TakeByte(wchar_t& character, int& result);
    timespec UntilNextSecond() const;
    bool UpdatePrompt();
    void Suspend();
    void Resume();
    void Redraw();

    CDialogWatch& m_Watch;
    std::unique_ptr<std::FILE, SClose> m_Terminal;
    std::string m_Text;
    EditLine* m_Editor = nullptr;
    CStopSignals* m_Signals = nullptr;
    std::string m_Prompt;
    std::optional<TClock::time_point> m_Deadline;
    ELineEnd m_End = ELineEnd::Typed;
    std::mbstate_t m_Partial{};
};
