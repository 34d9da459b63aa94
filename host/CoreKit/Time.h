#pragma once

#include <CoreKit/CoreKitExport.h>
#include <CoreKit/SafeString.h>

#include <chrono>

/// A point in time as local time, in the format of `std::strftime`.
COREKIT_EXPORT CSafeString MakeTimeString(const char* format, std::chrono::system_clock::time_point when);
COREKIT_EXPORT CSafeString MakeCurrentTimeString(const char* format);

/// ISO 8601, UTC, milliseconds: "2026-11-22T05:13:04.250Z".
COREKIT_EXPORT CSafeString MakeUtcTimeString(std::chrono::system_clock::time_point when);
