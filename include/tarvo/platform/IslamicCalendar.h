#pragma once

#include <cstdint>
#include <memory>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

/// The arithmetical (civil) Islamic calendar in one time zone (ICU's "islamic-civil"):
/// splits moments into Hijri year, month (1 Muharram to 12 Dhu al-Hijjah) and day, and back.
///
/// ICU's plain "islamic" calendar is astronomical and differs from this one by a day on some
/// dates; the civil calendar is the one stored corrections were made against.
///
/// One calendar may be shared by several threads: each call holds the calendar's own lock.
class TARVO_EXPORT IslamicCalendar {
public:
    /// A calendar in the device's zone.
    IslamicCalendar();
    explicit IslamicCalendar(const TimeZone& zone);
    ~IslamicCalendar();
    IslamicCalendar(const IslamicCalendar&) = delete;
    IslamicCalendar& operator=(const IslamicCalendar&) = delete;

    /// Hijri year, month (1-12), day (1-30), time of day and weekday (1 Sunday to 7 Saturday)
    /// of the moment, `days` calendar days later (earlier when negative).
    DateComponents components(Date date, int64_t days = 0) const;
    /// The moment at the Hijri fields (out-of-range fields roll over).
    Date dateFromComponents(const DateComponents& components) const;

    /// The calendar's identifier ("islamic-civil"), for a DateFormatter that writes its dates:
    /// Hijri text and Hijri arithmetic then come from one calendar.
    const char* identifier() const;

    /// The number of days (29 or 30) of Hijri month `month` (1-12) of `year`; 0 when the month
    /// is outside 1-12 or the year outside -100000..100000.
    static int64_t daysInMonth(int64_t month, int64_t year);

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

/// Whether the date falls in Ramadan (Hijri month 9) once moved by `correction` days.
TARVO_EXPORT bool isDateInRamdan(Date date, const IslamicCalendar& islamicCalendar, int64_t correction);

}  // namespace tarvo
