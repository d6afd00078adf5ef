// tarvo cities: the user's saved cities (list, add, select, delete).
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "OpenUserDatabase.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/PlaceResolver.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::cli {

namespace {

using ordered_json = nlohmann::ordered_json;

struct CitiesOptions {
    std::optional<std::string> place;
    std::optional<std::string> placeOption;
    std::string key;  ///< a saved city's primary key or name
    std::string name;
    std::string country;
    std::optional<std::string> state;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationOptions calculation;
    int64_t primaryKey = 0;
    bool json = false;
};

std::string methodName(int64_t method) {
    return method == 0 ? "Automatic" : PrayerCalculator::getPrayerMethodNameFromNumber(method);
}
std::string asrName(int64_t asr) { return asr == 0 ? "Automatic" : PrayerCalculator::getAsrMethodFromNumber(asr); }
std::string highLatitudeName(int64_t rule) {
    return rule == 0 ? "Automatic" : PrayerCalculator::getAdjustHighLatNameFromNumber(rule);
}

// The saved cities, as listed.
struct SavedCities {
    std::vector<std::shared_ptr<TarvoCity>> cities;
};

std::string jsonText(const SavedCities& saved) {
    ordered_json list = ordered_json::array();
    for (const auto& city : saved.cities) list.push_back(cityJson(*city));
    return dumpJson(list);
}

void writeText(std::ostream& out, const SavedCities& saved) {
    if (saved.cities.empty()) {
        out << "No saved cities.\n";
        return;
    }
    out << fmt::format("  {:>4}  {:<24} {:<18} {:<24} {:<20} {:<28} {:<9} {}\n", "PK", "City", "Country", "Position",
                       "Time zone", "Method", "Asr", "High latitudes");
    for (const auto& city : saved.cities) {
        std::string name = printable(city->cityName().value_or(""));
        if (city->stateName() && !city->stateName()->empty()) name += " (" + printable(*city->stateName()) + ")";
        out << fmt::format("{} {:>4}  {:<24} {:<18} {:<24} {:<20} {:<28} {:<9} {}\n",
                           city->isSelectedCity() ? '*' : ' ', city->primaryKey(), name,
                           printable(city->countryName().value_or("")), city->getLatLongString(),
                           printable(city->TimeZone().value_or("")), methodName(city->prayerMethod()),
                           asrName(city->asrMethod()), highLatitudeName(city->adjustHighLatitude()));
    }
    out << "\n* the selected city (used by tarvo times --saved)\n";
}

// A saved city a command changed: what was done to it, and what that leaves.
struct CityChange {
    std::string what;
    std::shared_ptr<TarvoCity> city;
    std::string note;  ///< a line of text output after the city, if any
};

std::string jsonText(const CityChange& change) { return dumpJson(cityJson(*change.city)); }

void writeText(std::ostream& out, const CityChange& change) {
    out << change.what << " " << printable(change.city->description()) << " (city " << change.city->primaryKey()
        << ")\n"
        << change.note;
}

// The saved cities, or a failure when they cannot be read: an empty list is never shown
// for a table that is merely locked.
std::vector<std::shared_ptr<TarvoCity>> savedCities(UserDatabase& user) {
    auto cities = user.savedCities();
    if (!cities) throw std::runtime_error(cities.error().message);
    return std::move(*cities);
}

SavedCities list() {
    auto user = openUserDatabase();
    return {savedCities(*user)};
}

CityChange add(const CLI::App& cmd, const CitiesOptions& o) {
    const auto given = [&](const char* option) { return cmd.get_option(option)->count() > 0; };
    CityFields fields{o.name, o.country, o.state.value_or(""), o.latitude, o.longitude, o.timeZone, o.calculation};
    if (const auto name = placeName(o.place, o.placeOption)) {
        // The directory's city, with what the options say instead.
        const ResolvedPlace found = namedPlace(*name, given("--country") ? std::optional(o.country) : std::nullopt);
        if (!given("--name")) fields.name = found.city.name;
        if (!given("--country")) fields.country = found.city.country;
        if (!given("--state")) fields.state = found.city.state;
        if (!given("--lat")) fields.latitude = found.city.latitude;
        if (!given("--lon")) fields.longitude = found.city.longitude;
        if (!given("--tz")) fields.timeZone = found.city.timeZone;
    } else {
        for (const char* option : {"--name", "--country", "--lat", "--lon", "--tz"}) {
            if (!given(option)) {
                throw UsageError(std::string(option) + " is required without a PLACE (e.g. tarvo cities add Makkah)");
            }
        }
    }
    if (fields.name.empty()) throw UsageError("--name must not be empty");
    if (fields.country.empty()) throw UsageError("--country must not be empty");
    if (!TimeZone::withName(fields.timeZone)) throw UsageError("--tz: unknown time zone '" + fields.timeZone + "'");
    checkCalculationOptions(o.calculation);
    auto user = openUserDatabase();

    const auto city = fields.makeCity();
    // Saved and selected together, or not at all.
    auto saved = user->addCity(city);
    if (!saved) throw std::runtime_error(saved.error().message);
    return {"Saved and selected", *saved, ""};
}

// The saved city with this primary key or name, or a usage error; nothing is changed
// either way.
std::shared_ptr<TarvoCity> existingCity(UserDatabase& user, const std::string& key) {
    const auto cities = savedCities(user);
    if (!key.empty() && key.find_first_not_of("0123456789") == std::string::npos && key.size() < 19) {
        const int64_t primaryKey = std::stoll(key);
        for (const auto& city : cities) {
            if (city->primaryKey() == primaryKey) return city;
        }
        throw UsageError(fmt::format("no saved city has the primary key {} (see tarvo cities saved)", primaryKey));
    }
    const auto named = PlaceResolver::named(cities, key);
    if (named.size() == 1) return named.front();
    if (named.empty()) throw UsageError("no saved city is named '" + key + "' (see tarvo cities saved)");
    std::string keys;
    for (const auto& city : named) {
        keys += fmt::format("{}{} ({})", keys.empty() ? "" : ", ", city->primaryKey(), printable(city->description()));
    }
    throw UsageError("several saved cities are named '" + key + "'; give the primary key: " + keys);
}

CityChange select(const CitiesOptions& o) {
    auto user = openUserDatabase();
    auto city = existingCity(*user, o.key);
    if (auto selected = user->selectCity(city->primaryKey()); !selected) {
        throw std::runtime_error(selected.error().message);
    }
    city->setIsLoadingFromDB(true);
    city->setIsSelectedCity(true);
    city->setIsLoadingFromDB(false);
    return {"Selected", city, ""};
}

CityChange remove(const CitiesOptions& o) {
    auto user = openUserDatabase();
    auto city = existingCity(*user, std::to_string(o.primaryKey));
    if (auto deleted = user->deleteCity(o.primaryKey); !deleted) throw std::runtime_error(deleted.error().message);
    return {"Deleted", city,
            city->isSelectedCity() ? "No city is selected now; tarvo times --saved uses London.\n" : ""};
}

}  // namespace

