#include "tarvo/calculation/PrayerCalculator.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>

#include <fmt/format.h>

#include "platform/LogMacros.h"
#include "platform/Text.h"
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/calculation/DubaiFixedTimes.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/platform/Bundle.h"

namespace tarvo {

namespace {

// Reference points of the two cities with official timetables, and the radius (nautical
// miles) within which a place counts as that city.
constexpr double kDubaiLatitude = 25.139762550463804;
constexpr double kDubaiLongitude = 55.21756511181592;
constexpr double kKualaLumpurLatitude = 3.1412;
constexpr double kKualaLumpurLongitude = 101.68653;
constexpr double kFixedTimetableRadius = 14.0;

// Half a minute in hours, added before cutting a time down to its minute.
constexpr double kHalfMinute = 0.008333333333333333;

std::string localized(const char* english) { return Bundle::main().localizedString(english, "", ""); }

std::string removingAll(std::string text, std::string_view what) {
    for (auto pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos)) text.erase(pos, what.size());
    return text;
}

// Shared first half of time12ToHour:/time12ToMinute:: the lower-cased text without its
// suffix, and where the first ':' stood in the text as given.
struct Time12Parts {
    std::string before;
    std::string after;
};
std::optional<Time12Parts> splitTime12(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string cleaned = text::trimmed(removingAll(text::lowercased(text), "pm"));
    cleaned = text::trimmed(removingAll(cleaned, "am"));
    // The split uses the colon's place in the original text, not in the cleaned one, so
    // leading blanks shift it; kept so because stored settings were read this way.
    Time12Parts parts;
    parts.before = cleaned.substr(0, std::min(colon, cleaned.size()));
    if (colon + 1 <= cleaned.size()) parts.after = cleaned.substr(colon + 1);
    return parts;
}

std::string twoDigits(int64_t hour, int64_t minute) {
    // The four layouts "0%ld:0%ld", "%ld:0%ld", "%ld:%ld", "0%ld:%ld" are zero padding to two digits.
    return fmt::format("{:02}:{:02}", hour, minute);
}

struct HourMinute {
    int64_t hour;
    int64_t minute;
};
HourMinute roundedToMinute(double hours) {
    const double v = PrayerCalculator::fixhour(hours + kHalfMinute);
    const double hour = std::floor(v);
    return {static_cast<int64_t>(hour), static_cast<int64_t>(std::floor((v - hour) * 60))};
}

}  // namespace

namespace {

using MethodTable = std::map<int64_t, PrayerCalculator::MethodParams>;

// The built-in method table, built once and shared by every calculator (immutable).
const std::shared_ptr<const MethodTable>& builtInMethodTable() {
    // Fajr sel, Fajr, Maghrib sel, Maghrib, Isha sel, Isha. Every built-in method puts
    // Maghrib at sunset plus minutes; 4 and 7 put Isha 90 minutes after Maghrib.
    static const std::shared_ptr<const MethodTable> table = std::make_shared<const MethodTable>(MethodTable{
        {1, {0, 18, 1, 0, 0, 17}},   {2, {0, 19.5, 1, 0, 0, 17.5}}, {3, {0, 18, 1, 0, 0, 18}},
        {4, {0, 18.5, 1, 0, 1, 90}}, {5, {0, 15, 1, 0, 0, 15}},     {6, {0, 18, 1, 0, 0, 17}},
        {7, {0, 18.5, 1, 2, 1, 90}},
    });
    return table;
}

// The zone "UTC" (GMT if it were unknown), looked up once.
const TimeZone& utcZone() {
    static const TimeZone zone = TimeZone::withName("UTC").value_or(TimeZone::gmt());
    return zone;
}

const TimeZone& gmtZone() {
    static const TimeZone zone = TimeZone::gmt();
    return zone;
}

}  // namespace

PrayerCalculator::PrayerCalculator()
    : timeNames_{"Fajr", "Sunrise", "Duhr", "Asr", "Sunset", "Maghrib", "Isha", "Qiyam", "TomorrowFajr", "TomorrowSunrise"},
      InvalidTime_("N/A"),
      globalGregCal_(),
      globalGregCalUTC_(utcZone()),
      methodParams_(builtInMethodTable()) {}

