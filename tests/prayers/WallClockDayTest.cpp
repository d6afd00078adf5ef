// A day's records are stamped on the GMT clock from the date worked out once: every moment
// is the calendar's own, bit for bit.
#include <bit>
#include <cstdint>

#include <gtest/gtest.h>

#include "prayers/WallClockDay.h"
#include "tarvo/platform/Calendar.h"

namespace {

tarvo::DateComponents dateOf(int64_t year, int64_t month, int64_t day) {
    tarvo::DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    return c;
}

TEST(WallClockDay, EveryMinuteOfTheDayIsTheCalendarsMomentToTheBit) {
    // Published epoch seconds: 2024-06-01 05:07 UTC is 1717218420, 1969-12-31 23:59 is -60.
    EXPECT_EQ(tarvo::WallClockDay(2024, 6, 1).at(5, 7).timeIntervalSince1970(), 1717218420.0);
    EXPECT_EQ(tarvo::WallClockDay(1969, 12, 31).at(23, 59).timeIntervalSince1970(), -60.0);
    // Leap days, year ends, dates before 1970 and far ahead, and days that roll over (the
    // 32nd of December, the 0th of March), at every minute.
    const tarvo::Calendar gmt(tarvo::TimeZone::gmt());
    const tarvo::DateComponents dates[] = {dateOf(2024, 2, 29), dateOf(2023, 12, 31), dateOf(2023, 12, 32),
                                           dateOf(2100, 3, 0),  dateOf(1900, 1, 1),   dateOf(1969, 12, 31),
                                           dateOf(2038, 1, 19), dateOf(2400, 2, 29)};
    int compared = 0;
    for (const auto& date : dates) {
        const tarvo::WallClockDay day(date.year, date.month, date.day);
        tarvo::DateComponents c = date;
        for (c.hour = 0; c.hour < 24; ++c.hour) {
            for (c.minute = 0; c.minute < 60; ++c.minute) {
                const double expected = gmt.dateFromComponents(c).timeIntervalSince1970();
                const double actual = day.at(c.hour, c.minute).timeIntervalSince1970();
                ASSERT_EQ(std::bit_cast<uint64_t>(actual), std::bit_cast<uint64_t>(expected))
                    << date.year << "-" << date.month << "-" << date.day << " " << c.hour << ":" << c.minute;
                ++compared;
            }
        }
    }
    EXPECT_EQ(compared, 8 * 24 * 60);
}

}  // namespace
