// The day pipeline: for a moment, a place and a method, the ten times of the day (Fajr,
// sunrise, Dhuhr, Asr, sunset, Maghrib, Isha, Qiyam, tomorrow's Fajr and sunrise), with the
// zone offset, the high-latitude repair, the method's minute rules, an authority's own
// safety minutes and rounding, the official Dubai and Kuala Lumpur timetables near those
// cities, and Qiyam.
//
//   Given:    a moment (its calendar date in the device's zone is the day), the place's
//             latitude and longitude in degrees, its zone, city and country names.
//   Returned: local clock hours as doubles, not wrapped into 0-24; NaN where a time cannot
//             be computed.
//   Notes:    the Julian dates are those of the device-local date shifted by minus
//             longitude/360, so the solar core works in the longitude's mean time and the
//             zone offset minus longitude/15 is added afterwards.
#include "calculation/DayEngine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>
#include <utility>

#include "calculation/PolarResolver.h"
#include "calculation/SolarEvents.h"
#include "platform/util/PureResultCache.h"
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/DubaiFixedTimes.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo {

namespace {

// Reference points of the two cities with official timetables, and the radius (nautical
// miles) within which a place counts as that city.
constexpr double kDubaiLatitude = 25.139762550463804;
constexpr double kDubaiLongitude = 55.21756511181592;
constexpr double kKualaLumpurLatitude = 3.1412;
constexpr double kKualaLumpurLongitude = 101.68653;
constexpr double kFixedTimetableRadius = 14.0;
constexpr int64_t kCustomMethod = PrayerCalculator::kCustomMethod;
constexpr double kOffsetFromZone = PrayerCalculator::kOffsetFromZone;

// The zone "UTC" (GMT if it were unknown), looked up once.
const TimeZone& utcZone() {
    static const TimeZone zone = TimeZone::withName("UTC").value_or(TimeZone::gmt());
    return zone;
}

const Calendar& utcCalendar() {
    static const Calendar calendar(utcZone());
    return calendar;
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

bool sameBits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

}  // namespace

bool MethodParameters::operator==(const MethodParameters& other) const {
    const auto sameTable = [](const MethodTable& a, const MethodTable& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
            return x.first == y.first &&
                   std::equal(x.second.begin(), x.second.end(), y.second.begin(), y.second.end(), sameBits);
        });
    };
    return method == other.method && asrSchool == other.asrSchool && highLatitudeRule == other.highLatitudeRule &&
           dhuhrMinutes == other.dhuhrMinutes && overriddenNamedMethod == other.overriddenNamedMethod &&
           polarResolution == other.polarResolution &&
           (table == other.table || (table && other.table && sameTable(*table, *other.table)));
}

bool Place::operator==(const Place& other) const {
    return sameBits(latitude, other.latitude) && sameBits(longitude, other.longitude) &&
           sameBits(overrideTimeZoneOffset, other.overrideTimeZoneOffset) && overrideDST == other.overrideDST &&
           cityName == other.cityName && countryName == other.countryName && zone == other.zone;
}

DayFrame DayFrame::of(const Calendar& calendar, Date date, double longitude) {
    // The calendar date is the device's, not the place's.
    DayFrame frame;
    const DateComponents today = calendar.components(date);
    frame.today = date;
    frame.JDate = solar::julianDate(today.year, today.month, today.day) - longitude / 360.0;
    frame.tomorrow = calendar.dateByAddingDays(1, today);  // today = components(date)
    const DateComponents tomorrow = calendar.components(frame.tomorrow);
    frame.TomorrowJDate = solar::julianDate(tomorrow.year, tomorrow.month, tomorrow.day) - longitude / 360.0;
    frame.todayDate = {today.year, today.month, today.day};
    frame.tomorrowDate = {tomorrow.year, tomorrow.month, tomorrow.day};
    return frame;
}

DayEngine::DayEngine(const MethodParameters& method, const Place& place, const Calendar& calendar,
                     const DayFrame& frame)
    : method_(method), place_(place), calendar_(calendar), frame_(frame) {}

DayTimes compute(const MethodParameters& method, const Place& place, Date date, const Calendar& calendar,
                 DayEngine::Stage stage) {
    return DayEngine(method, place, calendar, DayFrame::of(calendar, date, place.longitude)).times(stage);
}

