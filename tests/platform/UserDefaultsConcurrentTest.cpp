// Several threads and several processes on one suite at once: no write may be lost.
#include <atomic>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ScopedDataFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using test::ChildProcess;
using test::ScopedDataFolder;

constexpr int kOverlapKeys = 50;

// Whether `value` is "writer:i" for one of the writers, with i falling on this overlap key.
bool isOverlapValue(const std::optional<std::string>& value, const std::set<std::string>& writers, int key) {
    if (!value) return false;
    const auto colon = value->find(':');
    if (colon == std::string::npos || !writers.contains(value->substr(0, colon))) return false;
    return std::stoi(value->substr(colon + 1)) % kOverlapKeys == key;
}

TEST(UserDefaultsConcurrent, ThreadsSharingOneSuiteLoseNoWrite) {
    ScopedDataFolder folder;
    const auto suite = folder / "suite.sqlite";
    auto shared = std::make_shared<UserDefaults>(suite);
    constexpr int kThreads = 6;
    constexpr int kWrites = 120;
    std::atomic<int> badReads{0};
    std::vector<std::thread> threads;
    std::set<std::string> writers;
    for (int t = 0; t < kThreads; ++t) {
        const std::string name = "thread" + std::to_string(t);
        writers.insert(name);
        threads.emplace_back([&, name, t] {
            // Half the threads share one store object, the others each open their own
            // connection to the same file.
            std::shared_ptr<UserDefaults> store = t % 2 ? shared : std::make_shared<UserDefaults>(suite);
            for (int i = 0; i < kWrites; ++i) {
                const std::string own = name + "." + std::to_string(i);
                store->setInteger(own, i);
                store->setString("overlap." + std::to_string(i % kOverlapKeys), name + ":" + std::to_string(i));
                if (store->integerForKey(own) != i) ++badReads;
                if (i % 40 == 0 && !store->dictionaryRepresentation().contains(own)) ++badReads;
            }
        });
    }
    for (auto& thread : threads) thread.join();

    EXPECT_EQ(badReads.load(), 0);
    const UserDefaults check(suite);
    const auto all = check.persistentDomain();
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kWrites + kOverlapKeys));
    for (const auto& name : writers) {
        for (int i = 0; i < kWrites; ++i) {
            ASSERT_EQ(check.integerForKey(name + "." + std::to_string(i)), i) << name << " write " << i << " lost";
        }
    }
    for (int k = 0; k < kOverlapKeys; ++k) {
        EXPECT_TRUE(isOverlapValue(check.stringForKey("overlap." + std::to_string(k)), writers, k)) << k;
    }
}

TEST(UserDefaultsConcurrent, ProcessWideSuitesAreOpenedOnce) {
    ScopedDataFolder folder;
    std::vector<std::shared_ptr<UserDefaults>> seen(8);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < seen.size(); ++t) {
        threads.emplace_back([&seen, t] {
            seen[t] = UserDefaults::sharedUserDefaultsObj();
            seen[t]->setBool("ShowQiyam", true);
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& store : seen) EXPECT_EQ(store, seen.front());
    EXPECT_TRUE(seen.front()->boolForKey("ShowQiyam"));
}

TEST(UserDefaultsConcurrent, TwoProcessesWritingOneSuiteLoseNoWrite) {
    ScopedDataFolder folder;
    const auto suite = folder / "shared.sqlite";
    const auto go = folder / "go";
    constexpr int kWrites = 300;
    const std::set<std::string> writers = {"first", "second"};
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (const auto& name : writers) {
        children.push_back(std::make_unique<ChildProcess>(std::vector<std::string>{
            TARVO_DEFAULTS_WRITER_PATH, suite.string(), name, std::to_string(kWrites), go.string()}));
    }
    // Both are started before either may write, so their writes interleave.
    test::TempFolder::writeFile(go, "go");
    // Meanwhile this process reads along; it must never see a key vanish once it was there.
    const UserDefaults reader(suite);
    size_t seenBefore = 0;
    bool shrank = false;
    for (int i = 0; i < 50; ++i) {
        const size_t seen = reader.persistentDomain().size();
        shrank = shrank || seen < seenBefore;
        seenBefore = seen;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    for (auto& child : children) ASSERT_EQ(child->wait(), 0) << child->err();
    EXPECT_FALSE(shrank);

    const auto all = reader.persistentDomain();
    EXPECT_EQ(all.size(), writers.size() * kWrites + kOverlapKeys);
    for (const auto& name : writers) {
        for (int i = 0; i < kWrites; ++i) {
            ASSERT_EQ(reader.integerForKey(name + "." + std::to_string(i)), i) << name << " write " << i << " lost";
        }
    }
    for (int k = 0; k < kOverlapKeys; ++k) {
        EXPECT_TRUE(isOverlapValue(reader.stringForKey("overlap." + std::to_string(k)), writers, k)) << k;
    }
}

}  // namespace
}  // namespace tarvo
