// Calculators share the built-in method table until one of them changes it, and the day
// computation agrees with its public steps taken one by one.
#include <cmath>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;
using tarvo::test::noonOn;

namespace {

// Equal to the last bit (NaN equal to NaN).
void expectSameBits(const std::vector<double>& got, const std::vector<double>& expected) {
    ASSERT_EQ(got.size(), expected.size());
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(std::memcmp(&got[i], &expected[i], sizeof(double)), 0) << "entry " << i << ": " << got[i]
                                                                          << " != " << expected[i];
    }
}

}  // namespace

TEST(SharedMethodTable, CustomParametersStayWithTheirCalculator) {
    PrayerCalculator custom;
    custom.setCalcMethod(1);
    custom.setFajrAngle(16);
    EXPECT_EQ(custom.calcMethod(), 6);
    EXPECT_EQ(custom.methodParams().at(6), (PrayerCalculator::MethodParams{0, 16, 1, 0, 0, 17}));

    const PrayerCalculator fresh;
    EXPECT_EQ(fresh.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 0, 0, 17}));
    EXPECT_EQ(fresh.methodParams().at(7), (PrayerCalculator::MethodParams{0, 18.5, 1, 2, 1, 90}));
    EXPECT_EQ(fresh.methodParams().size(), 7u);

    PrayerCalculator copy = custom;
    copy.setIshaAngle(14);
    EXPECT_EQ(copy.methodParams().at(6), (PrayerCalculator::MethodParams{0, 16, 1, 0, 0, 14}));
    EXPECT_EQ(custom.methodParams().at(6), (PrayerCalculator::MethodParams{0, 16, 1, 0, 0, 17}));
    EXPECT_EQ(PrayerCalculator().methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 0, 0, 17}));
}

TEST(SharedMethodTable, DayEqualsItsStepsTakenOneByOne) {
    for (const auto& [lat, lng, zone] : {std::tuple{51.5, -0.1167, "Europe/London"},
                                         std::tuple{-33.87, 151.21, "Australia/Sydney"},
                                         std::tuple{64.1, -21.9, "Atlantic/Reykjavik"}}) {
        for (const auto date : {noonOn(2024, 3, 30), noonOn(2024, 6, 21), noonOn(2024, 12, 21)}) {
            PrayerCalculator whole;
            const std::vector<double> day =
                whole.getDatePrayerTimesAsDoubles(date, std::nullopt, std::nullopt, lat, lng, std::string(zone));

            // The same state, then the public steps.
            PrayerCalculator steps;
            steps.getDatePrayerTimesAsDoubles(date, std::nullopt, std::nullopt, lat, lng, std::string(zone));
            std::vector<double> guesses{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
            std::vector<double> times = steps.computeTimes(guesses);
            EXPECT_EQ(guesses[2], 0.5);  // turned into day portions in place
            EXPECT_EQ(guesses[7], 23.0 / 24.0);
            steps.adjustTimes(times);
            steps.computeQiyamTime(times);
            expectSameBits(times, day);
        }
    }
}
