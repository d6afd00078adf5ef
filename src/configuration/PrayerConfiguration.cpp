#include "tarvo/configuration/PrayerConfiguration.h"

#include <array>
#include <string>

#include "tarvo/platform/KeyedArchiver.h"
#include "tarvo/platform/KeyedUnarchiver.h"
#include "tarvo/platform/Locale.h"
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

// One stored setting: its key (the same in the store and in archives) and how it is kept.
struct PrayerConfiguration::Field {
    enum class Kind {
        flag,           // a bool in the store and in archives
        number,         // an integer in the store and in archives
        flagIsOne,      // an integer in the store, true only when it is exactly 1; a bool in archives
        flagIsNonZero,  // an integer in the store, true when it is not 0; a bool in archives
    };
    const char* key;
    Kind kind;
    bool PrayerConfiguration::*flag = nullptr;
    int64_t PrayerConfiguration::*number = nullptr;
};

// Loading order. The digit-first keys of the four extra times are the names existing stores
// hold and must not be "tidied".
const PrayerConfiguration::Field PrayerConfiguration::kFields[] = {
    // Read as an integer and compared with exactly 1: any other number counts as off.
    {"UsePrayerAdjustments", Field::Kind::flagIsOne, &PrayerConfiguration::UsePrayerAdjustments_},
    {"TimerStyleExactTime", Field::Kind::flag, &PrayerConfiguration::TimerStyleExactTime_},
    {"SoundAlertsDisabled", Field::Kind::flagIsNonZero, &PrayerConfiguration::SoundAlertsDisabled_},
    {"FajrAdj", Field::Kind::number, nullptr, &PrayerConfiguration::FajrAdj_},
    {"SunriseAdj", Field::Kind::number, nullptr, &PrayerConfiguration::SunriseAdj_},
    {"DhuhrAdj", Field::Kind::number, nullptr, &PrayerConfiguration::DhuhrAdj_},
    {"AsrAdj", Field::Kind::number, nullptr, &PrayerConfiguration::AsrAdj_},
    {"MaghribAdj", Field::Kind::number, nullptr, &PrayerConfiguration::MaghribAdj_},
    {"IshaAdj", Field::Kind::number, nullptr, &PrayerConfiguration::IshaAdj_},
    {"QiyamAdj", Field::Kind::number, nullptr, &PrayerConfiguration::QiyamAdj_},
    {"HijriCorrection", Field::Kind::number, nullptr, &PrayerConfiguration::HijriCorrection_},
    {"ShouldPlayDuaAfterAthan", Field::Kind::flag, &PrayerConfiguration::ShouldPlayDuaAfterAthan_},
    {"15HourBeforeSunrise", Field::Kind::flag, &PrayerConfiguration::OneHalfHourBeforeSunrise_},
    {"15HourAfterMaghrib", Field::Kind::flag, &PrayerConfiguration::OneHalfHourAfterMaghrib_},
    {"20HourAfterMaghrib", Field::Kind::flag, &PrayerConfiguration::TwoHourAfterMaghrib_},
    {"20HourAfterMaghribAuto", Field::Kind::flag, &PrayerConfiguration::TwoHourAfterMaghribAuto_},
    {"ShowingCurrentLocation", Field::Kind::flag, &PrayerConfiguration::ShowingCurrentLocation_},
    {"ShowQiyam", Field::Kind::flag, &PrayerConfiguration::ShowQiyam_},
    {"SahoorEndsReminder", Field::Kind::flag, &PrayerConfiguration::SahoorEndsReminder_},
    {"UseSunrise", Field::Kind::flag, &PrayerConfiguration::UseSunrise_},
    {"StatusItemShowsTextDisplay", Field::Kind::flag, &PrayerConfiguration::StatusItemShowsTextDisplay_},
    {"StatusItemPrayerTimeDisplayType", Field::Kind::number, nullptr,
     &PrayerConfiguration::StatusItemPrayerTimeDisplayType_},
    // A two-way choice, kept as a bool although the name says "type": the stores of existing
    // users hold a bool here.
    {"StatusItemPrayerNameDisplayType", Field::Kind::flag, &PrayerConfiguration::StatusItemPrayerNameDisplayType_},
    {"StatusItemShouldDisplayIcon", Field::Kind::flag, &PrayerConfiguration::StatusItemShouldDisplayIcon_},
    {"ShowPrayerNamesInArabic", Field::Kind::flag, &PrayerConfiguration::ShowPrayerNamesInArabic_},
    {"BackgroundLocationUpdates", Field::Kind::flag, &PrayerConfiguration::BackgroundLocationUpdates_},
    {"UseSystemArabicFont", Field::Kind::flag, &PrayerConfiguration::UseSystemArabicFont_},
    {"PreAlertType", Field::Kind::number, nullptr, &PrayerConfiguration::PreAlertType_},
    {"PreAlertInterval", Field::Kind::number, nullptr, &PrayerConfiguration::PreAlertInterval_},
};

