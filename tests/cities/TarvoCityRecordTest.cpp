// The city record: defaults, tracked setters, mirroring, copying, archiving, derived values.
#include <cmath>

#include <gtest/gtest.h>

#include "cities/LogLines.h"
#include "platform/ScopedDataFolder.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/KeyedArchiver.h"
#include "tarvo/platform/KeyedUnarchiver.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {
namespace {

using test::ScopedDataFolder;
using test::LogLines;

std::shared_ptr<UserDefaults> shared() { return UserDefaults::sharedUserDefaultsObj(); }

std::shared_ptr<TarvoCity> roundTrip(const TarvoCity& city) {
    KeyedArchiver archiver(std::string(TarvoCity::kArchiveClassName));
    city.encodeWithCoder(archiver);
    auto coder = KeyedUnarchiver::forReadingFromData(archiver.encodedData(), TarvoCity::kArchiveClassName);
    EXPECT_TRUE(coder.has_value());
    return coder ? TarvoCity::initWithCoder(*coder) : nullptr;
}

class TarvoCityRecordTest : public ::testing::Test {
protected:
    ScopedDataFolder folder_;
    LogLines log_;
};

TEST_F(TarvoCityRecordTest, DefaultCityIsLondonWithAutomaticPreferencesAndNoTracking) {
    auto london = TarvoCity::InitWithDefaults();
    EXPECT_EQ(london->cityName(), "London");
    EXPECT_EQ(london->countryName(), "United Kingdom");
    EXPECT_EQ(london->stateName(), "");
    EXPECT_EQ(london->TimeZone(), "Europe/London");
    EXPECT_EQ(london->latitude(), 51.5);
    EXPECT_EQ(london->longitude(), -0.1167);
    EXPECT_TRUE(london->isDefaultCity());
    EXPECT_FALSE(london->IsLoadingFromDB());
    EXPECT_FALSE(london->isDirty());
    EXPECT_FALSE(london->LastModDate().has_value());
    EXPECT_EQ(london->GMT(), 0.0);
    EXPECT_EQ(london->prayerMethod(), 0);
    EXPECT_TRUE(log_.startingWith("DIRTY").empty());

    // The automatic-city keys decide the calculation preferences of a new default city.
    shared()->setDouble("AutoCityGMT", 50.0);
    shared()->setInteger("AutoCityPrayerMethod", 4);
    shared()->setInteger("AutoCityHighLatMethod", 3);
    shared()->setDouble("AutoCityIshaAngle", 17.25);
    auto configured = TarvoCity::InitWithDefaults();
    EXPECT_EQ(configured->GMT(), 50.0);
    EXPECT_EQ(configured->prayerMethod(), 4);
    EXPECT_EQ(configured->adjustHighLatitude(), 3);
    EXPECT_EQ(configured->customIshaAngle(), 17.25);
    EXPECT_FALSE(configured->isDirty());

    // Loading the preferences leaves the loading flag off even when it was on before.
    TarvoCity city;
    city.setIsLoadingFromDB(true);
    city.loadAutoCityPreferences();
    EXPECT_FALSE(city.IsLoadingFromDB());
    EXPECT_EQ(city.prayerMethod(), 4);
    EXPECT_TRUE(log_.startingWith("DIRTY").empty());
}

TEST_F(TarvoCityRecordTest, TrackedSettersLogMarkStampAndMirror) {
    TarvoCity city;
    const Date before = Date::now();
    city.setCityName("Leeds");
    EXPECT_TRUE(city.isDirty());
    ASSERT_TRUE(city.LastModDate().has_value());
    EXPECT_GE(*city.LastModDate(), before);
    ASSERT_EQ(log_.lines().size(), 2u);
    EXPECT_EQ(log_.lines()[0].text, "DIRTY: SETTING CITY NAME: Leeds");
    EXPECT_EQ(log_.lines()[0].level, Log::Level::verbose);
    EXPECT_EQ(log_.lines()[1].text, "DIRTY: SETTING LAST MOD DATE: " + city.LastModDate()->description());

    // The same value again changes nothing: no line, no new stamp.
    const auto stamped = city.LastModDate();
    log_.clear();
    city.setCityName("Leeds");
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(city.LastModDate(), stamped);

    // Each setter's own line (the date setter's line follows each of them).
    city.setCountryName("United States of America");
    city.setStateName("Texas");
    city.setTimeZone("America/Chicago");
    city.setLatitude(29.76);
    city.setLongitude(-95.37);
    city.setCustomFajrAngle(18.5);
    city.setCustomIshaAngle(17.5);
    city.setGMT(-6);
    city.setDSTPreference(1);
    city.setPrayerMethod(5);
    city.setAsrMethod(2);
    city.setAdjustHighLatitude(3);
    city.setIsSelectedCity(true);
    city.setIsDefaultCity(true);
    city.setLastSyncDate(Date(0));
    const std::vector<std::string> expected = {
        "DIRTY: SETTING COUNTRY NAME: United States of America",
        "DIRTY: SETTING STATE NAME: Texas",
        "DIRTY: SETTING TIME ZONE: America/Chicago",
        "DIRTY: SETTING LATITUTE: 29.760000",
        "DIRTY: SETTING LONGITUDE: -95.370000",
        "DIRTY: SETTING CUSTOM FAJR: 18.500000",
        "DIRTY: SETTING CUSTOM ISHA: 17.500000",
        "DIRTY: SETTING GMT: -6.000000",
        "DIRTY: SETTING DST PREF: 1",
        "DIRTY: SETTING PRAYER METHOD: 5",
        "DIRTY: SETTING ASR METHOD: 2",
        "DIRTY: SETTING HIGH LATITUDE: 3",
        "DIRTY: SETTING SELECTED CITY: 1",
        "DIRTY: SETTING DEFAULT CITY: 1",
        "DIRTY: SETTING LAST SYNC DATE: " + Date(0).description(),
    };
    std::vector<std::string> own;
    for (const auto& text : log_.startingWith("DIRTY: SETTING")) {
        if (!text.starts_with("DIRTY: SETTING LAST MOD DATE")) own.push_back(text);
    }
    EXPECT_EQ(own, expected);
    // Every tracked setter but the two date setters stamps the modification date.
    EXPECT_EQ(log_.startingWith("DIRTY: SETTING LAST MOD DATE").size(), expected.size() - 1);
    EXPECT_EQ(city.countryName(), "United States");

    // The seven calculation preferences are mirrored into the automatic-city keys.
    EXPECT_EQ(shared()->doubleForKey("AutoCityGMT"), -6.0);
    EXPECT_EQ(shared()->integerForKey("AutoCityDST"), 1);
    EXPECT_EQ(shared()->integerForKey("AutoCityPrayerMethod"), 5);
    EXPECT_EQ(shared()->integerForKey("AutoCityAsrMethod"), 2);
    EXPECT_EQ(shared()->integerForKey("AutoCityHighLatMethod"), 3);
    EXPECT_EQ(shared()->doubleForKey("AutoCityFajrAngle"), 18.5);
    EXPECT_EQ(shared()->doubleForKey("AutoCityIshaAngle"), 17.5);

    // Either GMT marker is mirrored as 50 while the city keeps what it was given.
    city.setGMT(TarvoCity::kGMTFromTimeZoneLegacy);
    EXPECT_EQ(city.GMT(), -100.0);
    EXPECT_EQ(shared()->doubleForKey("AutoCityGMT"), 50.0);
    EXPECT_EQ(log_.count("DIRTY: SETTING GMT: -100.000000"), 1u);
}

TEST_F(TarvoCityRecordTest, LoadingSetsSilentlyAndTheAutomaticFlagStaysOn) {
    TarvoCity city;
    city.setIsLoadingFromDB(true);
    city.setCityName("Quiet");
    city.setPrayerMethod(3);
    city.setGMT(2);
    city.setCountryName("United States Minor Outlying Islands");
    city.setIsLoadingFromDB(false);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_FALSE(city.isDirty());
    EXPECT_FALSE(city.LastModDate().has_value());
    EXPECT_FALSE(shared()->objectForKey("AutoCityPrayerMethod").has_value());
    EXPECT_EQ(city.cityName(), "Quiet");
    EXPECT_EQ(city.prayerMethod(), 3);
    // The country name is shortened while loading too.
    EXPECT_EQ(city.countryName(), "United States");

    // Every city counts as automatic: switching the flag off is ignored on purpose.
    city.setIsAutomaticGPSLocation(false);
    EXPECT_TRUE(city.IsAutomaticGPSLocation());
    EXPECT_TRUE(TarvoCity().IsAutomaticGPSLocation());
}

TEST_F(TarvoCityRecordTest, CopiesStartCleanAndPreferencesCopyThroughTrackedSetters) {
    auto city = std::make_shared<TarvoCity>();
    city->setCityName("Cairo");
    city->setCountryName("Egypt");
    city->setStateName("Cairo Governorate");
    city->setTimeZone("Africa/Cairo");
    city->setLatitude(30.04);
    city->setLongitude(31.24);
    city->setGMT(2);
    city->setDSTPreference(2);
    city->setPrayerMethod(2);
    city->setAsrMethod(1);
    city->setAdjustHighLatitude(1);
    city->setCustomFajrAngle(19.5);
    city->setCustomIshaAngle(17.5);
    city->setIsSelectedCity(true);
    city->setPrimaryKey(7);
    city->setIsReverseGeocoded(true);
    city->setFoundGPSLocationIsValid(true);
    city->setIsBusyFetchingGPSCoordinates(true);
    city->setLastSyncDate(Date(1000));
    log_.clear();

    auto copy = city->copyWithZone();
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_FALSE(copy->isDirty());
    EXPECT_FALSE(copy->LastModDate().has_value());
    EXPECT_FALSE(copy->LastSyncDate().has_value());
    EXPECT_FALSE(copy->IsBusyFetchingGPSCoordinates());
    EXPECT_FALSE(copy->IsLoadingFromDB());
    EXPECT_EQ(copy->primaryKey(), 7);
    EXPECT_TRUE(copy->IsReverseGeocoded());
    EXPECT_TRUE(copy->isSelectedCity());
    EXPECT_EQ(copy->description(), "Cairo, Egypt");
    EXPECT_EQ(copy->stateName(), "Cairo Governorate");
    EXPECT_EQ(copy->TimeZone(), "Africa/Cairo");
    EXPECT_EQ(copy->customIshaAngle(), 17.5);

    // Copying the preferences goes through the other city's tracking and mirroring.
    shared()->removeObjectForKey("AutoCityAsrMethod");
    auto other = TarvoCity::InitWithDefaults();
    city->copyPrayerPreferencesToCity(other);
    EXPECT_TRUE(other->isDirty());
    EXPECT_TRUE(other->LastModDate().has_value());
    EXPECT_EQ(other->GMT(), 2.0);
    EXPECT_EQ(other->prayerMethod(), 2);
    EXPECT_EQ(other->customFajrAngle(), 19.5);
    EXPECT_EQ(other->cityName(), "London");
    EXPECT_EQ(shared()->integerForKey("AutoCityAsrMethod"), 1);
    EXPECT_EQ(log_.count("DIRTY: SETTING ASR METHOD: 1"), 1u);
}

TEST_F(TarvoCityRecordTest, ArchivingKeepsPositionFullAndAnglesInSinglePrecision) {
    TarvoCity city;
    city.setCityName("Mumbai");
    city.setCountryName("India");
    city.setTimeZone("Asia/Kolkata");
    city.setLatitude(19.0760123456789);
    city.setLongitude(72.8777123456789);
    city.setGMT(5.5);
    city.setCustomFajrAngle(18.2);
    city.setCustomIshaAngle(3.3);
    city.setPrayerMethod(3);
    city.setAsrMethod(2);
    city.setAdjustHighLatitude(4);
    city.setDSTPreference(2);
    city.setStateName("Maharashtra");
    log_.clear();

    auto decoded = roundTrip(city);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_FALSE(decoded->isDirty());
    EXPECT_FALSE(decoded->IsLoadingFromDB());
    EXPECT_EQ(decoded->GMT(), 5.5);
    // Angles come back through single precision on purpose; the position does not.
    EXPECT_EQ(decoded->customFajrAngle(), static_cast<double>(18.2f));
    EXPECT_NE(decoded->customFajrAngle(), 18.2);
    EXPECT_EQ(decoded->customIshaAngle(), static_cast<double>(3.3f));
    EXPECT_NEAR(decoded->customFajrAngle(), 18.2000007629, 1e-10);
    EXPECT_EQ(decoded->latitude(), 19.0760123456789);
    EXPECT_EQ(decoded->longitude(), 72.8777123456789);
    EXPECT_EQ(decoded->adjustHighLatitude(), 4);
    EXPECT_EQ(decoded->DSTPreference(), 2);
    EXPECT_EQ(decoded->description(), "Mumbai, India");
    EXPECT_EQ(decoded->TimeZone(), "Asia/Kolkata");
    // Only the listed fields travel.
    EXPECT_FALSE(decoded->stateName().has_value());

    // Absent names are archived as empty texts.
    auto unnamed = roundTrip(TarvoCity());
    ASSERT_TRUE(unnamed);
    EXPECT_EQ(unnamed->cityName(), "");
    EXPECT_EQ(unnamed->TimeZone(), "");
}

TEST_F(TarvoCityRecordTest, DecodingAValueOfTheWrongKindKeepsWhatWasDecoded) {
    KeyedArchiver archiver(std::string(TarvoCity::kArchiveClassName));
    archiver.encodeDouble(3.0, "GMT");
    archiver.encodeInteger(2, "DSTPreference");
    archiver.encodeObject("four", "prayerMethod");  // not a number
    archiver.encodeInteger(2, "asrMethod");
    archiver.encodeDouble(10.0, "latitude");
    archiver.encodeObject("Doha", "cityName");
    archiver.encodeObject(42, "countryName");  // not a string
    archiver.encodeObject("Asia/Qatar", "TimeZone");
    auto coder = KeyedUnarchiver::forReadingFromData(archiver.encodedData(), TarvoCity::kArchiveClassName);
    ASSERT_TRUE(coder);

    auto city = TarvoCity::initWithCoder(*coder);
    ASSERT_TRUE(city);
    EXPECT_EQ(log_.count("Error tring to decode city obj"), 2u);
    for (const auto& line : log_.lines()) EXPECT_EQ(line.level, Log::Level::error);
    EXPECT_EQ(city->GMT(), 3.0);
    EXPECT_EQ(city->DSTPreference(), 2);
    // Decoding stops at the bad number: later numbers stay unset, the names still come.
    EXPECT_EQ(city->asrMethod(), 0);
    EXPECT_EQ(city->latitude(), 0.0);
    EXPECT_EQ(city->cityName(), "Doha");
    EXPECT_FALSE(city->countryName().has_value());
    EXPECT_EQ(city->TimeZone(), "Asia/Qatar");
    EXPECT_FALSE(city->isDirty());
}

TEST_F(TarvoCityRecordTest, ResolvedOffsetDaylightSavingAndCountry) {
    TarvoCity city;
    city.setGMT(3.5);
    city.setTimeZone("Asia/Kolkata");
    EXPECT_EQ(city.getResolvedGMT(), 3.5);

    // Both markers resolve to the zone's offset in whole hours, cut toward zero.
    for (double marker : {TarvoCity::kGMTFromTimeZone, TarvoCity::kGMTFromTimeZoneLegacy}) {
        city.setGMT(marker);
        city.setTimeZone("Asia/Kolkata");  // +5:30 all year
        EXPECT_EQ(city.getResolvedGMT(), 5.0);
        city.setTimeZone("America/St_Johns");  // -3:30, or -2:30 in summer
        const double exact =
            static_cast<double>(tarvo::TimeZone::withName("America/St_Johns")->secondsFromGMT(Date::now())) / 3600.0;
        EXPECT_EQ(city.getResolvedGMT(), std::trunc(exact));
        EXPECT_GT(city.getResolvedGMT(), exact);
        city.setTimeZone("Nowhere/Atlantis");
        EXPECT_EQ(city.getResolvedGMT(), 0.0);
        city.setTimeZone("");
        EXPECT_EQ(city.getResolvedGMT(), 0.0);
    }

    city.setTimeZone("Asia/Kolkata");
    EXPECT_FALSE(city.isInDST());
    city.setTimeZone("Europe/London");
    EXPECT_EQ(city.isInDST(), tarvo::TimeZone::withName("Europe/London")->isDaylightSavingTime(Date::now()));
    city.setTimeZone("Nowhere/Atlantis");
    EXPECT_FALSE(city.isInDST());

    EXPECT_FALSE(city.isCountrySaudiArabia());
    city.setCountryName("SAUDI ARABIA");
    EXPECT_TRUE(city.isCountrySaudiArabia());
    city.setCountryName("Saudi Arabia");
    EXPECT_TRUE(city.isCountrySaudiArabia());
    city.setCountryName("Saudi Arabia ");
    EXPECT_FALSE(city.isCountrySaudiArabia());
}

TEST_F(TarvoCityRecordTest, PositionTextAndDescription) {
    TarvoCity city;
    EXPECT_EQ(city.getLatLongString(), "[ 0.00 N : 0.00 E ]");
    city.setLatitude(-33.8688);
    city.setLongitude(151.2093);
    // The sign stays beside the letter, as the text has always read.
    EXPECT_EQ(city.getLatLongString(), "[ -33.87 S : 151.21 E ]");
    city.setLatitude(51.5);
    city.setLongitude(-0.1167);
    EXPECT_EQ(city.getLatLongString(), "[ 51.50 N : -0.12 W ]");
    city.setLatitude(-12.05);
    city.setLongitude(-77.04);
    EXPECT_EQ(city.getLatLongString(), "[ -12.05 S : -77.04 W ]");

    city.setCityName("Lima");
    EXPECT_EQ(city.description(), "Lima");
    city.setCountryName("");
    EXPECT_EQ(city.description(), "Lima");
    city.setCountryName("Peru");
    EXPECT_EQ(city.description(), "Lima, Peru");
}

}  // namespace
}  // namespace tarvo
