// tarvo moon: moonrise, moonset, phase and distance of the moon for a day at a place.
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::cli {

namespace {

using ordered_json = nlohmann::ordered_json;

struct MoonOptions {
    PositionOptions position;
    std::string date;
    bool json = false;
};

struct MoonReport {
    double latitude = 0;
    double longitude = 0;
    TimeZone zone = TimeZone::gmt();
    std::string date;
    SunCalculator::MoonDay day;
    std::vector<std::string> compatible;
    SunCalculator::MoonPhase phase;
    double distanceKm = 0;
};

MoonReport reportFrom(const CLI::App& cmd, MoonOptions& options) {
    if (!resolvePosition(cmd, options.position)) throw UsageError("name a place, or give --lat, --lon and --tz");
    const PositionOptions& o = options.position;
    std::optional<TimeZone> found = TimeZone::withName(o.timeZone);
    if (!found) warn("unknown time zone '" + o.timeZone + "'; using GMT");
    const TimeZone zone = found.value_or(TimeZone::gmt());

    DateComponents day;
    if (options.date.empty()) {
        day = Calendar(zone).components(Date::now());
    } else {
        day = parseDate(options.date, "--date");
    }

    MoonReport r;
    r.latitude = o.latitude;
    r.longitude = o.longitude;
    r.zone = zone;
    r.date = day.isoDay();
    r.day = SunCalculator::moonRiseSetForDay(day.day, day.month, day.year, zone, o.latitude, o.longitude);
    SunCalculator calculator;
    r.compatible = calculator.moonriseSetTextsForDay(day.day, day.month, day.year, zone, o.latitude, o.longitude);
    r.phase = SunCalculator::moonPhaseForDay(day.day, day.month, day.year, zone);
    r.distanceKm = calculator.output_moon_angles()[5];
    return r;
}

const char* eventName(SunCalculator::MoonEventKind kind) {
    return kind == SunCalculator::MoonEventKind::rise ? "rise" : "set";
}

std::string jsonText(const MoonReport& r) {
    const auto iso = [&](const std::optional<Date>& t) { return t ? ordered_json(clockTime(*t, r.zone).iso) : nullptr; };
    ordered_json j;
    j["date"] = r.date;
    j["rise"] = iso(r.day.rise());
    j["set"] = iso(r.day.set());
    j["compatible"] = r.compatible;
    j["illumination"] = std::round(r.phase.illuminatedFraction * 1000.0) / 10.0;
    j["phase"] = r.phase.name;
    j["ageDays"] = std::round(r.phase.ageDays * 100.0) / 100.0;
    j["distanceKm"] = std::round(r.distanceKm);
    ordered_json events = ordered_json::array();
    for (const auto& e : r.day.events) {
        events.push_back({{"event", eventName(e.kind)}, {"time", clockTime(e.time, r.zone).iso}});
    }
    j["events"] = events;
    j["upAllDay"] = r.day.events.empty() ? ordered_json(r.day.upAtStart) : ordered_json(nullptr);
    return dumpJson(j);
}

void writeText(std::ostream& out, const MoonReport& r) {
    out << fmt::format("The moon at {:.4f}, {:.4f} on {} ({})\n\n", r.latitude, r.longitude, r.date, r.zone.name());
    for (const auto& e : r.day.events) {
        const ClockTime t = clockTime(e.time, r.zone);
        out << fmt::format("  {:<10} {}  ({})\n", e.kind == SunCalculator::MoonEventKind::rise ? "Moonrise" : "Moonset",
                           t.clock, t.iso);
    }
    if (r.day.events.empty()) {
        out << (r.day.upAtStart ? "  The moon is up all day.\n" : "  The moon stays below the horizon all day.\n");
    } else {
        if (!r.day.rise()) out << "  No moonrise on this day.\n";
        if (!r.day.set()) out << "  No moonset on this day.\n";
    }
    out << fmt::format("  {:<10} {}, {:.1f}% lit, {:.1f} days since new moon\n", "Phase", r.phase.name,
                       r.phase.illuminatedFraction * 100.0, r.phase.ageDays);
    out << fmt::format("  {:<10} {:.0f} km\n", "Distance", r.distanceKm);
    std::string compatible;
    for (const auto& text : r.compatible) compatible += (compatible.empty() ? "" : ", ") + text;
    out << "\nCompatible texts (hours times 100 : minutes): " << compatible << "\n";
}

}  // namespace

void registerMoonCommand(CLI::App& app) {
    auto options = std::make_shared<MoonOptions>();
    CLI::App* cmd = app.add_subcommand("moon", "Show moonrise, moonset, phase and distance of the moon for a day");
    addPositionOptions(*cmd, options->position, "Time zone of the place, e.g. America/New_York");
    cmd->add_option("--date", options->date, "Date as YYYY-MM-DD (default: today in the zone)");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Rise and set are the moments the moon's upper limb meets the horizon (34' refraction), to the "
                "minute; illumination, age and distance are those at local noon, and a day in which a principal "
                "phase falls carries its name. The compatible texts are the "
                "hourly-search moonrise/moonset display texts hosts show (hours times 100).");
    cmd->callback([options, cmd] { render(reportFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
