#include "tarvo/astronomy/QiblaCalculator.h"

#include <cmath>
#include <numbers>

#include "astronomy/SolarKernel.h"

namespace tarvo {

namespace {
constexpr double kKaabaLongitude = 39.8262;
// The Kaaba's latitude (21.4225) enters only through these two precomputed values.
constexpr double kSinKaabaLatitude = 0.36524238095782907;
constexpr double kCosKaabaLatitude = 0.9309124572978149;
constexpr double kMinutesPerDegree = 60.0;
// Nautical to statute miles by 1.1515, not the usual 1.15078: the mile distances hosts
// display and store are in this unit.
constexpr double kStatuteMilesPerNauticalMile = 1.1515;

double arcToDistance(double cosine, bool miles) {
    // Rounding can push the cosine of two identical points just past 1; read that as 0.
    const double c = cosine > 1.0 ? 1.0 : (cosine < -1.0 ? -1.0 : cosine);
    const double d = std::acos(c) * solar::kDegreesPerRadian * kMinutesPerDegree;
    return miles ? d * kStatuteMilesPerNauticalMile : d;
}
}  // namespace

double QiblaCalculator::myatan2(double y, double x) {
    if (y == 0 && x == 0) return 0;
    if (x > 0) return std::atan(y / x);
    if (!(x < 0)) return y < 0 ? -std::numbers::pi / 2 : std::numbers::pi / 2;  // x zero or not a number
    if (y < 0) return -(std::numbers::pi - std::atan(y / x));
    return std::numbers::pi - std::atan(-(y / x));
}

int64_t QiblaCalculator::getQiblaDirection(double latitude, double longitude) {
    const double phi = latitude * solar::kRadiansPerDegree;
    const double delta = (kKaabaLongitude - longitude) * solar::kRadiansPerDegree;
    const double y = std::sin(delta) * kCosKaabaLatitude;
    const double x = std::cos(phi) * kSinKaabaLatitude - std::sin(phi) * kCosKaabaLatitude * std::cos(delta);
    const double a = myatan2(y, x) * solar::kDegreesPerRadian;
    // Fractions are dropped toward zero, not rounded: -0.4 degrees reads as 0, -1.7 as 359.
    if (!std::isfinite(a)) return 0;
    auto bearing = static_cast<int64_t>(std::trunc(a));
    if (bearing < 0) bearing += 360;
    return bearing;
}

double QiblaCalculator::getDistanceBetweenTwoLocations(double latitude, double longitude, double latitude2,
                                                       double longitude2, bool miles) {
    const double phi1 = latitude * solar::kRadiansPerDegree;
    const double phi2 = latitude2 * solar::kRadiansPerDegree;
    const double lambda1 = longitude * solar::kRadiansPerDegree;
    const double lambda2 = longitude2 * solar::kRadiansPerDegree;
    const double c = std::sin(phi1) * std::sin(phi2) + std::cos(phi1) * std::cos(phi2) * std::cos(lambda2 - lambda1);
    return arcToDistance(c, miles);
}

double QiblaCalculator::CalcKabaDistance(double latitude, double longitude, bool miles) {
    const double phi = latitude * solar::kRadiansPerDegree;
    const double delta = (kKaabaLongitude - longitude) * solar::kRadiansPerDegree;
    const double c = std::sin(phi) * kSinKaabaLatitude + std::cos(phi) * kCosKaabaLatitude * std::cos(delta);
    return arcToDistance(c, miles);
}

}  // namespace tarvo
