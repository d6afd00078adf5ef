// The place of the facade commands: a saved city or a position, made into a city.
#include "Place.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>
#include <cstdlib>

#include <fmt/format.h>

#include "HostDefaults.h"
#include "OpenUserDatabase.h"
#include "Output.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/calculation/PrayerZone.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/PrayerZoneLocator.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/DateFormatter.h"

namespace tarvo::cli {

namespace {

constexpr const char* kPositionOptions[] = {"--lat",        "--lon",        "--tz",         "--city",
                                            "--country",    "--method",     "--highlat",    "--asr",
                                            "--dst",        "--gmt",        "--fajr-angle", "--isha-angle",
                                            "--polar",      "--zone",       "--maghrib-minutes", "--isha-minutes"};
constexpr const char* kWhereOptions[] = {"--lat", "--lon", "--tz", "--city", "--country", "--zone"};

bool given(const CLI::App& cmd, const char* name) { return cmd.get_option(name)->count() > 0; }

std::optional<std::string> placeNameOf(const PlaceOptions& o) { return placeName(o.place, o.placeOption); }

void checkCombination(const CLI::App& cmd, const PlaceOptions& o) {
    std::string others;
    for (const char* name : kPositionOptions) {
        if (given(cmd, name)) others += (others.empty() ? "" : ", ") + std::string(name);
    }
    const std::optional<std::string> name = placeNameOf(o);
    if (o.saved && name) throw UsageError("--saved takes the selected city; leave out the place '" + *name + "'");
    if (o.saved && !others.empty()) {
        throw UsageError("--saved takes the place and its settings from the selected city; leave out " + others);
    }
    if (o.saved) return;
    checkCalculationOptions(o.calculation);
    if (o.zone) {
        // A zone's timetable is JAKIM's: its own method and Malaysian time.
        const auto jakim = CalculationMethod::numberForName(PrayerZone::kMethodKey);
        if (given(cmd, "--method") && o.calculation.method != jakim) {
            throw UsageError("--zone computes JAKIM's zone timetable with the jakim method; leave out --method or give jakim");
        }
        for (const char* option : {"--gmt", "--dst"}) {
            if (given(cmd, option)) throw UsageError(std::string("--zone keeps Malaysian time; leave out ") + option);
        }
        if (!PrayerZone::meansAutomatic(*o.zone)) {
            for (const char* option : {"--lat", "--lon", "--tz", "--city"}) {
                if (given(cmd, option)) {
                    throw UsageError("--zone " + *o.zone + " computes at the zone's reference point; leave out " + option +
                                     " (or give --zone auto to find the zone of a position)");
                }
            }
            if (name) throw UsageError("--zone " + *o.zone + " names the place; leave out '" + *name + "'");
            return;
        }
        if (!name && (!given(cmd, "--lat") || !given(cmd, "--lon"))) {
            throw UsageError("--zone auto finds the zone of a position: give --lat and --lon, or name a place");
        }
        return;
    }
    if (name) return;  // --lat, --lon and --tz, when given, correct the named place
    bool where = false;
    for (const char* option : kWhereOptions) where = where || given(cmd, option);
    if (!where) return;  // the selected saved city
    for (const char* option : {"--lat", "--lon", "--tz"}) {
        if (!given(cmd, option)) {
            throw UsageError(std::string(option) + " is required with a position (or name a place, e.g. 'Istanbul')");
        }
    }
}

// "2,138,551"
std::string grouped(int64_t number) {
    std::string digits = std::to_string(number);
    for (int i = static_cast<int>(digits.size()) - 3; i > 0; i -= 3) digits.insert(static_cast<size_t>(i), ",");
    return digits;
}

std::string described(const ResolvedPlace::City& city) {
    return printable(city.description()) + (city.population && *city.population > 0
                                                 ? " (" + grouped(*city.population) + " people)"
                                                 : std::string());
}

// The calculation options given on the command line, over a city's own choices.
void applyCalculationOptions(const CLI::App& cmd, const CalculationOptions& c, TarvoCity& city) {
    city.setIsLoadingFromDB(true);
    if (given(cmd, "--method")) city.setPrayerMethod(c.method);
    if (given(cmd, "--asr")) city.setAsrMethod(c.asr);
    if (given(cmd, "--highlat")) city.setAdjustHighLatitude(c.highLatitude);
    if (c.dst) city.setDSTPreference(*c.dst);
    if (c.gmt) city.setGMT(*c.gmt);
    chooseCityAngles(city, c.fajrAngle, c.ishaAngle);
    if (c.maghribMinutes) city.setMaghribMinutes(c.maghribMinutes);
    if (c.ishaMinutes) city.setIshaMinutes(c.ishaMinutes);
    city.setIsLoadingFromDB(false);
}

// The JAKIM zone --zone names, or the zone of the position (--zone auto).
const PrayerZone& chosenZone(const CLI::App& cmd, const PlaceOptions& o) {
    if (!PrayerZone::meansAutomatic(*o.zone)) {
        const PrayerZone* zone = PrayerZone::withCode(*o.zone);
        if (!zone) {
            std::string closest;
            for (const auto& code : PrayerZone::closestCodes(*o.zone)) closest += (closest.empty() ? "" : ", ") + code;
            throw UsageError("'" + *o.zone + "' is not a JAKIM zone; the closest codes are " + closest +
                             " ('tarvo zones' lists them all)");
        }
        return *zone;
    }
    double latitude = o.latitude, longitude = o.longitude;
    if (const auto name = placeNameOf(o)) {
        const ResolvedPlace found = namedPlace(*name, o.country);
        if (!given(cmd, "--lat")) latitude = found.city.latitude;
        if (!given(cmd, "--lon")) longitude = found.city.longitude;
    }
    auto directory = CityDirectory::open("");
    if (!directory) throw UsageError("cannot use the city directory: " + directory.error().message);
    auto zone = PrayerZoneLocator::zoneAt(**directory, latitude, longitude);
    if (!zone) throw UsageError("--zone auto: " + zone.error().message);
    return **zone;
}

std::shared_ptr<TarvoCity> zoneCity(const CLI::App& cmd, const PlaceOptions& o) {
    const PrayerZone& zone = chosenZone(cmd, o);
    auto city = PrayerZoneLocator::cityFor(zone);
    if (!city) throw UsageError("zone " + zone.code + " (" + zone.districtList() + ") has no known reference point");
    if (PrayerZone::meansAutomatic(*o.zone)) {
        std::cerr << "tarvo: zone " << zone.code << " (" << printable(zone.districtList()) << "), computed at "
                  << printable(zone.reference) << "\n";
    }
    CalculationOptions c = o.calculation;
    c.method = city->prayerMethod();
    applyCalculationOptions(cmd, c, *city);
    return city;
}

std::shared_ptr<TarvoCity> cityAt(const CLI::App& cmd, const PlaceOptions& o) {
    if (o.zone) return zoneCity(cmd, o);
    if (const auto name = placeNameOf(o)) {
        const ResolvedPlace found = namedPlace(*name, o.country);
        const ResolvedPlace::City& c = found.city;
        return CityFields{o.city.value_or(c.name), c.country, c.state,
                               given(cmd, "--lat") ? o.latitude : c.latitude,
                               given(cmd, "--lon") ? o.longitude : c.longitude,
                               given(cmd, "--tz") ? o.timeZone : c.timeZone, o.calculation}
            .makeCity();
    }
    return CityFields{o.city.value_or(fmt::format("{:.4f}, {:.4f}", o.latitude, o.longitude)),
                      o.country.value_or(""), "", o.latitude, o.longitude, o.timeZone, o.calculation}
        .makeCity();
}

}  // namespace

std::optional<std::string> placeName(const std::optional<std::string>& place,
                                     const std::optional<std::string>& placeOption) {
    if (place && placeOption) throw UsageError("give the place once: as PLACE or as --place");
    return place ? place : placeOption;
}

void addPlaceNameOptions(CLI::App& cmd, std::optional<std::string>& place, std::optional<std::string>& placeOption) {
    cmd.add_option("PLACE", place,
                   "A city of the directory by name: \"Kuala Lumpur\", \"Paris, France\", \"Paris, US\" "
                   "(the biggest of that name unless a country or state follows the comma)");
    cmd.add_option("--place", placeOption, "The same as PLACE");
}

ResolvedPlace namedPlace(const std::string& name, const std::optional<std::string>& country) {
    auto directory = CityDirectory::open("");
    if (!directory) throw UsageError("cannot use the city directory: " + directory.error().message);
    auto found = PlaceResolver(**directory).resolve(name, country);
    if (!found) throw std::runtime_error(found.error().message);
    if (found->ambiguous) {
        std::string also;
        const size_t shown = std::min<size_t>(found->others.size(), 3);
        for (size_t i = 0; i < shown; ++i) also += (i ? "; " : "") + described(found->others[i]);
        if (found->others.size() > shown) also += " …";
        std::cerr << "tarvo: " << described(found->city) << "; also: " << also
                  << " (add the country after a comma to choose another)\n";
    }
    return std::move(*found);
}

void addPositionOptions(CLI::App& cmd, PositionOptions& o, const std::string& zoneHelp) {
    addPlaceNameOptions(cmd, o.place, o.placeOption);
    cmd.add_option("--country", o.country, "Country name or code narrowing PLACE");
    addLatitudeOption(cmd, o.latitude, false);
    addLongitudeOption(cmd, o.longitude, false);
    if (!zoneHelp.empty()) cmd.add_option("--tz", o.timeZone, zoneHelp);
}

bool resolvePosition(const CLI::App& cmd, PositionOptions& o) {
    const bool hasZone = cmd.get_option_no_throw("--tz") != nullptr;
    if (const auto name = placeName(o.place, o.placeOption)) {
        const ResolvedPlace found = namedPlace(*name, o.country);
        if (!given(cmd, "--lat")) o.latitude = found.city.latitude;
        if (!given(cmd, "--lon")) o.longitude = found.city.longitude;
        if (hasZone && !given(cmd, "--tz")) o.timeZone = found.city.timeZone;
        return true;
    }
    if (o.country) throw UsageError("--country narrows a PLACE; name one");
    std::vector<const char*> needed = {"--lat", "--lon"};
    if (hasZone) needed.push_back("--tz");
    bool any = false;
    for (const char* option : needed) any = any || given(cmd, option);
    if (!any) return false;
    for (const char* option : needed) {
        if (!given(cmd, option)) {
            throw UsageError(std::string(option) + " is required with a position (or name a place, e.g. 'Istanbul')");
        }
    }
    return true;
}

void addPlaceOptions(CLI::App& cmd, PlaceOptions& o, const std::string& zoneHelp) {
    addPlaceNameOptions(cmd, o.place, o.placeOption);
    cmd.add_flag("--saved", o.saved,
                 "Use the selected saved city (London when none is selected) with all its settings, instead of "
                 "a place and the calculation options (the default when no place is given)");
    addLatitudeOption(cmd, o.latitude, false);
    addLongitudeOption(cmd, o.longitude, false);
    cmd.add_option("--tz", o.timeZone, zoneHelp);
    addCalculationOptions(cmd, o.calculation, "Fixed offset from GMT in hours instead of the zone's");
    addMinuteOptions(cmd, o.calculation);
    cmd.add_option("--zone", o.zone,
                   "A JAKIM e-Solat zone (e.g. WLY01): its timetable, computed at the zone's reference point with the "
                   "jakim method on Malaysian time; 'auto' finds the zone of --lat/--lon or of the named place "
                   "('tarvo zones' lists them)")
        ->type_name("CODE|auto");
    cmd.add_option("--city", o.city, "City name (Dubai and Kuala Lumpur use their official timetables)");
    cmd.add_option("--country", o.country,
                   "Country name or code: narrows PLACE; with --lat/--lon it chooses the automatic Asr school");
}

bool usesSavedCity(const CLI::App& cmd, const PlaceOptions& o) {
    if (o.saved) return true;
    if (placeNameOf(o)) return false;
    for (const char* option : kWhereOptions) {
        if (given(cmd, option)) return false;
    }
    return true;
}

std::shared_ptr<TarvoCity> placeCity(const CLI::App& cmd, const PlaceOptions& o) {
    checkCombination(cmd, o);
    if (usesSavedCity(cmd, o)) {
        auto user = openUserDatabase();
        auto city = TarvoCity::initWithCurrentSelectionUsingDB(*user);
        if (!o.saved) applyCalculationOptions(cmd, o.calculation, *city);
        return city;
    }
    return cityAt(cmd, o);
}

Place resolvePlace(const CLI::App& cmd, const PlaceOptions& o) {
    const std::shared_ptr<TarvoCity> city = placeCity(cmd, o);
    if (!usesSavedCity(cmd, o)) registerHostDefaults();
    const std::string zoneName = city->TimeZone().value_or("");
    if (!TimeZone::withName(zoneName)) warn("unknown time zone '" + zoneName + "'; using GMT");
    // Someone asking about a place wants its clock, so the place's clock is the device's
    // zone for this run: the zone, or the fixed offset its settings give (--gmt, --dst),
    // taken as it stands now.
    const TimeZone zone = clockOfCity(*city, Clock::now());
    TimeZone::setSystemDefault(zone);
    return Place{city, zone};
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
