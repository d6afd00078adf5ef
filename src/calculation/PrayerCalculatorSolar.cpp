// PrayerCalculator, solar position core: solar noon, the hour at which the sun reaches an
// angle, and the Asr shadow time, for the calculator's day and the next.
//
//   Given:    the calculator's lat (degrees, north positive), JDate and TomorrowJDate (Julian
//             dates of 0h UT of the day, already shifted by minus longitude/360), and a day
//             portion t (hours/24) as the first guess of the event.
//   Returned: times of day in hours of the longitude's mean time (the day pipeline adds the
//             zone offset); NaN when the sun never reaches the angle.
//   Notes:    angle and position arithmetic comes from the shared solar kernel
//             (astronomy/SolarKernel.h) and the day's events from calculation/SolarEvents.h,
//             which the day engine uses too; the members of the same names forward to them.
#include "tarvo/calculation/PrayerCalculator.h"

#include <cmath>

#include "astronomy/SolarKernel.h"
#include "calculation/SolarEvents.h"

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
    const solar::SunPosition position = solar_events::sunPositionAt(jd);
    return {position.declination, position.equationOfTime};
}

double PrayerCalculator::equationOfTime(double jd) const { return solar_events::sunPositionAt(jd).equationOfTime; }
double PrayerCalculator::sunDeclination(double jd) const { return solar_events::sunPositionAt(jd).declination; }

double PrayerCalculator::computeMidDay(double t) const { return solar_events::midDay(JDate_ + t); }
double PrayerCalculator::computeMidDayForTomorrow(double t) const { return solar_events::midDay(TomorrowJDate_ + t); }
double PrayerCalculator::computeTime(double G, double t) const { return solar_events::timeAtAngle(G, JDate_ + t, lat_); }
double PrayerCalculator::computeTimeForTomorrow(double G, double t) const {
    return solar_events::timeAtAngle(G, TomorrowJDate_ + t, lat_);
}
double PrayerCalculator::computeAsr(double step, double t) const { return solar_events::asrTime(step, JDate_ + t, lat_); }

double PrayerCalculator::timeDiff(double time1, double time2) const { return fixhour(time2 - time1); }

}  // namespace tarvo
