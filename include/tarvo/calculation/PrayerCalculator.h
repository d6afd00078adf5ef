#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

class CalculationMethod;

/// The prayer-time engine: computes a day's ten times (Fajr, sunrise, Dhuhr, Asr, sunset,
/// Maghrib, Isha, Qiyam, tomorrow's Fajr and sunrise) for a date, place and time zone.
///
/// Configure a calculator (method, Asr school, high-latitude rule, overrides, custom
/// angles), ask it once or a few times, and discard it. A calculator belongs to one caller
/// at a time; separate calculators may run on separate threads.
///
/// Times are local clock hours as doubles (6.5 = 06:30), not wrapped into 0-24; NaN marks
/// a time that cannot be computed.
class TARVO_EXPORT PrayerCalculator {
public:
    /// Indices of the ten entries of a day.
    enum Entry : size_t {
        Fajr = 0, Sunrise, Dhuhr, Asr, Sunset, Maghrib, Isha, Qiyam, TomorrowFajr, TomorrowSunrise, EntryCount
    };
    /// Six method parameters: Fajr selector and value, Maghrib selector and value, Isha
    /// selector and value. Selector 0: the value is a sun depression angle; 1: minutes.
    using MethodParams = std::vector<double>;
    /// The custom method: its Fajr and Isha angles are the user's (18 and 17 until set).
    static constexpr int64_t kCustomMethod = 6;
    /// setOverrideTimeZoneOffset's marker for "no override: the zone's own offset".
    static constexpr double kOffsetFromZone = 50.0;

    PrayerCalculator();

    // ---- Solar position core -------------------------------------------------------
    static double fixhour(double hours);
    double fixangle(double degrees) const;
    double radiansToDegrees(double radians) const;
    double DegreesToRadians(double degrees) const;
    double dsin(double degrees) const;
    double dcos(double degrees) const;
    double dtan(double degrees) const;
    double darcsin(double x) const;
    double darccos(double x) const;
    double darctan(double x) const;
    double darctan2(double y, double x) const;
    double darccot(double x) const;
    double julianDate(int64_t year, int64_t month, int64_t day) const;
    /// [declination, equation of time] of the sun at the Julian date.
    std::array<double, 2> sunPosition(double jd) const;
    double equationOfTime(double jd) const;
    double sunDeclination(double jd) const;
    double computeMidDay(double t) const;
    double computeMidDayForTomorrow(double t) const;
    double computeTime(double angle, double t) const;
    double computeTimeForTomorrow(double angle, double t) const;
    double computeAsr(double shadowFactor, double t) const;
    double timeDiff(double time1, double time2) const;

    // ---- Methods and their parameters ----------------------------------------------
    static std::string getPrayerMethodNameFromNumber(int64_t method);
    static std::string getShortPrayerMethodNameFromNumber(int64_t method);
    static std::string getAsrMethodFromNumber(int64_t asr);
    static std::string getAdjustHighLatNameFromNumber(int64_t rule);
    static int64_t getAutoAsrMethodFromCountry(const std::optional<std::string>& country);
    static int64_t getAutoMethodFromLocation(double latitude, double longitude);
    static int64_t getAutoHighLatMethodFromLocation(double latitude);

    /// Makes `params` the custom method (6) and switches to it. Each -1 in `params` is first
    /// replaced, in place, by the value of the method in force. When that method is a named
    /// authority's (from 8), its safety minutes and rounding stay in force: an override changes
    /// the numbers it names and nothing else. Seasonal twilight does not survive, since the
    /// override is the user's own twilight.
    void setCustomParams(MethodParams& params);
    void setFajrAngle(double angle);
    void setFajrMinutes(double minutes);
    void setMaghribAngle(double angle);
    void setMaghribMinutes(double minutes);
    void setIshaAngle(double angle);
    void setIshaMinutes(double minutes);

    /// The stored method, or when it is 0 (automatic) the method chosen for lat/lng.
    int64_t calcMethod() const;
    void setCalcMethod(int64_t method) {
        calcMethod_ = method;
        overriddenNamedMethod_ = 0;
    }
    /// The stored Asr school, or when it is 0 the school chosen for `country`.
    int64_t asrJuristic() const;
    void setAsrJuristic(int64_t asr) { asrJuristic_ = asr; }
    /// The stored high-latitude rule, or when it is 0 the rule chosen for `lat`.
    int64_t adjustHighLats() const;
    void setAdjustHighLats(int64_t rule) { adjustHighLats_ = rule; }

