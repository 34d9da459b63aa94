#include "TerminalOutput.h"

#include "Terminal.h"

CTerminalOutput::CTerminalOutput(std::FILE* stream, bool color, CProgressLine& progress)
    : m_Stream(stream)
    , m_Color(color)
    , m_Progress(progress)
{
}

void CTerminalOutput::Line(std::string_view text, const CFormatInfo& format)
{
    EndLine();
    Write(text, format, true);
}

void CTerminalOutput::Write(std::string_view text, const CFormatInfo& format, bool endsLine)
{
    m_Progress.Erase();
    const std::string escape = m_Color && !text.empty() ? EscapeSequence(format) : std::string();
    std::string shown = escape;
    shown += text;
    shown += escape.empty() ? "" : ESCAPE_RESET;
    shown += endsLine ? "\n" : "";
    std::fwrite(shown.data(), 1, shown.size(), m_Stream);
    std::fflush(m_Stream);
    m_LineOpen = !endsLine;
    if (endsLine)
    {
        m_Progress.Draw();
    }
}

void CTerminalOutput::EndLine()
{
    if (m_LineOpen)
    {
        std::fputc('\n', m_Stream);
        std::fflush(m_Stream);
        m_LineOpen = false;
    }
}
