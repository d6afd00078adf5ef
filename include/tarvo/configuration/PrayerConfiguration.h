#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/configuration/SettingDescription.h"

namespace tarvo {

class KeyedArchiver;
class KeyedUnarchiver;

/// The user's global prayer settings: adjustment minutes, the Hijri correction, the extra
/// night and morning times, status-item display choices, pre-alert settings and the language
/// flags of the device locale.
///
/// A configuration is a snapshot: it is filled from the shared user defaults when it is made
/// and never changes afterwards (except through loadConfiguration). To change a setting, write
/// the store and make a new configuration. Every read and write goes to
/// UserDefaults::sharedUserDefaultsObj(), fetched afresh for each key. A missing key reads as
/// 0 or false; the library registers no defaults of its own.
///
/// The object may be read from any thread; loading, saving and decoding rely on the store's
/// own locking.
class TARVO_EXPORT PrayerConfiguration {
public:
    /// Class name carried by archives of a configuration.
    static constexpr std::string_view kArchiveClassName = "PrayerConfiguration";

    /// A configuration loaded from the shared user defaults and the current locale.
    PrayerConfiguration();

    /// Re-reads every setting from the shared user defaults and the current locale. Also
    /// carries out the one-shot migration of the legacy "ArabicLabels" flag.
    void loadConfiguration();
    /// Writes the stored settings into the shared user defaults and synchronises the store
    /// once at the end. The locale flags are never stored.
    void saveIntoPreferences() const;

    /// Archives the settings together with the per-prayer alert settings, which are read
    /// live from the shared user defaults.
    void encodeWithCoder(KeyedArchiver& coder) const;
    /// A fresh configuration loaded from the local store, overwritten by the archived
    /// settings. Writes the archived per-prayer alert settings into the local shared user
    /// defaults (without synchronising): that is how they reach the receiving process.
    static std::shared_ptr<PrayerConfiguration> initWithCoder(const KeyedUnarchiver& coder);

    /// The configuration the records and the class-level operations read when they have no
    /// facade of their own to ask: the shared facade's, once it has installed itself as the
    /// source (it does so when the library is loaded); nothing before that.
    static std::shared_ptr<PrayerConfiguration> shared();
    /// Installs the source shared() asks (a plain function: installed once, read from any thread).
    static void setSharedSource(std::shared_ptr<PrayerConfiguration> (*source)());

    /// The stored settings, in loading order: key, type, the values that make sense and meaning.
    static std::vector<SettingDescription> settings();

    bool UsePrayerAdjustments() const { return UsePrayerAdjustments_; }
    bool TimerStyleExactTime() const { return TimerStyleExactTime_; }
    bool IsLanguageArabic() const { return IsLanguageArabic_; }
    bool IsDateLanguageArabic() const { return IsDateLanguageArabic_; }
    bool SoundAlertsDisabled() const { return SoundAlertsDisabled_; }
    int64_t FajrAdj() const { return FajrAdj_; }
    int64_t SunriseAdj() const { return SunriseAdj_; }
    int64_t DhuhrAdj() const { return DhuhrAdj_; }
    int64_t AsrAdj() const { return AsrAdj_; }
    int64_t MaghribAdj() const { return MaghribAdj_; }
    int64_t IshaAdj() const { return IshaAdj_; }
    int64_t QiyamAdj() const { return QiyamAdj_; }
    int64_t HijriCorrection() const { return HijriCorrection_; }
    /// The Islamic calendar of Hijri dates: 0 civil (arithmetical), 1 Umm al-Qura, 2
    /// astronomical (the numbers of IslamicCalendar::Kind).
    int64_t HijriCalendar() const { return HijriCalendar_; }
    bool ShouldPlayDuaAfterAthan() const { return ShouldPlayDuaAfterAthan_; }
    bool OneHalfHourBeforeSunrise() const { return OneHalfHourBeforeSunrise_; }
    bool OneHalfHourAfterMaghrib() const { return OneHalfHourAfterMaghrib_; }
    bool TwoHourAfterMaghrib() const { return TwoHourAfterMaghrib_; }
    bool TwoHourAfterMaghribAuto() const { return TwoHourAfterMaghribAuto_; }
    bool ShowingCurrentLocation() const { return ShowingCurrentLocation_; }
    bool ShowQiyam() const { return ShowQiyam_; }
    bool SahoorEndsReminder() const { return SahoorEndsReminder_; }
    bool UseSunrise() const { return UseSunrise_; }
    bool StatusItemShowsTextDisplay() const { return StatusItemShowsTextDisplay_; }
    int64_t StatusItemPrayerTimeDisplayType() const { return StatusItemPrayerTimeDisplayType_; }
    bool StatusItemPrayerNameDisplayType() const { return StatusItemPrayerNameDisplayType_; }
    bool StatusItemShouldDisplayIcon() const { return StatusItemShouldDisplayIcon_; }
    bool ShowPrayerNamesInArabic() const { return ShowPrayerNamesInArabic_; }
    bool BackgroundLocationUpdates() const { return BackgroundLocationUpdates_; }
    bool UseSystemArabicFont() const { return UseSystemArabicFont_; }
    int64_t PreAlertType() const { return PreAlertType_; }
    int64_t PreAlertInterval() const { return PreAlertInterval_; }
    /// What times the sun gives no moment for become beyond the polar circles, as stored: 0
    /// not chosen (the library's default), 1 none, 2 nearest day, 3 nearest latitude
    /// (tarvo/calculation/PolarResolution.h reads it). A saved city's own choice wins.
    int64_t PolarResolution() const { return PolarResolution_; }

private:
    struct Field;
    static const Field kFields[];

    bool UsePrayerAdjustments_ = false;
    bool TimerStyleExactTime_ = false;
    bool IsLanguageArabic_ = false;
    bool IsDateLanguageArabic_ = false;
    bool SoundAlertsDisabled_ = false;
    int64_t FajrAdj_ = 0;
    int64_t SunriseAdj_ = 0;
    int64_t DhuhrAdj_ = 0;
    int64_t AsrAdj_ = 0;
    int64_t MaghribAdj_ = 0;
    int64_t IshaAdj_ = 0;
    int64_t QiyamAdj_ = 0;
    int64_t HijriCorrection_ = 0;
    int64_t HijriCalendar_ = 0;
    bool ShouldPlayDuaAfterAthan_ = false;
    bool OneHalfHourBeforeSunrise_ = false;
    bool OneHalfHourAfterMaghrib_ = false;
    bool TwoHourAfterMaghrib_ = false;
    bool TwoHourAfterMaghribAuto_ = false;
    bool ShowingCurrentLocation_ = false;
    bool ShowQiyam_ = false;
    bool SahoorEndsReminder_ = false;
    bool UseSunrise_ = false;
    bool StatusItemShowsTextDisplay_ = false;
    int64_t StatusItemPrayerTimeDisplayType_ = 0;
    bool StatusItemPrayerNameDisplayType_ = false;
    bool StatusItemShouldDisplayIcon_ = false;
    bool ShowPrayerNamesInArabic_ = false;
    bool BackgroundLocationUpdates_ = false;
    bool UseSystemArabicFont_ = false;
    int64_t PreAlertType_ = 0;
    int64_t PreAlertInterval_ = 0;
    int64_t PolarResolution_ = 0;
};

}  // namespace tarvo