PrayerConfiguration::PrayerConfiguration() { loadConfiguration(); }

void PrayerConfiguration::loadConfiguration() {
    for (const Field& field : kFields) {
        switch (field.kind) {
            case Field::Kind::flag: this->*field.flag = store()->boolForKey(field.key); break;
            case Field::Kind::number: this->*field.number = store()->integerForKey(field.key); break;
            case Field::Kind::flagIsOne: this->*field.flag = store()->integerForKey(field.key) == 1; break;
            case Field::Kind::flagIsNonZero: this->*field.flag = store()->integerForKey(field.key) != 0; break;
        }
    }

    IsLanguageArabic_ = Locale::isLanguageArabic();
    IsDateLanguageArabic_ = Locale::isDateLanguageArabic();

    // Older versions kept "show names in Arabic" under "ArabicLabels". The flag is taken over
    // once and cleared; the new key itself is only written by the next save, so a second
    // load before any save reads "ShowPrayerNamesInArabic" as it is stored. That one-shot
    // hand-over is intended: a user who switches the names back before saving is not
    // overruled by the old flag.
    if (store()->boolForKey("ArabicLabels")) {
        ShowPrayerNamesInArabic_ = true;
        store()->setBool("ArabicLabels", false);
        store()->synchronize();
    }
}

void PrayerConfiguration::saveIntoPreferences() const {
    for (const Field& field : kFields) {
        switch (field.kind) {
            case Field::Kind::flag: store()->setBool(field.key, this->*field.flag); break;
            case Field::Kind::number: store()->setInteger(field.key, this->*field.number); break;
            // Flags that are loaded from integers are saved as integers, so a load reads
            // them back unchanged.
            case Field::Kind::flagIsOne:
            case Field::Kind::flagIsNonZero: store()->setInteger(field.key, (this->*field.flag) ? 1 : 0); break;
        }
    }
    store()->synchronize();
}

void PrayerConfiguration::encodeWithCoder(KeyedArchiver& coder) const {
    for (const Field& field : kFields) {
        if (field.kind == Field::Kind::number) {
            coder.encodeInteger(this->*field.number, field.key);
        } else {
            coder.encodeBool(this->*field.flag, field.key);
        }
    }
    // "ar" is the archive's name for the language flag; the date-language flag is left out
    // because the receiver derives it from its own locale.
    coder.encodeBool(IsLanguageArabic_, "ar");

    // The alert settings are not part of this object: they are read live from the store so
    // that the archive carries the user's current choices.
    for (const char* prayer : kAlertPrayers) {
        coder.encodeBool(store()->boolForKey(vibrateKey(prayer)), vibrateKey(prayer));
        coder.encodeBool(store()->boolForKey(soundOffKey(prayer)), soundOffKey(prayer));
        // Kept as stored (usually the sound's number or its text); an absent alert stays absent.
        coder.encodeObject(store()->objectForKey(alertKey(prayer)).value_or(nullptr), alertKey(prayer));
    }
}

std::shared_ptr<PrayerConfiguration> PrayerConfiguration::initWithCoder(const KeyedUnarchiver& coder) {
    // Start from the local store and locale: the date-language flag is never archived and
    // must come from the receiving process.
    auto configuration = std::make_shared<PrayerConfiguration>();
    for (const Field& field : kFields) {
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
            store()->setObject(alertKey(prayer), *alert);
        } else {
            store()->removeObjectForKey(alertKey(prayer));
        }
    }
    return configuration;
}

}  // namespace tarvo
