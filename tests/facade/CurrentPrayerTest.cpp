// The facade's current and next prayer through a day, the corrections around midnight, what
// the delegate hears; and against the real world: nights when the clocks change, sunsets
// after midnight.
#include <set>
#include <vector>

#include "support/FacadeFixture.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "platform/host/DispatchQueue.h"
#include "tarvo/platform/IslamicCalendar.h"

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

using RealWorldTimes = FacadeTest;

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
    struct Step {
        Date moment;
        const char* currentAndNext;
        std::vector<std::string> calls;  // what the delegate heard at this check
    };
    const Step steps[] = {
        // Exactly at Fajr, today's list made first: the first check finding Fajr reports nothing.
        {at(2016, 1, 5, 5, 38), "2016-01-05 05:38 0, 2016-01-05 07:00 1", {}},
        {at(2016, 1, 5, 13, 0), "2016-01-05 12:26 2, 2016-01-05 15:31 3", {"changed"}},
        {at(2016, 1, 5, 13, 30), "2016-01-05 12:26 2, 2016-01-05 15:31 3", {}},
        {at(2016, 1, 5, 16, 0), "2016-01-05 15:31 3, 2016-01-05 17:52 5", {"changed"}},  // Maghrib, never Sunset
        {at(2016, 1, 5, 20, 0), "2016-01-05 19:22 6, 2016-01-06 01:43 7", {"changed"}},
        // 00:05 on a new calendar day: only the refresh request, on the main queue.
        {at(2016, 1, 6, 0, 5), "2016-01-05 19:22 6, 2016-01-06 01:43 7", {"refresh"}},
        // The first check after the Qiyam time: the change is reported now.
        {at(2016, 1, 6, 2, 0), "2016-01-06 01:43 7, 2016-01-06 05:39 8", {"changed"}},
        // After tomorrow's Fajr the list is stale and today's is made; Qiyam to Fajr on the same
        // day reports the change and asks for a refresh.
        {at(2016, 1, 6, 5, 45), "2016-01-06 05:39 0, 2016-01-06 07:00 1", {"changed", "refresh"}},
    };
    for (const Step& step : steps) {
        recorder->calls.clear();
        checkAt(step.moment, &step == steps);
        EXPECT_EQ(current() + ", " + next(), step.currentAndNext);
        EXPECT_EQ(recorder->calls, step.calls) << step.currentAndNext;
    }
}

TEST_F(CurrentPrayer, SmallHoursRegenerateFromYesterday) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    checkAt(at(2016, 1, 6, 2, 0), true);  // today's list: nothing has happened yet today
    EXPECT_EQ(current(), "2016-01-06 01:43 7");
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
    // In each list the plain search finds the wrong prayer; the expected type is the correction.
    const std::vector<std::pair<std::vector<std::pair<int64_t, double>>, int64_t>> cases = {
        // A Fajr record found current while the day's Fajr is two hours away, Qiyam ahead: Isha.
        {{{0, 120}, {0, -60}, {2, 130}, {3, 140}, {4, 150}, {5, 150}, {6, 160}, {7, 170}, {8, 300}, {9, 310}}, 6},
        // The same with Qiyam passed (an extra entry after the day keeps a Fajr record current).
        {{{0, 120}, {1, 130}, {2, 130}, {3, 140}, {4, 150}, {5, 150}, {6, 160}, {7, -30}, {8, 300}, {9, 310}, {0, -10}},
         7},
        // Half an hour before Fajr, Qiyam passed (a stray Fajr record current): Qiyam.
        {{{0, 30}, {1, 100}, {2, 400}, {3, 500}, {4, 600}, {5, 600}, {6, 700}, {7, -30}, {8, 1500}, {9, 1600}, {0, -10}},
         7},
        // Isha current, tomorrow's Fajr passed: today's Fajr.
        {{{0, -600}, {1, -500}, {2, -400}, {3, -300}, {4, -200}, {5, -200}, {6, -100}, {7, 60}, {8, -5}, {9, 70}}, 0},
        // Isha current, tomorrow's Fajr ahead and its sunrise passed: Qiyam.
        {{{0, -600}, {1, -500}, {2, -400}, {3, -300}, {4, -200}, {5, -200}, {6, -100}, {7, 60}, {8, 10}, {9, -5}}, 7},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        facade->setLastGeneratedPrayerTimes(handMade(now, cases[i].first));
        ASSERT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(city, false)) << i;
        EXPECT_EQ(type(facade->CurrentPrayer()), cases[i].second) << i;
    }
    // Records without a time never count as passed and never crash the check.
    TarvoDAO::DayList timeless;
    for (int64_t t = 0; t < 10; ++t) timeless.push_back(Prayer::CreatePrayerOfType(t));
    facade->setLastGeneratedPrayerTimes(timeless);
    EXPECT_EQ(facade->determineCurrentPrayer(now), nullptr);
    EXPECT_EQ(facade->CurrentPrayer(), nullptr);
}

