#include <Reports/LineFile.h>

#include <CoreKit/Exceptions.h>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

CLineFile::CLineFile(const std::string& path)
    : m_Path(path)
    , m_File(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
{
    if (m_File < 0)
    {
        ThrowFormatted<ZKRunTimeException>("cannot write %s: %s", path.c_str(), std::strerror(errno));
    }
}

CLineFile::~CLineFile()
{
    close(m_File);
}

void CLineFile::Append(std::string_view lines)
{
    std::string_view rest = lines;
    while (!rest.empty() && m_WriteError.empty())
    {
        const ssize_t written = write(m_File, rest.data(), rest.size());
        if (written >= 0)
        {
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (errno != EINTR)
        {
            m_WriteError = std::string("cannot write ") + m_Path + ": " + std::strerror(errno);
            // Fails for what is no regular file; there the piece stays.
            static_cast<void>(!ftruncate(m_File, m_Length));
        }
    }
    m_Length += static_cast<std::int64_t>(lines.size());
}
