// Configuring a calculator from a city, as the day timetable does.
#include <gtest/gtest.h>

#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {
namespace {

TarvoCity cityAt(double latitude, double longitude, double gmt, int64_t dst, int64_t method) {
    TarvoCity city;
    city.setIsLoadingFromDB(true);  // plain record: no tracking, no preference mirroring
    city.setLatitude(latitude);
    city.setLongitude(longitude);
    city.setGMT(gmt);
    city.setDSTPreference(dst);
    city.setPrayerMethod(method);
    return city;
}

TEST(CityCalculatorSetup, CopiesChoicesMapsMarkersAndAppliesCustomAnglesOnlyForMethodSix) {
    TarvoCity oslo = cityAt(59.91, 10.75, -100.0, 1, 0);
    oslo.setAsrMethod(2);
    oslo.setAdjustHighLatitude(4);
    oslo.setCustomFajrAngle(12.0);
    PrayerCalculator c;
    c.setTimeFormat(2);
    configureCalculatorFromCity(c, oslo);
    EXPECT_EQ(c.lat(), 59.91);
    EXPECT_EQ(c.lng(), 10.75);
    EXPECT_EQ(c.timeFormat(), 0);
    EXPECT_EQ(c.calcMethod(), 5);  // automatic: north of 58 degrees
    EXPECT_EQ(c.asrJuristic(), 2);
    EXPECT_EQ(c.adjustHighLats(), 4);
    EXPECT_EQ(c.overrideDST(), 1);
    EXPECT_EQ(c.overrideTimeZoneOffset(), 50.0);   // the legacy marker reads as "from the zone"
    EXPECT_EQ(c.methodParams().count(6), 1u);
    EXPECT_EQ(c.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 0, 0, 17}));  // angles not applied

    TarvoCity custom = cityAt(21.4225, 39.8262, 3.0, 2, 6);
    custom.setCustomFajrAngle(15.5);
    custom.setCustomIshaAngle(16.5);
    PrayerCalculator k;
    configureCalculatorFromCity(k, custom);
    EXPECT_EQ(k.calcMethod(), 6);
    EXPECT_EQ(k.overrideDST(), 2);
    EXPECT_EQ(k.overrideTimeZoneOffset(), 3.0);
    EXPECT_EQ(k.methodParams().at(6), (PrayerCalculator::MethodParams{0, 15.5, 1, 0, 0, 16.5}));

    // Any other daylight-saving value leaves the calculator's own setting alone; 50 stays 50.
    TarvoCity plain = cityAt(51.5, -0.1167, 50.0, 7, 3);
    PrayerCalculator p;
    p.setOverrideDST(2);
    configureCalculatorFromCity(p, plain);
    EXPECT_EQ(p.overrideDST(), 2);
    EXPECT_EQ(p.calcMethod(), 3);
    EXPECT_EQ(p.overrideTimeZoneOffset(), 50.0);
}

TEST(CityCalculatorSetup, ConfiguredCalculatorGivesTheCitysDay) {
    // Makkah, 5 January 2016, Umm Al-Qura, offset from the zone (Asia/Riyadh, +3):
    // Fajr 05:38, Dhuhr 12:26, Isha 19:22 (the tool's own check of the same day).
    TarvoCity makkah = cityAt(21.4225, 39.8262, -100.0, 0, 4);
    PrayerCalculator c;
    configureCalculatorFromCity(c, makkah);
    tarvo::DateComponents noon;
    noon.year = 2016;
    noon.month = 1;
    noon.day = 5;
    noon.hour = 12;
    const auto text = c.getDatePrayerTimesAsString(c.globalGregCal().dateFromComponents(noon), std::nullopt,
                                                   std::string("Saudi Arabia"), makkah.latitude(),
                                                   makkah.longitude(), std::string("Asia/Riyadh"));
    ASSERT_EQ(text.size(), 10u);
    EXPECT_EQ(text[0], "05:38");
    EXPECT_EQ(text[2], "12:26");
    EXPECT_EQ(text[6], "19:22");
}

}  // namespace
}  // namespace tarvo
