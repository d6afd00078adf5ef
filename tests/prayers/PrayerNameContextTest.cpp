// Names read at a given moment: the weekday of that moment on the calendar given decides
// Jumua, whatever day the clock shows; the two display settings come with the context.
#include "support/FacadeFixture.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/prayers/Prayer.h"

using namespace tarvo;

namespace {
class PrayerNameContext : public tarvo::test::FacadeTest {};
}  // namespace

TEST_F(PrayerNameContext, FridayIsTheMomentsOwnOnItsCalendar) {
    // The clock says Tuesday 2 January 2024; the questions are about other days.
    Clock::installFixed(Date(1704186000));
    const Calendar riyadh(*TimeZone::withName("Asia/Riyadh"));
    const Calendar london(*TimeZone::withName("Europe/London"));
    const Date fridayNoon(1710495600);      // 2024-03-15 12:40 in Riyadh, a Friday
    const Date thursdayNoon(1710409200);    // 2024-03-14 12:40 in Riyadh
    const Date fridayEarly(1710459000);     // Friday 02:30 in Riyadh, Thursday 23:30 in London

    const Prayer dhuhr(Prayer::Dhuhr);
    const auto friday = Prayer::nameContextAt(fridayNoon, riyadh, false, false);
    EXPECT_EQ(dhuhr.PrayerNameEnglish(friday), "Jumua");
    EXPECT_EQ(dhuhr.ShortTwoLetterNameEnglish(friday), "JU");
    EXPECT_EQ(dhuhr.ShortThreeLetterNameEnglish(friday), "Jum");
    EXPECT_EQ(dhuhr.ShortName(friday), "J");
    const auto thursday = Prayer::nameContextAt(thursdayNoon, riyadh, false, false);
    EXPECT_EQ(dhuhr.PrayerNameEnglish(thursday), "Duhr");
    EXPECT_EQ(dhuhr.ShortTwoLetterNameEnglish(thursday), "DH");
    EXPECT_EQ(dhuhr.ShortThreeLetterNameEnglish(thursday), "Dhr");

    EXPECT_TRUE(dhuhr.isJumuaAt(fridayEarly, riyadh));
    EXPECT_FALSE(dhuhr.isJumuaAt(fridayEarly, london));
    EXPECT_FALSE(Prayer(Prayer::Asr).isJumuaAt(fridayNoon, riyadh));  // only Dhuhr becomes Jumua
    EXPECT_FALSE(dhuhr.isJumua());                                    // the calls without a moment: now, a Tuesday

    // The settings travel with the context: Arabic Jumua, Sunrise rather than Doha.
    const auto arabic = Prayer::nameContextAt(fridayNoon, riyadh, true, true);
    EXPECT_EQ(dhuhr.PrayerName(arabic), "\u0627\u0644\u062C\u0645\u0639\u0629");
    EXPECT_EQ(dhuhr.ShortName(arabic), "\u062C");
    EXPECT_EQ(Prayer(Prayer::Sunrise).PrayerName(arabic), "\u0627\u0644\u0625\u0634\u0631\u0627\u0642");
    EXPECT_EQ(Prayer(Prayer::TomorrowSunrise).ShortTwoLetterNameEnglish(arabic), "SH");
    EXPECT_EQ(Prayer(Prayer::Sunrise).PrayerNameEnglish(friday), "Doha");
}
