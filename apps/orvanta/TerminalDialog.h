#pragma once

#include "DialogWatch.h"
#include "ProgressLine.h"

#include <CoreKit/Prompt.h>

#include <memory>
#include <variant>

class CLineDialog;

/// Why a dialog ended without an answer.
enum class EUnanswered
{
    Interrupted, ///< the watch said so
    Lost,        ///< there is no terminal any more
};

/// The operator's dialogs on the terminal that the process belongs to: the question, what may be answered, and a line
/// to type it in. An answer that does not fit is refused with the reason and asked again. "!" aborts the run, Ctrl-D
/// closes the dialog without an answer. Owned by who asks; the progress line and the watch outlive it.
class CTerminalDialog
{
public:
    CTerminalDialog(CProgressLine& progress, CDialogWatch& watch);
    ~CTerminalDialog();
    CTerminalDialog(const CTerminalDialog&) = delete;
    CTerminalDialog& operator=(const CTerminalDialog&) = delete;

    std::variant<TPromptAnswer, EUnanswered> Ask(const SPrompt& prompt);

private:
    CProgressLine& m_Progress;
    CDialogWatch& m_Watch;
    std::unique_ptr<CLineDialog> m_Dialog; ///< null before the first prompt
};
