#pragma once

#include <HostKit/FormatInfo.h>
#include <HostKit/HostKitExport.h>
#include <HostKit/LogTypes.h>

#include <string_view>

/// The host's log. It keeps the accumulated status, counts failures in the current test log, and hands every entry to
/// the listeners of the installed services. Owned by the host; virtual so that a host or a test can stand in.
class HOSTKIT_EXPORT ZKLogger
{
public:
    ZKLogger();
    virtual ~ZKLogger();
    ZKLogger(const ZKLogger&) = delete;
    ZKLogger& operator=(const ZKLogger&) = delete;

    /// Writes one entry. `format` is null when it equals the default format of the entry's status. The status joins the
    /// accumulated one; an entry with `TS_FAILED` or `TS_ERROR` counts one failure in the current test log.
    virtual void DoWrite(LOG_TYPE type, ELogLevel level, const CFormatInfo* format, std::string_view text);

    /// Writes text that is shown but is no log entry: as it stands, and as a line of its own.
    virtual void DoWritePrintOnly(ELogLevel level, std::string_view text);
    virtual void DoWritePrintLnOnly(ELogLevel level, std::string_view text);

    static const CFormatInfo& GetDefaultFormat(TEST_STATUS status);
    static ELogLevel GetDefaultLogVerbosity(TEST_STATUS status);

    /// The status gathered since the last clear, joined with `status`.
    virtual TEST_STATUS TestStatus(TEST_STATUS status) const;
    virtual void ClearTestStatus();

    /// Bracket the call of a test function. Ending one that did not complete counts one abort in its test log.
    virtual void BeginFunction();
    virtual void EndFunction();

private:
    TEST_STATUS m_Status = TS_NONE;
};

/// Lets the host show what was written so far: with `complete` it catches up fully (repaints, writes through), without
/// it may do so if that is cheap. May raise the operator's abort between two nodes.
HOSTKIT_EXPORT void FlushOutput(bool complete);

/// Writes an entry, passing the format as none when it equals the default of the entry's status: the one place that
/// knows this rule.
HOSTKIT_EXPORT void WriteLog(LOG_TYPE type, ELogLevel level, const CFormatInfo& format, std::string_view text);

/// Writes a warning and counts it in the current test log.
HOSTKIT_EXPORT void LogWarning(std::string_view text);

/// Writes an entry, formatted printf-style, at the default level and in the default format of its status.
HOSTKIT_EXPORT void LogDefault(TEST_STATUS status, const char* format, ...) __attribute__((format(printf, 2, 3)));
