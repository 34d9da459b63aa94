#include <HostKit/ReplaceFile.h>

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>

std::string ReplaceFile(const std::string& path, std::string_view text)
{
    QSaveFile file(QFile::decodeName(path.c_str()));
    // Unbuffered, so that nothing is left to fail in `commit`, which replaces the file all the same.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
    {
        return file.errorString().toStdString();
    }
    const auto length = static_cast<qint64>(text.size());
    errno = 0;
    if (file.write(text.data(), length) != length)
    {
        return std::strerror(errno); // the object keeps no reason for a piece that was written
    }
    return file.commit() ? std::string() : file.errorString().toStdString();
}
