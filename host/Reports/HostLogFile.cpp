#include <Reports/HostLogFile.h>

#include <CoreKit/Format.h>
#include <CoreKit/PrintableText.h>
#include <CoreKit/Time.h>

#include <chrono>

namespace
{
const char* StatusName(TEST_STATUS status)
{
    return (status & TS_ERROR) != 0 ? "ERROR" : (status & TS_FAILED) != 0 ? "FAILED" : "-";
}
} // namespace

CHostLogFile::CHostLogFile(const std::string& path)
    : m_File(path)
{
}

void CHostLogFile::LogWritten(const SLogEntry& entry)
{
    Write(entry.level, StatusName(entry.type.status), PrintableText(entry.text));
}

void CHostLogFile::Printed(ELogLevel level, bool, std::string_view text)
{
    Write(level, "print", PrintableText(text));
}

void CHostLogFile::TestLogAdded(std::string_view text, bool isTest, bool isSeparator)
{
    Write(LL_ALWAYS, isTest ? "test" : isSeparator ? "part" : "step", PrintableLine(text));
}

void CHostLogFile::HeadlineShown(std::string_view text, std::uint32_t)
{
    Write(LL_ALWAYS, "result", PrintableLine(text));
}

void CHostLogFile::OperatorAborted(std::string_view text)
{
    Write(LL_ALWAYS, "abort", PrintableLine(text));
}

void CHostLogFile::Note(std::string_view text)
{
    Write(LL_ALWAYS, "note", PrintableLine(text));
}

void CHostLogFile::Write(ELogLevel level, const char* kind, std::string_view text)
{
    while (!text.empty() && text.back() == '\n')
    {
        text.remove_suffix(1);
    }
    const CSafeString time = MakeUtcTimeString(std::chrono::system_clock::now());
    std::string line(FormatText("%s %u %-6s ", time.c_str(), static_cast<unsigned>(level), kind));
    const std::string indent(line.size(), ' ');
    for (const char c : text)
    {
        line += c;
        if (c == '\n')
        {
            line += indent;
        }
    }
    m_File.Append(line += '\n');
    m_File.HandOver();
}
