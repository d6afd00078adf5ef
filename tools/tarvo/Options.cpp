#include <chrono>
#include <cmath>

#include <fmt/format.h>
#include <iostream>

#include "Commands.h"

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
        fmt::format("NUMBER in [{}, {}]", min, max));
}

void addLatitudeOption(CLI::App& command, double& latitude, bool required) {
    auto* option = command.add_option("--lat", latitude, "Latitude in degrees, north positive (-90 to 90)")
                       ->check(numberBetween(-90, 90));
    if (required) option->required();
}

void addLongitudeOption(CLI::App& command, double& longitude, bool required) {
    auto* option = command.add_option("--lon", longitude, "Longitude in degrees, east positive (-180 to 180)")
                       ->check(numberBetween(-180, 180));
    if (required) option->required();
}

CivilDate parseDate(std::string_view text, std::string_view option) {
    auto bad = [&]() {
        return UsageError(std::string(option) + ": '" + std::string(text) + "' is not a date of the form YYYY-MM-DD");
    };
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') throw bad();
    for (size_t i : {0, 1, 2, 3, 5, 6, 8, 9}) {
        if (text[i] < '0' || text[i] > '9') throw bad();
    }
    const int year = std::stoi(std::string(text.substr(0, 4)));
    const auto month = static_cast<unsigned>(std::stoi(std::string(text.substr(5, 2))));
    const auto day = static_cast<unsigned>(std::stoi(std::string(text.substr(8, 2))));
    if (!std::chrono::year_month_day{std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}}.ok()) {
        throw bad();
    }
    return {year, month, day};
}

void warn(const std::string& message) { std::cerr << "tarvo: warning: " << message << "\n"; }

}  // namespace tarvo::cli
