#include "tarvo/prayers/PrayerCalendarBuilder.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <utility>

#include <fmt/format.h>
#include <libical/ical.h>

#include "platform/host/LogMacros.h"
#include "tarvo/Version.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

// The kinds of prayer that become events, with the fixed words of their UIDs (the names
// shown change with Fridays and the language; a UID never does).
struct EventKind {
    int64_t type;
    const char* key;
};
constexpr EventKind kEventKinds[] = {{Prayer::Fajr, "fajr"},       {Prayer::Sunrise, "sunrise"}, {Prayer::Dhuhr, "dhuhr"},
                                     {Prayer::Asr, "asr"},         {Prayer::Maghrib, "maghrib"}, {Prayer::Isha, "isha"},
                                     {Prayer::Qiyam, "qiyam"}};

// libical keeps process-wide state (its built-in zones): one caller at a time.
std::mutex& icalMutex() {
    static std::mutex mutex;
    return mutex;
}

// Owns a component until it is handed to its parent.
struct ComponentDeleter {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, ComponentDeleter>;

icaltimetype wallClock(const DateComponents& c) {
    icaltimetype t = icaltime_null_time();
    t.year = static_cast<int>(c.year);
    t.month = static_cast<int>(c.month);
    t.day = static_cast<int>(c.day);
    t.hour = static_cast<int>(c.hour);
    t.minute = static_cast<int>(c.minute);
    t.second = static_cast<int>(c.second);
    t.is_date = 0;
    return t;
}

}  // namespace

PrayerCalendarBuilder::PrayerCalendarBuilder(std::string placeName, double latitude, double longitude, TimeZone zone)
    : placeName_(std::move(placeName)), latitude_(latitude), longitude_(longitude), zone_(std::move(zone)) {}

PrayerCalendarBuilder::~PrayerCalendarBuilder() = default;

std::string PrayerCalendarBuilder::uid(const DateComponents& day, int64_t type, double latitude, double longitude) {
    const char* key = "prayer";
    for (const EventKind& kind : kEventKinds) {
        if (kind.type == type) key = kind.key;
    }
    // Four decimals place a city to about ten metres: the same place always gives the same
    // text, and two places of one name never share it.
    return fmt::format("{:04}{:02}{:02}-{}-{:.4f}{:+.4f}@tarvo", day.year, day.month, day.day, key, latitude,
                       longitude);
}

void PrayerCalendarBuilder::addDay(const DateComponents& day, const std::vector<std::shared_ptr<Prayer>>& prayers) {
    const auto configuration = TarvoDAO::getSharedInstance()->globalPrayerConfiguration();
    const bool showQiyam = configuration && configuration->ShowQiyam();
    for (const EventKind& kind : kEventKinds) {
        if (kind.type == Prayer::Qiyam && !showQiyam) continue;
        const auto index = static_cast<size_t>(kind.type);
        if (index >= prayers.size() || !prayers[index] || !prayers[index]->PrayerTime()) continue;
        const Prayer& prayer = *prayers[index];
        Event event;
        event.uid = uid(day, kind.type, latitude_, longitude_);
        event.summary = prayer.PrayerName();
        event.moment = prayer.PrayerTime()->timeIntervalSince1970();
        event.alarm = prayer.isSoundAlertEnabledCheckGlobalSetting(true) || prayer.isVibrateAlertEnabled();
        events_.push_back(std::move(event));
    }
}

size_t PrayerCalendarBuilder::alarmCount() const {
    if (!alarmMinutes_) return 0;
    size_t count = 0;
    for (const Event& event : events_) count += event.alarm ? 1 : 0;
    return count;
}

