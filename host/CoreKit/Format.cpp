#include <CoreKit/Format.h>
#include <CoreKit/SimpleBuffer.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace
{
constexpr std::size_t FIRST_SIZE = 512;

/// Ends the second walk over the arguments on every way out.
struct CArgumentsCopy
{
    explicit CArgumentsCopy(std::va_list source) { va_copy(m_Arguments, source); }
    ~CArgumentsCopy() { va_end(m_Arguments); }
    CArgumentsCopy(const CArgumentsCopy&) = delete;
    CArgumentsCopy& operator=(const CArgumentsCopy&) = delete;

    std::va_list m_Arguments;
};

std::size_t Checked(int length)
{
    if (length < 0)
    {
        throw std::runtime_error("INTERNAL ERROR - std::vsprintf() failed.");
    }
    return static_cast<std::size_t>(length);
}
} // namespace

CSafeString FormatFilledV(char fill, std::size_t count, const char* format, std::va_list arguments)
{
    thread_local CSimpleBuffer buffer;

    CArgumentsCopy again(arguments);
    char* text = buffer.Get(count + FIRST_SIZE);
    const std::size_t room = buffer.Size() - count;
    const std::size_t length = Checked(std::vsnprintf(text + count, room, format, arguments));
    if (length >= room)
    {
        text = buffer.Get(count + length + 1);
        Checked(std::vsnprintf(text + count, length + 1, format, again.m_Arguments));
    }
    std::memset(text, fill, count);
    return CSafeString(std::string_view(text, count + length));
}

CSafeString FormatTextV(const char* format, std::va_list arguments)
{
    return FormatFilledV(' ', 0, format, arguments);
}

CSafeString FormatText(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    CArgumentsCopy copy(arguments);
    va_end(arguments);
    return FormatTextV(format, copy.m_Arguments);
}

CSafeString FormatFilled(char fill, std::size_t count, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    CArgumentsCopy copy(arguments);
    va_end(arguments);
    return FormatFilledV(fill, count, format, copy.m_Arguments);
}
