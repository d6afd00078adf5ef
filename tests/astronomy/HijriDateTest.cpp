// Hijri and Gregorian dates with the user's correction, read through the facade at each
// call; around the Hijri new year 1446 (8 July 2024 in the arithmetical calendar) and a
// Gregorian new year where the week-based year shows.
#include "tarvo/platform/IslamicCalendar.h"
#include "support/FacadeFixture.h"
#include "tarvo/astronomy/SunCalculator.h"

using namespace tarvo;
using tarvo::test::FacadeTest;
using Parts = std::vector<int32_t>;  // day, month, year, weekday (1 is Sunday)

namespace {

class HijriDates : public FacadeTest {
protected:
    static std::string ymd(Date date) {
        const DateComponents c = Calendar().components(date);
        return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", c.year, c.month, c.day, c.hour, c.minute);
    }
};

}  // namespace

TEST_F(HijriDates, HijriToGregorianWithCorrections) {
    // 1 Ramadan 1445 is Monday 11 March 2024.
    EXPECT_EQ(ymd(SunCalculator::getDateFromHijriDay(1, 9, 1445)), "2024-03-11 00:00");
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 9, 1445), (Parts{11, 3, 2024, 2}));
    // 1445 is a leap year: Dhu al-Hijjah has 30 days, then 1446 begins.
    EXPECT_EQ(SunCalculator::convertToGregorianFromHijriDay(30, 12, 1445), "07 Jul 2024");
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{8, 7, 2024, 2}));

    // A correction read afresh at each call: +2 moves two days earlier, -1 one day later.
    setPreferences({{"HijriCorrection", 2}});
    EXPECT_EQ(SunCalculator::convertToGregorianFromHijriDay(1, 9, 1445), "09 Mar 2024");
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{6, 7, 2024, 7}));
    EXPECT_EQ(ymd(SunCalculator::getDateFromHijriDay(1, 1, 1446)), "2024-07-06 00:00");
    setPreferences({{"HijriCorrection", -1}});
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(30, 12, 1445), (Parts{8, 7, 2024, 2}));

    // The year in the text is the week-based one: Monday 30 December 2024 is in the first
    // week of 2025 (28 Jumada al-Akhirah 1446).
    setPreferences({{"HijriCorrection", 0}});
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(28, 6, 1446), (Parts{30, 12, 2024, 2}));
    EXPECT_EQ(SunCalculator::convertToGregorianFromHijriDay(28, 6, 1446), "30 Dec 2025");

    EXPECT_EQ(ymd(SunCalculator::getDateForDay(29, 2, 2024)), "2024-02-29 00:00");

    // Month lengths of the arithmetical calendar: Safar 1445 has 29 days, Dhu al-Hijjah of the
    // leap year 1445 has 30, of 1446 29.
    EXPECT_EQ((std::array{IslamicCalendar::daysInMonth(2, 1445), IslamicCalendar::daysInMonth(12, 1445),
                          IslamicCalendar::daysInMonth(12, 1446), IslamicCalendar::daysInMonth(13, 1445)}),
              (std::array<int64_t, 4>{29, 30, 29, 0}));
}

TEST_F(HijriDates, GregorianToHijriIsTheInverse) {
    const Date newYear = at(2024, 7, 8, 21, 0);  // evening of 8 July, still 1 Muharram
    EXPECT_EQ(SunCalculator::getCompsForHijriFromDate(newYear), (Parts{1, 1, 1446, 2}));
    EXPECT_EQ(SunCalculator::convertToHijriFromDate(newYear), "1 Muharram 1446");
    EXPECT_EQ(SunCalculator::getCompsForHijriFromDate(at(2024, 7, 7, 9, 0)), (Parts{30, 12, 1445, 1}));

    setPreferences({{"HijriCorrection", 1}});
    // With +1 the new year starts a day earlier, both ways round.
    EXPECT_EQ(SunCalculator::getCompsForHijriFromDate(at(2024, 7, 7, 9, 0)), (Parts{1, 1, 1446, 1}));
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{7, 7, 2024, 1}));
    EXPECT_EQ(SunCalculator::convertToHijriFromDate(at(2024, 3, 10, 9, 0)), "1 Ramadan 1445");
}

