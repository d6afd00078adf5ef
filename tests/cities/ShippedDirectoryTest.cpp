// The directory built from Debian's GeoNames data, and the rule that finds a directory file.
#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/SqliteScript.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo {
namespace {

TEST(ShippedDirectory, EveryPlaceIsFoundAtItsOwnPosition) {
    test::ScopedEnvironment environment;
    environment.unset(CityDirectory::kEnvironmentVariable);
    std::string error;
    auto directory = CityDirectory::open("", error);
    ASSERT_TRUE(directory) << error;
    SqliteDatabase& db = directory->database();
    EXPECT_EQ(test::queryText(db, "SELECT count(*) FROM cities"), "24361");
    EXPECT_EQ(test::queryText(db, "SELECT name || ', ' || country FROM cities LIMIT 1"), "Shanghai, China")
        << "biggest first";
    EXPECT_EQ(test::queryText(db, "SELECT code || ' ' || name FROM countries WHERE id = 682"), "SA Saudi Arabia");
    EXPECT_EQ(test::queryText(db, "SELECT gmt FROM cities356 LIMIT 1"), "5.5");

    // A sample across the table, with a zero threshold: each place scores at least 1000
    // against itself (the builder sees to it), so the look-up names it or a place at the
    // very same position.
    SqliteStatement sample;
    ASSERT_EQ(sample.prepare(db, "SELECT name, lat, lon FROM cities WHERE rowid % 127 = 0"), 0);
    std::vector<std::tuple<std::string, double, double>> places;
    while (sample.step() == 100)
        places.emplace_back(sample.columnText(0), sample.columnDouble(1), sample.columnDouble(2));
    ASSERT_GT(places.size(), 190u);
    for (const auto& [name, lat, lon] : places) {
        const auto found = TarvoCity::GetCityForLat(lat, lon, &db, 0, false);
        ASSERT_TRUE(found) << name;
        EXPECT_EQ(found->latitude(), lat) << name;
        EXPECT_EQ(found->longitude(), lon) << name;
    }
}

TEST(ShippedDirectory, FileIsFoundByTheDocumentedRule) {
    test::ScopedEnvironment environment;
    test::TempFolder scratch;
    environment.unset(CityDirectory::kEnvironmentVariable);
    std::string error;
    const auto located = CityDirectory::locate(error);
    ASSERT_TRUE(located) << error;
    EXPECT_EQ(located->filename(), "cities.sqlite");

    // The environment names the only file looked at.
    environment.set(CityDirectory::kEnvironmentVariable, (scratch / "none.sqlite").string());
    EXPECT_FALSE(CityDirectory::locate(error));
    EXPECT_NE(error.find("none.sqlite"), std::string::npos) << error;
    EXPECT_FALSE(CityDirectory::open("", error));
    // A path the host passes comes first.
    EXPECT_TRUE(CityDirectory::open(*located, error)) << error;

    // Files that are no city directory are refused, named, and left as they were.
    test::writeBytes(scratch / "text.sqlite", "not a database");
    EXPECT_FALSE(CityDirectory::open(scratch / "text.sqlite", error));
    EXPECT_NE(error.find("text.sqlite"), std::string::npos) << error;
    EXPECT_EQ(test::readBytes(scratch / "text.sqlite"), "not a database");
    ASSERT_TRUE(test::runSql(scratch / "user.sqlite", "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY)"));
    EXPECT_FALSE(CityDirectory::open(scratch / "user.sqlite", error));
    EXPECT_NE(error.find("not a city directory"), std::string::npos) << error;
    EXPECT_FALSE(CityDirectory::open(scratch / "absent.sqlite", error));
    EXPECT_FALSE(std::filesystem::exists(scratch / "absent.sqlite"));
}

}  // namespace
}  // namespace tarvo
