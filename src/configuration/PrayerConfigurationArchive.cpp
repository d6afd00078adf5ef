// The keyed archive of a configuration: the stored settings by their preference keys, the
// language flag, and the per-prayer alert settings handed over through the store.
#include "configuration/PrayerConfigurationArchive.h"

#include <array>
#include <string>

#include "configuration/PrayerConfigurationField.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

// The store is fetched afresh for every key: a host may swap the shared store at any time.
std::shared_ptr<UserDefaults> store() { return UserDefaults::sharedUserDefaultsObj(); }

// Per-prayer alert settings that travel inside an archived configuration, in archive order.
constexpr std::array<const char*, 7> kAlertPrayers = {"Fajr", "Sunrise", "Dhuhr", "Asr", "Maghrib", "Isha", "Qiyam"};

std::string vibrateKey(const char* prayer) { return std::string(prayer) + "SoundAlertVibrate"; }
std::string soundOffKey(const char* prayer) { return std::string(prayer) + "SoundOff"; }
std::string alertKey(const char* prayer) { return std::string(prayer) + "SoundAlert"; }

}  // namespace

void PrayerConfigurationArchive::encode(const PrayerConfiguration& configuration, KeyedArchiver& coder) {
    using Field = PrayerConfiguration::Field;
    for (const Field& field : fields()) {
        if (field.kind == Field::Kind::number) {
            coder.encodeInteger(configuration.*field.number, field.key);
        } else {
            coder.encodeBool(configuration.*field.flag, field.key);
        }
    }
    // "ar" is the archive's name for the language flag; the date-language flag is left out
    // because the receiver derives it from its own locale.
    coder.encodeBool(configuration.IsLanguageArabic_, "ar");

    // The alert settings are not part of the configuration: they are read live from the store
    // so that the archive carries the user's current choices.
    for (const char* prayer : kAlertPrayers) {
        coder.encodeBool(store()->boolForKey(vibrateKey(prayer)), vibrateKey(prayer));
        coder.encodeBool(store()->boolForKey(soundOffKey(prayer)), soundOffKey(prayer));
        // Kept as stored (usually the sound's number or its text); an absent alert stays absent.
        coder.encodeObject(PreferenceStore::of(*store()).objectForKey(alertKey(prayer)).value_or(nullptr), alertKey(prayer));
    }
}

std::shared_ptr<PrayerConfiguration> PrayerConfigurationArchive::decode(const KeyedUnarchiver& coder) {
    using Field = PrayerConfiguration::Field;
    // Start from the local store and locale: the date-language flag is never archived and
    // must come from the receiving process.
    auto configuration = std::make_shared<PrayerConfiguration>();
    for (const Field& field : fields()) {
        if (field.kind == Field::Kind::number) {
            configuration.get()->*field.number = coder.decodeInteger(field.key);
        } else {
            configuration.get()->*field.flag = coder.decodeBool(field.key);
        }
    }
    configuration->IsLanguageArabic_ = coder.decodeBool("ar");

    // Hand the alert settings over to this process's store. No synchronise here: the
    // receiver decides when its store is flushed.
    for (const char* prayer : kAlertPrayers) {
        store()->setBool(vibrateKey(prayer), coder.decodeBool(vibrateKey(prayer)));
        store()->setBool(soundOffKey(prayer), coder.decodeBool(soundOffKey(prayer)));
        if (auto alert = coder.decodeObject(alertKey(prayer))) {
            PreferenceStore::of(*store()).setObject(alertKey(prayer), *alert);
        } else {
            store()->removeObjectForKey(alertKey(prayer));
        }
    }
    return configuration;
}

}  // namespace tarvo