DayEngine::TimetableCity DayEngine::timetableCityOf(const std::optional<std::string>& cityName, double latitude,
                                                    double longitude) {
    const auto [dubai, kualaLumpur] = distancesToTimetableCities(latitude, longitude);
    auto nameContains = [&](std::string_view part) {
        return cityName && cityName->find(part) != std::string::npos;
    };
    // The name tests are case-sensitive and deliberately loose: any name containing "KL"
    // counts as Kuala Lumpur: the name test errs towards the official timetable.
    if (dubai <= kFixedTimetableRadius) return TimetableCity::Dubai;
    if (nameContains("\u062F\u0628\u064A") || nameContains("Dubai")) return TimetableCity::Dubai;
    if (kualaLumpur <= kFixedTimetableRadius) return TimetableCity::KualaLumpur;
    if (nameContains("KL") || nameContains("Kuala Lumpur")) return TimetableCity::KualaLumpur;
    return TimetableCity::None;
}

// ---- Resolved choices -------------------------------------------------------------------

int64_t DayEngine::method() const {
    return method_.method != 0 ? method_.method
                               : PrayerCalculator::getAutoMethodFromLocation(place_.latitude, place_.longitude);
}

int64_t DayEngine::asrSchool() const {
    return method_.asrSchool != 0 ? method_.asrSchool : PrayerCalculator::getAutoAsrMethodFromCountry(place_.countryName);
}

int64_t DayEngine::highLatitudeRule() const {
    return method_.highLatitudeRule != 0 ? method_.highLatitudeRule
                                         : PrayerCalculator::getAutoHighLatMethodFromLocation(place_.latitude);
}

std::array<double, 6> DayEngine::params() const {
    std::array<double, 6> p{};  // a method without a table entry reads as all zero
    if (auto it = method_.table->find(method()); it != method_.table->end() && it->second.size() == 6) {
        std::copy(it->second.begin(), it->second.end(), p.begin());
    }
    return p;
}

// ---- The sun's events -------------------------------------------------------------------

double DayEngine::computeMidDay(double t) const { return solar_events::midDay(frame_.JDate + t); }
double DayEngine::computeMidDayForTomorrow(double t) const { return solar_events::midDay(frame_.TomorrowJDate + t); }
double DayEngine::computeTime(double G, double t) const {
    return solar_events::timeAtAngle(G, frame_.JDate + t, place_.latitude);
}
double DayEngine::computeTimeForTomorrow(double G, double t) const {
    return solar_events::timeAtAngle(G, frame_.TomorrowJDate + t, place_.latitude);
}
double DayEngine::computeAsr(double step, double t) const {
    return solar_events::asrTime(step, frame_.JDate + t, place_.latitude);
}

// ---- The pipeline -----------------------------------------------------------------------

DayTimes DayEngine::times(Stage stage) const {
    std::vector<double> times = rawDayTimes(stage);
    adjustTimes(times, stage);
    applyAuthorityRules(times);
    DayTimes day;
    day.nextDay = frame_.tomorrow;
    day.calendarDate = frame_.todayDate;
    day.nextCalendarDate = frame_.tomorrowDate;
    if (const TimetableCity city = timetableCityOf(place_.cityName, place_.latitude, place_.longitude);
        city != TimetableCity::None) {
        day.usingFixedTimings = applyFixedTimetable(times, city);
    }
    if (stage == Stage::WholeDay) {
        // Tomorrow's Fajr is written on tomorrow's clock; on the night the clocks change, the
        // night's length is measured on today's, so that Qiyam falls at the real two thirds.
        day.clockOffsets = {timeZoneOffset(frame_.today), timeZoneOffset(frame_.tomorrow)};
        const double clockChange = day.clockOffsets[1] - day.clockOffsets[0];
        computeQiyamTime(times, clockChange);
    }
    std::copy_n(times.begin(), EntryCount, day.times.begin());
    return day;
}

