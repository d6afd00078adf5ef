#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

class CalculationMethod;

/// The method table: method number to its six parameters (Fajr selector and value, Maghrib
/// selector and value, Isha selector and value; selector 0 an angle, 1 minutes).
using MethodTable = std::map<int64_t, std::vector<double>>;

/// Everything of a day's times that is a choice rather than the place or the day. Numbers
/// are stored as chosen: 0 means automatic and is resolved from the place on every use.
struct MethodParameters {
    int64_t method = 0;
    int64_t asrSchool = 0;
    int64_t highLatitudeRule = 0;
    int64_t dhuhrMinutes = 0;
    /// Never empty; the built-in table unless a custom method was set.
    std::shared_ptr<const MethodTable> table;
    /// The named method (from 8) a custom override started from, whose safety minutes and
    /// rounding stay in force; 0 when there is none.
    int64_t overriddenNamedMethod = 0;
    PolarResolution polarResolution = PolarResolution::None;

    /// Equal when two sets answer the very same doubles for every place and day: the
    /// tables are compared bit for bit.
    bool operator==(const MethodParameters& other) const;
};

/// Where the day is computed, and on which clock.
struct Place {
    std::optional<std::string> cityName;
    std::optional<std::string> countryName;
    double latitude = 0;
    double longitude = 0;
    TimeZone zone = TimeZone::gmt();
    /// Hours; kOffsetFromZone (50) for the zone's own offset.
    double overrideTimeZoneOffset = 50.0;
    /// 0 follows the zone's summer time, 1 forces it on, any other value off.
    int64_t overrideDST = 0;

    /// Equal position, names, zone and overrides; doubles compared bit for bit.
    bool operator==(const Place& other) const;
};

/// The ten times of a day, in entry order (Fajr, sunrise, Dhuhr, Asr, sunset, Maghrib,
/// Isha, Qiyam, tomorrow's Fajr and sunrise): local clock hours, not wrapped; NaN where
/// the sun gives no moment. With `usingFixedTimings` the place keeps an official timetable.
/// `clockOffsets` are the hours the day's clock and the next day's run ahead of GMT (the
/// clocks today's and tomorrow's entries are written on), as the whole day's computation
/// worked them out; NaN for a morning alone. `nextDay` and the two calendar dates are the
/// day's frame: the moment a calendar day later and the year, month and day of both.
struct DayTimes {
    std::array<double, 10> times{};
    bool usingFixedTimings = false;
    std::array<double, 2> clockOffsets{std::numeric_limits<double>::quiet_NaN(),
                                       std::numeric_limits<double>::quiet_NaN()};
    Date nextDay;
    std::array<int64_t, 3> calendarDate{};
    std::array<int64_t, 3> nextCalendarDate{};
};

/// The day's dates: the moment asked about and the same moment a calendar day later, and
/// the Julian dates of both calendar days shifted by minus longitude/360; the year, month
/// and day of both when the frame was made by of().
struct DayFrame {
    Date today;
    Date tomorrow;
    double JDate = 0;
    double TomorrowJDate = 0;
    std::array<int64_t, 3> todayDate{};
    std::array<int64_t, 3> tomorrowDate{};

    /// The frame of `date`: its calendar date on `calendar` (the device's, not the place's).
    static DayFrame of(const Calendar& calendar, Date date, double longitude);
};

/// The day pipeline as a pure computation: every input is passed in, nothing is kept
/// between days, and the same inputs give the same bits.
///
///   Given:    the method parameters, the place, the calendar whose day a moment falls on,
///             and the day's frame on it.
///   Returned: the ten times, with the zone offset, the high-latitude repair, the polar
///             resolution, the minute rules, an authority's safety minutes and rounding,
///             the official Dubai and Kuala Lumpur timetables near those cities, and Qiyam.
///   Notes:    an engine only reads its inputs, which must outlive it; the steps are public
///             for the calculator whose operations are these steps.
class DayEngine {
public:
    enum Entry : size_t {
        Fajr = 0, Sunrise, Dhuhr, Asr, Sunset, Maghrib, Isha, Qiyam, TomorrowFajr, TomorrowSunrise, EntryCount
    };
    /// How much of the day to compute: all of it, or Fajr and sunrise only (what a day's list
    /// needs of the next day; the same bits as the whole day's).
    enum class Stage { WholeDay, Morning };

