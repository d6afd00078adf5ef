// JAKIM's zones (the compiled list, codes as users type them, the zone of a position) and the
// user's angle and minute overrides over a method.
#include <gtest/gtest.h>

#include <cmath>

#include "calculation/CalculatorSetup.h"
#include "support/PublishedTimetable.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/MethodOverrides.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/calculation/PrayerZone.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/PrayerZoneLocator.h"
#include "tarvo/cities/TarvoCity.h"

using namespace tarvo;
using tarvo::test::noonOn;

TEST(PrayerZones, ListCodesAndReferencePoints) {
    const auto& zones = PrayerZone::all();
    ASSERT_EQ(zones.size(), 59u);  // e-Solat's list: JHR01 ... WLY02
    EXPECT_EQ(zones.front().code, "JHR01");
    EXPECT_EQ(zones.back().code, "WLY02");
    const PrayerZone* kl = PrayerZone::withCode(" wly01 ");
    ASSERT_NE(kl, nullptr);
    EXPECT_EQ(kl->districtList(), "Kuala Lumpur, Putrajaya");
    EXPECT_EQ(kl->latitude, 3.1412);
    EXPECT_EQ(kl->longitude, 101.68653);
    EXPECT_EQ(kl->source, PrayerZone::PositionSource::Directory);
    EXPECT_FALSE(PrayerZone::withCode("SWK09")->hasReferencePoint());
    EXPECT_EQ(PrayerZone::withCode("WLY03"), nullptr);
    EXPECT_EQ(PrayerZone::withCode(""), nullptr);
    // "WLY1" is one edit from WLY01 and two from WLY02.
    const auto closest = PrayerZone::closestCodes("WLY1");
    ASSERT_EQ(closest.size(), 3u);
    EXPECT_EQ(closest[0], "WLY01");
    EXPECT_EQ(closest[1], "WLY02");
    EXPECT_TRUE(PrayerZone::meansAutomatic(" AUTO"));
    EXPECT_FALSE(PrayerZone::meansAutomatic("WLY01"));
}

TEST(PrayerZones, WLY01AtItsReferencePointReproducesThePublished2024Table) {
    // e-Solat's WLY01 year 2024 (366 days, six times a day): every time within a minute.
    const auto a = test::compareWithPublished(TARVO_SOURCE_DIR "/tests/data/zones/jakim-wly01-2024.csv",
                                              *CalculationMethod::numberForName("jakim"));
    EXPECT_EQ(a.compared, 2196);
    EXPECT_EQ(a.withinOneMinute, 2196);
    EXPECT_LE(a.worst, 1);
}

TEST(PrayerZones, ZoneOfAPositionInMalaysiaOnly) {
    auto directory = CityDirectory::open(TARVO_SHIPPED_CITY_DIRECTORY);
    ASSERT_TRUE(directory) << directory.error().message;
    // Town centres, each checked against e-Solat's district list by hand.
    struct Town {
        const char* name;
        double lat, lon;
        const char* zone;
    };
    for (const Town& t : {Town{"Ipoh", 4.5975, 101.0901, "PRK02"}, Town{"Kota Kinabalu", 5.9804, 116.0735, "SBH07"},
                          Town{"Kuching", 1.5533, 110.3592, "SWK08"}, Town{"Alor Setar", 6.1184, 100.3685, "KDH01"},
                          Town{"Kuantan", 3.8168, 103.3317, "PHG02"}, Town{"Seremban", 2.7259, 101.9424, "NGS03"},
                          Town{"Miri", 4.4148, 114.0089, "SWK02"}}) {
        auto zone = PrayerZoneLocator::zoneAt(**directory, t.lat, t.lon);
        ASSERT_TRUE(zone) << t.name << ": " << zone.error().message;
        EXPECT_EQ((*zone)->code, t.zone) << t.name;
    }
    // Singapore lies between JHR02's reference point and the sea, but is not Malaysia.
    auto singapore = PrayerZoneLocator::zoneAt(**directory, 1.2897, 103.8501);
    ASSERT_FALSE(singapore);
    EXPECT_NE(singapore.error().message.find("Singapore"), std::string::npos) << singapore.error().message;
    // The open sea far from any town.
    EXPECT_FALSE(PrayerZoneLocator::zoneAt(**directory, 5.0, 108.0));

    const auto city = PrayerZoneLocator::cityFor(*PrayerZone::withCode("PRK02"));
    ASSERT_NE(city, nullptr);
    EXPECT_EQ(city->cityName(), "PRK02 Ipoh");
    EXPECT_EQ(city->TimeZone(), "Asia/Kuala_Lumpur");
    EXPECT_EQ(city->prayerMethod(), 9);
    EXPECT_EQ(PrayerZoneLocator::cityFor(*PrayerZone::withCode("SWK09")), nullptr);
}

