// tarvo methods: every calculation method the engine knows, with its number, name, the
// name --method accepts, its parameters, safety minutes, rounding, midnight rule, the source
// of its parameters and whether it was checked against the authority's published timetable.
#include <iostream>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "tarvo/calculation/CalculationMethod.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

// "18°" for an angle, "90 min" for minutes (after sunset for Maghrib, after Maghrib for Isha).
std::string describe(double selector, double value, const char* minutesAfter) {
    if (selector == 0) return fmt::format("{}°", value);
    if (value == 0 && std::string(minutesAfter) == "sunset") return "at sunset";
    return fmt::format("{} min after {}", value, minutesAfter);
}

std::string status(const CalculationMethod& m) {
    if (m.number <= 7) return "base";
    return m.checked() ? "checked" : "unchecked";
}

const char* roundingName(CalculationMethod::Rounding r) {
    switch (r) {
        case CalculationMethod::Rounding::Up: return "up";
        case CalculationMethod::Rounding::Down: return "down";
        default: return "nearest";
    }
}

constexpr const char* kTimeKeys[] = {"fajr", "sunrise", "dhuhr", "asr", "maghrib", "isha"};
constexpr const char* kTimeNames[] = {"Fajr", "sunrise", "Dhuhr", "Asr", "Maghrib", "Isha"};

ordered_json methodJson(const CalculationMethod& m) {
    const auto& p = m.params;
    const auto& o = m.minuteOffsets;
    ordered_json rounding = ordered_json::object();
    for (size_t i = 0; i < m.rounding.size(); ++i) rounding[kTimeKeys[i]] = roundingName(m.rounding[i]);
    return ordered_json{
        {"number", m.number},
        {"name", m.name},
        {"key", m.key},
        {"fajr", {{"selector", p[0] == 0 ? "angle" : "minutesBeforeSunrise"}, {"value", p[1]}}},
        {"maghrib", {{"selector", p[2] == 0 ? "angle" : "minutesAfterSunset"}, {"value", p[3]}}},
        {"isha", {{"selector", p[4] == 0 ? "angle" : "minutesAfterMaghrib"}, {"value", p[5]}}},
        {"minuteOffsets",
         {{"fajr", o[0]}, {"sunrise", o[1]}, {"dhuhr", o[2]}, {"asr", o[3]}, {"maghrib", o[4]}, {"isha", o[5]}}},
        {"rounding", rounding},
        {"midnight", m.midnight == CalculationMethod::Midnight::Jafari ? "jafari" : "standard"},
        {"seasonalTwilight", m.seasonalTwilight},
        {"source", m.parameterSource},
        {"status", status(m)},
        {"checkedAgainst", m.checked() ? ordered_json(m.checkedAgainst) : ordered_json(nullptr)}};
}

void writeMethod(std::ostream& out, const CalculationMethod& m) {
    const auto& p = m.params;
    out << fmt::format("{:>2}  {:<32} {}\n", m.number, m.name, m.key);
    std::string line = fmt::format("    Fajr {}, Maghrib {}, Isha {}", p[0] == 0 ? fmt::format("{}°", p[1])
                                                                            : fmt::format("{} min before sunrise", p[1]),
                                   describe(p[2], p[3], "sunset"), describe(p[4], p[5], "Maghrib"));
    if (m.hasMinuteOffsets()) {
        std::string offsets;
        for (size_t i = 0; i < m.minuteOffsets.size(); ++i) {
            if (m.minuteOffsets[i] == 0) continue;
            offsets += fmt::format("{}{} {:+}", offsets.empty() ? "" : ", ", kTimeNames[i], m.minuteOffsets[i]);
        }
        line += "; safety minutes: " + offsets;
    }
    std::string rounding;
    for (size_t i = 0; i < m.rounding.size(); ++i) {
        rounding += fmt::format("{}{} {}", i ? ", " : "", kTimeNames[i], roundingName(m.rounding[i]));
    }
    line += m.hasRoundingRules() ? "; rounded " + rounding : "; rounded to the nearest minute";
    if (m.seasonalTwilight) line += "; Fajr and Isha by latitude and season up to 55°";
    if (m.midnight == CalculationMethod::Midnight::Jafari) line += "; midnight: sunset to Fajr";
    out << line << "\n    Source: " << m.parameterSource << "\n    Status: " << status(m);
    if (m.checked()) out << " (" << m.checkedAgainst << ")";
    out << "\n";
}

// The listing: every method of the catalogue, in number order.
struct MethodList {
    const std::vector<CalculationMethod>& methods;
};

std::string jsonText(const MethodList& list) {
    ordered_json out = ordered_json::array();
    for (const auto& m : list.methods) out.push_back(methodJson(m));
    return dumpJson(out);
}

void writeText(std::ostream& out, const MethodList& list) {
    out << " 0  Automatic (by the place's position)  auto\n";
    for (const auto& m : list.methods) writeMethod(out, m);
}

}  // namespace

void registerMethodsCommand(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("methods", "List the calculation methods, their parameters and sources");
    cmd->add_flag("--json", *json, "Print one JSON array: number, name, key, fajr/maghrib/isha {selector, value}, "
                                   "minuteOffsets (safety minutes per time), rounding (nearest, up or down per "
                                   "time), midnight, seasonalTwilight, source, status, checkedAgainst");
    cmd->footer("Use a method with --method NUMBER or --method KEY (any letter case) in times, day, now and month; "
                "--fajr-angle and --isha-angle replace its angles and keep the rest. "
                "Status: base (methods 1-7, the library's base methods), checked (compared with the authority's "
                "published timetable; see docs/methods.md), unchecked (built from the published parameters only).");
    cmd->callback([json] { render(MethodList{CalculationMethod::all()}, *json); });
}

}  // namespace tarvo::cli
