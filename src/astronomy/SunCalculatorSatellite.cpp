// SunCalculator's geostationary-satellite geometry: pointing a dish, and finding the
// satellite that lies along the sun's or the moon's azimuth so that a dish can be aligned by
// the sun or the moon.
#include <cmath>
#include <limits>

#include "astronomy/DegreeMath.h"
#include "tarvo/astronomy/SunCalculator.h"

namespace tarvo {

namespace {
constexpr double kEarthRadiusKm = 6378.137;           // equatorial radius, taken for the whole (spherical) Earth
constexpr double kGeostationaryRadiusKm = 42164.17;   // from the Earth's centre
constexpr double kLowestRefracted = -2.0;             // degrees
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Cosine of the angle at the Earth's centre between the site and the sub-satellite point.
double centralCosine(double satLon, double siteLat, double siteLon) {
    return degmath::cos(siteLat) * degmath::cos(satLon - siteLon);
}
}  // namespace

double SunCalculator::getsatelliteposition(double azimuth) const {
    using namespace degmath;
    const double s = sin(siteLatitude_);
    // On the equator the orbit runs through the zenith from due east to due west: no single
    // satellite answers a direction.
    if (std::fabs(s) < 1e-12) return kNaN;
    // The satellite's azimuth is the bearing of its sub-satellite point, A = atan2(sin dL,
    // -sin(lat) cos dL); solved here for the longitude difference dL.
    const double dL = atan2(sin(azimuth), -cos(azimuth) / s);
    if (centralCosine(siteLongitude_ + dL, siteLatitude_, siteLongitude_) <= kEarthRadiusKm / kGeostationaryRadiusKm) {
        return kNaN;  // that part of the orbit is below the horizon
    }
    return Rev(siteLongitude_ + dL);
}

double SunCalculator::Elevation2(double SatLon, double SiteLat, double SiteLon, double HeightOverOcean) {
    const double siteRadius = kEarthRadiusKm + HeightOverOcean / 1000.0;
    const double c = centralCosine(SatLon, SiteLat, SiteLon);
    const double s = std::sqrt(std::fmax(0.0, 1.0 - c * c));
    // In the plane of the Earth's centre, the site and the satellite:
    // tan(elevation) = (cos g - r / R) / sin g.
    return degmath::atan2(c - siteRadius / kGeostationaryRadiusKm, s);
}

double SunCalculator::ElevationRefraction(double elevation) {
    if (elevation < kLowestRefracted) return elevation;
    // Saemundsson's formula in minutes of arc (Meeus 16.4), shifted so that it is zero at the zenith.
    const double minutes = 1.02 / degmath::tan(elevation + 10.3 / (elevation + 5.11)) + 0.0019279;
    return elevation + minutes / 60.0;
}

double SunCalculator::satelliteAzimuth(double satLon, double siteLat, double siteLon) {
    using namespace degmath;
    const double dL = satLon - siteLon;
    return fixAngle(atan2(sin(dL), -sin(siteLat) * cos(dL)));
}

}  // namespace tarvo
