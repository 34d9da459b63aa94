#pragma once

#include <Reports/ReportsExport.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

/// A text file that a run leaves behind. Lines are gathered, and handed over to the system in one piece: whatever was
/// handed over before a crash or a kill stands. The constructor replaces an existing file; it throws
/// `ZKRunTimeException`, naming path and reason, when it cannot, and leaves a file alone that another run is writing. A
/// failed write is remembered, takes back the piece of line it left, and is the file's last. In a process forked from
/// the one that made it, a file does nothing until that process adopts it; then both may write whole lines.
class REPORTS_EXPORT CLineFile
{
public:
    explicit CLineFile(const std::string& path);
    /// A temporary file without a name, which is gone when the last process closes it.
    struct SUnnamed
    {
    };
    explicit CLineFile(SUnnamed);
    /// Hands over; who wants to know whether that failed does so before.
    ~CLineFile();
    CLineFile(const CLineFile&) = delete;
    CLineFile& operator=(const CLineFile&) = delete;

    /// `lines` ends with a line feed. What was gathered is handed over when it becomes large.
    void Append(std::string_view lines);
    /// Gives the system what was gathered, in one write unless it takes only a part.
    void HandOver();

    /// This process, forked from the one that made the file, writes it too.
    void Adopt();
    int Descriptor() const { return m_File; }
    /// The same file under another number; the one before is left as it is.
    void Descriptor(int file) { m_File = file; }

    /// As it was named, else what it is.
    const std::string& Path() const { return m_Path; }
    /// Where this process can read what was handed over.
    std::string ReadPath() const { return "/proc/self/fd/" + std::to_string(m_File); }
    /// What kept the file from being complete; empty when nothing did.
    std::string WriteError() const;

private:
    bool IsOwner() const;
    void TakeBackPiece(std::string_view written);

    std::string m_Path;
    std::string m_Gathered; ///< whole lines
    int m_Error = 0;        ///< an `errno`
    int m_File;
    pid_t m_Process;
};
