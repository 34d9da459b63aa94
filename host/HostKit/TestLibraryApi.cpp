#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/Format.h>

#include <zk/test.h>

#include <algorithm>

namespace
{
__attribute__((format(printf, 1, 0))) CSafeString FormatOrEmpty(const char* format, std::va_list arguments)
{
    return format ? FormatTextV(format, arguments) : CSafeString();
}
} // namespace

void zk_log(std::uint32_t level, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    const auto known = static_cast<ELogLevel>(std::min<std::uint32_t>(level, LL_DETAIL));
    WriteLog(TS_NONE, known, ZKLogger::GetDefaultFormat(TS_NONE), FormatOrEmpty(format, arguments));
    HandOver();
}

void zk_warning(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    WriteLog(TS_NONE, LL_WARNING, DefaultWarningFormat(), FormatOrEmpty(format, arguments));
    if (CTestLog* log = CAppState::CurrentTestLog())
    {
        log->CountWarning();
    }
    HandOver();
}

void zk_failure(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    LogDefault(TS_FAILED, "%s", FormatOrEmpty(format, arguments).c_str());
    HandOver();
}

void zk_error(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    LogDefault(TS_ERROR, "%s", FormatOrEmpty(format, arguments).c_str());
    HandOver();
}

void zk_abort(const char* text)
{
    RaiseUserAbort(CSafeString(text), EAbortCause::Library);
}
