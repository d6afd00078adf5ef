// The saved-cities store on a fresh database: selection, saving, reading, deleting, syncing
// and the statement cache.
#include <gtest/gtest.h>

#include "cities/SavedCitiesTestSupport.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using test::SavedCitiesTest;

TEST_F(SavedCitiesTest, EmptyTableGivesLondonAndSavingMarksEachNewCityCurrent) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();

    auto none = TarvoCity::initWithCurrentSelectionUsingDB(db);
    EXPECT_EQ(none->description(), "London, United Kingdom");
    EXPECT_TRUE(none->isDefaultCity());
    EXPECT_EQ(log_.count("[DB] [DB] Init With Current Selection"), 1u);
    EXPECT_EQ(log_.count("[DB]   Could not load default city, res: " + std::to_string(SQLITE_DONE)), 1u);

    auto makkah = makeCity("Makkah", "Saudi Arabia", 21.4225, 39.8262, "Asia/Riyadh");
    makkah->setPrayerMethod(4);
    makkah->setAsrMethod(1);
    makkah->setAdjustHighLatitude(2);
    makkah->setDSTPreference(2);
    makkah->setCustomFajrAngle(18.5);
    log_.clear();
    auto saved = TarvoCity::saveNewCity(makkah, db);
    EXPECT_EQ(saved, makkah);
    EXPECT_EQ(saved->primaryKey(), count(db, "SELECT max(pk) FROM savedcities"));
    EXPECT_GT(saved->primaryKey(), 0);
    const std::vector<std::string> expectedLines = {"[DB] [DB] Save New City", "[DB] [DB] Get Last Session",
                                                    "[DB] Get Saved Cities", "[DB] [DB] DB Sync"};
    EXPECT_EQ(log_.startingWith("[DB]"), expectedLines);
    EXPECT_EQ(TarvoCity::getLastSessionID(db), saved->primaryKey());
    // The missing state name was filled in through its tracked setter.
    EXPECT_EQ(saved->stateName(), "");
    EXPECT_EQ(log_.count("DIRTY: SETTING STATE NAME: "), 1u);

    const std::string pk = std::to_string(saved->primaryKey());
    EXPECT_EQ(scalar(db, "SELECT current_city FROM savedcities WHERE pk = " + pk), "1");
    EXPECT_EQ(count(db, "SELECT count(*) FROM savedcities WHERE gmt = 50 AND pk = " + pk), 1);
    // The insert carries no custom angles.
    EXPECT_EQ(scalar(db, "SELECT typeof(custom_fajrangle) FROM savedcities WHERE pk = " + pk), "null");

    auto current = TarvoCity::initWithCurrentSelectionUsingDB(db);
    EXPECT_EQ(current->primaryKey(), saved->primaryKey());
    EXPECT_EQ(current->description(), "Makkah, Saudi Arabia");
    EXPECT_EQ(current->TimeZone(), "Asia/Riyadh");
    EXPECT_EQ(current->stateName(), "");
    EXPECT_EQ(current->latitude(), 21.4225);
    EXPECT_EQ(current->longitude(), 39.8262);
    EXPECT_EQ(current->GMT(), 50.0);
    EXPECT_EQ(current->prayerMethod(), 4);
    EXPECT_EQ(current->asrMethod(), 1);
    EXPECT_EQ(current->adjustHighLatitude(), 2);
    EXPECT_EQ(current->DSTPreference(), 2);
    EXPECT_EQ(current->customFajrAngle(), 0.0);
    EXPECT_TRUE(current->isSelectedCity());
    EXPECT_FALSE(current->isDirty());

    // A second city is current too, and the first one keeps its mark: saving never clears
    // the other rows (that is the host's job, done here by UserDatabase::selectCity).
    auto oslo = TarvoCity::saveNewCity(makeCity("Oslo", "Norway", 59.91, 10.75, "Europe/Oslo"), db);
    EXPECT_EQ(oslo->primaryKey(), saved->primaryKey() + 1);
    EXPECT_EQ(count(db, "SELECT count(*) FROM savedcities WHERE current_city = 1"), 2);
    EXPECT_EQ(log_.count("[DB] [DB] DB Sync"), 1u + 2u);

    ASSERT_TRUE(user->selectCity(oslo->primaryKey()));
    EXPECT_EQ(count(db, "SELECT count(*) FROM savedcities WHERE current_city = 1"), 1);
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(db)->cityName(), "Oslo");
    EXPECT_FALSE(user->selectCity(oslo->primaryKey() + 10));
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(db)->cityName(), "Oslo");
    EXPECT_TRUE(user->containsCity(saved->primaryKey()));
    EXPECT_FALSE(user->containsCity(oslo->primaryKey() + 10));

    auto all = TarvoCity::GetSavedCities(db);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0]->cityName(), "Makkah");
    EXPECT_FALSE(all[0]->isSelectedCity());
    EXPECT_EQ(all[1]->cityName(), "Oslo");
    EXPECT_TRUE(all[1]->isSelectedCity());
}

