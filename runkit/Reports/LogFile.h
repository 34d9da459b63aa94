#pragma once

#include <Events/EventSink.h>
#include <Reports/LineFile.h>
#include <Reports/Report.h>
#include <Reports/ReportFile.h>
#include <Reports/ReportsExport.h>

#include <memory>
#include <string>

class CLogText;

/// The log of the runs of one call as a text file that can be followed while they run. Owned by the host. The
/// constructor throws `ZKRunTimeException` when the file cannot be written; later trouble is kept in `WriteError`.
class REPORTS_EXPORT CLogFile : public CEventSink
{
public:
    explicit CLogFile(const std::string& path);
    ~CLogFile() override;

    void Take(const SEvent& event) override;
    void HandOver() override;

    const std::string& Path() const { return m_File.Path(); }
    std::string WriteError() const { return m_File.WriteError(); }

private:
    CLineFile m_File;
    std::unique_ptr<CLogText> m_Text;
};

/// The same text as a report, of what stands in records.
class REPORTS_EXPORT CLogReport : public CReport
{
public:
    /// Throws `ZKRunTimeException` when the file cannot be written.
    explicit CLogReport(std::string path);
    ~CLogReport() override;

    void Take(const SEvent& event) override;
    void Finish() override;

private:
    CReportFile m_File;
    std::unique_ptr<CLogText> m_Text;
};
