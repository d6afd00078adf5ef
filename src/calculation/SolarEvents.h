#pragma once

// The sun's events of a day for the prayer engine: solar noon, the hour at which the sun
// stands at an angle, and the Asr shadow time, each a pure function of a Julian date and a
// latitude.
//
//   Given:    jd, the Julian date of 0h UT of the day shifted by minus longitude/360 plus
//             the day portion t (hours/24) that is the first guess of the event; the
//             latitude in degrees, north positive.
//   Returned: hours of the longitude's mean time (the day pipeline adds the zone offset);
//             NaN when the sun never reaches the angle.
//   Notes:    a day asks for the same sun position, latitude sine and event time more than
//             once (and a run of days asks for today's what yesterday asked as tomorrow's),
//             so those results are kept per thread and repeated requests get the very same
//             bits back (platform/util/PureResultCache.h). The hour angle is the classic
//             cos H = (-sin a - sin d sin phi) / (cos d cos phi) (Meeus, Astronomical
//             Algorithms, chapter 15); the Asr altitude is acot(s + tan|phi - d|) for shadow
//             factor s.
#include "astronomy/SolarKernel.h"

namespace tarvo::solar_events {

/// The sun's declination and equation of time at a Julian date.
solar::SunPosition sunPositionAt(double jd);

/// Solar noon: fixHour(12 - equation of time at jd).
double midDay(double jd);

/// The hour at which the sun stands at angle G. Angles above 90 are "180 minus the
/// depression" before noon; 90 itself counts as afternoon.
double timeAtAngle(double G, double jd, double latitude);

/// The hour at which a shadow is `shadowFactor` times the object plus its noon shadow.
double asrTime(double shadowFactor, double jd, double latitude);

}  // namespace tarvo::solar_events
