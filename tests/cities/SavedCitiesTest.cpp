// The saved-cities store and the user database: selection, the three row readers, deleting,
// syncing, the statement cache, schema upgrades in place, a full disk during the first open
// and several threads at once (the faults both stores share are in StoreFaultsTest).
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/DataFolder.h"
#include "support/FaultyStorage.h"
#include "support/LogCapture.h"
#include "support/ResultValue.h"
#include "support/SqliteScript.h"
#include "cities/SavedCitySchema.h"
#include "cities/UserDatabaseImpl.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo {
namespace {

using test::queryText;
using test::readBytes;
using Names = std::vector<std::string>;

class SavedCitiesTest : public ::testing::Test {
protected:
    /// The user database in the fresh data folder, opened (and upgraded) on first use.
    UserDatabase& user() {
        if (!user_) {
            auto opened = UserDatabase::openDefault();
            if (!opened) throw std::runtime_error(opened.error().message);
            user_ = *opened;
        }
        return *user_;
    }
    /// Its connection, for SQL of the test's own.
    SqliteDatabase& db() { return internals(user()).database; }

    /// The user database file at the layout before any upgrade, with three rows.
    static void createOldDatabase() {
        ASSERT_TRUE(test::runSql(
            UserDatabase::defaultPath(),
            "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY, current_city INTEGER, country_name VARCHAR(100), "
            "city_name VARCHAR(200), latitude DOUBLE, longitude DOUBLE, gmt DOUBLE, uses_dst INTEGER, "
            "prayermethod INTEGER, asrmethod INTEGER, custom_fajrangle DOUBLE, custom_ishaangle DOUBLE);"
            "INSERT INTO savedcities (current_city, country_name, city_name, gmt, prayermethod, asrmethod, "
            "custom_fajrangle) VALUES (0, 'Jordan', 'Amman', 2.0, 1, 1, NULL), (1, 'Malaysia', 'Kuala Lumpur', 8.0, "
            "3, 1, NULL), (0, 'Canada', 'Calgary', -7.0, 6, 2, 15.0)"));
    }

    static std::shared_ptr<TarvoCity> makeCity(const std::string& name, double latitude, int64_t method = 1) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(name);
        city->setCountryName("Testland");
        city->setLatitude(latitude);
        city->setTimeZone("UTC");
        city->setPrayerMethod(method);
        city->setCustomFajrAngle(18.5);  // the insert carries no custom angles
        city->setIsLoadingFromDB(false);
        return city;
    }

    /// The names of the saved cities, in the list's order.
    std::vector<std::string> savedNames() {
        std::vector<std::string> names;
        for (const auto& city : TarvoCity::GetSavedCities(user())) names.push_back(city->cityName().value_or("?"));
        return names;
    }

    test::ScopedDataFolder folder_;
    test::LogCapture log_;
    std::shared_ptr<UserDatabase> user_;
};

TEST_F(SavedCitiesTest, SavingMarksEachNewCityCurrentSyncNeverWritesAndDeleteAnswersLondon) {
    EXPECT_TRUE(TarvoCity::initWithCurrentSelectionUsingDB(user())->isDefaultCity()) << "none saved: London";
    auto makkah = makeCity("Makkah", 21.4225, 4);
    EXPECT_EQ(TarvoCity::saveNewCity(makkah, user()), makkah);
    EXPECT_EQ(makkah->primaryKey(), TarvoCity::getLastSessionID(user()));
    auto current = TarvoCity::initWithCurrentSelectionUsingDB(user());
    EXPECT_EQ(fmt::format("{} {} {} {}", current->primaryKey() == makkah->primaryKey(), current->description(),
                          current->prayerMethod(), current->customFajrAngle()),
              "true Makkah, Testland 4 0");
    // A second city is current too: keeping one selection is the host's job (selectCity).
    auto oslo = TarvoCity::saveNewCity(makeCity("Oslo", 59.91), user());
    EXPECT_EQ(queryText(db(), "SELECT count(*) FROM savedcities WHERE current_city = 1"), "2");
    ASSERT_TRUE(user_->selectCity(oslo->primaryKey()));
    EXPECT_FALSE(user_->selectCity(oslo->primaryKey() + 10));
    auto all = TarvoCity::GetSavedCities(user());
    ASSERT_EQ(all.size(), 2u);
    EXPECT_TRUE(!all[0]->isSelectedCity() && all[1]->isSelectedCity());

    // dbSync of an edited saved city writes nothing: every city counts as automatic.
    all[0]->setCityName("Mecca");
    all[0]->dbSync(user());
    EXPECT_TRUE(all[0]->isDirty());
    EXPECT_EQ(TarvoCity::GetSavedCities(user()).front()->cityName(), "Makkah");
    for (int round = 0; round < 2; ++round) {  // deleting a key that is gone is no error either
        EXPECT_TRUE(TarvoCity::DeleteCity(user(), makkah->primaryKey())->isDefaultCity());
    }
    EXPECT_FALSE(user_->containsCity(makkah->primaryKey()));

    // Keys past 32 bits are read and written whole: a cut one would select another row.
    ASSERT_EQ(db().exec("INSERT INTO savedcities (pk, city_name) VALUES (2147483653, 'Big')"), SQLITE_OK);
    const auto jeddah = test::valueOrFailure(user_->addCity(makeCity("Jeddah", 21.54)));
    ASSERT_TRUE(jeddah);
    EXPECT_EQ(jeddah->primaryKey(), 2147483654);
    EXPECT_EQ(TarvoCity::initWithPrimaryKey(2147483654, user())->cityName(), "Jeddah");
    EXPECT_EQ(queryText(db(), "SELECT group_concat(pk) FROM savedcities WHERE current_city = 1"), "2147483654");
}