TEST_F(SavedCitiesTest, ReadersClampMethodsAndFillMissingNamesEachInTheirOwnWay) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();
    ASSERT_EQ(db.exec("INSERT INTO savedcities (pk, current_city, latitude, longitude, gmt, uses_dst, prayermethod, "
                      "asrmethod, adjusthighlat, custom_fajrangle, custom_ishaangle) "
                      "VALUES (5, 1, 1.5, 2.5, 3.0, 1, 9, 3, 2, 17.5, 16.5)"),
              SQLITE_OK);
    ASSERT_EQ(db.exec("INSERT INTO savedcities (pk, current_city, country_name, city_name, prayermethod, asrmethod, "
                      "timezone, state_name) VALUES (9, 0, 'Egypt', 'Cairo', 7, 2, 'Africa/Cairo', 'Cairo')"),
              SQLITE_OK);

    auto all = TarvoCity::GetSavedCities(db);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0]->primaryKey(), 5);
    EXPECT_EQ(all[0]->cityName(), "London");
    EXPECT_EQ(all[0]->countryName(), "United Kingdom");
    EXPECT_EQ(all[0]->TimeZone(), "");
    EXPECT_EQ(all[0]->stateName(), "");
    EXPECT_EQ(all[0]->prayerMethod(), 0);
    EXPECT_EQ(all[0]->asrMethod(), 0);
    EXPECT_EQ(all[0]->adjustHighLatitude(), 2);
    EXPECT_EQ(all[0]->DSTPreference(), 1);
    EXPECT_EQ(all[0]->GMT(), 3.0);
    EXPECT_EQ(all[0]->customFajrAngle(), 17.5);
    EXPECT_EQ(all[0]->customIshaAngle(), 16.5);
    EXPECT_EQ(all[0]->LastModDate(), Date(0));
    EXPECT_EQ(all[0]->LastSyncDate(), Date(-1));
    EXPECT_FALSE(all[0]->isDirty());
    EXPECT_EQ(all[1]->prayerMethod(), 7);
    EXPECT_EQ(all[1]->asrMethod(), 2);
    EXPECT_EQ(all[1]->stateName(), "Cairo");
    EXPECT_TRUE(log_.startingWith("DIRTY").empty());

    // The current selection fills a missing zone with London's.
    auto current = TarvoCity::initWithCurrentSelectionUsingDB(db);
    EXPECT_EQ(current->primaryKey(), 5);
    EXPECT_EQ(current->TimeZone(), "Europe/London");
    EXPECT_EQ(current->prayerMethod(), 0);

    // The primary-key reader replaces bad methods with 1 instead.
    auto byKey = TarvoCity::initWithPrimaryKey(5, db);
    EXPECT_EQ(byKey->prayerMethod(), 1);
    EXPECT_EQ(byKey->asrMethod(), 1);
    EXPECT_EQ(byKey->TimeZone(), "");
    EXPECT_EQ(byKey->cityName(), "London");
}

