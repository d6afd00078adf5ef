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
    EXPECT_FALSE(PrayerConfiguration().UseSunrise()) << "the library registers no defaults";

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

    // Each key reaches its own property (the extra-time keys are stored digits first).
    using Flag = bool (PrayerConfiguration::*)() const;
    const std::pair<const char*, Flag> flags[] = {
        {"15HourBeforeSunrise", &PrayerConfiguration::OneHalfHourBeforeSunrise},
        {"15HourAfterMaghrib", &PrayerConfiguration::OneHalfHourAfterMaghrib},
        {"20HourAfterMaghrib", &PrayerConfiguration::TwoHourAfterMaghrib},
        {"20HourAfterMaghribAuto", &PrayerConfiguration::TwoHourAfterMaghribAuto},
        {"StatusItemPrayerNameDisplayType", &PrayerConfiguration::StatusItemPrayerNameDisplayType},
    };
    for (const auto& [key, flag] : flags) {
        s->setBool(key, true);
        const PrayerConfiguration c;
        for (const auto& [otherKey, other] : flags) EXPECT_EQ((c.*other)(), otherKey == key) << key << " " << otherKey;
        s->removeObjectForKey(key);
    }
    s->setInteger("QiyamAdj", -6);
    s->setInteger("HijriCorrection", -1);
    s->setInteger("PreAlertInterval", 15);
    PrayerConfiguration snapshot;
    EXPECT_EQ(snapshot.QiyamAdj(), -6);
    EXPECT_EQ(snapshot.HijriCorrection(), -1);
    EXPECT_EQ(snapshot.PreAlertInterval(), 15);

    // A snapshot: later store changes need a fresh object (or a reload).
    s->setInteger("QiyamAdj", 9);
    EXPECT_EQ(snapshot.QiyamAdj(), -6);
    snapshot.loadConfiguration();
    EXPECT_EQ(snapshot.QiyamAdj(), 9);
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
    // The 29 stored settings and nothing else: the locale flags are never stored.
    EXPECT_FALSE(t->objectForKey("ar").has_value());
    EXPECT_EQ(t->persistentDomain().size(), 29u);

    // What was saved is durable: a store opened afresh on the same file reads it back.
    UserDefaults reopened(t->path());
    EXPECT_EQ(reopened.integerForKey("IshaAdj"), 12);
    const PrayerConfiguration reloaded;
    EXPECT_TRUE(reloaded.UsePrayerAdjustments());
    EXPECT_TRUE(reloaded.SoundAlertsDisabled());
    EXPECT_EQ(reloaded.IshaAdj(), 12);
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