TEST_F(SavedCitiesTest, EachReaderFillsARowInItsOwnWay) {
    ASSERT_EQ(db().exec("INSERT INTO savedcities (pk, current_city, gmt, prayermethod, asrmethod, adjusthighlat) "
                        "VALUES (5, 1, 3.0, 99, 3, 2); INSERT INTO savedcities VALUES (3, 0, 'United States of "
                        "America', 'Houston', 29.76, -95.37, -6.0, 1, 5, 2, 15.0, 15.5, 'America/Chicago', 'Texas', "
                        "1700000000.25, 1600000000.5, 3, 0, NULL, NULL, NULL, NULL)"),
              SQLITE_OK);
    // The list reader: bad methods become 0, missing names London's, a missing zone stays empty.
    auto listed = TarvoCity::GetSavedCities(user());
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(fmt::format("{}|{}|{} {} {}", listed[1]->description(), listed[1]->TimeZone().value_or("-"),
                          listed[1]->prayerMethod(), listed[1]->asrMethod(), listed[1]->adjustHighLatitude()),
              "London, United Kingdom||0 0 2");
    EXPECT_EQ(listed[0]->stateName(), "Texas");
    // The selection reader fills a missing zone with London's.
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(user())->TimeZone(), "Europe/London");

    // The primary-key reader replaces bad methods with 1 instead...
    EXPECT_EQ(TarvoCity::initWithPrimaryKey(5, user())->prayerMethod(), 1);
    // ...reads its last columns one place off, by design: the state name gets lastmoddate's
    // text, LastModDate gets lastsyncdate, LastSyncDate a column past the end...
    auto houston = TarvoCity::initWithPrimaryKey(3, user());
    EXPECT_EQ(houston->stateName(), queryText(db(), "SELECT CAST(lastmoddate AS TEXT) FROM savedcities WHERE pk = 3"));
    EXPECT_EQ(houston->LastModDate(), Date(1600000000.5));
    EXPECT_EQ(houston->LastSyncDate(), Date(0));
    EXPECT_EQ(fmt::format("{} {}", houston->description(), houston->customIshaAngle()), "Houston, United States 15.5");
    // ...and goes through the tracked setters: mirrored, then marked clean.
    EXPECT_FALSE(houston->isDirty());
    EXPECT_EQ(UserDefaults::sharedUserDefaultsObj()->integerForKey("AutoCityPrayerMethod"), 5);
    EXPECT_TRUE(TarvoCity::initWithPrimaryKey(99, user())->isDefaultCity());

    // An authority's method after the original seven (8, Diyanet) is a valid method that every
    // reader keeps; 25 is past the catalogue and still replaced.
    ASSERT_EQ(db().exec("UPDATE savedcities SET prayermethod = 8 WHERE pk = 5; "
                        "UPDATE savedcities SET prayermethod = 25 WHERE pk = 3"), SQLITE_OK);
    EXPECT_EQ(TarvoCity::initWithPrimaryKey(5, user())->prayerMethod(), 8);
    EXPECT_EQ(TarvoCity::initWithPrimaryKey(3, user())->prayerMethod(), 1);
    listed = TarvoCity::GetSavedCities(user());
    EXPECT_EQ(fmt::format("{} {}", listed[0]->prayerMethod(), listed[1]->prayerMethod()), "0 8");
}