// ---- Solar position core ------------------------------------------------------------

double PrayerCalculator::fixhour(double a) {
    a = a - 24.0 * std::floor(a / 24.0);
    return a < 0 ? a + 24.0 : a;
}

double PrayerCalculator::fixangle(double a) const {
    a = a - 360.0 * std::floor(a / 360.0);
    return a < 0 ? a + 360.0 : a;
}

double PrayerCalculator::radiansToDegrees(double r) const { return r * 180.0 / std::numbers::pi; }
double PrayerCalculator::DegreesToRadians(double d) const { return d * std::numbers::pi / 180.0; }
double PrayerCalculator::dsin(double d) const { return std::sin(DegreesToRadians(d)); }
double PrayerCalculator::dcos(double d) const { return std::cos(DegreesToRadians(d)); }
double PrayerCalculator::dtan(double d) const { return std::tan(DegreesToRadians(d)); }
double PrayerCalculator::darcsin(double x) const { return radiansToDegrees(std::asin(x)); }
double PrayerCalculator::darccos(double x) const { return radiansToDegrees(std::acos(x)); }
double PrayerCalculator::darctan(double x) const { return radiansToDegrees(std::atan(x)); }
double PrayerCalculator::darctan2(double y, double x) const { return radiansToDegrees(std::atan2(y, x)); }
// atan2(1, x) rather than atan(1/x): the result stays in (0, 180), so a negative argument
// gives an obtuse angle and 0 gives 90 instead of a division by zero.
double PrayerCalculator::darccot(double x) const { return radiansToDegrees(std::atan2(1.0, x)); }

double PrayerCalculator::julianDate(int64_t year, int64_t month, int64_t day) const {
    if (month < 3) {
        year -= 1;
        month += 12;
    }
    const double y = static_cast<double>(year);
    const double A = std::floor(y / 100.0);
    const double B = 2 - A + std::floor(A * 0.25);
    return std::floor(365.25 * (y + 4716)) + std::floor(30.6001 * (static_cast<double>(month) + 1)) +
           static_cast<double>(day) + B - 1524.5;
}

std::array<double, 2> PrayerCalculator::sunPosition(double jd) const {
    const double D = jd - 2451545.0;
    const double g = fixangle(357.529 + 0.98560028 * D);
    const double q = fixangle(280.459 + 0.98564736 * D);
    const double L = fixangle(q + 1.915 * dsin(g) + 0.02 * dsin(2 * g));
    const double e = -3.6e-07 * D + 23.439;
    const double declination = darcsin(dsin(e) * dsin(L));
    const double RA = fixhour(darctan2(dcos(e) * dsin(L), dcos(L)) / 15.0);
    return {declination, q / 15.0 - RA};
}

double PrayerCalculator::equationOfTime(double jd) const { return sunPosition(jd)[1]; }
double PrayerCalculator::sunDeclination(double jd) const { return sunPosition(jd)[0]; }

double PrayerCalculator::computeMidDay(double t) const { return fixhour(12 - equationOfTime(JDate_ + t)); }
double PrayerCalculator::computeMidDayForTomorrow(double t) const {
    return fixhour(12 - equationOfTime(TomorrowJDate_ + t));
}

namespace {
// The hour angle part shared by today's and tomorrow's computeTime.
double hourAngleTime(const PrayerCalculator& c, double G, double D, double Z) {
    const double V = c.darccos((-c.dsin(G) - c.dsin(D) * c.dsin(c.lat())) / (c.dcos(D) * c.dcos(c.lat()))) / 15.0;
    // Angles above 90 are "180 minus the depression" before noon; 90 itself counts as afternoon.
    return G > 90 ? Z - V : Z + V;
}
}  // namespace

double PrayerCalculator::computeTime(double G, double t) const {
    const double D = sunDeclination(JDate_ + t);
    const double Z = computeMidDay(t);
    return hourAngleTime(*this, G, D, Z);
}

double PrayerCalculator::computeTimeForTomorrow(double G, double t) const {
    const double D = sunDeclination(TomorrowJDate_ + t);
    const double Z = computeMidDayForTomorrow(t);
    return hourAngleTime(*this, G, D, Z);
}

