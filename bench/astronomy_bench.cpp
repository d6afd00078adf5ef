// Speed of SunCalculator, per call: one accurate moonrise/moonset day, one sun-and-moon
// position, and the display texts of one day. Each iteration is one call; the inputs cycle
// through the 365 days of 2023 at a few places (latitudes 0 to 60) so that no answer can be
// reused from the previous iteration.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/TimeZone.h"

namespace {

using tarvo::Date;
using tarvo::SunCalculator;

struct Place {
    double latitude;
    double longitude;
    const char* zone;
};
constexpr Place kPlaces[] = {{29.0, -81.0, "America/New_York"},
                             {51.5, -0.1167, "Europe/London"},
                             {21.4225, 39.8262, "Asia/Riyadh"},
                             {-33.87, 151.21, "Australia/Sydney"},
                             {60.17, 24.94, "Europe/Helsinki"},
                             {0.0, -78.5, "America/Guayaquil"}};
constexpr size_t kPlaceCount = sizeof kPlaces / sizeof kPlaces[0];
constexpr double kStartOf2023 = 1672531200.0;  // 2023-01-01 00:00 UTC
constexpr int kDays = 365;

void BM_AccurateMoonRiseSetDay(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        const Place& p = kPlaces[i % kPlaceCount];
        const Date from(kStartOf2023 + static_cast<double>(i % kDays) * 86400.0 - p.longitude / 15.0 * 3600.0);
        auto day = SunCalculator::moonRiseSet(from, from.addingTimeInterval(86400.0), p.latitude, p.longitude);
        benchmark::DoNotOptimize(day.events.data());
        ++i;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AccurateMoonRiseSetDay);

void BM_SunAndMoonPosition(benchmark::State& state) {
    SunCalculator calculator;
    size_t i = 0;
    for (auto _ : state) {
        const Place& p = kPlaces[i % kPlaceCount];
        calculator.calculateSunAndMoonAngles(Date(kStartOf2023 + static_cast<double>(i % (kDays * 24)) * 3600.0),
                                             p.latitude, p.longitude);
        benchmark::DoNotOptimize(calculator.output_moon_angles().data());
        ++i;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SunAndMoonPosition);

// The display texts of a day in its zone, with the moon's position at local noon.
void BM_CompatibleMoonTextsDay(benchmark::State& state) {
    std::vector<tarvo::TimeZone> zones;
    for (const auto& p : kPlaces) zones.push_back(*tarvo::TimeZone::withName(p.zone));
    SunCalculator calculator;
    size_t i = 0;
    for (auto _ : state) {
        const size_t place = i % kPlaceCount;
        const Place& p = kPlaces[place];
        auto texts = calculator.moonriseSetTextsForDay(1 + static_cast<int64_t>(i % kDays), 1, 2023, zones[place],
                                                       p.latitude, p.longitude);
        benchmark::DoNotOptimize(texts.data());
        ++i;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CompatibleMoonTextsDay);

}  // namespace

BENCHMARK_MAIN();
