#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/Format.h>

#include <array>

namespace
{
bool Has(TEST_STATUS status, TEST_STATUS bit)
{
    return (static_cast<std::uint32_t>(status) & static_cast<std::uint32_t>(bit)) != 0;
}
} // namespace

const char* GetLogLevelName(ELogLevel level)
{
    static constexpr std::array names{"Always", "Errors", "Failures", "Normal", "Warnings", "Trace", "Detail"};
    return level < names.size() ? names[level] : "Everything";
}

ZKLogger::ZKLogger() = default;

ZKLogger::~ZKLogger() = default;

void ZKLogger::DoWrite(LOG_TYPE type, ELogLevel level, const CFormatInfo* format, std::string_view text)
{
    const SHostServices& services = CAppState::Services();
    m_Status |= type.status;
    if (Has(type.status, TS_FAILED | TS_ERROR))
    {
        if (CTestLog* log = CAppState::CurrentTestLog())
        {
            log->CountFailure();
        }
    }
    const SLogEntry entry{type, level, format, text};
    services.Listeners.ForEach([&](CHostListener& listener) { listener.LogWritten(entry); });
}

void ZKLogger::DoWritePrintOnly(ELogLevel level, std::string_view text)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.Printed(level, false, text); });
}

void ZKLogger::DoWritePrintLnOnly(ELogLevel level, std::string_view text)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.Printed(level, true, text); });
}

const CFormatInfo& ZKLogger::GetDefaultFormat(TEST_STATUS status)
{
    static const CFormatInfo plain({0, 0, 0, 255}, CFormatInfo::NORMAL_STRENGTH);
    static const CFormatInfo failed({139, 0, 0, 255}, CFormatInfo::NORMAL_STRENGTH);
    static const CFormatInfo error({139, 0, 0, 255}, CFormatInfo::BOLD_STRENGTH);
    if (Has(status, TS_ERROR))
    {
        return error;
    }
    return Has(status, TS_FAILED) ? failed : plain;
}

ELogLevel ZKLogger::GetDefaultLogVerbosity(TEST_STATUS status)
{
    if (Has(status, TS_ERROR))
    {
        return LL_ERROR;
    }
    return Has(status, TS_FAILED) ? LL_FAILURE : LL_NORMAL;
}

TEST_STATUS ZKLogger::TestStatus(TEST_STATUS status) const
{
    return m_Status | status;
}

void ZKLogger::ClearTestStatus()
{
    m_Status = TS_NONE;
}

void ZKLogger::BeginFunction() {}

void ZKLogger::EndFunction()
{
    CTestLog* log = CAppState::CurrentTestLog();
    if (log && !log->FunctionCompleted())
    {
        log->CountAbort();
    }
}

void FlushOutput(bool complete)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { listener.OutputFlushed(complete); });
}

void WriteLog(LOG_TYPE type, ELogLevel level, const CFormatInfo& format, std::string_view text)
{
    const bool isDefault = format == ZKLogger::GetDefaultFormat(type.status);
    CAppState::Log().DoWrite(type, level, isDefault ? nullptr : &format, text);
}

void LogWarning(std::string_view text)
{
    WriteLog(TS_NONE, LL_WARNING, DefaultWarningFormat(), text);
    if (CTestLog* log = CAppState::CurrentTestLog())
    {
        log->CountWarning();
    }
}

void LogDefault(TEST_STATUS status, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    WriteLog(status, ZKLogger::GetDefaultLogVerbosity(status), ZKLogger::GetDefaultFormat(status),
             FormatTextV(format, arguments));
}
