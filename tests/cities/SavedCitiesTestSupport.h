#pragma once

// Shared set-up of the saved-cities tests: a fresh data folder, a fresh statement cache and
// helpers that look at the table directly.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "cities/LogLines.h"
#include "platform/ScopedDataFolder.h"
#include "platform/SqliteScript.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/SqliteDatabase.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo::test {

/// The saved-cities table as it was before the first upgrade.
inline constexpr const char* kBaseLayoutSql =
    "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY, current_city INTEGER, country_name VARCHAR(100), "
    "city_name VARCHAR(200), latitude DOUBLE, longitude DOUBLE, gmt DOUBLE, uses_dst INTEGER, prayermethod INTEGER, "
    "asrmethod INTEGER, custom_fajrangle DOUBLE, custom_ishaangle DOUBLE)";

class SavedCitiesTest : public ::testing::Test {
protected:
    // The statement slots are process-wide: every test starts and ends with them empty, so
    // no statement outlives the database it was prepared on.
    SavedCitiesTest() { TarvoCity::resetStatementCache(); }
    ~SavedCitiesTest() override { TarvoCity::resetStatementCache(); }

    /// The user database in the fresh data folder, created and upgraded.
    std::shared_ptr<UserDatabase> openUserDatabase() {
        std::string error;
        auto database = UserDatabase::openDefault(error);
        EXPECT_TRUE(database) << error;
        return database;
    }

    /// A database file with the saved-cities table as it was before any upgrade.
    static void createBaseLayout(const std::filesystem::path& path) { ASSERT_TRUE(runSql(path, kBaseLayoutSql)); }

    /// The first column of the first row of `sql` as text ("" for none or NULL).
    static std::string scalar(SqliteDatabase& database, const std::string& sql) {
        SqliteStatement statement;
        EXPECT_EQ(statement.prepare(database, sql), SQLITE_OK) << sql << ": " << database.errorMessage();
        return statement.step() == SQLITE_ROW ? statement.columnText(0) : std::string();
    }

    static int64_t count(SqliteDatabase& database, const std::string& sql) {
        return std::stoll("0" + scalar(database, sql));
    }

    static std::shared_ptr<TarvoCity> makeCity(const std::string& name, const std::string& country, double latitude,
                                               double longitude, const std::string& zone) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(name);
        city->setCountryName(country);
        city->setLatitude(latitude);
        city->setLongitude(longitude);
        city->setTimeZone(zone);
        city->setGMT(TarvoCity::kGMTFromTimeZone);
        city->setIsLoadingFromDB(false);
        return city;
    }

    ScopedDataFolder folder_;
    LogLines log_;
};

}  // namespace tarvo::test
