#pragma once

#include "ProgressLine.h"

#include <HostKit/UserInput.h>

#include <memory>

class CLineDialog;

/// The operator's dialogs on the terminal that the process belongs to: the question, what may be answered, and a line
/// to type it in. An answer that does not fit is refused with the reason and asked again. "!" or Ctrl-C aborts the run,
/// Ctrl-D closes the dialog without an answer. Owned by the command; the progress line outlives it.
class CTerminalUserInput : public CUserInput
{
public:
    explicit CTerminalUserInput(CProgressLine& progress);
    ~CTerminalUserInput() override;

protected:
    TPromptAnswer Ask(const SPrompt& prompt) override;

private:
    CProgressLine& m_Progress;
    std::unique_ptr<CLineDialog> m_Dialog; ///< null before the first prompt
};
