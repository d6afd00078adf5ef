// The day engine as a pure computation: the calculator's answers are the engine's, bit for
// bit, and the per-thread memo of recent days answers exactly what the engine would.
#include <bit>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "calculation/CalculatorInputs.h"
#include "calculation/CalculatorSetup.h"
#include "calculation/DayEngine.h"
#include "calculation/DayMemo.h"
#include "support/Dates.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::Calendar;
using tarvo::DayMemo;
using tarvo::DayTimes;
using tarvo::PrayerCalculator;
using tarvo::test::configured;
using tarvo::test::dayAt;
using tarvo::test::noonOn;
using tarvo::test::Place;
using tarvo::test::Settings;

namespace {

bool sameBits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

}  // namespace

TEST(DayEngine, TheCalculatorIsTheEngineOverItsSettingsToTheBit) {
    // The calculator's day, its morning alone (the next day's Fajr and sunrise are computed on
    // their own) and the memo's answer are the engine's, bit for bit, and the fixed-timetable
    // flag agrees, wherever a later step of the day could reach them: every high-latitude
    // rule, Fajr in minutes or by a custom angle, Isha in minutes, both schools, an
    // authority's safety minutes, rounding and seasonal twilight, the Dubai and Kuala Lumpur
    // timetables, the polar resolutions (Tromso's midnight sun and polar night), a half-hour
    // zone, and the nights the clocks change.
    using tarvo::PolarResolution;
    const Settings setups[] = {
        {.method = 0, .asr = 2, .highLatitudeRule = 3},
        {.method = 1, .highLatitudeRule = 0, .polar = PolarResolution::None},
        {.method = 2, .highLatitudeRule = 1, .polar = PolarResolution::NearestLatitude},
        {.method = 3, .highLatitudeRule = 2, .polar = PolarResolution::NearestDay},
        {.method = 4, .highLatitudeRule = 3, .polar = PolarResolution::None},
        {.method = 5, .asr = 1, .highLatitudeRule = 4, .polar = PolarResolution::NearestLatitude},
        {.method = 7, .highLatitudeRule = 0, .polar = PolarResolution::None},
        {.method = 1, .highLatitudeRule = 3, .polar = PolarResolution::NearestLatitude, .fajrMinutes = 90},
        {.method = 8, .highLatitudeRule = 0, .polar = PolarResolution::NearestDay},
        {.method = 9, .asr = 2, .highLatitudeRule = 1, .fajrAngle = 16.5},
        {.method = 10, .highLatitudeRule = 1, .polar = PolarResolution::None},
        {.method = 11, .highLatitudeRule = 0, .polar = PolarResolution::NearestLatitude},
        {.method = 12, .asr = 1, .highLatitudeRule = 4, .ishaMinutes = 75},
        {.method = 19, .highLatitudeRule = 0, .polar = PolarResolution::None},
        {.method = 21, .highLatitudeRule = 2, .polar = PolarResolution::NearestLatitude}};
    // From the equator to beyond the polar circle, both hemispheres, with summer time, a
    // half-hour zone and the two cities with official timetables.
    const Place places[] = {{21.4225, 39.8262, "Asia/Riyadh", "Makkah"},
                            {51.5, -0.1167, "Europe/London", "London"},
                            {64.15, -21.94, "Atlantic/Reykjavik", "Reykjavik"},
                            {69.65, 18.96, "Europe/Oslo", "Tromso"},
                            {-33.87, 151.21, "Australia/Sydney", "Sydney"},
                            {40.71, -74.0, "America/New_York", "New York"},
                            {-0.18, -78.47, "America/Guayaquil", "Quito"},
                            {12.97, 77.59, "Asia/Kolkata", "Bengaluru"},
                            {25.2, 55.27, "Asia/Dubai", "Dubai"},
                            {3.14, 101.69, "Asia/Kuala_Lumpur", "Kuala Lumpur"}};
    const int64_t dates[][3] = {{2016, 5, 1},  {2016, 12, 31}, {2019, 1, 1},   {2019, 3, 31},
                                {2019, 6, 21}, {2020, 2, 29},  {2020, 10, 25}, {2020, 12, 21},
                                {2024, 1, 1},  {2024, 3, 30},  {2024, 3, 31},  {2024, 6, 21},
                                {2024, 10, 6}, {2024, 10, 27}, {2024, 11, 3},  {2024, 12, 21}};
    int compared = 0;
    int fixed = 0;
    int repaired = 0;
    int filled = 0;
    for (const Settings& setup : setups) {
        for (const Place& place : places) {
            for (const auto& d : dates) {
                const tarvo::Date date = noonOn(d[0], d[1], d[2]);
                SCOPED_TRACE(fmt::format("{} method {} {}-{}-{}", place.city, setup.method, d[0], d[1], d[2]));
                PrayerCalculator whole = configured(setup);
                PrayerCalculator morning = configured(setup);
                const std::vector<double> day = dayAt(whole, date, place);
                const auto early =
                    morning.getDateFajrAndSunrise(date, std::string(place.city), std::nullopt, place.latitude,
                                                  place.longitude, std::string(place.zone));
                const tarvo::CalculatorInputs in(whole, std::string(place.city), std::nullopt, place.latitude,
                                                 place.longitude, std::string(place.zone));
                const DayTimes engine = tarvo::compute(in.method, in.place, date, whole.globalGregCal());
                const DayTimes memo = DayMemo::day(in.method, in.place, date, whole.globalGregCal());
                const DayTimes memoAgain = DayMemo::day(in.method, in.place, date, whole.globalGregCal());
                ASSERT_EQ(day.size(), 10u);
                for (size_t i = 0; i < 10; ++i) {
                    EXPECT_TRUE(sameBits(day[i], engine.times[i]))
                        << "entry " << i << ": " << day[i] << " vs " << engine.times[i];
                    EXPECT_TRUE(sameBits(memo.times[i], engine.times[i]) &&
                                sameBits(memoAgain.times[i], engine.times[i]))
                        << "entry " << i;
                }
                EXPECT_TRUE(sameBits(early[0], day[PrayerCalculator::Fajr]));
                EXPECT_TRUE(sameBits(early[1], day[PrayerCalculator::Sunrise]));
                EXPECT_EQ(whole.isUsingFixedTimings(), engine.usingFixedTimings);
                EXPECT_EQ(memoAgain.usingFixedTimings, engine.usingFixedTimings);
                EXPECT_EQ(morning.isUsingFixedTimings(), whole.isUsingFixedTimings());
                ++compared;
                fixed += whole.isUsingFixedTimings() ? 1 : 0;

                // The high-latitude share moved Fajr: the day's sun alone would put it elsewhere.
                PrayerCalculator raw = configured(setup);
                dayAt(raw, date, place);
                std::vector<double> guesses{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
                const auto sun = raw.computeTimes(guesses);
                filled += setup.polar.value_or(PolarResolution::None) != PolarResolution::None &&
                                  !std::isfinite(sun[PrayerCalculator::Sunrise]) &&
                                  std::isfinite(day[PrayerCalculator::Sunrise])
                              ? 1
                              : 0;
                repaired += !setup.fajrMinutes && setup.method < 8 && !whole.isUsingFixedTimings() &&
                                    !(std::fabs(sun[PrayerCalculator::Fajr] + raw.getTimeZoneOffset(date) -
                                                place.longitude / 15.0 - day[PrayerCalculator::Fajr]) < 1e-9)
                                ? 1
                                : 0;
            }
        }
    }
    EXPECT_EQ(compared, 15 * 10 * 16);
    // The cases the comparison must include, not just allow: official timetables, and days
    // whose Fajr the high-latitude share set.
    EXPECT_GT(fixed, 20);
    EXPECT_GT(repaired, 20);
    EXPECT_GT(filled, 3);
}

TEST(DayEngine, TheMemoTellsApartInputsThatDifferInOneThing) {
    // Far from Kuala Lumpur, a city whose name says KL keeps the city's official timetable:
    // its row for 2019-01-01 has Fajr 05:58 (5.96666667) and sunrise 07:18 (7.3). The same
    // position under another name is computed. A memo keyed without the name, the method,
    // the school or the moment would answer one of these with the other's times.
    const PrayerCalculator c = configured({.method = 3});
    const tarvo::Date day = noonOn(2019, 1, 1);
    const auto ask = [&](const char* city, const PrayerCalculator& calc, tarvo::Date when) {
        const tarvo::CalculatorInputs in(calc, std::string(city), std::nullopt, 6.0, 100.4,
                                         std::string("Asia/Kuala_Lumpur"));
        return DayMemo::day(in.method, in.place, when, calc.globalGregCal());
    };
    const DayTimes named = ask("KLang", c, day);
    EXPECT_TRUE(named.usingFixedTimings);
    EXPECT_DOUBLE_EQ(named.times[PrayerCalculator::Fajr], 5.96666667);
    EXPECT_DOUBLE_EQ(named.times[PrayerCalculator::Sunrise], 7.3);
    const DayTimes unnamed = ask("Alor Setar", c, day);
    EXPECT_FALSE(unnamed.usingFixedTimings);
    EXPECT_GT(std::fabs(unnamed.times[PrayerCalculator::Fajr] - 5.96666667), 1.0 / 60);

    // The Hanafi school's Asr is later than the Shafi one's at this latitude in January by
    // well over half an hour; the next day's Dhuhr is later than this day's.
    const PrayerCalculator hanafi = configured({.method = 3, .asr = 2});
    const DayTimes shafiDay = ask("Alor Setar", c, day);
    const DayTimes hanafiDay = ask("Alor Setar", hanafi, day);
    EXPECT_GT(hanafiDay.times[PrayerCalculator::Asr] - shafiDay.times[PrayerCalculator::Asr], 0.5);
    const DayTimes nextDay = ask("Alor Setar", c, noonOn(2019, 1, 2));
    EXPECT_GT(nextDay.times[PrayerCalculator::Dhuhr], shafiDay.times[PrayerCalculator::Dhuhr]);
    EXPECT_TRUE(sameBits(ask("KLang", c, day).times[PrayerCalculator::Fajr], 5.96666667));

    // A host that replaces the official rows gets days from its rows, not the kept ones.
    ASSERT_TRUE(tarvo::KLFixedTimes::timetable().replaceFromCsvText("2019-01-01,5.5,7.25,13.2,16.6,19.4,20.7\n"));
    const DayTimes replaced = ask("KLang", c, day);
    ASSERT_TRUE(tarvo::KLFixedTimes::timetable().replaceFromCsvFile(TARVO_SOURCE_DIR "/data/timetables/kuala_lumpur.csv"));
    EXPECT_EQ(replaced.times[PrayerCalculator::Fajr], 5.5);
    EXPECT_EQ(replaced.times[PrayerCalculator::Sunrise], 7.25);
    EXPECT_TRUE(sameBits(ask("KLang", c, day).times[PrayerCalculator::Fajr], 5.96666667));
}

TEST(DayEngine, ConcurrentThreadsAnswerAsOneThread) {
    // The engine keeps recent sun positions and each thread its own memo of recent days:
    // threads asking other places at once, or the same days in other orders, through the
    // calculator and through the memo, get the single thread's bits (NaN equal to NaN).
    const Place places[] = {{51.5, -0.1, "Europe/London"},
                            {30.04, 31.24, "Africa/Cairo"},
                            {40.7, -74.0, "America/New_York"},
                            {28.6, 77.2, "Asia/Kolkata"}};
    const PrayerCalculator egyptian = configured({.method = 2});
    const auto dayNumber = [](int k) { return noonOn(2024, 3 + k / 28, k % 28 + 1); };  // March and April
    std::vector<std::vector<DayTimes>> expected(4);
    for (size_t p = 0; p < 4; ++p) {
        const tarvo::CalculatorInputs in(egyptian, std::nullopt, std::nullopt, places[p].latitude, places[p].longitude,
                                         std::string(places[p].zone));
        for (int k = 0; k < 56; ++k) {
            expected[p].push_back(tarvo::compute(in.method, in.place, dayNumber(k), egyptian.globalGregCal()));
        }
    }
    // Thread t starts at place t and asks the days forwards (even t) or backwards (odd t).
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            PrayerCalculator c = egyptian;
            for (size_t p = t; p < t + 4; ++p) {
                const Place& place = places[p % 4];
                for (int k = 0; k < 56; ++k) {
                    const int d = t % 2 == 0 ? k : 55 - k;
                    const auto day = dayAt(c, dayNumber(d), place);
                    const tarvo::CalculatorInputs in(c, std::nullopt, std::nullopt, place.latitude, place.longitude,
                                                     std::string(place.zone));
                    const DayTimes memo = DayMemo::day(in.method, in.place, dayNumber(d), c.globalGregCal());
                    const DayTimes& want = expected[p % 4][static_cast<size_t>(d)];
                    for (size_t i = 0; i < 10; ++i) {
                        mismatches[t] += !sameBits(day[i], want.times[i]) + !sameBits(memo.times[i], want.times[i]);
                    }
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (size_t t = 0; t < 4; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}