TEST_F(SavedCitiesTest, PrimaryKeyReaderShiftsItsLastColumnsAndGoesThroughTheSetters) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();
    ASSERT_EQ(db.exec("INSERT INTO savedcities (pk, current_city, country_name, city_name, latitude, longitude, gmt, "
                      "uses_dst, prayermethod, asrmethod, adjusthighlat, custom_fajrangle, custom_ishaangle, timezone, "
                      "state_name, lastmoddate, lastsyncdate) VALUES (3, 1, 'United States of America', 'Houston', "
                      "29.76, -95.37, -6.0, 1, 5, 2, 3, 15.0, 15.5, 'America/Chicago', 'Texas', 1700000000.25, "
                      "1600000000.5)"),
              SQLITE_OK);

    auto city = TarvoCity::initWithPrimaryKey(3, db);
    EXPECT_EQ(log_.count("[DB] [DB] Init With prim ID"), 1u);
    EXPECT_EQ(city->primaryKey(), 3);
    EXPECT_EQ(city->cityName(), "Houston");
    EXPECT_EQ(city->countryName(), "United States");
    EXPECT_EQ(city->TimeZone(), "America/Chicago");
    EXPECT_EQ(city->GMT(), -6.0);
    EXPECT_EQ(city->prayerMethod(), 5);
    EXPECT_EQ(city->customIshaAngle(), 15.5);
    EXPECT_TRUE(city->isSelectedCity());
    // One column off from state_name on, by design of this reader.
    EXPECT_EQ(city->stateName(), scalar(db, "SELECT CAST(lastmoddate AS TEXT) FROM savedcities WHERE pk = 3"));
    EXPECT_NE(city->stateName(), "Texas");
    EXPECT_EQ(city->LastModDate(), Date(1600000000.5));
    EXPECT_EQ(city->LastSyncDate(), Date(0));
    // Read through the tracked setters: logged and mirrored, then the dirty mark is cleared.
    EXPECT_FALSE(city->isDirty());
    EXPECT_EQ(log_.count("DIRTY: SETTING CITY NAME: Houston"), 1u);
    EXPECT_EQ(log_.count("DIRTY: SETTING LATITUTE: 29.760000"), 1u);
    auto shared = UserDefaults::sharedUserDefaultsObj();
    EXPECT_EQ(shared->integerForKey("AutoCityPrayerMethod"), 5);
    EXPECT_EQ(shared->doubleForKey("AutoCityGMT"), -6.0);

    // No such row: London.
    log_.clear();
    auto missing = TarvoCity::initWithPrimaryKey(99, db);
    EXPECT_EQ(missing->description(), "London, United Kingdom");
    EXPECT_TRUE(missing->isDefaultCity());
    EXPECT_EQ(log_.count("[DB] [DB] Init With prim ID"), 1u);
}

TEST_F(SavedCitiesTest, DeleteAnswersLondonAndSyncNeverWritesSavedRows) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();
    auto doha = TarvoCity::saveNewCity(makeCity("Doha", "Qatar", 25.29, 51.53, "Asia/Qatar"), db);
    auto tunis = TarvoCity::saveNewCity(makeCity("Tunis", "Tunisia", 36.8, 10.18, "Africa/Tunis"), db);

    // dbSync of an edited saved city logs and writes nothing: every city counts as automatic.
    auto edited = TarvoCity::GetSavedCities(db).front();
    edited->setCityName("Ad Dawhah");
    edited->setPrayerMethod(4);
    EXPECT_TRUE(edited->isDirty());
    log_.clear();
    edited->dbSync(db);
    EXPECT_EQ(log_.startingWith("[DB]"), std::vector<std::string>{"[DB] [DB] DB Sync"});
    EXPECT_TRUE(edited->isDirty());
    EXPECT_EQ(TarvoCity::GetSavedCities(db).front()->cityName(), "Doha");
    // A reverse-geocoded city returns before the lock and logs nothing.
    edited->setIsReverseGeocoded(true);
    log_.clear();
    edited->dbSync(db);
    EXPECT_TRUE(log_.lines().empty());

    auto fallback = TarvoCity::DeleteCity(db, doha->primaryKey());
    EXPECT_EQ(fallback->description(), "London, United Kingdom");
    EXPECT_TRUE(fallback->isDefaultCity());
    EXPECT_EQ(log_.count("[DB] [DB] Delete City"), 1u);
    EXPECT_FALSE(user->containsCity(doha->primaryKey()));
    EXPECT_TRUE(user->containsCity(tunis->primaryKey()));
    // Deleting a key that does not exist is no error and answers London as well.
    auto again = TarvoCity::DeleteCity(db, doha->primaryKey());
    EXPECT_EQ(again->cityName(), "London");
    EXPECT_NE(again, fallback);
    EXPECT_EQ(TarvoCity::GetSavedCities(db).size(), 1u);
}

