// Calendar fields and day arithmetic in zones with summer time.
#include <gtest/gtest.h>

#include "tarvo/platform/Calendar.h"

using tarvo::Calendar;
using tarvo::Date;
using tarvo::DateComponents;
using tarvo::TimeZone;

TEST(Calendar, SplitsMomentsInTheCalendarsZone) {
    const Calendar london(*TimeZone::withName("Europe/London"));
    // 2024-07-01 23:30 UTC is 00:30 on 2 July in London (summer time).
    const DateComponents c = london.components(Date(1719876600));
    EXPECT_EQ(c.year, 2024);
    EXPECT_EQ(c.month, 7);
    EXPECT_EQ(c.day, 2);
    EXPECT_EQ(c.hour, 0);
    EXPECT_EQ(c.minute, 30);
    EXPECT_EQ(c.weekday, 3);  // Tuesday
    EXPECT_EQ(london.dateFromComponents(c), Date(1719876600));

    const Calendar utc(*TimeZone::withName("UTC"));
    const DateComponents before1970 = utc.components(Date(-86400.5));
    EXPECT_EQ(before1970.year, 1969);
    EXPECT_EQ(before1970.day, 30);
    EXPECT_EQ(before1970.hour, 23);
}

TEST(Calendar, AddingDaysKeepsTheWallClockAcrossSummerTime) {
    const Calendar london(*TimeZone::withName("Europe/London"));
    DateComponents noon{2024, 3, 30, 12, 0, 0, 0, 0};
    const Date saturday = london.dateFromComponents(noon);
    const Date sunday = london.dateByAddingDays(1, saturday);
    EXPECT_EQ(sunday.timeIntervalSinceDate(saturday), 23 * 3600);
    EXPECT_EQ(london.components(sunday).hour, 12);
    EXPECT_EQ(london.dateByAddingDays(-1, sunday), saturday);
    // Out-of-range fields roll over.
    DateComponents rolled{2024, 14, 32, 12, 0, 0, 0, 0};
    const DateComponents c = london.components(london.dateFromComponents(rolled));
    EXPECT_EQ(c.year, 2025);
    EXPECT_EQ(c.month, 3);
    EXPECT_EQ(c.day, 4);
}

TEST(TimeZone, LooksUpNamesAndReportsOffsets) {
    EXPECT_FALSE(TimeZone::withName("Not/AZone"));
    const auto kolkata = TimeZone::withName("Asia/Kolkata");
    ASSERT_TRUE(kolkata);
    EXPECT_EQ(kolkata->secondsFromGMT(Date(0)), 19800);
    const auto ny = TimeZone::withName("America/New_York");
    EXPECT_EQ(ny->secondsFromGMT(Date(1719835200)), -4 * 3600);  // July: summer time
    EXPECT_EQ(ny->daylightSavingTimeOffset(Date(1719835200)), 3600);
    EXPECT_TRUE(ny->isDaylightSavingTime(Date(1719835200)));
    EXPECT_EQ(ny->secondsFromGMT(Date(1705320000)), -5 * 3600);  // January
    EXPECT_FALSE(ny->isDaylightSavingTime(Date(1705320000)));
    EXPECT_EQ(TimeZone::gmt().name(), "GMT");
}
