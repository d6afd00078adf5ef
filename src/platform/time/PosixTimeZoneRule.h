#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/time/ZoneTransition.h"

namespace tarvo {

/// A time-zone rule in the POSIX TZ form ("GMT0BST,M3.5.0/1,M10.5.0", "<+03>-3",
/// "IST-1GMT0,M10.5.0,M3.5.0/1"): one standard offset, and optionally a second offset with
/// the yearly rule for when it applies. The zone database ends each zone file with one, to
/// say how the zone goes on after its last listed transition; a TZ variable may hold one too.
///
/// Offsets here are east-positive seconds (the POSIX text writes them west-positive).
class PosixTimeZoneRule {
public:
    /// The rule, or nothing when the text is not one (or names rules this reader does not know).
    static std::optional<PosixTimeZoneRule> parse(std::string_view text);

    /// Whether the rule switches between two offsets every year.
    bool hasTransitions() const { return alternate_.has_value(); }
    /// The offset and summer-time part in force at `utcSeconds` (seconds since 1970).
    ZoneTransition at(int64_t utcSeconds) const;
    /// The changes of offset in the Gregorian year `year`, in order of time.
    std::vector<ZoneTransition> transitionsInYear(int64_t year) const;

private:
    /// A yearly date: Mm.w.d (week w of month m, weekday d), Jn (day n of 365, never Feb 29)
    /// or n (day n counted from 0, leap day included), at a local time in seconds.
    struct YearlyDate {
        enum class Kind { MonthWeekDay, JulianNoLeap, DayOfYear } kind = Kind::MonthWeekDay;
        int month = 0;
        int week = 0;
        int weekday = 0;
        int day = 0;
        int64_t time = 7200;
    };
    struct Alternate {
        int32_t offset = 0;
        YearlyDate start;  // local time under the standard offset
        YearlyDate end;    // local time under the alternate offset
    };

    static int64_t localSecondsOf(const YearlyDate& when, int64_t year);
    ZoneTransition standard() const;
    ZoneTransition alternate() const;

    int32_t standardOffset_ = 0;
    std::optional<Alternate> alternate_;
};

}  // namespace tarvo
