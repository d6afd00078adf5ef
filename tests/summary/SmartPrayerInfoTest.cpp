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

}  // namespace

TEST_F(Summary, FocusAndStates) {
    // Exactly an hour to the next prayer with the focus on it: soon; half a second more: upcoming.
    auto s = info(3, 600, 5, 3600);
    EXPECT_EQ(s.prayerToFocus()->Type(), 5);
    EXPECT_EQ(s.prayerState(), 1);
    // Half a second more and the next prayer is far: the focus falls back to Asr, just begun.
    EXPECT_EQ(info(3, 600, 5, 3600.5).prayerState(), 0);
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(5, 3600.5), prayer(3, -600), prayer(5, 3600.5)), 5);

    // Isha with Qiyam two hours away: Isha; 59 minutes before Qiyam: Qiyam.
    EXPECT_EQ(info(6, 3600, 7, 7200).prayerToFocus()->Type(), 6);
    EXPECT_EQ(info(6, 3600, 7, 3540).prayerToFocus()->Type(), 7);
    // Sunrise with Dhuhr five hours away: the focus stays on Dhuhr.
    s = info(1, 600, 2, 5 * 3600);
    EXPECT_EQ(s.prayerToFocus()->Type(), 2);
    EXPECT_EQ(s.prayerState(), 5);
    // Fajr with sunrise 90 minutes away: the threshold is half an hour, so Fajr; a countdown
    // moves on to sunrise 41 minutes after Fajr.
    EXPECT_EQ(info(0, 600, 1, 5400).prayerToFocus()->Type(), 0);
    EXPECT_EQ(info(0, 41 * 60, 1, 49 * 60 + 1800, true).prayerToFocus()->Type(), 1);
    EXPECT_EQ(info(0, 39 * 60, 1, 51 * 60 + 1800, true).prayerToFocus()->Type(), 0);

    // Dhuhr, Asr three hours later, 20 minutes in: in prayer (25 minutes), started.
    s = info(2, 1200, 3, 9600);
    EXPECT_EQ(s.prayerToFocus()->Type(), 2);
    EXPECT_TRUE(s.isInPrayer());
    EXPECT_EQ(s.prayerState(), 0);
    EXPECT_EQ(s.getInfoForGraphicalComplication(), (std::array<std::string, 2>{"Duhr", "Started"}));
    EXPECT_NEAR(seconds(*s.inPrayerEndingTime()), 300, 1e-3);
    // Proportional stages, each bound belonging to the higher state.
    EXPECT_EQ(info(2, 2700, 3, 8100).prayerState(), 2);   // 0.25
    EXPECT_EQ(info(2, 5400, 3, 5400).prayerState(), 3);   // 0.5
    EXPECT_EQ(info(2, 8100, 3, 2700).prayerState(), 1);   // focus on Asr, under an hour: soon
    EXPECT_EQ(info(2, 8100, 3, 3700).prayerState(), 3);   // 0.69
    EXPECT_EQ(info(2, 11100, 3, 3700).prayerState(), 4);  // 0.75
    // Maghrib: in prayer for 15 minutes.
    EXPECT_TRUE(info(5, 899, 6, 5400).isInPrayer());
    EXPECT_FALSE(info(5, 900, 6, 5400).isInPrayer());
    // Sunrise has no stages: started for 20 minutes, then ending.
    EXPECT_EQ(info(1, 1200, 2, 5 * 3600).prayerState(), 5);
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(1, -1200), prayer(1, -1200), prayer(2, 3000)), 0);
    EXPECT_EQ(SmartPrayerInfo::colorForPrayerToFocus(prayer(1, -1201), prayer(1, -1201), prayer(2, 3000)), 4);

    // Stale only once both times have passed.
    EXPECT_FALSE(info(3, 600, 5, 0).isInfoStale());
    EXPECT_TRUE(info(3, 600, 5, -1).isInfoStale());
}

TEST_F(Summary, LabelsAndRefreshTimes) {
    // Focus on the next prayer an hour away: refresh the second after it begins.
    auto s = info(3, 600, 5, 3600);
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 3601, 1e-3);
    EXPECT_EQ(s.getInfoForGraphicalComplication()[1], "Soon");
    s = info(1, 600, 2, 3601 + 7200);
    EXPECT_EQ(s.prayerToFocus()->Type(), 2);
    EXPECT_EQ(s.getInfoForGraphicalComplication(), (std::array<std::string, 2>{"Duhr", "Next"}));
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), -600 + 0.52 * (600 + 3601 + 7200), 1e-3);

    // Tomorrow's Fajr has no stages either: 10 minutes in, an hour from now; 25 minutes in,
    // half an hour before the next entry.
    s = info(8, 600, 9, 4000);
    EXPECT_EQ(s.prayerToFocus()->Type(), 8);
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 3600, 1e-3);
    s = info(8, 1500, 9, 4000);
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 4000 - 1800, 1e-3);

    // Dhuhr, three hours to Asr: at 0.8 the 0.84 stage is ahead, so Asr - 300 s; at 0.9 the
    // stage has passed and is returned as it is.
    s = info(2, 0.8 * 10800, 3, 0.2 * 10800);
    EXPECT_EQ(s.prayerToFocus()->Type(), 3);  // under an hour to Asr: focus moves to Asr
    // With the focus kept on Dhuhr the next prayer must be over an hour away.
    s = info(2, 0.8 * 21600, 3, 0.2 * 21600);  // six hours, 72 minutes left
    EXPECT_EQ(s.prayerToFocus()->Type(), 2);
    EXPECT_EQ(s.prayerState(), 4);
    EXPECT_EQ(s.getInfoForGraphicalComplication()[1], "Ending");
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 0.2 * 21600 - 300, 1e-3);
    s = info(2, 0.9 * 43200, 3, 0.1 * 43200);  // twelve hours, 72 minutes left
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), (0.84 - 0.9) * 43200, 1e-3);
    s = info(2, 0.6 * 21600, 3, 0.4 * 21600);
    EXPECT_EQ(s.getInfoForGraphicalComplication()[1], "Now");
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 0.4 * 21600 - 1800, 1e-3);
    s = info(2, 0.3 * 21600, 3, 0.7 * 21600);
    EXPECT_EQ(s.getInfoForGraphicalComplication()[1], "Time for");
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), 0.7 * 21600 - 1800, 1e-3);
    s = info(2, 0.1 * 21600, 3, 0.9 * 21600);  // 36 minutes in: out of the window
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), (0.26 - 0.1) * 21600, 1e-3);
    // Asr, in prayer five minutes after its time: the window's end + 5 s.
    s = info(3, 300, 5, 3 * 3600);
    EXPECT_TRUE(s.isInPrayer());
    EXPECT_NEAR(seconds(s.getBestTimeToRefreshComplication()), -300 + 1500 + 5, 1e-3);
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
