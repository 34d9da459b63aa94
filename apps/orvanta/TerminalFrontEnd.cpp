#include "TerminalFrontEnd.h"

#include "Terminal.h"

#include <poll.h>

CTerminalFrontEnd::CTerminalFrontEnd(CFrontEndHost& host, const STerminalStyle& style)
    : m_Host(host)
    , m_Style(style)
    , m_Report(stdout, stderr, style)
    , m_Dialog(m_Report.Progress(), host)
{
}

void CTerminalFrontEnd::Take(const SEvent& event, std::string_view /*line*/)
{
    m_Report.Take(event);
}

void CTerminalFrontEnd::Ask(const SPrompt& prompt)
{
    const auto end = m_Dialog.Ask(prompt);
    if (const auto* const answer = std::get_if<TPromptAnswer>(&end))
    {
        m_Host.Answer(*answer);
    }
    else if (std::get<EUnanswered>(end) == EUnanswered::Lost)
    {
        m_Host.NobodyAnswers("the terminal is gone");
    }
}

void CTerminalFrontEnd::Wait(std::chrono::milliseconds longest)
{
    pollfd input{m_Host.Descriptor(), POLLIN, 0};
    poll(&input, 1, static_cast<int>(longest.count()));
}

void CTerminalFrontEnd::Finish(const std::vector<std::string>& left)
{
    for (const std::string& line : left)
    {
        if (m_Style.level >= LL_NORMAL)
        {
            m_Report.Line(line);
        }
    }
    m_Report.Finish();
}

void CTerminalFrontEnd::Error(std::string_view text)
{
    m_Report.Progress().Erase();
    ReportError(text);
}

void CTerminalFrontEnd::Line(std::string_view text)
{
    m_Report.Line(text);
}
