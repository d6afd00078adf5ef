// The saved cities when the storage fails under them: a full or read-only disk, a writer
// killed mid-way, another process holding the lock.
#include <csignal>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/FaultyStorage.h"
#include "support/LogCapture.h"
#include "support/ResultValue.h"
#include "support/RunProcess.h"
#include "support/SqliteScript.h"
#include "support/StoreWriter.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"

using namespace tarvo;
using tarvo::test::FaultyStorage;

namespace {

std::shared_ptr<TarvoCity> town(const std::string& name) {
    auto city = std::make_shared<TarvoCity>();
    city->setCityName(name);
    city->setCountryName("Testland");
    city->setLatitude(21.42);
    city->setLongitude(39.83);
    return city;
}

std::vector<std::string> savedNames(SqliteDatabase& db) {
    std::vector<std::string> names;
    for (const auto& city : TarvoCity::GetSavedCities(db)) names.push_back(city->cityName().value_or("?"));
    return names;
}

class SavedCitiesFaults : public ::testing::Test {
protected:
    void TearDown() override { TarvoCity::resetStatementCache(); }
    test::TempFolder temp;
    std::filesystem::path path = temp / "user.sqlite";
};

}  // namespace

TEST_F(SavedCitiesFaults, FullOrReadOnlyDiskKeepsTheSavedCities) {
    test::LogCapture log;
    FaultyStorage storage;
    auto user = test::valueOrFailure(UserDatabase::open(path));
    ASSERT_TRUE(user);
    ASSERT_TRUE(TarvoCity::saveNewCity(town("Makkah"), user->database()));

    for (const auto& [fault, reason] : FaultyStorage::kFaultsAndReasons) {
        log.clear();
        storage.set(fault);
        TarvoCity::saveNewCity(town("Madinah"), user->database());
        storage.set(FaultyStorage::Fault::none);
        // The store logs no step failure; the storage's own report says what was lost and why.
        const auto errors = log.errors();
        ASSERT_EQ(errors.size(), 1u) << reason << ::testing::PrintToString(errors);
        EXPECT_NE(errors[0].find("INSERT INTO savedcities"), std::string::npos) << errors[0];
        EXPECT_NE(errors[0].find(reason), std::string::npos) << errors[0];
        EXPECT_EQ(savedNames(user->database()), std::vector<std::string>{"Makkah"}) << reason;
        EXPECT_FALSE(user->containsCity(2)) << reason;
        // The host operations say so, and leave the file as it was.
        storage.set(fault);
        EXPECT_FALSE(user->addCity(town("Madinah"))) << reason;
        EXPECT_NE(test::errorOrFailure(user->deleteCity(1)).find("cannot delete city 1"), std::string::npos) << reason;
        storage.set(FaultyStorage::Fault::none);
        EXPECT_EQ(savedNames(user->database()), std::vector<std::string>{"Makkah"}) << reason;
    }
    ASSERT_TRUE(TarvoCity::saveNewCity(town("Jeddah"), user->database()));
    user.reset();
    EXPECT_EQ(test::queryText(path, "PRAGMA integrity_check"), "ok");
    user = test::valueOrFailure(UserDatabase::open(path));
    ASSERT_TRUE(user);
    EXPECT_EQ(savedNames(user->database()), (std::vector<std::string>{"Makkah", "Jeddah"}));
}

TEST_F(SavedCitiesFaults, FullDiskDuringTheFirstOpenLeavesNoHalfUpgradedFile) {
    // An older app's file, to be upgraded when opened.
    ASSERT_TRUE(test::runSql(path, "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY, current_city INTEGER, "
                                   "country_name VARCHAR(100), city_name VARCHAR(200), latitude DOUBLE, "
                                   "longitude DOUBLE, gmt DOUBLE, uses_dst INTEGER, prayermethod INTEGER, "
                                   "asrmethod INTEGER, custom_fajrangle DOUBLE, custom_ishaangle DOUBLE);"
                                   "INSERT INTO savedcities(city_name, country_name) VALUES('Makkah', 'SA')"));
    const std::string before = test::readBytes(path);
    {
        test::LogCapture log;
        FaultyStorage storage;
        storage.set(FaultyStorage::Fault::diskFull);
        EXPECT_EQ(test::errorOrFailure(UserDatabase::open(path)), path.string() + ": upgrade to layout 1 failed");
        EXPECT_TRUE(log.hasError("[DB] [1] Schema ERROR: message 'database or disk is full'."));
    }
    EXPECT_EQ(test::readBytes(path), before);
    auto user = test::valueOrFailure(UserDatabase::open(path));
    ASSERT_TRUE(user);
    EXPECT_EQ(user->schemaVersion(), UserDatabase::kSchemaVersion);
    EXPECT_EQ(savedNames(user->database()), std::vector<std::string>{"Makkah"});
}

TEST_F(SavedCitiesFaults, WriterKilledMidwayLosesNoCommittedCity) {
    const std::vector<int> committed = test::writesBeforeKill("cities", path, 100);
    ASSERT_GE(committed.size(), 100u);

    EXPECT_EQ(test::queryText(path, "PRAGMA integrity_check"), "ok");
    // Each city was saved and selected in one step: never two selected.
    EXPECT_EQ(test::queryText(path, "SELECT count(*) FROM savedcities WHERE current_city = 1"), "1");
    auto user = test::valueOrFailure(UserDatabase::open(path));
    ASSERT_TRUE(user);
    const auto names = savedNames(user->database());
    for (int i : committed) {
        EXPECT_NE(std::find(names.begin(), names.end(), "Town " + std::to_string(i)), names.end())
            << "city " << i << " lost";
    }
}

TEST_F(SavedCitiesFaults, LockHeldBeyondTheTimeOutIsAnErrorNotAHang) {
    auto user = test::valueOrFailure(UserDatabase::open(path));
    ASSERT_TRUE(user);
    ASSERT_TRUE(TarvoCity::saveNewCity(town("Makkah"), user->database()));
    user->database().setBusyTimeout(300);
    test::ChildProcess holder(TARVO_STORE_WRITER_PATH, {"hold", path.string()});
    ASSERT_EQ(test::waitForLines(holder, 1), "locked\n");

    test::LogCapture log;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(user->selectCity(1));
    // A locked table is a failure, never an empty list or a deletion that did not happen.
    EXPECT_FALSE(user->savedCities());
    EXPECT_FALSE(user->deleteCity(1));
    EXPECT_FALSE(user->addCity(town("Madinah")));
    TarvoCity::saveNewCity(town("Madinah"), user->database());
    EXPECT_EQ(user->database().errorMessage(), "database is locked");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << "the lock was waited out";
    EXPECT_TRUE(log.hasError("cannot select city 1: database is locked"));
    holder.kill(SIGKILL);
    holder.wait();
    EXPECT_EQ(savedNames(user->database()), std::vector<std::string>{"Makkah"});
}
