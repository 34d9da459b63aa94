#pragma once

#include "ProgressLine.h"

#include <HostKit/FormatInfo.h>

#include <cstdio>
#include <string>
#include <string_view>

/// Writes texts of several formats to a terminal or a file, each in its turn with the progress line. What is written
/// has to be printable. The stream and the progress line outlive it.
class CTerminalOutput
{
public:
    CTerminalOutput(std::FILE* stream, bool color, CProgressLine& progress);

    /// A text with lines of its own.
    void Line(std::string_view text, const CFormatInfo& format = {});
    /// Goes on in a line that is open; leaves it open unless the text ends it.
    void Write(std::string_view text, const CFormatInfo& format, bool endsLine);
    void EndLine();
    bool IsLineOpen() const { return m_LineOpen; }

private:
    std::FILE* m_Stream;
    bool m_Color;
    CProgressLine& m_Progress;
    bool m_LineOpen = false;
};
