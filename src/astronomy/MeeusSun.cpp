#include "astronomy/MeeusSun.h"

#include "astronomy/DegreeMath.h"
#include "astronomy/Nutation.h"
#include "astronomy/TimeScale.h"

namespace tarvo {

EquatorialPosition MeeusSun::position(double jde) {
    using namespace degmath;
    const double t = TimeScale::centuries(jde);
    const double meanLongitude = 280.46646 + t * (36000.76983 + 0.0003032 * t);
    const double anomaly = 357.52911 + t * (35999.05029 - 0.0001537 * t);
    const double eccentricity = 0.016708634 - t * (0.000042037 + 0.0000001267 * t);
    const double centre = (1.914602 - t * (0.004817 + 0.000014 * t)) * sin(anomaly) +
                          (0.019993 - 0.000101 * t) * sin(2 * anomaly) + 0.000289 * sin(3 * anomaly);
    const double trueLongitude = meanLongitude + centre;
    const double trueAnomaly = anomaly + centre;
    const double radiusAU =
        1.000001018 * (1 - eccentricity * eccentricity) / (1 + eccentricity * cos(trueAnomaly));
    // Aberration and nutation in longitude, and the matching correction of the obliquity.
    const double omega = 125.04 - 1934.136 * t;
    const double apparentLongitude = trueLongitude - 0.00569 - 0.00478 * sin(omega);
    const double epsilon = Nutation(t).meanObliquity() + 0.00256 * cos(omega);
    return EquatorialPosition::fromEcliptic(apparentLongitude, 0.0, radiusAU * kKilometresPerAU, epsilon);
}

}  // namespace tarvo
