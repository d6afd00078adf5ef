#pragma once

#include "astronomy/EquatorialPosition.h"

namespace tarvo {

/// The sun's apparent place by the low-accuracy method of Meeus, "Astronomical Algorithms"
/// (2nd ed.), chapter 25: geometric mean longitude and anomaly, the equation of centre, the
/// Earth's orbital eccentricity, aberration and the principal nutation term. Good to about
/// 0.01 degree in longitude for dates around the present.
class MeeusSun {
public:
    static constexpr double kKilometresPerAU = 149597870.7;

    /// `jde`: Julian ephemeris day (TT).
    static EquatorialPosition position(double jde);
};

}  // namespace tarvo
