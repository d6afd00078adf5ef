#pragma once

// The solar kernel shared by the prayer engine and the rise/set computations: angle
// arithmetic in degrees, the Julian date of a calendar day, and the sun's declination and
// equation of time. Every function is pure; each documents what it is given and returns in
// the manner of the ERFA routines.
//
// Bit-for-bit note: prayer times are compared to the last bit, so each expression keeps
// its order of operations and the library is built without fused multiply-add.
#include <cstdint>
#include <numbers>

namespace tarvo::solar {

/// One radian in degrees and one degree in radians, as single factors (pi/180 = 0.017453292519943295
/// and 180/pi = 57.29577951308232, each rounded once) for formulas that multiply by a factor;
/// radiansFromDegrees and degreesFromRadians below multiply and divide instead, which can differ
/// in the last bit, so each formula keeps the form it was written with.
inline constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;
inline constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;
static_assert(kRadiansPerDegree == 0.017453292519943295 && kDegreesPerRadian == 57.29577951308232);

/// Reduces an hour value to the 24-hour clock.
///   Given:    hours   double   any number of hours
///   Returned:         double   the same time of day in [0, 24)
///   Notes:    h - 24*floor(h/24), with 24 added to a negative remainder; fixHour(-1) = 23,
///             fixHour(49.5) = 1.5. A NaN stays NaN.
double fixHour(double hours);

/// Reduces an angle to one turn.
///   Given:    degrees double   any angle
///   Returned:         double   the same direction in [0, 360)
double fixAngle(double degrees);

/// Converts between radians and degrees: r*180/pi and d*pi/180 (pi as std::numbers::pi,
/// 3.141592653589793), in that order of operations.
double degreesFromRadians(double radians);
double radiansFromDegrees(double degrees);

/// Trigonometry in degrees: sine, cosine and tangent of an angle given in degrees, and the
/// inverse functions answering degrees. arcCot(x) is atan2(1, x) in degrees, so it lies in
/// (0, 180): 0 gives 90 and a negative argument an obtuse angle (never atan(1/x)).
double sinDeg(double degrees);
double cosDeg(double degrees);
double tanDeg(double degrees);
double arcSinDeg(double x);
double arcCosDeg(double x);
double arcTanDeg(double x);
double arcTan2Deg(double y, double x);
double arcCotDeg(double x);

/// Julian date of 0h UT of a Gregorian calendar day.
///   Given:    year, month (1-12), day   int64   the calendar day
///   Returned:                          double  Julian date, ending in .5 (2000-01-01 gives 2451544.5)
///   Notes:    Meeus, Astronomical Algorithms, chapter 7: January and February count as months
///             13 and 14 of the previous year; B = 2 - A + floor(A/4) with A = floor(year/100)
///             applies the Gregorian reform. The integers become doubles before multiplying.
///             With `gregorian` false the day is one of the Julian calendar (B = 0), as days
///             before 1582 October 15 are written.
double julianDate(int64_t year, int64_t month, int64_t day, bool gregorian = true);

/// The sun's apparent position as the prayer engine uses it.
struct SunPosition {
    double declination;     ///< degrees, north positive
    double equationOfTime;  ///< hours: mean minus apparent solar time
};

/// The sun's declination and equation of time at a Julian date.
///   Given:    jd      double   Julian date (UT)
///   Returned:         SunPosition
///   Notes:    The low-precision solar coordinates of the U.S. Naval Observatory's
///             "Approximate Solar Coordinates" (good to about one arc minute between 1950 and
///             2050): with D = jd - 2451545, mean anomaly g = 357.529 + 0.98560028 D, mean
///             longitude q = 280.459 + 0.98564736 D, ecliptic longitude
///             L = q + 1.915 sin g + 0.020 sin 2g, obliquity e = 23.439 - 0.00000036 D;
///             declination = asin(sin e sin L), right ascension RA = atan2(cos e sin L, cos L)/15
///             reduced to 24 hours, equation of time = q/15 - RA. The sun's distance is not
///             computed.
SunPosition sunPosition(double jd);

}  // namespace tarvo::solar
