// The options and arguments the commands share, and the readers of their values.
#include "Options.h"

#include <chrono>
#include <cmath>
#include <vector>

#include <fmt/format.h>

#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/RequestChecks.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/Locale.h"

namespace tarvo::cli {

CLI::Validator numberBetween(double min, double max) {
    return CLI::Validator(
        [min, max](std::string& text) -> std::string {
            double value = 0;
            if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value)) return "'" + text + "' is not a number";
            if (value < min || value > max) {
                return fmt::format("{} is outside {} to {}", text, min, max);
            }
            return {};
        },
        fmt::format("{}..{}", min, max));
}

CLI::Validator methodName() {
    // Turns a method's name into its number before CLI11 reads the value; the library owns
    // the names.
    return CLI::Validator(
        [](std::string& text) -> std::string {
            const auto number = CalculationMethod::numberForName(text);
            if (!number) return "'" + text + "' is not a calculation method; 'tarvo methods' lists them";
            text = std::to_string(*number);
            return {};
        },
        "NAME|NUMBER");
}

CLI::Validator polarResolutionName() {
    // The name becomes the stored number before CLI11 reads the value.
    return CLI::Validator(
        [](std::string& text) -> std::string {
            const auto resolution = polarResolutionNamed(text);
            if (!resolution) return "'" + text + "' is not a polar resolution: give none, nearest-day or nearest-latitude";
            text = std::to_string(storedPolarResolution(*resolution));
            return {};
        },
        "none|nearest-day|nearest-latitude");
}

// A coordinate checked by the library's rule for positions ("latitude 91 is outside -90 to 90").
CLI::Validator coordinate(bool latitude) {
    return CLI::Validator(
        [latitude](std::string& text) -> std::string {
            double value = 0;
            if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value)) return "'" + text + "' is not a number";
            const auto problem = latitude ? RequestChecks::positionProblem(value, 0) : RequestChecks::positionProblem(0, value);
            return problem.value_or("");
        },
        latitude ? "-90..90" : "-180..180");
}

void addLatitudeOption(CLI::App& command, double& latitude, bool required) {
    auto* option = command.add_option("--lat", latitude, "Latitude in degrees, north positive (-90 to 90)")
                       ->check(coordinate(true));
    if (required) option->required();
}

void addLongitudeOption(CLI::App& command, double& longitude, bool required) {
    auto* option = command.add_option("--lon", longitude, "Longitude in degrees, east positive (-180 to 180)")
                       ->check(coordinate(false));
    if (required) option->required();
}

void addCalculationOptions(CLI::App& command, CalculationOptions& options, const std::string& gmtHelp) {
    command
        .add_option("--method", options.method,
                    "Calculation method, by number or name: 0 auto, 1 mwl, 2 egypt, 3 karachi, 4 ummalqura, "
                    "5 isna, 6 custom, 7 uae, 8 diyanet, 9 jakim, ... ('tarvo methods' lists them all)")
        ->transform(methodName());
    command.add_option("--asr", options.asr, "Asr school: 0 automatic, 1 Shafi, 2 Hanafi")->check(numberBetween(0, 2));
    command
        .add_option("--highlat", options.highLatitude,
                    "High-latitude rule: 0 automatic, 1 1/7th of the night, 2 1/7th median, 3 angle based, "
                    "4 middle of the night")
        ->check(numberBetween(0, 4));
    command.add_option("--dst", options.dst, "Daylight saving: 0 follow the zone, 1 force on, 2 force off")
        ->check(numberBetween(0, 2));
    command.add_option("--gmt", options.gmt, gmtHelp)->check(numberBetween(-14, 14));
    command.add_option("--fajr-angle", options.fajrAngle,
                       "Fajr sun depression in degrees, above 0, replacing the method's own; the method's other "
                       "numbers, safety minutes and rounding stay (custom method 6 starts at 18)");
    command.add_option("--isha-angle", options.ishaAngle,
                       "Isha sun depression in degrees, above 0, replacing the method's own; the method's other "
                       "numbers, safety minutes and rounding stay (custom method 6 starts at 17)");
    command.add_option("--polar", options.polar,
                       "Times the sun gives none for beyond the polar circles: none (shown as missing), nearest-day or "
                       "nearest-latitude (default: the PolarResolution setting, else nearest-latitude)")
        ->transform(polarResolutionName());
}

void addMinuteOptions(CLI::App& command, CalculationOptions& options) {
    command.add_option("--maghrib-minutes", options.maghribMinutes,
                       "Maghrib this many minutes after sunset instead of the method's own rule; the method's other "
                       "numbers, safety minutes and rounding stay");
    command.add_option("--isha-minutes", options.ishaMinutes,
                       "Isha this many minutes after Maghrib instead of the method's angle (not with --isha-angle); "
                       "the method's other numbers, safety minutes and rounding stay");
}

