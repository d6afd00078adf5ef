// SunCalculator's moonrise and moonset: the compatible display texts, and the accurate times.
#include <cmath>
#include <cstdio>
#include <limits>

#include "astronomy/MoonRiseSet.h"
#include "astronomy/Parabola.h"
#include "platform/host/LogMacros.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/Calendar.h"

namespace tarvo {

namespace {
constexpr double kSinHorizon = 0.00232710356629117;  // sine of 8 minutes of arc
// The short degrees-to-radians factor of the display texts: the texts are compared as they
// are, so this factor is part of their definition.
constexpr double kRad = 0.0174532925;
constexpr double kPi = 3.141592653589793;
constexpr double kMoon = 1.0;
constexpr double kSecondsPerHour = 3600.0;

Date localMidnight(int64_t year, int64_t month, int64_t day, const TimeZone& zone) {
    DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    return Calendar(zone).dateFromComponents(c);
}
}  // namespace

std::vector<std::string> SunCalculator::find_moonrise_set(double mjd, double tz, double glong, double glat) const {
    const double cglat = std::cos(glat * kRad);
    const double sglat = std::sin(glat * kRad);
    const double mjd0 = mjd - tz / 24.0;
    TARVO_LOG_DEBUG("mjd: {:f}, lat: {:f}, long: {:f}", mjd, glat, glong);

    bool rise = false;
    bool set = false;
    double utrise = 0;
    double utset = 0;
    double ym = sin_alt(kMoon, mjd0, 0.0, glong, cglat, sglat) - kSinHorizon;
    for (double hour = 1.0; hour < 25.0 && !(rise && set); hour += 2.0) {
        const double y0 = sin_alt(kMoon, mjd0, hour, glong, cglat, sglat) - kSinHorizon;
        const double yp = sin_alt(kMoon, mjd0, hour + 1.0, glong, cglat, sglat) - kSinHorizon;
        const std::vector<double> q = quad(ym, y0, yp);
        const double nz = q[0];
        const double z1 = q[1];
        const double z2 = q[2];
        const double ye = q[4];
        if (nz == 1) {
            if (ym < 0.0) {
                utrise = hour + z1;
                rise = true;
            } else {
                utset = hour + z1;
                set = true;
            }
        }
        if (nz == 2) {
            // Both crossings inside one window are recorded without being marked as found:
            // the texts show such a window as if it had no crossing, and a later single
            // crossing still decides what is shown (the display texts are defined so).
            if (ye < 0.0) {
                utrise = hour + z2;
                utset = hour + z1;
            } else {
                utrise = hour + z1;
                utset = hour + z2;
            }
        }
        ym = yp;
    }
    // A day without either event is one "-", not two: hosts show the array as it comes, and
    // one dash reads as "no moonrise or moonset today".
    if (!rise && !set) return {"-"};
    return {rise ? hrsmin(utrise) : "-", set ? hrsmin(utset) : "-"};
}

double SunCalculator::sin_alt(double iobj, double mjd0, double hour, double glong, double cglat, double sglat) const {
    const std::vector<double>& angles = iobj == kMoon ? outputMoonAngles_ : outputSunAngles_;
    if (angles.size() < 5) {
        TARVO_LOG_ERROR("the stored position has {} elements, not the 5 the altitude needs", angles.size());
        return std::numeric_limits<double>::quiet_NaN();
    }
    // The stored place is used for every hour, and the angles are taken to radians here and
    // again below, with an hour value less a radian value in between: the display texts
    // are defined by exactly this arithmetic, so it is not corrected.
    const double alpha = angles[4] * kPi / 180.0;
    const double delta = angles[2] * kPi / 180.0;
    const double tau = (lmst(mjd0 + hour / 24.0, glong) - alpha) * 15.0;
    return sglat * std::sin(delta * kRad) + cglat * std::cos(delta * kRad) * std::cos(tau * kRad);
}

std::vector<double> SunCalculator::quad(double ym, double yz, double yp) const {
    const parabola::ThreePoint p = parabola::through(ym, yz, yp);
    return {static_cast<double>(p.roots), p.z1, p.z2, p.xe, p.ye};
}

std::string SunCalculator::hrsmin(double hours) const {
    // No search result is ever outside 0 to 25 hours; other values have no text.
    if (!(std::fabs(hours) < 1e6)) return "-";
    const double r = std::floor(hours * 60.0 + 0.5) / 60.0;
    const double h = std::floor(r);
    const double m = std::floor((r - h) * 60.0 + 0.5);
    // The first field is the hour times one hundred ("500 : 30" for 05:30): hosts parse
    // the texts that way.
    char text[64];
    std::snprintf(text, sizeof text, "%02i : %02i", static_cast<int>(h * 100.0), static_cast<int>(m));
    return text;
}

std::vector<std::string> SunCalculator::moonriseSetTextsForDay(int64_t day, int64_t month, int64_t year,
                                                               const TimeZone& zone, double latitude,
                                                               double longitude) {
    DateComponents noon;
    noon.year = year;
    noon.month = month;
    noon.day = day;
    noon.hour = 12;
    const Date localNoon = Calendar(zone).dateFromComponents(noon);
    calculateSunAndMoonAngles(localNoon, latitude, longitude);
    const double tz = static_cast<double>(zone.secondsFromGMT(localNoon)) / kSecondsPerHour;
    return find_moonrise_set(mjd(day, month, year, 0.0), tz, longitude, latitude);
}

SunCalculator::MoonDay SunCalculator::moonRiseSet(Date from, Date to, double latitude, double longitude) {
    return MoonRiseSet(latitude, longitude).events(from, to);
}

SunCalculator::MoonDay SunCalculator::moonRiseSetForDay(int64_t day, int64_t month, int64_t year,
                                                        const TimeZone& zone, double latitude, double longitude) {
    return moonRiseSet(localMidnight(year, month, day, zone), localMidnight(year, month, day + 1, zone), latitude,
                       longitude);
}

}  // namespace tarvo
