// The city record: defaults, tracked setters, mirroring, copying, archiving, derived values,
// and configuring a calculator from a city, as the day timetable does.
#include <cmath>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "cities/TarvoCityArchive.h"
#include "support/DataFolder.h"
#include "platform/storage/PreferenceStore.h"
#include "support/LogCapture.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {
namespace {

std::shared_ptr<UserDefaults> shared() { return UserDefaults::sharedUserDefaultsObj(); }

class TarvoCityRecordTest : public ::testing::Test {
protected:
    test::ScopedDataFolder folder_;
    test::LogCapture log_;
};

TEST_F(TarvoCityRecordTest, TrackedSettersLogMarkStampAndMirrorButNotWhileLoading) {
    TarvoCity city;
    city.setIsLoadingFromDB(true);
    city.setPrayerMethod(3);
    city.setCountryName("United States Minor Outlying Islands");  // shortened while loading too
    city.setIsLoadingFromDB(false);
    EXPECT_FALSE(city.isDirty() || PreferenceStore::of(*shared()).objectForKey("AutoCityPrayerMethod").has_value());
    EXPECT_EQ(city.countryName(), "United States");

    const Date before = Date::now();
    city.setCityName("Houston");
    city.setCityName("Houston");  // the same value again changes nothing
    EXPECT_TRUE(city.isDirty());
    ASSERT_TRUE(city.LastModDate().has_value());
    EXPECT_GE(*city.LastModDate(), before);
    city.setDSTPreference(1);
    city.setPrayerMethod(5);
    // The calculation preferences are mirrored into the automatic-city keys; either GMT
    // marker is mirrored as 50 while the city keeps what it was given.
    EXPECT_EQ(shared()->integerForKey("AutoCityDST"), 1);
    EXPECT_EQ(shared()->integerForKey("AutoCityPrayerMethod"), 5);
    city.setGMT(TarvoCity::kGMTFromTimeZoneLegacy);
    EXPECT_EQ(city.GMT(), -100.0);
    EXPECT_EQ(shared()->doubleForKey("AutoCityGMT"), 50.0);

    // Every city counts as automatic: switching the flag off is ignored on purpose.
    city.setIsAutomaticGPSLocation(false);
    EXPECT_TRUE(city.IsAutomaticGPSLocation());
}

TEST_F(TarvoCityRecordTest, NewCitiesTakeTheAutomaticCityKeysAndPreferencesCopyTracked) {
    shared()->setInteger("AutoCityPrayerMethod", 4);
    auto london = TarvoCity::InitWithDefaults();
    EXPECT_EQ(fmt::format("{} {} {}", london->description(), london->prayerMethod(), london->isDirty()),
              "London, United Kingdom 4 false");

    auto cairo = std::make_shared<TarvoCity>();
    cairo->setAsrMethod(2);
    // Copying the preferences goes through the other city's tracked, mirrored setters.
    shared()->removeObjectForKey("AutoCityAsrMethod");
    cairo->copyPrayerPreferencesToCity(london);
    EXPECT_TRUE(london->isDirty());
    EXPECT_EQ(std::pair(london->asrMethod(), shared()->integerForKey("AutoCityAsrMethod")), std::pair(int64_t{2}, int64_t{2}));
}

TEST_F(TarvoCityRecordTest, ArchivingNarrowsAnglesToSinglePrecisionAndStopsAtAWrongKind) {
    const auto decoded = [](const KeyedArchiver& archiver) {
        return TarvoCityArchive::decode(
            KeyedUnarchiver::forReadingFromData(archiver.encodedData(), TarvoCity::kArchiveClassName).value());
    };
    TarvoCity city;
    city.setLatitude(19.0760123456789);
    city.setCustomFajrAngle(18.2);
    city.setStateName("Maharashtra");
    KeyedArchiver archiver{std::string(TarvoCity::kArchiveClassName)};
    TarvoCityArchive::encode(city, archiver);
    auto back = decoded(archiver);
    EXPECT_FALSE(back->isDirty());
    // Angles come back through single precision on purpose; the position does not.
    EXPECT_EQ(back->customFajrAngle(), 18.200000762939453);  // 18.2 in single precision
    EXPECT_EQ(back->latitude(), 19.0760123456789);
    EXPECT_FALSE(back->stateName().has_value()) << "only the listed fields travel";
    EXPECT_EQ(back->TimeZone(), "") << "absent names are archived as empty texts";
    // A city's own choices beyond the method travel only when made, at full precision.
    EXPECT_EQ(fmt::format("{} {} {} {} {}", back->polarResolution(), back->maghribMinutes().has_value(),
                          back->ishaMinutes().has_value(), back->fajrAngleOverride().has_value(),
                          back->ishaAngleOverride().has_value()),
              "0 false false false false");
    city.setPolarResolution(3);
    city.setMaghribMinutes(2.5);
    city.setIshaMinutes(90.1);
    city.setFajrAngleOverride(19.3);
    city.setIshaAngleOverride(17.7);
    KeyedArchiver chosen{std::string(TarvoCity::kArchiveClassName)};
    TarvoCityArchive::encode(city, chosen);
    back = decoded(chosen);
    EXPECT_EQ(fmt::format("{} {} {} {} {}", back->polarResolution(), back->maghribMinutes().value_or(-1),
                          back->ishaMinutes().value_or(-1), back->fajrAngleOverride().value_or(-1),
                          back->ishaAngleOverride().value_or(-1)),
              "3 2.5 90.1 19.3 17.7");

    KeyedArchiver wrong{std::string(TarvoCity::kArchiveClassName)};
    wrong.encodeDouble(3.0, "GMT");
    wrong.encodeObject("four", "prayerMethod");  // not a number
    wrong.encodeInteger(2, "asrMethod");
    wrong.encodeObject("Doha", "cityName");
    wrong.encodeObject(42, "countryName");  // not a string
    auto partial = decoded(wrong);
    // Decoding stops at the bad number: later numbers stay unset, the names still come.
    EXPECT_EQ(fmt::format("{} {} {} {}", partial->GMT(), partial->asrMethod(), partial->cityName().value_or("-"),
                          partial->countryName().value_or("-")),
              "3 0 Doha -");
}

TEST_F(TarvoCityRecordTest, ResolvedOffsetAndPositionText) {
    TarvoCity city;
    city.setGMT(3.5);
    EXPECT_EQ(city.getResolvedGMT(), 3.5);
    // Both markers resolve to the zone's offset in whole hours, cut toward zero.
    for (double marker : {TarvoCity::kGMTFromTimeZone, TarvoCity::kGMTFromTimeZoneLegacy}) {
        city.setGMT(marker);
        city.setTimeZone("Asia/Kolkata");  // +5:30 all year
        EXPECT_EQ(city.getResolvedGMT(), 5.0);
        city.setTimeZone("America/St_Johns");  // -3:30, or -2:30 in summer
        EXPECT_EQ(city.getResolvedGMT(), city.isInDST() ? -2.0 : -3.0);
        city.setTimeZone("Nowhere/Atlantis");
        EXPECT_EQ(city.getResolvedGMT(), 0.0);
        EXPECT_FALSE(city.isInDST());
    }
    // The sign stays beside the letter: displays are laid out around this text.
    const std::tuple<double, double, const char*> positions[] = {{0, 0, "[ 0.00 N : 0.00 E ]"},
                                                                 {-33.8688, 151.2093, "[ -33.87 S : 151.21 E ]"},
                                                                 {51.5, -0.1167, "[ 51.50 N : -0.12 W ]"},
                                                                 {-12.05, -77.04, "[ -12.05 S : -77.04 W ]"}};
    for (const auto& [lat, lng, text] : positions) {
        city.setLatitude(lat);
        city.setLongitude(lng);
        EXPECT_EQ(city.getLatLongString(), text);
    }
}

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

