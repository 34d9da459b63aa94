#pragma once

#include <CoreKit/CoreKitExport.h>

#include <string>
#include <string_view>

/// What a test measured, with the limits it has to keep, both included; NaN for none.
struct COREKIT_EXPORT SMeasurement
{
    std::string_view name;
    double value;
    std::string_view unit; ///< may be empty
    double lower;
    double upper;

    /// A value that is not finite never is.
    bool IsWithin() const;
    /// "4.95 V (from 4.75 to 5.25)", and ", out of limits" unless it is within: value and limits in the shortest form
    /// that reads back as the same number.
    std::string Text(bool isWithin) const;
};
