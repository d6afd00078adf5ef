// The facade's lifecycle and shared state: the singleton, configuration reloads, the shared
// active city and the one-time copy of the standard defaults.
#include <atomic>
#include <thread>
#include <vector>

#include "support/FacadeFixture.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "platform/host/DispatchQueue.h"
#include "platform/host/GlobalStateLock.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/host/NotificationCenter.h"

using namespace tarvo;
using Facade = tarvo::test::FacadeTest;

TEST_F(Facade, ReloadBroadcastsOnlyWhenAsked) {
    int posts = 0;
    auto& center = NotificationCenter::defaultCenter();
    const auto token = center.addObserver("NOTIFICATION_CONFIGURATION_UPDATED",
                                          [&](const std::string&, const std::any&) { ++posts; });
    auto facade = std::make_shared<TarvoDAO>();  // construction loads without a broadcast
    const auto before = facade->globalPrayerConfiguration();
    UserDefaults::sharedUserDefaultsObj()->setInteger("FajrAdj", 7);
    facade->reloadConfiguration();
    EXPECT_EQ(posts, 0);
    EXPECT_NE(facade->globalPrayerConfiguration(), before);
    EXPECT_EQ(facade->globalPrayerConfiguration()->FajrAdj(), 7);
    facade->reloadConfigurationAndBroadcast(true);
    EXPECT_EQ(posts, 1);
    center.removeObserver(token);
}

TEST_F(Facade, SharedActiveCityAndTheOneTimeCopy) {
    auto facade = std::make_shared<TarvoDAO>();
    facade->saveActiveCityInSharedPreferences();  // no city: nothing written
    EXPECT_FALSE(PreferenceStore::of(*UserDefaults::sharedUserDefaultsObj()).objectForKey("SharedActiveCity"));
    EXPECT_EQ(facade->getActiveCityFromSharedPreferences(), nullptr);
    facade->setActiveCity(makkah());
    facade->saveActiveCityInSharedPreferences();
    const auto city = facade->getActiveCityFromSharedPreferences();
    ASSERT_NE(city, nullptr);
    EXPECT_EQ(city->cityName(), "Makkah");
    EXPECT_EQ(city->prayerMethod(), 4);
    // An archive of another class reads as nothing.
    KeyedArchiver other("PrayerConfiguration");
    other.encodeInteger(1, "FajrAdj");
    UserDefaults::sharedUserDefaultsObj()->setData("SharedActiveCity", other.encodedData());
    EXPECT_EQ(facade->getActiveCityFromSharedPreferences(), nullptr);

    const auto standard = UserDefaults::standardUserDefaults();
    standard->setString("LastTab", "qibla");
    standard->setInteger("FajrAdj", 4);
    facade->updateSharedValues();
    const auto shared = UserDefaults::sharedUserDefaultsObj();
    EXPECT_EQ(shared->stringForKey("LastTab"), "qibla");
    EXPECT_EQ(shared->integerForKey("FajrAdj"), 4);
    EXPECT_TRUE(standard->boolForKey("HasUpdatedSharedCopy"));
    standard->setInteger("FajrAdj", 9);
    facade->updateSharedValues();  // at most once per installation
    EXPECT_EQ(shared->integerForKey("FajrAdj"), 4);
}

TEST_F(Facade, ConcurrentSingletonAndGenerations) {
    std::vector<std::shared_ptr<TarvoDAO>> seen(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&, i] { seen[i] = TarvoDAO::getSharedInstance(); });
    }
    for (auto& t : threads) t.join();
    for (const auto& s : seen) EXPECT_EQ(s, seen[0]);

    // Generations and checks from several threads: every reader under the global lock sees
    // a whole day.
    Clock::installFixed(at(2016, 1, 5, 16, 0));
    auto facade = std::make_shared<TarvoDAO>();
    std::atomic<int> broken{0};
    threads.clear();
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 5; ++i) {
                if (t == 0) {
                    facade->getPrayerTimesForCurrentDateWithDayOffset(0, 1, makkah());
                } else if (t == 1) {
                    facade->determineCurrentAndNextPrayerTimeForCity(makkah(), false);
                } else {
                    std::lock_guard lock(globalStateLockObject());
                    const auto list = facade->LastGeneratedPrayerTimes();
                    if (!list.empty() && list.size() != 10) ++broken;
                }
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(broken.load(), 0);
    EXPECT_EQ(facade->LastGeneratedPrayerTimes().size(), 10u);
}
