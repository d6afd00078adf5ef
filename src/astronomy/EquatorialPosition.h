#pragma once

namespace tarvo {

/// A body's apparent geocentric place: ecliptic and equatorial coordinates of date, in
/// degrees, and its distance from the Earth's centre in kilometres.
struct EquatorialPosition {
    double longitude = 0;       ///< apparent ecliptic longitude, [0, 360)
    double latitude = 0;        ///< ecliptic latitude
    double rightAscension = 0;  ///< apparent, [0, 360)
    double declination = 0;     ///< apparent
    double distanceKm = 0;

    /// The place with the equatorial coordinates of the ecliptic ones for the obliquity
    /// `epsilon` (Meeus 13.3, 13.4).
    static EquatorialPosition fromEcliptic(double longitude, double latitude, double distanceKm, double epsilon);
};

}  // namespace tarvo
