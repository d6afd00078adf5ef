#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

namespace tarvo::cli {

/// Bad input found after parsing (a bad value combination, an unusable file): reported as
/// one line on standard error with exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Each subcommand registers itself on the application and runs from its callback.
void registerTimesCommand(CLI::App& app);
void registerQiblaCommand(CLI::App& app);

/// Shared option helpers. numberBetween checks a number within inclusive bounds, with a
/// plain message for text that is not a number.
CLI::Validator numberBetween(double min, double max);
void addLatitudeOption(CLI::App& command, double& latitude, bool required);
void addLongitudeOption(CLI::App& command, double& longitude, bool required);

/// "YYYY-MM-DD" as year, month and day, or a UsageError naming the option.
struct CivilDate {
    int year;
    unsigned month;
    unsigned day;
};
CivilDate parseDate(std::string_view text, std::string_view option);

/// A warning line on standard error ("tarvo: warning: ...").
void warn(const std::string& message);

}  // namespace tarvo::cli
