#pragma once

#include <cstdint>

namespace tarvo {

/// A time of day as the day's lists show it: whole hours and minutes.
///
///   Given:    a time of day in fractional hours (not wrapped; NaN when there is none).
///   Returned: the hour and minute after adding half a minute, wrapping into 0-24 and cutting
///             down; 0:00 for NaN and infinities. Hour and minute come from one rounding, so
///             a caller that needs both rounds once (floatToHour and floatToMin are its parts).
struct ClockReading {
    int64_t hour = 0;
    int64_t minute = 0;

    static ClockReading of(double hours);
};

}  // namespace tarvo