    // ---- Day computation -----------------------------------------------------------
    std::vector<double> getDatePrayerTimes(Date date, const std::optional<std::string>& cityName,
                                           const std::optional<std::string>& countryName, double latitude,
                                           double longitude, const std::optional<std::string>& timeZoneName);
    std::vector<double> getDatePrayerTimesAsDoubles(Date date, const std::optional<std::string>& cityName,
                                                    const std::optional<std::string>& countryName, double latitude,
                                                    double longitude, const std::optional<std::string>& timeZoneName);
    /// Fajr and sunrise of the day, the very doubles getDatePrayerTimes gives as its first two
    /// entries, without computing the rest of the day (what a day's list needs of the next day).
    std::array<double, 2> getDateFajrAndSunrise(Date date, const std::optional<std::string>& cityName,
                                                const std::optional<std::string>& countryName, double latitude,
                                                double longitude, const std::optional<std::string>& timeZoneName);
    std::vector<std::string> getDatePrayerTimesAsString(Date date, const std::optional<std::string>& cityName,
                                                        const std::optional<std::string>& countryName,
                                                        double latitude, double longitude,
                                                        const std::optional<std::string>& timeZoneName);
    std::vector<double> computeDayTimes();
    /// Turns the first guesses (hours) into day portions in place, and returns the raw times.
    std::vector<double> computeTimes(std::vector<double>& guesses);
    std::vector<double>& adjustTimes(std::vector<double>& times);
    /// Qiyam at two thirds of the night from Maghrib to tomorrow's Fajr; `clockChange` is how
    /// many hours tomorrow's clock runs ahead of today's (0 but on a night of summer time).
    std::vector<double>& computeQiyamTime(std::vector<double>& times, double clockChange = 0.0);
    void setTimeZone(const std::optional<std::string>& name);
    double getTimeZoneOffset(Date date) const;
    double getTimezoneOffsetInHours(double milliseconds) const;
    const std::vector<std::string>& getTimeNames() const { return timeNames_; }
    /// True when this calculator and `other`, asked for the same day with the same
    /// arguments, answer the very same doubles: their stored method, Asr school,
    /// high-latitude rule, Dhuhr minutes, offset and daylight-saving overrides, the named
    /// method whose safety minutes and rounding an override kept, method
    /// parameters (bit for bit) and device zone are equal. Names, the time format and the
    /// state a computation leaves behind play no part.
    bool computesLike(const PrayerCalculator& other) const;
    bool isUsingFixedTimings() const { return isUsingFixedTimings_; }

    // ---- Polar days and nights --------------------------------------------------------
    /// What the times the sun gives no moment for become, once the high-latitude rules have
    /// done what they can. None (the default) leaves them NaN.
    PolarResolution polarResolution() const { return polarResolution_; }
    void setPolarResolution(PolarResolution resolution) { polarResolution_ = resolution; }

    // ---- High-latitude adjustment --------------------------------------------------
    std::vector<double>& adjustHighLatTimes(std::vector<double>& times);
    double nightPortion(double angle) const;
    std::vector<double>& dayPortion(std::vector<double>& times) const;

    // ---- Time values and formatting ------------------------------------------------
    static int64_t floatToHour(double hours);
    static int64_t floatToMin(double hours);
    std::string floatToTime24(double hours) const;
    std::string floatToTime12(double hours, bool noSuffix) const;
    std::string floatToTime12NS(double hours) const;
    static int64_t time24ToHour(std::string_view text);
    static int64_t time24ToMinute(std::string_view text);
    static int64_t time12ToHour(std::string_view text);
    static int64_t time12ToMinute(std::string_view text);
    /// [hours, minutes, seconds], each truncated toward zero.
    static std::array<int64_t, 3> splitToComponentTimes(int64_t seconds);
    std::vector<std::string> adjustTimesFormat(const std::vector<double>& times) const;