TEST_F(HijriDates, UmmAlQuraPreferenceGivesTheSaudiOfficialDatesWithTheCorrectionOnTop) {
    // The first days of months of Saudi Arabia's published Umm al-Qura calendar.
    setPreferences({{"HijriCalendar", 1}});
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 9, 1445), (Parts{11, 3, 2024, 2}));   // Ramadan
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 10, 1445), (Parts{10, 4, 2024, 4}));  // Shawwal
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 12, 1445), (Parts{7, 6, 2024, 6}));   // Dhu al-Hijjah
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{7, 7, 2024, 1}));    // Muharram
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 9, 1446), (Parts{1, 3, 2025, 7}));    // Ramadan
    // The other way, and the text, follow the same calendar: 7 July 2024 is already 1446.
    EXPECT_EQ(SunCalculator::getCompsForHijriFromDate(at(2024, 7, 7, 12, 0)), (Parts{1, 1, 1446, 1}));
    EXPECT_EQ(SunCalculator::convertToHijriFromDate(at(2024, 7, 7, 12, 0)), "1 Muharram 1446");

    setPreferences({{"HijriCalendar", 1}, {"HijriCorrection", 1}});
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{6, 7, 2024, 7}));
    // A number that names no calendar reads as the arithmetical one.
    setPreferences({{"HijriCalendar", 7}, {"HijriCorrection", 0}});
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446), (Parts{8, 7, 2024, 2}));

    EXPECT_EQ(IslamicCalendar::kindNamed(" UmAlQura"), IslamicCalendar::Kind::ummAlQura);
    EXPECT_EQ(IslamicCalendar::kindNamed("islamic"), std::nullopt);
    EXPECT_EQ(IslamicCalendar::identifierOfKind(IslamicCalendar::Kind::astronomical), "islamic");
}

TEST_F(HijriDates, AReckoningTheCallerGivesWinsOverThePreferences) {
    // The stored choice says Umm al-Qura moved by 2 days; the caller's reckoning is used
    // instead, in both directions and in the texts.
    setPreferences({{"HijriCalendar", 1}, {"HijriCorrection", 2}});
    const SunCalculator::HijriReckoning civil{IslamicCalendar::Kind::civil, 0};
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446, civil), (Parts{8, 7, 2024, 2}));
    EXPECT_EQ(SunCalculator::convertToGregorianFromHijriDay(1, 9, 1445, civil), "11 Mar 2024");
    EXPECT_EQ(ymd(SunCalculator::getDateFromHijriDay(1, 9, 1445, civil)), "2024-03-11 00:00");
    EXPECT_EQ(SunCalculator::getCompsForHijriFromDate(at(2024, 7, 7, 9, 0), civil), (Parts{30, 12, 1445, 1}));
    EXPECT_EQ(SunCalculator::convertToHijriFromDate(at(2024, 7, 8, 21, 0), civil), "1 Muharram 1446");
    // Umm al-Qura moved by one day: 1 Muharram 1446 on 6 July 2024.
    const SunCalculator::HijriReckoning ummAlQura{IslamicCalendar::Kind::ummAlQura, 1};
    EXPECT_EQ(SunCalculator::getCompsForGregorianFromHijriDay(1, 1, 1446, ummAlQura), (Parts{6, 7, 2024, 7}));
    // The stored choice itself, as the forms without a reckoning read it.
    const SunCalculator::HijriReckoning stored = SunCalculator::userHijriReckoning();
    EXPECT_EQ(stored.kind, IslamicCalendar::Kind::ummAlQura);
    EXPECT_EQ(stored.correction, 2);
}
