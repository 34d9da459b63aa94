#pragma once

#include <Orvanta/OrvantaExport.h>

#include <cstdint>

/// The version of the library; its tweak is always 0.
ORVANTA_EXPORT std::int32_t GetVersionMajor();
ORVANTA_EXPORT std::int32_t GetVersionMinor();
ORVANTA_EXPORT std::int32_t GetVersionPatch();
ORVANTA_EXPORT std::int32_t GetVersionTweak();
