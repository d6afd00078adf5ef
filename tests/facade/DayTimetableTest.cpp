// The facade's day timetable: ten records for a city and a date with the user's settings.
#include <vector>

#include "support/FacadeFixture.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/platform/IslamicCalendar.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class DayTimetable : public FacadeTest {
protected:
    std::vector<std::string> day(Date date, const std::shared_ptr<TarvoCity>& city) {
        const auto list = TarvoDAO::getPrayerTimesForDate(date, city, Calendar(), IslamicCalendar());
        std::vector<std::string> out;
        for (size_t i = 0; i < list.size(); ++i) {
            EXPECT_EQ(list[i]->Type(), static_cast<int64_t>(i));
            out.push_back(local(list[i]));
        }
        return out;
    }
    // Minutes from Maghrib (entry 5) to Isha (entry 6).
    static int ishaInterval(const std::vector<std::string>& d) {
        auto minutes = [](const std::string& t) { return std::stoi(t.substr(11, 2)) * 60 + std::stoi(t.substr(14, 2)); };
        return minutes(d[6]) - minutes(d[5]);
    }
};

}  // namespace

TEST_F(DayTimetable, MakkahWithAndWithoutAdjustments) {
    const Date date = at(2016, 1, 5, 12, 0);
    // The published Umm al-Qura times of the day; Qiyam and tomorrow's entries on the 6th.
    const std::vector<std::string> plain = {"2016-01-05 05:38", "2016-01-05 07:00", "2016-01-05 12:26",
                                            "2016-01-05 15:31", "2016-01-05 17:52", "2016-01-05 17:52",
                                            "2016-01-05 19:22", "2016-01-06 01:43", "2016-01-06 05:39",
                                            "2016-01-06 07:00"};
    setPreferences({{"UseSunrise", true}, {"FajrAdj", 3}, {"MaghribAdj", -2}, {"QiyamAdj", 30}});
    EXPECT_EQ(day(date, makkah()), plain);  // adjustments are stored but switched off

    setPreferences({{"UsePrayerAdjustments", true}});
    const auto list = TarvoDAO::getPrayerTimesForDate(date, makkah(), Calendar(), IslamicCalendar());
    EXPECT_EQ(local(list[0]), "2016-01-05 05:41");
    EXPECT_EQ(list[0]->AdjustmentMinutes(), 3);
    EXPECT_EQ(local(list[4]), "2016-01-05 17:50");  // Sunset moves with Maghrib
    EXPECT_EQ(local(list[5]), "2016-01-05 17:50");
    EXPECT_EQ(local(list[7]), "2016-01-06 02:13");
    EXPECT_EQ(local(list[8]), "2016-01-06 05:42");  // tomorrow's Fajr takes the Fajr adjustment
    EXPECT_FALSE(list[0]->isFixedTimings());

    EXPECT_EQ(TarvoDAO::getAdjustmentMinutesForPrayer(10, false), 0);
    setPreferences({{"UsePrayerAdjustments", false}});
    EXPECT_EQ(TarvoDAO::getAdjustmentMinutesForPrayer(0, false), 0);
    EXPECT_EQ(TarvoDAO::getAdjustmentMinutesForPrayer(0, true), 3);

    // A configuration of plain values (a host keeping its own settings) applies its own
    // minutes and reads none from the store: the stored Fajr and Qiyam minutes play no part.
    const auto own = PrayerConfiguration::withValues({{"UsePrayerAdjustments", 1}, {"FajrAdj", -4}, {"MaghribAdj", 5}});
    const auto hostDay = TarvoDAO::dayTimetable(date, makkah(), Calendar(), IslamicCalendar(), own);
    EXPECT_EQ(local(hostDay[0]), "2016-01-05 05:34");
    EXPECT_EQ(local(hostDay[5]), "2016-01-05 17:57");
    EXPECT_EQ(local(hostDay[7]), "2016-01-06 01:43");
    EXPECT_EQ(local(hostDay[8]), "2016-01-06 05:35");
    EXPECT_EQ(local(hostDay[1]), "2016-01-05 07:10");  // UseSunrise is the host's too: off, so Doha
}

