// The prayer record: names in English and Arabic, the Friday rule at a moment and through the clock,
// adjustments across midnight, equality; and the per-prayer alert settings against a fresh
// shared store: the enable rules, the global switch, the text write of the default sound,
// the knock-knock rule and the sound files.
#include "platform/storage/PreferenceStore.h"
#include "support/FacadeFixture.h"
#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/prayers/Prayer.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class PrayerAlerts : public FacadeTest {
protected:
    void TearDown() override {
        Bundle::main().setResourceDirectory({});
        FacadeTest::TearDown();
    }
    static std::shared_ptr<UserDefaults> store() { return UserDefaults::sharedUserDefaultsObj(); }
};

class PrayerRecord : public FacadeTest {};

}  // namespace

TEST_F(PrayerAlerts, EnabledVibrateAndNamesFollowTheKeys) {
    const Prayer fajr(Prayer::Fajr);
    EXPECT_FALSE(fajr.isSoundAlertEnabledCheckGlobalSetting(false));  // nothing stored
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "No Alert");

    store()->setString("FajrSoundAlert", "4");  // numeric text reads as its number
    store()->setBool("FajrSoundOff", false);
    EXPECT_TRUE(fajr.isSoundAlertEnabledCheckGlobalSetting(true));
    EXPECT_EQ(fajr.builtInAlertType(), 4);
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "Telmari Azan");
    EXPECT_EQ(Prayer(Prayer::TomorrowFajr).getNameForCurrentPrayerSelection(), "Telmari Azan");  // shares the keys

    // The global switch counts only when asked to.
    Prayer::setSoundAlertsDisabled(true);
    EXPECT_EQ(*PreferenceStore::of(*store()).objectForKey("SoundAlertsDisabled"), 1);  // the number the configuration saves
    EXPECT_FALSE(fajr.isSoundAlertEnabledCheckGlobalSetting(true));
    EXPECT_TRUE(fajr.isSoundAlertEnabledCheckGlobalSetting(false));
    Prayer::setSoundAlertsDisabled(false);

    // Off keeps the selection; on restores it; vibrate is off with sound.
    fajr.turnVibrateAlertON();
    EXPECT_FALSE(fajr.isSoundAlertEnabledCheckGlobalSetting(false));
    EXPECT_TRUE(fajr.isVibrateAlertEnabled());
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "Vibrate only");
    fajr.turnSoundAlertOFF();
    EXPECT_FALSE(fajr.isVibrateAlertEnabled());
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "No Alert");
    EXPECT_EQ(store()->integerForKey("FajrSoundAlert"), 4);
    fajr.turnSoundAlertON();
    EXPECT_TRUE(fajr.isSoundAlertEnabledCheckGlobalSetting(true));
    EXPECT_EQ(*PreferenceStore::of(*store()).objectForKey("FajrSoundAlert"), "4");  // an existing choice is not rewritten

    // Names go through the host's strings; the user-picked file has no name.
    ASSERT_TRUE(Bundle::main().registerStringTable(R"({"Telmari Azan": "Azan Telmari", "No Alert": "Aucune"})"));
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "Azan Telmari");
    EXPECT_EQ(Prayer(Prayer::Asr).getNameForCurrentPrayerSelection(), "Aucune");
    Bundle::main().removeAllStringTables();
    fajr.setBuiltInAlertType(Prayer::kUserPickedSound);
    EXPECT_EQ(*PreferenceStore::of(*store()).objectForKey("FajrSoundAlert"), 100);
    EXPECT_EQ(fajr.getNameForCurrentPrayerSelection(), "");

    Prayer(Prayer::Isha).setCanPlayPrealert(true);
    EXPECT_TRUE(store()->boolForKey("IshaPreAlertEnabled"));
}

TEST_F(PrayerAlerts, SwitchingOnStoresTheTypesDefaultAsText) {
    const std::vector<std::pair<int64_t, std::string>> cases = {
        {Prayer::Fajr, "7"}, {Prayer::Sunrise, "8"}, {Prayer::Sunset, "4"}, {Prayer::Isha, "4"}, {Prayer::Qiyam, "8"}};
    for (const auto& [type, sound] : cases) {
        const Prayer prayer(type);
        prayer.turnSoundAlertON();
        const std::string key = std::string(Prayer::alertKeyPrefix(type)) + "SoundAlert";
        EXPECT_EQ(PreferenceStore::of(*store()).objectForKey(key), PreferenceStore::Value(sound)) << key;  // a string, not a number
        EXPECT_FALSE(store()->boolForKey(std::string(Prayer::alertKeyPrefix(type)) + "SoundOff"));
    }
    // Types without keys of their own use the bare suffixes.
    Prayer(12).turnSoundAlertON();
    EXPECT_EQ(*PreferenceStore::of(*store()).objectForKey("SoundAlert"), "8");
}

