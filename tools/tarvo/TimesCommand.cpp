// tarvo times: one day's prayer times for a place.
#include <cmath>
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
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

std::string jsonNumber(double value) {
    // 17 significant digits: the exact double, for scripts that compare raw values.
    return std::isfinite(value) ? fmt::format("{:.17g}", value) : "null";
}

void printJson(const std::string& date, const std::vector<double>& hours, const std::vector<std::string>& text,
               const PrayerCalculator& calculator, Date moment, const TarvoCity* city) {
    // The offset the day's times are written on (tomorrow's entries may differ on the night
    // the clocks change).
    const auto offset = static_cast<int64_t>(std::llround(calculator.getTimeZoneOffset(moment) * 3600.0));
    std::string out = "{\"date\":" + nlohmann::json(date).dump() + ",\"utcOffset\":\"" + offsetText(offset) + "\",\"hours\":[";
    for (size_t i = 0; i < hours.size(); ++i) out += (i ? "," : "") + jsonNumber(hours[i]);
    out += "],\"text\":" + nlohmann::json(text).dump();
    out += ",\"names\":" + nlohmann::json(calculator.getTimeNames()).dump();
    out += ",\"fixedTimings\":" + std::string(calculator.isUsingFixedTimings() ? "true" : "false");
    out += fmt::format(",\"method\":{},\"asr\":{},\"highlat\":{}", calculator.calcMethod(),
                       calculator.asrJuristic(), calculator.adjustHighLats());
    if (city) out += ",\"city\":" + cityJson(*city).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::cout << out << "}\n";
}

void printText(const std::string& date, const TarvoCity& city, const std::vector<std::string>& text,
               const PrayerCalculator& calculator) {
    std::string place = city.cityName().value_or("");
    if (city.countryName() && !city.countryName()->empty()) place += ", " + *city.countryName();
    std::cout << "Prayer times for " << printable(place) << " on " << date << " (" << printable(city.TimeZone().value_or("")) << ")\n";
    std::cout << "Method: " << PrayerCalculator::getPrayerMethodNameFromNumber(calculator.calcMethod())
              << "; Asr: " << PrayerCalculator::getAsrMethodFromNumber(calculator.asrJuristic())
              << "; high latitudes: " << PrayerCalculator::getAdjustHighLatNameFromNumber(calculator.adjustHighLats())
              << "\n\n";
    const auto& names = calculator.getTimeNames();
    for (size_t i = 0; i < names.size() && i < text.size(); ++i) {
        std::cout << fmt::format("  {:<16} {}\n", names[i], text[i]);
    }
    if (calculator.isUsingFixedTimings()) {
        std::cout << "\nTimes from the official " << (calculator.isDubai() ? "Dubai" : "Kuala Lumpur")
                  << " timetable where it covers the date.\n";
    }
}

void run(const CLI::App& cmd, const TimesOptions& o) {
    const std::shared_ptr<TarvoCity> city = placeCity(cmd, o.place);
    const std::optional<std::string> zoneName = city->TimeZone();
    if (!TimeZone::withName(zoneName.value_or(""))) warn("unknown time zone '" + zoneName.value_or("") + "'; using GMT");

    // The moment asked about is noon of the date in the device's own zone.
    const Calendar device;
    const Date moment = noonOf(o.date, "--date", device);
    const DateComponents noon = device.components(moment);
    const std::string dateText = fmt::format("{:04}-{:02}-{:02}", noon.year, noon.month, noon.day);

    PrayerCalculator calculator;
    configureCalculatorFromCity(calculator, *city);
    // --clock is the name every command uses; --format stays for the form without am/pm.
    const std::string format = o.clock ? std::to_string(*o.clock) : o.format;
    calculator.setTimeFormat(format == "12" ? 1 : format == "12ns" ? 2 : 0);

    const std::vector<double> hours = calculator.getDatePrayerTimesAsDoubles(
        moment, city->cityName(), city->countryName(), city->latitude(), city->longitude(), zoneName);
    const std::vector<std::string> text = calculator.adjustTimesFormat(hours);
    if (o.json) {
        printJson(dateText, hours, text, calculator, moment, o.place.saved ? city.get() : nullptr);
    } else {
        printText(dateText, *city, text, calculator);
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
    cmd->footer("Give either --lat, --lon and --tz (all three), or --saved.");
    cmd->callback([options, cmd] { run(*cmd, *options); });
}

}  // namespace tarvo::cli
