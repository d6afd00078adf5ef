#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"

namespace tarvo {

class PrayerConfiguration;

/// One prayer of one day: its type, its moment (adjustment included), whether it came from an
/// official fixed timetable, and the minutes the user shifted it by. Answers its display names
/// in English and Arabic, the Friday (Jumua) rule and the identifier of its alert.
///
/// Types (the index in every day list): 0 Fajr, 1 Sunrise (the forenoon prayer Doha when
/// UseSunrise is off), 2 Dhuhr (Jumua on Fridays), 3 Asr, 4 Sunset, 5 Maghrib, 6 Isha,
/// 7 Qiyam, 8 tomorrow's Fajr, 9 tomorrow's sunrise. Other values are legal and have no names.
///
/// The names depend on UseSunrise, ShowPrayerNamesInArabic and on whether the day of a
/// reference moment is a Friday (not the weekday of the record's own time), all held in a
/// NameContext. The calls without one read the two settings afresh from the shared facade's
/// configuration and take the clock's current moment in the device's calendar; a request
/// about another moment (what is current at 12:30 last Friday) names with the context of
/// that moment. A record belongs to one thread at a time.
class TARVO_EXPORT Prayer {
public:
    enum PrayerType : int64_t {
        Fajr = 0, Sunrise, Dhuhr, Asr, Sunset, Maghrib, Isha, Qiyam, TomorrowFajr, TomorrowSunrise
    };

    /// What the names are read in: the two display settings and the weekday of the moment
    /// the question is about.
    struct NameContext {
        bool useSunrise = false;  ///< type 1 and 9 are "Sunrise" (else the forenoon prayer Doha)
        bool arabic = false;      ///< display names in Arabic
        bool friday = false;      ///< the reference moment falls on a Friday: Dhuhr is Jumua
    };
    /// The shared configuration's settings and the clock's current moment in the device's
    /// calendar: what the calls without a context use.
    static NameContext currentNameContext();
    /// The given settings, with Friday decided by `moment` on `calendar` (its zone's day).
    static NameContext nameContextAt(Date moment, const Calendar& calendar, bool useSunrise, bool arabic);

    /// A record of the given type; no time, no adjustment, not fixed.
    static std::shared_ptr<Prayer> CreatePrayerOfType(int64_t type);
    explicit Prayer(int64_t type = 0) { initWithPrayerType(type); }
    void initWithPrayerType(int64_t type);

    /// Sets year, month, day, hour and minute on `components` (its other fields stay as the
    /// caller set them), makes PrayerTime from them with `calendar`, stores the adjustment and,
    /// when it is not 0, adds that many minutes (negative minutes move earlier, across midnight
    /// if need be). `components` is left holding the added amount.
    void setPrayerYear(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t mins, int64_t adjustMins,
                       const Calendar& calendar, DateComponents& components);
    /// Adds `minutes` to PrayerTime (nothing when 0, or when there is no time); the
    /// adjustment is unchanged.
    void addArbitraryMinutesToPrayerTime(int64_t minutes, const Calendar& calendar, DateComponents& components);

    // ---- Properties ------------------------------------------------------------------
    bool isFixedTimings() const { return isFixedTimings_; }
    void setIsFixedTimings(bool value) { isFixedTimings_ = value; }
    int64_t Type() const { return Type_; }
    void setType(int64_t type) { Type_ = type; }
    const std::optional<Date>& PrayerTime() const { return PrayerTime_; }
    void setPrayerTime(const std::optional<Date>& time) { PrayerTime_ = time; }
    int64_t AdjustmentMinutes() const { return AdjustmentMinutes_; }
    void setAdjustmentMinutes(int64_t minutes) { AdjustmentMinutes_ = minutes; }

