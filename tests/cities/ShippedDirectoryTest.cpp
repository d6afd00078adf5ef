// The directory built from Debian's GeoNames data, and the rule that finds a directory file.
#include <random>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/ResultValue.h"
#include "support/SmallDirectory.h"
#include "support/SqliteScript.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo {
namespace {

// The nearest-city look-up searches a box around the position (the directory's R*Tree). It
// must name exactly the place the full scan names (the scan is what a directory without
// the box index gets), ties between places at one position included.
TEST(ShippedDirectory, NearestInTheBoxIsTheFullScansPlaceAndEveryPlaceIsFoundAtItsOwnPosition) {
    test::ScopedEnvironment environment;
    environment.unset(CityDirectory::kEnvironmentVariable);
    test::TempFolder scratch;
    const auto located = CityDirectory::locate();
    ASSERT_TRUE(located) << located.error().message;
    auto shipped = test::valueOrFailure(CityDirectory::open(*located));
    ASSERT_TRUE(shipped);
    SqliteDatabase& db = shipped->database();
    EXPECT_EQ(test::queryText(db, "SELECT count(*) || ' ' || (SELECT name || ', ' || country FROM cities LIMIT 1) || ' "
                                  "' || (SELECT code || ' ' || name FROM countries WHERE id = 682) || ' ' || (SELECT "
                                  "gmt FROM cities356 LIMIT 1) FROM cities"),
              "24361 Shanghai, China SA Saudi Arabia 5.5")
        << "biggest first";
    // Places at one position (in the builder's order: bigger first, equal sizes as given), at
    // the poles and on the antimeridian.
    test::SmallDirectory twins({{"Pole A", 90, 0, "NO", "", 5, "Europe/Oslo"},
                                {"Pole B", 90, 0, "NO", "", 5, "Europe/Oslo"},
                                {"South", -90, 180, "AU", "", 1, "Australia/Sydney"},
                                {"East Edge", -16.5, 180, "FJ", "", 7, "Pacific/Fiji"},
                                {"West Edge", -16.5, -180, "FJ", "", 7, "Pacific/Fiji"},
                                {"Small", 5, 5, "NG", "", 1, "Africa/Lagos"},
                                {"Big", 5, 5, "NG", "", 9, "Africa/Lagos"},
                                {"Other", 5, 5, "NG", "", 9, "Africa/Lagos"}});
    ASSERT_EQ(twins.build().status, 0) << twins.build().err;

    std::mt19937 random(18);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::vector<std::array<double, 3>> probes;  // latitude, longitude, threshold in km
    for (double lat : {90.0, -90.0, 89.9999, -16.5, 0.0, 65.0})
        for (double lon : {180.0, -180.0, 179.9999, -179.9999, 0.0, 5.0})
            for (double km : {0.0, 1.0, 60.0, 2500.0}) probes.push_back({lat, lon, km});
    probes.push_back({5, 5, -1});
    probes.push_back({5.0001, 5, 0.01});
    const double thresholds[] = {0.5, 5, 50, 100, 1000, 5000, 9400, 9500};
    for (int i = 0; i < 240; ++i) {
        probes.push_back({std::asin(unit(random)) * 180 / 3.141592653589793, 180 * unit(random), thresholds[i % 8]});
    }

    for (const auto& source : {*located, twins.path()}) {
        const auto scanned = scratch / "scanned.sqlite";
        std::filesystem::copy_file(source, scanned, std::filesystem::copy_options::overwrite_existing);
        ASSERT_TRUE(test::runSql(scanned, "DROP TABLE cityboxes"));
        auto boxed = test::valueOrFailure(CityDirectory::open(source));
        auto scan = test::valueOrFailure(CityDirectory::open(scanned));
        ASSERT_TRUE(boxed && scan);
        size_t found = 0;
        for (const auto& [lat, lon, km] : probes) {
            const auto expected = TarvoCity::GetCityForLat(lat, lon, &scan->database(), km, false);
            const auto actual = TarvoCity::GetCityForLat(lat, lon, &boxed->database(), km, false);
            ASSERT_EQ(!expected, !actual) << lat << ", " << lon << " within " << km;
            if (!expected) continue;
            ++found;
            EXPECT_EQ(actual->cityName(), expected->cityName()) << lat << ", " << lon << " within " << km;
            EXPECT_EQ(std::pair(actual->latitude(), actual->longitude()), std::pair(expected->latitude(), expected->longitude()));
        }
        EXPECT_GT(found, 120u) << "too few probes name a place to show anything";
    }
    // A sample of the shipped places at their own position, with a zero threshold: each
    // scores at least 1000 against itself (the builder sees to it), so the look-up names it
    // or a place at the very same position.
    SqliteStatement sample;
    ASSERT_EQ(sample.prepare(db, "SELECT lat, lon FROM cities WHERE rowid % 127 = 0"), 0);
    size_t sampled = 0;
    for (; sample.step() == 100; ++sampled) {
        const double lat = sample.columnDouble(0), lon = sample.columnDouble(1);
        const auto at = TarvoCity::GetCityForLat(lat, lon, &db, 0, false);
        ASSERT_TRUE(at) << lat << ", " << lon;
        EXPECT_EQ(std::pair(at->latitude(), at->longitude()), std::pair(lat, lon));
    }
    EXPECT_GT(sampled, 190u);
}

TEST(ShippedDirectory, FileIsFoundByTheDocumentedRule) {
    test::ScopedEnvironment environment;
    test::TempFolder scratch;
    environment.unset(CityDirectory::kEnvironmentVariable);
    const auto located = CityDirectory::locate();
    ASSERT_TRUE(located) << located.error().message;
    EXPECT_EQ(located->filename(), "cities.sqlite");

    // The environment names the only file looked at.
    environment.set(CityDirectory::kEnvironmentVariable, (scratch / "none.sqlite").string());
    EXPECT_NE(test::errorOrFailure(CityDirectory::locate()).find("none.sqlite"), std::string::npos);
    EXPECT_FALSE(CityDirectory::open(""));
    // A path the host passes comes first.
    EXPECT_TRUE(test::valueOrFailure(CityDirectory::open(*located)));

    // Files that are no city directory are refused, named, and left as they were.
    test::writeBytes(scratch / "text.sqlite", "not a database");
    EXPECT_NE(test::errorOrFailure(CityDirectory::open(scratch / "text.sqlite")).find("text.sqlite"),
              std::string::npos);
    EXPECT_EQ(test::readBytes(scratch / "text.sqlite"), "not a database");
    ASSERT_TRUE(test::runSql(scratch / "user.sqlite", "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY)"));
    EXPECT_NE(test::errorOrFailure(CityDirectory::open(scratch / "user.sqlite")).find("not a city directory"),
              std::string::npos);
    EXPECT_FALSE(CityDirectory::open(scratch / "absent.sqlite"));
    EXPECT_FALSE(std::filesystem::exists(scratch / "absent.sqlite"));
}

}  // namespace
}  // namespace tarvo
