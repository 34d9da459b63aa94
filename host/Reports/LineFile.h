#pragma once

#include <Reports/ReportsExport.h>

#include <cstdint>
#include <string>
#include <string_view>

/// A text file that a run leaves behind. Each append reaches the system at once and in full, so that whatever was
/// appended before a crash or a kill stands. The constructor replaces an existing file; it throws `ZKRunTimeException`,
/// naming path and reason, when it cannot, and leaves a file alone that another run is writing. A failed append is
/// remembered, takes back the piece of line it left, and is the file's last.
class REPORTS_EXPORT CLineFile
{
public:
    explicit CLineFile(const std::string& path);
    ~CLineFile();
    CLineFile(const CLineFile&) = delete;
    CLineFile& operator=(const CLineFile&) = delete;

    /// `lines` ends with a line feed.
    void Append(std::string_view lines);

    const std::string& Path() const { return m_Path; }
    /// What kept the file from being complete; empty when nothing did.
    const std::string& WriteError() const { return m_WriteError; }

private:
    std::string m_Path;
    std::string m_WriteError;
    std::int64_t m_Length = 0;
    int m_File;
};
