// The day engine as a pure computation: the calculator's answers are the engine's, bit for
// bit, and the per-thread memo of recent days answers exactly what the engine would.
#include <bit>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "calculation/CalculatorInputs.h"
#include "calculation/DayEngine.h"
#include "calculation/DayMemo.h"
#include "support/Dates.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::Calendar;
using tarvo::DayMemo;
using tarvo::DayTimes;
using tarvo::PrayerCalculator;
using tarvo::test::noonOn;

namespace {

bool sameBits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

struct Site {
    double latitude, longitude;
    const char* zone;
    const char* city;
};

// From the equator to beyond the polar circle, both hemispheres, with summer time, a
// half-hour zone and the two cities with official timetables.
const Site kSites[] = {{21.4225, 39.8262, "Asia/Riyadh", "Makkah"},
                       {51.5, -0.1167, "Europe/London", "London"},
                       {69.65, 18.96, "Europe/Oslo", "Tromso"},
                       {-33.87, 151.21, "Australia/Sydney", "Sydney"},
                       {40.71, -74.0, "America/New_York", "New York"},
                       {-0.18, -78.47, "America/Guayaquil", "Quito"},
                       {12.97, 77.59, "Asia/Kolkata", "Bengaluru"},
                       {25.2, 55.27, "Asia/Dubai", "Dubai"},
                       {3.14, 101.69, "Asia/Kuala_Lumpur", "Kuala Lumpur"}};

// A calculator set as a host sets one: method, school, rule, and for some a custom angle or
// a polar resolution.
PrayerCalculator configured(int64_t method, size_t variant) {
    PrayerCalculator c;
    c.setCalcMethod(method);
    c.setAsrJuristic(variant % 3);
    c.setAdjustHighLats(variant % 5);
    if (variant % 4 == 1) c.setFajrAngle(16.5);
    if (variant % 4 == 2) c.setIshaMinutes(75);
    if (variant % 2 == 1) c.setPolarResolution(tarvo::PolarResolution::NearestLatitude);
    return c;
}

}  // namespace

TEST(DayEngine, TheCalculatorIsTheEngineOverItsSettingsToTheBit) {
    // Every method (automatic, the seven base methods, named authorities' methods) at every
    // site on days across two years, summer-time changes included: the calculator's day and
    // morning are the engine's, the memo's answer is the engine's, and the fixed-timetable
    // flag agrees.
    const std::vector<tarvo::Date> days = {noonOn(2019, 1, 1),  noonOn(2019, 3, 31), noonOn(2019, 6, 21),
                                           noonOn(2020, 2, 29), noonOn(2020, 10, 25), noonOn(2020, 12, 21)};
    int compared = 0;
    for (const int64_t method : {0, 1, 2, 3, 4, 5, 7, 8, 9, 12}) {
        for (size_t s = 0; s < std::size(kSites); ++s) {
            const Site& site = kSites[s];
            for (const tarvo::Date day : days) {
                PrayerCalculator c = configured(method, s + compared);
                const std::vector<double> whole = c.getDatePrayerTimesAsDoubles(
                    day, std::string(site.city), std::nullopt, site.latitude, site.longitude, std::string(site.zone));
                const bool fixed = c.isUsingFixedTimings();
                const tarvo::CalculatorInputs in(c, std::string(site.city), std::nullopt, site.latitude,
                                                 site.longitude, std::string(site.zone));
                const DayTimes engine = tarvo::compute(in.method, in.place, day, c.globalGregCal());
                const DayTimes memo = DayMemo::day(in.method, in.place, day, c.globalGregCal());
                const DayTimes memoAgain = DayMemo::day(in.method, in.place, day, c.globalGregCal());
                ASSERT_EQ(whole.size(), 10u);
                for (size_t i = 0; i < 10; ++i) {
                    EXPECT_TRUE(sameBits(whole[i], engine.times[i]))
                        << site.city << " method " << method << " entry " << i << ": " << whole[i] << " vs "
                        << engine.times[i];
                    EXPECT_TRUE(sameBits(memo.times[i], engine.times[i]) && sameBits(memoAgain.times[i], engine.times[i]))
                        << site.city << " method " << method << " entry " << i;
                }
                EXPECT_EQ(fixed, engine.usingFixedTimings) << site.city << " method " << method;
                EXPECT_EQ(memoAgain.usingFixedTimings, engine.usingFixedTimings);
                const auto morning = c.getDateFajrAndSunrise(day, std::string(site.city), std::nullopt, site.latitude,
                                                             site.longitude, std::string(site.zone));
                EXPECT_TRUE(sameBits(morning[0], engine.times[0]) && sameBits(morning[1], engine.times[1]))
                    << site.city << " method " << method;
                ++compared;
            }
        }
    }
    EXPECT_EQ(compared, 10 * 9 * 6);
}

TEST(DayEngine, TheMemoTellsApartInputsThatDifferInOneThing) {
    // Far from Kuala Lumpur, a city whose name says KL keeps the city's official timetable:
    // its row for 2019-01-01 has Fajr 05:58 (5.96666667) and sunrise 07:18 (7.3). The same
    // position under another name is computed. A memo keyed without the name, the method,
    // the school or the moment would answer one of these with the other's times.
    PrayerCalculator c;
    c.setCalcMethod(3);
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
    PrayerCalculator hanafi;
    hanafi.setCalcMethod(3);
    hanafi.setAsrJuristic(2);
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

TEST(DayEngine, MemosOfSeveralThreadsAnswerAsOneThread) {
    // Each thread keeps its own recent days: threads asking the same days in different
    // orders get the single thread's bits.
    PrayerCalculator c;
    c.setCalcMethod(2);
    const tarvo::CalculatorInputs in(c, std::string("Cairo"), std::nullopt, 30.04, 31.24, std::string("Africa/Cairo"));
    const auto dayNumber = [](int k) { return noonOn(2024, 3 + k / 28, k % 28 + 1); };  // March and April
    std::vector<DayTimes> expected;
    for (int k = 0; k < 56; ++k) expected.push_back(tarvo::compute(in.method, in.place, dayNumber(k), c.globalGregCal()));
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int k = 0; k < 56; ++k) {
                const int d = t % 2 == 0 ? k : 55 - k;
                const DayTimes got = DayMemo::day(in.method, in.place, dayNumber(d), c.globalGregCal());
                for (size_t i = 0; i < 10; ++i) mismatches[t] += !sameBits(got.times[i], expected[d].times[i]);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (int t = 0; t < 4; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}
