#include "astronomy/Observer.h"

#include <cmath>

#include "astronomy/DegreeMath.h"
#include "astronomy/Nutation.h"
#include "astronomy/TimeScale.h"
#include "tarvo/astronomy/SunCalculator.h"

namespace tarvo {

namespace {
constexpr double kPolarToEquatorial = 0.99664719;  // b / a of the IAU 1976 ellipsoid
constexpr double kMjdOffset = 2400000.5;
}  // namespace

Observer::Observer(double latitude, double longitude, double heightMetres)
    : latitude_(latitude), longitude_(longitude) {
    using namespace degmath;
    const double u = atan(kPolarToEquatorial * tan(latitude));
    const double h = heightMetres / (kEquatorialRadiusKm * 1000.0);
    rhoSinPhi_ = kPolarToEquatorial * sin(u) + h * sin(latitude);
    rhoCosPhi_ = cos(u) + h * cos(latitude);
}

double Observer::siderealTime(double julianDayUT, double nutationInRa) const {
    return degmath::fixAngle(SunCalculator::lmst(julianDayUT - kMjdOffset, longitude_) * 15.0 + nutationInRa);
}

Observer::Horizontal Observer::topocentric(const EquatorialPosition& place, double sidereal) const {
    using namespace degmath;
    // Rectangular coordinates in the frame that turns with the Earth (x toward the site's
    // meridian, y toward the west, z toward the pole), in kilometres.
    const double hourAngle = sidereal - place.rightAscension;
    const double d = place.distanceKm;
    const double x = d * cos(place.declination) * cos(hourAngle) - rhoCosPhi_ * kEquatorialRadiusKm;
    const double y = d * cos(place.declination) * sin(hourAngle);
    const double z = d * sin(place.declination) - rhoSinPhi_ * kEquatorialRadiusKm;

    Horizontal out{};
    out.distanceKm = std::sqrt(x * x + y * y + z * z);
    out.hourAngle = atan2(y, x);
    out.declination = atan2(z, std::sqrt(x * x + y * y));
    out.rightAscension = fixAngle(sidereal - out.hourAngle);
    const double phi = latitude_;
    out.altitude = asin(sin(phi) * sin(out.declination) + cos(phi) * cos(out.declination) * cos(out.hourAngle));
    out.azimuth = fixAngle(
        atan2(sin(out.hourAngle), cos(out.hourAngle) * sin(phi) - tan(out.declination) * cos(phi)) + 180.0);
    return out;
}

Observer::Horizontal Observer::topocentric(const EquatorialPosition& place, Date moment) const {
    const Nutation nutation(TimeScale::centuries(TimeScale::julianEphemerisDay(moment)));
    const double equationOfEquinoxes = nutation.longitude() * degmath::cos(nutation.trueObliquity());
    return topocentric(place, siderealTime(TimeScale::julianDay(moment), equationOfEquinoxes));
}

}  // namespace tarvo
