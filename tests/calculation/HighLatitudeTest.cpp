// The night-fraction caps on Fajr, Isha and Maghrib, and polar days and nights.
#include <cmath>

#include <gtest/gtest.h>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A day whose night runs from sunset at `sunset` to tomorrow's sunrise at `sunrise`.
std::vector<double> day(double sunset, double sunrise, double fajr, double isha, double maghrib) {
    std::vector<double> t(10, 0.0);
    t[PrayerCalculator::Sunrise] = sunrise;
    t[PrayerCalculator::TomorrowSunrise] = sunrise;
    t[PrayerCalculator::Sunset] = sunset;
    t[PrayerCalculator::Fajr] = fajr;
    t[PrayerCalculator::TomorrowFajr] = fajr;
    t[PrayerCalculator::Isha] = isha;
    t[PrayerCalculator::Maghrib] = maghrib;
    return t;
}

PrayerCalculator calculator(int64_t method, int64_t rule) {
    PrayerCalculator c;
    c.setCalcMethod(method);
    c.setAdjustHighLats(rule);
    return c;
}
}  // namespace

TEST(HighLatitude, PortionsByRule) {
    EXPECT_DOUBLE_EQ(calculator(1, 3).nightPortion(18), 0.3);
    EXPECT_DOUBLE_EQ(calculator(1, 4).nightPortion(18), 0.5);
    EXPECT_DOUBLE_EQ(calculator(1, 1).nightPortion(18), 0.14286);  // not 1/7
    EXPECT_DOUBLE_EQ(calculator(1, 2).nightPortion(18), 0.14286);
    EXPECT_DOUBLE_EQ(calculator(1, 5).nightPortion(18), 0);
    std::vector<double> hours{6, 12, 24};
    calculator(1, 1).dayPortion(hours);
    EXPECT_EQ(hours, (std::vector<double>{0.25, 0.5, 1}));
}

TEST(HighLatitude, CapsFajrOnlyWhenItLiesTooFarFromSunrise) {
    // Rule 3, 9-hour night (20:00 to 05:00): cap 2.7 h, a Fajr 2 h before sunrise stays.
    auto c = calculator(1, 3);
    auto t = day(20, 5, 3, 21, 20);
    c.adjustHighLatTimes(t);
    EXPECT_EQ(t[PrayerCalculator::Fajr], 3);

    // Rule 1 applies at any latitude: a 9.5-hour night caps Fajr at 1.357 h before sunrise.
    auto d = calculator(1, 1);
    auto u = day(19.5, 5, 3.2, 21, 19.5);
    d.adjustHighLatTimes(u);
    EXPECT_NEAR(u[PrayerCalculator::Fajr], 5 - 0.14286 * 9.5, 1e-12);
    EXPECT_NEAR(u[PrayerCalculator::TomorrowFajr], 5 - 0.14286 * 9.5, 1e-12);
    EXPECT_NEAR(u[PrayerCalculator::Isha], 19.5 + 0.14286 * 9.5, 1e-12);  // 17 degrees, 1.5 h after sunset: capped
}

TEST(HighLatitude, MedianRuleTakesTheMeanOfBothShares) {
    // 6-hour night: 1/7 share 0.857 h, 18-degree share 1.8 h, portion their mean 1.329 h.
    auto c = calculator(1, 2);
    auto t = day(22, 4, kNaN, kNaN, 22.5);
    c.adjustHighLatTimes(t);
    const double share = 0.14286 * 6;
    EXPECT_NEAR(4 - t[PrayerCalculator::Fajr], share + (1.8 - share) * 0.5, 1e-12);
    EXPECT_NEAR(t[PrayerCalculator::Isha] - 22, share + (6 * 17.0 / 60 - share) * 0.5, 1e-12);

    // Maghrib gets the plain 1/7 share even with an angle whose share is larger.
    auto m = calculator(1, 2);
    m.setMaghribAngle(18);
    auto u = day(22, 4, 2, 23, 23);
    m.adjustHighLatTimes(u);
    EXPECT_NEAR(u[PrayerCalculator::Maghrib], 22 + share, 1e-12);
}

TEST(HighLatitude, MissingTimesAreRepairedAndUnknownRulesCollapse) {
    auto c = calculator(1, 4);
    auto t = day(21, 2, kNaN, kNaN, kNaN);  // 5-hour night
    c.adjustHighLatTimes(t);
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Fajr], -0.5);  // sunrise - 2.5 h, not wrapped
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Isha], 23.5);
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Maghrib], 23.5);

    // A stored rule of 5 gives portion 0: Fajr collapses to sunrise, Isha and Maghrib to sunset.
    auto z = calculator(1, 5);
    auto u = day(20, 5, 3, 21.5, 20.2);
    z.adjustHighLatTimes(u);
    EXPECT_EQ(u[PrayerCalculator::Fajr], 5);
    EXPECT_EQ(u[PrayerCalculator::Isha], 20);
    EXPECT_EQ(u[PrayerCalculator::Maghrib], 20);

    // Umm Al-Qura's Isha is minutes after Maghrib: the Isha cap is skipped.
    auto q = calculator(4, 1);
    auto v = day(20, 5, 3, kNaN, 20);
    q.adjustHighLatTimes(v);
    EXPECT_TRUE(std::isnan(v[PrayerCalculator::Isha]));
}

TEST(HighLatitude, PolarDayAndNightGiveNotAvailableWithoutCrashing) {
    for (int month : {6, 12}) {
        PrayerCalculator c;
        c.setCalcMethod(1);
        const auto t = c.getDatePrayerTimesAsDoubles(tarvo::test::noonOn(2024, month, 21), std::nullopt,
                                                     std::nullopt, 78.22, 15.65, std::string("Arctic/Longyearbyen"));
        ASSERT_EQ(t.size(), 10u);
        EXPECT_TRUE(std::isnan(t[PrayerCalculator::Sunrise])) << month;
        EXPECT_FALSE(std::isnan(t[PrayerCalculator::Dhuhr])) << month;
        const auto text = c.adjustTimesFormat(t);
        EXPECT_EQ(text[PrayerCalculator::Sunrise], "N/A");
        EXPECT_EQ(text[PrayerCalculator::Sunset], "N/A");
        if (month == 6) {
            // Midsummer: no dawn at all, and the repair cannot invent one without a night.
            EXPECT_TRUE(std::isnan(t[PrayerCalculator::Fajr]));
            EXPECT_EQ(text[PrayerCalculator::Fajr], "N/A");
        } else {
            // Midwinter: the sun still reaches 18 degrees below, so Fajr exists, uncapped.
            EXPECT_FALSE(std::isnan(t[PrayerCalculator::Fajr]));
        }
    }
}
