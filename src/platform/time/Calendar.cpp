#include "tarvo/platform/Calendar.h"

#include <chrono>
#include <cmath>

#include "platform/time/CivilDays.h"

namespace tarvo {

namespace {

constexpr int64_t kSecondsPerDay = 86400;

}  // namespace

Calendar::Calendar() : zone_(TimeZone::systemDefault()) {}

Calendar::Calendar(TimeZone zone) : zone_(std::move(zone)) {}

DateComponents Calendar::components(Date date) const {
    using namespace std::chrono;
    const double local = date.timeIntervalSince1970() + static_cast<double>(zone_.secondsFromGMT(date));
    const double dayFloor = std::floor(local / kSecondsPerDay);
    const auto days = static_cast<int64_t>(dayFloor);
    const double secondsOfDay = local - dayFloor * kSecondsPerDay;
    const auto wholeSeconds = static_cast<int64_t>(std::floor(secondsOfDay));

    const year_month_day ymd{sys_days{std::chrono::days{days}}};
    DateComponents c;
    c.year = static_cast<int>(ymd.year());
    c.month = static_cast<unsigned>(ymd.month());
    c.day = static_cast<unsigned>(ymd.day());
    c.hour = wholeSeconds / 3600;
    c.minute = (wholeSeconds % 3600) / 60;
    c.second = wholeSeconds % 60;
    c.nanosecond = static_cast<int64_t>(std::llround((secondsOfDay - static_cast<double>(wholeSeconds)) * 1e9));
    c.weekday = weekday{sys_days{std::chrono::days{days}}}.c_encoding() + 1;
    return c;
}

Date Calendar::dateFromComponents(const DateComponents& c) const {
    const double local = static_cast<double>(civil::daysFromCivil(c.year, c.month, c.day) * kSecondsPerDay +
                                             c.hour * 3600 + c.minute * 60 + c.second) +
                         static_cast<double>(c.nanosecond) / 1e9;
    return Date(local - static_cast<double>(zone_.secondsFromGMTForLocalTime(local)));
}

Date Calendar::dateByAddingDays(int64_t days, Date date) const { return dateByAddingDays(days, components(date)); }

Date Calendar::dateByAddingDays(int64_t days, DateComponents c) const {
    c.day += days;
    return dateFromComponents(c);
}

Date Calendar::dateByAddingComponents(const DateComponents& amount, Date date) const {
    if (amount.year != 0 || amount.month != 0 || amount.day != 0) {
        DateComponents c = components(date);
        c.year += amount.year;
        c.month += amount.month;
        c.day += amount.day;
        date = dateFromComponents(c);
    }
    const double elapsed = static_cast<double>(amount.hour * 3600 + amount.minute * 60 + amount.second) +
                           static_cast<double>(amount.nanosecond) / 1e9;
    return date.addingTimeInterval(elapsed);
}

}  // namespace tarvo
