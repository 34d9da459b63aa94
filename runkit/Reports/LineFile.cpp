#include <Reports/LineFile.h>

#include <CoreKit/Exceptions.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t MOST_GATHERED = std::size_t{64} * 1024;

/// Empties a file that no other process writes; false, with the reason in `errno`, when that fails. File systems
/// without locks do without, and what is no regular file is written as it comes.
bool TakeOver(int file)
{
    struct stat state
    {
    };
    if (fstat(file, &state) != 0 || !S_ISREG(state.st_mode))
    {
        return true;
    }
    return (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) && ftruncate(file, 0) == 0;
}

int OpenUnnamed()
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    std::string name = (error ? std::filesystem::path("/tmp") : folder) / "orvanta-XXXXXX";
    const int file = mkostemp(name.data(), O_APPEND | O_CLOEXEC);
    if (file >= 0)
    {
        unlink(name.c_str());
    }
    return file;
}
} // namespace

CLineFile::CLineFile(const std::string& path)
    : m_Path(path)
    , m_File(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666))
    , m_Process(getpid())
{
    if (m_File >= 0 && TakeOver(m_File))
    {
        return;
    }
    const std::string reason = errno == EWOULDBLOCK ? "another run is writing it" : std::strerror(errno);
    if (m_File >= 0)
    {
        close(m_File);
    }
    ThrowFormatted<ZKRunTimeException>("cannot write %s: %s", path.c_str(), reason.c_str());
}

CLineFile::CLineFile(SUnnamed)
    : m_Path("a temporary file")
    , m_File(OpenUnnamed())
    , m_Process(getpid())
{
    if (m_File < 0)
    {
        ThrowFormatted<ZKRunTimeException>("cannot write %s: %s", m_Path.c_str(), std::strerror(errno));
    }
}

CLineFile::~CLineFile()
{
    HandOver();
    if (IsOwner())
    {
        // Processes that tests started may still hold the file open, and with it the lock.
        flock(m_File, LOCK_UN);
    }
    close(m_File);
}

void CLineFile::Append(std::string_view lines)
{
    if (m_Error == 0)
    {
        m_Gathered.append(lines);
    }
    if (m_Gathered.size() >= MOST_GATHERED)
    {
        HandOver();
    }
}

void CLineFile::HandOver()
{
    std::string_view rest = IsOwner() ? m_Gathered : std::string_view();
    while (!rest.empty() && m_Error == 0)
    {
        const ssize_t written = write(m_File, rest.data(), rest.size());
        if (written >= 0)
        {
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (errno != EINTR)
        {
            m_Error = errno;
            TakeBackPiece(std::string_view(m_Gathered).substr(0, m_Gathered.size() - rest.size()));
        }
    }
    m_Gathered.clear();
}

std::string CLineFile::WriteError() const
{
    return m_Error == 0 ? "" : "cannot write " + m_Path + ": " + std::strerror(m_Error);
}

void CLineFile::Adopt()
{
    m_Process = getpid();
}

bool CLineFile::IsOwner() const
{
    return getpid() == m_Process;
}

void CLineFile::TakeBackPiece(std::string_view written)
{
    const std::size_t whole = written.rfind('\n') + 1; // 0 when there is none
    struct stat state
    {
    };
    if (fstat(m_File, &state) == 0)
    {
        // Fails for what is no regular file; there the piece stays.
        static_cast<void>(!ftruncate(m_File, state.st_size - static_cast<off_t>(written.size() - whole)));
    }
}
