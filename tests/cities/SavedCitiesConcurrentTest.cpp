// The saved-cities store used from several threads at once on one connection.
#include <atomic>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "cities/SavedCitiesTestSupport.h"

namespace tarvo {
namespace {

using test::SavedCitiesTest;

using SavedCitiesConcurrentTest = SavedCitiesTest;

TEST_F(SavedCitiesConcurrentTest, SaversReadersAndDeletersShareTheCachedStatements) {
    auto user = openUserDatabase();
    ASSERT_TRUE(user);
    SqliteDatabase& db = user->database();

    constexpr int kSavers = 3;
    constexpr int kCitiesEach = 12;
    std::vector<std::vector<std::shared_ptr<TarvoCity>>> savedBy(kSavers);
    std::atomic<bool> saving{true};
    std::atomic<int> wrongReads{0};

    std::vector<std::thread> threads;
    for (int t = 0; t < kSavers; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kCitiesEach; ++i) {
                auto city = makeCity("City " + std::to_string(t) + "-" + std::to_string(i), "Testland", t, i, "UTC");
                city->setPrayerMethod(1 + (i % 7));
                savedBy[static_cast<size_t>(t)].push_back(TarvoCity::saveNewCity(city, db));
                // Each saver also deletes a row nobody has, which must change nothing.
                TarvoCity::DeleteCity(db, 100000 + i);
            }
        });
    }
    // Readers: every listed city must be complete, the selection must be a saved city.
    for (int r = 0; r < 2; ++r) {
        threads.emplace_back([&] {
            while (saving) {
                for (const auto& city : TarvoCity::GetSavedCities(db)) {
                    if (city->countryName() != "Testland" || city->prayerMethod() < 1) ++wrongReads;
                }
                auto current = TarvoCity::initWithCurrentSelectionUsingDB(db);
                if (current->cityName() != "London" && current->countryName() != "Testland") ++wrongReads;
                if (TarvoCity::getLastSessionID(db) < 0) ++wrongReads;
            }
        });
    }
    for (int t = 0; t < kSavers; ++t) threads[static_cast<size_t>(t)].join();
    saving = false;
    for (size_t t = kSavers; t < threads.size(); ++t) threads[t].join();

    EXPECT_EQ(wrongReads.load(), 0);
    EXPECT_EQ(count(db, "SELECT count(*) FROM savedcities"), kSavers * kCitiesEach);
    // Each save got the key of its own row.
    std::set<int64_t> keys;
    for (const auto& cities : savedBy) {
        for (const auto& city : cities) {
            keys.insert(city->primaryKey());
            EXPECT_EQ(scalar(db, "SELECT city_name FROM savedcities WHERE pk = " + std::to_string(city->primaryKey())),
                      *city->cityName());
        }
    }
    EXPECT_EQ(keys.size(), static_cast<size_t>(kSavers * kCitiesEach));
}

}  // namespace
}  // namespace tarvo
