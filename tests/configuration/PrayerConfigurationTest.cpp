// The global prayer configuration: loading rules, saving, the legacy flag, archiving.
#include <gtest/gtest.h>

#include "platform/ScopedDataFolder.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/platform/KeyedArchiver.h"
#include "tarvo/platform/KeyedUnarchiver.h"
#include "tarvo/platform/Locale.h"

namespace tarvo {
namespace {

using test::ScopedDataFolder;

std::shared_ptr<UserDefaults> shared() { return UserDefaults::sharedUserDefaultsObj(); }

const char* const kAlertPrayers[] = {"Fajr", "Sunrise", "Dhuhr", "Asr", "Maghrib", "Isha", "Qiyam"};

class PrayerConfigurationTest : public ::testing::Test {
protected:
    ~PrayerConfigurationTest() override { Locale::setCurrentLocale(""); }
    ScopedDataFolder folder_;
};

std::vector<uint8_t> archived(const PrayerConfiguration& configuration) {
    KeyedArchiver archiver(std::string(PrayerConfiguration::kArchiveClassName));
    configuration.encodeWithCoder(archiver);
    return archiver.encodedData();
}

TEST_F(PrayerConfigurationTest, LoadsEveryKeyWithItsReadingRule) {
    {
        const PrayerConfiguration empty;
        EXPECT_FALSE(empty.UsePrayerAdjustments());
        EXPECT_FALSE(empty.SoundAlertsDisabled());
        EXPECT_FALSE(empty.UseSunrise());
        EXPECT_EQ(empty.FajrAdj(), 0);
        EXPECT_EQ(empty.PreAlertInterval(), 0);
    }

    // Only exactly 1 switches adjustments on; any non-zero number disables sound alerts.
    auto s = shared();
    s->setInteger("UsePrayerAdjustments", 2);
    s->setInteger("SoundAlertsDisabled", 2);
    EXPECT_FALSE(PrayerConfiguration().UsePrayerAdjustments());
    EXPECT_TRUE(PrayerConfiguration().SoundAlertsDisabled());
    s->setString("UsePrayerAdjustments", "1");
    s->setInteger("SoundAlertsDisabled", 0);
    EXPECT_TRUE(PrayerConfiguration().UsePrayerAdjustments());
    EXPECT_FALSE(PrayerConfiguration().SoundAlertsDisabled());

    s->setInteger("FajrAdj", -3);
    s->setInteger("SunriseAdj", 1);
    s->setInteger("DhuhrAdj", 2);
    s->setInteger("AsrAdj", 3);
    s->setInteger("MaghribAdj", 4);
    s->setInteger("IshaAdj", 5);
    s->setInteger("QiyamAdj", -6);
    s->setInteger("HijriCorrection", -1);
    s->setBool("15HourBeforeSunrise", true);
    s->setBool("20HourAfterMaghribAuto", true);
    s->setBool("ShowQiyam", true);
    s->setBool("UseSunrise", true);
    s->setBool("StatusItemPrayerNameDisplayType", true);
    s->setInteger("StatusItemPrayerTimeDisplayType", 3);
    s->setInteger("PreAlertType", 2);
    s->setInteger("PreAlertInterval", 15);
    s->setBool("UseSystemArabicFont", true);
    const PrayerConfiguration c;
    EXPECT_EQ(c.FajrAdj(), -3);
    EXPECT_EQ(c.SunriseAdj(), 1);
    EXPECT_EQ(c.DhuhrAdj(), 2);
    EXPECT_EQ(c.AsrAdj(), 3);
    EXPECT_EQ(c.MaghribAdj(), 4);
    EXPECT_EQ(c.IshaAdj(), 5);
    EXPECT_EQ(c.QiyamAdj(), -6);
    EXPECT_EQ(c.HijriCorrection(), -1);
    EXPECT_TRUE(c.OneHalfHourBeforeSunrise());
    EXPECT_FALSE(c.OneHalfHourAfterMaghrib());
    EXPECT_TRUE(c.TwoHourAfterMaghribAuto());
    EXPECT_TRUE(c.ShowQiyam());
    EXPECT_TRUE(c.UseSunrise());
    EXPECT_TRUE(c.StatusItemPrayerNameDisplayType());
    EXPECT_EQ(c.StatusItemPrayerTimeDisplayType(), 3);
    EXPECT_EQ(c.PreAlertType(), 2);
    EXPECT_EQ(c.PreAlertInterval(), 15);
    EXPECT_TRUE(c.UseSystemArabicFont());

    // A snapshot: later store changes need a fresh object (or a reload).
    PrayerConfiguration snapshot;
    s->setInteger("FajrAdj", 9);
    EXPECT_EQ(snapshot.FajrAdj(), -3);
    snapshot.loadConfiguration();
    EXPECT_EQ(snapshot.FajrAdj(), 9);
}

TEST_F(PrayerConfigurationTest, SavesIntegersAndBoolsSoThatALoadReadsThemBack) {
    auto s = shared();
    s->setInteger("UsePrayerAdjustments", 1);
    s->setInteger("SoundAlertsDisabled", 7);
    s->setInteger("IshaAdj", 12);
    s->setBool("20HourAfterMaghrib", true);
    s->setBool("BackgroundLocationUpdates", true);
    s->setInteger("PreAlertType", 5);
    const PrayerConfiguration loaded;

    // Save into an empty store in another data folder.
    ScopedDataFolder other;
    loaded.saveIntoPreferences();
    auto t = shared();
    ASSERT_NE(t->path(), s->path());
    // The flags loaded from integers are saved as integers 1/0; the rest keep their kinds.
    EXPECT_EQ(t->objectForKey("UsePrayerAdjustments"), UserDefaults::Value(1));
    EXPECT_EQ(t->objectForKey("SoundAlertsDisabled"), UserDefaults::Value(1));
    EXPECT_EQ(t->objectForKey("TimerStyleExactTime"), UserDefaults::Value(false));
    EXPECT_EQ(t->objectForKey("IshaAdj"), UserDefaults::Value(12));
    EXPECT_EQ(t->objectForKey("20HourAfterMaghrib"), UserDefaults::Value(true));
    EXPECT_EQ(t->objectForKey("PreAlertType"), UserDefaults::Value(5));
    // The locale flags are never stored.
    EXPECT_FALSE(t->objectForKey("ar").has_value());
    EXPECT_FALSE(t->objectForKey("IsLanguageArabic").has_value());
    EXPECT_FALSE(t->objectForKey("IsDateLanguageArabic").has_value());
    EXPECT_EQ(t->persistentDomain().size(), 29u);

    // What was saved is durable: a store opened afresh on the same file reads it back.
    UserDefaults reopened(t->path());
    EXPECT_EQ(reopened.integerForKey("IshaAdj"), 12);
    const PrayerConfiguration reloaded;
    EXPECT_TRUE(reloaded.UsePrayerAdjustments());
    EXPECT_TRUE(reloaded.SoundAlertsDisabled());
    EXPECT_EQ(reloaded.IshaAdj(), 12);
    EXPECT_TRUE(reloaded.TwoHourAfterMaghrib());
    EXPECT_TRUE(reloaded.BackgroundLocationUpdates());
    EXPECT_EQ(reloaded.PreAlertType(), 5);
}

TEST_F(PrayerConfigurationTest, LegacyArabicLabelsFlagIsTakenOverOnce) {
    auto s = shared();
    s->setBool("ArabicLabels", true);
    const PrayerConfiguration first;
    EXPECT_TRUE(first.ShowPrayerNamesInArabic());
    EXPECT_FALSE(s->boolForKey("ArabicLabels"));
    EXPECT_TRUE(s->objectForKey("ArabicLabels").has_value());
    // The new key is not written by the migration itself...
    EXPECT_FALSE(s->objectForKey("ShowPrayerNamesInArabic").has_value());
    // ...so a second load before any save reads the new key as stored (one-shot by design).
    EXPECT_FALSE(PrayerConfiguration().ShowPrayerNamesInArabic());

    // Once saved, the migrated value sticks.
    s->setBool("ArabicLabels", true);
    PrayerConfiguration migrated;
    migrated.saveIntoPreferences();
    EXPECT_TRUE(s->boolForKey("ShowPrayerNamesInArabic"));
    EXPECT_TRUE(PrayerConfiguration().ShowPrayerNamesInArabic());
}

TEST_F(PrayerConfigurationTest, ArchiveCarriesSettingsAndLiveAlertsAndDecodingHandsAlertsOver) {
    auto s = shared();
    s->setInteger("UsePrayerAdjustments", 1);
    s->setInteger("SoundAlertsDisabled", 1);
    s->setInteger("MaghribAdj", 3);
    s->setInteger("HijriCorrection", 2);
    s->setBool("ShowQiyam", true);
    s->setBool("15HourAfterMaghrib", true);
    s->setInteger("PreAlertInterval", 10);
    const PrayerConfiguration source;

    // Alert settings are read when archiving, not when the object was made.
    s->setBool("FajrSoundAlertVibrate", true);
    s->setBool("FajrSoundOff", true);
    s->setString("FajrSoundAlert", "7");
    s->setInteger("IshaSoundAlert", 4);
    s->setBool("QiyamSoundOff", true);
    const auto data = archived(source);
    auto coder = KeyedUnarchiver::forReadingFromData(data, PrayerConfiguration::kArchiveClassName);
    ASSERT_TRUE(coder);
    EXPECT_TRUE(coder->containsValueForKey("ar"));
    EXPECT_EQ(coder->decodeBool("ar"), source.IsLanguageArabic());
    EXPECT_FALSE(coder->containsValueForKey("IsDateLanguageArabic"));
    EXPECT_TRUE(coder->decodeBool("UsePrayerAdjustments"));
    EXPECT_TRUE(coder->decodeBool("15HourAfterMaghrib"));
    EXPECT_EQ(coder->decodeInteger("MaghribAdj"), 3);
    EXPECT_EQ(coder->decodeObject("FajrSoundAlert"), UserDefaults::Value("7"));
    EXPECT_EQ(coder->decodeObject("IshaSoundAlert"), UserDefaults::Value(4));
    EXPECT_FALSE(coder->containsValueForKey("DhuhrSoundAlert"));
    for (const char* prayer : kAlertPrayers) {
        EXPECT_TRUE(coder->containsValueForKey(std::string(prayer) + "SoundAlertVibrate")) << prayer;
        EXPECT_TRUE(coder->containsValueForKey(std::string(prayer) + "SoundOff")) << prayer;
    }

    // The receiving process: another store with other values.
    ScopedDataFolder receiver;
    auto r = shared();
    r->setInteger("MaghribAdj", -8);
    r->setBool("FajrSoundAlertVibrate", false);
    r->setInteger("FajrSoundAlert", 1);
    r->setInteger("DhuhrSoundAlert", 5);  // absent from the archive: removed
    r->setBool("SunriseSoundOff", true);  // false in the archive: overwritten
    r->setBool("ShowQiyam", false);
    auto decoded = PrayerConfiguration::initWithCoder(*coder);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(decoded->UsePrayerAdjustments());
    EXPECT_TRUE(decoded->SoundAlertsDisabled());
    EXPECT_EQ(decoded->MaghribAdj(), 3);
    EXPECT_EQ(decoded->HijriCorrection(), 2);
    EXPECT_TRUE(decoded->ShowQiyam());
    EXPECT_TRUE(decoded->OneHalfHourAfterMaghrib());
    EXPECT_EQ(decoded->PreAlertInterval(), 10);
    EXPECT_EQ(decoded->IsLanguageArabic(), source.IsLanguageArabic());
    EXPECT_EQ(decoded->IsDateLanguageArabic(), PrayerConfiguration().IsDateLanguageArabic());

    // The 21 alert keys now hold the archived values...
    EXPECT_TRUE(r->boolForKey("FajrSoundAlertVibrate"));
    EXPECT_TRUE(r->boolForKey("FajrSoundOff"));
    EXPECT_EQ(r->objectForKey("FajrSoundAlert"), UserDefaults::Value("7"));
    EXPECT_EQ(r->objectForKey("IshaSoundAlert"), UserDefaults::Value(4));
    EXPECT_FALSE(r->objectForKey("DhuhrSoundAlert").has_value());
    EXPECT_EQ(r->objectForKey("SunriseSoundOff"), UserDefaults::Value(false));
    EXPECT_TRUE(r->boolForKey("QiyamSoundOff"));
    size_t alertKeys = 0;
    const UserDefaults::Value stored = r->persistentDomain();
    for (const auto& [key, value] : stored.items()) {
        for (const char* prayer : kAlertPrayers) {
            const std::string p(prayer);
            if (key == p + "SoundAlertVibrate" || key == p + "SoundOff" || key == p + "SoundAlert") ++alertKeys;
        }
    }
    EXPECT_EQ(alertKeys, 21u - 5u);  // five prayers had no alert object in the archive
    // ...while the other properties are not written to the store.
    EXPECT_EQ(r->integerForKey("MaghribAdj"), -8);
    EXPECT_FALSE(r->boolForKey("ShowQiyam"));
    EXPECT_FALSE(r->objectForKey("HijriCorrection").has_value());
}

TEST_F(PrayerConfigurationTest, LanguageFlagsComeFromTheLocaleAndOnlyOneTravels) {
    Locale::setCurrentLocale("ar_SA@numbers=arab");
    const PrayerConfiguration arabicDigits;
    EXPECT_TRUE(arabicDigits.IsLanguageArabic());
    EXPECT_TRUE(arabicDigits.IsDateLanguageArabic());

    Locale::setCurrentLocale("ar_EG");
    const PrayerConfiguration arabic;
    EXPECT_TRUE(arabic.IsLanguageArabic());
    EXPECT_FALSE(arabic.IsDateLanguageArabic());

    Locale::setCurrentLocale("en_GB");
    const PrayerConfiguration english;
    EXPECT_FALSE(english.IsLanguageArabic());
    EXPECT_FALSE(english.IsDateLanguageArabic());
    // Saving never stores them.
    english.saveIntoPreferences();
    EXPECT_FALSE(shared()->objectForKey("ar").has_value());

    // Made on an Arabic device, decoded on an English one: the language flag travels, the
    // date-language flag is the receiver's own.
    const auto data = archived(arabicDigits);
    auto coder = KeyedUnarchiver::forReadingFromData(data, PrayerConfiguration::kArchiveClassName);
    ASSERT_TRUE(coder);
    auto decoded = PrayerConfiguration::initWithCoder(*coder);
    EXPECT_TRUE(decoded->IsLanguageArabic());
    EXPECT_FALSE(decoded->IsDateLanguageArabic());
}

}  // namespace
}  // namespace tarvo
