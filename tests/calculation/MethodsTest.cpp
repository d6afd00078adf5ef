// Method table, automatic choices and the custom-method setters.
#include <gtest/gtest.h>

#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;

TEST(Methods, AutomaticMethodFollowsTheLocationBoxesInOrder) {
    struct Case {
        double lat, lng;
        int64_t method;
    };
    const Case cases[] = {
        {60, 10, 5},   {-58, 0, 5},     {21.4, 39.8, 4}, {25.2, 55.3, 7},    {24.9, 67.0, 3}, {30, 31, 2},
        {40, 30, 1},   {40.7, -74, 5},  {-33.9, 151.2, 1}, {37, 25, 1},      {36, -31, 1},    {-48, -60, 1},
        {12, 36.99, 2}, {36, 37, 4},    {29, 99, 3},     {29, 59.6, 4},      {20, 59.61, 3},  {57.9, -100, 5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(PrayerCalculator::getAutoMethodFromLocation(c.lat, c.lng), c.method) << c.lat << ", " << c.lng;
    }
}

TEST(Methods, AutomaticAsrSchoolUsesTheProductsCountryList) {
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(std::nullopt), 1);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("Pakistan"), 2);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("PAKISTAN"), 2);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("Egypt"), 2);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("Kirgizstan"), 2);
    // The list spells it "kirgizstan"; the usual spelling falls through to Shafi.
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("Kyrgyzstan"), 1);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry("Saudi Arabia"), 1);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(" india"), 1);  // exact match only
}

TEST(Methods, AutomaticHighLatitudeRuleBoundaries) {
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(47.99), 3);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(48), 3);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(51.49), 3);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(51.5), 2);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(54.99), 2);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(55), 1);
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(70), 1);
    // Signed latitude: the far south always gets the angle-based rule.
    EXPECT_EQ(PrayerCalculator::getAutoHighLatMethodFromLocation(-70), 3);
}

TEST(Methods, ZeroResolvesOnEveryReadAndIsNeverStoredBack) {
    PrayerCalculator c;
    c.setLat(21.4);
    c.setLng(39.8);
    EXPECT_EQ(c.calcMethod(), 4);
    c.setLat(40.7);
    c.setLng(-74);
    EXPECT_EQ(c.calcMethod(), 5);
    EXPECT_EQ(c.adjustHighLats(), 3);
    c.setCountry("Turkey");
    EXPECT_EQ(c.asrJuristic(), 2);
    c.setAsrJuristic(1);
    EXPECT_EQ(c.asrJuristic(), 1);
}

TEST(Methods, NamesKeepTheirTwoDifferentDefaults) {
    EXPECT_EQ(PrayerCalculator::getPrayerMethodNameFromNumber(0), "Muslim League");
    EXPECT_EQ(PrayerCalculator::getPrayerMethodNameFromNumber(1), "Muslim League");
    EXPECT_EQ(PrayerCalculator::getPrayerMethodNameFromNumber(4), "Umm Al-Qura");
    EXPECT_EQ(PrayerCalculator::getPrayerMethodNameFromNumber(99), "Muslim League");
    EXPECT_EQ(PrayerCalculator::getShortPrayerMethodNameFromNumber(0), "Muslim League");
    EXPECT_EQ(PrayerCalculator::getShortPrayerMethodNameFromNumber(1), "Muslim League Short");
    EXPECT_EQ(PrayerCalculator::getShortPrayerMethodNameFromNumber(5), "ISNA (North America) Short");
    EXPECT_EQ(PrayerCalculator::getShortPrayerMethodNameFromNumber(6), "Custom Method");
    EXPECT_EQ(PrayerCalculator::getShortPrayerMethodNameFromNumber(-3), "Muslim League");
    EXPECT_EQ(PrayerCalculator::getAsrMethodFromNumber(2), "Hanafi");
    EXPECT_EQ(PrayerCalculator::getAsrMethodFromNumber(0), "Unknown");
    EXPECT_EQ(PrayerCalculator::getAdjustHighLatNameFromNumber(1), "1/7th of the night");
    EXPECT_EQ(PrayerCalculator::getAdjustHighLatNameFromNumber(7), "1/7th of the night");
    EXPECT_EQ(PrayerCalculator::getAdjustHighLatNameFromNumber(4), "Middle of the night");
}

TEST(Methods, SingleValueSettersComposeIntoTheCustomMethod) {
    PrayerCalculator c;
    c.setCalcMethod(4);
    c.setFajrMinutes(90);
    EXPECT_EQ(c.calcMethod(), 6);
    EXPECT_EQ(c.methodParams().at(6), (std::vector<double>{1, 90, 1, 0, 1, 90}));

    PrayerCalculator d;
    d.setCalcMethod(2);
    d.setFajrAngle(20);
    d.setIshaAngle(16);  // copies from entry 6 now, so the Fajr angle survives
    EXPECT_EQ(d.methodParams().at(6), (std::vector<double>{0, 20, 1, 0, 0, 16}));
    d.setMaghribMinutes(3);
    EXPECT_EQ(d.methodParams().at(6), (std::vector<double>{0, 20, 1, 3, 0, 16}));
    // The other built-in entries never change.
    EXPECT_EQ(d.methodParams().at(2), (std::vector<double>{0, 19.5, 1, 0, 0, 17.5}));

    std::vector<double> params{-1, 17, -1, -1, -1, -1};
    PrayerCalculator e;
    e.setCalcMethod(7);
    e.setCustomParams(params);
    // -1 entries are filled in place from the method in force.
    EXPECT_EQ(params, (std::vector<double>{0, 17, 1, 2, 1, 90}));
}
