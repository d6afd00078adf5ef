#include "astronomy/TimeScale.h"

namespace tarvo {

namespace {
constexpr double kUnixEpochJulianDay = 2440587.5;
constexpr double kSecondsPerDay = 86400.0;
constexpr double kDaysPerYear = 365.25;

// The long-term parabola of Morrison and Stephenson, in seconds.
double longTerm(double year) {
    const double u = (year - 1820.0) / 100.0;
    return -20.0 + 32.0 * u * u;
}
}  // namespace

double TimeScale::julianDay(Date moment) { return moment.timeIntervalSince1970() / kSecondsPerDay + kUnixEpochJulianDay; }

double TimeScale::deltaT(double y) {
    if (y < 1900.0 || y >= 2150.0) return longTerm(y);
    if (y < 1920.0) {
        const double t = y - 1900.0;
        return -2.79 + t * (1.494119 + t * (-0.0598939 + t * (0.0061966 - 0.000197 * t)));
    }
    if (y < 1941.0) {
        const double t = y - 1920.0;
        return 21.20 + t * (0.84493 + t * (-0.076100 + 0.0020936 * t));
    }
    if (y < 1961.0) {
        const double t = y - 1950.0;
        return 29.07 + 0.407 * t - t * t / 233.0 + t * t * t / 2547.0;
    }
    if (y < 1986.0) {
        const double t = y - 1975.0;
        return 45.45 + 1.067 * t - t * t / 260.0 - t * t * t / 718.0;
    }
    if (y < 2005.0) {
        const double t = y - 2000.0;
        return 63.86 + t * (0.3345 + t * (-0.060374 + t * (0.0017275 + t * (0.000651814 + 0.00002373599 * t))));
    }
    if (y < 2050.0) {
        const double t = y - 2000.0;
        return 62.92 + t * (0.32217 + 0.005589 * t);
    }
    return longTerm(y) - 0.5628 * (2150.0 - y);
}

double TimeScale::julianEphemerisDay(Date moment) {
    const double jd = julianDay(moment);
    const double year = 2000.0 + (jd - kJ2000) / kDaysPerYear;
    return jd + deltaT(year) / kSecondsPerDay;
}

}  // namespace tarvo
