#include "tarvo/configuration/PrayerConfiguration.h"

#include <array>
#include <limits>
#include <string>

#include "configuration/PrayerConfigurationArchive.h"
#include "configuration/PrayerConfigurationField.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"

namespace tarvo {

namespace {

// The store is fetched afresh for every key: a host may swap the shared store at any time.
std::shared_ptr<UserDefaults> store() { return UserDefaults::sharedUserDefaultsObj(); }

}  // namespace

namespace {
using C = PrayerConfiguration;
// An adjustment moves a prayer by at most three hours either way.
constexpr double kMaxAdjustment = 180;
}  // namespace

// Loading order. The digit-first keys of the four extra times are the names existing stores
// hold and must not be "tidied".
const PrayerConfiguration::Field PrayerConfiguration::kFields[] = {
    // Read as an integer and compared with exactly 1: any other number counts as off.
    {"UsePrayerAdjustments", Field::Kind::flagIsOne, "Apply the per-prayer adjustment minutes", &C::UsePrayerAdjustments_},
    {"TimerStyleExactTime", Field::Kind::flag, "Countdowns in exact-time timer style", &C::TimerStyleExactTime_},
    {"SoundAlertsDisabled", Field::Kind::flagIsNonZero, "All prayer sound alerts off", &C::SoundAlertsDisabled_},
    {"FajrAdj", Field::Kind::number, "Minutes added to Fajr", nullptr, &C::FajrAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"SunriseAdj", Field::Kind::number, "Minutes added to Sunrise", nullptr, &C::SunriseAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"DhuhrAdj", Field::Kind::number, "Minutes added to Dhuhr", nullptr, &C::DhuhrAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"AsrAdj", Field::Kind::number, "Minutes added to Asr", nullptr, &C::AsrAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"MaghribAdj", Field::Kind::number, "Minutes added to Maghrib (and Sunset)", nullptr, &C::MaghribAdj_, -kMaxAdjustment,
     kMaxAdjustment},
    {"IshaAdj", Field::Kind::number, "Minutes added to Isha", nullptr, &C::IshaAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"QiyamAdj", Field::Kind::number, "Minutes added to Qiyam", nullptr, &C::QiyamAdj_, -kMaxAdjustment, kMaxAdjustment},
    {"HijriCorrection", Field::Kind::number, "Days of correction for Hijri dates (+1: each Hijri day starts a day earlier)",
     nullptr, &C::HijriCorrection_, -3, 3},
    // Absent in older stores and archives: 0, the civil calendar they were made with.
    {"HijriCalendar", Field::Kind::number,
     "Calendar of Hijri dates: 0 civil (arithmetical), 1 Umm al-Qura (Saudi official), 2 astronomical", nullptr,
     &C::HijriCalendar_, 0, 2},
    {"ShouldPlayDuaAfterAthan", Field::Kind::flag, "Play the supplication after the call to prayer",
     &C::ShouldPlayDuaAfterAthan_},
    {"15HourBeforeSunrise", Field::Kind::flag, "Fajr one and a half hours before sunrise", &C::OneHalfHourBeforeSunrise_},
    {"15HourAfterMaghrib", Field::Kind::flag, "Isha one and a half hours after Maghrib", &C::OneHalfHourAfterMaghrib_},
    {"20HourAfterMaghrib", Field::Kind::flag, "Isha two hours after Maghrib", &C::TwoHourAfterMaghrib_},
    {"20HourAfterMaghribAuto", Field::Kind::flag, "Isha two hours after Maghrib in a Saudi Ramadan",
     &C::TwoHourAfterMaghribAuto_},
    {"ShowingCurrentLocation", Field::Kind::flag, "The host shows the current location, not a saved city",
     &C::ShowingCurrentLocation_},
    {"ShowQiyam", Field::Kind::flag, "Count the night prayer Qiyam as current and next", &C::ShowQiyam_},
    {"SahoorEndsReminder", Field::Kind::flag, "Remind when the pre-dawn meal ends", &C::SahoorEndsReminder_},
    {"UseSunrise", Field::Kind::flag, "Call the second time Sunrise (off: Doha, 10 minutes later)", &C::UseSunrise_},
    {"StatusItemShowsTextDisplay", Field::Kind::flag, "The status item shows text", &C::StatusItemShowsTextDisplay_},
    {"StatusItemPrayerTimeDisplayType", Field::Kind::number, "How the status item shows the time (the host's index)",
     nullptr, &C::StatusItemPrayerTimeDisplayType_},
    // A two-way choice, kept as a bool although the name says "type": the stores of existing
    // users hold a bool here.
    {"StatusItemPrayerNameDisplayType", Field::Kind::flag, "How the status item shows the name (a two-way choice)",
     &C::StatusItemPrayerNameDisplayType_},
    {"StatusItemShouldDisplayIcon", Field::Kind::flag, "The status item shows an icon", &C::StatusItemShouldDisplayIcon_},
    {"ShowPrayerNamesInArabic", Field::Kind::flag, "Prayer names in Arabic", &C::ShowPrayerNamesInArabic_},
    {"BackgroundLocationUpdates", Field::Kind::flag, "The host may update the location in the background",
     &C::BackgroundLocationUpdates_},
    {"UseSystemArabicFont", Field::Kind::flag, "The system font for Arabic text", &C::UseSystemArabicFont_},
    {"PreAlertType", Field::Kind::number, "Kind of pre-alert before a prayer", nullptr, &C::PreAlertType_},
    {"PreAlertInterval", Field::Kind::number, "Minutes of the pre-alert before a prayer", nullptr, &C::PreAlertInterval_, 0,
     24 * 60},
    {"PolarResolution", Field::Kind::number,
     "Times the sun gives none for beyond the polar circles: 0 default (nearest latitude), 1 none, 2 nearest day, "
     "3 nearest latitude",
     nullptr, &C::PolarResolution_, 0, 3},
};

std::span<const PrayerConfiguration::Field> PrayerConfigurationArchive::fields() {
    return PrayerConfiguration::kFields;
}

std::vector<SettingDescription> PrayerConfiguration::settings() {
    std::vector<SettingDescription> out;
    for (const Field& f : kFields) {
        SettingDescription d;
        d.key = f.key;
        d.type = f.kind == Field::Kind::number ? SettingDescription::Type::integer : SettingDescription::Type::boolean;
        d.storedAsInteger = f.kind == Field::Kind::flagIsOne || f.kind == Field::Kind::flagIsNonZero;
        d.minimum = f.minimum;
        d.maximum = f.maximum;
        d.meaning = f.meaning;
        out.push_back(d);
    }
    return out;
}

PrayerConfiguration::PrayerConfiguration() { loadConfiguration(); }

std::shared_ptr<PrayerConfiguration> PrayerConfiguration::withValues(
    const std::vector<std::pair<std::string, int64_t>>& values) {
    auto configuration = std::make_shared<PrayerConfiguration>(PrayerConfiguration(PlainValues{}));
    for (const auto& [key, value] : values) {
        const Field* field = nullptr;
        for (const Field& f : kFields) {
            if (key == f.key) field = &f;
        }
        if (!field) return nullptr;
        switch (field->kind) {
            case Field::Kind::flag:
            case Field::Kind::flagIsNonZero: configuration.get()->*field->flag = value != 0; break;
            case Field::Kind::flagIsOne: configuration.get()->*field->flag = value == 1; break;
            case Field::Kind::number: configuration.get()->*field->number = value; break;
        }
    }
    return configuration;
}

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

std::vector<uint8_t> PrayerConfiguration::archivedData() const {
    KeyedArchiver archiver{std::string(kArchiveClassName)};
    PrayerConfigurationArchive::encode(*this, archiver);
    return archiver.encodedData();
}

std::shared_ptr<PrayerConfiguration> PrayerConfiguration::initWithArchivedData(const std::vector<uint8_t>& data) {
    const auto coder = KeyedUnarchiver::forReadingFromData(data, kArchiveClassName);
    return coder ? PrayerConfigurationArchive::decode(*coder) : nullptr;
}

}  // namespace tarvo