TEST(MethodOverridesTest, ContradictionsAndRangesAreRefused) {
    using O = std::optional<double>;
    // Fajr angle, Isha angle, Maghrib minutes, Isha minutes; "" when they are accepted.
    const auto problem = [](O fajr, O isha, O maghribMinutes, O ishaMinutes) {
        return MethodOverrides{fajr, isha, maghribMinutes, ishaMinutes}.problem().value_or("");
    };
    EXPECT_EQ(problem({}, {}, {}, {}), "");
    EXPECT_EQ(problem(19.5, {}, 0.0, 90.0), "");  // Maghrib at sunset is a choice
    EXPECT_EQ(problem({}, 17.0, {}, 90.0), "give Isha either as an angle or as minutes after Maghrib, not both");
    EXPECT_EQ(problem(0.0, {}, {}, {}), "Fajr angle 0 is outside (0, 90] degrees");
    EXPECT_EQ(problem({}, 90.5, {}, {}), "Isha angle 90.5 is outside (0, 90] degrees");
    EXPECT_EQ(problem(90.0, {}, 1440.0, 1440.0), "");  // the bounds themselves
    EXPECT_EQ(problem({}, {}, -1.0, {}), "Maghrib interval -1 is outside 0 to 1440 minutes");
    EXPECT_EQ(problem({}, {}, 1441.0, {}), "Maghrib interval 1441 is outside 0 to 1440 minutes");
    EXPECT_EQ(problem({}, {}, {}, 0.0), "Isha interval 0 is outside (0, 1440] minutes");
    EXPECT_NE(problem(std::nan(""), {}, {}, {}), "");
}

TEST(MethodOverridesTest, MinutesOverAMethodKeepItsOtherNumbers) {
    const test::Place karachiCentre{24.8607, 67.0011, "Asia/Karachi"};
    // Karachi (18 degrees, 18 degrees) with Maghrib 5 minutes after sunset and Isha 90 after
    // Maghrib: the custom entry holds Karachi's Fajr and the two minute rules.
    PrayerCalculator karachi = test::configured({.method = 3});
    PrayerCalculator changed = test::configured({.method = 3});
    MethodOverrides{std::nullopt, std::nullopt, 5.0, 90.0}.applyTo(changed);
    EXPECT_EQ(changed.calcMethod(), 6);
    EXPECT_EQ(changed.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 5, 1, 90}));
    const auto k = test::dayAt(karachi, noonOn(2024, 3, 1), karachiCentre);
    const auto c = test::dayAt(changed, noonOn(2024, 3, 1), karachiCentre);
    EXPECT_EQ(c[PrayerCalculator::Fajr], k[PrayerCalculator::Fajr]);
    EXPECT_NEAR((c[PrayerCalculator::Maghrib] - c[PrayerCalculator::Sunset]) * 60, 5, 1e-9);
    EXPECT_NEAR((c[PrayerCalculator::Isha] - c[PrayerCalculator::Maghrib]) * 60, 90, 1e-9);
    // A contradiction changes nothing.
    PrayerCalculator refused = test::configured({.method = 3});
    MethodOverrides{std::nullopt, 17.0, std::nullopt, 90.0}.applyTo(refused);
    EXPECT_EQ(refused.calcMethod(), 3);

    // A city's minutes reach the calculator; one carrying Isha both ways keeps the minutes.
    TarvoCity city;
    city.setLatitude(24.8607);
    city.setLongitude(67.0011);
    city.setPrayerMethod(3);
    city.setCustomIshaAngle(17);
    city.setIshaMinutes(75.0);
    city.setMaghribMinutes(3.0);
    PrayerCalculator fromCity;
    configureCalculatorFromCity(fromCity, city);
    EXPECT_EQ(fromCity.methodParams().at(6), (PrayerCalculator::MethodParams{0, 18, 1, 3, 1, 75}));
}
