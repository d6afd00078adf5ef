// The calculation settings handle, and the checks and conversions the day computations share.
#include "Calculation.h"

#include <cmath>
#include <new>
#include <utility>

#include <fmt/format.h>

#include "Boundary.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/MethodOverrides.h"
#include "tarvo/cities/CityFields.h"
#include "tarvo/cities/RequestChecks.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo::capi {

const tarvo_settings& settingsOrDefault(const tarvo_settings* settings) {
    static const tarvo_settings automatic;
    return settings ? *settings : automatic;
}

void checkPosition(double latitude, double longitude) {
    if (auto problem = RequestChecks::positionProblem(latitude, longitude)) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
    }
}

TimeZone zoneNamed(const char* name) {
    require(name, "time zone");
    auto zone = TimeZone::withName(name);
    if (!zone) throw Failure(TARVO_ERROR_UNKNOWN_TIME_ZONE, fmt::format("unknown time zone '{}'", name));
    return *zone;
}

void checkGregorianDate(int64_t year, int64_t month, int64_t day) {
    if (auto problem = RequestChecks::dayProblem(year, month, day)) throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
}

std::shared_ptr<TarvoCity> cityFor(const tarvo_place& place, const tarvo_settings& s) {
    checkPosition(place.latitude, place.longitude);
    const TimeZone zone = zoneNamed(place.time_zone);
    CityFields fields;
    fields.name = place.name ? place.name : fmt::format("{:.4f}, {:.4f}", place.latitude, place.longitude);
    fields.country = place.country ? place.country : "";
    fields.latitude = place.latitude;
    fields.longitude = place.longitude;
    fields.timeZone = zone.name();
    fields.calculation = s.choices;
    return fields.makeCity();
}

tarvo_moment momentOf(std::optional<Date> moment, const TimeZone& clock) {
    if (!moment) return tarvo_moment{};
    return momentOf(moment, clock.secondsFromGMT(*moment));
}

tarvo_moment momentOf(std::optional<Date> moment, int64_t offsetSeconds) {
    tarvo_moment m{};
    if (!moment || !std::isfinite(moment->timeIntervalSince1970())) return m;
    m.unix_seconds = moment->timeIntervalSince1970();
    m.utc_offset_seconds = static_cast<int32_t>(offsetSeconds);
    m.present = 1;
    return m;
}

}  // namespace tarvo::capi

using namespace tarvo;
using namespace tarvo::capi;

namespace {

tarvo_status withSettings(tarvo_settings* settings, auto&& change) {
    return guarded([&] {
        require(settings, "settings");
        change(*settings);
        return TARVO_OK;
    });
}

void checkChoice(int64_t value, int64_t highest, const char* what) {
    if (value < 0 || value > highest) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("{} {} is outside 0 to {}", what, value, highest));
    }
}

}  // namespace

extern "C" {

tarvo_status tarvo_zone_offset(const char* time_zone, double unix_seconds, int32_t* out) {
    return guarded([&] {
        require(out, "out");
        const TimeZone zone = zoneNamed(time_zone);
        if (!(std::fabs(unix_seconds) <= 253402300799.0)) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, "the moment is outside the years 1 to 9999");
        }
        *out = static_cast<int32_t>(zone.secondsFromGMT(Date(unix_seconds)));
        return TARVO_OK;
    });
}

tarvo_status tarvo_settings_create(tarvo_settings** out) {
    return guarded([&] {
        require(out, "out");
        *out = new tarvo_settings();
        return TARVO_OK;
    });
}

void tarvo_settings_destroy(tarvo_settings* settings) { delete settings; }

tarvo_status tarvo_settings_set_method(tarvo_settings* settings, int32_t method) {
    return withSettings(settings, [&](tarvo_settings& s) {
        if (method != 0 && !CalculationMethod::withNumber(method)) {
            throw Failure(TARVO_ERROR_NOT_FOUND,
                          fmt::format("{} is not a calculation method; tarvo_methods lists them", method));
        }
        s.choices.method = method;
    });
}

