// tarvo day: the facade's day timetable (ten records with the user's adjustments) for a
// place and one or more days.
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

struct DayOptions {
    PlaceOptions place;
    std::string date;
    int64_t days = 1;
    std::optional<int64_t> clock;
    bool json = false;
};

struct PrayerEntry {
    int64_t type = 0;
    std::string name;
    std::string englishName;
    std::optional<std::string> time;  ///< ISO 8601 on the place's clock
    std::optional<std::string> clock;  ///< as the apps write it; nothing without a time
    int64_t adjustmentMinutes = 0;
    bool fixedTimings = false;
    std::optional<std::string> otherDay;  ///< the day it falls on in text tables, when not the listed day
};

struct DayEntry {
    std::string date;      ///< YYYY-MM-DD
    std::string dateText;  ///< the same in the locale's digits
    std::vector<PrayerEntry> prayers;
    std::string hijri;  ///< the Hijri date in the user's calendar, "1 Ramadan 1445"
    std::vector<int32_t> hijriParts;
};

// The countdown from now to the first of the listed prayers still to come.
struct Countdown {
    int64_t type = 0;
    std::string name;
    std::string clock;
    double seconds = 0;
    std::string words;
    std::string timer;
};

struct DayTable {
    ordered_json city;
    std::string description;
    std::string position;
    std::string timeZone;
    std::vector<DayEntry> days;
    std::optional<Countdown> next;
};

// The clock time as the apps write it ("5:38 am" or "05:38"); nothing without a time.
std::optional<std::string> clockText(const std::shared_ptr<Prayer>& prayer) {
    return TarvoDAO::getFormattedPrayerTimeForPrayer(prayer, false, false);
}

// Sunset is a moment of the day, not a prayer to count down to.
std::optional<Countdown> countdownFrom(const std::vector<TarvoDAO::DayList>& days, Date now) {
    for (const auto& day : days) {
        for (const auto& prayer : day) {
            if (prayer->Type() == Prayer::Sunset || !prayer->PrayerTime() || *prayer->PrayerTime() <= now) continue;
            const double seconds = prayer->PrayerTime()->timeIntervalSinceDate(now);
            return Countdown{prayer->Type(),
                             prayer->PrayerName(),
                             clockText(prayer).value_or(""),
                             seconds,
                             TarvoDAO::getReadableTimeFromSeconds(seconds, false, false),
                             TarvoDAO::getTimerStyleTimeFromSeconds(seconds, true)};
        }
    }
    return std::nullopt;
}

PrayerEntry entryFrom(const std::shared_ptr<Prayer>& prayer, const Place& place, Date noon) {
    PrayerEntry e;
    e.type = prayer->Type();
    e.name = prayer->PrayerName();
    e.englishName = prayer->PrayerNameEnglish();
    if (prayer->PrayerTime()) e.time = place.iso(*prayer->PrayerTime());
    e.clock = clockText(prayer);
    e.adjustmentMinutes = prayer->AdjustmentMinutes();
    e.fixedTimings = prayer->isFixedTimings();
    if (prayer->PrayerTime() && place.day(*prayer->PrayerTime()) != place.day(noon)) {
        e.otherDay = place.dayText(*prayer->PrayerTime());
    }
    return e;
}

DayTable tableFrom(const CLI::App& cmd, const DayOptions& o) {
    applyClockOption(o.clock, o.json);
    const Place place = resolvePlace(cmd, o.place);
    const Calendar gregorian;
    const IslamicCalendar islamic;
    const Date first = place.noonOf(o.date, "--date");

    DayTable table;
    table.description = place.city->description();
    table.position = place.city->getLatLongString();
    table.timeZone = place.zone.name();
    std::vector<TarvoDAO::DayList> lists;
    for (int64_t k = 0; k < o.days; ++k) {
        const Date noon = gregorian.dateByAddingDays(k, first);
        const TarvoDAO::DayList day = TarvoDAO::getPrayerTimesForDate(noon, place.city, gregorian, islamic);
        lists.push_back(day);
        DayEntry entry{place.day(noon), place.dayText(noon), {}, SunCalculator::convertToHijriFromDate(noon),
                       SunCalculator::getCompsForHijriFromDate(noon)};
        for (const auto& prayer : day) entry.prayers.push_back(entryFrom(prayer, place, noon));
        table.days.push_back(std::move(entry));
    }
    table.next = countdownFrom(lists, Clock::now());
    table.city = cityJson(*place.city);
    return table;
}

ordered_json prayerJson(const PrayerEntry& e) {
    ordered_json j;
    j["type"] = e.type;
    j["name"] = e.name;
    j["englishName"] = e.englishName;
    j["time"] = e.time ? ordered_json(*e.time) : ordered_json(nullptr);
    j["clock"] = e.clock ? ordered_json(*e.clock) : ordered_json(nullptr);
    j["adjustmentMinutes"] = e.adjustmentMinutes;
    j["fixedTimings"] = e.fixedTimings;
    return j;
}

std::string jsonText(const DayTable& t) {
    ordered_json days = ordered_json::array();
    for (const DayEntry& day : t.days) {
        ordered_json prayers = ordered_json::array();
        for (const PrayerEntry& prayer : day.prayers) prayers.push_back(prayerJson(prayer));
        days.push_back({{"date", day.date},
                        {"hijri", {{"text", day.hijri}, {"parts", day.hijriParts}}},
                        {"prayers", prayers}});
    }
    ordered_json next = nullptr;
    if (t.next) {
        next = {{"type", t.next->type},       {"name", t.next->name},   {"clock", t.next->clock},
                {"seconds", t.next->seconds}, {"words", t.next->words}, {"timer", t.next->timer}};
    }
    return dumpJson(ordered_json{{"city", t.city}, {"timeZone", t.timeZone}, {"days", days}, {"next", next}});
}

void writeText(std::ostream& out, const DayTable& t) {
    out << "Prayer times for " << printable(t.description) << " " << t.position << " (time zone " << t.timeZone
        << ")\n";
    for (const DayEntry& day : t.days) {
        out << "\n" << day.dateText << " (" << day.hijri << ")\n";
        for (const PrayerEntry& prayer : day.prayers) {
            std::string note;
            if (prayer.otherDay) note = "  (" + *prayer.otherDay + ")";
            if (prayer.adjustmentMinutes != 0) note += fmt::format("  {:+} min", prayer.adjustmentMinutes);
            out << fmt::format("  {:<14} {}{}\n", prayer.name, prayer.clock.value_or(missingTimeText()), note);
        }
    }
    if (t.next) {
        out << "\nNext: " << t.next->name << " at " << t.next->clock << ", in " << t.next->words << " ("
            << t.next->timer << ")\n";
    }
}

}  // namespace

void registerDayCommand(CLI::App& app) {
    auto options = std::make_shared<DayOptions>();
    CLI::App* cmd = app.add_subcommand("day", "Show the day timetable the app shows: ten prayers with adjustments");
    addPlaceOptions(*cmd, options->place);
    cmd->add_option("--date", options->date, "First date as YYYY-MM-DD (default: today on the place's clock)");
    cmd->add_option("--days", options->days, "Number of days from the date (1 to 366)")->check(numberBetween(1, 366));
    addClockOption(*cmd, options->clock);
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Name a place (PLACE or --place), or give --lat, --lon and --tz (all three); with neither, the selected "
                "saved city is used, as with --saved. The settings in the shared preferences "
                "(tarvo config) apply: adjustments, UseSunrise, ShowQiyam, the Isha intervals. When one of the listed "
                "prayers is still to come, the countdown to it is shown.");
    cmd->callback([options, cmd] { render(tableFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
