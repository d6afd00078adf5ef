// Day computation throughput: TarvoCore against libitl on the same places and days, with
// the device zone UTC and with Europe/London (a zone with summer time).
//
// One benchmark iteration computes every place-day of the workload (1,000 places x 365
// days; the environment variable TARVO_BENCH_PLACES changes the number of places). The counter per_place_day is the CPU time per place-day (seconds in the JSON and
// CSV output; the console shows it with a prefix, e.g. "2.5us").
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "ItlPeer.h"
#include "Workload.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/platform/TimeZone.h"

namespace {

using tarvo::bench::Workload;

const Workload* gWorkload = nullptr;

// TarvoCore's Muslim League method (18 / 17 degrees) and the Shafi Asr school, as the
// libitl peer (Muslim World League, Shafi'i) is set up. The high-latitude rule stays
// automatic, as a city's default is.
void configure(tarvo::PrayerCalculator& calculator) {
    calculator.setCalcMethod(1);
    calculator.setAsrJuristic(1);
}

void setCounters(benchmark::State& state, const Workload& w) {
    // Place-days per CPU second, inverted: CPU seconds per place-day.
    state.counters["per_place_day"] =
        benchmark::Counter(static_cast<double>(w.placeDays()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(w.placeDays()));
}

// Makes a zone the device's zone for the life of the object (a calculator reads it when it
// is constructed), and puts UTC back afterwards. The workload's noons stay noon UTC, which
// is the same calendar day in every zone measured here.
class DeviceZone {
public:
    explicit DeviceZone(const char* name) {
        if (auto zone = tarvo::TimeZone::withName(name)) tarvo::TimeZone::setSystemDefault(*zone);
    }
    ~DeviceZone() { tarvo::TimeZone::setSystemDefault(*tarvo::TimeZone::withName("UTC")); }
    DeviceZone(const DeviceZone&) = delete;
    DeviceZone& operator=(const DeviceZone&) = delete;
};

// What the application's facade does per request: a fresh calculator for every place-day.
void BM_TarvoCore_NewCalculatorPerPlaceDay(benchmark::State& state, const char* deviceZone) {
    const Workload& w = *gWorkload;
    const DeviceZone device(deviceZone);
    for (auto _ : state) {
        for (const auto& place : w.places) {
            for (const auto& day : w.days) {
                tarvo::PrayerCalculator calculator;
                configure(calculator);
                std::vector<double> times = calculator.getDatePrayerTimesAsDoubles(
                    day.noon, place.city, std::nullopt, place.latitude, place.longitude, place.timeZone);
                benchmark::DoNotOptimize(times.data());
                benchmark::ClobberMemory();
            }
        }
    }
    setCounters(state, w);
}
// The device zone matters: one without summer time (UTC) and one with it.
BENCHMARK_CAPTURE(BM_TarvoCore_NewCalculatorPerPlaceDay, UTC, "UTC")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TarvoCore_NewCalculatorPerPlaceDay, London, "Europe/London")->Unit(benchmark::kMillisecond);

// One calculator per place, asked for each of its days: the construction cost is spread
// over 365 days.
void BM_TarvoCore_CalculatorPerPlace(benchmark::State& state, const char* deviceZone) {
    const Workload& w = *gWorkload;
    const DeviceZone device(deviceZone);
    for (auto _ : state) {
        for (const auto& place : w.places) {
            tarvo::PrayerCalculator calculator;
            configure(calculator);
            for (const auto& day : w.days) {
                std::vector<double> times = calculator.getDatePrayerTimesAsDoubles(
                    day.noon, place.city, std::nullopt, place.latitude, place.longitude, place.timeZone);
                benchmark::DoNotOptimize(times.data());
                benchmark::ClobberMemory();
            }
        }
    }
    setCounters(state, w);
}
BENCHMARK_CAPTURE(BM_TarvoCore_CalculatorPerPlace, UTC, "UTC")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TarvoCore_CalculatorPerPlace, London, "Europe/London")->Unit(benchmark::kMillisecond);

#if TARVO_BENCH_HAVE_ITL
// libitl's getPrayerTimes for the same place-days. Its zone offsets for each day were
// computed before timing, so this side does no time-zone work at all.
void BM_libitl_PerPlaceDay(benchmark::State& state) {
    const Workload& w = *gWorkload;
    for (auto _ : state) benchmark::DoNotOptimize(tarvo::bench::itlRunWorkload(w));
    setCounters(state, w);
}
BENCHMARK(BM_libitl_PerPlaceDay)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

int main(int argc, char** argv) {
    // The device zone of the workload: noon of each day is noon UTC.
    setenv("TZ", "UTC", 1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    // TARVO_BENCH_PLACES shrinks the workload, e.g. to profile under callgrind; the figures
    // are per place-day either way.
    size_t places = 1000;
    if (const char* text = std::getenv("TARVO_BENCH_PLACES"); text && std::atol(text) > 0) {
        places = static_cast<size_t>(std::atol(text));
    }
    const Workload workload = tarvo::bench::makeWorkload(places);
    gWorkload = &workload;
    benchmark::AddCustomContext("place_days", std::to_string(workload.placeDays()));
#if TARVO_BENCH_HAVE_ITL
    benchmark::AddCustomContext("libitl", "yes");
    // Not timed: checks that both sides compute the same days, so that the comparison is fair.
    benchmark::AddCustomContext("agreement", tarvo::bench::itlAgreement(workload));
#else
    benchmark::AddCustomContext("libitl", "not found; peer skipped");
#endif

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
