#include <Reports/Spool.h>

#include <CoreKit/Exceptions.h>

#include <array>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace
{
[[noreturn]] void ThrowNoRoom()
{
    ThrowFormatted<ZKRunTimeException>("no room for a temporary file: %s", std::strerror(errno));
}
} // namespace

CSpool::CSpool()
    : m_File(std::tmpfile())
{
    if (!m_File)
    {
        ThrowNoRoom();
    }
}

void CSpool::Append(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), m_File.get()) != text.size())
    {
        ThrowNoRoom();
    }
    m_IsEmpty = m_IsEmpty && text.empty();
}

void CSpool::Drain(const std::function<void(std::string_view piece)>& take)
{
    std::FILE* const file = m_File.get();
    if (std::fflush(file) != 0)
    {
        ThrowNoRoom();
    }
    std::rewind(file);
    std::array<char, 65536> piece{};
    for (std::size_t count = 0; (count = std::fread(piece.data(), 1, piece.size(), file)) > 0;)
    {
        take({piece.data(), count});
    }
    std::rewind(file);
    if (ftruncate(fileno(file), 0) != 0)
    {
        ThrowNoRoom();
    }
    m_IsEmpty = true;
}
