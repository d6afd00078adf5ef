#pragma once

#include "tarvo/platform/Date.h"

namespace tarvo {

/// Conversions between the library's moments (UT seconds since 1970) and the time arguments
/// of the position series: Julian days of Universal Time and of Terrestrial (dynamical) Time.
class TimeScale {
public:
    static constexpr double kJ2000 = 2451545.0;       ///< 2000 January 1.5 TT, as a Julian day
    static constexpr double kDaysPerCentury = 36525.0;

    static double julianDay(Date moment);
    /// Terrestrial Time minus Universal Time in seconds for a decimal year: the polynomial
    /// fits of Espenak and Meeus (2006) from 1900 to 2150, their long-term parabola outside.
    static double deltaT(double decimalYear);
    /// The Julian ephemeris day (TT) of a moment given in UT.
    static double julianEphemerisDay(Date moment);
    /// Julian centuries of TT since J2000 for a Julian ephemeris day.
    static double centuries(double jde) { return (jde - kJ2000) / kDaysPerCentury; }
};

}  // namespace tarvo
