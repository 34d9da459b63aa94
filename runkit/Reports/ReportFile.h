#pragma once

#include <Reports/ReportsExport.h>

#include <memory>
#include <string>
#include <string_view>

class QFileDevice;

/// A file that is written in pieces and appears whole or not at all: until `Commit`, and after a failure, what stood at
/// the path before is as it was. A replaced file keeps its permissions; behind a symbolic link, the file it names is
/// replaced. What is no regular file, such as a pipe, and a file whose folder takes no other are written as it comes.
/// Owned by the report.
class REPORTS_EXPORT CReportFile
{
public:
    /// Throws `ZKRunTimeException`, naming path and reason, when the file cannot be written.
    explicit CReportFile(std::string path);
    /// Without `Commit`, nothing was written.
    ~CReportFile();
    CReportFile(const CReportFile&) = delete;
    CReportFile& operator=(const CReportFile&) = delete;

    void Write(std::string_view text);
    /// Throws `ZKRunTimeException`, naming path and reason, when something could not be written.
    void Commit();

    /// Whether a file can be written there is found out without leaving a trace. Throws `ZKRunTimeException`, naming
    /// path and reason.
    static void Check(const std::string& path);

private:
    void HandOver();

    std::string m_Path;
    std::unique_ptr<QFileDevice> m_File;
    std::string m_Gathered;
    std::string m_Error; ///< the first
};
