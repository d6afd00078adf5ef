// Several threads and several processes on one suite at once: no write may be lost.
#include <algorithm>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/RunProcess.h"
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

TEST(UserDefaultsConcurrent, TwoProcessesWritingOneSuiteLoseNoWrite) {
    test::ScopedDataFolder folder;
    const auto suite = folder / "shared.sqlite";
    const auto go = folder / "go";
    constexpr int kWrites = 300;
    const std::vector<std::string> writers = {"first", "second"};
    std::vector<std::unique_ptr<test::ChildProcess>> children;
    for (const auto& name : writers) {
        children.push_back(std::make_unique<test::ChildProcess>(
            TARVO_DEFAULTS_WRITER_PATH,
            std::vector<std::string>{suite.string(), name, std::to_string(kWrites), go.string()}));
    }
    // Both are started before either may write, so their writes interleave.
    test::writeBytes(go, "go");
    // Meanwhile this process reads along; it must never see a key vanish once it was there.
    const UserDefaults reader(suite);
    size_t seenBefore = 0;
    for (int i = 0; i < 50; ++i) {
        const size_t seen = reader.persistentDomain().size();
        EXPECT_GE(seen, seenBefore);
        seenBefore = seen;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    for (auto& child : children) {
        const auto result = child->wait();
        ASSERT_EQ(result.status, 0) << result.err;
    }
    expectNoWriteLost(reader, writers, kWrites);
}

}  // namespace
}  // namespace tarvo
