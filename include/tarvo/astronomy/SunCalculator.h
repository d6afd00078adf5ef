#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tarvo/platform/Date.h"

namespace tarvo {

/// Astronomy extras as class operations: Hijri and Gregorian dates.
class SunCalculator {
public:
    // ==== Hijri and Gregorian dates (SunCalculatorHijri.cpp) ==============================
    // The arithmetical Islamic calendar (ICU's "islamic-civil") in the device's zone, moved by
    // the user's Hijri correction: a correction of +1 makes every Hijri day start one
    // Gregorian day earlier. The correction is asked for afresh at each call.

    /// Answers the user's Hijri correction in whole days.
    using HijriCorrectionSource = std::function<int64_t()>;
    /// Installs where the correction comes from (an empty function: always 0). The facade
    /// installs its configuration's HijriCorrection when the library is loaded, so hosts need
    /// not call this.
    static void setHijriCorrectionSource(HijriCorrectionSource source);
    /// The correction the installed source answers now.
    static int64_t hijriCorrection();

    /// The start of a Gregorian day in the device's zone.
    static Date getDateForDay(int64_t day, int64_t month, int64_t year);
    /// The start of a Hijri day, corrected.
    static Date getDateFromHijriDay(int64_t day, int64_t month, int64_t year);
    /// That date as "dd MMM YYYY" ("11 Mar 2024"). The year is the week-based year, as the
    /// text has always been written, so the last days of December can show the next year.
    /// Arabic digits and month names when the current locale ends in "numbers=arab".
    static std::string convertToGregorianFromHijriDay(int64_t day, int64_t month, int64_t year);
    /// Gregorian day, month, year and weekday (1 Sunday to 7 Saturday) of that date.
    static std::vector<int32_t> getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year);

    /// The other way: Hijri day, month, year and weekday (1 Sunday) of the day holding the
    /// moment, with the same correction.
    static std::vector<int32_t> getCompsForHijriFromDate(Date date);
    /// That Hijri date as text: "1 Ramadan 1445" (day, month name, year) in the same locale
    /// as convertToGregorianFromHijriDay.
    static std::string convertToHijriFromDate(Date date);
    // ==== end of Hijri and Gregorian dates ================================================
};

}  // namespace tarvo
