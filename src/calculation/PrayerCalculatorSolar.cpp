// PrayerCalculator, solar position core: solar noon, the hour at which the sun reaches an
// angle, and the Asr shadow time, for the calculator's day and the next.
//
//   Given:    the calculator's lat (degrees, north positive), JDate and TomorrowJDate (Julian
//             dates of 0h UT of the day, already shifted by minus longitude/360), and a day
//             portion t (hours/24) as the first guess of the event.
//   Returned: times of day in hours of the longitude's mean time (the day pipeline adds the
//             zone offset); NaN when the sun never reaches the angle.
//   Notes:    angle and position arithmetic comes from the shared solar kernel
//             (astronomy/SolarKernel.h); the members of the same names forward to it. A day
//             asks for the same sun position, latitude sine and event time more than once
//             (and a run of days asks for today's what yesterday asked as tomorrow's), so
//             those pure results are kept per thread and repeated requests get the very same
//             bits back (platform/util/PureResultCache.h). The
//             hour angle is the classic cos H = (-sin a - sin d sin phi) / (cos d cos phi)
//             (Meeus, Astronomical Algorithms, chapter 15); the Asr altitude is
//             acot(s + tan|phi - d|) for shadow factor s.
#include "tarvo/calculation/PrayerCalculator.h"

#include <cmath>

#include "astronomy/SolarKernel.h"
#include "platform/util/PureResultCache.h"

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

namespace {

// The results kept per thread, in one object so that a request finds them all with one
// thread-local look-up.
struct SolarMemo {
    // The sun's position at a Julian date. A day asks for eight dates, most of them twice
    // (the declination and the equation of time of each event), and the next day's first
    // two are this day's last two.
    PureResultCache<1, solar::SunPosition, 64> positions;
    // Sine and cosine of the few angles every event asks for again: the latitude and the
    // depression angles of the method.
    PureResultCache<1, double, 8> sines;
    PureResultCache<1, double, 4> cosines;
    // Event times by angle, Julian date and latitude.
    PureResultCache<3, double, 64> times;
};

// Not inlined: inlined, the compiler asks for the thread-local address again after every
// call that follows, instead of keeping the one reference.
[[gnu::noinline]] SolarMemo& solarMemo() {
    thread_local SolarMemo memo;  // zero-filled: every slot starts empty
    return memo;
}

solar::SunPosition sunPositionAt(SolarMemo& memo, double jd) {
    return memo.positions.get(memo.positions.keyOf(jd), [jd] { return solar::sunPosition(jd); });
}

// The hour at which the sun stands at angle G on the day and latitude, from its position
// at the Julian date jd. Angles above 90 are "180 minus the depression" before noon; 90
// itself counts as afternoon.
double timeAtAngle(double G, double jd, double latitude) {
    SolarMemo& memo = solarMemo();
    return memo.times.get(memo.times.keyOf(G, jd, latitude), [&memo, G, jd, latitude] {
        const solar::SunPosition position = sunPositionAt(memo, jd);
        const double D = position.declination;
        const double Z = solar::fixHour(12 - position.equationOfTime);
        const double sinG = memo.sines.get(memo.sines.keyOf(G), [G] { return solar::sinDeg(G); });
        const double sinLat =
            memo.sines.get(memo.sines.keyOf(latitude), [latitude] { return solar::sinDeg(latitude); });
        const double cosLat =
            memo.cosines.get(memo.cosines.keyOf(latitude), [latitude] { return solar::cosDeg(latitude); });
        const double V = solar::arcCosDeg((-sinG - solar::sinDeg(D) * sinLat) / (solar::cosDeg(D) * cosLat)) / 15.0;
        return G > 90 ? Z - V : Z + V;
    });
}

}  // namespace

std::array<double, 2> PrayerCalculator::sunPosition(double jd) const {
    const solar::SunPosition position = sunPositionAt(solarMemo(), jd);
    return {position.declination, position.equationOfTime};
}

double PrayerCalculator::equationOfTime(double jd) const { return sunPositionAt(solarMemo(), jd).equationOfTime; }
double PrayerCalculator::sunDeclination(double jd) const { return sunPositionAt(solarMemo(), jd).declination; }

double PrayerCalculator::computeMidDay(double t) const { return fixhour(12 - equationOfTime(JDate_ + t)); }
double PrayerCalculator::computeMidDayForTomorrow(double t) const {
    return fixhour(12 - equationOfTime(TomorrowJDate_ + t));
}

double PrayerCalculator::computeTime(double G, double t) const { return timeAtAngle(G, JDate_ + t, lat_); }

double PrayerCalculator::computeTimeForTomorrow(double G, double t) const {
    return timeAtAngle(G, TomorrowJDate_ + t, lat_);
}

double PrayerCalculator::computeAsr(double step, double t) const {
    const double D = sunDeclination(JDate_ + t);
    const double G = -darccot(step + dtan(std::fabs(lat_ - D)));
    return computeTime(G, t);
}

double PrayerCalculator::timeDiff(double time1, double time2) const { return fixhour(time2 - time1); }

}  // namespace tarvo
