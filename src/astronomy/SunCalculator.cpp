#include "tarvo/astronomy/SunCalculator.h"

#include <cmath>
#include <limits>

#include "astronomy/DegreeMath.h"
#include "astronomy/MeeusMoon.h"
#include "astronomy/MeeusSun.h"
#include "astronomy/Observer.h"
#include "astronomy/TimeScale.h"
#include "tarvo/platform/Calendar.h"

namespace tarvo {

namespace {

constexpr double kMjdOffset = 2400000.5;
constexpr double kMjdOfJ2000 = TimeScale::kJ2000 - kMjdOffset;
constexpr double kSecondsPerDay = 86400.0;
// Mean synodic month (Meeus 49): the elongation grows 360 degrees in this many days.
constexpr double kSynodicMonthDays = 29.530588861;
constexpr double kElongationPerDay = 360.0 / kSynodicMonthDays;
// A principal phase is named for the day around its instant.
constexpr double kPrincipalPhaseHalfWidth = kElongationPerDay / 2.0;
constexpr const char* kPrincipalPhases[] = {"new", "first quarter", "full", "last quarter"};
// The names between them, by the quarter of the elongation (0-90, 90-180, ...).
constexpr const char* kIntermediatePhases[] = {"waxing crescent", "waxing gibbous", "waning gibbous",
                                               "waning crescent"};

SunCalculator::Position seenFromSite(const EquatorialPosition& place, Date moment, double latitude, double longitude) {
    const Observer::Horizontal h = Observer(latitude, longitude).topocentric(place, moment);
    SunCalculator::Position p;
    p.altitude = h.altitude;
    p.azimuth = h.azimuth;
    p.declination = place.declination;
    p.eclipticLongitude = place.longitude;
    p.rightAscension = place.rightAscension;
    p.distanceKm = place.distanceKm;
    p.eclipticLatitude = place.latitude;
    // The site's sidereal time less the geocentric right ascension, in (-180, 180].
    const double sidereal = h.hourAngle + h.rightAscension;
    p.hourAngle = -SunCalculator::Rev(place.rightAscension - sidereal);
    return p;
}

std::vector<double> asArray(const SunCalculator::Position& p) {
    return {p.altitude,       p.azimuth,    p.declination,      p.eclipticLongitude,
            p.rightAscension, p.distanceKm, p.eclipticLatitude, p.hourAngle};
}

double elongationAt(Date moment) {
    const double jde = TimeScale::julianEphemerisDay(moment);
    return degmath::fixAngle(MeeusMoon::position(jde).longitude - MeeusSun::position(jde).longitude);
}

}  // namespace

// ---- Day numbers and angle helpers ------------------------------------------------------

double SunCalculator::mjd(int64_t day, int64_t month, int64_t year, double hour) {
    const bool gregorian = year * 10000 + month * 100 + day >= 15821015;
    return solar::julianDate(year, month, day, gregorian) - kMjdOffset + hour / 24.0;
}

double SunCalculator::lmst(double mjd, double glong) {
    const double days = mjd - kMjdOfJ2000;
    const double t = days / TimeScale::kDaysPerCentury;
    const double gmst = 280.46061837 + 360.98564736629 * days + t * t * (0.000387933 - t / 38710000.0);
    return range(gmst + glong) / 15.0;
}

double SunCalculator::daynumber(int64_t day, int64_t month, int64_t year, double hour) {
    const int64_t d = 367 * year - Div(7 * (year + Div(month + 9, 12)), 4) + Div(275 * month, 9) + day - 730530;
    return static_cast<double>(d) + hour / 24.0;
}

double SunCalculator::range(double x) {
    // Not solar::fixAngle: the same reduction reached by other arithmetic (the fraction of a
    // turn, scaled back), which can differ from it in the last bit. The sidereal time and the
    // phase names built on it are compared to the last bit, so it keeps its own.
    const double b = x / 360.0;
    const double a = 360.0 * (b - ipart(b));
    return a < 0 ? a + 360.0 : a;
}

double SunCalculator::ipart(double x) { return x > 0 ? std::floor(x) : std::ceil(x); }

double SunCalculator::Rev(double x) { return x - 360.0 * std::floor((x + 180.0) / 360.0); }

int64_t SunCalculator::Div(int64_t a, int64_t b) { return b == 0 ? 0 : a / b; }

// ---- Positions ----------------------------------------------------------------------------

SunCalculator::Position SunCalculator::sunPosition(Date moment, double latitude, double longitude) {
    return seenFromSite(MeeusSun::position(TimeScale::julianEphemerisDay(moment)), moment, latitude, longitude);
}

SunCalculator::Position SunCalculator::moonPosition(Date moment, double latitude, double longitude) {
    return seenFromSite(MeeusMoon::position(TimeScale::julianEphemerisDay(moment)), moment, latitude, longitude);
}

SunCalculator::MoonPhase SunCalculator::moonPhase(Date moment) {
    using namespace degmath;
    const double jde = TimeScale::julianEphemerisDay(moment);
    const EquatorialPosition moon = MeeusMoon::position(jde);
    const EquatorialPosition sun = MeeusSun::position(jde);
    MoonPhase phase;
    // Geocentric elongation and the phase angle (Meeus 48.2, 48.3).
    const double psi = acos(cos(moon.latitude) * cos(moon.longitude - sun.longitude));
    phase.phaseAngle = atan2(sun.distanceKm * sin(psi), moon.distanceKm - sun.distanceKm * cos(psi));
    phase.illuminatedFraction = (1.0 + cos(phase.phaseAngle)) / 2.0;
    phase.elongation = fixAngle(moon.longitude - sun.longitude);
    phase.name = moonPhaseName(phase.elongation);

    // Back to the last new moon: step by the mean rate, then close in on the true instant.
    double seconds = -phase.elongation / kElongationPerDay * kSecondsPerDay;
    for (int i = 0; i < 10; ++i) {
        const double step = -Rev(elongationAt(moment.addingTimeInterval(seconds))) / kElongationPerDay * kSecondsPerDay;
        seconds += step;
        if (std::fabs(step) < 0.5) break;
    }
    phase.ageDays = -seconds / kSecondsPerDay;
    return phase;
}

SunCalculator::MoonPhase SunCalculator::moonPhaseForDay(int64_t day, int64_t month, int64_t year,
                                                        const TimeZone& zone) {
    const Calendar calendar(zone);
    DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    const Date start = calendar.dateFromComponents(c);
    c.day = day + 1;
    const Date end = calendar.dateFromComponents(c);
    c.day = day;
    c.hour = 12;
    MoonPhase phase = moonPhase(calendar.dateFromComponents(c));
    // The elongation grows 10 to 15 degrees a day: at most one quarter is passed.
    const double first = std::floor(elongationAt(start) / 90.0);
    const double last = std::floor(elongationAt(end) / 90.0);
    // Only the local day that holds the instant carries a principal name; its neighbours, even
    // within an hour of it, are named by the quarter they lie in.
    phase.name = first != last ? kPrincipalPhases[static_cast<int>(last) % 4]
                               : kIntermediatePhases[static_cast<int>(first) % 4];
    return phase;
}

std::string SunCalculator::moonPhaseName(double elongation) {
    if (!std::isfinite(elongation)) return {};
    const double e = range(elongation);
    const double quarter = std::floor((e + kPrincipalPhaseHalfWidth) / 90.0);
    if (std::fabs(e - quarter * 90.0) <= kPrincipalPhaseHalfWidth) {
        return kPrincipalPhases[static_cast<int>(quarter) % 4];
    }
    return kIntermediatePhases[static_cast<int>(e / 90.0) % 4];
}

void SunCalculator::calculateSunAndMoonAngles(Date moment, double latitude, double longitude) {
    outputSunAngles_ = asArray(sunPosition(moment, latitude, longitude));
    outputMoonAngles_ = asArray(moonPosition(moment, latitude, longitude));
    siteLatitude_ = latitude;
    siteLongitude_ = longitude;
}

std::optional<Date> SunCalculator::MoonDay::rise() const {
    for (const auto& e : events) {
        if (e.kind == MoonEventKind::rise) return e.time;
    }
    return std::nullopt;
}

std::optional<Date> SunCalculator::MoonDay::set() const {
    for (const auto& e : events) {
        if (e.kind == MoonEventKind::set) return e.time;
    }
    return std::nullopt;
}

}  // namespace tarvo