TEST_F(RealWorldTimes, SunsetAfterMidnightBelongsToTheNextDay) {
    // Reykjavik at midsummer: the sun sets four minutes after midnight (published 00:04).
    TimeZone::setSystemDefault(*TimeZone::withName("Atlantic/Reykjavik"));
    const auto reykjavik = place("Reykjavik", 64.1466, -21.9426, "Atlantic/Reykjavik");
    const auto list = TarvoDAO::getPrayerTimesForDate(at(2024, 6, 21, 12, 0), reykjavik, Calendar(), IslamicCalendar());
    EXPECT_EQ(local(list[Prayer::Sunset]), "2024-06-22 00:04");
    EXPECT_EQ(local(list[Prayer::Maghrib]), "2024-06-22 00:04");
    for (size_t i = 1; i < Prayer::TomorrowFajr; ++i) {
        EXPECT_LE(*list[i - 1]->PrayerTime(), *list[i]->PrayerTime()) << "entry " << i << " before the one it follows";
    }
}

TEST_F(RealWorldTimes, CurrentAndNextThroughClockChangeNights) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    // Both clock changes of 2024 in six places of both hemispheres (the day each happens on),
    // and two midsummer nights whose sunset comes after midnight (Reykjavik, Fairbanks).
    struct Night {
        const char* zone;
        double latitude, longitude;
        int64_t month, day;
    };
    const Night nights[] = {
        {"Europe/London", 51.5074, -0.1278, 3, 31},       {"Europe/London", 51.5074, -0.1278, 10, 27},
        {"America/New_York", 40.7128, -74.006, 3, 10},    {"America/New_York", 40.7128, -74.006, 11, 3},
        {"Australia/Sydney", -33.8688, 151.2093, 4, 7},   {"Australia/Sydney", -33.8688, 151.2093, 10, 6},
        {"America/Santiago", -33.4489, -70.6693, 4, 7},   {"America/Santiago", -33.4489, -70.6693, 9, 8},
        {"Europe/Berlin", 52.52, 13.405, 3, 31},          {"Europe/Berlin", 52.52, 13.405, 10, 27},
        {"America/Chicago", 41.8781, -87.6298, 3, 10},    {"America/Chicago", 41.8781, -87.6298, 11, 3},
        {"Atlantic/Reykjavik", 64.1466, -21.9426, 6, 21}, {"America/Anchorage", 64.8378, -147.7164, 6, 21}};
    for (const Night& n : nights) {
        TimeZone::setSystemDefault(*TimeZone::withName(n.zone));
        const auto city = place(n.zone, n.latitude, n.longitude, n.zone);
        const std::set<double> moments = tarvo::test::listedMoments(city, at(2024, n.month, n.day, 12, 0));
        // Every half hour from 20:00 on the eve to 08:00 on the day.
        const Date eve = at(2024, n.month, n.day - 1, 20, 0);
        for (int step = 0; step <= 24; ++step) {
            const Date now = eve.addingTimeInterval(step * 1800.0);
            tarvo::test::expectCurrentAndNextAmong(moments, city, now, std::string(n.zone) + " " + now.description());
        }
    }
}