TEST_F(SavedCitiesTest, StatementsAreCachedPerConnectionAndFinalisedOnesFailUntilTheCacheIsEmptied) {
    TarvoCity::saveNewCity(makeCity("Rabat", 34.02), user());
    TarvoCity::initWithCurrentSelectionUsingDB(user());
    TarvoCity::finalizeStatements(user());
    EXPECT_TRUE(TarvoCity::initWithCurrentSelectionUsingDB(user())->isDefaultCity());
    EXPECT_EQ(TarvoCity::saveNewCity(makeCity("Agadir", 30.42), user())->primaryKey(), -1);
    EXPECT_EQ(queryText(db(), "SELECT count(*) FROM savedcities"), "1");
    TarvoCity::resetStatementCache(user());
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(user())->cityName(), "Rabat");

    // Each connection prepares its own statements: a second database lists and changes its
    // own rows only, whichever connection prepared a statement first.
    ASSERT_EQ(savedNames(), Names{"Rabat"});
    auto other = test::valueOrFailure(UserDatabase::open(folder_ / "other.sqlite"));
    ASSERT_TRUE(other);
    EXPECT_TRUE(TarvoCity::GetSavedCities(*other).empty());
    EXPECT_EQ(TarvoCity::saveNewCity(makeCity("Fes", 34.03), *other)->primaryKey(), 1);
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(*other)->cityName(), "Fes");
    EXPECT_EQ(savedNames(), Names{"Rabat"});
    // Closing a connection finalises its statements with it, so the file is closed at once
    // (not kept open by statements left behind), and a new connection to it prepares afresh.
    const auto path = std::filesystem::canonical(folder_ / "other.sqlite");
    auto descriptorsOn = [&path] {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            if (std::filesystem::read_symlink(entry.path(), error) == path) ++count;
        }
        return count;
    };
    ASSERT_GT(descriptorsOn(), 0);
    other.reset();
    EXPECT_EQ(descriptorsOn(), 0);
    other = test::valueOrFailure(UserDatabase::open(folder_ / "other.sqlite"));
    ASSERT_TRUE(other);
    EXPECT_EQ(TarvoCity::GetSavedCities(*other).size(), 1u);
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(user())->cityName(), "Rabat");
}

TEST_F(SavedCitiesTest, OldDatabaseIsUpgradedInPlaceOnceWithoutLosingRowsUnlessItIsReadOnly) {
    // A recorded layout is believed only when its tables are there: none, a negative number,
    // or one far ahead of tables that are still the first layout, are upgraded from the tables.
    const auto path = UserDatabase::defaultPath();
    for (const int recorded : {0, -1, 64}) {
        SCOPED_TRACE(recorded);
        createOldDatabase();
        ASSERT_TRUE(test::runSql(path, "PRAGMA user_version = " + std::to_string(recorded)));
        const std::string before = readBytes(path);
        ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
        EXPECT_NE(test::errorOrFailure(UserDatabase::openDefault()).find("read-only"), std::string::npos);
        EXPECT_EQ(readBytes(path), before);
        ASSERT_EQ(::chmod(path.c_str(), 0644), 0);

        auto cities = TarvoCity::GetSavedCities(user());
        EXPECT_EQ(user_->schemaVersion(), UserDatabase::kSchemaVersion);
        ASSERT_EQ(cities.size(), 3u);
        EXPECT_EQ(fmt::format("{} {}", cities[2]->description(), cities[2]->customFajrAngle()), "Calgary, Canada 15");
        // Every saved city now takes its offset from its zone, with the default high-latitude rule.
        for (const auto& city : cities) EXPECT_EQ(std::pair(city->GMT(), city->adjustHighLatitude()), std::pair(50.0, int64_t{0}));
        EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(user())->cityName(), "Kuala Lumpur");
        EXPECT_EQ(queryText(db(), "SELECT count(*) FROM sqlite_master WHERE name IN ('cacedcities_name', 'lastused')"), "2");
        // ...and none has chosen a polar resolution or Maghrib and Isha minutes.
        for (const auto& city : cities) {
            EXPECT_EQ(fmt::format("{} {} {}", city->polarResolution(), city->maghribMinutes().has_value(),
                                  city->ishaMinutes().has_value()),
                      "0 false false");
        }
        user_.reset();
        std::filesystem::remove(path);
    }
}

