// The facade's cost over the engine's: one day's timetable with its ten records (what a host
// asks for per day shown) against the engine's day computation for the same place-days, and
// one current/next check on a generated list. The place-days are asked in two orders:
// consecutive (each place's days in turn, as a month view asks) and scattered (every place
// for one day, then the next day: no request follows the day before at the same place, so
// nothing a previous request computed can be reused).
//
// per_place_day is CPU seconds per place-day; per_check CPU seconds per check.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "Workload.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/IslamicCalendar.h"

namespace {

using tarvo::bench::Workload;

const Workload* gWorkload = nullptr;
std::vector<std::shared_ptr<tarvo::TarvoCity>> gCities;

// A city per place with the Muslim League method and the Shafi school, offset from the zone.
void makeCities(const Workload& w) {
    for (const auto& place : w.places) {
        auto city = std::make_shared<tarvo::TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(place.city);
        city->setCountryName(std::string("Nowhere"));
        city->setLatitude(place.latitude);
        city->setLongitude(place.longitude);
        city->setTimeZone(place.timeZone);
        city->setGMT(tarvo::TarvoCity::kGMTFromTimeZone);
        city->setPrayerMethod(1);
        city->setAsrMethod(1);
        city->setIsLoadingFromDB(false);
        gCities.push_back(city);
    }
}

void perPlaceDay(benchmark::State& state, const Workload& w) {
    state.counters["per_place_day"] =
        benchmark::Counter(static_cast<double>(w.placeDays()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The order in which a benchmark visits the place-days: calls visit(place, day) for each.
enum class Order { Consecutive, Scattered };

template <class Visit>
void forEachPlaceDay(const Workload& w, Order order, Visit&& visit) {
    if (order == Order::Consecutive) {
        for (size_t p = 0; p < w.places.size(); ++p) {
            for (const auto& day : w.days) visit(p, day);
        }
        return;
    }
    for (const auto& day : w.days) {
        for (size_t p = 0; p < w.places.size(); ++p) visit(p, day);
    }
}

// The engine alone: a calculator set up as the facade sets it, one day.
void engineDays(benchmark::State& state, Order order) {
    const Workload& w = *gWorkload;
    for (auto _ : state) {
        forEachPlaceDay(w, order, [](size_t p, const tarvo::bench::Day& day) {
            const auto& city = *gCities[p];
            tarvo::PrayerCalculator calculator;
            calculator.setLat(city.latitude());
            calculator.setLng(city.longitude());
            calculator.setCalcMethod(city.prayerMethod());
            calculator.setAsrJuristic(city.asrMethod());
            calculator.setOverrideTimeZoneOffset(city.GMT());
            std::vector<double> times = calculator.getDatePrayerTimesAsDoubles(
                day.noon, city.cityName(), city.countryName(), city.latitude(), city.longitude(), city.TimeZone());
            benchmark::DoNotOptimize(times.data());
        });
    }
    perPlaceDay(state, w);
}
void BM_Engine_DayPerPlaceDay(benchmark::State& state) { engineDays(state, Order::Consecutive); }
void BM_Engine_DayPerPlaceDayScattered(benchmark::State& state) { engineDays(state, Order::Scattered); }
BENCHMARK(BM_Engine_DayPerPlaceDayScattered)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine_DayPerPlaceDay)->Unit(benchmark::kMillisecond);

// The facade: ten records with adjustments, tomorrow's Fajr and sunrise included.
void facadeDays(benchmark::State& state, Order order) {
    const Workload& w = *gWorkload;
    const tarvo::Calendar gregorian;
    const tarvo::IslamicCalendar islamic;
    for (auto _ : state) {
        forEachPlaceDay(w, order, [&](size_t p, const tarvo::bench::Day& day) {
            auto list = tarvo::TarvoDAO::getPrayerTimesForDate(day.noon, gCities[p], gregorian, islamic);
            benchmark::DoNotOptimize(list.data());
        });
    }
    perPlaceDay(state, w);
}
void BM_Facade_DayTimetablePerPlaceDay(benchmark::State& state) { facadeDays(state, Order::Consecutive); }
void BM_Facade_DayTimetablePerPlaceDayScattered(benchmark::State& state) { facadeDays(state, Order::Scattered); }
BENCHMARK(BM_Facade_DayTimetablePerPlaceDayScattered)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Facade_DayTimetablePerPlaceDay)->Unit(benchmark::kMillisecond);

// One current/next check on a generated list, at a moment the list covers.
void BM_Facade_CurrentAndNextCheck(benchmark::State& state) {
    const auto& city = gCities.front();
    tarvo::Clock::installFixed(gWorkload->days[100].noon.addingTimeInterval(4 * 3600));
    auto facade = std::make_shared<tarvo::TarvoDAO>();
    facade->getPrayerTimesForCurrentDateWithDayOffset(0, city);
    for (auto _ : state) benchmark::DoNotOptimize(facade->determineCurrentAndNextPrayerTimeForCity(city, false));
    state.counters["per_check"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate |
                                                            benchmark::Counter::kInvert);
    tarvo::Clock::remove();
}
BENCHMARK(BM_Facade_CurrentAndNextCheck)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    // Facade benchmarks must not read or write the user's preferences.
    if (!std::getenv("TARVO_HOME")) setenv("TARVO_HOME", "/tmp/tarvo-bench-home", 1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    size_t places = 100;
    if (const char* text = std::getenv("TARVO_BENCH_PLACES"); text && std::atol(text) > 0) {
        places = static_cast<size_t>(std::atol(text));
    }
    const Workload workload = tarvo::bench::makeWorkload(places);
    gWorkload = &workload;
    makeCities(workload);
    benchmark::AddCustomContext("place_days", std::to_string(workload.placeDays()));
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