double PrayerCalculator::computeAsr(double step, double t) const {
    const double D = sunDeclination(JDate_ + t);
    const double G = -darccot(step + dtan(std::fabs(lat_ - D)));
    return computeTime(G, t);
}

double PrayerCalculator::timeDiff(double time1, double time2) const { return fixhour(time2 - time1); }

// ---- Methods and their parameters ---------------------------------------------------

std::string PrayerCalculator::getPrayerMethodNameFromNumber(int64_t method) {
    // No case for 1: it shares the default with 0 and unknown numbers.
    switch (method) {
        case 2: return localized("Egyptian General Authority");
        case 3: return localized("Islamic University, Karachi");
        case 4: return localized("Umm Al-Qura");
        case 5: return localized("ISNA (North America)");
        case 6: return localized("Custom Method");
        case 7: return localized("UAE");
        default: return localized("Muslim League");
    }
}

std::string PrayerCalculator::getShortPrayerMethodNameFromNumber(int64_t method) {
    // The default is the long "Muslim League", so 0 and unknown numbers get the long text
    // while 1 gets the short one; stored translations are keyed on exactly this.
    switch (method) {
        case 1: return localized("Muslim League Short");
        case 2: return localized("Egyptian General Authority Short");
        case 3: return localized("Islamic University, Karachi Short");
        case 4: return localized("Umm Al-Qura Short");
        case 5: return localized("ISNA (North America) Short");
        case 6: return localized("Custom Method");
        case 7: return localized("UAE");
        default: return localized("Muslim League");
    }
}

std::string PrayerCalculator::getAsrMethodFromNumber(int64_t asr) {
    if (asr == 1) return localized("Shafi");
    if (asr == 2) return localized("Hanafi");
    return localized("Unknown");
}

std::string PrayerCalculator::getAdjustHighLatNameFromNumber(int64_t rule) {
    switch (rule) {
        case 2: return localized("1/7th of the night, median");
        case 3: return localized("Angle based");
        case 4: return localized("Middle of the night");
        default: return localized("1/7th of the night");
    }
}

int64_t PrayerCalculator::getAutoAsrMethodFromCountry(const std::optional<std::string>& country) {
    if (!country) return 1;
    // The product's own list of Hanafi countries, spellings exact ("kirgizstan"); Egypt,
    // Syria and Jordan are in it on purpose.
    static constexpr std::string_view kHanafi[] = {
        "kazakhstan", "turkmenistan", "kirgizstan", "afghanistan", "pakistan",
        "bangladesh", "azerbaijan",   "turkey",     "egypt",       "tajikistan",
        "maldives",   "syria",        "jordan",     "uzbekistan",  "india"};
    const std::string name = text::lowercased(*country);
    for (auto hanafi : kHanafi) {
        if (name == hanafi) return 2;
    }
    return 1;
}

int64_t PrayerCalculator::getAutoMethodFromLocation(double lat, double lng) {
    if (lat >= 58 || lat <= -58) return 5;
    if (lng >= 25 && lng <= 45 && lat >= 37) return 1;
    if (lng >= -135 && lng <= -60 && lat >= 30) return 5;
    if (lng < -30 && lat >= 0 && lat <= 36) return 1;
    if (lng < -30 && lat >= -48 && lat <= 0) return 1;
    if (lat >= 12 && lat <= 37 && lng < 37) return 2;
    if (lat >= 22.6 && lat <= 25.9 && lng >= 51.7 && lng <= 56.4) return 7;
    if (lat >= 12 && lat <= 36 && lng >= 37 && lng <= 59.6) return 4;
    if (lng > 59.6 && lng <= 99 && lat >= 20 && lat <= 29) return 3;
    return 1;
}

int64_t PrayerCalculator::getAutoHighLatMethodFromLocation(double lat) {
    // Signed latitude on purpose: every southern place falls below 48 and gets rule 3.
    if (lat < 48) return 3;
    if (lat >= 65) return 1;  // the same answer as the next test; kept as the product has it
    if (lat >= 55) return 1;
    if (lat >= 51.5) return 2;
    if (lat >= 48) return 3;
    return 1;
}

int64_t PrayerCalculator::calcMethod() const {
    return calcMethod_ != 0 ? calcMethod_ : getAutoMethodFromLocation(lat_, lng_);
}

