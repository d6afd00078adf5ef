// The facade's current and next prayer through a day, the corrections around midnight, and
// what the delegate hears.
#include <vector>

#include "support/FacadeFixture.h"
#include "support/LogCapture.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "tarvo/platform/DispatchQueue.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class Recorder : public TarvoDAODelegate {
public:
    void tarvoDAOCurrentPrayerChanged() override { calls.emplace_back("changed"); }
    void tarvoDAOPrayerTimesShouldRefreshAsDateChanged() override { calls.emplace_back("refresh"); }
    std::vector<std::string> calls;
};

class CurrentPrayer : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        facade->setDaodelegate(recorder);
        DispatchQueue::main().drain();
    }
    // A check at the moment, with today's list generated first when asked (as hosts do at
    // start and on the refresh request).
    void checkAt(Date moment, bool generate = false) {
        Clock::installFixed(moment);
        if (generate) facade->getPrayerTimesForCurrentDateWithDayOffset(0, city);
        ASSERT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(city, true));
        DispatchQueue::main().drain();
    }
    // The settings reach this facade too: each facade computes with its own configuration.
    void setPreferences(const nlohmann::json& values) {
        FacadeTest::setPreferences(values);
        facade->reloadConfiguration();
    }
    std::string current() const { return local(facade->CurrentPrayer()) + " " + std::to_string(type(facade->CurrentPrayer())); }
    std::string next() const { return local(facade->NextPrayer()) + " " + std::to_string(type(facade->NextPrayer())); }
    static int64_t type(const std::shared_ptr<Prayer>& p) { return p ? p->Type() : -1; }

    std::shared_ptr<TarvoDAO> facade = std::make_shared<TarvoDAO>();
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
    std::shared_ptr<TarvoCity> city = makkah();
};

// A list made by hand: one record per entry, `minutes` from now (types as given).
TarvoDAO::DayList handMade(Date now, const std::vector<std::pair<int64_t, double>>& entries) {
    TarvoDAO::DayList list;
    for (const auto& [type, minutes] : entries) {
        auto p = Prayer::CreatePrayerOfType(type);
        p->setPrayerTime(now.addingTimeInterval(minutes * 60));
        list.push_back(p);
    }
    return list;
}

}  // namespace

TEST_F(CurrentPrayer, ThroughTheDayWithQiyamShown) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    EXPECT_FALSE(facade->determineCurrentAndNextPrayerTimeForCity(city, true));  // no list yet
    EXPECT_FALSE(facade->DateAndTimeForLastGeneratedPrayerTimes());

    checkAt(at(2016, 1, 5, 5, 38), true);  // exactly at Fajr
    EXPECT_EQ(current(), "2016-01-05 05:38 0");
    EXPECT_EQ(next(), "2016-01-05 07:00 1");
    EXPECT_TRUE(recorder->calls.empty());  // the first check finding Fajr reports nothing
    EXPECT_EQ(facade->determineCurrentPrayer(at(2016, 1, 5, 5, 38))->Type(), 0);

    checkAt(at(2016, 1, 5, 13, 0));
    EXPECT_EQ(current(), "2016-01-05 12:26 2");
    checkAt(at(2016, 1, 5, 13, 30));
    EXPECT_EQ(recorder->calls, std::vector<std::string>{"changed"});
    checkAt(at(2016, 1, 5, 16, 0));
    EXPECT_EQ(current(), "2016-01-05 15:31 3");
    EXPECT_EQ(next(), "2016-01-05 17:52 5");  // Maghrib, never Sunset
    checkAt(at(2016, 1, 5, 20, 0));
    EXPECT_EQ(current(), "2016-01-05 19:22 6");
    EXPECT_EQ(next(), "2016-01-06 01:43 7");
    EXPECT_EQ(recorder->calls.size(), 3u);

    // 00:05 on a new calendar day: only the refresh request, on the main queue.
    recorder->calls.clear();
    checkAt(at(2016, 1, 6, 0, 5));
    EXPECT_EQ(current(), "2016-01-05 19:22 6");
    EXPECT_EQ(recorder->calls, std::vector<std::string>{"refresh"});
    // The first check after the Qiyam time: the change is reported now.
    checkAt(at(2016, 1, 6, 2, 0));
    EXPECT_EQ(current(), "2016-01-06 01:43 7");
    EXPECT_EQ(next(), "2016-01-06 05:39 8");
    EXPECT_EQ(recorder->calls, (std::vector<std::string>{"refresh", "changed"}));

    // After tomorrow's Fajr the list is stale and today's is made; Qiyam to Fajr on the same
    // day reports the change and asks for a refresh.
    recorder->calls.clear();
    checkAt(at(2016, 1, 6, 5, 45));
    EXPECT_EQ(current(), "2016-01-06 05:39 0");
    EXPECT_EQ(next(), "2016-01-06 07:00 1");
    EXPECT_EQ(recorder->calls, (std::vector<std::string>{"changed", "refresh"}));
}