TEST_F(SavedCitiesTest, UpgradedLayoutsAreLeftAlone) {
    createOldDatabase();
    ASSERT_EQ(db().exec("UPDATE savedcities SET adjusthighlat = 4"), SQLITE_OK);
    user_.reset();
    // Fully upgraded by a host that kept its own record of the layout (user_version 0), or a
    // later app's layout (a higher number, our tables all there): both read, never rewritten.
    for (const int recorded : {0, 9}) {
        ASSERT_TRUE(test::runSql(UserDatabase::defaultPath(), "PRAGMA user_version = " + std::to_string(recorded)));
        const std::string before = readBytes(UserDatabase::defaultPath());
        EXPECT_EQ(TarvoCity::GetSavedCities(user())[0]->adjustHighLatitude(), 4) << recorded;
        if (recorded == 9) { EXPECT_EQ(user_->schemaVersion(), 9); }
        EXPECT_EQ(readBytes(UserDatabase::defaultPath()), before) << recorded;
        user_.reset();
    }
    // A file of the layout before the city kept its own choices, as the three upgrades leave
    // it, and one of the layout before the angle overrides (four upgrades, a method-3 city
    // still carrying a custom Fajr angle): only the new columns are added, every value stays.
    for (const int layout : {3, 4}) {
        SCOPED_TRACE(layout);
        std::filesystem::remove(UserDatabase::defaultPath());
        createOldDatabase();
        {
            SqliteDatabase host;  // a host running the upgrades itself
            ASSERT_TRUE(host.open(UserDatabase::defaultPath()));
            for (int64_t step = 1; step <= layout; ++step) upgradeSavedCityLayout(host, step);
            ASSERT_EQ(host.exec(fmt::format("UPDATE savedcities SET adjusthighlat = 4, timezone = 'Asia/Amman'; "
                                            "UPDATE savedcities SET custom_fajrangle = 19.5 WHERE prayermethod = 3; "
                                            "PRAGMA user_version = {}",
                                            layout)),
                      SQLITE_OK);
        }
        const auto cities = TarvoCity::GetSavedCities(user());
        EXPECT_EQ(user_->schemaVersion(), 5);
        ASSERT_EQ(cities.size(), 3u);
        EXPECT_EQ(fmt::format("{} {} {} {} {}", cities[2]->description(), cities[2]->adjustHighLatitude(),
                              cities[2]->TimeZone().value_or("-"), cities[2]->customFajrAngle(),
                              cities[2]->polarResolution()),
                  "Calgary, Canada 4 Asia/Amman 15 0");
        // The custom angle stays where it was; no override appears for it.
        EXPECT_EQ(fmt::format("{} {} {} {}", cities[1]->cityName().value_or("-"), cities[1]->prayerMethod(),
                              cities[1]->customFajrAngle(), cities[1]->fajrAngleOverride().has_value()),
                  "Kuala Lumpur 3 19.5 false");
        EXPECT_EQ(queryText(db(), "SELECT count(*) FROM savedcities WHERE fajr_angle_override IS NULL AND "
                                  "isha_angle_override IS NULL"),
                  "3");
        // A step run again reports its columns as already there and carries on.
        auto duplicates = [this] {
            std::string steps;
            for (const char* step : {"[1]", "[2]", "[3]"}) {
                if (log_.hasError(fmt::format("[DB] {} Schema ERROR: message 'duplicate column name", step))) steps += step;
            }
            return steps;
        };
        log_.clear();
        TarvoCity::updateSchemav3_4(user(), nullptr);
        EXPECT_EQ(duplicates(), "[1][2][3]");
        log_.clear();
        TarvoCity::updateSchemav3_5(user(), nullptr);
        EXPECT_EQ(duplicates(), "[1][2]");
        EXPECT_EQ(log_.count("[DB] Done updating."), 1u);
        user_.reset();
    }
}

