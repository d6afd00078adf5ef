#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"

namespace tarvo {
class Calendar;
class TimeZone;
class TarvoCity;
class UserDatabase;
class UserDefaults;
}  // namespace tarvo

namespace tarvo::cli {

/// Bad input found after parsing (a bad value combination, an unusable file): reported as
/// one line on standard error with exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line (argv[0] is the program's name) and runs the command it names;
/// the exit status: 0 done, 1 failed, 2 a usage error. Log lines written while a command
/// ran reach standard error before the command's own output.
int run(int argc, const char* const* argv);

/// Each subcommand registers itself on the application and runs from its callback.
void registerTimesCommand(CLI::App& app);
void registerQiblaCommand(CLI::App& app);
void registerConfigCommand(CLI::App& app);
void registerCitiesCommand(CLI::App& app);
void registerDayCommand(CLI::App& app);
void registerNowCommand(CLI::App& app);
void registerLocateCommand(CLI::App& app);
void registerMoonCommand(CLI::App& app);
void registerSkyCommand(CLI::App& app);
void registerDishCommand(CLI::App& app);
/// The directory, cache and last-used subcommands of `tarvo cities`.
void registerCitiesDirectoryCommands(CLI::App& cities);
void registerAlertsCommand(CLI::App& app);
void registerDurationCommand(CLI::App& app);
void registerHijriCommand(CLI::App& app);
void registerMonthCommand(CLI::App& app);
void registerMethodsCommand(CLI::App& app);

/// The user database in the data folder, opened (created and upgraded when needed), or a
/// UsageError saying why it cannot be used.
std::shared_ptr<UserDatabase> openUserDatabase();
/// A city as a JSON object keyed by the city's field names.
nlohmann::ordered_json cityJson(const TarvoCity& city);

/// The defaults the tool, as the host application, registers in the shared preferences.
const nlohmann::json& hostDefaults();
/// Registers hostDefaults() in the shared preferences, once, before a command first uses them.
void registerHostDefaults();

/// The shared preferences as one command changes them, directly or through the library.
class PreferenceChanges {
public:
    /// A failure (exit 1) saying why, with nothing changed, when the preferences' file is
    /// read-only or cannot be used.
    PreferenceChanges();
    UserDefaults& defaults() { return *defaults_; }
    /// A failure (exit 1) unless every write since this object was made reached the file,
    /// and the file the disk.
    void save();

private:
    std::shared_ptr<UserDefaults> defaults_;
    uint64_t failedBefore_ = 0;
};

/// Points the library's bundle at the sound files: $TARVO_RESOURCES, else the installed
/// share folder. Answers the folder used.
std::string registerHostResources();

/// --clock 12|24 for the commands that print clock times.
void addClockOption(CLI::App& command, std::optional<int64_t>& clock);
/// Makes the host's choice of clock: for machine output (JSON, CSV) the POSIX locale and a
/// 24-hour clock whatever the environment says; else --clock when given; else, when the
/// environment names no locale (C or POSIX), a 24-hour clock as terminal tools write it;
/// else the locale's.
void applyClockOption(const std::optional<int64_t>& clock, bool machineOutput = false);

/// Shared option helpers. numberBetween checks a number within inclusive bounds, with a
/// plain message for text that is not a number.
CLI::Validator numberBetween(double min, double max);
void addLatitudeOption(CLI::App& command, double& latitude, bool required);
void addLongitudeOption(CLI::App& command, double& longitude, bool required);
/// The calculation choices a place can carry, shared by `times` and `cities add`.
struct CalculationOptions {
    int64_t method = 0;        ///< 0 automatic
    int64_t asr = 0;           ///< 0 automatic
    int64_t highLatitude = 0;  ///< 0 automatic
    std::optional<int64_t> dst;  ///< 0 follow the zone, 1 force on, 2 force off
    std::optional<double> gmt;   ///< fixed offset in hours
    std::optional<double> fajrAngle;  ///< the custom method's angles (18 and 17 when not given)
    std::optional<double> ishaAngle;
};
/// --method, --asr, --highlat, --dst, --gmt, --fajr-angle and --isha-angle with their value
/// ranges; `gmtHelp` says what leaving out --gmt means for the command.
void addCalculationOptions(CLI::App& command, CalculationOptions& options, const std::string& gmtHelp);
/// Refuses custom angles without the custom method (any other method ignores them).
void checkCalculationOptions(const CalculationOptions& options);

/// The fields of a city the user gives on the command line.
struct CityFields {
    std::string name;
    std::string country;
    std::string state;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationOptions calculation;
};
/// A city with those fields (offset from the zone unless --gmt was given), filled silently:
/// it describes a place the user named, not an edit of the automatic city, so nothing is
/// mirrored into the automatic-city preferences.
std::shared_ptr<TarvoCity> cityFromFields(const CityFields& fields);

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

/// A moment rounded to the minute as a zone's clock shows it: "HH:MM" and ISO 8601 with the
/// zone's offset ("2019-01-21T18:40-05:00").
struct ClockTime {
    std::string clock;
    std::string iso;
};
ClockTime clockTime(Date moment, const TimeZone& zone);
/// An offset from UTC as ISO 8601 writes it: "+03:00", "-09:30".
std::string offsetText(int64_t seconds);
/// A moment as ISO 8601 writes it with the zone's offset: "2019-01-21T18:40:05-05:00", or
/// without the seconds "2019-01-21T18:40-05:00" (the seconds are then dropped, not rounded).
std::string isoText(Date moment, const TimeZone& zone, bool withSeconds);

/// Stored text as the tool shows it in plain output: without control characters (a name
/// holding an escape sequence could rewrite the terminal) or bidi overrides. JSON output
/// keeps the text as stored, escaped by the JSON rules.
std::string printable(std::string_view stored);

/// A warning line on standard error ("tarvo: warning: ...").
void warn(const std::string& message);

}  // namespace tarvo::cli
