#include <Reports/ReportFile.h>

#include <CoreKit/Exceptions.h>

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr std::size_t MOST_GATHERED = std::size_t{64} * 1024;

[[noreturn]] void ThrowUnwritable(const std::string& path, const std::string& reason)
{
    ThrowFormatted<ZKRunTimeException>("cannot write %s: %s", path.c_str(), reason.c_str());
}

bool IsSpecial(const std::string& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

/// Of a file that is there or could be made; 0 when it can be written.
int ErrorOf(std::filesystem::path path)
{
    constexpr int MOST_LINKS = 40; // as many as the system follows
    std::error_code error;
    for (int links = 0; links < MOST_LINKS && std::filesystem::is_symlink(path, error); ++links)
    {
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    }
    const std::filesystem::file_type type = std::filesystem::status(path, error).type();
    if (type == std::filesystem::file_type::directory)
    {
        return EISDIR;
    }
    if (type != std::filesystem::file_type::not_found)
    {
        return access(path.c_str(), W_OK) == 0 ? 0 : errno;
    }
    const std::filesystem::path folder = path.parent_path();
    const std::string name = folder.empty() ? "." : folder.string();
    const bool isFolder = std::filesystem::is_directory(name, error);
    return !isFolder ? ENOENT : access(name.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}
} // namespace

CReportFile::CReportFile(std::string path)
    : m_Path(std::move(path))
{
    Check(m_Path);
    const QString name = QFile::decodeName(m_Path.c_str());
    if (IsSpecial(m_Path))
    {
        m_File = std::make_unique<QFile>(name);
    }
    else
    {
        auto file = std::make_unique<QSaveFile>(name);
        file->setDirectWriteFallback(true); // where only the file may be written, not its folder
        m_File = std::move(file);
    }
    // Unbuffered, so that nothing is left to fail in `commit`, which replaces the file all the same.
    if (!m_File->open(QIODevice::WriteOnly | QIODevice::Unbuffered))
    {
        ThrowUnwritable(m_Path, m_File->errorString().toStdString());
    }
}

CReportFile::~CReportFile() = default;

void CReportFile::Write(std::string_view text)
{
    m_Gathered += text;
    if (m_Gathered.size() >= MOST_GATHERED)
    {
        HandOver();
    }
}

void CReportFile::HandOver()
{
    const auto length = static_cast<qint64>(m_Gathered.size());
    errno = 0;
    if (m_Error.empty() && m_File->write(m_Gathered.data(), length) != length)
    {
        m_Error = std::strerror(errno); // the object keeps no reason for a piece that was written
    }
    m_Gathered.clear();
}

void CReportFile::Commit()
{
    HandOver();
    if (!m_Error.empty())
    {
        ThrowUnwritable(m_Path, m_Error);
    }
    auto* const saved = dynamic_cast<QSaveFile*>(m_File.get());
    if (saved && !saved->commit())
    {
        ThrowUnwritable(m_Path, saved->errorString().toStdString());
    }
    if (!saved)
    {
        m_File->close();
    }
}

void CReportFile::Check(const std::string& path)
{
    if (const int error = ErrorOf(path); error != 0)
    {
        ThrowUnwritable(path, std::strerror(error));
    }
}