    // An override replaces ISNA's 15 degree Fajr and keeps its Isha (the method reads 6 now).
    oslo.setFajrAngleOverride(12.0);
    PrayerCalculator o;
    configureCalculatorFromCity(o, oslo);
    EXPECT_EQ(o.methodParams().at(6), (PrayerCalculator::MethodParams{0, 12, 1, 0, 0, 15}));

    // Chosen angles become custom angles on the custom method and overrides on any other.
    TarvoCity karachi = cityAt(24.8607, 67.0011, 50.0, 0, 3);
    chooseCityAngles(karachi, 19.5, std::nullopt);
    karachi.setPrayerMethod(6);
    chooseCityAngles(karachi, std::nullopt, 16.0);
    EXPECT_EQ(fmt::format("{} {} {} {}", karachi.customFajrAngle(), karachi.customIshaAngle(),
                          karachi.fajrAngleOverride().value_or(-1), karachi.ishaAngleOverride().value_or(-1)),
              "0 16 19.5 -1");
    // A Fajr angle chosen on the custom method replaces the override kept from Karachi, which
    // would otherwise win; an Isha angle chosen now replaces Isha minutes kept from before.
    karachi.setIshaMinutes(90.0);
    chooseCityAngles(karachi, 17.0, 15.0);
    PrayerCalculator chosen;
    configureCalculatorFromCity(chosen, karachi);
    EXPECT_EQ(chosen.methodParams().at(6), (PrayerCalculator::MethodParams{0, 17, 1, 0, 0, 15}));
    EXPECT_FALSE(karachi.fajrAngleOverride() || karachi.ishaMinutes());

    TarvoCity custom = cityAt(21.4225, 39.8262, 3.0, 2, 6);
    custom.setCustomFajrAngle(15.5);
    custom.setCustomIshaAngle(16.5);
    PrayerCalculator k;
    configureCalculatorFromCity(k, custom);
    EXPECT_EQ(fmt::format("{} {} {}", k.calcMethod(), k.overrideDST(), k.overrideTimeZoneOffset()), "6 2 3");
    EXPECT_EQ(k.methodParams().at(6), (PrayerCalculator::MethodParams{0, 15.5, 1, 0, 0, 16.5}));

    // Maghrib and Isha minutes replace Umm al-Qura's own (sunset, and 90 minutes after it);
    // its 18.5 degree Fajr stays.
    TarvoCity makkah = cityAt(21.4225, 39.8262, 50.0, 0, 4);
    makkah.setMaghribMinutes(3.0);
    makkah.setIshaMinutes(120.0);
    PrayerCalculator u;
    configureCalculatorFromCity(u, makkah);
    EXPECT_EQ(u.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18.5, 1, 3, 1, 120}));

    // Any other daylight-saving value leaves the calculator's own setting alone; 50 stays 50.
    TarvoCity plain = cityAt(51.5, -0.1167, 50.0, 7, 3);
    PrayerCalculator p;
    p.setOverrideDST(2);
    configureCalculatorFromCity(p, plain);
    EXPECT_EQ(fmt::format("{} {} {}", p.calcMethod(), p.overrideDST(), p.overrideTimeZoneOffset()), "3 2 50");
}

}  // namespace
}  // namespace tarvo
