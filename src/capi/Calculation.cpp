// The calculation settings handle, and the checks and conversions the day computations share.
#include "Calculation.h"

#include "tarvo/calculation/PolarResolution.h"

#include <chrono>
#include <cmath>
#include <new>

#include <fmt/format.h>

#include "Boundary.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo::capi {

const tarvo_settings& settingsOrDefault(const tarvo_settings* settings) {
    static const tarvo_settings automatic;
    return settings ? *settings : automatic;
}

void checkPosition(double latitude, double longitude) {
    if (!std::isfinite(latitude) || latitude < -90 || latitude > 90) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("latitude {} is outside -90 to 90", latitude));
    }
    if (!std::isfinite(longitude) || longitude < -180 || longitude > 180) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("longitude {} is outside -180 to 180", longitude));
    }
}

TimeZone zoneNamed(const char* name) {
    require(name, "time zone");
    auto zone = TimeZone::withName(name);
    if (!zone) throw Failure(TARVO_ERROR_UNKNOWN_TIME_ZONE, fmt::format("unknown time zone '{}'", name));
    return *zone;
}

void checkGregorianDate(int64_t year, int64_t month, int64_t day) {
    if (year < 1 || year > 9999) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("year {} is outside 1 to 9999", year));
    }
    if (month < 1 || month > 12) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("{:04} has no month {}", year, month));
    }
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day < 0 || day > 255 ? 0 : day))};
    if (!date.ok()) {
        const auto length = static_cast<unsigned>(
            (std::chrono::year(static_cast<int>(year)) / std::chrono::month(static_cast<unsigned>(month)) / last).day());
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT,
                      fmt::format("{:04}-{:02}-{:02} does not exist ({:04}-{:02} has {} days)", year, month, day, year,
                                  month, length));
    }
}

std::shared_ptr<TarvoCity> cityFor(const tarvo_place& place, const tarvo_settings& s) {
    checkPosition(place.latitude, place.longitude);
    const TimeZone zone = zoneNamed(place.time_zone);
    // A city the host describes, filled without mirroring anything into the automatic-city
    // preferences (it is not an edit of the automatic city).
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(std::string(place.name ? place.name
                                             : fmt::format("{:.4f}, {:.4f}", place.latitude, place.longitude)));
    city->setCountryName(std::string(place.country ? place.country : ""));
    city->setStateName(std::string());
    city->setLatitude(place.latitude);
    city->setLongitude(place.longitude);
    city->setTimeZone(zone.name());
    city->setGMT(s.gmtHours.value_or(TarvoCity::kGMTFromTimeZone));
    city->setDSTPreference(s.dst);
    city->setPrayerMethod(s.method);
    city->setAsrMethod(s.asr);
    city->setAdjustHighLatitude(s.highLatitude);
    // 0: not chosen, so the custom method keeps its own angles.
    city->setCustomFajrAngle(s.fajrAngle.value_or(0));
    city->setCustomIshaAngle(s.ishaAngle.value_or(0));
    // The facade's own timetables (the current prayer) follow the city's choice.
    city->setPolarResolution(storedPolarResolution(static_cast<PolarResolution>(s.polar)));
    city->setIsLoadingFromDB(false);
    return city;
}

void applyPolarResolution(PrayerCalculator& calculator, const tarvo_settings& settings) {
    // The C values 0-2 are the library's None, NearestDay and NearestLatitude.
    calculator.setPolarResolution(static_cast<PolarResolution>(settings.polar));
}

tarvo_moment momentOf(std::optional<Date> moment, const TimeZone& clock) {
    tarvo_moment m{};
    if (!moment || !std::isfinite(moment->timeIntervalSince1970())) return m;
    m.unix_seconds = moment->timeIntervalSince1970();
    m.utc_offset_seconds = static_cast<int32_t>(clock.secondsFromGMT(*moment));
    m.present = 1;
    return m;
}

tarvo_moment momentOfEngineHours(double hours, int64_t year, int64_t month, int64_t day, int64_t offsetSeconds) {
    tarvo_moment m{};
    if (!std::isfinite(hours)) return m;
    using namespace std::chrono;
    const sys_days midnight{year_month_day{std::chrono::year(static_cast<int>(year)),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))}};
    // The engine writes a time of day on the day's clock: that reading less the clock's offset.
    const double midnightSeconds = static_cast<double>(midnight.time_since_epoch().count()) * 86400.0;
    m.unix_seconds = midnightSeconds + hours * 3600.0 - static_cast<double>(offsetSeconds);
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
        s.method = method;
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
        s.method = *number;
    });
}

tarvo_status tarvo_settings_set_asr(tarvo_settings* settings, int32_t school) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(school, 2, "Asr school");
        s.asr = school;
    });
}

tarvo_status tarvo_settings_set_high_latitude(tarvo_settings* settings, int32_t rule) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(rule, 4, "high-latitude rule");
        s.highLatitude = rule;
    });
}

tarvo_status tarvo_settings_set_polar(tarvo_settings* settings, int32_t polar) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(polar, 2, "polar resolution");
        s.polar = static_cast<tarvo_polar_resolution>(polar);
    });
}

tarvo_status tarvo_settings_set_custom_angles(tarvo_settings* settings, double fajr, double isha) {
    return withSettings(settings, [&](tarvo_settings& s) {
        // 0 is what a city stores for "not chosen"; as an angle it would put Fajr at sunrise.
        for (const double angle : {fajr, isha}) {
            if (!std::isnan(angle) && !(angle > 0 && angle <= 90)) {
                throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("angle {} is outside (0, 90]", angle));
            }
        }
        s.fajrAngle = std::isnan(fajr) ? std::nullopt : std::optional<double>(fajr);
        s.ishaAngle = std::isnan(isha) ? std::nullopt : std::optional<double>(isha);
    });
}

tarvo_status tarvo_settings_set_gmt_offset(tarvo_settings* settings, double hours) {
    return withSettings(settings, [&](tarvo_settings& s) {
        if (!std::isnan(hours) && !(hours >= -14 && hours <= 14)) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("GMT offset {} is outside -14 to 14", hours));
        }
        s.gmtHours = std::isnan(hours) ? std::nullopt : std::optional<double>(hours);
    });
}

tarvo_status tarvo_settings_set_dst(tarvo_settings* settings, int32_t rule) {
    return withSettings(settings, [&](tarvo_settings& s) {
        checkChoice(rule, 2, "summer-time rule");
        s.dst = rule;
    });
}

}  // extern "C"
