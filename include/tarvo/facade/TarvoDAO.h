#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/AttributedString.h"
#include "tarvo/platform/Color.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/Font.h"

namespace tarvo {

class Calendar;
class Geocoder;
class CityDirectory;
class IslamicCalendar;
class Prayer;
class PrayerAdjustments;
class PrayerConfiguration;
class SmartPrayerInfo;
class TarvoCity;
class TarvoDAODelegate;
class UserDatabase;

/// The one object through which host applications reach the library's state: the global
/// configuration, the active city, the generated timetables, the current and next prayer,
/// and the delegate that hears of changes. A process-wide singleton (getSharedInstance).
///
/// Field accessors are safe from any thread (each takes the object's field lock). The
/// timetable and current/next operations serialise on globalStateLockObject(), so readers
/// never see half a day. Failures never throw: they answer nil, an empty list or ten
/// time-less records, and log.
class TARVO_EXPORT TarvoDAO : public std::enable_shared_from_this<TarvoDAO> {
public:
    using DayList = std::vector<std::shared_ptr<Prayer>>;

    static constexpr std::string_view kConfigurationUpdatedNotification = "NOTIFICATION_CONFIGURATION_UPDATED";
    static constexpr std::string_view kSharedActiveCityKey = "SharedActiveCity";
    static constexpr std::string_view kHasUpdatedSharedCopyKey = "HasUpdatedSharedCopy";

    // ---- Lifecycle and shared state (TarvoDAO.cpp) ------------------------------------
    /// The singleton, made on the first call (thread-safe).
    static std::shared_ptr<TarvoDAO> getSharedInstance();
    /// A facade of its own (hosts use the singleton; tests make fresh ones): lastDayOfDate
    /// -1, the database queue made and the configuration loaded, without broadcast.
    TarvoDAO();
    ~TarvoDAO();
    TarvoDAO(const TarvoDAO&) = delete;
    TarvoDAO& operator=(const TarvoDAO&) = delete;

    /// Makes the serial database queue (replacing any previous one) and reloads the
    /// configuration.
    void initSingletons();
    void reloadConfiguration();
    /// Replaces the configuration with one freshly loaded from the shared preferences; with
    /// `broadcast`, posts "NOTIFICATION_CONFIGURATION_UPDATED" on the default centre.
    void reloadConfigurationAndBroadcast(bool broadcast);
    void saveConfigurationInSharedPreferences();
    /// Archives the active city under "SharedActiveCity" in the shared suite (nothing when
    /// there is no active city).
    void saveActiveCityInSharedPreferences();
    /// The city archived under "SharedActiveCity", or nil (missing or foreign data). Does not
    /// set ActiveCity.
    std::shared_ptr<TarvoCity> getActiveCityFromSharedPreferences() const;
    /// Copies every standard-defaults value into the shared suite, once per installation.
    void updateSharedValues();

    // ---- Fields ------------------------------------------------------------------------
    std::shared_ptr<Calendar> gregorianCalendar() const;
    std::shared_ptr<IslamicCalendar> islamicCal() const;
    int64_t lastDayOfDate() const;
    void setLastDayOfDate(int64_t day);
    /// Reserved for the host; the library never reads or writes it.
    int64_t testDateIncrementalHour() const;
    void setTestDateIncrementalHour(int64_t value);
    /// A flag for the host; the library never reads it.
    bool useSharedUserDefaults() const;
    void setUseSharedUserDefaults(bool value);
    std::shared_ptr<TarvoDAODelegate> daodelegate() const;
    void setDaodelegate(const std::weak_ptr<TarvoDAODelegate>& delegate);
    std::shared_ptr<PrayerConfiguration> globalPrayerConfiguration() const;
    void setGlobalPrayerConfiguration(std::shared_ptr<PrayerConfiguration> configuration);
    std::shared_ptr<TarvoCity> ActiveCity() const;
    void setActiveCity(std::shared_ptr<TarvoCity> city);
    std::optional<Date> DateAndTimeForLastGeneratedPrayerTimes() const;
    void setDateAndTimeForLastGeneratedPrayerTimes(std::optional<Date> date);
    DayList LastGeneratedPrayerTimes() const;
    void setLastGeneratedPrayerTimes(DayList list);
    DayList TodayAndTomorrowGeneratedPrayerTimes() const;
    void setTodayAndTomorrowGeneratedPrayerTimes(DayList list);
    std::shared_ptr<Prayer> CurrentPrayer() const;
    void setCurrentPrayer(std::shared_ptr<Prayer> prayer);
    std::shared_ptr<Prayer> PrevCurrPrayer() const;
    void setPrevCurrPrayer(std::shared_ptr<Prayer> prayer);
    std::shared_ptr<Prayer> NextPrayer() const;
    void setNextPrayer(std::shared_ptr<Prayer> prayer);

