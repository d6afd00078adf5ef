#include "astronomy/MoonRiseSet.h"

#include <algorithm>
#include <cmath>

#include "astronomy/DegreeMath.h"
#include "astronomy/MeeusMoon.h"
#include "astronomy/Parabola.h"
#include "astronomy/TimeScale.h"

namespace tarvo {

namespace {
constexpr double kStep = 3600.0;               // seconds between samples
constexpr double kRefraction = 34.0 / 60.0;    // degrees, at the horizon
constexpr double kMoonRadiusKm = 1737.4;
constexpr double kRefineTolerance = 0.5;       // seconds
constexpr double kRefineReach = 1800.0;        // a refined time this far from the estimate is not trusted
constexpr double kSameEvent = 60.0;            // crossings closer than this are one event
}  // namespace

MoonRiseSet::MoonRiseSet(double latitude, double longitude) : observer_(latitude, longitude) {}

double MoonRiseSet::heightAboveHorizon(Date moment) const {
    const EquatorialPosition place = MeeusMoon::position(TimeScale::julianEphemerisDay(moment));
    const Observer::Horizontal seen = observer_.topocentric(place, moment);
    const double semidiameter = degmath::asin(kMoonRadiusKm / seen.distanceKm);
    return seen.altitude + semidiameter + kRefraction;
}

Date MoonRiseSet::refine(Date estimate) const {
    double t0 = estimate.timeIntervalSince1970();
    double t1 = t0 + 60.0;
    double f0 = heightAboveHorizon(Date(t0));
    double f1 = heightAboveHorizon(Date(t1));
    for (int i = 0; i < 10 && f1 != f0; ++i) {
        const double t2 = t1 - f1 * (t1 - t0) / (f1 - f0);
        if (!std::isfinite(t2) || std::fabs(t2 - estimate.timeIntervalSince1970()) > kRefineReach) return estimate;
        t0 = t1;
        f0 = f1;
        t1 = t2;
        f1 = heightAboveHorizon(Date(t1));
        if (std::fabs(t1 - t0) < kRefineTolerance) break;
    }
    return Date(t1);
}

SunCalculator::MoonDay MoonRiseSet::events(Date from, Date to) const {
    SunCalculator::MoonDay day;
    const double span = to.timeIntervalSinceDate(from);
    if (!(span > 0)) return day;
    // Samples every hour up to `to`, in an even number of steps so that windows of two
    // steps cover the whole interval.
    auto steps = static_cast<int>(std::ceil(span / kStep));
    if (steps % 2 != 0) ++steps;
    std::vector<double> y(static_cast<size_t>(steps) + 1);
    for (int k = 0; k <= steps; ++k) {
        y[k] = heightAboveHorizon(from.addingTimeInterval(k * kStep));
        if (k == 0) day.upAtStart = y[k] > 0;
    }

    for (int k = 1; k < steps; k += 2) {
        const parabola::ThreePoint p = parabola::through(y[k - 1], y[k], y[k + 1]);
        for (int r = 0; r < p.roots; ++r) {
            // With one root the parabola's answer is its first root; with two, both.
            const double z = r == 0 ? p.z1 : p.z2;
            const bool rising = 2.0 * p.a * z + p.b > 0;
            const Date when = refine(from.addingTimeInterval((k + z) * kStep));
            if (when < from || !(when < to)) continue;
            const auto kind = rising ? SunCalculator::MoonEventKind::rise : SunCalculator::MoonEventKind::set;
            const bool repeated = std::any_of(day.events.begin(), day.events.end(), [&](const auto& e) {
                return e.kind == kind && std::fabs(e.time.timeIntervalSinceDate(when)) < kSameEvent;
            });
            if (!repeated) day.events.push_back({kind, when});
        }
    }
    std::sort(day.events.begin(), day.events.end(), [](const auto& l, const auto& r) { return l.time < r.time; });
    return day;
}

}  // namespace tarvo
