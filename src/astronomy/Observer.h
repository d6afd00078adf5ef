#pragma once

#include "astronomy/EquatorialPosition.h"
#include "tarvo/platform/Date.h"

namespace tarvo {

/// A place on the Earth's surface seen as an observatory: turns a geocentric apparent place
/// into the place seen from the site (parallax, Meeus chapters 11 and 40) and into altitude
/// and azimuth (chapter 13). The Earth is the IAU 1976 ellipsoid.
class Observer {
public:
    static constexpr double kEquatorialRadiusKm = 6378.14;

    /// Geodetic latitude and east longitude in degrees, height above sea level in metres.
    Observer(double latitude, double longitude, double heightMetres = 0.0);

    struct Horizontal {
        double altitude;        ///< degrees above the horizon, no refraction
        double azimuth;         ///< degrees from north through east, [0, 360)
        double hourAngle;       ///< local hour angle, degrees, (-180, 180]
        double declination;     ///< as seen from the site, degrees
        double rightAscension;  ///< as seen from the site, degrees
        double distanceKm;      ///< from the site
    };

    /// Local apparent sidereal time in degrees for a Julian day of UT; `nutationInRa` is the
    /// equation of the equinoxes in degrees.
    double siderealTime(double julianDayUT, double nutationInRa) const;
    /// The body at `place` seen from the site at local sidereal time `sidereal` (degrees).
    Horizontal topocentric(const EquatorialPosition& place, double sidereal) const;
    /// The same at a moment: apparent sidereal time with the nutation of date.
    Horizontal topocentric(const EquatorialPosition& place, Date moment) const;

    double latitude() const { return latitude_; }
    double longitude() const { return longitude_; }

private:
    double latitude_;
    double longitude_;
    double rhoSinPhi_;  ///< geocentric position of the site, in equatorial radii
    double rhoCosPhi_;
};

}  // namespace tarvo
