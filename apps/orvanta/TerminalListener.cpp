#include "TerminalListener.h"

#include "Terminal.h"

#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

namespace
{
constexpr ZKColor RED{255, 0, 0, 255};
constexpr ZKColor GREEN{0, 255, 0, 255};

const CFormatInfo& FormatOf(const SLogEntry& entry)
{
    return entry.format ? *entry.format : ZKLogger::GetDefaultFormat(entry.type.status);
}
} // namespace

CTerminalListener::CTerminalListener(std::FILE* stream, ELogLevel level, bool color, CProgress& progress)
    : m_Stream(stream)
    , m_Level(level)
    , m_Color(color)
    , m_Progress(progress)
{
}

void CTerminalListener::LogWritten(const SLogEntry& entry)
{
    if (entry.level <= m_Level)
    {
        Show(entry.text, FormatOf(entry), entry.type.second != LOG_CONTINUES);
    }
}

void CTerminalListener::Printed(ELogLevel level, bool line, std::string_view text)
{
    if (level <= m_Level)
    {
        EndLine();
        const bool ended = text.ends_with('\n');
        Show(ended ? text.substr(0, text.size() - 1) : text, {}, line || ended);
    }
}

void CTerminalListener::TestLogAdded(std::string_view text, bool isTest, bool isSeparator)
{
    if (LL_NORMAL <= m_Level && !isSeparator && !text.empty())
    {
        EndLine();
        Show((isTest ? "Test: " : "Step: ") + std::string(text), {}, true);
    }
}

void CTerminalListener::HeadlineShown(std::string_view text, std::uint32_t emphasis)
{
    m_Progress.Clear();
    EndLine();
    Show(text, CFormatInfo(emphasis == UI_EMPHASIS_FAILURE ? RED : GREEN, CFormatInfo::BOLD_STRENGTH), true);
}

void CTerminalListener::OperatorAborted(std::string_view text)
{
    EndLine();
    Show("Aborted: " + std::string(text), DefaultAbortFormat(), true);
}

void CTerminalListener::Line(std::string_view text)
{
    EndLine();
    Show(text, {}, true);
}

void CTerminalListener::Show(std::string_view text, const CFormatInfo& format, bool endsLine)
{
    m_Progress.Erase();
    std::string shown = Printable(text);
    const std::string escape = m_Color && !shown.empty() ? EscapeSequence(format) : std::string();
    if (!escape.empty())
    {
        shown = escape + shown + ESCAPE_RESET;
    }
    m_LineOpen = !endsLine;
    if (endsLine)
    {
        shown += '\n';
    }
    std::fwrite(shown.data(), 1, shown.size(), m_Stream);
    std::fflush(m_Stream);
    if (endsLine)
    {
        m_Progress.Draw();
    }
}

void CTerminalListener::EndLine()
{
    if (m_LineOpen)
    {
        std::fputc('\n', m_Stream);
        m_LineOpen = false;
    }
}
