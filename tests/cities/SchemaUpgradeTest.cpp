// The schema upgrades and the user database that runs them once: old layouts upgraded in
// place, repeated upgrades, files that must not be touched.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "cities/SavedCitiesTestSupport.h"
#include "platform/TempFolder.h"

namespace tarvo {
namespace {

using test::SavedCitiesTest;
using test::TempFolder;

class SchemaUpgradeTest : public SavedCitiesTest {
protected:
    std::filesystem::path userPath() const { return UserDatabase::defaultPath(); }

    void createOldDatabaseWithRows() {
        createBaseLayout(userPath());
        ASSERT_TRUE(test::runSql(userPath(),
                                 "INSERT INTO savedcities (current_city, country_name, city_name, latitude, longitude, "
                                 "gmt, uses_dst, prayermethod, asrmethod, custom_fajrangle, custom_ishaangle) VALUES "
                                 "(0, 'Jordan', 'Amman', 31.95, 35.93, 2.0, 1, 1, 1, NULL, NULL), "
                                 "(1, 'Malaysia', 'Kuala Lumpur', 3.14, 101.69, 8.0, 0, 3, 1, NULL, NULL), "
                                 "(0, 'Canada', 'Calgary', 51.05, -114.07, -7.0, 1, 6, 2, 15.0, 14.0)"));
    }

    std::vector<std::string> schemaLines() const {
        std::vector<std::string> out;
        for (const auto& line : log_.startingWith("[DB]")) {
            if (line.find("Schema") != std::string::npos || line.find("updating") != std::string::npos) {
                out.push_back(line);
            }
        }
        return out;
    }
};

TEST_F(SchemaUpgradeTest, OldDatabaseIsUpgradedInPlaceOnceWithoutLosingRows) {
    createOldDatabaseWithRows();
    {
        auto user = openUserDatabase();
        ASSERT_TRUE(user);
        EXPECT_EQ(user->schemaVersion(), UserDatabase::kSchemaVersion);
        EXPECT_EQ(log_.count("[DB] UPDATE Schema"), 3u);
        EXPECT_EQ(log_.count("[DB] Done updating."), 3u);
        EXPECT_TRUE(log_.startingWith("[DB] [1] Schema ERROR").empty());

        SqliteDatabase& db = user->database();
        auto cities = TarvoCity::GetSavedCities(db);
        ASSERT_EQ(cities.size(), 3u);
        EXPECT_EQ(cities[0]->description(), "Amman, Jordan");
        EXPECT_EQ(cities[1]->description(), "Kuala Lumpur, Malaysia");
        EXPECT_EQ(cities[2]->description(), "Calgary, Canada");
        EXPECT_EQ(cities[2]->prayerMethod(), 6);
        EXPECT_EQ(cities[2]->customFajrAngle(), 15.0);
        EXPECT_EQ(cities[2]->asrMethod(), 2);
        // Every saved city now takes its offset from its zone, with the default high-latitude rule.
        for (const auto& city : cities) {
            EXPECT_EQ(city->GMT(), TarvoCity::kGMTFromTimeZone);
            EXPECT_EQ(city->adjustHighLatitude(), 0);
            EXPECT_EQ(city->TimeZone(), "");
            EXPECT_EQ(city->LastSyncDate(), Date(-1));
        }
        EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(db)->cityName(), "Kuala Lumpur");
        EXPECT_EQ(count(db, "SELECT count(*) FROM cachedcities"), 0);
        EXPECT_EQ(count(db, "SELECT count(*) FROM lastused"), 0);
        EXPECT_EQ(count(db, "SELECT count(*) FROM sqlite_master WHERE name = 'cacedcities_name'"), 1);
    }
    TarvoCity::resetStatementCache();

    // Opening again runs nothing.
    log_.clear();
    auto again = openUserDatabase();
    ASSERT_TRUE(again);
    EXPECT_EQ(log_.count("[DB] UPDATE Schema"), 0u);
    EXPECT_EQ(TarvoCity::GetSavedCities(again->database()).size(), 3u);
}

TEST_F(SchemaUpgradeTest, RunningUpgradesAgainLogsEveryStepItCannotRedo) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();
    ASSERT_EQ(db.exec("INSERT INTO savedcities (city_name, gmt, adjusthighlat) VALUES ('Baku', 4.0, 2)"), SQLITE_OK);

    log_.clear();
    TarvoCity::updateSchemav3_1(db, nullptr);
    const std::vector<std::string> v31 = {
        "[DB] UPDATE Schema",
        "[DB] [1] Schema ERROR: message 'duplicate column name: timezone'.",
        "[DB] [2] Schema ERROR: message 'duplicate column name: state_name'.",
        "[DB] [3] Schema ERROR: message 'duplicate column name: lastmoddate'.",
        "[DB] [4] Schema ERROR: message 'duplicate column name: lastsyncdate'.",
        "[DB] Done updating.",
    };
    EXPECT_EQ(schemaLines(), v31);
    EXPECT_EQ(log_.lines().front().level, Log::Level::verbose);