    DayEngine(const MethodParameters& method, const Place& place, const Calendar& calendar, const DayFrame& frame);

    DayTimes times(Stage stage = Stage::WholeDay) const;

    /// The resolved choices: the stored number, or the automatic one for the place.
    int64_t method() const;
    int64_t asrSchool() const;
    int64_t highLatitudeRule() const;
    /// Parameters of the resolved method; all zero when the method has no table entry.
    std::array<double, 6> params() const;

    // ---- The steps -------------------------------------------------------------------
    /// The raw times (longitude mean time) from the day portions `t`, into `times`.
    void computeTimesInto(const std::array<double, EntryCount>& t, std::vector<double>& times, Stage stage) const;
    /// The raw times of the day from the first guesses.
    std::vector<double> rawDayTimes(Stage stage = Stage::WholeDay) const;
    /// Moves raw times onto the place's clock: today's offset for today's entries, tomorrow's
    /// for tomorrow's, less the longitude's mean time.
    void shiftToClock(std::vector<double>& times) const;
    std::vector<double>& adjustHighLatTimes(std::vector<double>& times) const;
    double nightPortion(double angle) const;
    /// The clock shift, high-latitude repair, polar resolution and minute rules.
    std::vector<double>& adjustTimes(std::vector<double>& times, Stage stage = Stage::WholeDay) const;
    /// Qiyam at two thirds of the night from Maghrib to tomorrow's Fajr; `clockChange` is how
    /// many hours tomorrow's clock runs ahead of today's (0 but on a night of summer time).
    static std::vector<double>& computeQiyamTime(std::vector<double>& times, double clockChange = 0.0);
    double timeZoneOffset(Date date) const;
    double timeZoneOffsetInHours(double milliseconds) const;

    // ---- The sun's events of the day and the next ---------------------------------------
    double computeMidDay(double t) const;
    double computeMidDayForTomorrow(double t) const;
    double computeTime(double angle, double t) const;
    double computeTimeForTomorrow(double angle, double t) const;
    double computeAsr(double shadowFactor, double t) const;

    /// Which official timetable a place keeps: near the city's reference point, or named
    /// after it. The name test is case-sensitive and loose.
    enum class TimetableCity { None, Dubai, KualaLumpur };
    static TimetableCity timetableCityOf(const std::optional<std::string>& cityName, double latitude,
                                         double longitude);

    const MethodParameters& methodParameters() const { return method_; }
    const Place& place() const { return place_; }
    const Calendar& calendar() const { return calendar_; }
    const DayFrame& frame() const { return frame_; }

private:
    /// The official timetable's rows over the computed times; true when the place uses one.
    bool applyFixedTimetable(std::vector<double>& times, TimetableCity city) const;
    double timetableKeyForToday() const;
    double timetableKeyForTomorrow() const;
    /// The authority's own rules of a named method (from 8), after the minute rules and before
    /// the official timetables and Qiyam: the seasonal twilight, the safety minutes, then the
    /// rounding of each printed time. Methods 1-7 and the custom method built on them have none.
    void applyAuthorityRules(std::vector<double>& times) const;
    const CalculationMethod* authorityRules() const;
    void applyMinuteOffsets(const CalculationMethod& named, std::vector<double>& times) const;
    void applyRounding(const CalculationMethod& named, std::vector<double>& times) const;
    void applySeasonalTwilight(const CalculationMethod& named, std::vector<double>& times) const;

    const MethodParameters& method_;
    const Place& place_;
    const Calendar& calendar_;
    DayFrame frame_;
};

/// The day of `date` at `place` by `method`, on `calendar`'s date: a pure function.
DayTimes compute(const MethodParameters& method, const Place& place, Date date, const Calendar& calendar,
                 DayEngine::Stage stage = DayEngine::Stage::WholeDay);

}  // namespace tarvo
