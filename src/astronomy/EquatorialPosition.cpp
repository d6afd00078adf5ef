#include "astronomy/EquatorialPosition.h"

#include "astronomy/DegreeMath.h"

namespace tarvo {

EquatorialPosition EquatorialPosition::fromEcliptic(double longitude, double latitude, double distanceKm, double epsilon) {
    using namespace degmath;
    EquatorialPosition p;
    p.longitude = fixAngle(longitude);
    p.latitude = latitude;
    p.distanceKm = distanceKm;
    p.rightAscension =
        fixAngle(atan2(sin(longitude) * cos(epsilon) - tan(latitude) * sin(epsilon), cos(longitude)));
    p.declination = asin(sin(latitude) * cos(epsilon) + cos(latitude) * sin(epsilon) * sin(longitude));
    return p;
}

}  // namespace tarvo
