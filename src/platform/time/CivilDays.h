#pragma once

// Day counts of the proleptic Gregorian calendar, for the calendar and the zone rules.
#include <chrono>
#include <cstdint>

namespace tarvo::civil {

/// Days since 1970-01-01 of a civil date. Months outside 1..12 roll into neighbouring years
/// and days outside the month into neighbouring months (day 0 is the previous month's last).
inline int64_t daysFromCivil(int64_t year, int64_t month, int64_t day) {
    const int64_t monthIndex = month - 1;
    const int64_t yearShift = monthIndex >= 0 ? monthIndex / 12 : -((11 - monthIndex) / 12);
    const int64_t m = monthIndex - yearShift * 12 + 1;
    const std::chrono::sys_days first = std::chrono::year(static_cast<int>(year + yearShift)) /
                                        std::chrono::month(static_cast<unsigned>(m)) / std::chrono::day(1);
    return first.time_since_epoch().count() + (day - 1);
}

}  // namespace tarvo::civil
