// tarvo cities search|countries|country|nearest|cache|last-used: the city directory, the
// reverse-geocode cache and the last used city.
#include <memory>
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
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo::cli {

namespace {

using ordered_json = nlohmann::ordered_json;
using Cities = std::vector<std::shared_ptr<TarvoCity>>;

struct DirectoryOptions {
    std::string directory;  // "" = found by the library's rule
    std::string text;
    double latitude = 0;
    double longitude = 0;
    double km = 50;
    bool clear = false;
    bool listing = false;
    bool json = false;
};

std::shared_ptr<CityDirectory> openDirectory(const DirectoryOptions& o) {
    auto directory = CityDirectory::open(o.directory);
    if (!directory) throw UsageError("cannot use the city directory: " + directory.error().message);
    return std::move(*directory);
}

// A look-up's answer, which the directory gives only when it met no damage while giving it.
template <typename T>
T answerOf(Result<T> lookUp) {
    if (!lookUp) throw UsageError("cannot use the city directory: " + lookUp.error().message);
    return std::move(*lookUp);
}

// The same for the country look-ups, which answer without the check.
void checkIntact(CityDirectory& directory) {
    if (auto why = directory.damage()) throw UsageError("cannot use the city directory: " + *why);
}

// A list of places, with the text shown around it.
struct Places {
    Cities cities;
    std::string heading;  ///< a line before the table, if any
    std::string none;     ///< the line shown for an empty list, if any
    std::string footer;   ///< a line after the table, if any
    std::string failure;  ///< why the command fails after showing the list, if it does
};

std::string jsonText(const Places& places) {
    ordered_json list = ordered_json::array();
    for (const auto& city : places.cities) list.push_back(cityJson(*city));
    return dumpJson(list);
}

void writeText(std::ostream& out, const Places& places) {
    out << places.heading;
    if (places.cities.empty()) {
        if (!places.none.empty()) out << places.none << "\n";
        return;
    }
    out << fmt::format("{:<32} {:<24} {:<24} {}\n", "City", "Country", "Position", "Time zone");
    for (const auto& city : places.cities) {
        std::string name = printable(city->cityName().value_or(""));
        if (city->stateName() && !city->stateName()->empty()) name += " (" + printable(*city->stateName()) + ")";
        out << fmt::format("{:<32} {:<24} {:<24} {}\n", name, printable(city->countryName().value_or("")),
                           city->getLatLongString(), printable(city->TimeZone().value_or("")));
    }
    out << places.footer;
}

Places search(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    Places found;
    found.cities = answerOf(o.listing ? directory->listing(o.text) : directory->search(o.text));
    if (found.cities.empty()) {
        found.failure = o.listing ? "no city or country matches '" + o.text + "'" : "no city matches '" + o.text + "'";
    }
    if (found.cities.size() == TarvoCity::kMaxSearchResults) found.footer = "(the first 75 matches)\n";
    return found;
}

struct Countries {
    std::vector<CityDirectory::Country> countries;
};

Countries countries(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    Countries all{directory->countries()};
    checkIntact(*directory);
    return all;
}

std::string jsonText(const Countries& all) {
    ordered_json list = ordered_json::array();
    for (const auto& country : all.countries)
        list.push_back({{"id", country.identifier}, {"code", country.code}, {"name", country.name}});
    return dumpJson(list);
}

void writeText(std::ostream& out, const Countries& all) {
    out << fmt::format("{:>4}  {:<4}  {}\n", "ID", "Code", "Country");
    for (const auto& country : all.countries)
        out << fmt::format("{:>4}  {:<4}  {}\n", country.identifier, country.code, country.name);
}

Places country(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    const auto found = directory->country(o.text);
    checkIntact(*directory);
    if (!found) throw UsageError("no country '" + o.text + "' in the city directory (see tarvo cities countries)");
    Places places;
    places.cities = answerOf(directory->cities(*found));
    places.heading =
        fmt::format("{} ({}, {}): {} cities\n", found->name, found->code, found->identifier, places.cities.size());
    places.none = "The directory holds no city of " + found->name + ".";
    return places;
}

// A city near a position (none when nothing is that near).
struct Nearby {
    std::shared_ptr<TarvoCity> city;
    double km = 0;
    std::string failure;
};

Nearby nearest(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    Nearby near;
    near.city = answerOf(directory->nearest(o.latitude, o.longitude, o.km));
    if (!near.city) {
        near.failure = fmt::format("no directory city within {} km of {}, {}", o.km, o.latitude, o.longitude);
        return near;
    }
    near.city->setStateName(directory->stateName(*near.city));
    near.km = QiblaCalculator::getDistanceBetweenTwoLocations(o.latitude, o.longitude, near.city->latitude(),
                                                              near.city->longitude(), false);
    return near;
}

std::string jsonText(const Nearby& near) {
    if (!near.city) return "null";
    ordered_json j = cityJson(*near.city);
    j["distanceKm"] = near.km;
    return dumpJson(j);
}

void writeText(std::ostream& out, const Nearby& near) {
    if (!near.city) return;
    out << fmt::format("{} {} {}, {:.1f} km away\n", printable(near.city->description()),
                       near.city->getLatLongString(), printable(near.city->TimeZone().value_or("")), near.km);
}

struct Cleared {
    size_t count = 0;
};

std::string jsonText(const Cleared& cleared) { return dumpJson(ordered_json{{"cleared", cleared.count}}); }

void writeText(std::ostream& out, const Cleared& cleared) {
    out << fmt::format("Cleared {} cached place{}.\n", cleared.count, cleared.count == 1 ? "" : "s");
}

void cache(const DirectoryOptions& o) {
    auto user = openUserDatabase();
    Places cached;
    cached.cities = user->cachedCities();
    if (o.clear) {
        TarvoCity::DeleteAllReverseGeocodeCache(*user);
        if (!user->cachedCities().empty())
            throw UsageError("the cache could not be cleared in " + user->path().string());
        render(Cleared{cached.cities.size()}, o.json);
        return;
    }
    cached.none = "The reverse-geocode cache is empty.";
    render(cached, o.json);
}

// The last used city, if there is one.
struct LastUsed {
    std::shared_ptr<TarvoCity> city;
};

LastUsed lastUsed() {
    auto user = openUserDatabase();
    return {TarvoCity::GetLastUsedCity(*user)};
}

std::string jsonText(const LastUsed& last) { return last.city ? dumpJson(cityJson(*last.city)) : "null"; }

void writeText(std::ostream& out, const LastUsed& last) {
    if (!last.city) return;
    out << fmt::format("{} {} {}\n", printable(last.city->description()), last.city->getLatLongString(),
                       printable(last.city->TimeZone().value_or("")));
}

void addDirectoryOption(CLI::App& command, DirectoryOptions& o) {
    command.add_option("--directory", o.directory, "City directory file to use instead of the shipped cities.sqlite");
}

}  // namespace

void registerCitiesDirectoryCommands(CLI::App& cities) {
    auto o = std::make_shared<DirectoryOptions>();

    CLI::App* searchCommand = cities.add_subcommand("search", "Search the city directory by name");
    searchCommand->add_option("text", o->text, "A city's name or part of it, in any language the directory knows")
        ->required();
    addDirectoryOption(*searchCommand, *o);
    searchCommand->add_flag("--listing", o->listing,
                            "The listing instead: names and country names containing the text, by country then name");
    searchCommand->add_flag("--json", o->json, "Print a JSON list of city objects");
    searchCommand->footer(
        "At most 75 cities, letter case and accents ignored: those with a name equal to the text, then "
        "those with a name beginning with it, then those containing it (three characters or more), "
        "biggest first in each group. Exit status: 0 found, 1 nothing found, 2 bad usage or an "
        "unusable directory file.");
    searchCommand->callback([o] {
        const Places found = search(*o);
        render(found, o->json, found.failure);
    });

    CLI::App* countriesCommand = cities.add_subcommand("countries", "List the countries of the city directory");
    addDirectoryOption(*countriesCommand, *o);
    countriesCommand->add_flag("--json", o->json, "Print a JSON list of {id, code, name}");
    countriesCommand->callback([o] { render(countries(*o), o->json); });

    CLI::App* countryCommand = cities.add_subcommand("country", "List the directory's cities of one country");
    countryCommand->add_option("country", o->text, "ISO 3166-1 numeric code, two-letter code or English name")
        ->required();
    addDirectoryOption(*countryCommand, *o);
    countryCommand->add_flag("--json", o->json, "Print a JSON list of city objects");
    countryCommand->callback([o] { render(country(*o), o->json); });

    CLI::App* nearestCommand = cities.add_subcommand("nearest", "The directory city nearest to a position");
    addLatitudeOption(*nearestCommand, o->latitude, true);
    addLongitudeOption(*nearestCommand, o->longitude, true);
    nearestCommand->add_option("--km", o->km, "Search radius in km (default 50; the look-up allows 6% more)")
        ->check(numberBetween(0, 20000));
    addDirectoryOption(*nearestCommand, *o);
    nearestCommand->add_flag("--json", o->json, "Print the city as a JSON object with distanceKm");
    nearestCommand->footer("Exit status: 0 found, 1 no city that near, 2 bad usage or an unusable directory file.");
    nearestCommand->callback([o] {
        const Nearby near = nearest(*o);
        render(near, o->json, near.failure);
    });

    CLI::App* cacheCommand = cities.add_subcommand("cache", "List (or clear) the reverse-geocode cache");
    cacheCommand->add_flag("--clear", o->clear, "Empty the cache");
    cacheCommand->add_flag("--json", o->json, "Print a JSON list of city objects ({cleared: N} with --clear)");
    cacheCommand->callback([o] { cache(*o); });

    CLI::App* lastUsedCommand = cities.add_subcommand("last-used", "Show the last used automatic city");
    lastUsedCommand->add_flag("--json", o->json, "Print the city as a JSON object");
    lastUsedCommand->footer("Exit status: 0 shown, 1 there is none.");
    lastUsedCommand->callback([o] {
        const LastUsed last = lastUsed();
        render(last, o->json, last.city ? "" : "no last used city");
    });
}

}  // namespace tarvo::cli
