// The solar kernel: angle arithmetic in degrees, Julian dates and the sun's position.
// Units: degrees for angles, hours for times of day, days for Julian dates.
// Sources: Meeus, Astronomical Algorithms (Julian date); U.S. Naval Observatory,
// "Approximate Solar Coordinates" (sun position).
#include "astronomy/SolarKernel.h"

#include <cmath>
#include <numbers>

namespace tarvo::solar {

double fixHour(double a) {
    a = a - 24.0 * std::floor(a / 24.0);
    return a < 0 ? a + 24.0 : a;
}

double fixAngle(double a) {
    a = a - 360.0 * std::floor(a / 360.0);
    return a < 0 ? a + 360.0 : a;
}

double degreesFromRadians(double r) { return r * 180.0 / std::numbers::pi; }
double radiansFromDegrees(double d) { return d * std::numbers::pi / 180.0; }
double sinDeg(double d) { return std::sin(radiansFromDegrees(d)); }
double cosDeg(double d) { return std::cos(radiansFromDegrees(d)); }
double tanDeg(double d) { return std::tan(radiansFromDegrees(d)); }
double arcSinDeg(double x) { return degreesFromRadians(std::asin(x)); }
double arcCosDeg(double x) { return degreesFromRadians(std::acos(x)); }
double arcTanDeg(double x) { return degreesFromRadians(std::atan(x)); }
double arcTan2Deg(double y, double x) { return degreesFromRadians(std::atan2(y, x)); }
// atan2(1, x) rather than atan(1/x): the result stays in (0, 180), so a negative argument
// gives an obtuse angle and 0 gives 90 instead of a division by zero.
double arcCotDeg(double x) { return degreesFromRadians(std::atan2(1.0, x)); }

double julianDate(int64_t year, int64_t month, int64_t day, bool gregorian) {
    if (month < 3) {
        year -= 1;
        month += 12;
    }
    const double y = static_cast<double>(year);
    const double A = std::floor(y / 100.0);
    const double B = gregorian ? 2 - A + std::floor(A * 0.25) : 0.0;
    return std::floor(365.25 * (y + 4716)) + std::floor(30.6001 * (static_cast<double>(month) + 1)) +
           static_cast<double>(day) + B - 1524.5;
}

SunPosition sunPosition(double jd) {
    const double D = jd - 2451545.0;
    const double g = fixAngle(357.529 + 0.98560028 * D);
    const double q = fixAngle(280.459 + 0.98564736 * D);
    const double L = fixAngle(q + 1.915 * sinDeg(g) + 0.02 * sinDeg(2 * g));
    const double e = -3.6e-07 * D + 23.439;
    // sin L serves both the declination and the right ascension: computed once, the same bits.
    const double sinL = sinDeg(L);
    const double declination = arcSinDeg(sinDeg(e) * sinL);
    const double RA = fixHour(arcTan2Deg(cosDeg(e) * sinL, cosDeg(L)) / 15.0);
    return {declination, q / 15.0 - RA};
}

}  // namespace tarvo::solar