TEST_F(PrayerAlerts, SoundFilesAndTheKnockKnockRule) {
    tarvo::test::TempFolder sounds;
    for (const char* name : {"1.mp3", "4.mp3", "8.mp3"}) tarvo::test::writeBytes(sounds / name, "x");
    Bundle::main().setResourceDirectory(sounds.path());

    store()->setString("FajrSoundAlert", "4");
    bool builtIn = false;
    EXPECT_EQ(Prayer(Prayer::Fajr).pathToAlertFile(&builtIn), (sounds / "4.mp3").string());
    EXPECT_TRUE(builtIn);

    // An azan at sunrise or Qiyam plays the knock; a beep stays; tomorrow's sunrise keeps it.
    store()->setInteger("SunriseSoundAlert", 1);
    store()->setInteger("QiyamSoundAlert", 10);
    EXPECT_EQ(Prayer(Prayer::Sunrise).pathToAlertFile(nullptr), (sounds / "8.mp3").string());
    EXPECT_EQ(Prayer(Prayer::Qiyam).builtInAlertResource(), 8);
    EXPECT_EQ(Prayer(Prayer::TomorrowSunrise).pathToAlertFile(nullptr), (sounds / "1.mp3").string());
    store()->setInteger("QiyamSoundAlert", 6);
    EXPECT_EQ(Prayer(Prayer::Qiyam).builtInAlertResource(), 6);

    // A built-in sound whose file is not there: no path, but it is still a built-in choice.
    builtIn = false;
    EXPECT_EQ(Prayer(Prayer::Qiyam).pathToAlertFile(&builtIn), std::nullopt);
    EXPECT_TRUE(builtIn);

    // The user-picked file: the stored path (or nothing), the flag untouched.
    const Prayer asr(Prayer::Asr);
    store()->setInteger("AsrSoundAlert", 100);
    builtIn = false;
    EXPECT_EQ(asr.pathToAlertFile(&builtIn), std::nullopt);
    asr.setPathToCustomAlert("/music/adhan.m4a");
    EXPECT_EQ(asr.pathToAlertFile(&builtIn), "/music/adhan.m4a");
    EXPECT_FALSE(builtIn);
    EXPECT_EQ(asr.builtInAlertType(), 100);  // storing a path does not select it
    asr.setPathToCustomAlert(std::nullopt);
    EXPECT_FALSE(PreferenceStore::of(*store()).objectForKey("AsrSoundAlertUserPicked"));

    // A value outside the table: nothing.
    store()->setInteger("IshaSoundAlert", 11);
    EXPECT_EQ(Prayer(Prayer::Isha).pathToAlertFile(&builtIn), std::nullopt);
    EXPECT_FALSE(builtIn);

    // Without a resource folder no built-in sound has a file.
    Bundle::main().setResourceDirectory({});
    EXPECT_EQ(Prayer(Prayer::Fajr).pathToAlertFile(nullptr), std::nullopt);
}

TEST_F(PrayerRecord, FridayIsTheMomentsOwnOnItsCalendar) {
    // Names read at a given moment: the weekday of that moment on the calendar given decides
    // Jumua, whatever day the clock shows; the two display settings come with the context.
    // The clock says Tuesday 2 January 2024; the questions are about other days.
    Clock::installFixed(Date(1704186000));
    const Calendar riyadh(*TimeZone::withName("Asia/Riyadh"));
    const Calendar london(*TimeZone::withName("Europe/London"));
    const Date fridayNoon(1710495600);    // 2024-03-15 12:40 in Riyadh, a Friday
    const Date thursdayNoon(1710409200);  // 2024-03-14 12:40 in Riyadh
    const Date fridayEarly(1710459000);   // Friday 02:30 in Riyadh, Thursday 23:30 in London

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

TEST_F(PrayerRecord, NamesOnFridayAndOtherDays) {
    setPreferences({{"UseSunrise", true}});
    const auto dhuhr = Prayer::CreatePrayerOfType(2);
    Clock::installFixed(at(2024, 3, 15, 9, 0));  // a Friday
    EXPECT_TRUE(dhuhr->isJumua());
    EXPECT_EQ(dhuhr->PrayerNameEnglish(), "Jumua");
    // The record's own date does not matter: a Thursday's Dhuhr reads as Jumua on a Friday.
    DateComponents scratch;
    dhuhr->setPrayerYear(2024, 3, 14, 12, 10, 0, Calendar(), scratch);
    EXPECT_EQ(dhuhr->PrayerName(), "Jumua");
    EXPECT_FALSE(Prayer::CreatePrayerOfType(3)->isJumua());

    Clock::installFixed(at(2024, 3, 16, 9, 0));  // Saturday
    EXPECT_FALSE(dhuhr->isJumua());
    EXPECT_EQ(dhuhr->PrayerNameEnglish(), "Duhr");

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
