// PrayerCalculator, the day pipeline: for a date, place and time zone, the ten times of
// the day (Fajr, sunrise, Dhuhr, Asr, sunset, Maghrib, Isha, Qiyam, tomorrow's Fajr and
// sunrise), with the zone offset, the high-latitude repair, the method's minute rules, an
// authority's own safety minutes and rounding, the official Dubai and Kuala Lumpur timetables
// near those cities, and Qiyam.
//
//   Given:    a moment (its calendar date in the device's zone is the day), the place's
//             latitude and longitude in degrees, its zone name, city and country names.
//   Returned: local clock hours as doubles, not wrapped into 0-24; NaN where a time cannot
//             be computed.
//   Notes:    the Julian dates are those of the device-local date shifted by minus
//             longitude/360, so the solar core works in the longitude's mean time and the
//             zone offset minus longitude/15 is added afterwards.
#include "tarvo/calculation/PrayerCalculator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "calculation/BuiltInMethods.h"
#include "calculation/PolarResolver.h"
#include "platform/host/LogMacros.h"
#include "platform/util/PureResultCache.h"
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/DubaiFixedTimes.h"
#include "tarvo/calculation/KLFixedTimes.h"

namespace tarvo {

namespace {

// Reference points of the two cities with official timetables, and the radius (nautical
// miles) within which a place counts as that city.
constexpr double kDubaiLatitude = 25.139762550463804;
constexpr double kDubaiLongitude = 55.21756511181592;
constexpr double kKualaLumpurLatitude = 3.1412;
constexpr double kKualaLumpurLongitude = 101.68653;
constexpr double kFixedTimetableRadius = 14.0;

// The zone "UTC" (GMT if it were unknown), looked up once.
const TimeZone& utcZone() {
    static const TimeZone zone = TimeZone::withName("UTC").value_or(TimeZone::gmt());
    return zone;
}

const TimeZone& gmtZone() {
    static const TimeZone zone = TimeZone::gmt();
    return zone;
}

// A place's distances (nautical miles) from Dubai and from Kuala Lumpur. Every day of a
// place asks for the same two, so the last few places' answers are kept per thread.
std::array<double, 2> distancesToTimetableCities(double latitude, double longitude) {
    thread_local PureResultCache<2, std::array<double, 2>, 4> distances;
    return distances.get(distances.keyOf(latitude, longitude), [latitude, longitude] {
        return std::array<double, 2>{
            QiblaCalculator::getDistanceBetweenTwoLocations(latitude, longitude, kDubaiLatitude, kDubaiLongitude,
                                                            false),
            QiblaCalculator::getDistanceBetweenTwoLocations(latitude, longitude, kKualaLumpurLatitude,
                                                            kKualaLumpurLongitude, false)};
    });
}

}  // namespace

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
    const std::vector<double> times = pipelineTimes(Stage::Morning);
    return {times[Fajr], times[Sunrise]};
}

void PrayerCalculator::setPlace(const std::optional<std::string>& cityName,
                                const std::optional<std::string>& countryName, double latitude, double longitude,
                                const std::optional<std::string>& timeZoneName) {
    country_ = countryName;
    lat_ = latitude;
    lng_ = longitude;
    setTimeZone(timeZoneName);

    const auto [dubai, kualaLumpur] = distancesToTimetableCities(latitude, longitude);
    auto nameContains = [&](std::string_view part) {
        return cityName && cityName->find(part) != std::string::npos;
    };
    isDubai_ = false;
    isKualaLumpur_ = false;
    // The name tests are case-sensitive and deliberately loose: any name containing "KL"
    // counts as Kuala Lumpur: the name test errs towards the official timetable.
    if (dubai <= kFixedTimetableRadius) {
        isDubai_ = true;
    } else if (nameContains("\u062F\u0628\u064A") || nameContains("Dubai")) {
        isDubai_ = true;
    } else if (kualaLumpur <= kFixedTimetableRadius) {
        isKualaLumpur_ = true;
    } else if (nameContains("KL") || nameContains("Kuala Lumpur")) {
        isKualaLumpur_ = true;
    }
}

