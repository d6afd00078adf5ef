// tarvo times: one day's prayer times for a place.
#include <cmath>
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/Calendar.h"

namespace tarvo::cli {

namespace {

struct TimesOptions {
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    std::string date;
    CalculationOptions calculation;
    std::optional<std::string> city;
    std::optional<std::string> country;
    std::optional<double> fajrAngle;
    std::optional<double> ishaAngle;
    std::string format = "24";
    bool json = false;
    bool saved = false;
};

// Options that describe the place or its calculation settings; --saved takes all of them
// from the selected city instead.
constexpr const char* kPlaceOptions[] = {"--lat",     "--lon", "--tz",  "--city", "--country",    "--method",
                                         "--highlat", "--asr", "--dst", "--gmt",  "--fajr-angle", "--isha-angle"};

std::string jsonNumber(double value) {
    // 17 significant digits: the exact double, for scripts that compare raw values.
    return std::isfinite(value) ? fmt::format("{:.17g}", value) : "null";
}

void printJson(const std::string& date, const std::vector<double>& hours, const std::vector<std::string>& text,
               const PrayerCalculator& calculator, const TarvoCity* city) {
    std::string out = "{\"date\":" + nlohmann::json(date).dump() + ",\"hours\":[";
    for (size_t i = 0; i < hours.size(); ++i) out += (i ? "," : "") + jsonNumber(hours[i]);
    out += "],\"text\":" + nlohmann::json(text).dump();
    out += ",\"names\":" + nlohmann::json(calculator.getTimeNames()).dump();
    out += ",\"fixedTimings\":" + std::string(calculator.isUsingFixedTimings() ? "true" : "false");
    out += fmt::format(",\"method\":{},\"asr\":{},\"highlat\":{}", calculator.calcMethod(),
                       calculator.asrJuristic(), calculator.adjustHighLats());
    if (city) out += ",\"city\":" + cityJson(*city).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::cout << out << "}\n";
}

void printText(const std::string& date, const TimesOptions& o, const std::vector<std::string>& text,
               const PrayerCalculator& calculator) {
    std::string place = o.city.value_or(fmt::format("{:.4f}, {:.4f}", o.latitude, o.longitude));
    if (o.country && !o.country->empty()) place += ", " + *o.country;
    std::cout << "Prayer times for " << printable(place) << " on " << date << " (" << printable(o.timeZone) << ")\n";
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

void configureFromOptions(PrayerCalculator& calculator, const TimesOptions& o) {
    // Same order as the day timetable generation: position first (the automatic method
    // depends on it), then the method choices, overrides, and custom angles last.
    calculator.setLat(o.latitude);
    calculator.setLng(o.longitude);
    calculator.setCalcMethod(o.calculation.method);
    calculator.setAsrJuristic(o.calculation.asr);
    calculator.setAdjustHighLats(o.calculation.highLatitude);
    if (o.calculation.dst) calculator.setOverrideDST(*o.calculation.dst);
    if (o.calculation.gmt) calculator.setOverrideTimeZoneOffset(*o.calculation.gmt);
    if (o.fajrAngle) calculator.setFajrAngle(*o.fajrAngle);
    if (o.ishaAngle) calculator.setIshaAngle(*o.ishaAngle);
}

void checkPlaceOptions(const CLI::App& cmd, const TimesOptions& o) {
    std::string given;
    for (const char* name : kPlaceOptions) {
        if (cmd.get_option(name)->count() > 0) given += (given.empty() ? "" : ", ") + std::string(name);
    }
    if (o.saved && !given.empty()) {
        throw UsageError("--saved takes the place and its settings from the selected city; leave out " + given);
    }
    if (!o.saved) {
        for (const char* name : {"--lat", "--lon", "--tz"}) {
            if (cmd.get_option(name)->count() == 0) {
                throw UsageError(std::string(name) + " is required (or use --saved for the selected city)");
            }
        }
    }
}

void run(TimesOptions o) {
    std::shared_ptr<TarvoCity> city;
    if (o.saved) {
        auto user = openUserDatabase();
        // London when no city is selected.
        city = TarvoCity::initWithCurrentSelectionUsingDB(user->database());
        o.latitude = city->latitude();
        o.longitude = city->longitude();
        o.timeZone = city->TimeZone().value_or("");
        o.city = city->cityName();
        o.country = city->countryName();
    }
    if (!TimeZone::withName(o.timeZone)) warn("unknown time zone '" + o.timeZone + "'; using GMT");

    // The moment asked about is noon of the date in the device's own zone.
    const Calendar device;
    const Date moment = noonOf(o.date, "--date", device);
    const DateComponents noon = device.components(moment);
    const std::string dateText = fmt::format("{:04}-{:02}-{:02}", noon.year, noon.month, noon.day);

    PrayerCalculator calculator;
    if (city) {
        configureCalculatorFromCity(calculator, *city);
    } else {
        configureFromOptions(calculator, o);
    }
    calculator.setTimeFormat(o.format == "12" ? 1 : o.format == "12ns" ? 2 : 0);

    const std::vector<double> hours = calculator.getDatePrayerTimesAsDoubles(
        moment, o.city, o.country, o.latitude, o.longitude, o.timeZone);
    const std::vector<std::string> text = calculator.adjustTimesFormat(hours);
    if (o.json) {
        printJson(dateText, hours, text, calculator, city.get());
    } else {
        printText(dateText, o, text, calculator);
    }
}

}  // namespace

void registerTimesCommand(CLI::App& app) {
    auto options = std::make_shared<TimesOptions>();
    CLI::App* cmd = app.add_subcommand("times", "Show one day's prayer times for a place");
    addLatitudeOption(*cmd, options->latitude, false);
    addLongitudeOption(*cmd, options->longitude, false);
    cmd->add_option("--tz", options->timeZone, "Time zone of the place, e.g. Europe/London");
    cmd->add_flag("--saved", options->saved,
                  "Use the selected saved city (London when none is selected) with its method, Asr school, "
                  "high-latitude rule, daylight-saving rule, offset and custom angles, instead of "
                  "--lat/--lon/--tz and the calculation options");
    cmd->add_option("--date", options->date, "Date as YYYY-MM-DD (default: today)");
    addCalculationOptions(*cmd, options->calculation, "Fixed offset from GMT in hours instead of the zone's");
    cmd->add_option("--city", options->city, "City name (Dubai and Kuala Lumpur use their official timetables)");
    cmd->add_option("--country", options->country, "Country name (chooses the automatic Asr school)");
    cmd->add_option("--fajr-angle", options->fajrAngle, "Custom Fajr sun depression in degrees")
        ->check(numberBetween(0, 90));
    cmd->add_option("--isha-angle", options->ishaAngle, "Custom Isha sun depression in degrees")
        ->check(numberBetween(0, 90));
    cmd->add_option("--format", options->format, "Time format: 24, 12 or 12ns (12-hour without am/pm)")
        ->check(CLI::IsMember({"24", "12", "12ns"}));
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Give either --lat, --lon and --tz (all three), or --saved.");
    cmd->callback([options, cmd] {
        checkPlaceOptions(*cmd, *options);
        run(*options);
    });
}

}  // namespace tarvo::cli
