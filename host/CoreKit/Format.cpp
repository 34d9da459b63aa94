#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/Format.h>
#include <CoreKit/SimpleBuffer.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <langinfo.h>

namespace
{
constexpr std::size_t FIRST_SIZE = 512;

/// While it lives, numbers have their decimal point, whatever locale test code has set; all else in it stays.
class CPlainNumbers
{
public:
    CPlainNumbers()
    {
        if (std::string_view(nl_langinfo(RADIXCHAR)) != ".")
        {
            m_Plain = newlocale(LC_NUMERIC_MASK, "C", duplocale(uselocale(nullptr)));
            m_Before = uselocale(m_Plain);
        }
    }
    ~CPlainNumbers()
    {
        if (m_Plain)
        {
            uselocale(m_Before);
            freelocale(m_Plain);
        }
    }
    CPlainNumbers(const CPlainNumbers&) = delete;
    CPlainNumbers& operator=(const CPlainNumbers&) = delete;

private:
    locale_t m_Plain = nullptr;
    locale_t m_Before = nullptr;
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

    const CPlainNumbers numbers;
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
