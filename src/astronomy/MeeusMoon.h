#pragma once

#include "astronomy/EquatorialPosition.h"

namespace tarvo {

/// The moon's apparent place by the lunar series of Meeus, "Astronomical Algorithms" (2nd
/// ed.), chapter 47 (the main terms of ELP-2000/82: 60 periodic terms each in longitude and
/// distance, 60 in latitude, with the additive terms for Venus, Jupiter and the Earth's
/// flattening). Meeus gives its accuracy as about 10" in longitude and 4" in latitude.
class MeeusMoon {
public:
    /// The series' sums and arguments at one moment, for checking against the book.
    struct Terms {
        double meanLongitude;  ///< L', degrees
        double elongation;     ///< D
        double sunAnomaly;     ///< M
        double moonAnomaly;    ///< M'
        double argumentOfLatitude;  ///< F
        double sumLongitude;   ///< sum l, millionths of a degree
        double sumLatitude;    ///< sum b, millionths of a degree
        double sumDistance;    ///< sum r, metres
    };

    /// `jde`: Julian ephemeris day (TT).
    static Terms terms(double jde);
    /// Apparent place: nutation in longitude applied, true obliquity of date.
    static EquatorialPosition position(double jde);
};

}  // namespace tarvo
