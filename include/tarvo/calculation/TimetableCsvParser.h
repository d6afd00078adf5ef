#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/platform/Result.h"
#include "tarvo/Export.h"

namespace tarvo {

/// One day of an official timetable: the day's key (seconds from 1970-01-01 to 00:00 UTC
/// of the date) and Fajr, sunrise, Dhuhr, Asr, Maghrib and Isha in local fractional hours.
struct TARVO_EXPORT TimetableRow {
    double key = 0.0;
    std::array<double, 6> times{};
};

/// Reads timetable CSV text: one row per line, "YYYY-MM-DD,fajr,sunrise,dhuhr,asr,maghrib,isha"
/// with the times as fractional hours (7.01666667 for 07:01). Blank lines, lines starting
/// with '#' and a header line starting with "date" are skipped.
///
/// Used both when the build compiles the shipped tables in and when a host replaces a
/// table at start-up, so the two accept exactly the same files.
class TARVO_EXPORT TimetableCsvParser {
public:
    /// Rows must fall between the two day keys (inclusive).
    TimetableCsvParser(double firstKey, double lastKey);

    /// The rows sorted by date, or an error saying which line is malformed and why.
    Result<std::vector<TimetableRow>> parse(std::string_view text) const;

    /// Seconds from 1970-01-01 to 00:00 UTC of a "YYYY-MM-DD" date, or nothing when the
    /// text is not a real calendar date.
    static std::optional<double> keyForDate(std::string_view date);

private:
    double firstKey_;
    double lastKey_;
};

}  // namespace tarvo
