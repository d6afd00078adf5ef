// tarvo times: one day's prayer times for a place.
#include <cmath>
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/platform/Calendar.h"

namespace tarvo::cli {

namespace {

struct TimesOptions {
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    std::string date;
    int64_t method = 0;
    int64_t asr = 0;
    int64_t highLatitude = 0;
    std::optional<int64_t> dst;
    std::optional<double> gmt;
    std::optional<std::string> city;
    std::optional<std::string> country;
    std::optional<double> fajrAngle;
    std::optional<double> ishaAngle;
    std::string format = "24";
    bool json = false;
};

std::string jsonNumber(double value) {
    // 17 significant digits: the exact double, for scripts that compare raw values.
    return std::isfinite(value) ? fmt::format("{:.17g}", value) : "null";
}

void printJson(const std::string& date, const std::vector<double>& hours, const std::vector<std::string>& text,
               const PrayerCalculator& calculator) {
    std::string out = "{\"date\":" + nlohmann::json(date).dump() + ",\"hours\":[";
    for (size_t i = 0; i < hours.size(); ++i) out += (i ? "," : "") + jsonNumber(hours[i]);
    out += "],\"text\":" + nlohmann::json(text).dump();
    out += ",\"names\":" + nlohmann::json(calculator.getTimeNames()).dump();
    out += ",\"fixedTimings\":" + std::string(calculator.isUsingFixedTimings() ? "true" : "false");
    out += fmt::format(",\"method\":{},\"asr\":{},\"highlat\":{}}}", calculator.calcMethod(),
                       calculator.asrJuristic(), calculator.adjustHighLats());
    std::cout << out << "\n";
}

void printText(const std::string& date, const TimesOptions& o, const std::vector<std::string>& text,
               const PrayerCalculator& calculator) {
    std::string place = o.city.value_or(fmt::format("{:.4f}, {:.4f}", o.latitude, o.longitude));
    if (o.country && !o.country->empty()) place += ", " + *o.country;
    std::cout << "Prayer times for " << place << " on " << date << " (" << o.timeZone << ")\n";
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

void run(const TimesOptions& o) {
    if (!TimeZone::withName(o.timeZone)) warn("unknown time zone '" + o.timeZone + "'; using GMT");

    // The moment asked about is noon of the date in the device's own zone.
    const Calendar device;
    DateComponents noon;
    if (o.date.empty()) {
        noon = device.components(Date::now());
    } else {
        const CivilDate d = parseDate(o.date, "--date");
        noon.year = d.year;
        noon.month = d.month;
        noon.day = d.day;
    }
    noon.hour = 12;
    noon.minute = noon.second = noon.nanosecond = 0;
    const Date moment = device.dateFromComponents(noon);
    const std::string dateText = fmt::format("{:04}-{:02}-{:02}", noon.year, noon.month, noon.day);

    // Same order as the day timetable generation: position first (the automatic method
    // depends on it), then the method choices, overrides, and custom angles last.
    PrayerCalculator calculator;
    calculator.setLat(o.latitude);
    calculator.setLng(o.longitude);
    calculator.setCalcMethod(o.method);
    calculator.setAsrJuristic(o.asr);
    calculator.setAdjustHighLats(o.highLatitude);
    if (o.dst) calculator.setOverrideDST(*o.dst);
    if (o.gmt) calculator.setOverrideTimeZoneOffset(*o.gmt);
    if (o.fajrAngle) calculator.setFajrAngle(*o.fajrAngle);
    if (o.ishaAngle) calculator.setIshaAngle(*o.ishaAngle);
    calculator.setTimeFormat(o.format == "12" ? 1 : o.format == "12ns" ? 2 : 0);

    const std::vector<double> hours = calculator.getDatePrayerTimesAsDoubles(
        moment, o.city, o.country, o.latitude, o.longitude, o.timeZone);
    const std::vector<std::string> text = calculator.adjustTimesFormat(hours);
    if (o.json) {
        printJson(dateText, hours, text, calculator);
    } else {
        printText(dateText, o, text, calculator);
    }
}

}  // namespace

void registerTimesCommand(CLI::App& app) {
    auto options = std::make_shared<TimesOptions>();
    CLI::App* cmd = app.add_subcommand("times", "Show one day's prayer times for a place");
    addLatitudeOption(*cmd, options->latitude, true);
    addLongitudeOption(*cmd, options->longitude, true);
    cmd->add_option("--tz", options->timeZone, "Time zone of the place, e.g. Europe/London")->required();
    cmd->add_option("--date", options->date, "Date as YYYY-MM-DD (default: today)");
    cmd->add_option("--method", options->method,
                    "Calculation method: 0 automatic, 1 Muslim League, 2 Egyptian, 3 Karachi, 4 Umm Al-Qura, "
                    "5 ISNA, 6 custom, 7 UAE")
        ->check(numberBetween(0, 7));
    cmd->add_option("--asr", options->asr, "Asr school: 0 automatic, 1 Shafi, 2 Hanafi")->check(numberBetween(0, 2));
    cmd->add_option("--highlat", options->highLatitude,
                    "High-latitude rule: 0 automatic, 1 1/7th of the night, 2 1/7th median, 3 angle based, "
                    "4 middle of the night")
        ->check(numberBetween(0, 4));
    cmd->add_option("--dst", options->dst, "Daylight saving: 0 follow the zone, 1 force on, 2 force off")
        ->check(numberBetween(0, 2));
    cmd->add_option("--gmt", options->gmt, "Fixed offset from GMT in hours instead of the zone's")
        ->check(numberBetween(-14, 14));
    cmd->add_option("--city", options->city, "City name (Dubai and Kuala Lumpur use their official timetables)");
    cmd->add_option("--country", options->country, "Country name (chooses the automatic Asr school)");
    cmd->add_option("--fajr-angle", options->fajrAngle, "Custom Fajr sun depression in degrees")
        ->check(numberBetween(0, 90));
    cmd->add_option("--isha-angle", options->ishaAngle, "Custom Isha sun depression in degrees")
        ->check(numberBetween(0, 90));
    cmd->add_option("--format", options->format, "Time format: 24, 12 or 12ns (12-hour without am/pm)")
        ->check(CLI::IsMember({"24", "12", "12ns"}));
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->callback([options] { run(*options); });
}

}  // namespace tarvo::cli