TEST_F(DayTimetable, IshaIntervalsAndTheSaudiRamadanRule) {
    // Mid-Ramadan 1437 (1 Ramadan fell on 6 June 2016).
    const Date ramadan = at(2016, 6, 20, 12, 0);
    const Date january = at(2016, 1, 5, 12, 0);
    // The Muslim League's Isha angle puts Isha well under 90 minutes after Maghrib here.
    auto league = [](const std::string& country = "Saudi Arabia") {
        return place("Makkah", 21.4225, 39.8262, "Asia/Riyadh", country, 1);
    };
    EXPECT_LT(ishaInterval(day(ramadan, league())), 85);
    setPreferences({{"15HourAfterMaghrib", true}, {"MaghribAdj", 3}});
    EXPECT_EQ(ishaInterval(day(ramadan, league())), 90);  // the automatic Ramadan option is off
    setPreferences({{"20HourAfterMaghribAuto", true}});
    EXPECT_EQ(ishaInterval(day(ramadan, league())), 120);        // Ramadan wins over the 90 minutes
    EXPECT_EQ(ishaInterval(day(ramadan, league("Egypt"))), 90);  // only in Saudi Arabia
    EXPECT_EQ(ishaInterval(day(january, league())), 90);         // only in Ramadan
    setPreferences({{"HijriCorrection", 20}});
    EXPECT_EQ(ishaInterval(day(ramadan, league())), 90);  // corrected into Shawwal

    // With adjustments on, the interval counts from the unadjusted Maghrib: 93 minutes there,
    // 90 after the adjusted Maghrib.
    setPreferences({{"UsePrayerAdjustments", true}, {"20HourAfterMaghribAuto", false}});
    const auto d = day(january, league());
    EXPECT_EQ(d[5], "2016-01-05 17:55");
    EXPECT_EQ(d[6], "2016-01-05 19:25");
    setPreferences({{"15HourAfterMaghrib", false}, {"20HourAfterMaghrib", true}});
    EXPECT_EQ(day(january, league())[6], "2016-01-05 19:55");
}

TEST_F(DayTimetable, DohaAndPolarDays) {
    const Date date = at(2016, 1, 5, 12, 0);
    setPreferences({{"UseSunrise", false}, {"UsePrayerAdjustments", true}, {"SunriseAdj", 2}});
    const auto d = day(date, makkah());
    EXPECT_EQ(d[1], "2016-01-05 07:12");  // Doha: sunrise + 2 + 10 minutes
    EXPECT_EQ(d[9], "2016-01-06 07:12");

    // A summer day with no sunrise at Longyearbyen: records are still made, one per type.
    const auto polar = place("Longyearbyen", 78.22, 15.65, "Arctic/Longyearbyen", "Norway", 4);
    EXPECT_EQ(day(at(2024, 6, 21, 12, 0), polar).size(), 10u);
    EXPECT_EQ(TarvoDAO::getPrayerTimesForDate(date, nullptr, Calendar(), IslamicCalendar()).size(), 10u);
}

TEST_F(DayTimetable, MonthLengthsAndRunsOfDays) {
    EXPECT_EQ((std::array{TarvoDAO::getDaysInMonth(1900, 2), TarvoDAO::getDaysInMonth(2000, 2),
                          TarvoDAO::getDaysInMonth(2023, 11), TarvoDAO::getDaysInMonth(2023, 13)}),
              (std::array<decltype(TarvoDAO::getDaysInMonth(1, 1)), 4>{28, 29, 30, 31}));  // out of range: 31

    Clock::installFixed(at(2016, 1, 5, 9, 0));
    auto facade = std::make_shared<TarvoDAO>();
    const auto first = facade->getPrayerTimesForCurrentDateWithDayOffset(-1, 2, makkah());
    ASSERT_EQ(first.size(), 10u);
    EXPECT_EQ(local(first[0]).substr(0, 10), "2016-01-04");
    const auto all = facade->TodayAndTomorrowGeneratedPrayerTimes();
    ASSERT_EQ(all.size(), 30u);
    EXPECT_EQ(local(all[10]), "2016-01-05 05:38");
    EXPECT_EQ(local(all[20]), "2016-01-06 05:39");
    // A negative count of further days still runs the first day.
    EXPECT_EQ(facade->getPrayerTimesForCurrentDateWithDayOffset(0, -3, makkah()).size(), 10u);
    EXPECT_EQ(facade->TodayAndTomorrowGeneratedPrayerTimes().size(), 10u);
}

TEST_F(DayTimetable, AChangeOfMethodForTheSameDayIsHonoured) {
    // The engine keeps recent days; the Egyptian 19.5 degrees must still put Fajr earlier than
    // Umm al-Qura's 18.5 when the city's method changes between two requests for the day.
    auto city = makkah();
    const auto before = day(at(2016, 3, 5, 12, 0), city);
    city->setIsLoadingFromDB(true);
    city->setPrayerMethod(2);
    EXPECT_LT(day(at(2016, 3, 5, 12, 0), city)[0], before[0]);
}
