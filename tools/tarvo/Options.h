#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "UsageError.h"
#include "tarvo/calculation/MethodOverrides.h"
#include "tarvo/cities/CalculationChoices.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"

namespace tarvo {
class Calendar;
}

namespace tarvo::cli {

/// Shared option helpers. numberBetween checks a number within inclusive bounds, with a
/// plain message for text that is not a number.
CLI::Validator numberBetween(double min, double max);
void addLatitudeOption(CLI::App& command, double& latitude, bool required);
void addLongitudeOption(CLI::App& command, double& longitude, bool required);

/// The calculation choices a place can carry, shared by `times` and `cities add` (the
/// library's own record of them).
using CalculationOptions = tarvo::CalculationChoices;
/// --method, --asr, --highlat, --dst, --gmt, --fajr-angle, --isha-angle and --polar with their value
/// ranges (the angles and minutes are checked by the library's rules in checkCalculationOptions,
/// so the tool accepts exactly what the library does); `gmtHelp` says what leaving out --gmt
/// means for the command.
void addCalculationOptions(CLI::App& command, CalculationOptions& options, const std::string& gmtHelp);
/// --maghrib-minutes and --isha-minutes, for the commands that compute.
void addMinuteOptions(CLI::App& command, CalculationOptions& options);
/// The angle and minute overrides as the library applies them.
MethodOverrides methodOverrides(const CalculationOptions& options);
/// Refuses angles of 0 or below (0 is a city's "not chosen") and contradicting overrides
/// (Isha both as an angle and as minutes).
void checkCalculationOptions(const CalculationOptions& options);

/// --clock 12|24 for the commands that print clock times.
void addClockOption(CLI::App& command, std::optional<int64_t>& clock);
/// Makes the host's choice of clock: for machine output (JSON, CSV) the POSIX locale and a
/// 24-hour clock whatever the environment says; else --clock when given; else, when the
/// environment names no locale (C or POSIX), a 24-hour clock as terminal tools write it;
/// else the locale's.
void applyClockOption(const std::optional<int64_t>& clock, bool machineOutput = false);

/// "YYYY-MM-DD" as year, month and day (the other fields 0), or a UsageError naming the option.
DateComponents parseDate(std::string_view text, std::string_view option);

/// "YYYY-MM-DDTHH:MM[:SS]" read as a wall-clock time in the device's zone (TZ), or a UsageError
/// naming the option.
Date parseMoment(std::string_view text, std::string_view option);
/// Noon of a YYYY-MM-DD date in the calendar's zone (today's when `date` is empty), or a
/// UsageError naming the option.
Date noonOf(const std::string& date, std::string_view option, const Calendar& calendar);
/// The moment of --at when given, else now.
Date momentOrNow(const std::string& at, std::string_view option);

}  // namespace tarvo::cli