    // ---- Day timetables (TarvoDAOCalculation.cpp) --------------------------------------
    /// The day's ten records for the city, index = type, with the user's adjustments; ten
    /// time-less records when the engine cannot compute the day. Safe from any thread.
    static DayList getPrayerTimesForDate(Date date, const std::shared_ptr<TarvoCity>& city,
                                         const Calendar& gregorianCalendar, const IslamicCalendar& islamicCalendar);
    /// The user's adjustment in minutes for a type (0 when adjustments are off, unless forced).
    static int64_t getAdjustmentMinutesForPrayer(int64_t type, bool force);
    /// getPrayerTimesForDate with the given configuration's settings (a facade's own, so that
    /// a facade other than the shared one computes with its settings).
    static DayList dayTimetable(Date date, const std::shared_ptr<TarvoCity>& city, const Calendar& gregorianCalendar,
                                const IslamicCalendar& islamicCalendar,
                                const std::shared_ptr<PrayerConfiguration>& configuration);
    /// The same with the adjustments given as a value (minutes per prayer and the Maghrib and
    /// Isha intervals) in place of the configuration's own minutes.
    static DayList dayTimetable(Date date, const std::shared_ptr<TarvoCity>& city, const Calendar& gregorianCalendar,
                                const IslamicCalendar& islamicCalendar,
                                const std::shared_ptr<PrayerConfiguration>& configuration,
                                const PrayerAdjustments& adjustments);
    /// 28 to 31; month 1 is January (month 0, negative and above 12 give 31).
    static int64_t getDaysInMonth(int64_t year, int64_t month);
    /// Generates today + `dayOffset` and the `toDateOffset` following days under the global
    /// lock; answers LastGeneratedPrayerTimes (the first day).
    DayList getPrayerTimesForCurrentDateWithDayOffset(int64_t dayOffset, int64_t toDateOffset,
                                                      const std::shared_ptr<TarvoCity>& city);
    DayList getPrayerTimesForCurrentDateWithDayOffset(int64_t dayOffset, const std::shared_ptr<TarvoCity>& city);
    /// Now, from the library's clock.
    Date getTodaysDate() const;

    // ---- Current and next prayer (TarvoDAOCurrentPrayer.cpp) ----------------------------
    /// Sets CurrentPrayer from LastGeneratedPrayerTimes for `now` and answers the first
    /// considered prayer at or after now (informational). Call it under the global lock.
    std::shared_ptr<Prayer> determineCurrentPrayer(Date now);
    /// Decides CurrentPrayer, PrevCurrPrayer and NextPrayer for now, regenerating the list
    /// when it does not cover now, and informs the delegate. False when there was no usable
    /// day list (nothing changed).
    bool determineCurrentAndNextPrayerTimeForCity(const std::shared_ptr<TarvoCity>& city, bool canInformDelegate);

    // ---- Location (TarvoDAOLocation.cpp) -----------------------------------------------
    static constexpr std::string_view kGPSCityUpdatedNotification = "NOTIFICATION_GPS_CITY_UPDATED";
    /// Where the last location update found its name.
    enum class LocationSource { none, directory, cache, web, fallback };

    /// Names the position fix held in `city` (latitude, longitude): from the directory and the
    /// reverse-geocode cache first (synchronously, no notification), else from the web
    /// geocoder and then the fallback geocoder on the background pool. A name from the
    /// network is published on the main queue: cached, made (as a copy) the active city,
    /// kept as the last used city, and announced by "NOTIFICATION_GPS_CITY_UPDATED" with
    /// `city` as the object. `city` is changed in place, on whichever thread answers.
    /// Either database may be empty; the publish step keeps them open until it has run.
    void updateCityWithReverseGeocodedInformation(const std::shared_ptr<TarvoCity>& city, double thresholdKm,
                                                  std::shared_ptr<UserDatabase> database,
                                                  std::shared_ptr<CityDirectory> staticDB);
    /// The web geocoder (default: WebGeocoder, which asks nothing unless the user chose a
    /// service) and the fallback (default: the nearest directory city of `staticDB`).
    void setWebGeocoder(std::shared_ptr<Geocoder> geocoder);
    void setFallbackGeocoder(std::shared_ptr<Geocoder> geocoder);
    /// The source of the last update's name (none until one names the place).
    LocationSource lastLocationSource() const;
    /// Called on the main queue with true when a network request starts and false when it
    /// ends (the platform's network-activity indicator). An empty function removes it.
    static void setNetworkActivityIndicatorHandler(std::function<void(bool visible)> handler);

