// Configuring a calculator from a city, as the day timetable does.
#include <fmt/format.h>
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
    // Position, 24-hour format, method 5 (automatic: north of 58 degrees), Asr, high-latitude
    // rule, DST, and the legacy marker read as "from the zone" (50).
    EXPECT_EQ(fmt::format("{} {} {} {} {} {} {} {}", c.lat(), c.lng(), c.timeFormat(), c.calcMethod(), c.asrJuristic(),
                          c.adjustHighLats(), c.overrideDST(), c.overrideTimeZoneOffset()),
              "59.91 10.75 0 5 2 4 1 50");
    EXPECT_EQ(c.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 0, 0, 17}));  // angles not applied

    TarvoCity custom = cityAt(21.4225, 39.8262, 3.0, 2, 6);
    custom.setCustomFajrAngle(15.5);
    custom.setCustomIshaAngle(16.5);
    PrayerCalculator k;
    configureCalculatorFromCity(k, custom);
    EXPECT_EQ(fmt::format("{} {} {}", k.calcMethod(), k.overrideDST(), k.overrideTimeZoneOffset()), "6 2 3");
    EXPECT_EQ(k.methodParams().at(6), (PrayerCalculator::MethodParams{0, 15.5, 1, 0, 0, 16.5}));

    // Any other daylight-saving value leaves the calculator's own setting alone; 50 stays 50.
    TarvoCity plain = cityAt(51.5, -0.1167, 50.0, 7, 3);
    PrayerCalculator p;
    p.setOverrideDST(2);
    configureCalculatorFromCity(p, plain);
    EXPECT_EQ(fmt::format("{} {} {}", p.calcMethod(), p.overrideDST(), p.overrideTimeZoneOffset()), "3 2 50");
}

}  // namespace
}  // namespace tarvo
