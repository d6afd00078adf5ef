#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

/// An Islamic calendar in one time zone: splits moments into Hijri year, month (1 Muharram
/// to 12 Dhu al-Hijjah) and day, and back.
///
/// The arithmetical (civil) calendar, ICU's "islamic-civil", is the default: it is the one
/// stored corrections were made against. Saudi Arabia's official calendar is Umm al-Qura
/// (ICU's "islamic-umalqura", tabulated for 1300 to 1600 AH and civil outside them); ICU's
/// plain "islamic" is astronomical. Each differs from the civil one by a day on some dates.
///
/// One calendar may be shared by several threads: each call holds the calendar's own lock.
class TARVO_EXPORT IslamicCalendar {
public:
    /// The kinds of Islamic calendar; the numbers are the stored "HijriCalendar" preference.
    enum class Kind : int64_t { civil = 0, ummAlQura = 1, astronomical = 2 };
    /// The kind of a stored number; civil for any number that names none.
    static Kind kindOfNumber(int64_t number);
    /// "civil", "umalqura", "astronomical".
    static std::string_view nameOfKind(Kind kind);
    /// The kind with that name (letter case ignored), or nothing.
    static std::optional<Kind> kindNamed(std::string_view name);
    /// ICU's identifier of the kind: "islamic-civil", "islamic-umalqura", "islamic".
    static std::string_view identifierOfKind(Kind kind);

    /// A civil calendar in the device's zone.
    IslamicCalendar();
    explicit IslamicCalendar(const TimeZone& zone, Kind kind = Kind::civil);
    Kind kind() const { return kind_; }
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
    static int64_t daysInMonth(int64_t month, int64_t year, Kind kind = Kind::civil);

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
    Kind kind_ = Kind::civil;
};

/// Whether the date falls in Ramadan (Hijri month 9) once moved by `correction` days.
TARVO_EXPORT bool isDateInRamdan(Date date, const IslamicCalendar& islamicCalendar, int64_t correction);

}  // namespace tarvo
