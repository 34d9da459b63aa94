#pragma once

#include <Reports/LineFile.h>
#include <Reports/OldReportsExport.h>

#include <HostKit/HostListener.h>

#include <string>

/// The complete log of a run as plain text: one entry a line with time, level, status and text as `PrintableText` shows
/// it, further lines of a text indented below it. Owned by the host. The constructor throws `ZKRunTimeException` when
/// the file cannot be written.
class OLDREPORTS_EXPORT CHostLogFile : public CHostListener
{
public:
    explicit CHostLogFile(const std::string& path);

    std::string WriteError() const { return m_File.WriteError(); }

    void LogWritten(const SLogEntry& entry) override;
    void Printed(ELogLevel level, bool line, std::string_view text) override;
    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override;
    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override;
    void OperatorAborted(std::string_view text) override;

    /// An entry of the host's own.
    void Note(std::string_view text);

private:
    /// `text` is printable.
    void Write(ELogLevel level, const char* kind, std::string_view text);

    CLineFile m_File;
};
