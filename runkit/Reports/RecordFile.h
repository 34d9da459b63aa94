#pragma once

#include <Events/EventSink.h>
#include <Reports/LineFile.h>
#include <Reports/ReportsExport.h>

#include <string>

/// The record of the runs of one call, for programs: a JSON object a line, in the order of the events. It needs no end,
/// so that a record cut off by a crash is as good as a whole one. Owned by the host. The constructor throws
/// `ZKRunTimeException` when the file cannot be written; later trouble is kept in `WriteError`.
class REPORTS_EXPORT CRecordFile : public CEventSink
{
public:
    /// Writes the first line, which names the engine's version and the `host`, the program's name.
    CRecordFile(const std::string& path, const std::string& host);
    /// A temporary one without a name, for reports alone.
    explicit CRecordFile(const std::string& host);

    void Take(const SEvent& event) override;
    void HandOver() override;

    /// The file beneath, for processes that share it.
    CLineFile& File() { return m_File; }
    const std::string& Path() const { return m_File.Path(); }
    /// Where this process can read it.
    std::string ReadPath() const { return m_File.ReadPath(); }
    std::string WriteError() const { return m_File.WriteError(); }

private:
    void Begin(const std::string& host);

    CLineFile m_File;
    std::string m_Line;
};
