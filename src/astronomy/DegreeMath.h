#pragma once

// Trigonometry in degrees for the sun and moon routines. Kept internal so that the position
// code can move onto the library's shared solar kernel without touching its callers.
#include <cmath>

namespace tarvo::degmath {

constexpr double kPi = 3.141592653589793;
constexpr double kRadiansPerDegree = kPi / 180.0;
constexpr double kDegreesPerRadian = 180.0 / kPi;

inline double sin(double degrees) { return std::sin(degrees * kRadiansPerDegree); }
inline double cos(double degrees) { return std::cos(degrees * kRadiansPerDegree); }
inline double tan(double degrees) { return std::tan(degrees * kRadiansPerDegree); }
inline double asin(double x) { return std::asin(x) * kDegreesPerRadian; }
inline double acos(double x) { return std::acos(x) * kDegreesPerRadian; }
inline double atan(double x) { return std::atan(x) * kDegreesPerRadian; }
inline double atan2(double y, double x) { return std::atan2(y, x) * kDegreesPerRadian; }

/// The angle brought into [0, 360).
inline double normalize(double degrees) {
    const double r = std::fmod(degrees, 360.0);
    return r < 0 ? r + 360.0 : r;
}

}  // namespace tarvo::degmath
