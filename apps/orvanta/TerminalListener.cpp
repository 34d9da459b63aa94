#include "TerminalListener.h"

#include "Terminal.h"

#include <CoreKit/PrintableText.h>
#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

#include <algorithm>

namespace
{
constexpr ZKColor RED{255, 0, 0, 255};
constexpr ZKColor GREEN{0, 255, 0, 255};

const CFormatInfo& FormatOf(const SLogEntry& entry)
{
    return entry.format ? *entry.format : ZKLogger::GetDefaultFormat(entry.type.status);
}

/// What the further lines of an entry begin with at least, so that none of them looks like an entry of its own.
constexpr std::size_t FURTHER_INDENT = 4;

/// An entry for people: its further lines moved in together where one of them stands too far left.
std::string ShownEntry(std::string_view text)
{
    const std::string printable = PrintableText(text);
    std::size_t least = FURTHER_INDENT;
    for (std::size_t end = printable.find('\n'); end != std::string::npos; end = printable.find('\n', end + 1))
    {
        const std::size_t begin = printable.find_first_not_of(' ', end + 1);
        least = begin == std::string::npos || printable[begin] == '\n' ? least : std::min(least, begin - end - 1);
    }
    std::string shown;
    for (std::size_t i = 0; i < printable.size(); ++i)
    {
        shown += printable[i];
        const bool isLineBegin = printable[i] == '\n' && i + 1 < printable.size() && printable[i + 1] != '\n';
        shown.append(isLineBegin ? FURTHER_INDENT - least : 0, ' ');
    }
    return shown;
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
        Show(ShownEntry(entry.text), FormatOf(entry), entry.type.second != LOG_CONTINUES);
    }
}

void CTerminalListener::Printed(ELogLevel level, bool line, std::string_view text)
{
    if (level <= m_Level)
    {
        EndLine();
        const bool ended = text.ends_with('\n');
        Show(ShownEntry(ended ? text.substr(0, text.size() - 1) : text), {}, line || ended);
    }
}

void CTerminalListener::TestLogAdded(std::string_view text, bool isTest, bool isSeparator)
{
    if (LL_NORMAL <= m_Level && !isSeparator && !text.empty())
    {
        EndLine();
        Show((isTest ? "Test: " : "Step: ") + PrintableLine(text), {}, true);
    }
}

void CTerminalListener::HeadlineShown(std::string_view text, std::uint32_t emphasis)
{
    m_Progress.Clear();
    EndLine();
    Show(PrintableLine(text), CFormatInfo(emphasis == UI_EMPHASIS_FAILURE ? RED : GREEN, CFormatInfo::BOLD_STRENGTH),
         true);
}

void CTerminalListener::OperatorAborted(std::string_view text)
{
    EndLine();
    Show("Aborted: " + PrintableLine(text), DefaultAbortFormat(), true);
}

void CTerminalListener::Line(std::string_view text)
{
    EndLine();
    Show(PrintableLine(text), {}, true);
}

void CTerminalListener::Show(std::string shown, const CFormatInfo& format, bool endsLine)
{
    m_Progress.Erase();
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
