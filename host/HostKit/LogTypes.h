#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/TestStatus.h>

#include <cstdint>

/// How much a log entry matters, from 0 (always shown) upwards. The terminal shows an entry when its level is at most
/// the level the operator asked for; records are always complete.
enum ELogLevel : std::uint32_t
{
    LL_ALWAYS = 0,
    LL_ERROR = 1,
    LL_FAILURE = 2,
    LL_NORMAL = 3,
    LL_WARNING = 4,
    LL_TRACE = 5,
    LL_DETAIL = 6,
};

/// Name of a level for people ("Warnings"); levels beyond the last are "Everything". Never null.
HOSTKIT_EXPORT const char* GetLogLevelName(ELogLevel level);

/// What a log entry is: its status, and a second field that 0 leaves plain.
struct LOG_TYPE
{
    LOG_TYPE(TEST_STATUS entryStatus, std::uint32_t entrySecond = 0)
        : status(entryStatus)
        , second(entrySecond)
    {
    }

    TEST_STATUS status;
    std::uint32_t second; ///< `LOG_CONTINUES` when the next entry goes on in the same line
};

inline constexpr std::uint32_t LOG_CONTINUES = 4;