    // ---- State ----------------------------------------------------------------------
    // The day, the place's Julian dates and whether it keeps an official timetable are
    // written by every computation: they are read back here, never set.
    const std::optional<std::string>& country() const { return country_; }
    void setCountry(std::optional<std::string> country) { country_ = std::move(country); }
    double lat() const { return lat_; }
    void setLat(double latitude) { lat_ = latitude; }
    double lng() const { return lng_; }
    void setLng(double longitude) { lng_ = longitude; }
    double JDate() const { return JDate_; }
    double TomorrowJDate() const { return TomorrowJDate_; }
    int64_t timeFormat() const { return timeFormat_; }
    void setTimeFormat(int64_t format) { timeFormat_ = format; }
    const std::optional<Date>& GregDate() const { return GregDate_; }
    const std::optional<Date>& TomorrowGregDate() const { return TomorrowGregDate_; }
    int64_t dhuhrMinutes() const { return dhuhrMinutes_; }
    void setDhuhrMinutes(int64_t minutes) { dhuhrMinutes_ = minutes; }
    const std::string& InvalidTime() const { return InvalidTime_; }
    void setInvalidTime(std::string text) { InvalidTime_ = std::move(text); }
    const std::optional<TimeZone>& timeZoneObj() const { return timeZoneObj_; }
    double overrideTimeZoneOffset() const { return overrideTimeZoneOffset_; }
    void setOverrideTimeZoneOffset(double hours) { overrideTimeZoneOffset_ = hours; }
    int64_t overrideDST() const { return overrideDST_; }
    void setOverrideDST(int64_t rule) { overrideDST_ = rule; }
    const Calendar& globalGregCal() const { return globalGregCal_; }
    /// The zone of the calendar whose day a date falls on (the device's by default).
    void setCalendarZone(TimeZone zone) { globalGregCal_.setTimeZone(std::move(zone)); }
    const Calendar& globalGregCalUTC() const { return globalGregCalUTC_; }
    const std::map<int64_t, MethodParams>& methodParams() const { return *methodParams_; }
    bool isDubai() const { return isDubai_; }
    bool isKualaLumpur() const { return isKualaLumpur_; }

private:
    /// Gathers this calculator's settings and day into the inputs of the day engine.
    friend struct CalculatorInputs;
    /// Sets the place (names, latitude, longitude, zone) and whether it keeps an official
    /// timetable.
    void setPlace(const std::optional<std::string>& cityName, const std::optional<std::string>& countryName,
                  double latitude, double longitude, const std::optional<std::string>& timeZoneName);
    /// Sets the day (and the next) from a moment: its date in the device's calendar, and the
    /// Julian dates shifted by the longitude.
    void setDay(Date date);
    void setSingleParam(size_t selectorIndex, double selector, double value);

    std::optional<std::string> cityName_;
    std::optional<std::string> country_;
    double lng_ = 0.0;
    double lat_ = 0.0;
    double JDate_ = 0.0;
    double TomorrowJDate_ = 0.0;
    int64_t timeFormat_ = 0;
    std::optional<Date> GregDate_;
    std::optional<Date> TomorrowGregDate_;
    int64_t adjustHighLats_ = 0;
    int64_t calcMethod_ = 0;
    int64_t asrJuristic_ = 0;
    int64_t dhuhrMinutes_ = 0;
    std::vector<std::string> timeNames_;
    std::string InvalidTime_;
    std::optional<TimeZone> timeZoneObj_;
    double overrideTimeZoneOffset_ = kOffsetFromZone;
    int64_t overrideDST_ = 0;
    Calendar globalGregCal_;
    Calendar globalGregCalUTC_;
    /// The method table. Every calculator starts with the one built-in table, shared and
    /// never changed; setCustomParams gives this calculator its own copy.
    std::shared_ptr<const std::map<int64_t, MethodParams>> methodParams_;
    /// The named method (from 8) a custom override started from, whose safety minutes and
    /// rounding stay in force ("Diyanet, but Fajr at 16 degrees"); 0 when there is none.
    int64_t overriddenNamedMethod_ = 0;
    bool isDubai_ = false;
    bool isKualaLumpur_ = false;
    bool isUsingFixedTimings_ = false;
    PolarResolution polarResolution_ = PolarResolution::None;
};

}  // namespace tarvo
