#include <CoreKit/Format.h>
#include <CoreKit/Time.h>

#include <array>
#include <ctime>
#include <string_view>

namespace
{
std::tm LocalTime(std::chrono::system_clock::time_point when)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(when);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return parts;
}
} // namespace

CSafeString MakeTimeString(const char* format, std::chrono::system_clock::time_point when)
{
    const std::tm parts = LocalTime(when);
    std::array<char, 256> text{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const std::size_t length = std::strftime(text.data(), text.size(), format, &parts);
#pragma GCC diagnostic pop
    return CSafeString(std::string_view(text.data(), length));
}

CSafeString MakeCurrentTimeString(const char* format)
{
    return MakeTimeString(format, std::chrono::system_clock::now());
}

CSafeString MakeUtcTimeString(std::chrono::system_clock::time_point when)
{
    using namespace std::chrono;
    const auto milliseconds = floor<std::chrono::milliseconds>(when);
    const auto midnight = floor<days>(milliseconds);
    const year_month_day date(midnight);
    const hh_mm_ss time(milliseconds - midnight);
    return FormatText("%04d-%02u-%02uT%02ld:%02ld:%02ld.%03ldZ", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                      static_cast<long>(time.hours().count()), static_cast<long>(time.minutes().count()),
                      static_cast<long>(time.seconds().count()), static_cast<long>(time.subseconds().count()));
}
