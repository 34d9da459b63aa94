#pragma once

#include "Progress.h"

#include <HostKit/HostListener.h>

#include <cstdio>
#include <string>

/// Shows a run to the operator: log entries up to a level, the tests that begin, the headline. The further lines of an
/// entry are moved in; everything else is one line. Owned by the command; the stream and the progress line outlive it.
class CTerminalListener : public CHostListener
{
public:
    CTerminalListener(std::FILE* stream, ELogLevel level, bool color, CProgress& progress);

    void LogWritten(const SLogEntry& entry) override;
    void Printed(ELogLevel level, bool line, std::string_view text) override;
    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override;
    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override;
    void OperatorAborted(std::string_view text) override;

    /// A line of the command's own, whatever the level.
    void Line(std::string_view text);

private:
    void Show(std::string shown, const CFormatInfo& format, bool endsLine);
    void EndLine();

    std::FILE* m_Stream;
    ELogLevel m_Level;
    bool m_Color;
    CProgress& m_Progress;
    bool m_LineOpen = false;
};