TEST_F(SavedCitiesTest, StatementsAreKeptPerStatementNotPerDatabase) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    TarvoCity::saveNewCity(makeCity("Rabat", "Morocco", 34.02, -6.83, "Africa/Casablanca"), user->database());

    std::string error;
    auto other = UserDatabase::open(folder_ / "other.sqlite", error);
    ASSERT_TRUE(other) << error;
    // The list statement was prepared on the first database and is reused whatever handle
    // comes in: the other, empty database "lists" the first one's city.
    auto listed = TarvoCity::GetSavedCities(other->database());
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]->cityName(), "Rabat");

    // A host that moves to another database empties the cache first.
    TarvoCity::resetStatementCache();
    EXPECT_TRUE(TarvoCity::GetSavedCities(other->database()).empty());
}

TEST_F(SavedCitiesTest, FinalisedStatementsFailWithALoggedErrorUntilTheCacheIsEmptied) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();
    auto fez = TarvoCity::saveNewCity(makeCity("Fez", "Morocco", 34.03, -5.0, "Africa/Casablanca"), db);
    TarvoCity::initWithCurrentSelectionUsingDB(db);
    TarvoCity::DeleteCity(db, 12345);
    TarvoCity::finalizeStatements();

    log_.clear();
    auto current = TarvoCity::initWithCurrentSelectionUsingDB(db);
    EXPECT_EQ(current->cityName(), "London");
    EXPECT_EQ(log_.count("[DB]   Could not load default city, res: " + std::to_string(SQLITE_MISUSE)), 1u);
    EXPECT_EQ(log_.startingWith("[DB] Error: statement used after finalizeStatements").size(), 1u);
    EXPECT_TRUE(TarvoCity::GetSavedCities(db).empty());
    EXPECT_EQ(TarvoCity::getLastSessionID(db), -1);
    // Saving fails without inserting anything; the city comes back with no usable key.
    auto unsaved = TarvoCity::saveNewCity(makeCity("Agadir", "Morocco", 30.42, -9.6, "Africa/Casablanca"), db);
    EXPECT_EQ(unsaved->primaryKey(), -1);
    EXPECT_EQ(count(db, "SELECT count(*) FROM savedcities"), 1);
    // The delete statement is finalised too: nothing is deleted.
    TarvoCity::DeleteCity(db, fez->primaryKey());
    EXPECT_TRUE(user->containsCity(fez->primaryKey()));
    for (const auto& line : log_.startingWith("[DB] Error:")) EXPECT_NE(line.find("finalizeStatements"), std::string::npos);

    // A statement never prepared before finalising is prepared as usual.
    EXPECT_EQ(TarvoCity::initWithPrimaryKey(fez->primaryKey(), db)->cityName(), "Fez");

    TarvoCity::resetStatementCache();
    EXPECT_EQ(TarvoCity::initWithCurrentSelectionUsingDB(db)->cityName(), "Fez");
    EXPECT_EQ(TarvoCity::GetSavedCities(db).size(), 1u);
}

}  // namespace
}  // namespace tarvo
