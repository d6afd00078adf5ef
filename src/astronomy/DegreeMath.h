#pragma once

// Trigonometry in degrees for the sun and moon routines, under the short names their
// formulas are written with; every one is the shared solar kernel's.
#include "astronomy/SolarKernel.h"

namespace tarvo::degmath {

inline double sin(double degrees) { return solar::sinDeg(degrees); }
inline double cos(double degrees) { return solar::cosDeg(degrees); }
inline double tan(double degrees) { return solar::tanDeg(degrees); }
inline double asin(double x) { return solar::arcSinDeg(x); }
inline double acos(double x) { return solar::arcCosDeg(x); }
inline double atan(double x) { return solar::arcTanDeg(x); }
inline double atan2(double y, double x) { return solar::arcTan2Deg(y, x); }

/// The angle brought into [0, 360): the kernel's one reduction, under its own name.
using solar::fixAngle;

}  // namespace tarvo::degmath