tarvo_status tarvo_settings_set_method_name(tarvo_settings* settings, const char* name) {
    return withSettings(settings, [&](tarvo_settings& s) {
        require(name, "name");
        const auto number = CalculationMethod::numberForName(name);
        if (!number) {
            throw Failure(TARVO_ERROR_NOT_FOUND,
                          fmt::format("'{}' is not a calculation method; tarvo_methods lists them", name));
        }
        s.choices.method = *number;
    });
}

tarvo_status tarvo_settings_set_asr(tarvo_settings* settings, int32_t school) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(school, 2, "Asr school");
        s.choices.asr = school;
    });
}

tarvo_status tarvo_settings_set_high_latitude(tarvo_settings* settings, int32_t rule) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(rule, 4, "high-latitude rule");
        s.choices.highLatitude = rule;
    });
}

tarvo_status tarvo_settings_set_polar(tarvo_settings* settings, int32_t polar) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(polar, 2, "polar resolution");
        // The C values 0-2 are the library's None, NearestDay and NearestLatitude.
        s.choices.polar = storedPolarResolution(static_cast<PolarResolution>(polar));
    });
}

tarvo_status tarvo_settings_set_custom_angles(tarvo_settings* settings, double fajr, double isha) {
    return withSettings(settings, [&](tarvo_settings& s) {
        for (const auto& [angle, what] : {std::pair{fajr, "Fajr"}, std::pair{isha, "Isha"}}) {
            if (std::isnan(angle)) continue;
            if (auto problem = MethodOverrides::angleProblem(angle, what)) {
                throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
            }
        }
        s.choices.fajrAngle = std::isnan(fajr) ? std::nullopt : std::optional<double>(fajr);
        s.choices.ishaAngle = std::isnan(isha) ? std::nullopt : std::optional<double>(isha);
    });
}

tarvo_status tarvo_settings_set_gmt_offset(tarvo_settings* settings, double hours) {
    return withSettings(settings, [&](tarvo_settings& s) {
        if (!std::isnan(hours) && !(hours >= -14 && hours <= 14)) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("GMT offset {} is outside -14 to 14", hours));
        }
        s.choices.gmt = std::isnan(hours) ? std::nullopt : std::optional<double>(hours);
    });
}

tarvo_status tarvo_settings_set_dst(tarvo_settings* settings, int32_t rule) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(rule, 2, "summer-time rule");
        s.choices.dst = rule;
    });
}

tarvo_status tarvo_settings_set_display(tarvo_settings* settings, int32_t show_qiyam, int32_t use_sunrise,
                                        int32_t arabic_names) {
    return withSettings(settings, [&](tarvo_settings& s) {
        s.showQiyam = show_qiyam != 0;
        s.useSunrise = use_sunrise != 0;
        s.arabicNames = arabic_names != 0;
    });
}

tarvo_status tarvo_settings_set_adjustment(tarvo_settings* settings, int32_t prayer, int32_t minutes) {
    return withSettings(settings, [&](tarvo_settings& s) {
        if (auto problem = s.adjustments.setMinutes(prayer, minutes)) throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
    });
}

tarvo_status tarvo_settings_set_intervals(tarvo_settings* settings, double maghrib_minutes, double isha_minutes) {
    return withSettings(settings, [&](tarvo_settings& s) {
        // Both are checked before either is kept, so a refused call changes nothing. They
        // are the place's own intervals, which the engine applies over the method.
        if (!std::isnan(maghrib_minutes)) {
            if (auto problem = MethodOverrides::maghribMinutesProblem(maghrib_minutes)) {
                throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
            }
        }
        if (!std::isnan(isha_minutes)) {
            if (auto problem = MethodOverrides::ishaMinutesProblem(isha_minutes)) {
                throw Failure(TARVO_ERROR_INVALID_ARGUMENT, *problem);
            }
        }
        const auto chosen = [](double minutes) { return std::isnan(minutes) ? std::nullopt : std::optional(minutes); };
        s.choices.maghribMinutes = chosen(maghrib_minutes);
        s.choices.ishaMinutes = chosen(isha_minutes);
    });
}

}  // extern "C"
