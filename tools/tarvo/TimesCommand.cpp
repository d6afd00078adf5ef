// tarvo times: one day's prayer times for a place.
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/prayers/PlaceDayTimes.h"
#include "tarvo/platform/Calendar.h"

namespace tarvo::cli {

namespace {

struct TimesOptions {
    PlaceOptions place;
    std::string date;
    std::string format = "24";
    std::optional<int64_t> clock;
    bool json = false;
};

// One day's times for a place, with the settings they were calculated by.
struct DayTimes {
    std::string date;
    std::string place;     ///< "City, Country"
    std::string timeZone;  ///< the city's zone name
    int64_t utcOffset = 0;  ///< seconds, the offset the times are written on
    std::vector<double> hours;
    std::vector<std::string> text;
    std::vector<std::string> names;
    bool fixedTimings = false;
    bool dubai = false;
    int64_t method = 0;
    int64_t asr = 0;
    int64_t highLatitude = 0;
    std::optional<nlohmann::ordered_json> savedCity;  ///< the city, with --saved
};

DayTimes timesFrom(const CLI::App& cmd, const TimesOptions& o) {
    const std::shared_ptr<TarvoCity> city = placeCity(cmd, o.place);
    const std::optional<std::string> zoneName = city->TimeZone();
    if (!TimeZone::withName(zoneName.value_or(""))) warn("unknown time zone '" + zoneName.value_or("") + "'; using GMT");

    // The moment asked about is noon of the date in the device's own zone.
    const Calendar device;
    const Date moment = noonOf(o.date, "--date", device);
    const DateComponents noon = device.components(moment);

    // --clock is the name every command uses; --format stays for the form without am/pm.
    const std::string format = o.clock ? std::to_string(*o.clock) : o.format;
    const auto day = PlaceDayTimes::compute(*city, noon.year, noon.month, noon.day, {},
                                            format == "12" ? 1 : format == "12ns" ? 2 : 0);
    if (!day) throw std::runtime_error("the engine gave no times for " + noon.isoDay());

    DayTimes t;
    t.date = noon.isoDay();
    t.hours = day->hours;
    t.text = day->text;
    t.place = city->cityName().value_or("");
    if (city->countryName() && !city->countryName()->empty()) t.place += ", " + *city->countryName();
    t.timeZone = city->TimeZone().value_or("");
    t.utcOffset = day->utcOffsetSeconds;
    t.names = day->names;
    t.fixedTimings = day->fixedTimings;
    t.dubai = day->dubai;
    t.method = day->method;
    t.asr = day->asr;
    t.highLatitude = day->highLatitude;
    if (usesSavedCity(cmd, o.place)) t.savedCity = cityJson(*city);
    return t;
}

std::string jsonNumber(double value) {
    // 17 significant digits: the exact double, for scripts that compare raw values.
    return std::isfinite(value) ? fmt::format("{:.17g}", value) : "null";
}

std::string jsonText(const DayTimes& t) {
    std::string out = "{\"date\":" + nlohmann::json(t.date).dump() + ",\"utcOffset\":\"" + offsetText(t.utcOffset) +
                      "\",\"hours\":[";
    for (size_t i = 0; i < t.hours.size(); ++i) out += (i ? "," : "") + jsonNumber(t.hours[i]);
    out += "],\"text\":" + nlohmann::json(t.text).dump();
    out += ",\"names\":" + nlohmann::json(t.names).dump();
    out += ",\"fixedTimings\":" + std::string(t.fixedTimings ? "true" : "false");
    out += fmt::format(",\"method\":{},\"asr\":{},\"highlat\":{}", t.method, t.asr, t.highLatitude);
    if (t.savedCity) out += ",\"city\":" + dumpJson(*t.savedCity);
    return out + "}";
}

void writeText(std::ostream& out, const DayTimes& t) {
    out << "Prayer times for " << printable(t.place) << " on " << t.date << " (" << printable(t.timeZone) << ")\n";
    out << "Method: " << PrayerCalculator::getPrayerMethodNameFromNumber(t.method)
        << "; Asr: " << PrayerCalculator::getAsrMethodFromNumber(t.asr)
        << "; high latitudes: " << PrayerCalculator::getAdjustHighLatNameFromNumber(t.highLatitude) << "\n\n";
    for (size_t i = 0; i < t.names.size() && i < t.text.size(); ++i) {
        out << fmt::format("  {:<16} {}\n", t.names[i], t.text[i]);
    }
    if (t.fixedTimings) {
        out << "\nTimes from the official " << (t.dubai ? "Dubai" : "Kuala Lumpur")
            << " timetable where it covers the date.\n";
    }
}

}  // namespace

void registerTimesCommand(CLI::App& app) {
    auto options = std::make_shared<TimesOptions>();
    CLI::App* cmd = app.add_subcommand("times", "Show one day's prayer times for a place");
    addPlaceOptions(*cmd, options->place, "Time zone of the place, e.g. Europe/London");
    cmd->add_option("--date", options->date, "Date as YYYY-MM-DD (default: today)");
    addClockOption(*cmd, options->clock);
    cmd->add_option("--format", options->format, "Time format: 24, 12 or 12ns (12-hour without am/pm)")
        ->check(CLI::IsMember({"24", "12", "12ns"}))
        ->excludes("--clock");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Name a place (PLACE or --place), or give --lat, --lon and --tz (all three); with neither, the selected "
                "saved city is used, as with --saved.");
    cmd->callback([options, cmd] { render(timesFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
