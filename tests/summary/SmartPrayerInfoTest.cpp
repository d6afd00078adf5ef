// The watch summary: focus, in-prayer windows, states, labels and refresh times at their
// boundaries, with the clock fixed.
#include "support/FacadeFixture.h"
#include "tarvo/summary/SmartPrayerInfo.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class Summary : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        setPreferences({{"UseSunrise", true}});
        Clock::installFixed(now);
    }
    // A record of the type whose time is `seconds` from now.
    std::shared_ptr<Prayer> prayer(int64_t type, double seconds) const {
        auto p = Prayer::CreatePrayerOfType(type);
        p->setPrayerTime(now.addingTimeInterval(seconds));
        return p;
    }
    SmartPrayerInfo info(int64_t currentType, double sinceCurrent, int64_t nextType, double toNext,
                         bool countdown = false) const {
        return SmartPrayerInfo(prayer(currentType, -sinceCurrent), prayer(nextType, toNext), countdown);
    }
    double seconds(Date d) const { return d.timeIntervalSinceDate(now); }

    const Date now = at(2024, 3, 12, 14, 0);  // a Tuesday
};

// The current prayer's type and how long ago it began, the next one's type and how far away.
struct Moment {
    int64_t current;
    double since;
    int64_t next;
    double toNext;
};

}  // namespace

TEST_F(Summary, FocusAndStates) {
    const std::pair<Moment, int64_t> focus[] = {
        {{3, 600, 5, 3600}, 5},                  // an hour to the next prayer: on it
        {{6, 3600, 7, 7200}, 6},                 // Isha with Qiyam two hours away: Isha
        {{6, 3600, 7, 3540}, 7},                 // 59 minutes before Qiyam: Qiyam
        {{1, 600, 2, 5 * 3600}, 2},              // Sunrise with Dhuhr five hours away: Dhuhr
        {{0, 600, 1, 5400}, 0},                  // Fajr, sunrise 90 minutes away: half an hour is the threshold
        {{2, 1200, 3, 9600}, 2},                 // Dhuhr, 20 minutes in
        {{2, 0.8 * 10800, 3, 0.2 * 10800}, 3},   // under an hour to Asr: the focus moves to Asr
        {{2, 0.8 * 21600, 3, 0.2 * 21600}, 2},   // 72 minutes to Asr: kept on Dhuhr
        {{8, 600, 9, 4000}, 8},                  // tomorrow's Fajr
    };
    for (const auto& [m, type] : focus) {
        EXPECT_EQ(info(m.current, m.since, m.next, m.toNext).prayerToFocus()->Type(), type) << m.since;
    }
    // A countdown moves on to sunrise 41 minutes after Fajr.
    EXPECT_EQ(info(0, 41 * 60, 1, 49 * 60 + 1800, true).prayerToFocus()->Type(), 1);
    EXPECT_EQ(info(0, 39 * 60, 1, 51 * 60 + 1800, true).prayerToFocus()->Type(), 0);

    // Proportional stages of the time between the prayers, each bound belonging to the higher state.
    const std::pair<Moment, int64_t> states[] = {
        {{3, 600, 5, 3600}, 1},       // exactly an hour to the focused next prayer: soon
        {{3, 600, 5, 3600.5}, 0},     // half a second more: the focus falls back to Asr, just begun
        {{2, 1200, 3, 9600}, 0},      // in prayer: started
        {{2, 2700, 3, 8100}, 2},      // 0.25
        {{2, 5400, 3, 5400}, 3},      // 0.5
        {{2, 8100, 3, 2700}, 1},      // focus on Asr, under an hour: soon
        {{2, 11100, 3, 3700}, 4},     // 0.75
        {{1, 600, 2, 5 * 3600}, 5},   // Sunrise has no stages
        {{1, 1200, 2, 5 * 3600}, 5},
    };
    for (const auto& [m, state] : states) {
        EXPECT_EQ(info(m.current, m.since, m.next, m.toNext).prayerState(), state) << m.current << " " << m.since;
    }
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(5, 3600.5), prayer(3, -600), prayer(5, 3600.5)), 5);
    // Sunrise is started for 20 minutes, then ending.
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(1, -1200), prayer(1, -1200), prayer(2, 3000)), 0);
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(1, -1201), prayer(1, -1201), prayer(2, 3000)), 4);

    // In prayer: Dhuhr for 25 minutes, Maghrib for 15.
    const auto dhuhr = info(2, 1200, 3, 9600);
    EXPECT_TRUE(dhuhr.isInPrayer());
    EXPECT_NEAR(seconds(*dhuhr.inPrayerEndingTime()), 300, 1e-3);
    EXPECT_TRUE(info(5, 899, 6, 5400).isInPrayer());
    EXPECT_FALSE(info(5, 900, 6, 5400).isInPrayer());
    // Stale only once both times have passed.
    EXPECT_FALSE(info(3, 600, 5, 0).isInfoStale());
    EXPECT_TRUE(info(3, 600, 5, -1).isInfoStale());
}