    // The last step of the second upgrade reports as [3] again and still runs.
    log_.clear();
    TarvoCity::updateSchemav3_2(db, nullptr);
    const std::vector<std::string> v32 = {
        "[DB] UPDATE Schema",
        "[DB] [1] Schema ERROR: message 'table cachedcities already exists'.",
        "[DB] [2] Schema ERROR: message 'index cacedcities_name already exists'.",
        "[DB] [3] Schema ERROR: message 'index cachedcities_soundex already exists'.",
        "[DB] [4] Schema ERROR: message 'table lastused already exists'.",
        "[DB] [3] Schema Updated",
        "[DB] Done updating.",
    };
    EXPECT_EQ(schemaLines(), v32);
    EXPECT_EQ(scalar(db, "SELECT gmt = 50 FROM savedcities"), "1");

    log_.clear();
    TarvoCity::updateSchemav3_3(db, nullptr);
    const std::vector<std::string> v33 = {
        "[DB] UPDATE Schema",
        "[DB] [1] Schema ERROR: message 'duplicate column name: adjusthighlat'.",
        "[DB] [2] Schema Updated",
        "[DB] Done updating.",
    };
    EXPECT_EQ(schemaLines(), v33);
    EXPECT_EQ(scalar(db, "SELECT adjusthighlat FROM savedcities"), "0");

    // On a database without the saved-cities table every step fails and the method carries on.
    SqliteDatabase empty;
    ASSERT_TRUE(empty.open(":memory:"));
    log_.clear();
    TarvoCity::updateSchemav3_3(empty, nullptr);
    EXPECT_EQ(log_.startingWith("[DB] [1] Schema ERROR").size(), 1u);
    EXPECT_EQ(log_.startingWith("[DB] [2] Schema ERROR").size(), 1u);
    EXPECT_EQ(log_.count("[DB] Done updating."), 1u);
}

TEST_F(SchemaUpgradeTest, LaterLayoutWithoutARecordedVersionIsRecognisedAndLeftAlone) {
    // A file from a host that kept its own record of the layout: fully upgraded, user_version 0.
    createOldDatabaseWithRows();
    {
        SqliteDatabase db;
        ASSERT_TRUE(db.open(userPath()));
        TarvoCity::updateSchemav3_1(db, nullptr);
        TarvoCity::updateSchemav3_2(db, nullptr);
        TarvoCity::updateSchemav3_3(db, nullptr);
        ASSERT_EQ(db.exec("UPDATE savedcities SET adjusthighlat = 4, gmt = 3.5"), SQLITE_OK);
        TarvoCity::resetStatementCache();
    }
    const auto before = TempFolder::readFile(userPath());
    log_.clear();
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    EXPECT_EQ(log_.count("[DB] UPDATE Schema"), 0u);
    EXPECT_EQ(user->schemaVersion(), 0);
    EXPECT_EQ(TempFolder::readFile(userPath()), before);
    auto cities = TarvoCity::GetSavedCities(user->database());
    ASSERT_EQ(cities.size(), 3u);
    EXPECT_EQ(cities[0]->adjustHighLatitude(), 4);
    EXPECT_EQ(cities[0]->GMT(), 3.5);
}

TEST_F(SchemaUpgradeTest, ForeignAndReadOnlyFilesAreRefusedAndLeftByteForByte) {
    const std::string garbage = "This is not a database.\n\x01\x02\x03 but it is somebody's file";
    TempFolder::writeFile(userPath(), garbage);
    std::string error;
    EXPECT_FALSE(UserDatabase::openDefault(error));
    EXPECT_NE(error.find("not an SQLite database"), std::string::npos) << error;
    EXPECT_NE(error.find(userPath().string()), std::string::npos) << error;
    const auto bytes = TempFolder::readFile(userPath());
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), garbage);

    // A valid database at the old layout, made read-only: not upgraded, not changed.
    std::filesystem::remove(userPath());
    createOldDatabaseWithRows();
    const auto before = TempFolder::readFile(userPath());
    ASSERT_EQ(::chmod(userPath().c_str(), 0444), 0);
    error.clear();
    EXPECT_FALSE(UserDatabase::openDefault(error));
    EXPECT_NE(error.find("read-only"), std::string::npos) << error;
    EXPECT_EQ(TempFolder::readFile(userPath()), before);
    EXPECT_EQ(log_.count("[DB] UPDATE Schema"), 0u);
    ::chmod(userPath().c_str(), 0644);
}

}  // namespace
}  // namespace tarvo
