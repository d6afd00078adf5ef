// Several threads on one suite at once, some sharing a store object and some with connections
// of their own (as separate processes have): no write may be lost.
#include <algorithm>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

constexpr int kOverlapKeys = 50;

// Every writer's own keys "name.i" = i are there, and each shared key "overlap.k" holds some
// writer's "name:i" with i falling on k.
void expectNoWriteLost(const UserDefaults& store, const std::vector<std::string>& writers, int writes) {
    EXPECT_EQ(store.persistentDomain().size(), writers.size() * static_cast<size_t>(writes) + kOverlapKeys);
    for (const auto& name : writers) {
        for (int i = 0; i < writes; ++i) {
            ASSERT_EQ(store.integerForKey(name + "." + std::to_string(i)), i) << name << " write " << i << " lost";
            const std::string overlap = store.stringForKey("overlap." + std::to_string(i % kOverlapKeys)).value_or("");
            const std::string writer = overlap.substr(0, overlap.find(':'));
            EXPECT_NE(std::find(writers.begin(), writers.end(), writer), writers.end()) << overlap;
            EXPECT_EQ(std::stoi(overlap.substr(writer.size() + 1)) % kOverlapKeys, i % kOverlapKeys) << overlap;
        }
    }
}

TEST(UserDefaultsConcurrent, ThreadsSharingOneSuiteLoseNoWrite) {
    test::ScopedDataFolder folder;
    const auto suite = folder / "suite.sqlite";
    auto shared = std::make_shared<UserDefaults>(suite);
    constexpr int kWrites = 120;
    std::vector<std::string> writers;
    std::vector<std::shared_ptr<UserDefaults>> processWide(6);
    std::atomic<int> badReads{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        writers.push_back("thread" + std::to_string(t));
        threads.emplace_back([&, name = writers.back(), t] {
            processWide[static_cast<size_t>(t)] = UserDefaults::sharedUserDefaultsObj();
            // Half the threads share one store object, the others each open their own connection.
            auto store = t % 2 ? shared : std::make_shared<UserDefaults>(suite);
            for (int i = 0; i < kWrites; ++i) {
                const std::string own = name + "." + std::to_string(i);
                store->setInteger(own, i);
                store->setString("overlap." + std::to_string(i % kOverlapKeys), name + ":" + std::to_string(i));
                if (store->integerForKey(own) != i) ++badReads;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(badReads.load(), 0);
    expectNoWriteLost(UserDefaults(suite), writers, kWrites);
    for (const auto& store : processWide) EXPECT_EQ(store, processWide.front()) << "the shared suite is opened once";
}

}  // namespace
}  // namespace tarvo
