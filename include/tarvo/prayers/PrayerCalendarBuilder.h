#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/DateComponents.h"
#include "tarvo/platform/Result.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

class Prayer;

/// Prayer times as an iCalendar (RFC 5545) calendar that phone and desktop calendars import
/// or subscribe to: one event per prayer of each day added, at the prayer's time on the
/// place's clock (DTSTART with the zone's TZID and a VTIMEZONE for it).
///
/// Each event's UID is made of the place's position, the date of its day list and the kind of
/// prayer only, so importing the calendar of the same place and days again replaces its events
/// instead of adding them twice.
///
/// The events are the day's prayers as a timetable lists them: Fajr, Sunrise, Dhuhr (Jumua on
/// Fridays), Asr, Maghrib and Isha, and Qiyam when ShowQiyam is on; not Sunset (Maghrib's
/// moment) nor tomorrow's entries (the next day's own). A prayer without a time (a polar day
/// or night) has no event.
///
/// With alarm minutes set, each event whose prayer has its alert on (a sound, or vibration
/// only, as the alert settings say; the global switch SoundAlertsDisabled included) gets an
/// alarm that many minutes before it.
class TARVO_EXPORT PrayerCalendarBuilder {
public:
    /// `placeName` for the events' location; the position keys the UIDs. A zone unknown to the
    /// system's database (a fixed offset) writes the events in UTC.
    PrayerCalendarBuilder(std::string placeName, double latitude, double longitude, TimeZone zone);
    ~PrayerCalendarBuilder();
    PrayerCalendarBuilder(const PrayerCalendarBuilder&) = delete;
    PrayerCalendarBuilder& operator=(const PrayerCalendarBuilder&) = delete;

    /// Alarms this many minutes before the prayers whose alert is on; nothing: no alarms.
    void setAlarmMinutes(std::optional<int64_t> minutes) { alarmMinutes_ = minutes; }

    /// Adds the events of one day list (the ten records of `day`, a Gregorian date).
    void addDay(const DateComponents& day, const std::vector<std::shared_ptr<Prayer>>& prayers);
    /// The number of events added so far.
    size_t eventCount() const { return events_.size(); }
    /// The number of events with an alarm.
    size_t alarmCount() const;

    /// The calendar's text (CRLF line ends, folded lines), or an error when the iCalendar
    /// library fails.
    Result<std::string> text() const;

    /// The UID of a prayer of a day at a place: "20260301-fajr-48.8534+2.3488@tarvo".
    static std::string uid(const DateComponents& day, int64_t type, double latitude, double longitude);

private:
    struct Event {
        std::string uid;
        std::string summary;
        double moment = 0;  ///< seconds since 1970
        bool alarm = false;
    };

    std::string placeName_;
    double latitude_;
    double longitude_;
    TimeZone zone_;
    std::optional<int64_t> alarmMinutes_;
    std::vector<Event> events_;
};

}  // namespace tarvo
