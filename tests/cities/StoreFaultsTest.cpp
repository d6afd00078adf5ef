// Both persistent stores, the preferences suite and the saved cities of the user database,
// under storage that fails beneath them: a full or read-only disk, a writer killed mid-way,
// another process holding the lock past the busy time-out. One body per fault serves both;
// each store says how its writes are attempted and what it reports.
#include <csignal>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/FaultyStorage.h"
#include "support/LogCapture.h"
#include "support/ResultValue.h"
#include "support/RunProcess.h"
#include "support/SqliteScript.h"
#include "support/StoreWriter.h"
#include "cities/UserDatabaseImpl.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using Names = std::vector<std::string>;

// A preferences suite: one value ("CityName") that each write replaces.
class PreferencesStore {
public:
    static constexpr const char* kWriterMode = "preferences";
    static constexpr size_t kWritesBeforeKill = 300;
    static constexpr bool kWritesReplace = true;

    explicit PreferencesStore(const std::filesystem::path& path) : store_(path) {}
    bool save(const std::string& name) { return store_.setString("CityName", name) && store_.synchronize(); }
    Names contents() {
        Names names;
        if (auto name = store_.stringForKey("CityName")) names.push_back(*name);
        if (PreferenceStore::of(store_).objectForKey("NewKey")) names.push_back("NewKey");
        return names;
    }
    bool holdsWrite(int i) { return store_.integerForKey("key." + std::to_string(i)) == i; }
    void checkAfterKill() {}

    // A changed value and a new key both fail, and are reported once more when the store is
    // next made durable.
    void attemptWrites(test::FaultyStorage& storage, test::FaultyStorage::Fault fault, const std::string& reason,
                       const test::LogCapture& log) {
        storage.set(fault);
        EXPECT_FALSE(store_.setString("CityName", "Madinah")) << reason;
        EXPECT_FALSE(store_.setInteger("NewKey", 7)) << reason;
        storage.set(test::FaultyStorage::Fault::none);
        EXPECT_FALSE(store_.synchronize()) << "the lost writes are reported once more: " << reason;
        EXPECT_TRUE(log.hasError("writing 'CityName' failed: " + reason)) << reason;
    }
    void attemptWritesWhileLocked(const test::LogCapture& log) {
        EXPECT_FALSE(store_.setString("CityName", "Madinah"));  // waits out the busy time-out, then gives up
        EXPECT_TRUE(log.hasError("writing 'CityName' failed: database is locked"));
    }

private:
    UserDefaults store_;
};

// The saved cities of a user database: each write adds a city and selects it.
class SavedCitiesStore {
public:
    static constexpr const char* kWriterMode = "cities";
    static constexpr size_t kWritesBeforeKill = 100;
    static constexpr bool kWritesReplace = false;

    explicit SavedCitiesStore(const std::filesystem::path& path) {
        if (auto opened = UserDatabase::open(path)) user_ = *opened;
    }
    bool save(const std::string& name) { return user_ && user_->addCity(city(name)).ok(); }
    Names contents() {
        Names names;
        if (!user_) return names;
        for (const auto& saved : TarvoCity::GetSavedCities(*user_)) {
            names.push_back(saved->cityName().value_or("?"));
        }
        return names;
    }
    bool holdsWrite(int i) {
        const auto names = contents();
        return std::find(names.begin(), names.end(), "Town " + std::to_string(i)) != names.end();
    }
    // Each city was saved and selected in one step: never two selected.
    void checkAfterKill() {
        ASSERT_TRUE(user_);
        EXPECT_EQ(
            test::queryText(internals(*user_).database, "SELECT count(*) FROM savedcities WHERE current_city = 1"),
            "1");
    }

