// The global prayer configuration: loading rules, saving, the legacy flag, archiving.
#include <gtest/gtest.h>

#include "configuration/PrayerConfigurationArchive.h"
#include "support/DataFolder.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "tarvo/platform/Locale.h"

namespace tarvo {
namespace {

using test::ScopedDataFolder;
using Value = PreferenceStore::Value;

std::shared_ptr<UserDefaults> shared() { return UserDefaults::sharedUserDefaultsObj(); }

KeyedUnarchiver archived(const PrayerConfiguration& configuration) {
    KeyedArchiver archiver{std::string(PrayerConfiguration::kArchiveClassName)};
    PrayerConfigurationArchive::encode(configuration, archiver);
    return KeyedUnarchiver::forReadingFromData(archiver.encodedData(), PrayerConfiguration::kArchiveClassName).value();
}

class PrayerConfigurationTest : public ::testing::Test {
protected:
    ~PrayerConfigurationTest() override { Locale::setCurrentLocale(""); }
    ScopedDataFolder folder_;
};

TEST_F(PrayerConfigurationTest, LoadsEveryKeyWithItsReadingRule) {
    EXPECT_FALSE(PrayerConfiguration().UseSunrise()) << "the library registers no defaults";
    // Only exactly 1 switches adjustments on; any non-zero number disables sound alerts.
    shared()->setInteger("UsePrayerAdjustments", 2);
    shared()->setInteger("SoundAlertsDisabled", 2);
    EXPECT_FALSE(PrayerConfiguration().UsePrayerAdjustments());
    EXPECT_TRUE(PrayerConfiguration().SoundAlertsDisabled());
    shared()->setString("UsePrayerAdjustments", "1");
    EXPECT_TRUE(PrayerConfiguration().UsePrayerAdjustments());

    // Each key reaches its own property; the extra-time keys are stored digits first.
    using Flag = bool (PrayerConfiguration::*)() const;
    const std::pair<const char*, Flag> flags[] = {
        {"15HourBeforeSunrise", &PrayerConfiguration::OneHalfHourBeforeSunrise},
        {"15HourAfterMaghrib", &PrayerConfiguration::OneHalfHourAfterMaghrib},
        {"20HourAfterMaghrib", &PrayerConfiguration::TwoHourAfterMaghrib},
        {"20HourAfterMaghribAuto", &PrayerConfiguration::TwoHourAfterMaghribAuto},
        {"StatusItemPrayerNameDisplayType", &PrayerConfiguration::StatusItemPrayerNameDisplayType},
    };
    for (const auto& [key, flag] : flags) {
        shared()->setBool(key, true);
        const PrayerConfiguration c;
        for (const auto& [otherKey, other] : flags) EXPECT_EQ((c.*other)(), otherKey == key) << key << " " << otherKey;
        shared()->removeObjectForKey(key);
    }
    // A snapshot: later store changes need a fresh object or a reload.
    PrayerConfiguration snapshot;
    shared()->setInteger("QiyamAdj", 9);
    EXPECT_EQ(snapshot.QiyamAdj(), 0);
    snapshot.loadConfiguration();
    EXPECT_EQ(snapshot.QiyamAdj(), 9);
}

TEST_F(PrayerConfigurationTest, SavesEverySettingSoThatALoadReadsItBack) {
    shared()->setInteger("UsePrayerAdjustments", 1);
    shared()->setInteger("SoundAlertsDisabled", 7);
    shared()->setInteger("IshaAdj", 12);
    shared()->setBool("20HourAfterMaghrib", true);
    const PrayerConfiguration loaded;

    ScopedDataFolder other;  // an empty store
    loaded.saveIntoPreferences();
    // The flags loaded from integers are saved as integers 1/0; the rest keep their kinds.
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("UsePrayerAdjustments"), Value(1));
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("SoundAlertsDisabled"), Value(1));
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("20HourAfterMaghrib"), Value(true));
    // The 31 stored settings (HijriCalendar and PolarResolution among them) and nothing else: the locale flags are
    // never stored.
    EXPECT_EQ(PreferenceStore::of(*shared()).persistentDomain().size(), 31u);
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("HijriCalendar"), Value(0));
    EXPECT_FALSE(PreferenceStore::of(*shared()).objectForKey("ar").has_value());
    EXPECT_EQ(UserDefaults(shared()->path()).integerForKey("IshaAdj"), 12) << "durable";
}