TEST_F(CurrentPrayer, SmallHoursRegenerateFromYesterday) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    tarvo::test::LogCapture log;
    checkAt(at(2016, 1, 6, 2, 0), true);  // today's list: nothing has happened yet today
    EXPECT_EQ(log.count("Current prayer NOT found, will look in yesterday's timings"), 1u);
    EXPECT_EQ(current(), "2016-01-06 01:43 7");
    EXPECT_EQ(facade->TodayAndTomorrowGeneratedPrayerTimes().size(), 30u);
    EXPECT_EQ(local(facade->LastGeneratedPrayerTimes()[0]), "2016-01-05 05:38");

    // With Qiyam hidden, Isha stays current and tomorrow's Fajr is next.
    setPreferences({{"ShowQiyam", false}});
    facade = std::make_shared<TarvoDAO>();
    checkAt(at(2016, 1, 6, 1, 0), true);
    EXPECT_EQ(current(), "2016-01-05 19:22 6");
    checkAt(at(2016, 1, 6, 2, 0));
    EXPECT_EQ(current(), "2016-01-05 19:22 6");
    EXPECT_EQ(next(), "2016-01-06 05:39 8");
}

TEST_F(CurrentPrayer, CorrectionsAroundFajrAndQiyam) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    const Date now = at(2016, 3, 1, 3, 0);
    Clock::installFixed(now);
    struct Case {
        const char* name;
        std::vector<std::pair<int64_t, double>> list;
        int64_t expected;
        const char* line;
    };
    const std::vector<Case> cases = {
        // A Fajr record found current while the day's Fajr is two hours away, Qiyam ahead.
        {"a", {{0, 120}, {0, -60}, {2, 130}, {3, 140}, {4, 150}, {5, 150}, {6, 160}, {7, 170}, {8, 300}, {9, 310}}, 6,
         "    [FIXING] Fajr is in Future, Current prayer is Fajr and Sunrise is also in Future, we're at Isha!"},
        // The same with Qiyam passed (an extra entry after the day keeps a Fajr record current).
        {"b",
         {{0, 120}, {1, 130}, {2, 130}, {3, 140}, {4, 150}, {5, 150}, {6, 160}, {7, -30}, {8, 300}, {9, 310}, {0, -10}},
         7,
         "    [FIXING] Fajr is in future and current prayer is fajr, we're obviously in Qiyam"},
        // Half an hour before Fajr, Qiyam passed: Qiyam.
        {"c", {{0, 30}, {1, 100}, {2, 400}, {3, 500}, {4, 600}, {5, 600}, {6, 700}, {7, -10}, {8, 1500}, {9, 1600}}, 7,
         "    [FIXING] Fajr is in future and we've cross qiyam then we're in Qiyam!"},
        // Isha current, tomorrow's Fajr passed: today's Fajr.
        {"e", {{0, -600}, {1, -500}, {2, -400}, {3, -300}, {4, -200}, {5, -200}, {6, -100}, {7, 60}, {8, -5}, {9, 70}},
         0, "    [FIXING] We've passed Fajr but it says we're at Isha! Fix"},
        // Isha current, tomorrow's Fajr ahead and its sunrise passed: Qiyam.
        {"f", {{0, -600}, {1, -500}, {2, -400}, {3, -300}, {4, -200}, {5, -200}, {6, -100}, {7, 60}, {8, 10}, {9, -5}},
         7, "    [FIXING] We've passed qiyam and fajr is in future but it says we're at Isha! Fix"},
    };
    for (const auto& c : cases) {
        tarvo::test::LogCapture log;
        facade->setLastGeneratedPrayerTimes(handMade(now, c.list));
        ASSERT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(city, false)) << c.name;
        EXPECT_EQ(type(facade->CurrentPrayer()), c.expected) << c.name;
        EXPECT_EQ(log.count(c.line), 1u) << c.name;
        EXPECT_EQ(log.lines("    [FIXING]").size(), 1u) << c.name;
    }
    // Records without a time never count as passed and never crash the check.
    TarvoDAO::DayList timeless;
    for (int64_t t = 0; t < 10; ++t) timeless.push_back(Prayer::CreatePrayerOfType(t));
    facade->setLastGeneratedPrayerTimes(timeless);
    EXPECT_EQ(facade->determineCurrentPrayer(now), nullptr);
    EXPECT_EQ(facade->CurrentPrayer(), nullptr);
}