    // ---- Summary -----------------------------------------------------------------------
    /// A summary of CurrentPrayer and NextPrayer, or nil without an active city or before
    /// the first current-prayer check.
    std::shared_ptr<SmartPrayerInfo> getLatestSmartInfoForCountdownToNextPrayer(bool forCountdown) const;

    // ---- Time texts (TarvoDAOFormatting.cpp) -------------------------------------------
    // Stateless: they read only the shared facade's LastGeneratedPrayerTimes and its
    // configuration's IsDateLanguageArabic, and use this thread's own formatters, so any
    // thread may call them. Clock times follow DateFormatter::Is24HourClock() and come out
    // in lower case ("5:38 am").

    /// The clock time of entry `type` of the shared facade's LastGeneratedPrayerTimes, or
    /// nothing when there is no such entry or it has no time.
    static std::optional<std::string> getFormatterPrayerTimeForPrayer(int64_t type, bool isArabic, bool useSpaces);
    /// The clock time of the record: "HH:mm" or "h:mm a"; with spaces "HH : mm", and with
    /// spaces and isArabic minutes first ("mm : HH") so right-to-left display reads hour
    /// first. Nothing for a nil record or one without a time.
    static std::optional<std::string> getFormattedPrayerTimeForPrayer(const std::shared_ptr<Prayer>& prayer,
                                                                      bool isArabic, bool useSpaces);
    /// "HH:mm" on a 24-hour clock; else "h:mm a" with useAmPM, "h:mm" without.
    static std::string getFormattedPrayerTimeForDate(Date date, bool useAmPM);
    /// The spaced clock time of entry `type` with `font` (bold system 15 when nothing) and
    /// `color` (white when nothing) over it all, `smallerFont` over the AM/PM marker on a
    /// 12-hour clock, and a paragraph `alignment`; "--" centred when there is no time.
    static AttributedString getAttributedFormatterPrayerTimeForPrayer(int64_t type, const std::optional<Color>& color,
                                                                      const std::optional<Font>& font,
                                                                      const Font& smallerFont, bool isArabic,
                                                                      int64_t alignment);
    /// The Arabic name of an English weekday ("Monday", exact case), else "".
    static std::string getDayInArabic(std::string_view englishDay);
    /// A duration in words ("1 hour", "1m 30s", "1d 1h 1m 1s"), sign dropped; Arabic-Indic
    /// digits when the configuration's IsDateLanguageArabic is on.
    static std::string getReadableTimeFromSeconds(double seconds, bool includeSeconds, bool abbreviatedOnly);
    /// "HH:MM:SS" of a duration without its whole days, in the current locale's digits;
    /// `withLeadingZero` is accepted and ignored (the zero is always written).
    static std::string getTimerStyleTimeFromSeconds(double seconds, bool withLeadingZero);
    /// The Arabic typeface for a weight ("Bold" -> "Hejaz-Bold"); "Hejaz-Regular" otherwise.
    static std::string getArabicFontNameForType(std::string_view weight);

private:
    // Makes the two calendars on first use (before the global lock is taken).
    void ensureCalendars();

    /// The facade's serial database queue, kept where hosts do not see it.
    struct Queues;

    mutable std::mutex fieldsMutex_;
    std::shared_ptr<Queues> queues_;
    std::shared_ptr<Calendar> gregorianCalendar_;
    std::shared_ptr<IslamicCalendar> islamicCal_;
    int64_t lastDayOfDate_ = -1;
    int64_t testDateIncrementalHour_ = 0;
    bool useSharedUserDefaults_ = false;
    std::weak_ptr<TarvoDAODelegate> daodelegate_;
    std::shared_ptr<PrayerConfiguration> globalPrayerConfiguration_;
    std::shared_ptr<TarvoCity> ActiveCity_;
    std::optional<Date> DateAndTimeForLastGeneratedPrayerTimes_;
    DayList LastGeneratedPrayerTimes_;
    DayList TodayAndTomorrowGeneratedPrayerTimes_;
    std::shared_ptr<Prayer> CurrentPrayer_;
    std::shared_ptr<Prayer> PrevCurrPrayer_;
    std::shared_ptr<Prayer> NextPrayer_;
    std::shared_ptr<Geocoder> webGeocoder_;
    std::shared_ptr<Geocoder> fallbackGeocoder_;
    LocationSource lastLocationSource_ = LocationSource::none;
};

}  // namespace tarvo
