#include "prayers/WallClockDay.h"

#include "platform/time/CivilDays.h"

namespace tarvo {

namespace {

constexpr int64_t kSecondsPerDay = 86400;

}  // namespace

WallClockDay::WallClockDay(int64_t year, int64_t month, int64_t day)
    : startSeconds_(civil::daysFromCivil(year, month, day) * kSecondsPerDay) {}

// The seconds are summed as whole numbers before the one conversion to a double, as the
// calendar sums them, so every moment is the calendar's to the bit.
Date WallClockDay::at(int64_t hour, int64_t minute) const {
    return Date(static_cast<double>(startSeconds_ + hour * 3600 + minute * 60));
}

}  // namespace tarvo