void PrayerCalculator::setDay(Date date) {
    // The calendar date is the device's, not the place's.
    const DateComponents today = globalGregCal_.components(date);
    GregDate_ = date;
    JDate_ = julianDate(today.year, today.month, today.day) - lng_ / 360.0;
    TomorrowGregDate_ = globalGregCal_.dateByAddingDays(1, today);  // today = components(date)
    const DateComponents tomorrow = globalGregCal_.components(*TomorrowGregDate_);
    TomorrowJDate_ = julianDate(tomorrow.year, tomorrow.month, tomorrow.day) - lng_ / 360.0;
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
    const auto sameBits = [](double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); };
    const auto sameTable = [&](const std::map<int64_t, MethodParams>& a, const std::map<int64_t, MethodParams>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](const auto& x, const auto& y) {
            return x.first == y.first && std::equal(x.second.begin(), x.second.end(), y.second.begin(),
                                                    y.second.end(), sameBits);
        });
    };
    return calcMethod_ == other.calcMethod_ && asrJuristic_ == other.asrJuristic_ &&
           adjustHighLats_ == other.adjustHighLats_ && dhuhrMinutes_ == other.dhuhrMinutes_ &&
           overrideDST_ == other.overrideDST_ && sameBits(overrideTimeZoneOffset_, other.overrideTimeZoneOffset_) &&
           overriddenNamedMethod_ == other.overriddenNamedMethod_ &&
           (methodParams_ == other.methodParams_ || sameTable(*methodParams_, *other.methodParams_)) &&
           globalGregCal_.timeZone() == other.globalGregCal_.timeZone() &&
           polarResolution_ == other.polarResolution_;
}

