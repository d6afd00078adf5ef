#pragma once

#include <cstdint>

#include "tarvo/platform/Date.h"

namespace tarvo {

/// One calendar date read on the GMT clock, for stamping a day's records: the date's day
/// count is worked out once, and each clock reading of that date becomes a moment.
///
///   Given:    a date's year, month and day (out-of-range fields roll over as on the
///             calendar); then an hour and a minute of it.
///   Returned: the moment, the very double Calendar(TimeZone::gmt()).dateFromComponents gives
///             for those fields with no seconds: the same whole-second sum, converted once,
///             and no zone offset to take away.
class WallClockDay {
public:
    WallClockDay(int64_t year, int64_t month, int64_t day);

    Date at(int64_t hour, int64_t minute) const;

private:
    int64_t startSeconds_;
};

}  // namespace tarvo
