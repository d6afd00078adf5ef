// Rounding to the minute, clock text in both formats, and parsing it back.
#include <cmath>

#include <gtest/gtest.h>

#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;

TEST(TimeFormat, RoundsToTheNearestMinuteAndWraps) {
    PrayerCalculator c;
    EXPECT_EQ(c.floatToTime24(5.9917), "06:00");
    EXPECT_EQ(c.floatToTime24(23.9999), "00:00");
    EXPECT_EQ(c.floatToTime24(23.995), "00:00");
    EXPECT_EQ(c.floatToTime24(5.0 + 7.0 / 60), "05:07");
    EXPECT_EQ(c.floatToTime24(17.5), "17:30");
    EXPECT_EQ(c.floatToTime24(25.25), "01:15");
    EXPECT_EQ(c.floatToTime24(-0.5), "23:30");
    EXPECT_EQ(c.floatToTime24(12.5), "12:30");
    EXPECT_EQ(c.floatToTime24(0.25), "00:15");
    EXPECT_EQ(PrayerCalculator::floatToHour(5.9917), 6);
    EXPECT_EQ(PrayerCalculator::floatToMin(5.9917), 0);
    EXPECT_EQ(PrayerCalculator::floatToMin(10.75), 45);
}

TEST(TimeFormat, TwelveHourTextKeepsItsLeadingZero) {
    PrayerCalculator c;
    EXPECT_EQ(c.floatToTime12(23.9999, false), "12:00 am");
    EXPECT_EQ(c.floatToTime12(12.5, false), "12:30 pm");
    EXPECT_EQ(c.floatToTime12(0.25, false), "12:15 am");
    EXPECT_EQ(c.floatToTime12(5.0 + 7.0 / 60, false), "05:07 am");
    EXPECT_EQ(c.floatToTime12(13.0 + 5.0 / 60, false), "01:05 pm");
    EXPECT_EQ(c.floatToTime12(22.75, true), "10:45");
    EXPECT_EQ(c.floatToTime12NS(13.0), "01:00");
}

TEST(TimeFormat, NotANumberPrintsTheInvalidText) {
    PrayerCalculator c;
    const double nan = std::nan("");
    EXPECT_EQ(c.floatToTime24(nan), "N/A");
    EXPECT_EQ(c.floatToTime12(nan, false), "N/A");
    EXPECT_EQ(PrayerCalculator::floatToHour(nan), 0);
    EXPECT_EQ(PrayerCalculator::floatToMin(nan), 0);
    c.setInvalidTime("--:--");
    EXPECT_EQ(c.floatToTime24(nan), "--:--");
}

TEST(TimeFormat, ParsesClockTextBack) {
    EXPECT_EQ(PrayerCalculator::time24ToHour("17:30"), 17);
    EXPECT_EQ(PrayerCalculator::time24ToMinute("17:30"), 30);
    EXPECT_EQ(PrayerCalculator::time24ToHour("0745"), 0);
    EXPECT_EQ(PrayerCalculator::time24ToMinute("0745"), 0);
    EXPECT_EQ(PrayerCalculator::time24ToMinute("5:x"), 0);
    EXPECT_EQ(PrayerCalculator::time12ToHour("7:45 PM"), 7);
    EXPECT_EQ(PrayerCalculator::time12ToMinute("7:45 PM"), 45);
    EXPECT_EQ(PrayerCalculator::time12ToHour("0745"), 0);
    EXPECT_EQ(PrayerCalculator::time12ToMinute("11:05am"), 5);
    // The colon's place is taken from the text as given, so leading blanks shift the split.
    EXPECT_EQ(PrayerCalculator::time12ToHour(" 7:45 pm"), 7);
    EXPECT_EQ(PrayerCalculator::time12ToMinute(" 7:45 pm"), 5);
    EXPECT_EQ(PrayerCalculator::time12ToMinute("   7:45"), 0);
}

TEST(TimeFormat, SplitsSecondsTowardZero) {
    EXPECT_EQ(PrayerCalculator::splitToComponentTimes(3725), (std::array<int64_t, 3>{1, 2, 5}));
    EXPECT_EQ(PrayerCalculator::splitToComponentTimes(-61), (std::array<int64_t, 3>{0, -1, -1}));
    EXPECT_EQ(PrayerCalculator::splitToComponentTimes(0), (std::array<int64_t, 3>{0, 0, 0}));
}

TEST(TimeFormat, AdjustTimesFormatFollowsTheCalculatorsFormat) {
    PrayerCalculator c;
    const std::vector<double> hours{5.5, 13.25, std::nan("")};
    EXPECT_EQ(c.adjustTimesFormat(hours), (std::vector<std::string>{"05:30", "13:15", "N/A"}));
    c.setTimeFormat(1);
    EXPECT_EQ(c.adjustTimesFormat(hours), (std::vector<std::string>{"05:30 am", "01:15 pm", "N/A"}));
    c.setTimeFormat(2);
    EXPECT_EQ(c.adjustTimesFormat(hours), (std::vector<std::string>{"05:30", "01:15", "N/A"}));
    c.setTimeFormat(3);
    EXPECT_EQ(c.adjustTimesFormat(hours), (std::vector<std::string>{"5.5", "13.25", "nan"}));
    c.setTimeFormat(9);
    EXPECT_EQ(c.adjustTimesFormat(hours)[1], "13:15");
    EXPECT_TRUE(c.adjustTimesFormat({}).empty());
}
