#pragma once

#include <cstdint>

#include "tarvo/platform/Calendar.h"

namespace tarvo::test {

/// Noon of a date in the device's zone: the moment the tool and the app ask about.
inline Date noonOn(int64_t year, int64_t month, int64_t day) {
    DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    c.hour = 12;
    return Calendar().dateFromComponents(c);
}

}  // namespace tarvo::test