void registerCitiesCommand(CLI::App& app) {
    auto options = std::make_shared<CitiesOptions>();
    CLI::App* cities = app.add_subcommand(
        "cities", "The saved cities, the city directory, the reverse-geocode cache and the last used city");
    cities->require_subcommand(1);
    cities->footer(fmt::format(
        "The saved cities live in {} in the data folder: $TARVO_HOME, else $XDG_DATA_HOME/tarvo, else "
        "~/.local/share/tarvo.\nExit status: 0 done, 1 the database could not be read or written (locked by another "
        "process, a full disk), 2 bad usage, an unknown primary key or an unusable database file (which is never "
        "changed).",
        UserDatabase::kFileName));

    CLI::App* saved = cities->add_subcommand("saved", "List the saved cities (* marks the selected one)");
    saved->add_flag("--json", options->json, "Print a JSON list of city objects");
    saved->callback([options] { render(list(), options->json); });

    CLI::App* addCommand = cities->add_subcommand("add", "Save a city and make it the selected one");
    addPlaceNameOptions(*addCommand, options->place, options->placeOption);
    addCommand->add_option("--name", options->name, "City name (default: the directory's, with a PLACE)");
    addCommand->add_option("--country", options->country,
                           "Country name (chooses the automatic Asr school); with a PLACE it also narrows the search");
    addCommand->add_option("--state", options->state, "State or province");
    addLatitudeOption(*addCommand, options->latitude, false);
    addLongitudeOption(*addCommand, options->longitude, false);
    addCommand->add_option("--tz", options->timeZone, "Time zone of the city, e.g. Europe/London");
    addCommand->footer("Name a directory city (PLACE or --place), whose name, state, country, position and zone the "
                       "options given replace; or give --name, --country, --lat, --lon and --tz.");
    addCalculationOptions(*addCommand, options->calculation,
                          "Fixed offset from GMT in hours (default: the time zone's offset, stored as 50)");
    addMinuteOptions(*addCommand, options->calculation);
    addCommand->add_flag("--json", options->json, "Print the saved city as a JSON object");
    addCommand->callback([options, addCommand] { render(add(*addCommand, *options), options->json); });

    CLI::App* selectCommand = cities->add_subcommand("select", "Make a saved city the selected one");
    selectCommand->add_option("city", options->key, "Primary key or name of the city (see tarvo cities saved)")
        ->required();
    selectCommand->add_flag("--json", options->json, "Print the selected city as a JSON object");
    selectCommand->callback([options] { render(select(*options), options->json); });

    CLI::App* deleteCommand = cities->add_subcommand("delete", "Delete a saved city");
    deleteCommand->add_option("pk", options->primaryKey, "Primary key of the city (see tarvo cities saved)")
        ->required();
    deleteCommand->add_flag("--json", options->json, "Print the deleted city as a JSON object");
    deleteCommand->callback([options] { render(remove(*options), options->json); });

    registerCitiesDirectoryCommands(*cities);
}

}  // namespace tarvo::cli
