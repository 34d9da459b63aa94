#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>
#include <HostKit/ServiceThread.h>
#include <HostKit/TestCall.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/Format.h>

#include <zk/test.h>

#include <algorithm>
#include <cstdlib>

#include <pthread.h>
#include <unistd.h>

namespace
{
__attribute__((format(printf, 1, 0))) CSafeString FormatOrEmpty(const char* format, std::va_list arguments)
{
    return format ? FormatTextV(format, arguments) : CSafeString();
}

/// Test code is inside a service while it lives.
class CServiceCall
{
public:
    explicit CServiceCall(CTestCallGuard* guard)
        : m_Guard(guard)
    {
        if (m_Guard)
        {
            m_Guard->EnterService();
        }
    }
    ~CServiceCall()
    {
        if (m_Guard)
        {
            m_Guard->LeaveService();
        }
    }
    CServiceCall(const CServiceCall&) = delete;
    CServiceCall& operator=(const CServiceCall&) = delete;

private:
    CTestCallGuard* m_Guard;
};

/// Does what test code asks a service for, unless it comes from where services do not work.
template <class Body>
void Serve(const Body& body)
{
    if (IdentifyCaller() != ECaller::Own)
    {
        return;
    }
    CTestCallGuard* const guard = CAppState::Services().Guard;
    {
        const CServiceCall call(guard);
        body();
        HandOver();
    }
    if (guard)
    {
        guard->ReturnFromService();
    }
}
} // namespace

void zk_log(std::uint32_t level, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    Serve(
        [&]
        {
            const auto known = static_cast<ELogLevel>(std::min<std::uint32_t>(level, LL_DETAIL));
            WriteLog(TS_NONE, known, ZKLogger::GetDefaultFormat(TS_NONE), FormatOrEmpty(format, arguments));
        });
}

void zk_warning(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    Serve([&] { LogWarning(FormatOrEmpty(format, arguments)); });
}

void zk_failure(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    Serve([&] { LogDefault(TS_FAILED, "%s", FormatOrEmpty(format, arguments).c_str()); });
}

void zk_error(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    Serve([&] { LogDefault(TS_ERROR, "%s", FormatOrEmpty(format, arguments).c_str()); });
}

bool zk_measure(const char* name, double value, const char* unit, double lower, double upper)
{
    const SMeasurement measurement{name ? name : "", value, unit ? unit : "", lower, upper};
    Serve(
        [&]
        {
            ReportMeasurement(measurement);
            const CSafeString text(std::string(measurement.name) + ": " + measurement.Text(measurement.IsWithin()));
            if (measurement.IsWithin())
            {
                WriteLog(TS_NONE, LL_NORMAL, ZKLogger::GetDefaultFormat(TS_NONE), text);
            }
            else
            {
                LogDefault(TS_FAILED, "%s", text.c_str());
            }
        });
    return measurement.IsWithin();
}

void zk_abort(const char* text)
{
    switch (IdentifyCaller())
    {
    case ECaller::Thread:
        pthread_exit(nullptr);
    case ECaller::Process:
        _exit(EXIT_FAILURE);
    case ECaller::Own:
        break;
    }
    const CServiceCall call(CAppState::Services().Guard);
    RaiseUserAbort(CSafeString(text), EAbortCause::Library);
}
