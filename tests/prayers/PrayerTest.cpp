// The prayer record: names in English and Arabic, the Friday rule through the clock,
// adjustments across midnight, equality.
#include "support/FacadeFixture.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {
class PrayerRecord : public FacadeTest {};
}  // namespace

TEST_F(PrayerRecord, NamesOnFridayAndOtherDays) {
    setPreferences({{"UseSunrise", true}});
    const auto dhuhr = Prayer::CreatePrayerOfType(2);
    Clock::installFixed(at(2024, 3, 15, 9, 0));  // a Friday
    EXPECT_TRUE(dhuhr->isJumua());
    EXPECT_EQ(dhuhr->PrayerNameEnglish(), "Jumua");
    EXPECT_EQ(dhuhr->ShortTwoLetterNameEnglish(), "JU");
    // The record's own date does not matter: a Thursday's Dhuhr reads as Jumua on a Friday.
    DateComponents scratch;
    dhuhr->setPrayerYear(2024, 3, 14, 12, 10, 0, Calendar(), scratch);
    EXPECT_EQ(dhuhr->PrayerName(), "Jumua");
    EXPECT_FALSE(Prayer::CreatePrayerOfType(3)->isJumua());

    Clock::installFixed(at(2024, 3, 16, 9, 0));  // Saturday
    EXPECT_FALSE(dhuhr->isJumua());
    EXPECT_EQ(dhuhr->PrayerNameEnglish(), "Duhr");
    EXPECT_EQ(dhuhr->ShortTwoLetterNameEnglish(), "DH");

    // The name tables themselves are not restated; the switch between Sunrise and Doha is.
    EXPECT_EQ(Prayer(1).PrayerNameEnglish(), "Sunrise");
    EXPECT_EQ(Prayer(9).ShortTwoLetterNameEnglish(), "SH");
    EXPECT_EQ(Prayer(9).alertID(), "SunriseAlert");

    setPreferences({{"UseSunrise", false}});
    EXPECT_EQ(Prayer(1).PrayerNameEnglish(), "Doha");
    EXPECT_EQ(Prayer(9).ShortTwoLetterNameEnglish(), "SU");
    EXPECT_EQ(Prayer(9).ShortThreeLetterNameEnglish(), "Duh");

    EXPECT_EQ(Prayer(12).PrayerName() + Prayer(12).description(), "-Unknown");
}

TEST_F(PrayerRecord, ArabicNamesByCodePoint) {
    setPreferences({{"ShowPrayerNamesInArabic", true}, {"UseSunrise", false}});
    Clock::installFixed(at(2024, 3, 15, 9, 0));
    EXPECT_EQ(Prayer(0).PrayerName(), "\xD8\xA7\xD9\x84\xD9\x81\xD8\xAC\xD8\xB1");  // U+0627 0644 0641 062C 0631
    EXPECT_EQ(Prayer(1).PrayerName(), "\xD8\xA7\xD9\x84\xD8\xB6\xD8\xAD\xD9\x89");  // Doha
    EXPECT_EQ(Prayer(2).PrayerName(), "\xD8\xA7\xD9\x84\xD8\xAC\xD9\x85\xD8\xB9\xD8\xA9");  // Jumua
    EXPECT_EQ(Prayer(4).PrayerName(), Prayer(5).PrayerName());  // Sunset and Maghrib share a name
    EXPECT_EQ(Prayer(4).hash(), Prayer(5).hash());
    EXPECT_EQ(Prayer(7).PrayerNameEnglish(), "Qiyam");
}

TEST_F(PrayerRecord, TimesAdjustmentsAndEquality) {
    DateComponents scratch;
    Prayer fajr(0);
    fajr.setPrayerYear(2024, 3, 1, 0, 10, -15, Calendar(), scratch);
    EXPECT_EQ(local(std::make_shared<Prayer>(fajr)), "2024-02-29 23:55");
    EXPECT_EQ(fajr.AdjustmentMinutes(), -15);
    fajr.addArbitraryMinutesToPrayerTime(20, Calendar(), scratch);
    EXPECT_EQ(local(std::make_shared<Prayer>(fajr)), "2024-03-01 00:15");
    EXPECT_EQ(fajr.AdjustmentMinutes(), -15);

    auto a = Prayer::CreatePrayerOfType(3);
    auto b = Prayer::CreatePrayerOfType(3);
    b->setPrayerTime(Date(1e9));
    b->setAdjustmentMinutes(5);
    EXPECT_TRUE(a->isEqualToPrayer(b));  // the type alone counts
    EXPECT_FALSE(a->isEqualToPrayer(nullptr));
    EXPECT_FALSE(a->isEqualToPrayer(Prayer::CreatePrayerOfType(8)));
}