    // The store's own insert logs what was lost and why; the host operations say so too.
    void attemptWrites(test::FaultyStorage& storage, test::FaultyStorage::Fault fault, const std::string& reason,
                       test::LogCapture& log) {
        storage.set(fault);
        TarvoCity::saveNewCity(city("Madinah"), *user_);
        storage.set(test::FaultyStorage::Fault::none);
        EXPECT_TRUE(log.hasError(reason)) << reason;
        EXPECT_FALSE(user_->containsCity(2)) << reason;
        storage.set(fault);
        EXPECT_FALSE(user_->addCity(city("Madinah"))) << reason;
        EXPECT_NE(test::errorOrFailure(user_->deleteCity(1)).find("cannot delete city 1"), std::string::npos) << reason;
        storage.set(test::FaultyStorage::Fault::none);
    }
    // A locked table is a failure, never an empty list or a deletion that did not happen.
    void attemptWritesWhileLocked(const test::LogCapture& log) {
        internals(*user_).database.setBusyTimeout(300);
        EXPECT_FALSE(user_->selectCity(1));
        EXPECT_FALSE(user_->savedCities());
        EXPECT_FALSE(user_->deleteCity(1));
        EXPECT_FALSE(user_->addCity(city("Madinah")));
        TarvoCity::saveNewCity(city("Madinah"), *user_);
        EXPECT_EQ(internals(*user_).database.errorMessage(), "database is locked");
        EXPECT_TRUE(log.hasError("cannot select city 1: database is locked"));
    }

private:
    static std::shared_ptr<TarvoCity> city(const std::string& name) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);  // a plain record: nothing mirrored into the preferences
        city->setCityName(name);
        city->setCountryName("Testland");
        city->setTimeZone("UTC");
        city->setPrayerMethod(1);
        city->setIsLoadingFromDB(false);
        return city;
    }

    std::shared_ptr<UserDatabase> user_;
};

template <typename Store>
class StoreFaultTest : public ::testing::Test {
protected:
    std::filesystem::path path() const { return folder_ / "store.sqlite"; }

    test::ScopedDataFolder folder_;
    test::LogCapture log_;
};

using Stores = ::testing::Types<PreferencesStore, SavedCitiesStore>;
TYPED_TEST_SUITE(StoreFaultTest, Stores);

TYPED_TEST(StoreFaultTest, FullOrReadOnlyDiskKeepsWhatWasCommitted) {
    test::FaultyStorage storage;
    {
        TypeParam store(this->path());
        ASSERT_TRUE(store.save("Makkah"));
        for (const auto& [fault, reason] : test::FaultyStorage::kFaultsAndReasons) {
            this->log_.clear();
            store.attemptWrites(storage, fault, reason, this->log_);
            EXPECT_EQ(store.contents(), Names{"Makkah"}) << reason;
        }
        // The disk has room again: the same store writes as before.
        EXPECT_TRUE(store.save("Jeddah"));
    }
    EXPECT_EQ(test::queryText(this->path(), "PRAGMA integrity_check"), "ok");
    TypeParam reopened(this->path());
    EXPECT_EQ(reopened.contents(), TypeParam::kWritesReplace ? Names{"Jeddah"} : (Names{"Makkah", "Jeddah"}));
}

TYPED_TEST(StoreFaultTest, WriterKilledMidwayLosesNoCommittedWrite) {
    const std::vector<int> committed =
        test::writesBeforeKill(TypeParam::kWriterMode, this->path(), TypeParam::kWritesBeforeKill);
    ASSERT_GE(committed.size(), TypeParam::kWritesBeforeKill);
    EXPECT_EQ(test::queryText(this->path(), "PRAGMA integrity_check"), "ok");
    TypeParam store(this->path());
    for (int i : committed) EXPECT_TRUE(store.holdsWrite(i)) << "write " << i << " lost";
    store.checkAfterKill();
    EXPECT_TRUE(store.save("AfterTheCrash")) << "the store goes on taking writes";
}

TYPED_TEST(StoreFaultTest, LockHeldBeyondTheTimeOutIsAnErrorNotAHang) {
    TypeParam store(this->path());
    ASSERT_TRUE(store.save("Makkah"));
    this->log_.clear();
    {
        test::ChildProcess holder(TARVO_STORE_WRITER_PATH, {"hold", this->path().string()});
        ASSERT_EQ(test::waitForLines(holder, 1), "locked\n");
        const auto start = std::chrono::steady_clock::now();
        store.attemptWritesWhileLocked(this->log_);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << "the lock was waited out";
        holder.kill(SIGKILL);
    }
    EXPECT_EQ(store.contents(), Names{"Makkah"});
}

}  // namespace
}  // namespace tarvo
