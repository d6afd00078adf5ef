// A day's list asks the memo for its day and the next in one call: both answers are the
// engine's, bit for bit, whether computed then or kept from an earlier request, and carry
// the calendar dates the records are stamped with.
#include <array>
#include <bit>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "calculation/CalculatorInputs.h"
#include "calculation/DayMemo.h"
#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace {

bool sameDay(const tarvo::DayTimes& a, const tarvo::DayTimes& b) {
    for (size_t i = 0; i < a.times.size(); ++i) {
        if (std::bit_cast<uint64_t>(a.times[i]) != std::bit_cast<uint64_t>(b.times[i])) return false;
    }
    return a.usingFixedTimings == b.usingFixedTimings;
}

TEST(DayMemo, TheDayAndTheNextAreTheEnginesWhetherComputedOrKept) {
    // Summer-time nights in London and Sydney, Dubai's official timetable, a polar night in
    // Tromso; the days asked twice over (the second round is answered from the memo).
    struct Site {
        double latitude, longitude;
        const char* zone;
        const char* city;
    };
    const Site sites[] = {{51.5, -0.1167, "Europe/London", "London"},
                          {-33.87, 151.21, "Australia/Sydney", "Sydney"},
                          {25.2, 55.27, "Asia/Dubai", "Dubai"},
                          {69.65, 18.96, "Europe/Oslo", "Tromso"}};
    // The calendar dates the list stamps its records with: 25 and 26 March 2023 in London.
    {
        tarvo::PrayerCalculator c;
        const tarvo::CalculatorInputs in(c, std::string("London"), std::nullopt, 51.5, -0.1167,
                                         std::string("Europe/London"));
        const auto [day, next] =
            tarvo::DayMemo::dayAndNext(in.method, in.place, tarvo::test::noonOn(2023, 3, 25), c.globalGregCal());
        EXPECT_EQ(day.calendarDate, (std::array<int64_t, 3>{2023, 3, 25}));
        EXPECT_EQ(day.nextCalendarDate, (std::array<int64_t, 3>{2023, 3, 26}));
        EXPECT_EQ(next.calendarDate, day.nextCalendarDate);
    }
    tarvo::PrayerCalculator calculator;
    calculator.setCalcMethod(3);
    calculator.setAdjustHighLats(3);
    int compared = 0;
    for (int round = 0; round < 2; ++round) {
        for (const Site& site : sites) {
            const tarvo::CalculatorInputs in(calculator, std::string(site.city), std::nullopt, site.latitude,
                                             site.longitude, std::string(site.zone));
            const tarvo::Calendar& calendar = calculator.globalGregCal();
            for (const auto& [y, m, d] : {std::array<int, 3>{2023, 3, 25}, {2023, 10, 28}, {2020, 12, 31},
                                          {2019, 4, 6}, {2023, 12, 21}}) {
                const tarvo::Date day = tarvo::test::noonOn(y, m, d);
                const tarvo::Date next = calendar.dateByAddingDays(1, day);
                const auto [first, second] = tarvo::DayMemo::dayAndNext(in.method, in.place, day, calendar);
                EXPECT_TRUE(sameDay(first, tarvo::compute(in.method, in.place, day, calendar))) << site.city;
                EXPECT_TRUE(sameDay(second, tarvo::compute(in.method, in.place, next, calendar))) << site.city;
                // The next day's list finds its day kept, and it is the one computed afresh.
                const auto [again, following] = tarvo::DayMemo::dayAndNext(in.method, in.place, next, calendar);
                EXPECT_TRUE(sameDay(again, second)) << site.city;
                EXPECT_TRUE(sameDay(following, tarvo::compute(in.method, in.place, second.nextDay, calendar)));
                ++compared;
            }
        }
    }
    EXPECT_EQ(compared, 2 * 4 * 5);
}

}  // namespace