Result<std::string> PrayerCalendarBuilder::text() const {
    std::lock_guard lock(icalMutex());
    Component calendar(icalcomponent_new(ICAL_VCALENDAR_COMPONENT));
    if (!calendar) return Error{"the iCalendar library could not make a calendar"};
    icalcomponent_add_property(calendar.get(), icalproperty_new_version("2.0"));
    icalcomponent_add_property(
        calendar.get(),
        icalproperty_new_prodid(fmt::format("-//TarvoCore//tarvo {}//EN",
                                            reinterpret_cast<const char*>(TarvoCoreVersionString))
                                    .c_str()));
    icalcomponent_add_property(calendar.get(), icalproperty_new_calscale("GREGORIAN"));
    icalcomponent_add_property(calendar.get(), icalproperty_new_method(ICAL_METHOD_PUBLISH));
    // The name calendars show for a subscribed calendar.
    icalproperty* name = icalproperty_new_x(placeName_.c_str());
    icalproperty_set_x_name(name, "X-WR-CALNAME");
    icalcomponent_add_property(calendar.get(), name);

    // libical reads the zone from the system's zoneinfo files. Its own TZID carries a prefix
    // of its makers; the zone's plain IANA name is what calendars recognise, so the VTIMEZONE
    // and the events say that instead.
    icaltimezone* zone = icaltimezone_get_builtin_timezone(zone_.name().c_str());
    const Calendar clock(zone ? zone_ : TimeZone::gmt());
    if (zone && !events_.empty()) {
        Component vtimezone(icalcomponent_new_clone(icaltimezone_get_component(zone)));
        if (!vtimezone) return Error{"the iCalendar library has no rules for the zone " + zone_.name()};
        // Only the rules of the calendar's years: a zone's whole history is hundreds of lines.
        double first = events_.front().moment;
        double last = first;
        for (const Event& event : events_) {
            first = std::min(first, event.moment);
            last = std::max(last, event.moment);
        }
        icaltimezone_truncate_vtimezone(vtimezone.get(), wallClock(clock.components(Date(first - 86400))),
                                        wallClock(clock.components(Date(last + 86400))), 0);
        icalproperty* tzid = icalcomponent_get_first_property(vtimezone.get(), ICAL_TZID_PROPERTY);
        if (tzid) icalproperty_set_tzid(tzid, zone_.name().c_str());
        icalcomponent_add_component(calendar.get(), vtimezone.release());
    }

    const icaltimetype stamp =
        icaltime_from_timet_with_zone(static_cast<time_t>(Clock::now().timeIntervalSince1970()), 0,
                                      icaltimezone_get_utc_timezone());
    for (const Event& event : events_) {
        Component vevent(icalcomponent_new(ICAL_VEVENT_COMPONENT));
        icalcomponent_add_property(vevent.get(), icalproperty_new_uid(event.uid.c_str()));
        icalcomponent_add_property(vevent.get(), icalproperty_new_dtstamp(stamp));
        icalproperty* start = nullptr;
        if (zone) {
            start = icalproperty_new_dtstart(wallClock(clock.components(Date(event.moment))));
            icalproperty_add_parameter(start, icalparameter_new_tzid(zone_.name().c_str()));
        } else {
            icaltimetype utc = wallClock(clock.components(Date(event.moment)));
            utc = icaltime_set_timezone(&utc, icaltimezone_get_utc_timezone());
            start = icalproperty_new_dtstart(utc);
        }
        icalcomponent_add_property(vevent.get(), start);
        icalcomponent_add_property(vevent.get(), icalproperty_new_summary(event.summary.c_str()));
        icalcomponent_add_property(vevent.get(), icalproperty_new_location(placeName_.c_str()));
        icalgeotype geo{};
        geo.lat = latitude_;
        geo.lon = longitude_;
        icalcomponent_add_property(vevent.get(), icalproperty_new_geo(geo));
        // A moment to be reminded of, not time taken out of the day.
        icalcomponent_add_property(vevent.get(), icalproperty_new_transp(ICAL_TRANSP_TRANSPARENT));
        if (alarmMinutes_ && event.alarm) {
            Component alarm(icalcomponent_new(ICAL_VALARM_COMPONENT));
            icalcomponent_add_property(alarm.get(), icalproperty_new_action(ICAL_ACTION_DISPLAY));
            icalcomponent_add_property(alarm.get(), icalproperty_new_description(event.summary.c_str()));
            icaltriggertype trigger{};
            trigger.time = icaltime_null_time();
            trigger.duration = icaldurationtype_from_int(static_cast<int>(-*alarmMinutes_ * 60));
            icalcomponent_add_property(alarm.get(), icalproperty_new_trigger(trigger));
            icalcomponent_add_component(vevent.get(), alarm.release());
        }
        icalcomponent_add_component(calendar.get(), vevent.release());
    }

    char* written = icalcomponent_as_ical_string_r(calendar.get());
    if (!written) return Error{"the iCalendar library could not write the calendar"};
    std::string out(written);
    icalmemory_free_buffer(written);
    return out;
}

}  // namespace tarvo
