// tarvo day: the facade's day timetable (ten records with the user's adjustments) for a
// place and one or more days.
#include <iostream>
#include <memory>
#include <optional>
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

// The clock time as the apps write it ("5:38 am" or "05:38"), "N/A" without a time.
std::string clockText(const std::shared_ptr<Prayer>& prayer) {
    return TarvoDAO::getFormattedPrayerTimeForPrayer(prayer, false, false).value_or("N/A");
}

// The countdown from now to the first of the listed prayers still to come (Sunset is a
// moment of the day, not a prayer to count down to).
ordered_json countdownJson(const std::vector<TarvoDAO::DayList>& days, Date now) {
    for (const auto& day : days) {
        for (const auto& prayer : day) {
            if (prayer->Type() == Prayer::Sunset || !prayer->PrayerTime() || *prayer->PrayerTime() <= now) continue;
            const double seconds = prayer->PrayerTime()->timeIntervalSinceDate(now);
            return {{"type", prayer->Type()},
                    {"name", prayer->PrayerName()},
                    {"clock", clockText(prayer)},
                    {"seconds", seconds},
                    {"words", TarvoDAO::getReadableTimeFromSeconds(seconds, false, false)},
                    {"timer", TarvoDAO::getTimerStyleTimeFromSeconds(seconds, true)}};
        }
    }
    return nullptr;
}

ordered_json prayerJson(const Prayer& prayer, const Place& place) {
    ordered_json j;
    j["type"] = prayer.Type();
    j["name"] = prayer.PrayerName();
    j["englishName"] = prayer.PrayerNameEnglish();
    j["time"] = prayer.PrayerTime() ? ordered_json(place.iso(*prayer.PrayerTime())) : ordered_json(nullptr);
    j["clock"] = clockText(std::make_shared<Prayer>(prayer));
    j["adjustmentMinutes"] = prayer.AdjustmentMinutes();
    j["fixedTimings"] = prayer.isFixedTimings();
    return j;
}

void run(const CLI::App& cmd, const DayOptions& o) {
    applyClockOption(o.clock, o.json);
    const Place place = resolvePlace(cmd, o.place);
    const Calendar gregorian;
    const IslamicCalendar islamic;
    const Date first = place.noonOf(o.date, "--date");

    ordered_json days = ordered_json::array();
    std::vector<TarvoDAO::DayList> lists;
    if (!o.json) {
        std::cout << "Prayer times for " << printable(place.city->description()) << " " << place.city->getLatLongString()
                  << " (time zone " << place.zone.name() << ")\n";
    }
    for (int64_t k = 0; k < o.days; ++k) {
        const Date noon = gregorian.dateByAddingDays(k, first);
        const TarvoDAO::DayList day = TarvoDAO::getPrayerTimesForDate(noon, place.city, gregorian, islamic);
        lists.push_back(day);
        if (o.json) {
            ordered_json prayers = ordered_json::array();
            for (const auto& prayer : day) prayers.push_back(prayerJson(*prayer, place));
            days.push_back({{"date", place.day(noon)}, {"prayers", prayers}});
            continue;
        }
        std::cout << "\n" << place.dayText(noon) << "\n";
        for (const auto& prayer : day) {
            const std::string time = clockText(prayer);
            std::string note;
            if (prayer->PrayerTime() && place.day(*prayer->PrayerTime()) != place.day(noon)) {
                note = "  (" + place.dayText(*prayer->PrayerTime()) + ")";
            }
            if (prayer->AdjustmentMinutes() != 0) note += fmt::format("  {:+} min", prayer->AdjustmentMinutes());
            std::cout << fmt::format("  {:<14} {}{}\n", prayer->PrayerName(), time, note);
        }
    }
    const ordered_json next = countdownJson(lists, Clock::now());
    if (!o.json && !next.is_null()) {
        std::cout << "\nNext: " << next["name"].get<std::string>() << " at " << next["clock"].get<std::string>()
                  << ", in " << next["words"].get<std::string>() << " (" << next["timer"].get<std::string>() << ")\n";
    }
    if (o.json) {
        const ordered_json out{{"city", cityJson(*place.city)}, {"timeZone", place.zone.name()}, {"days", days},
                               {"next", next}};
        std::cout << out.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << "\n";
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
    cmd->footer("Give either --lat, --lon and --tz (all three), or --saved. The settings in the shared preferences "
                "(tarvo config) apply: adjustments, UseSunrise, ShowQiyam, the Isha intervals. When one of the listed "
                "prayers is still to come, the countdown to it is shown.");
    cmd->callback([options, cmd] { run(*cmd, *options); });
}

}  // namespace tarvo::cli
