// tarvo month: a printable month timetable for a place: date, weekday, Hijri date and the
// times of the day's prayers, as the apps' month view shows them.
#include <iostream>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/prayers/PrayerMonth.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

// The columns of the timetable: the day's prayers without Sunset and tomorrow's entries.
constexpr int64_t kColumns[] = {Prayer::Fajr, Prayer::Sunrise, Prayer::Dhuhr, Prayer::Asr,
                                Prayer::Maghrib, Prayer::Isha, Prayer::Qiyam};
constexpr const char* kColumnKeys[] = {"fajr", "sunrise", "dhuhr", "asr", "maghrib", "isha", "qiyam"};

struct MonthOptions {
    PlaceOptions place;
    std::string month;
    std::optional<int64_t> clock;
    bool json = false;
    bool csv = false;
};

struct Row {
    std::string date;
    std::string weekday;
    std::string hijri;
    std::vector<int32_t> hijriParts;
    std::vector<std::string> times;
};

// "YYYY-MM", or the current month on the place's clock when empty.
std::pair<int64_t, int64_t> parseMonth(const std::string& text, const Place& place) {
    if (text.empty()) {
        const DateComponents today = Calendar(place.zone).components(Date::now());
        return {today.year, today.month};
    }
    static const std::regex pattern(R"((\d{4})-(\d{2}))");
    std::smatch m;
    if (!std::regex_match(text, m, pattern) || std::stoi(m[2].str()) < 1 || std::stoi(m[2].str()) > 12) {
        throw UsageError("--month: '" + text + "' is not a month of the form YYYY-MM");
    }
    return {std::stoi(m[1].str()), std::stoi(m[2].str())};
}

// One row per day list of the month (ten records each), for the days at `noons`.
std::vector<Row> rowsOf(const PrayerMonth& month, const std::vector<Date>& noons, const Place& place, bool arabic) {
    DateFormatter weekdays(Locale("en_US_POSIX"));
    weekdays.setDateFormat("EEEE");
    std::vector<Row> rows;
    const auto& prayers = month.Prayers();
    for (size_t k = 0; k < noons.size() && (k + 1) * 10 <= prayers.size(); ++k) {
        const size_t first = k * 10;
        const Date noon = noons[k];
        Row row;
        row.date = place.day(noon);
        row.weekday = weekdays.stringFromDate(noon);
        if (arabic) row.weekday = TarvoDAO::getDayInArabic(row.weekday);
        row.hijri = SunCalculator::convertToHijriFromDate(noon);
        row.hijriParts = SunCalculator::getCompsForHijriFromDate(noon);
        for (const int64_t type : kColumns) {
            row.times.push_back(
                TarvoDAO::getFormattedPrayerTimeForPrayer(prayers[first + static_cast<size_t>(type)], arabic, false)
                    .value_or("N/A"));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

void run(const CLI::App& cmd, const MonthOptions& o) {
    applyClockOption(o.clock, o.json || o.csv);
    if (o.json && o.csv) throw UsageError("give either --json or --csv");
    const Place place = resolvePlace(cmd, o.place);
    const auto [year, monthNumber] = parseMonth(o.month, place);

    const auto facade = TarvoDAO::getSharedInstance();
    const bool arabic = facade->globalPrayerConfiguration()->ShowPrayerNamesInArabic();
    const Calendar gregorian;
    const IslamicCalendar islamic;
    PrayerMonth month;
    month.setMonthNumber(monthNumber);
    const int64_t days = TarvoDAO::getDaysInMonth(year, monthNumber);
    std::vector<Date> noons;
    for (int64_t day = 1; day <= days; ++day) {
        const Date noon = place.noonOf(fmt::format("{:04}-{:02}-{:02}", year, monthNumber, day), "--month");
        noons.push_back(noon);
        if (day == 1) month.setIslamicMonthNumber(SunCalculator::getCompsForHijriFromDate(noon)[1]);
        const TarvoDAO::DayList list = TarvoDAO::getPrayerTimesForDate(noon, place.city, gregorian, islamic);
        month.Prayers().insert(month.Prayers().end(), list.begin(), list.end());
    }
    const std::vector<Row> rows = rowsOf(month, noons, place, arabic);

    if (o.json) {
        ordered_json list = ordered_json::array();
        for (const Row& row : rows) {
            ordered_json times;
            for (size_t i = 0; i < row.times.size(); ++i) times[kColumnKeys[i]] = row.times[i];
            list.push_back({{"date", row.date},
                            {"weekday", row.weekday},
                            {"hijri", {{"text", row.hijri}, {"parts", row.hijriParts}}},
                            {"times", times}});
        }
        const ordered_json out{{"city", cityJson(*place.city)},
                               {"timeZone", place.zone.name()},
                               {"month", fmt::format("{:04}-{:02}", year, monthNumber)},
                               {"monthNumber", month.MonthNumber()},
                               {"islamicMonthNumber", month.IslamicMonthNumber()},
                               {"days", list}};
        std::cout << out.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << "\n";
        return;
    }
    if (o.csv) {
        std::cout << "date,weekday,hijri";
        for (const char* key : kColumnKeys) std::cout << "," << key;
        std::cout << "\n";
        for (const Row& row : rows) {
            std::cout << row.date << "," << csvField(row.weekday) << "," << csvField(row.hijri);
            for (const auto& time : row.times) std::cout << "," << csvField(time);
            std::cout << "\n";
        }
        return;
    }
    std::cout << "Prayer times for " << printable(place.city->description()) << " " << place.city->getLatLongString()
              << ", " << fmt::format("{:04}-{:02}", year, monthNumber) << " (time zone " << place.zone.name() << ")\n\n";
    // Column titles do not change on Fridays: Dhuhr's is fixed, the others are the names.
    std::string header = fmt::format("{:<10}  {:<9}  {:<22}", "Date", "Weekday", "Hijri");
    for (const int64_t type : kColumns) {
        header += fmt::format("  {:<8}", type == Prayer::Dhuhr && !arabic ? std::string("Dhuhr") : Prayer(type).PrayerName());
    }
    std::cout << trimmed(header) << "\n";
    for (const Row& row : rows) {
        std::string line = fmt::format("{:<10}  {:<9}  {:<22}", place.dayText(noons[&row - rows.data()]), row.weekday, row.hijri);
        for (const auto& time : row.times) line += fmt::format("  {:<8}", time);
        std::cout << trimmed(line) << "\n";
    }
}

}  // namespace

void registerMonthCommand(CLI::App& app) {
    auto options = std::make_shared<MonthOptions>();
    CLI::App* cmd = app.add_subcommand("month", "Print a month timetable for a place");
    addPlaceOptions(*cmd, options->place);
    cmd->add_option("--month", options->month, "The month as YYYY-MM (default: this month on the place's clock)");
    addClockOption(*cmd, options->clock);
    cmd->add_flag("--json", options->json, "Print one JSON object instead of the table");
    cmd->add_flag("--csv", options->csv, "Print CSV with a header row instead of the table");
    cmd->footer("Give either --lat, --lon and --tz (all three), or --saved. The settings in the shared preferences "
                "(tarvo config) apply: adjustments, UseSunrise, HijriCorrection; with ShowPrayerNamesInArabic the "
                "weekdays and prayer names are Arabic.");
    cmd->callback([options, cmd] { run(*cmd, *options); });
}

}  // namespace tarvo::cli