TEST_F(SavedCitiesTest, SavedCityKeepsItsPolarResolutionAndMaghribAndIshaMinutes) {
    auto tromso = makeCity("Tromso", 69.65);
    tromso->setPolarResolution(2);  // nearest day
    tromso->setIshaMinutes(90.0);
    tromso->setFajrAngleOverride(16.0);
    db();
    const auto saved = test::valueOrFailure(user_->addCity(tromso));
    ASSERT_TRUE(saved);
    auto oslo = makeCity("Oslo", 59.91);
    oslo->setCustomFajrAngle(0);
    oslo->setMaghribMinutes(0.0);  // Maghrib at sunset: a choice, not "none"
    ASSERT_TRUE(user_->addCity(oslo));
    ASSERT_TRUE(user_->addCity(makeCity("Bergen", 60.39)));
    EXPECT_EQ(queryText(db(), "SELECT group_concat(ifnull(polar_resolution, 'x') || '/' || ifnull(maghrib_minutes, "
                              "'-') || '/' || ifnull(isha_minutes, '-'), ' ') FROM savedcities"),
              "2/-/90.0 0/0.0/- 0/-/-");
    EXPECT_EQ(queryText(db(), "SELECT group_concat(ifnull(fajr_angle_override, '-') || '/' || "
                              "ifnull(isha_angle_override, '-'), ' ') FROM savedcities"),
              "16.0/- -/- -/-");
    // Every reader gives them back; the primary-key reader keeps its dates where they were.
    const auto listed = TarvoCity::GetSavedCities(user());
    ASSERT_EQ(listed.size(), 3u);
    auto choices = [](const TarvoCity& city) {
        auto shown = [](const std::optional<double>& value) { return value ? fmt::format("{}", *value) : "-"; };
        return fmt::format("{} {} {} {} {}", city.polarResolution(), shown(city.maghribMinutes()),
                           shown(city.ishaMinutes()), shown(city.fajrAngleOverride()), shown(city.ishaAngleOverride()));
    };
    EXPECT_EQ(choices(*listed[0]) + "|" + choices(*listed[1]) + "|" + choices(*listed[2]),
              "2 - 90 16 -|0 0 - - -|0 - - - -");
    const auto byKey = TarvoCity::initWithPrimaryKey(saved->primaryKey(), user());
    EXPECT_EQ(choices(*byKey), "2 - 90 16 -");
    EXPECT_EQ(byKey->LastSyncDate(), Date(0));
    ASSERT_TRUE(user_->selectCity(saved->primaryKey()));
    EXPECT_EQ(choices(*TarvoCity::initWithCurrentSelectionUsingDB(user())), "2 - 90 16 -");
}

TEST_F(SavedCitiesTest, FullDiskDuringTheFirstOpenLeavesNoHalfUpgradedFile) {
    createOldDatabase();
    const auto path = UserDatabase::defaultPath();
    const std::string before = readBytes(path);
    {
        test::FaultyStorage storage;
        storage.set(test::FaultyStorage::Fault::diskFull);
        EXPECT_EQ(test::errorOrFailure(UserDatabase::openDefault()), path.string() + ": upgrade to layout 1 failed");
    }
    EXPECT_EQ(readBytes(path), before);
    EXPECT_EQ(TarvoCity::GetSavedCities(user()).size(), 3u);
    EXPECT_EQ(user_->schemaVersion(), UserDatabase::kSchemaVersion);
}

using SavedCitiesConcurrent = SavedCitiesTest;

TEST_F(SavedCitiesConcurrent, SaversReadersAndDeletersShareTheCachedStatements) {
    UserDatabase& database = user();
    std::vector<std::vector<std::shared_ptr<TarvoCity>>> savedBy(3);
    std::atomic<bool> saving{true};
    std::atomic<int> wrongReads{0};
    std::vector<std::thread> savers;
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t) {
        savers.emplace_back([&, t] {
            for (int i = 0; i < 12; ++i) {
                auto city = makeCity("City " + std::to_string(t) + "-" + std::to_string(i), t, 1 + i % 7);
                savedBy[static_cast<size_t>(t)].push_back(TarvoCity::saveNewCity(city, database));
                TarvoCity::DeleteCity(database, 100000 + i);  // a row nobody has: changes nothing
            }
        });
    }
    // Readers: every listed city must be complete, the selection must be a saved city.
    for (int r = 0; r < 2; ++r) {
        readers.emplace_back([&] {
            while (saving) {
                for (const auto& city : TarvoCity::GetSavedCities(database)) {
                    if (city->countryName() != "Testland" || city->prayerMethod() < 1) ++wrongReads;
                }
                const auto current = TarvoCity::initWithCurrentSelectionUsingDB(database);
                if (current->cityName() != "London" && current->countryName() != "Testland") ++wrongReads;
            }
        });
    }
    for (auto& thread : savers) thread.join();
    saving = false;
    for (auto& thread : readers) thread.join();
    EXPECT_EQ(wrongReads.load(), 0);
    for (const auto& cities : savedBy) {  // each save got the key of its own row
        for (const auto& city : cities) {
            EXPECT_EQ(TarvoCity::initWithPrimaryKey(city->primaryKey(), database)->cityName(), city->cityName());
        }
    }
    EXPECT_EQ(queryText(db(), "SELECT count(*) FROM savedcities"), "36");
}

}  // namespace
}  // namespace tarvo
