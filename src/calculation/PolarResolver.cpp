// Polar days and nights: the times the sun gives no moment for, filled from the nearest day
// or the nearest latitude that has them.
#include "calculation/PolarResolver.h"

#include <cmath>

#include "platform/host/LogMacros.h"

namespace tarvo {

namespace {

// Half a year each way: every place off the poles has a day with a sunrise and a sunset
// within it.
constexpr int64_t kMaxDaysAway = 183;
// Halvings of the span from the place's latitude to the equator: 20 give the boundary to
// within 0.0001 degrees, far below a minute of any time.
constexpr int kBisections = 20;

}  // namespace

PolarResolver::PolarResolver(const DayEngine& engine) : engine_(engine), probeMethod_(engine.methodParameters()) {
    // The automatic method and high-latitude rule follow the latitude: keep the place's own
    // while the probe computes other latitudes, and never resolve again inside the probe.
    probeMethod_.method = engine.method();
    probeMethod_.highLatitudeRule = engine.highLatitudeRule();
    probeMethod_.polarResolution = PolarResolution::None;
}

std::vector<double> PolarResolver::timesOn(Date date, std::optional<double> latitude) {
    Place place = engine_.place();
    place.latitude = latitude.value_or(place.latitude);
    const DayEngine probe(probeMethod_, place, engine_.calendar(),
                          DayFrame::of(engine_.calendar(), date, place.longitude));
    std::vector<double> times = probe.rawDayTimes();
    probe.shiftToClock(times);
    probe.adjustHighLatTimes(times);
    return times;
}

bool PolarResolver::complete(const std::vector<double>& times) {
    for (const double t : times) {
        if (!std::isfinite(t)) return false;
    }
    return times.size() >= DayEngine::EntryCount;
}

std::optional<std::vector<double>> PolarResolver::nearestDay(Date today) {
    const Calendar& calendar = engine_.calendar();
    for (int64_t k = 1; k <= kMaxDaysAway; ++k) {
        for (const int64_t away : {-k, k}) {
            std::vector<double> times = timesOn(calendar.dateByAddingDays(away, today));
            if (complete(times)) return times;
        }
    }
    return std::nullopt;
}

std::optional<std::vector<double>> PolarResolver::nearestLatitude(Date today) {
    // `missing` is a latitude without a complete day, `found` one with: the equator, where the
    // sun always rises and sets, to start with.
    double missing = engine_.place().latitude;
    double found = 0;
    std::vector<double> best = timesOn(today, found);
    if (!complete(best)) return std::nullopt;
    for (int i = 0; i < kBisections; ++i) {
        const double middle = (missing + found) / 2;
        std::vector<double> times = timesOn(today, middle);
        if (complete(times)) {
            found = middle;
            best = std::move(times);
        } else {
            missing = middle;
        }
    }
    return best;
}

bool PolarResolver::inDayOrder(const std::vector<double>& t) const {
    const auto p = engine_.params();
    using C = DayEngine;
    const bool angleFajr = p[0] == 0;
    const bool angleIsha = p[4] == 0;
    return (!angleFajr || t[C::Fajr] <= t[C::Sunrise]) && t[C::Sunrise] <= t[C::Dhuhr] && t[C::Dhuhr] <= t[C::Asr] &&
           t[C::Asr] <= t[C::Sunset] && (!angleIsha || t[C::Sunset] <= t[C::Isha]) &&
           (!angleFajr || !angleIsha || t[C::Isha] <= t[C::TomorrowFajr] + 24) &&
           (!angleFajr || t[C::TomorrowFajr] <= t[C::TomorrowSunrise]);
}

std::optional<std::vector<double>> PolarResolver::sourceFor(Date date) {
    return engine_.methodParameters().polarResolution == PolarResolution::NearestDay ? nearestDay(date) : nearestLatitude(date);
}

std::vector<double> PolarResolver::filledFrom(const std::vector<double>& times, const std::vector<double>& from,
                                              bool keepDistanceFromNoon) {
    using C = DayEngine;
    const auto value = [&](size_t i) {
        return keepDistanceFromNoon ? from[i] - from[C::Dhuhr] + times[C::Dhuhr] : from[i];
    };
    // The sun's own moments first; then the high-latitude rules measure the twilights from
    // the night they now have, and only what they still cannot give comes from the source.
    std::vector<double> filled = times;
    for (const size_t i : {C::Sunrise, C::Dhuhr, C::Asr, C::Sunset, C::TomorrowSunrise}) {
        if (!std::isfinite(filled[i])) filled[i] = value(i);
    }
    std::vector<double> repaired = filled;
    DayEngine(probeMethod_, engine_.place(), engine_.calendar(), engine_.frame()).adjustHighLatTimes(repaired);
    for (const size_t i : {C::Fajr, C::Maghrib, C::Isha, C::TomorrowFajr}) {
        if (!std::isfinite(filled[i])) filled[i] = std::isfinite(repaired[i]) ? repaired[i] : value(i);
    }
    for (size_t i = 0; i < C::EntryCount; ++i) {
        if (!std::isfinite(filled[i])) filled[i] = value(i);
    }
    return filled;
}

std::optional<std::vector<double>> PolarResolver::filledDay(const std::vector<double>& times, Date date) {
    if (complete(times)) return times;
    const std::optional<std::vector<double>> from = sourceFor(date);
    if (!from) return std::nullopt;
    std::vector<double> filled = filledFrom(times, *from, false);
    // Another date's clock times can fall on the wrong side of today's own: weeks apart, noon
    // moves by minutes, and in a polar night the day's short span around it is smaller than
    // that. Then the filled times keep their distance from that day's noon instead, so no
    // prayer is stamped before the one it follows.
    if (!inDayOrder(filled)) filled = filledFrom(times, *from, true);
    return filled;
}

void PolarResolver::fill(std::vector<double>& times) {
    using C = DayEngine;
    if (engine_.methodParameters().polarResolution == PolarResolution::None || complete(times)) return;
    const Date today = engine_.frame().today;
    std::optional<std::vector<double>> filled = filledDay(times, today);
    if (!filled) {
        TARVO_LOG_INFO("No day or latitude with a sunrise and a sunset to take the missing times from");
        return;
    }
    // The morning belongs to the night before: a missing Fajr and sunrise are the ones the day
    // before filled as its tomorrow's, so that each night's Isha, Qiyam and Fajr come from one
    // source and follow one another from one day's list to the next.
    if (!std::isfinite(times[C::Fajr]) || !std::isfinite(times[C::Sunrise])) {
        const Date yesterday = engine_.calendar().dateByAddingDays(-1, today);
        if (const auto before = filledDay(timesOn(yesterday), yesterday)) {
            if (!std::isfinite(times[C::Fajr])) (*filled)[C::Fajr] = (*before)[C::TomorrowFajr];
            if (!std::isfinite(times[C::Sunrise])) (*filled)[C::Sunrise] = (*before)[C::TomorrowSunrise];
        }
    }
    times = std::move(*filled);
}

}  // namespace tarvo
