#include <Orvanta/Version.h>

#include <CoreKit/Version.h>

std::int32_t GetVersionMajor()
{
    return ORVANTA_VERSION_MAJOR;
}

std::int32_t GetVersionMinor()
{
    return ORVANTA_VERSION_MINOR;
}

std::int32_t GetVersionPatch()
{
    return ORVANTA_VERSION_PATCH;
}

std::int32_t GetVersionTweak()
{
    return 0;
}
