#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/Format.h>
#include <CoreKit/SimpleBuffer.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace
{
constexpr std::size_t FIRST_SIZE = 512;

/// While it lives, numbers look as they do in C, and wide texts become UTF-8, whatever locale the process has: test
/// code may set another.
class CPlainLocale
{
public:
    CPlainLocale()
        : m_Before(uselocale(Plain()))
    {
    }
    ~CPlainLocale() { uselocale(m_Before); }
    CPlainLocale(const CPlainLocale&) = delete;
    CPlainLocale& operator=(const CPlainLocale&) = delete;

private:
    static locale_t Plain()
    {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return utf8 ? utf8 : c;
    }

    locale_t m_Before;
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

    const CPlainLocale locale;
    std::va_list again;
    va_copy(again, arguments);
    const CArgumentsEnd end(again);
    char* text = buffer.Get(count + FIRST_SIZE);
    const std::size_t room = buffer.Size() - count;
    const std::size_t length = Checked(std::vsnprintf(text + count, room, format, arguments));
    if (length >= room)
    {
        text = buffer.Get(count + length + 1);
        Checked(std::vsnprintf(text + count, length + 1, format, again));
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
    const CArgumentsEnd end(arguments);
    return FormatTextV(format, arguments);
}

CSafeString FormatFilled(char fill, std::size_t count, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    return FormatFilledV(fill, count, format, arguments);
}
