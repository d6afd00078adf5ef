#pragma once

#include "tarvo/platform/Calendar.h"

namespace tarvo::test {

/// A moment on the device's clock; by default noon, the moment the tool and the app ask about.
inline Date localTime(int64_t year, int64_t month, int64_t day, int64_t hour = 12, int64_t minute = 0) {
    return Calendar().dateFromComponents({year, month, day, hour, minute});
}
inline Date noonOn(int64_t year, int64_t month, int64_t day) { return localTime(year, month, day); }

}  // namespace tarvo::test