std::vector<double> PrayerCalculator::rawDayTimes(Stage stage) const {
    // What computeTimes does, with the raw times written over the first guesses (once
    // their day portions are copied out), so that a day needs one vector instead of two.
    std::vector<double> times{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
    dayPortion(times);
    std::array<double, EntryCount> t;
    std::copy(times.begin(), times.end(), t.begin());
    computeTimesInto(t, times, stage);
    return times;
}

std::vector<double> PrayerCalculator::computeDayTimes() { return pipelineTimes(Stage::WholeDay); }

std::vector<double> PrayerCalculator::pipelineTimes(Stage stage) {
    std::vector<double> times = rawDayTimes(stage);
    adjustTimes(times, stage);
    applyAuthorityRules(times);
    isUsingFixedTimings_ = false;
    if (isDubai_ || isKualaLumpur_) applyFixedTimetable(times);
    if (stage == Stage::Morning) return times;
    // Tomorrow's Fajr is written on tomorrow's clock; on the night the clocks change, the
    // night's length is measured on today's, so that Qiyam falls at the real two thirds.
    const double clockChange = getTimeZoneOffset(TomorrowGregDate_.value_or(Date())) -
                               getTimeZoneOffset(GregDate_.value_or(Date()));
    return std::move(computeQiyamTime(times, clockChange));
}

double PrayerCalculator::timetableKeyForToday() const {
    // Midnight UTC of the device-local calendar date.
    DateComponents c = globalGregCal_.components(GregDate_.value_or(Date()));
    c.hour = c.minute = c.second = c.nanosecond = 0;
    return globalGregCalUTC_.dateFromComponents(c).timeIntervalSince1970();
}

double PrayerCalculator::timetableKeyForTomorrow() const {
    // Tomorrow's date is taken in UTC, not in the device's zone as today's is: the stored
    // timetables key tomorrow's row this way, so the asymmetry stays.
    const Date tomorrow = globalGregCal_.dateByAddingDays(1, GregDate_.value_or(Date()));
    DateComponents c = globalGregCalUTC_.components(tomorrow);
    c.hour = c.minute = c.second = c.nanosecond = 0;
    return globalGregCalUTC_.dateFromComponents(c).timeIntervalSince1970();
}

void PrayerCalculator::applyFixedTimetable(std::vector<double>& times) {
    const double todayKey = timetableKeyForToday();
    const double tomorrowKey = timetableKeyForTomorrow();
    const int64_t method = calcMethod();
    // The resolved method is never 0, so in Dubai only method 7 uses the timetable; in
    // Kuala Lumpur every method does.
    if (!((isDubai_ && (method == 7 || method == 0)) || isKualaLumpur_)) return;

    isUsingFixedTimings_ = true;
    const auto lookUp = [this](double key) {
        return isDubai_ ? DubaiFixedTimes::getTimingsForEpoch(key) : KLFixedTimes::getTimingsForEpoch(key);
    };
    const auto today = lookUp(todayKey);
    const auto tomorrow = lookUp(tomorrowKey);
    if (today[0] != -1) {
        if (params()[0] != 1) times[Fajr] = today[0];
        times[Sunrise] = today[1];
        times[Dhuhr] = today[2];
        // A user who chose Hanafi (stored, not resolved) keeps the computed Asr.
        if (asrJuristic_ < 2) times[Asr] = today[3];
        // The row has no sunset: sunset stays computed.
        times[Maghrib] = today[4];
        times[Isha] = today[5];
    }
    if (tomorrow[0] != -1) {
        times[TomorrowFajr] = tomorrow[0];
        times[TomorrowSunrise] = tomorrow[1];
    }
}

std::vector<double> PrayerCalculator::computeTimes(std::vector<double>& guesses) {
    if (guesses.size() < EntryCount) guesses.resize(EntryCount, 0.0);
    const std::vector<double>& portions = dayPortion(guesses);
    std::array<double, EntryCount> t;
    std::copy_n(portions.begin(), EntryCount, t.begin());
    std::vector<double> times(EntryCount);
    computeTimesInto(t, times, Stage::WholeDay);
    return times;
}

void PrayerCalculator::computeTimesInto(const std::array<double, EntryCount>& t, std::vector<double>& times,
                                        Stage stage) const {
    // Fajr and sunrise need only the night's ends besides (sunset and tomorrow's sunrise, for
    // the high-latitude share): nothing later in the pipeline carries another entry into them.
    const bool wholeDay = stage == Stage::WholeDay;
    const double none = std::nan("");
    const auto p = params();
    times[Fajr] = p[0] == 0 ? computeTime(180 - p[1], t[Fajr]) : 0;
    times[Sunrise] = computeTime(179.167, t[Sunrise]);
    times[Dhuhr] = wholeDay ? computeMidDay(t[Dhuhr]) : none;
    times[Asr] = wholeDay ? computeAsr(static_cast<double>(asrJuristic()), t[Asr]) : none;
    times[Sunset] = computeTime(0.833, t[Sunset]);
    times[Maghrib] = !wholeDay ? none : p[2] == 0 ? computeTime(p[3], t[Maghrib]) : 0;
    times[Isha] = !wholeDay ? none : p[4] == 0 ? computeTime(p[5], t[Isha]) : 0;
    times[Qiyam] = 0;
    times[TomorrowFajr] = !wholeDay ? none : p[0] == 0 ? computeTimeForTomorrow(180 - p[1], t[TomorrowFajr]) : 0;
    times[TomorrowSunrise] = computeTimeForTomorrow(179.167, t[TomorrowSunrise]);
}

void PrayerCalculator::shiftToClock(std::vector<double>& times) const {
    // Tomorrow's entries take tomorrow's offset, so a change to or from summer time
    // overnight is honoured. The offset of a moment never changes, so each of the two is
    // asked once rather than once per entry; every entry gets the very same double.
    const double todayOffset = getTimeZoneOffset(GregDate_.value_or(Date()));
    const double tomorrowOffset = getTimeZoneOffset(TomorrowGregDate_.value_or(Date()));
    for (size_t i = 0; i < EntryCount; ++i) {
        times[i] = times[i] + (i >= TomorrowFajr ? tomorrowOffset : todayOffset) - lng_ / 15.0;
    }
}

std::vector<double>& PrayerCalculator::adjustTimes(std::vector<double>& times) {
    return adjustTimes(times, Stage::WholeDay);
}

std::vector<double>& PrayerCalculator::adjustTimes(std::vector<double>& times, Stage stage) {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    shiftToClock(times);
    adjustHighLatTimes(times);
    // What the high-latitude rules could not give (no sunrise, no sunset), the chosen polar
    // resolution fills; the minute rules below then count from the filled times. A day the
    // sun gave whole has nothing to fill.
    const bool complete =
        std::all_of(times.begin(), times.begin() + EntryCount, [](double t) { return std::isfinite(t); });
    if (polarResolution_ != PolarResolution::None && !complete) {
        if (stage == Stage::WholeDay) {
            PolarResolver(*this).fill(times);
        } else if (!std::isfinite(times[Fajr]) || !std::isfinite(times[Sunrise])) {
            // The resolution fills only what is missing, from the whole day's shape: a morning
            // the sun gave stays as it is, one it did not is the whole day's.
            times = rawDayTimes(Stage::WholeDay);
            return adjustTimes(times, Stage::WholeDay);
        }
    }
    const auto p = params();
    if (p[0] == 1) times[Fajr] = times[Sunrise] - p[1] / 60.0;
    times[Dhuhr] = times[Dhuhr] + static_cast<double>(dhuhrMinutes_) / 60.0;
    if (p[2] == 1) times[Maghrib] = times[Sunset] + p[3] / 60.0;
    if (p[4] == 1) times[Isha] = times[Maghrib] + p[5] / 60.0;
    if (p[0] == 1) times[TomorrowFajr] = times[TomorrowSunrise] - p[1] / 60.0;
    return times;
}

const CalculationMethod* PrayerCalculator::authorityRules() const {
    const int64_t method = calcMethod();
    if (method >= 8) return CalculationMethod::withNumber(method);
    if (method == kCustomMethod && overriddenNamedMethod_ != 0) return CalculationMethod::withNumber(overriddenNamedMethod_);
    return nullptr;
}

void PrayerCalculator::applyAuthorityRules(std::vector<double>& times) const {
    // Only the authorities' methods from 8 carry these rules; methods 1-7 never reach the
    // catalogue here, so their times stay exactly as computed.
    const CalculationMethod* named = authorityRules();
    if (!named) return;
    if (calcMethod() == named->number) applySeasonalTwilight(*named, times);
    applyMinuteOffsets(*named, times);
    applyRounding(*named, times);
}

void PrayerCalculator::applySeasonalTwilight(const CalculationMethod& named, std::vector<double>& times) const {
    // Beyond 55 degrees the committee's minutes are not defined; the angles and the
    // high-latitude rule answer there.
    if (!named.seasonalTwilight || std::fabs(lat_) > 55) return;
    const auto daysSinceWinterSolstice = [this](Date date) {
        const DateComponents c = globalGregCal_.components(date);
        const int64_t solsticeMonth = lat_ >= 0 ? 12 : 6;
        const bool passed = c.month > solsticeMonth || (c.month == solsticeMonth && c.day >= 21);
        return julianDate(c.year, c.month, c.day) - julianDate(passed ? c.year : c.year - 1, solsticeMonth, 21);
    };
    const auto today = CalculationMethod::seasonalTwilightMinutes(lat_, daysSinceWinterSolstice(GregDate_.value_or(Date())));
    const auto tomorrow =
        CalculationMethod::seasonalTwilightMinutes(lat_, daysSinceWinterSolstice(TomorrowGregDate_.value_or(Date())));
    times[Fajr] = times[Sunrise] - today[0] / 60.0;
    times[Isha] = times[Sunset] + today[1] / 60.0;
    times[TomorrowFajr] = times[TomorrowSunrise] - tomorrow[0] / 60.0;
}

namespace {
// The day's entries an authority's minutes and rounding apply to, each with its column in
// the catalogue's per-time rows; tomorrow's Fajr and sunrise follow today's.
constexpr std::pair<size_t, size_t> kAuthorityColumns[] = {
    {PrayerCalculator::Fajr, CalculationMethod::FajrOffset},
    {PrayerCalculator::Sunrise, CalculationMethod::SunriseOffset},
    {PrayerCalculator::Dhuhr, CalculationMethod::DhuhrOffset},
    {PrayerCalculator::Asr, CalculationMethod::AsrOffset},
    {PrayerCalculator::Maghrib, CalculationMethod::MaghribOffset},
    {PrayerCalculator::Isha, CalculationMethod::IshaOffset},
    {PrayerCalculator::TomorrowFajr, CalculationMethod::FajrOffset},
    {PrayerCalculator::TomorrowSunrise, CalculationMethod::SunriseOffset},
};
}  // namespace

void PrayerCalculator::applyMinuteOffsets(const CalculationMethod& named, std::vector<double>& times) const {
    // Some authorities publish their times with fixed minutes added (Diyanet's temkin,
    // Kemenag's ihtiyati). Only named methods from 8 carry them.
    if (!named.hasMinuteOffsets()) return;
    const auto& m = named.minuteOffsets;
    const auto add = [&](size_t entry, double minutes) {
        if (minutes != 0) times[entry] = times[entry] + minutes / 60.0;
    };
    for (const auto& [entry, column] : kAuthorityColumns) add(entry, m[column]);
}

void PrayerCalculator::applyRounding(const CalculationMethod& named, std::vector<double>& times) const {
    // The authority prints whole minutes; a time rounded up or down here is a whole minute,
    // which the formatter's half-minute rounding then leaves where it is. A missing time
    // stays missing.
    if (!named.hasRoundingRules()) return;
    const auto round = [&](size_t entry, CalculationMethod::Rounding rule) {
        const double minutes = times[entry] * 60.0;
        if (rule == CalculationMethod::Rounding::Up) times[entry] = std::ceil(minutes - 1e-9) / 60.0;
        if (rule == CalculationMethod::Rounding::Down) times[entry] = std::floor(minutes + 1e-9) / 60.0;
    };
    const auto& r = named.rounding;
    for (const auto& [entry, column] : kAuthorityColumns) round(entry, r[column]);
}

std::vector<double>& PrayerCalculator::computeQiyamTime(std::vector<double>& times, double clockChange) {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    // On every other night clockChange is 0 and the subtraction leaves Fajr's bits as they are.
    const double night = (24 - times[Maghrib] + (times[TomorrowFajr] - clockChange)) / 3.0;
    times[Qiyam] = std::fmod(times[Maghrib] + 2 * night, 24.0);
    return times;
}

void PrayerCalculator::setTimeZone(const std::optional<std::string>& name) {
    timeZoneObj_.reset();
    const std::string_view zoneName = name ? std::string_view(*name) : std::string_view("GMT");
    timeZoneObj_ = TimeZone::withName(zoneName);
    if (!timeZoneObj_) {
        TARVO_LOG_INFO("Timezone Could Not Be Found: {}", zoneName);
        timeZoneObj_ = gmtZone();
    }
}

double PrayerCalculator::getTimeZoneOffset(Date date) const {
    // Both branches are references: no copy of the zone (and of its shared data) per call.
    const TimeZone& zone = timeZoneObj_ ? *timeZoneObj_ : gmtZone();
    const auto seconds = static_cast<double>(zone.secondsFromGMT(date));
    double offset = getTimezoneOffsetInHours(seconds * 1000.0);
    if (overrideDST_ != 0) {
        // The zone's summer-time amount comes off even when the offset is an override: a
        // fixed offset plus "DST on" then means the zone's standard offset plus one hour,
        // as stored cities expect.
        offset = offset - zone.daylightSavingTimeOffset(date) / 3600.0;
        if (overrideDST_ == 1) offset = offset + 1;
    }
    return offset;
}

double PrayerCalculator::getTimezoneOffsetInHours(double milliseconds) const {
    if (overrideTimeZoneOffset_ == kOffsetFromZone) return milliseconds / 1000.0 / 3600.0;
    return overrideTimeZoneOffset_;
}

}  // namespace tarvo
