#pragma once

#include <CoreKit/CoreKitExport.h>
#include <CoreKit/SafeString.h>

#include <cstdarg>
#include <cstddef>

/// The house's only formatter. It formats printf-style into a buffer that each thread keeps for itself, any length, and
/// returns a text the caller owns. A format that can't be carried out (an encoding error) throws `std::runtime_error`
/// with "INTERNAL ERROR - std::vsprintf() failed.".
COREKIT_EXPORT CSafeString FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
COREKIT_EXPORT CSafeString FormatTextV(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

/// The same, with `count` times the character `fill` before the text.
COREKIT_EXPORT CSafeString FormatFilled(char fill, std::size_t count, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
COREKIT_EXPORT CSafeString FormatFilledV(char fill, std::size_t count, const char* format, std::va_list arguments)
    __attribute__((format(printf, 3, 0)));
