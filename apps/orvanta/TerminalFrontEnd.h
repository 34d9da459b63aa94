#pragma once

#include "RunFrontEnd.h"
#include "TerminalDialog.h"
#include "TerminalReport.h"

/// The terminal: lines, progress and dialogs.
class CTerminalFrontEnd : public CRunFrontEnd
{
public:
    CTerminalFrontEnd(CFrontEndHost& host, const STerminalStyle& style);

    void Take(const SEvent& event, std::string_view line) override;
    void Ask(const SPrompt& prompt) override;
    void Wait(std::chrono::milliseconds longest) override;
    void Finish(const std::vector<std::string>& left) override;

    void Error(std::string_view text) override;
    void Line(std::string_view text) override;

private:
    CFrontEndHost& m_Host;
    const STerminalStyle m_Style;
    CTerminalReport m_Report;
    CTerminalDialog m_Dialog;
};