TEST_F(PrayerConfigurationTest, LegacyArabicLabelsFlagIsTakenOverOnce) {
    shared()->setBool("ArabicLabels", true);
    EXPECT_TRUE(PrayerConfiguration().ShowPrayerNamesInArabic());
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("ArabicLabels"), Value(false));
    // The migration does not write the new key, so a second load before any save reads the
    // new key as stored: one-shot by design.
    EXPECT_FALSE(PreferenceStore::of(*shared()).objectForKey("ShowPrayerNamesInArabic").has_value());
    EXPECT_FALSE(PrayerConfiguration().ShowPrayerNamesInArabic());
    // Once saved, the migrated value sticks.
    shared()->setBool("ArabicLabels", true);
    PrayerConfiguration().saveIntoPreferences();
    EXPECT_TRUE(PrayerConfiguration().ShowPrayerNamesInArabic());
}

TEST_F(PrayerConfigurationTest, ArchiveCarriesSettingsAndLiveAlertsAndDecodingHandsOnlyAlertsToTheStore) {
    shared()->setInteger("UsePrayerAdjustments", 1);
    shared()->setInteger("MaghribAdj", 3);
    shared()->setBool("15HourAfterMaghrib", true);
    Locale::setCurrentLocale("ar_SA@numbers=arab");
    const PrayerConfiguration source;
    // Alert settings are read when archiving, not when the object was made.
    shared()->setBool("FajrSoundAlertVibrate", true);
    shared()->setString("FajrSoundAlert", "7");
    shared()->setInteger("IshaSoundAlert", 4);
    const KeyedUnarchiver coder = archived(source);
    EXPECT_TRUE(coder.decodeBool("ar"));
    EXPECT_FALSE(coder.containsValueForKey("IsDateLanguageArabic"));
    EXPECT_EQ(coder.decodeObject("FajrSoundAlert"), Value("7"));
    EXPECT_FALSE(coder.containsValueForKey("DhuhrSoundAlert"));
    EXPECT_TRUE(coder.containsValueForKey("QiyamSoundOff")) << "unset switches travel as false";

    // The receiving process: an English device with a store of other values.
    ScopedDataFolder receiver;
    Locale::setCurrentLocale("en_GB");
    shared()->setInteger("MaghribAdj", -8);
    shared()->setInteger("DhuhrSoundAlert", 5);  // absent from the archive: removed
    shared()->setBool("SunriseSoundOff", true);  // false in the archive: overwritten
    auto decoded = PrayerConfigurationArchive::decode(coder);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(decoded->UsePrayerAdjustments());
    EXPECT_EQ(decoded->MaghribAdj(), 3);
    EXPECT_TRUE(decoded->OneHalfHourAfterMaghrib());
    // The language flag travels; the date-language flag is the receiver's own.
    EXPECT_TRUE(decoded->IsLanguageArabic());
    EXPECT_FALSE(decoded->IsDateLanguageArabic());
    EXPECT_TRUE(shared()->boolForKey("FajrSoundAlertVibrate"));
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("FajrSoundAlert"), Value("7"));
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("IshaSoundAlert"), Value(4));
    EXPECT_FALSE(PreferenceStore::of(*shared()).objectForKey("DhuhrSoundAlert").has_value());
    EXPECT_EQ(PreferenceStore::of(*shared()).objectForKey("SunriseSoundOff"), Value(false));
    // The other properties are not written to the store.
    EXPECT_EQ(shared()->integerForKey("MaghribAdj"), -8);
    EXPECT_FALSE(PreferenceStore::of(*shared()).objectForKey("UsePrayerAdjustments").has_value());
}

TEST_F(PrayerConfigurationTest, ArchivedDataIsTheHostsWayToSendAConfiguration) {
    shared()->setInteger("HijriCorrection", -2);
    shared()->setBool("15HourAfterMaghrib", true);
    const std::vector<uint8_t> data = PrayerConfiguration().archivedData();

    ScopedDataFolder receiver;  // a store with none of those values
    const auto decoded = PrayerConfiguration::initWithArchivedData(data);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->HijriCorrection(), -2);
    EXPECT_TRUE(decoded->OneHalfHourAfterMaghrib());
    // Bytes that are no archive, or an archive of another class, give nothing.
    EXPECT_EQ(PrayerConfiguration::initWithArchivedData({1, 2, 3}), nullptr);
    KeyedArchiver city{"TarvoCity"};
    EXPECT_EQ(PrayerConfiguration::initWithArchivedData(city.encodedData()), nullptr);
}

}  // namespace
}  // namespace tarvo
