// tarvo hijri: the Gregorian date of a Hijri date, or the Hijri date of a day, with the
// user's Hijri correction.
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/IslamicCalendar.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

constexpr const char* kWeekdays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

struct HijriOptions {
    std::vector<int64_t> hijri;
    std::string date;
    std::optional<std::string> calendar;
    bool json = false;
};

// A converted date: the library's text, the Gregorian day and the converted date's parts
// (day, month, year, weekday with 1 Sunday).
struct Conversion {
    std::string text;
    std::string date;
    std::vector<int32_t> parts;
    std::string heading;  ///< what the parts are, in text output
};

std::string weekdayName(int32_t weekday) { return weekday >= 1 && weekday <= 7 ? kWeekdays[weekday - 1] : "?"; }

std::string jsonText(const Conversion& c) {
    return dumpJson(ordered_json{{"text", c.text}, {"date", c.date}, {"parts", c.parts}});
}

void writeText(std::ostream& out, const Conversion& c) {
    out << c.text << "\n"
        << c.heading << fmt::format("{} {} {}, {}", c.parts[0], c.parts[1], c.parts[2], weekdayName(c.parts[3])) << "\n";
}

Conversion toGregorian(const HijriOptions& o, const SunCalculator::HijriReckoning& reckoning) {
    const int64_t day = o.hijri[0];
    const int64_t month = o.hijri[1];
    const int64_t year = o.hijri[2];
    if (month < 1 || month > 12) throw UsageError(fmt::format("Hijri month {} is outside 1 to 12", month));
    if (day < 1 || day > 30) throw UsageError(fmt::format("Hijri day {} is outside 1 to 30", day));
    if (year < 1 || year > 9999) throw UsageError(fmt::format("Hijri year {} is outside 1 to 9999", year));
    // The calendar would roll 30 Safar over into Rabi I; a date that does not exist is refused.
    if (const int64_t length = IslamicCalendar::daysInMonth(month, year, reckoning.kind);
        day > length) {
        throw UsageError(fmt::format("Hijri month {} of {} has {} days: day {} does not exist", month, year,
                                     length, day));
    }
    Conversion c;
    c.parts = SunCalculator::getCompsForGregorianFromHijriDay(day, month, year, reckoning);
    c.text = SunCalculator::convertToGregorianFromHijriDay(day, month, year, reckoning);
    c.date = DateComponents{.year = c.parts[2], .month = c.parts[1], .day = c.parts[0]}.isoDay();
    c.heading = "Gregorian " + c.date + ": ";
    return c;
}

Conversion toHijri(const HijriOptions& o, const SunCalculator::HijriReckoning& reckoning) {
    const Calendar calendar;
    const Date moment = noonOf(o.date, "--date", calendar);
    const DateComponents noon = calendar.components(moment);
    Conversion c;
    c.text = SunCalculator::convertToHijriFromDate(moment, reckoning);
    c.date = noon.isoDay();
    c.parts = SunCalculator::getCompsForHijriFromDate(moment, reckoning);
    c.heading = "Hijri of " + c.date + ": ";
    return c;
}

Conversion conversionFrom(const HijriOptions& o) {
    // The calendar and the correction of the user's configuration; --calendar replaces the
    // calendar for this run, the correction stays.
    SunCalculator::HijriReckoning reckoning =
        TarvoDAO::getSharedInstance()->globalPrayerConfiguration()->hijriReckoning();
    if (o.calendar) reckoning.kind = *IslamicCalendar::kindNamed(*o.calendar);
    if (!o.hijri.empty() && o.hijri.size() != 3) throw UsageError("give the Hijri date as DAY MONTH YEAR");
    if (!o.hijri.empty() && !o.date.empty()) throw UsageError("give either a Hijri date or --date, not both");
    return o.hijri.empty() ? toHijri(o, reckoning) : toGregorian(o, reckoning);
}

}  // namespace

void registerHijriCommand(CLI::App& app) {
    auto options = std::make_shared<HijriOptions>();
    CLI::App* cmd = app.add_subcommand("hijri", "Convert a Hijri date to Gregorian, or show a day's Hijri date");
    cmd->add_option("DATE", options->hijri, "Hijri DAY MONTH YEAR (day 1-30, month 1-12, year 1-9999)")
        ->expected(0, 3);
    cmd->add_option("--date", options->date, "Without a Hijri date: the Gregorian day YYYY-MM-DD (default: today)");
    cmd->add_option("--calendar", options->calendar,
                    "umalqura (Saudi Arabia's official calendar), civil (arithmetical) or astronomical; default: the "
                    "HijriCalendar setting (civil unless set)")
        ->check(CLI::IsMember({"umalqura", "civil", "astronomical"}, CLI::ignore_case));
    cmd->add_flag("--json", options->json, "Print one JSON object: text, date (YYYY-MM-DD) and parts "
                                           "[day, month, year, weekday (1 Sunday)]");
    cmd->footer("The Islamic calendar of --calendar or of the HijriCalendar setting (0 civil, 1 umalqura, 2 "
                "astronomical), moved by HijriCorrection from the shared preferences (tarvo config set "
                "HijriCorrection 1 --type int: each Hijri day starts a day earlier). The Gregorian text writes the "
                "week-based year, as the apps do.");
    cmd->callback([options] { render(conversionFrom(*options), options->json); });
}

}  // namespace tarvo::cli
