#include "ProgressLine.h"

#include "Terminal.h"
#include "TextLayout.h"

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>

#include <algorithm>

namespace
{
constexpr std::chrono::milliseconds LEAST_INTERVAL{100};

std::string ClockText(std::chrono::system_clock::duration duration)
{
    const auto seconds = static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(duration).count());
    constexpr long long HOUR = 3600;
    return std::string(seconds < HOUR
                           ? FormatText("%lld:%02lld", seconds / 60, seconds % 60)
                           : FormatText("%lld:%02lld:%02lld", seconds / HOUR, seconds / 60 % 60, seconds % 60));
}
} // namespace

CProgressLine::CProgressLine(std::FILE* stream, bool enabled, const CRunView& view)
    : m_Stream(stream)
    , m_Enabled(enabled)
    , m_View(view)
{
}

void CProgressLine::Take(const SEvent& event)
{
    m_Now = event.time;
    std::visit(
        [this](const auto& what)
        {
            if constexpr (requires { this->On(what); })
            {
                this->On(what);
            }
        },
        event.what);
}

void CProgressLine::On(const SRunStartEvent& /*start*/)
{
    m_Running = m_TotalKnown = true;
    m_Done = m_Failed = 0;
    m_Begin = m_Now;
}

void CProgressLine::On(const SVerdictEvent& verdict)
{
    m_Done += verdict.test ? 1 : 0;
    m_Failed += verdict.verdict != EVerdict::Passed ? 1 : 0;
}

void CProgressLine::On(const SSkipEvent& skip)
{
    m_Done += m_View.InLoop() ? 0 : m_View.Node(skip.path).tests;
}

void CProgressLine::On(const SPassEvent& pass)
{
    m_TotalKnown = m_TotalKnown && m_View.Node(pass.path).tests == 0;
}

void CProgressLine::On(const SHeadlineEvent& /*headline*/)
{
    m_Running = false;
}

void CProgressLine::On(const SRunEndEvent& /*end*/)
{
    m_Running = false;
}

void CProgressLine::Erase()
{
    m_HasRoom = false;
    if (m_Drawn)
    {
        std::fputs("\r\033[K", m_Stream);
        std::fflush(m_Stream);
        m_Drawn = false;
    }
}

void CProgressLine::Draw()
{
    Erase();
    m_HasRoom = m_Interrupted = true;
    if (m_Enabled && m_Running && m_View.Innermost())
    {
        std::fputs(CutToColumns(Text(), TerminalWidth(m_Stream) - 1).c_str(), m_Stream);
        std::fflush(m_Stream);
        m_Drawn = true;
    }
}

void CProgressLine::Refresh()
{
    const bool isDue = m_Interrupted || m_Now < m_Refreshed || m_Now - m_Refreshed >= LEAST_INTERVAL;
    if (m_Enabled && m_HasRoom && isDue)
    {
        Draw();
        m_Interrupted = false;
        m_Refreshed = m_Now;
    }
}

std::string CProgressLine::Text() const
{
    std::string text = std::to_string(m_Done) + (m_TotalKnown ? " of " + std::to_string(m_View.Tests()) : "") +
        (m_Failed > 0 ? ", " + std::to_string(m_Failed) + " failed" : "") + ", " + ClockText(m_Now - m_Begin) + "  " +
        PrintableLine(m_View.TitleInPasses(*m_View.Innermost()));
    std::replace(text.begin(), text.end(), '\t', ' ');
    return text;
}