MethodOverrides methodOverrides(const CalculationOptions& o) {
    return MethodOverrides{o.fajrAngle, o.ishaAngle, o.maghribMinutes, o.ishaMinutes};
}

void checkCalculationOptions(const CalculationOptions& o) {
    // The library's rule for each value, said with the option that gave it; then the rules
    // between values (Isha as an angle or as minutes).
    const auto check = [](const char* option, const std::optional<double>& value, auto problem) {
        if (!value) return;
        if (const auto why = problem(*value)) throw UsageError(fmt::format("{}: {}", option, *why));
    };
    check("--fajr-angle", o.fajrAngle, [](double v) { return MethodOverrides::angleProblem(v, "Fajr"); });
    check("--isha-angle", o.ishaAngle, [](double v) { return MethodOverrides::angleProblem(v, "Isha"); });
    check("--maghrib-minutes", o.maghribMinutes, MethodOverrides::maghribMinutesProblem);
    check("--isha-minutes", o.ishaMinutes, MethodOverrides::ishaMinutesProblem);
    if (const auto why = methodOverrides(o).problem()) throw UsageError(*why);
}

void addClockOption(CLI::App& command, std::optional<int64_t>& clock) {
    command.add_option("--clock", clock, "12- or 24-hour clock (default: the locale's; 24 without a locale)")
        ->check(CLI::IsMember({int64_t{12}, int64_t{24}}));
}

void applyClockOption(const std::optional<int64_t>& clock, bool machineOutput) {
    if (machineOutput) {
        // Scripts read the same text in every locale: ASCII digits, a 24-hour clock, English
        // names. Set before the configuration is first loaded, which reads the locale.
        Locale::setCurrentLocale("en_US_POSIX");
        DateFormatter::setIs24HourClock(true);
    } else if (clock) {
        DateFormatter::setIs24HourClock(*clock == 24);
    } else if (Locale::environmentLocale().identifier() == "en_US_POSIX") {
        DateFormatter::setIs24HourClock(true);
    }
}

DateComponents parseDate(std::string_view text, std::string_view option) {
    auto bad = [&]() {
        return UsageError(std::string(option) + ": '" + std::string(text) + "' is not a date of the form YYYY-MM-DD");
    };
    // The form first, then whether the day exists, so the message can say which is wrong.
    if (text.size() != 10) throw bad();
    for (size_t i = 0; i < text.size(); ++i) {
        if ((i == 4 || i == 7) ? text[i] != '-' : (text[i] < '0' || text[i] > '9')) throw bad();
    }
    const int year = std::stoi(std::string(text.substr(0, 4)));
    const int month = std::stoi(std::string(text.substr(5, 2)));
    const int day = std::stoi(std::string(text.substr(8, 2)));
    if (auto problem = RequestChecks::dayProblem(year, month, day)) {
        throw UsageError(std::string(option) + ": " + *problem);
    }
    DateComponents date;
    date.year = year;
    date.month = month;
    date.day = day;
    return date;
}

Date parseMoment(std::string_view text, std::string_view option) {
    auto bad = [&]() {
        return UsageError(std::string(option) + ": '" + std::string(text) +
                          "' is not a time of the form YYYY-MM-DDTHH:MM[:SS]");
    };
    const bool withSeconds = text.size() == 19;
    if ((text.size() != 16 && !withSeconds) || text[10] != 'T' || text[13] != ':') throw bad();
    if (withSeconds && text[16] != ':') throw bad();
    std::vector<size_t> digits = {11, 12, 14, 15};
    if (withSeconds) digits.insert(digits.end(), {17, 18});
    for (size_t i : digits) {
        if (text[i] < '0' || text[i] > '9') throw bad();
    }
    const int hour = std::stoi(std::string(text.substr(11, 2)));
    const int minute = std::stoi(std::string(text.substr(14, 2)));
    const int second = withSeconds ? std::stoi(std::string(text.substr(17, 2))) : 0;
    if (hour > 23 || minute > 59 || second > 59) throw bad();
    DateComponents c;
    try {
        c = parseDate(text.substr(0, 10), option);
    } catch (const UsageError&) {
        throw bad();
    }
    c.hour = hour;
    c.minute = minute;
    c.second = second;
    return Calendar().dateFromComponents(c);
}

Date noonOf(const std::string& date, std::string_view option, const Calendar& calendar) {
    DateComponents noon = calendar.components(Date::now());
    if (!date.empty()) {
        const DateComponents d = parseDate(date, option);
        noon.year = d.year;
        noon.month = d.month;
        noon.day = d.day;
    }
    noon.hour = 12;
    noon.minute = noon.second = noon.nanosecond = 0;
    return calendar.dateFromComponents(noon);
}

Date momentOrNow(const std::string& at, std::string_view option) {
    return at.empty() ? Date::now() : parseMoment(at, option);
}

}  // namespace tarvo::cli
