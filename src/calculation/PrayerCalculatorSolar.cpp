// PrayerCalculator, solar position core: solar noon, the hour at which the sun reaches an
// angle, and the Asr shadow time, for the calculator's day and the next.
//
//   Given:    the calculator's lat (degrees, north positive), JDate and TomorrowJDate (Julian
//             dates of 0h UT of the day, already shifted by minus longitude/360), and a day
//             portion t (hours/24) as the first guess of the event.
//   Returned: times of day in hours of the longitude's mean time (the day pipeline adds the
//             zone offset); NaN when the sun never reaches the angle.
//   Notes:    angle and position arithmetic comes from the shared solar kernel
//             (astronomy/SolarKernel.h); the members of the same names forward to it. The
//             hour angle is the classic cos H = (-sin a - sin d sin phi) / (cos d cos phi)
//             (Meeus, Astronomical Algorithms, chapter 15); the Asr altitude is
//             acot(s + tan|phi - d|) for shadow factor s.
#include "tarvo/calculation/PrayerCalculator.h"

#include <cmath>

#include "astronomy/SolarKernel.h"

namespace tarvo {

double PrayerCalculator::fixhour(double hours) { return solar::fixHour(hours); }
double PrayerCalculator::fixangle(double degrees) const { return solar::fixAngle(degrees); }
double PrayerCalculator::radiansToDegrees(double radians) const { return solar::degreesFromRadians(radians); }
double PrayerCalculator::DegreesToRadians(double degrees) const { return solar::radiansFromDegrees(degrees); }
double PrayerCalculator::dsin(double degrees) const { return solar::sinDeg(degrees); }
double PrayerCalculator::dcos(double degrees) const { return solar::cosDeg(degrees); }
double PrayerCalculator::dtan(double degrees) const { return solar::tanDeg(degrees); }
double PrayerCalculator::darcsin(double x) const { return solar::arcSinDeg(x); }
double PrayerCalculator::darccos(double x) const { return solar::arcCosDeg(x); }
double PrayerCalculator::darctan(double x) const { return solar::arcTanDeg(x); }
double PrayerCalculator::darctan2(double y, double x) const { return solar::arcTan2Deg(y, x); }
double PrayerCalculator::darccot(double x) const { return solar::arcCotDeg(x); }
double PrayerCalculator::julianDate(int64_t year, int64_t month, int64_t day) const {
    return solar::julianDate(year, month, day);
}

std::array<double, 2> PrayerCalculator::sunPosition(double jd) const {
    const solar::SunPosition position = solar::sunPosition(jd);
    return {position.declination, position.equationOfTime};
}

double PrayerCalculator::equationOfTime(double jd) const { return solar::sunPosition(jd).equationOfTime; }
double PrayerCalculator::sunDeclination(double jd) const { return solar::sunPosition(jd).declination; }

double PrayerCalculator::computeMidDay(double t) const { return fixhour(12 - equationOfTime(JDate_ + t)); }
double PrayerCalculator::computeMidDayForTomorrow(double t) const {
    return fixhour(12 - equationOfTime(TomorrowJDate_ + t));
}

namespace {
// The hour angle part shared by today's and tomorrow's computeTime.
double hourAngleTime(const PrayerCalculator& c, double G, double D, double Z) {
    const double V = c.darccos((-c.dsin(G) - c.dsin(D) * c.dsin(c.lat())) / (c.dcos(D) * c.dcos(c.lat()))) / 15.0;
    // Angles above 90 are "180 minus the depression" before noon; 90 itself counts as afternoon.
    return G > 90 ? Z - V : Z + V;
}
}  // namespace

double PrayerCalculator::computeTime(double G, double t) const {
    const double D = sunDeclination(JDate_ + t);
    const double Z = computeMidDay(t);
    return hourAngleTime(*this, G, D, Z);
}

double PrayerCalculator::computeTimeForTomorrow(double G, double t) const {
    const double D = sunDeclination(TomorrowJDate_ + t);
    const double Z = computeMidDayForTomorrow(t);
    return hourAngleTime(*this, G, D, Z);
}

double PrayerCalculator::computeAsr(double step, double t) const {
    const double D = sunDeclination(JDate_ + t);
    const double G = -darccot(step + dtan(std::fabs(lat_ - D)));
    return computeTime(G, t);
}

double PrayerCalculator::timeDiff(double time1, double time2) const { return fixhour(time2 - time1); }

}  // namespace tarvo