    // ---- Names -----------------------------------------------------------------------
    /// The display name: Arabic with ShowPrayerNamesInArabic, else the English name through
    /// the host's localisation.
    std::string PrayerName() const;
    std::string PrayerName(const NameContext& context) const;
    /// "Fajr", "Sunrise"/"Doha", "Duhr"/"Jumua", "Asr", "Sunset", "Maghrib", "Isha", "Qiyam";
    /// "-" for other types. Never localised.
    std::string PrayerNameEnglish() const;
    std::string PrayerNameEnglish(const NameContext& context) const;
    /// The type a person names: a number 0 to 9, or the name of one of the eight prayers of
    /// the day in any letter case, spelled as the engine spells it ("Dhuhr"), as the lists
    /// print it whatever the settings and the weekday ("Duhr", "Jumua", "Sunrise", "Doha"), in
    /// Arabic, or as the host's localisation shows it. Nothing for any other text.
    static std::optional<int64_t> typeNamed(std::string_view text);
    /// The Arabic name ("-" for other types).
    std::string PrayerNameArabic() const;
    std::string PrayerNameArabic(const NameContext& context) const;
    /// One or two letters, English or Arabic by ShowPrayerNamesInArabic. Never localised.
    std::string ShortName() const;
    std::string ShortName(const NameContext& context) const;
    /// The Arabic short name with ShowPrayerNamesInArabic, else the localised three-letter key.
    std::string ShortThreeLetterName() const;
    std::string ShortThreeLetterName(const NameContext& context) const;
    /// The three-letter key as it stands ("Fjr", "AsrSMALL", ...).
    std::string ShortThreeLetterNameEnglish() const;
    std::string ShortThreeLetterNameEnglish(const NameContext& context) const;
    std::string ShortTwoLetterNameEnglish() const;
    std::string ShortTwoLetterNameEnglish(const NameContext& context) const;
    /// Type 2 on a day whose current weekday (by the clock) is Friday.
    bool isJumua() const;
    /// Type 2 when `moment` falls on a Friday in `calendar` (default: the device's).
    bool isJumuaAt(Date moment, const Calendar& calendar = Calendar()) const;
    /// The preference key prefix of this prayer's alert settings; "" for Sunset and others.
    std::string alertID() const;
    /// "Asr: 2016-01-05 12:31:00 +0000"; "Unknown" for other types.
    std::string description() const;

    /// Records are equal when their types are (time, adjustment and flags are ignored).
    bool isEqualToPrayer(const std::shared_ptr<const Prayer>& other) const;
    bool operator==(const Prayer& other) const { return Type_ == other.Type_; }
    /// The hash of PrayerName (types with the same name share it).
    size_t hash() const;

    // ---- Alert settings (PrayerAlerts.cpp) ----------------------------------------------
    // Per-prayer keys in the shared preferences, named by the type's prefix: "Fajr" (types 0
    // and 8), "Sunrise" (1 and 9), "Dhuhr", "Asr", "Sunset", "Maghrib", "Isha", "Qiyam"; other
    // types use the bare suffixes. Every write is synchronised at once, so the app's
    // extensions and the watch see it.

    /// The selected sound's value under "<P>SoundAlert": 0 none, 1 to 10 a built-in sound,
    /// 100 the user-picked file.
    static constexpr int64_t kUserPickedSound = 100;

    /// The key prefix of a type ("" for types without alert keys of their own).
    static std::string_view alertKeyPrefix(int64_t type);
    /// The sound a type gets when sound is switched on with none selected.
    static int64_t defaultAlertSoundForType(int64_t type);
    /// The display name of sound value 0 to 10 ("No Alert", "Makkah Azan 1", ...) through
    /// the host's localisation; "" for any other value.
    static std::string localizedNameForAlertSound(int64_t value);

    /// Sound on: not switched off and a sound selected; with `check`, also not all sounds off
    /// ("SoundAlertsDisabled").
    bool isSoundAlertEnabledCheckGlobalSetting(bool check) const;
    bool isVibrateAlertEnabled() const;
    /// Sound off (the selected sound is kept, so switching on restores it).
    void turnSoundAlertOFF() const;
    /// Sound on; with no sound selected, the type's default is stored (as its decimal text).
    void turnSoundAlertON() const;
    /// Vibration only.
    void turnVibrateAlertON() const;
    /// The selected sound's name while sound is on ("" for the user-picked file), else
    /// "Vibrate only" or "No Alert", localised.
    std::string getNameForCurrentPrayerSelection() const;
    bool canPlayPrealert() const;
    void setCanPlayPrealert(bool enabled) const;
    /// The integer value of "<P>SoundAlert".
    int64_t builtInAlertType() const;
    /// Selects a sound (0 to 10, or kUserPickedSound) as a number; the on/off switch is kept.
    void setBuiltInAlertType(int64_t sound) const;
    /// The global switch "SoundAlertsDisabled" (all sounds off), stored as 1 or 0 the way
    /// the configuration saves it.
    static bool soundAlertsDisabled();
    static void setSoundAlertsDisabled(bool disabled);
    /// The resource number of the built-in sound this prayer plays ("Knock Knock" instead of
    /// a call to prayer at sunrise and Qiyam), or nothing when no built-in sound is selected.
    std::optional<int64_t> builtInAlertResource() const;
    /// The sound file to play: the built-in resource "<n>.mp3" when it exists in the bundle
    /// (and *isBuiltIn set to true), the user-picked path for value 100 (*isBuiltIn
    /// untouched), else nothing. `isBuiltIn` may be null.
    std::optional<std::string> pathToAlertFile(bool* isBuiltIn) const;
    /// Stores the user-picked file (nothing removes it); the selected value is not changed.
    void setPathToCustomAlert(const std::optional<std::string>& path) const;

private:
    bool isFixedTimings_ = false;
    int64_t Type_ = 0;
    std::optional<Date> PrayerTime_;
    int64_t AdjustmentMinutes_ = 0;
};

}  // namespace tarvo
