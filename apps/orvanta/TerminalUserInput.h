#pragma once

#include "TerminalDialog.h"

#include <HostKit/UserInput.h>

/// The operator's dialogs of a run in this process. Owned by the command; the progress line outlives it.
class CTerminalUserInput : public CUserInput, private CDialogWatch
{
public:
    explicit CTerminalUserInput(CProgressLine& progress);

protected:
    TPromptAnswer Ask(const SPrompt& prompt) override;

private:
    /// A stop request that is due ends the prompt.
    bool IsOver() override;

    CTerminalDialog m_Dialog;
};