int64_t PrayerCalculator::asrJuristic() const {
    return asrJuristic_ != 0 ? asrJuristic_ : getAutoAsrMethodFromCountry(country_);
}

int64_t PrayerCalculator::adjustHighLats() const {
    return adjustHighLats_ != 0 ? adjustHighLats_ : getAutoHighLatMethodFromLocation(lat_);
}

std::array<double, 6> PrayerCalculator::params() const {
    std::array<double, 6> p{};  // a method without a table entry reads as all zero
    if (auto it = methodParams_->find(calcMethod()); it != methodParams_->end() && it->second.size() == 6) {
        std::copy(it->second.begin(), it->second.end(), p.begin());
    }
    return p;
}

void PrayerCalculator::setCustomParams(MethodParams& p) {
    if (p.size() != 6) {
        TARVO_LOG_ERROR("Custom method parameters need six values, got {}; ignored", p.size());
        return;
    }
    const auto current = methodParams_->find(calcMethod());
    const bool hasCurrent = current != methodParams_->end() && current->second.size() == 6;
    for (size_t i = 0; i < 6; ++i) {
        if (p[i] != -1) continue;
        if (!hasCurrent) {
            TARVO_LOG_ERROR("Method {} has no parameters to keep; custom parameters ignored", calcMethod());
            return;
        }
        p[i] = current->second[i];
    }
    // Copy on write: the table may be the shared built-in one.
    auto table = std::make_shared<MethodTable>(*methodParams_);
    table->erase(6);
    table->emplace(6, p);
    methodParams_ = std::move(table);
    calcMethod_ = 6;
}

void PrayerCalculator::setSingleParam(size_t selectorIndex, double selector, double value) {
    MethodParams p(6, -1.0);
    p[selectorIndex] = selector;
    p[selectorIndex + 1] = value;
    setCustomParams(p);
}

void PrayerCalculator::setFajrAngle(double angle) { setSingleParam(0, 0, angle); }
void PrayerCalculator::setFajrMinutes(double minutes) { setSingleParam(0, 1, minutes); }
void PrayerCalculator::setMaghribAngle(double angle) { setSingleParam(2, 0, angle); }
void PrayerCalculator::setMaghribMinutes(double minutes) { setSingleParam(2, 1, minutes); }
void PrayerCalculator::setIshaAngle(double angle) { setSingleParam(4, 0, angle); }
void PrayerCalculator::setIshaMinutes(double minutes) { setSingleParam(4, 1, minutes); }

// ---- Day computation ----------------------------------------------------------------

