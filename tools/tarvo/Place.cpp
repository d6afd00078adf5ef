// The place of the facade commands: a saved city or a position, made into a city.
#include "Place.h"

#include <cmath>
#include <cstdlib>

#include <fmt/format.h>

#include "HostDefaults.h"
#include "OpenUserDatabase.h"
#include "Output.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/DateFormatter.h"

namespace tarvo::cli {

namespace {

constexpr const char* kPositionOptions[] = {"--lat",     "--lon", "--tz",  "--city", "--country",    "--method",
                                            "--highlat", "--asr", "--dst", "--gmt",  "--fajr-angle", "--isha-angle"};

void checkCombination(const CLI::App& cmd, const PlaceOptions& o) {
    std::string given;
    for (const char* name : kPositionOptions) {
        if (cmd.get_option(name)->count() > 0) given += (given.empty() ? "" : ", ") + std::string(name);
    }
    if (o.saved && !given.empty()) {
        throw UsageError("--saved takes the place and its settings from the selected city; leave out " + given);
    }
    if (o.saved) return;
    for (const char* name : {"--lat", "--lon", "--tz"}) {
        if (cmd.get_option(name)->count() == 0) {
            throw UsageError(std::string(name) + " is required (or use --saved for the selected city)");
        }
    }
    checkCalculationOptions(o.calculation);
}

std::shared_ptr<TarvoCity> cityAt(const PlaceOptions& o) {
    return cityFromFields({o.city.value_or(fmt::format("{:.4f}, {:.4f}", o.latitude, o.longitude)),
                           o.country.value_or(""), "", o.latitude, o.longitude, o.timeZone, o.calculation});
}

}  // namespace

void addPlaceOptions(CLI::App& cmd, PlaceOptions& o, const std::string& zoneHelp) {
    cmd.add_flag("--saved", o.saved,
                 "Use the selected saved city (London when none is selected) with all its settings, instead of "
                 "--lat/--lon/--tz and the calculation options");
    addLatitudeOption(cmd, o.latitude, false);
    addLongitudeOption(cmd, o.longitude, false);
    cmd.add_option("--tz", o.timeZone, zoneHelp);
    addCalculationOptions(cmd, o.calculation, "Fixed offset from GMT in hours instead of the zone's");
    cmd.add_option("--city", o.city, "City name (Dubai and Kuala Lumpur use their official timetables)");
    cmd.add_option("--country", o.country, "Country name (chooses the automatic Asr school)");
}

std::shared_ptr<TarvoCity> placeCity(const CLI::App& cmd, const PlaceOptions& o) {
    checkCombination(cmd, o);
    if (o.saved) {
        auto user = openUserDatabase();
        return TarvoCity::initWithCurrentSelectionUsingDB(user->database());
    }
    return cityAt(o);
}

Place resolvePlace(const CLI::App& cmd, const PlaceOptions& o) {
    const std::shared_ptr<TarvoCity> city = placeCity(cmd, o);
    if (!o.saved) registerHostDefaults();
    const std::string zoneName = city->TimeZone().value_or("");
    if (!TimeZone::withName(zoneName)) warn("unknown time zone '" + zoneName + "'; using GMT");
    // Someone asking about a place wants its clock, so the place's clock is the device's
    // zone for this run: the zone, or the fixed offset its settings give (--gmt, --dst),
    // taken as it stands now.
    const TimeZone zone = clockOfCity(*city, Clock::now());
    TimeZone::setSystemDefault(zone);
    return Place{city, zone};
}

std::shared_ptr<TarvoCity> cityFromFields(const CityFields& f) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(f.name);
    city->setCountryName(f.country);
    city->setStateName(f.state);
    city->setLatitude(f.latitude);
    city->setLongitude(f.longitude);
    city->setTimeZone(f.timeZone);
    city->setGMT(f.calculation.gmt.value_or(TarvoCity::kGMTFromTimeZone));
    city->setDSTPreference(f.calculation.dst.value_or(0));
    city->setPrayerMethod(f.calculation.method);
    city->setAsrMethod(f.calculation.asr);
    city->setAdjustHighLatitude(f.calculation.highLatitude);
    // 0: not chosen, so the custom method keeps its own angles.
    city->setCustomFajrAngle(f.calculation.fajrAngle.value_or(0));
    city->setCustomIshaAngle(f.calculation.ishaAngle.value_or(0));
    city->setIsLoadingFromDB(false);
    return city;
}

std::string Place::iso(Date moment) const { return isoText(moment, zone, true); }

std::string Place::clock(Date moment) const {
    const DateComponents c = Calendar(zone).components(moment);
    return fmt::format("{:02}:{:02}", c.hour, c.minute);
}

std::string Place::dayText(Date moment) const {
    DateFormatter formatter;
    formatter.setDateFormat("yyyy-MM-dd");
    formatter.setTimeZone(zone);
    return formatter.stringFromDate(moment);
}

std::string Place::day(Date moment) const {
    return Calendar(zone).components(moment).isoDay();
}

Date Place::noonOf(const std::string& date, std::string_view option) const {
    return cli::noonOf(date, option, Calendar(zone));
}

}  // namespace tarvo::cli
