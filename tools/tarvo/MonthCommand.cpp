// tarvo month: a printable month timetable for a place: date, weekday, Hijri date and the
// times of the day's prayers, as the apps' month view shows them.
#include <memory>
#include <ostream>
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
    std::string dateText;  ///< the date in the locale's digits, for the table
    std::string weekday;
    std::string hijri;
    std::vector<int32_t> hijriParts;
    std::vector<std::string> times;
};

struct MonthTable {
    ordered_json city;
    std::string description;
    std::string position;
    std::string timeZone;
    std::string month;  ///< YYYY-MM
    int64_t monthNumber = 0;
    int64_t islamicMonthNumber = 0;
    std::vector<std::string> columnTitles;
    std::vector<Row> rows;
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
        row.dateText = place.dayText(noon);
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

MonthTable tableFrom(const CLI::App& cmd, const MonthOptions& o) {
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
        const DateComponents date{.year = year, .month = monthNumber, .day = day};
        const Date noon = place.noonOf(date.isoDay(), "--month");
        noons.push_back(noon);
        if (day == 1) month.setIslamicMonthNumber(SunCalculator::getCompsForHijriFromDate(noon)[1]);
        const TarvoDAO::DayList list = TarvoDAO::getPrayerTimesForDate(noon, place.city, gregorian, islamic);
        month.Prayers().insert(month.Prayers().end(), list.begin(), list.end());
    }

    MonthTable table;
    table.rows = rowsOf(month, noons, place, arabic);
    table.city = cityJson(*place.city);
    table.description = place.city->description();
    table.position = place.city->getLatLongString();
    table.timeZone = place.zone.name();
    table.month = fmt::format("{:04}-{:02}", year, monthNumber);
    table.monthNumber = month.MonthNumber();
    table.islamicMonthNumber = month.IslamicMonthNumber();
    // Column titles do not change on Fridays: Dhuhr's is fixed, the others are the names.
    for (const int64_t type : kColumns) {
        table.columnTitles.push_back(type == Prayer::Dhuhr && !arabic ? std::string("Dhuhr") : Prayer(type).PrayerName());
    }
    return table;
}

std::string jsonText(const MonthTable& t) {
    ordered_json list = ordered_json::array();
    for (const Row& row : t.rows) {
        ordered_json times;
        for (size_t i = 0; i < row.times.size(); ++i) times[kColumnKeys[i]] = row.times[i];
        list.push_back({{"date", row.date},
                        {"weekday", row.weekday},
                        {"hijri", {{"text", row.hijri}, {"parts", row.hijriParts}}},
                        {"times", times}});
    }
    return dumpJson(ordered_json{{"city", t.city},
                                 {"timeZone", t.timeZone},
                                 {"month", t.month},
                                 {"monthNumber", t.monthNumber},
                                 {"islamicMonthNumber", t.islamicMonthNumber},
                                 {"days", list}});
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

void writeCsv(std::ostream& out, const MonthTable& t) {
    out << "date,weekday,hijri";
    for (const char* key : kColumnKeys) out << "," << key;
    out << "\n";
    for (const Row& row : t.rows) {
        out << row.date << "," << csvField(row.weekday) << "," << csvField(row.hijri);
        for (const auto& time : row.times) out << "," << csvField(time);
        out << "\n";
    }
}

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void writeText(std::ostream& out, const MonthTable& t) {
    out << "Prayer times for " << printable(t.description) << " " << t.position << ", " << t.month << " (time zone "
        << t.timeZone << ")\n\n";
    std::string header = fmt::format("{:<10}  {:<9}  {:<22}", "Date", "Weekday", "Hijri");
    for (const std::string& title : t.columnTitles) header += fmt::format("  {:<8}", title);
    out << trimmed(header) << "\n";
    for (const Row& row : t.rows) {
        std::string line = fmt::format("{:<10}  {:<9}  {:<22}", row.dateText, row.weekday, row.hijri);
        for (const auto& time : row.times) line += fmt::format("  {:<8}", time);
        out << trimmed(line) << "\n";
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
    cmd->callback([options, cmd] {
        const MonthTable table = tableFrom(*cmd, *options);
        if (options->csv) {
            writeCsv(std::cout, table);
        } else {
            render(table, options->json);
        }
    });
}

}  // namespace tarvo::cli