std::vector<double> PrayerCalculator::getDatePrayerTimes(Date date, const std::optional<std::string>& cityName,
                                                         const std::optional<std::string>& countryName,
                                                         double latitude, double longitude,
                                                         const std::optional<std::string>& timeZoneName) {
    // The calendar date is the device's, not the place's.
    const DateComponents today = globalGregCal_.components(date);
    country_ = countryName;
    lat_ = latitude;
    lng_ = longitude;
    setTimeZone(timeZoneName);

    const double dubai =
        QiblaCalculator::getDistanceBetweenTwoLocations(latitude, longitude, kDubaiLatitude, kDubaiLongitude, false);
    const double kualaLumpur = QiblaCalculator::getDistanceBetweenTwoLocations(
        latitude, longitude, kKualaLumpurLatitude, kKualaLumpurLongitude, false);
    auto nameContains = [&](std::string_view part) {
        return cityName && cityName->find(part) != std::string::npos;
    };
    isDubai_ = false;
    isKualaLumpur_ = false;
    // The name tests are case-sensitive and deliberately loose: any name containing "KL"
    // counts as Kuala Lumpur, as the shipped app decided.
    if (dubai <= kFixedTimetableRadius) {
        isDubai_ = true;
    } else if (nameContains("\u062F\u0628\u064A") || nameContains("Dubai")) {
        isDubai_ = true;
    } else if (kualaLumpur <= kFixedTimetableRadius) {
        isKualaLumpur_ = true;
    } else if (nameContains("KL") || nameContains("Kuala Lumpur")) {
        isKualaLumpur_ = true;
    }

    GregDate_ = date;
    JDate_ = julianDate(today.year, today.month, today.day) - longitude / 360.0;
    TomorrowGregDate_ = globalGregCal_.dateByAddingDays(1, today);  // today = components(date)
    const DateComponents tomorrow = globalGregCal_.components(*TomorrowGregDate_);
    TomorrowJDate_ = julianDate(tomorrow.year, tomorrow.month, tomorrow.day) - longitude / 360.0;
    return computeDayTimes();
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

std::vector<double> PrayerCalculator::computeDayTimes() {
    // What computeTimes does, with the raw times written over the first guesses (once
    // their day portions are copied out), so that a day needs one vector instead of two.
    std::vector<double> times{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
    dayPortion(times);
    std::array<double, EntryCount> t;
    std::copy(times.begin(), times.end(), t.begin());
    computeTimesInto(t, times);
    adjustTimes(times);
    isUsingFixedTimings_ = false;
    if (isDubai_ || isKualaLumpur_) applyFixedTimetable(times);
    return std::move(computeQiyamTime(times));
}

double PrayerCalculator::timetableKeyForToday() const {
    // Midnight UTC of the device-local calendar date.
    DateComponents c = globalGregCal_.components(GregDate_.value_or(Date()));
    c.hour = c.minute = c.second = c.nanosecond = 0;
    return globalGregCalUTC_.dateFromComponents(c).timeIntervalSince1970();
}

double PrayerCalculator::timetableKeyForTomorrow() const {
    // Tomorrow's date is taken in UTC, not in the device's zone as today's is. The shipped
    // app keys tomorrow this way and its stored timetables agree, so the asymmetry stays.
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
    computeTimesInto(t, times);
    return times;
}

void PrayerCalculator::computeTimesInto(const std::array<double, EntryCount>& t, std::vector<double>& times) const {
    const auto p = params();
    times[Fajr] = p[0] == 0 ? computeTime(180 - p[1], t[Fajr]) : 0;
    times[Sunrise] = computeTime(179.167, t[Sunrise]);
    times[Dhuhr] = computeMidDay(t[Dhuhr]);
    times[Asr] = computeAsr(static_cast<double>(asrJuristic()), t[Asr]);
    times[Sunset] = computeTime(0.833, t[Sunset]);
    times[Maghrib] = p[2] == 0 ? computeTime(p[3], t[Maghrib]) : 0;
    times[Isha] = p[4] == 0 ? computeTime(p[5], t[Isha]) : 0;
    times[Qiyam] = 0;
    times[TomorrowFajr] = p[0] == 0 ? computeTimeForTomorrow(180 - p[1], t[TomorrowFajr]) : 0;
    times[TomorrowSunrise] = computeTimeForTomorrow(179.167, t[TomorrowSunrise]);
}

std::vector<double>& PrayerCalculator::adjustTimes(std::vector<double>& times) {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    // Tomorrow's entries take tomorrow's offset, so a change to or from summer time
    // overnight is honoured. The offset of a moment never changes, so each of the two is
    // asked once rather than once per entry; every entry gets the very same double.
    const double todayOffset = getTimeZoneOffset(GregDate_.value_or(Date()));
    const double tomorrowOffset = getTimeZoneOffset(TomorrowGregDate_.value_or(Date()));
    for (size_t i = 0; i < EntryCount; ++i) {
        times[i] = times[i] + (i >= TomorrowFajr ? tomorrowOffset : todayOffset) - lng_ / 15.0;
    }
    adjustHighLatTimes(times);
    const auto p = params();
    if (p[0] == 1) times[Fajr] = times[Sunrise] - p[1] / 60.0;
    times[Dhuhr] = times[Dhuhr] + static_cast<double>(dhuhrMinutes_) / 60.0;
    if (p[2] == 1) times[Maghrib] = times[Sunset] + p[3] / 60.0;
    if (p[4] == 1) times[Isha] = times[Maghrib] + p[5] / 60.0;
    if (p[0] == 1) times[TomorrowFajr] = times[TomorrowSunrise] - p[1] / 60.0;
    return times;
}

std::vector<double>& PrayerCalculator::computeQiyamTime(std::vector<double>& times) {
    if (times.size() < EntryCount) times.resize(EntryCount, std::nan(""));
    const double night = (24 - times[Maghrib] + times[TomorrowFajr]) / 3.0;
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
    if (overrideTimeZoneOffset_ == 50.0) return milliseconds / 1000.0 / 3600.0;
    return overrideTimeZoneOffset_;
}

// ---- High-latitude adjustment -------------------------------------------------------

double PrayerCalculator::nightPortion(double angle) const {
    switch (adjustHighLats()) {
        case 3: return angle / 60.0;
        case 4: return 0.5;
        case 1:
        case 2: return 0.14286;  // the product's constant, not 1/7
        default: return 0;
    }
}

std::vector<double>& PrayerCalculator::dayPortion(std::vector<double>& times) const {
    for (double& t : times) t /= 24.0;
    return times;
}

std::vector<double>& PrayerCalculator::adjustHighLatTimes(std::vector<double>& T) {
    if (T.size() < EntryCount) T.resize(EntryCount, std::nan(""));
    const auto p = params();
    const int64_t rule = adjustHighLats();
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
        const double angle = p[4] == 0 ? p[5] : 18.0;
        const double portion = portionFor(angle);
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

// ---- Time values and formatting -----------------------------------------------------

int64_t PrayerCalculator::floatToHour(double hours) {
    if (std::isnan(hours) || std::isinf(hours)) return 0;
    return roundedToMinute(hours).hour;
}

int64_t PrayerCalculator::floatToMin(double hours) {
    if (std::isnan(hours) || std::isinf(hours)) return 0;
    return roundedToMinute(hours).minute;
}

std::string PrayerCalculator::floatToTime24(double hours) const {
    if (!std::isfinite(hours)) return InvalidTime_;
    const auto [hour, minute] = roundedToMinute(hours);
    return twoDigits(hour, minute);
}

std::string PrayerCalculator::floatToTime12(double hours, bool noSuffix) const {
    if (!std::isfinite(hours)) return InvalidTime_;
    const auto [hour, minute] = roundedToMinute(hours);
    const int64_t h12 = ((hour + 11) % 12) + 1;
    // Single-digit hours keep their leading zero in 12-hour text too ("05:07 am"), as the
    // app has always shown them.
    std::string text = twoDigits(h12, minute);
    if (!noSuffix) text += hour < 12 ? " am" : " pm";
    return text;
}

std::string PrayerCalculator::floatToTime12NS(double hours) const { return floatToTime12(hours, true); }

int64_t PrayerCalculator::time24ToHour(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return 0;
    return text::integerValue(text.substr(0, colon));
}

int64_t PrayerCalculator::time24ToMinute(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return 0;
    return text::integerValue(text.substr(colon + 1));
}

int64_t PrayerCalculator::time12ToHour(std::string_view text) {
    const auto parts = splitTime12(text);
    return parts ? text::integerValue(parts->before) : 0;
}

int64_t PrayerCalculator::time12ToMinute(std::string_view text) {
    const auto parts = splitTime12(text);
    return parts ? text::integerValue(parts->after) : 0;
}

std::array<int64_t, 3> PrayerCalculator::splitToComponentTimes(int64_t seconds) {
    const int64_t hours = seconds / 3600;
    const int64_t rest = seconds - 3600 * hours;
    const int64_t minutes = rest / 60;
    return {hours, minutes, rest - 60 * minutes};
}

std::vector<std::string> PrayerCalculator::adjustTimesFormat(const std::vector<double>& times) const {
    std::vector<std::string> out;
    out.reserve(times.size());
    for (double t : times) {
        switch (timeFormat_) {
            case 3: {
                // The number's own text: the shortest form that reads back as the same double.
                if (std::isnan(t)) {
                    out.emplace_back("nan");
                    break;
                }
                char buf[32];
                const auto result = std::to_chars(buf, buf + sizeof buf, t);
                out.emplace_back(buf, result.ptr);
                break;
            }
            case 1: out.push_back(floatToTime12(t, false)); break;
            case 2: out.push_back(floatToTime12(t, true)); break;
            default: out.push_back(floatToTime24(t)); break;
        }
    }
    return out;
}

}  // namespace tarvo
