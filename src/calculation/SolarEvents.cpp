#include "calculation/SolarEvents.h"

#include <cmath>

#include "platform/util/PureResultCache.h"

namespace tarvo::solar_events {

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

solar::SunPosition positionAt(SolarMemo& memo, double jd) {
    return memo.positions.get(memo.positions.keyOf(jd), [jd] { return solar::sunPosition(jd); });
}

}  // namespace

solar::SunPosition sunPositionAt(double jd) { return positionAt(solarMemo(), jd); }

double midDay(double jd) { return solar::fixHour(12 - sunPositionAt(jd).equationOfTime); }

double timeAtAngle(double G, double jd, double latitude) {
    SolarMemo& memo = solarMemo();
    return memo.times.get(memo.times.keyOf(G, jd, latitude), [&memo, G, jd, latitude] {
        const solar::SunPosition position = positionAt(memo, jd);
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

double asrTime(double shadowFactor, double jd, double latitude) {
    const double D = sunPositionAt(jd).declination;
    const double G = -solar::arcCotDeg(shadowFactor + solar::tanDeg(std::fabs(latitude - D)));
    return timeAtAngle(G, jd, latitude);
}

}  // namespace tarvo::solar_events