std::vector<double> DayEngine::rawDayTimes(Stage stage) const {
    // The raw times are written over the first guesses (once their day portions are copied
    // out), so that a day needs one vector instead of two.
    std::vector<double> times{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
    for (double& t : times) t /= 24.0;
    std::array<double, EntryCount> t;
    std::copy(times.begin(), times.end(), t.begin());
    computeTimesInto(t, times, stage);
    return times;
}

void DayEngine::computeTimesInto(const std::array<double, EntryCount>& t, std::vector<double>& times,
                                 Stage stage) const {
    // Fajr and sunrise need only the night's ends besides (sunset and tomorrow's sunrise, for
    // the high-latitude share): nothing later in the pipeline carries another entry into them.
    const bool wholeDay = stage == Stage::WholeDay;
    const double none = std::nan("");
    const auto p = params();
    times[Fajr] = p[0] == 0 ? computeTime(180 - p[1], t[Fajr]) : 0;
    times[Sunrise] = computeTime(179.167, t[Sunrise]);
    times[Dhuhr] = wholeDay ? computeMidDay(t[Dhuhr]) : none;
    times[Asr] = wholeDay ? computeAsr(static_cast<double>(asrSchool()), t[Asr]) : none;
    times[Sunset] = computeTime(0.833, t[Sunset]);
    times[Maghrib] = !wholeDay ? none : p[2] == 0 ? computeTime(p[3], t[Maghrib]) : 0;
    times[Isha] = !wholeDay ? none : p[4] == 0 ? computeTime(p[5], t[Isha]) : 0;
    times[Qiyam] = 0;
    times[TomorrowFajr] = !wholeDay ? none : p[0] == 0 ? computeTimeForTomorrow(180 - p[1], t[TomorrowFajr]) : 0;
    times[TomorrowSunrise] = computeTimeForTomorrow(179.167, t[TomorrowSunrise]);
}

void DayEngine::shiftToClock(std::vector<double>& times) const {
    // Tomorrow's entries take tomorrow's offset, so a change to or from summer time
    // overnight is honoured. The offset of a moment never changes, so each of the two is
    // asked once rather than once per entry; every entry gets the very same double.
    const double todayOffset = timeZoneOffset(frame_.today);
    const double tomorrowOffset = timeZoneOffset(frame_.tomorrow);
    for (size_t i = 0; i < EntryCount; ++i) {
        times[i] = times[i] + (i >= TomorrowFajr ? tomorrowOffset : todayOffset) - place_.longitude / 15.0;
    }
}

std::vector<double>& DayEngine::adjustTimes(std::vector<double>& times, Stage stage) const {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    shiftToClock(times);
    adjustHighLatTimes(times);
    // What the high-latitude rules could not give (no sunrise, no sunset), the chosen polar
    // resolution fills; the minute rules below then count from the filled times. A day the
    // sun gave whole has nothing to fill.
    const bool complete =
        std::all_of(times.begin(), times.begin() + EntryCount, [](double t) { return std::isfinite(t); });
    if (method_.polarResolution != PolarResolution::None && !complete) {
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
    times[Dhuhr] = times[Dhuhr] + static_cast<double>(method_.dhuhrMinutes) / 60.0;
    if (p[2] == 1) times[Maghrib] = times[Sunset] + p[3] / 60.0;
    if (p[4] == 1) times[Isha] = times[Maghrib] + p[5] / 60.0;
    if (p[0] == 1) times[TomorrowFajr] = times[TomorrowSunrise] - p[1] / 60.0;
    return times;
}

std::vector<double>& DayEngine::computeQiyamTime(std::vector<double>& times, double clockChange) {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    // On every other night clockChange is 0 and the subtraction leaves Fajr's bits as they are.
    const double night = (24 - times[Maghrib] + (times[TomorrowFajr] - clockChange)) / 3.0;
    times[Qiyam] = std::fmod(times[Maghrib] + 2 * night, 24.0);
    return times;
}

// ---- High-latitude repair ---------------------------------------------------------------
// Where the sun does not sink far enough below the horizon (or the angle gives an
// implausibly long twilight), Fajr, Isha and Maghrib are bounded by a share of the night
// between sunset and tomorrow's sunrise: rule 1 one seventh of the night, 2 the mean of that
// and the angle share when the latter is larger, 3 angle/60 of the night, 4 half the night.
// The one-seventh share is 0.14286, not 1/7, and stored settings and timetables rely on it.

double DayEngine::nightPortion(double angle) const {
    switch (highLatitudeRule()) {
        case 3: return angle / 60.0;
        case 4: return 0.5;
        case 1:
        case 2: return 0.14286;  // not 1/7: published timetables are computed with 0.14286
        default: return 0;
    }
}

std::vector<double>& DayEngine::adjustHighLatTimes(std::vector<double>& T) const {
    if (T.size() < EntryCount) T.resize(EntryCount, std::nan(""));
    const auto p = params();
    const int64_t rule = highLatitudeRule();
    const auto timeDiff = [](double time1, double time2) { return solar::fixHour(time2 - time1); };
    const double night = timeDiff(T[Sunset], T[TomorrowSunrise]);
    // Rule 2 takes the mean of the 1/7 share and the angle share when the latter is larger.
    auto portionFor = [&](double angle) {
        double portion = nightPortion(angle) * night;
        if (rule == 2) {
            const double alt = night * (angle / 60.0);
            if (alt > portion) portion = portion + (alt - portion) * 0.5;
        }
        return portion;
    };

    if (p[0] == 0) {
        const double portion = portionFor(p[1]);
        if (std::isnan(T[Fajr]) || timeDiff(T[Fajr], T[Sunrise]) > portion) T[Fajr] = T[Sunrise] - portion;
        if (std::isnan(T[TomorrowFajr]) || timeDiff(T[TomorrowFajr], T[TomorrowSunrise]) > portion) {
            T[TomorrowFajr] = T[TomorrowSunrise] - portion;
        }
    }
    if (p[4] == 0) {
        const double portion = portionFor(p[5]);
        if (std::isnan(T[Isha]) || timeDiff(T[Sunset], T[Isha]) > portion) T[Isha] = T[Sunset] + portion;
    }
    {
        const double angle = p[2] == 0 ? p[3] : 4.0;
        // Maghrib deliberately gets the plain share, never the rule-2 mean.
        const double portion = nightPortion(angle) * night;
        if (std::isnan(T[Maghrib]) || timeDiff(T[Sunset], T[Maghrib]) > portion) T[Maghrib] = T[Sunset] + portion;
    }
    return T;
}

// ---- The zone's clock -------------------------------------------------------------------

double DayEngine::timeZoneOffset(Date date) const {
    const TimeZone& zone = place_.zone;
    const auto seconds = static_cast<double>(zone.secondsFromGMT(date));
    double offset = timeZoneOffsetInHours(seconds * 1000.0);
    if (place_.overrideDST != 0) {
        // The zone's summer-time amount comes off even when the offset is an override: a
        // fixed offset plus "DST on" then means the zone's standard offset plus one hour,
        // as stored cities expect.
        offset = offset - zone.daylightSavingTimeOffset(date) / 3600.0;
        if (place_.overrideDST == 1) offset = offset + 1;
    }
    return offset;
}

double DayEngine::timeZoneOffsetInHours(double milliseconds) const {
    if (place_.overrideTimeZoneOffset == kOffsetFromZone) return milliseconds / 1000.0 / 3600.0;
    return place_.overrideTimeZoneOffset;
}

// ---- Official timetables ----------------------------------------------------------------

double DayEngine::timetableKeyForToday() const {
    // Midnight UTC of the device-local calendar date.
    DateComponents c = calendar_.components(frame_.today);
    c.hour = c.minute = c.second = c.nanosecond = 0;
    return utcCalendar().dateFromComponents(c).timeIntervalSince1970();
}

double DayEngine::timetableKeyForTomorrow() const {
    // Tomorrow's date is taken in UTC, not in the device's zone as today's is: the stored
    // timetables key tomorrow's row this way, so the asymmetry stays.
    const Date tomorrow = calendar_.dateByAddingDays(1, frame_.today);
    DateComponents c = utcCalendar().components(tomorrow);
    c.hour = c.minute = c.second = c.nanosecond = 0;
    return utcCalendar().dateFromComponents(c).timeIntervalSince1970();
}

bool DayEngine::applyFixedTimetable(std::vector<double>& times, TimetableCity city) const {
    const int64_t resolved = method();
    const bool dubai = city == TimetableCity::Dubai;
    // The resolved method is never 0, so in Dubai only method 7 uses the timetable; in
    // Kuala Lumpur every method does.
    if (!((dubai && (resolved == 7 || resolved == 0)) || city == TimetableCity::KualaLumpur)) return false;

    const auto lookUp = [dubai](double key) {
        return dubai ? DubaiFixedTimes::getTimingsForEpoch(key) : KLFixedTimes::getTimingsForEpoch(key);
    };
    const auto today = lookUp(timetableKeyForToday());
    const auto tomorrow = lookUp(timetableKeyForTomorrow());
    if (today[0] != -1) {
        if (params()[0] != 1) times[Fajr] = today[0];
        times[Sunrise] = today[1];
        times[Dhuhr] = today[2];
        // A user who chose Hanafi (stored, not resolved) keeps the computed Asr.
        if (method_.asrSchool < 2) times[Asr] = today[3];
        // The row has no sunset: sunset stays computed.
        times[Maghrib] = today[4];
        times[Isha] = today[5];
    }
    if (tomorrow[0] != -1) {
        times[TomorrowFajr] = tomorrow[0];
        times[TomorrowSunrise] = tomorrow[1];
    }
    return true;
}

// ---- An authority's own rules -----------------------------------------------------------

const CalculationMethod* DayEngine::authorityRules() const {
    const int64_t resolved = method();
    if (resolved >= 8) return CalculationMethod::withNumber(resolved);
    if (resolved == kCustomMethod && method_.overriddenNamedMethod != 0) {
        return CalculationMethod::withNumber(method_.overriddenNamedMethod);
    }
    return nullptr;
}

void DayEngine::applyAuthorityRules(std::vector<double>& times) const {
    // Only the authorities' methods from 8 carry these rules; methods 1-7 never reach the
    // catalogue here, so their times stay exactly as computed.
    const CalculationMethod* named = authorityRules();
    if (!named) return;
    if (method() == named->number) applySeasonalTwilight(*named, times);
    applyMinuteOffsets(*named, times);
    applyRounding(*named, times);
}

void DayEngine::applySeasonalTwilight(const CalculationMethod& named, std::vector<double>& times) const {
    // Beyond 55 degrees the committee's minutes are not defined; the angles and the
    // high-latitude rule answer there.
    const double lat = place_.latitude;
    if (!named.seasonalTwilight || std::fabs(lat) > 55) return;
    const auto daysSinceWinterSolstice = [this, lat](Date date) {
        const DateComponents c = calendar_.components(date);
        const int64_t solsticeMonth = lat >= 0 ? 12 : 6;
        const bool passed = c.month > solsticeMonth || (c.month == solsticeMonth && c.day >= 21);
        return solar::julianDate(c.year, c.month, c.day) -
               solar::julianDate(passed ? c.year : c.year - 1, solsticeMonth, 21);
    };
    const auto today = CalculationMethod::seasonalTwilightMinutes(lat, daysSinceWinterSolstice(frame_.today));
    const auto tomorrow = CalculationMethod::seasonalTwilightMinutes(lat, daysSinceWinterSolstice(frame_.tomorrow));
    times[Fajr] = times[Sunrise] - today[0] / 60.0;
    times[Isha] = times[Sunset] + today[1] / 60.0;
    times[TomorrowFajr] = times[TomorrowSunrise] - tomorrow[0] / 60.0;
}

namespace {
// The day's entries an authority's minutes and rounding apply to, each with its column in
// the catalogue's per-time rows; tomorrow's Fajr and sunrise follow today's.
constexpr std::pair<size_t, size_t> kAuthorityColumns[] = {
    {DayEngine::Fajr, CalculationMethod::FajrOffset},
    {DayEngine::Sunrise, CalculationMethod::SunriseOffset},
    {DayEngine::Dhuhr, CalculationMethod::DhuhrOffset},
    {DayEngine::Asr, CalculationMethod::AsrOffset},
    {DayEngine::Maghrib, CalculationMethod::MaghribOffset},
    {DayEngine::Isha, CalculationMethod::IshaOffset},
    {DayEngine::TomorrowFajr, CalculationMethod::FajrOffset},
    {DayEngine::TomorrowSunrise, CalculationMethod::SunriseOffset},
};
}  // namespace

void DayEngine::applyMinuteOffsets(const CalculationMethod& named, std::vector<double>& times) const {
    // Some authorities publish their times with fixed minutes added (Diyanet's temkin,
    // Kemenag's ihtiyati). Only named methods from 8 carry them.
    if (!named.hasMinuteOffsets()) return;
    const auto& m = named.minuteOffsets;
    const auto add = [&](size_t entry, double minutes) {
        if (minutes != 0) times[entry] = times[entry] + minutes / 60.0;
    };
    for (const auto& [entry, column] : kAuthorityColumns) add(entry, m[column]);
}

void DayEngine::applyRounding(const CalculationMethod& named, std::vector<double>& times) const {
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

}  // namespace tarvo
