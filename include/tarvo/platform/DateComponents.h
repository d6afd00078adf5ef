#pragma once

#include <cstdint>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// Calendar fields of a moment, as a Gregorian calendar in some zone sees it.
struct TARVO_EXPORT DateComponents {
    int64_t year = 0;
    int64_t month = 0;   ///< 1 to 12
    int64_t day = 0;     ///< 1 to 31
    int64_t hour = 0;
    int64_t minute = 0;
    int64_t second = 0;
    int64_t nanosecond = 0;
    int64_t weekday = 0;  ///< 1 Sunday to 7 Saturday (ignored when building a date)

    bool operator==(const DateComponents&) const = default;

    /// The day as "YYYY-MM-DD" (year, month and day as they stand, zero-padded): the one
    /// form in which the library and the tool write a calendar day.
    std::string isoDay() const;
};

}  // namespace tarvo
