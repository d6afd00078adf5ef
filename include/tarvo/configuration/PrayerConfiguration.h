#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/configuration/SettingDescription.h"

namespace tarvo {

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
    /// A configuration of plain values that reads no store and no locale: each named setting
    /// (a key of settings(), "ShowQiyam") holds the value given, read as the store's value
    /// would be (a flag kept as an integer is on for 1, or for any value but 0, as its key
    /// says), every other setting 0 or false. For hosts and requests that keep their settings
    /// themselves (TarvoDAO::dayTimetable, the C interface's settings). Nil when a key is not
    /// a setting.
    static std::shared_ptr<PrayerConfiguration> withValues(const std::vector<std::pair<std::string, int64_t>>& values);

    /// Re-reads every setting from the shared user defaults and the current locale. Also
    /// carries out the one-shot migration of the legacy "ArabicLabels" flag.
    void loadConfiguration();
    /// Writes the stored settings into the shared user defaults and synchronises the store
    /// once at the end. The locale flags are never stored.
    void saveIntoPreferences() const;

    /// The settings, with the per-prayer alert settings read live from the shared user
    /// defaults, as a keyed archive of class kArchiveClassName: what another process (a watch
    /// app) receives.
    std::vector<uint8_t> archivedData() const;
    /// A fresh configuration loaded from the local store, overwritten by the settings of an
    /// archive archivedData made; the archived per-prayer alert settings are written into the
    /// local shared user defaults (without synchronising). Nil when the data is not such an
    /// archive.
    static std::shared_ptr<PrayerConfiguration> initWithArchivedData(const std::vector<uint8_t>& data);

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
    /// HijriCalendar and HijriCorrection as the reckoning the Hijri conversions take.
    SunCalculator::HijriReckoning hijriReckoning() const {
        return {IslamicCalendar::kindOfNumber(HijriCalendar_), HijriCorrection_};
    }
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
    friend class PrayerConfigurationArchive;
    struct PlainValues {};
    explicit PrayerConfiguration(PlainValues) {}
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