TEST_F(Summary, LabelsAndRefreshTimes) {
    using Texts = std::array<std::string, 2>;
    EXPECT_EQ(info(2, 1200, 3, 9600).getInfoForGraphicalComplication(), (Texts{"Duhr", "Started"}));
    EXPECT_EQ(info(1, 600, 2, 10801).getInfoForGraphicalComplication(), (Texts{"Duhr", "Next"}));
    const std::pair<Moment, const char*> labels[] = {
        {{3, 600, 5, 3600}, "Soon"},
        {{2, 0.8 * 21600, 3, 0.2 * 21600}, "Ending"},
        {{2, 0.6 * 21600, 3, 0.4 * 21600}, "Now"},
        {{2, 0.3 * 21600, 3, 0.7 * 21600}, "Time for"},
    };
    for (const auto& [m, label] : labels) {
        EXPECT_EQ(info(m.current, m.since, m.next, m.toNext).getInfoForGraphicalComplication()[1], label) << label;
    }

    const std::pair<Moment, double> refresh[] = {
        {{3, 600, 5, 3600}, 3601},                               // focus on the next prayer: a second after it begins
        {{1, 600, 2, 10801}, -600 + 0.52 * (600 + 10801)},       // focus on Dhuhr: its 0.52 stage
        {{8, 600, 9, 4000}, 3600},                               // tomorrow's Fajr 10 minutes in: an hour from now
        {{8, 1500, 9, 4000}, 4000 - 1800},                       // 25 minutes in: half an hour before the next
        {{2, 0.8 * 21600, 3, 0.2 * 21600}, 0.2 * 21600 - 300},   // at 0.8 the 0.84 stage is ahead: Asr - 300 s
        {{2, 0.9 * 43200, 3, 0.1 * 43200}, (0.84 - 0.9) * 43200},  // at 0.9 it has passed: returned as it is
        {{2, 0.6 * 21600, 3, 0.4 * 21600}, 0.4 * 21600 - 1800},
        {{2, 0.3 * 21600, 3, 0.7 * 21600}, 0.7 * 21600 - 1800},
        {{2, 0.1 * 21600, 3, 0.9 * 21600}, (0.26 - 0.1) * 21600},  // 36 minutes in: out of the window
        {{3, 300, 5, 3 * 3600}, -300 + 1500 + 5},                // Asr in prayer: the window's end + 5 s
    };
    for (const auto& [m, expected] : refresh) {
        const auto s = info(m.current, m.since, m.next, m.toNext);
        EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), expected, 1e-3) << m.current << " " << m.since;
    }
}

TEST_F(Summary, FacadeGivesNoneWithoutCityOrCheck) {
    auto facade = std::make_shared<TarvoDAO>();
    EXPECT_EQ(facade->getLatestSmartInfoForCountdownToNextPrayer(false), nullptr);
    facade->setActiveCity(makkah());
    EXPECT_EQ(facade->getLatestSmartInfoForCountdownToNextPrayer(false), nullptr);
    facade->setCurrentPrayer(prayer(3, -600));
    facade->setNextPrayer(prayer(5, 7200));
    const auto s = facade->getLatestSmartInfoForCountdownToNextPrayer(true);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->prayerToFocus()->Type(), 3);
}
