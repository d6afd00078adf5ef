// PrayerCalculator, the day: the calculator keeps the settings its setters were given and
// the day it was last asked about, and hands both to the day engine (calculation/DayEngine.h),
// which computes from its inputs alone. Each operation of the pipeline (computeTimes,
// adjustTimes, adjustHighLatTimes, computeQiyamTime, the zone offset) is the engine's step
// of the same name, run on this calculator's settings and day.
#include "tarvo/calculation/PrayerCalculator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "calculation/BuiltInMethods.h"
#include "calculation/CalculatorInputs.h"
#include "platform/host/LogMacros.h"

namespace tarvo {

namespace {

// The zone "UTC" (GMT if it were unknown), looked up once.
const TimeZone& utcZone() {
    static const TimeZone zone = TimeZone::withName("UTC").value_or(TimeZone::gmt());
    return zone;
}

const TimeZone& gmtZone() {
    static const TimeZone zone = TimeZone::gmt();
    return zone;
}

// The zone of a name (GMT for none), or GMT with a log line when the name is unknown.
TimeZone zoneNamed(const std::optional<std::string>& name) {
    const std::string_view zoneName = name ? std::string_view(*name) : std::string_view("GMT");
    if (auto zone = TimeZone::withName(zoneName)) return *zone;
    TARVO_LOG_INFO("Timezone Could Not Be Found: {}", zoneName);
    return gmtZone();
}

}  // namespace

CalculatorInputs::CalculatorInputs(const PrayerCalculator& c)
    : method{c.calcMethod_, c.asrJuristic_, c.adjustHighLats_, c.dhuhrMinutes_, c.methodParams_,
             c.overriddenNamedMethod_, c.polarResolution_},
      place{c.cityName_, c.country_, c.lat_, c.lng_, c.timeZoneObj_.value_or(gmtZone()), c.overrideTimeZoneOffset_,
            c.overrideDST_},
      engine(method, place, c.globalGregCal_,
             DayFrame{c.GregDate_.value_or(Date()), c.TomorrowGregDate_.value_or(Date()), c.JDate_,
                      c.TomorrowJDate_, {}, {}}) {}

CalculatorInputs::CalculatorInputs(const PrayerCalculator& c, const std::optional<std::string>& cityName,
                                   const std::optional<std::string>& countryName, double latitude,
                                   double longitude, const std::optional<std::string>& timeZoneName)
    : method{c.calcMethod_, c.asrJuristic_, c.adjustHighLats_, c.dhuhrMinutes_, c.methodParams_,
             c.overriddenNamedMethod_, c.polarResolution_},
      place{cityName, countryName, latitude, longitude, zoneNamed(timeZoneName), c.overrideTimeZoneOffset_,
            c.overrideDST_},
      engine(method, place, c.globalGregCal_, DayFrame{}) {}

PrayerCalculator::PrayerCalculator()
    : timeNames_{"Fajr", "Sunrise", "Duhr", "Asr", "Sunset", "Maghrib", "Isha", "Qiyam", "TomorrowFajr", "TomorrowSunrise"},
      InvalidTime_("N/A"),
      globalGregCal_(),
      globalGregCalUTC_(utcZone()),
      methodParams_(builtInMethodTable()) {}

std::vector<double> PrayerCalculator::getDatePrayerTimes(Date date, const std::optional<std::string>& cityName,
                                                         const std::optional<std::string>& countryName,
                                                         double latitude, double longitude,
                                                         const std::optional<std::string>& timeZoneName) {
    setPlace(cityName, countryName, latitude, longitude, timeZoneName);
    setDay(date);
    return computeDayTimes();
}

std::array<double, 2> PrayerCalculator::getDateFajrAndSunrise(Date date, const std::optional<std::string>& cityName,
                                                              const std::optional<std::string>& countryName,
                                                              double latitude, double longitude,
                                                              const std::optional<std::string>& timeZoneName) {
    setPlace(cityName, countryName, latitude, longitude, timeZoneName);
    setDay(date);
    const DayTimes day = CalculatorInputs(*this).engine.times(DayEngine::Stage::Morning);
    isUsingFixedTimings_ = day.usingFixedTimings;
    return {day.times[Fajr], day.times[Sunrise]};
}

void PrayerCalculator::setPlace(const std::optional<std::string>& cityName,
                                const std::optional<std::string>& countryName, double latitude, double longitude,
                                const std::optional<std::string>& timeZoneName) {
    cityName_ = cityName;
    country_ = countryName;
    lat_ = latitude;
    lng_ = longitude;
    setTimeZone(timeZoneName);
    const auto city = DayEngine::timetableCityOf(cityName, latitude, longitude);
    isDubai_ = city == DayEngine::TimetableCity::Dubai;
    isKualaLumpur_ = city == DayEngine::TimetableCity::KualaLumpur;
}

void PrayerCalculator::setDay(Date date) {
    const DayFrame frame = DayFrame::of(globalGregCal_, date, lng_);
    GregDate_ = frame.today;
    TomorrowGregDate_ = frame.tomorrow;
    JDate_ = frame.JDate;
    TomorrowJDate_ = frame.TomorrowJDate;
}

std::vector<double> PrayerCalculator::getDatePrayerTimesAsDoubles(Date date, const std::optional<std::string>& cityName,
                                                                  const std::optional<std::string>& countryName,
                                                                  double latitude, double longitude,
                                                                  const std::optional<std::string>& timeZoneName) {
    return getDatePrayerTimes(date, cityName, countryName, latitude, longitude, timeZoneName);
}

std::vector<std::string> PrayerCalculator::getDatePrayerTimesAsString(Date date,
                                                                      const std::optional<std::string>& cityName,
                                                                      const std::optional<std::string>& countryName,
                                                                      double latitude, double longitude,
                                                                      const std::optional<std::string>& timeZoneName) {
    return adjustTimesFormat(getDatePrayerTimes(date, cityName, countryName, latitude, longitude, timeZoneName));
}

bool PrayerCalculator::computesLike(const PrayerCalculator& other) const {
    const CalculatorInputs mine(*this);
    const CalculatorInputs theirs(other);
    return mine.method == theirs.method && overrideDST_ == other.overrideDST_ &&
           std::bit_cast<uint64_t>(overrideTimeZoneOffset_) == std::bit_cast<uint64_t>(other.overrideTimeZoneOffset_) &&
           globalGregCal_.timeZone() == other.globalGregCal_.timeZone();
}

std::vector<double> PrayerCalculator::computeDayTimes() {
    const DayTimes day = CalculatorInputs(*this).engine.times();
    isUsingFixedTimings_ = day.usingFixedTimings;
    return std::vector<double>(day.times.begin(), day.times.end());
}

std::vector<double> PrayerCalculator::computeTimes(std::vector<double>& guesses) {
    if (guesses.size() < EntryCount) guesses.resize(EntryCount, 0.0);
    const std::vector<double>& portions = dayPortion(guesses);
    std::array<double, EntryCount> t;
    std::copy_n(portions.begin(), EntryCount, t.begin());
    std::vector<double> times(EntryCount);
    CalculatorInputs(*this).engine.computeTimesInto(t, times, DayEngine::Stage::WholeDay);
    return times;
}

std::vector<double>& PrayerCalculator::adjustTimes(std::vector<double>& times) {
    return CalculatorInputs(*this).engine.adjustTimes(times);
}

std::vector<double>& PrayerCalculator::computeQiyamTime(std::vector<double>& times, double clockChange) {
    return DayEngine::computeQiyamTime(times, clockChange);
}

std::vector<double>& PrayerCalculator::adjustHighLatTimes(std::vector<double>& times) {
    return CalculatorInputs(*this).engine.adjustHighLatTimes(times);
}

double PrayerCalculator::nightPortion(double angle) const { return CalculatorInputs(*this).engine.nightPortion(angle); }

std::vector<double>& PrayerCalculator::dayPortion(std::vector<double>& times) const {
    for (double& t : times) t /= 24.0;
    return times;
}

void PrayerCalculator::setTimeZone(const std::optional<std::string>& name) {
    timeZoneObj_ = zoneNamed(name);
}

double PrayerCalculator::getTimeZoneOffset(Date date) const {
    return CalculatorInputs(*this).engine.timeZoneOffset(date);
}

double PrayerCalculator::getTimezoneOffsetInHours(double milliseconds) const {
    return CalculatorInputs(*this).engine.timeZoneOffsetInHours(milliseconds);
}

}  // namespace tarvo
