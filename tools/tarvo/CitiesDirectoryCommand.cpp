// tarvo cities search|countries|country|nearest|cache|last-used: the city directory, the
// reverse-geocode cache and the last used city.
#include <iostream>
#include <memory>
#include <stdexcept>

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

void printJson(const ordered_json& value) {
    std::cout << value.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << "\n";
}

std::shared_ptr<CityDirectory> openDirectory(const DirectoryOptions& o) {
    std::string error;
    auto directory = CityDirectory::open(o.directory, error);
    if (!directory) throw UsageError("cannot use the city directory: " + error);
    return directory;
}

// A look-up's answer is used only when the directory met no damage while giving it.
void checkIntact(CityDirectory& directory) {
    if (auto why = directory.damage()) throw UsageError("cannot use the city directory: " + *why);
}

void printPlaces(const Cities& cities, bool json, const std::string& none) {
    if (json) {
        ordered_json list = ordered_json::array();
        for (const auto& city : cities) list.push_back(cityJson(*city));
        printJson(list);
        return;
    }
    if (cities.empty()) {
        std::cout << none << "\n";
        return;
    }
    std::cout << fmt::format("{:<32} {:<24} {:<24} {}\n", "City", "Country", "Position", "Time zone");
    for (const auto& city : cities) {
        std::string name = printable(city->cityName().value_or(""));
        if (city->stateName() && !city->stateName()->empty()) name += " (" + printable(*city->stateName()) + ")";
        std::cout << fmt::format("{:<32} {:<24} {:<24} {}\n", name, printable(city->countryName().value_or("")),
                                 city->getLatLongString(), printable(city->TimeZone().value_or("")));
    }
}

void search(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    const Cities cities = o.listing ? TarvoCity::GetCities(directory->database(), o.text)
                                    : TarvoCity::SearchCities(directory->database(), o.text);
    checkIntact(*directory);
    if (cities.empty()) {
        if (o.json) std::cout << "[]\n";
        throw std::runtime_error(o.listing ? "no city or country matches '" + o.text + "'"
                                           : "no city matches '" + o.text + "'");
    }
    printPlaces(cities, o.json, "");
    if (!o.json && cities.size() == TarvoCity::kMaxSearchResults) std::cout << "(the first 75 matches)\n";
}

void countries(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    const auto all = directory->countries();
    checkIntact(*directory);
    if (o.json) {
        ordered_json list = ordered_json::array();
        for (const auto& country : all)
            list.push_back({{"id", country.identifier}, {"code", country.code}, {"name", country.name}});
        printJson(list);
        return;
    }
    std::cout << fmt::format("{:>4}  {:<4}  {}\n", "ID", "Code", "Country");
    for (const auto& country : all)
        std::cout << fmt::format("{:>4}  {:<4}  {}\n", country.identifier, country.code, country.name);
}

void country(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    const auto found = directory->country(o.text);
    checkIntact(*directory);
    if (!found) throw UsageError("no country '" + o.text + "' in the city directory (see tarvo cities countries)");
    const Cities cities = TarvoCity::GetAllCities(directory->database(), found->identifier, found->name);
    checkIntact(*directory);
    if (!o.json)
        std::cout << fmt::format("{} ({}, {}): {} cities\n", found->name, found->code, found->identifier,
                                 cities.size());
    printPlaces(cities, o.json, "The directory holds no city of " + found->name + ".");
}

void nearest(const DirectoryOptions& o) {
    auto directory = openDirectory(o);
    const auto city = TarvoCity::GetCityForLat(o.latitude, o.longitude, &directory->database(), o.km, false);
    checkIntact(*directory);
    if (!city) {
        if (o.json) std::cout << "null\n";
        throw std::runtime_error(
            fmt::format("no directory city within {} km of {}, {}", o.km, o.latitude, o.longitude));
    }
    city->setStateName(directory->stateName(*city));
    const double km = QiblaCalculator::getDistanceBetweenTwoLocations(o.latitude, o.longitude, city->latitude(),
                                                                      city->longitude(), false);
    if (o.json) {
        ordered_json j = cityJson(*city);
        j["distanceKm"] = km;
        printJson(j);
        return;
    }
    std::cout << fmt::format("{} {} {}, {:.1f} km away\n", printable(city->description()), city->getLatLongString(),
                             printable(city->TimeZone().value_or("")), km);
}

void cache(const DirectoryOptions& o) {
    auto user = openUserDatabase();
    const Cities cached = user->cachedCities();
    if (o.clear) {
        TarvoCity::DeleteAllReverseGeocodeCache(user->database());
        if (!user->cachedCities().empty())
            throw UsageError("the cache could not be cleared in " + user->path().string());
        if (o.json)
            printJson({{"cleared", cached.size()}});
        else
            std::cout << fmt::format("Cleared {} cached place{}.\n", cached.size(), cached.size() == 1 ? "" : "s");
        return;
    }
    printPlaces(cached, o.json, "The reverse-geocode cache is empty.");
}

void lastUsed(const DirectoryOptions& o) {
    auto user = openUserDatabase();
    const auto city = TarvoCity::GetLastUsedCity(user->database());
    if (!city) {
        if (o.json) std::cout << "null\n";
        throw std::runtime_error("no last used city");
    }
    if (o.json)
        printJson(cityJson(*city));
    else
        std::cout << fmt::format("{} {} {}\n", printable(city->description()), city->getLatLongString(),
                                 printable(city->TimeZone().value_or("")));
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
    searchCommand->callback([o] { search(*o); });

    CLI::App* countriesCommand = cities.add_subcommand("countries", "List the countries of the city directory");
    addDirectoryOption(*countriesCommand, *o);
    countriesCommand->add_flag("--json", o->json, "Print a JSON list of {id, code, name}");
    countriesCommand->callback([o] { countries(*o); });

    CLI::App* countryCommand = cities.add_subcommand("country", "List the directory's cities of one country");
    countryCommand->add_option("country", o->text, "ISO 3166-1 numeric code, two-letter code or English name")
        ->required();
    addDirectoryOption(*countryCommand, *o);
    countryCommand->add_flag("--json", o->json, "Print a JSON list of city objects");
    countryCommand->callback([o] { country(*o); });

    CLI::App* nearestCommand = cities.add_subcommand("nearest", "The directory city nearest to a position");
    addLatitudeOption(*nearestCommand, o->latitude, true);
    addLongitudeOption(*nearestCommand, o->longitude, true);
    nearestCommand->add_option("--km", o->km, "Search radius in km (default 50; the look-up allows 6% more)")
        ->check(numberBetween(0, 20000));
    addDirectoryOption(*nearestCommand, *o);
    nearestCommand->add_flag("--json", o->json, "Print the city as a JSON object with distanceKm");
    nearestCommand->footer("Exit status: 0 found, 1 no city that near, 2 bad usage or an unusable directory file.");
    nearestCommand->callback([o] { nearest(*o); });

    CLI::App* cacheCommand = cities.add_subcommand("cache", "List (or clear) the reverse-geocode cache");
    cacheCommand->add_flag("--clear", o->clear, "Empty the cache");
    cacheCommand->add_flag("--json", o->json, "Print a JSON list of city objects ({cleared: N} with --clear)");
    cacheCommand->callback([o] { cache(*o); });

    CLI::App* lastUsedCommand = cities.add_subcommand("last-used", "Show the last used automatic city");
    lastUsedCommand->add_flag("--json", o->json, "Print the city as a JSON object");
    lastUsedCommand->footer("Exit status: 0 shown, 1 there is none.");
    lastUsedCommand->callback([o] { lastUsed(*o); });
}

}  // namespace tarvo::cli
