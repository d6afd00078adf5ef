#include "tarvo/cities/PlaceResolver.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "tarvo/platform/EditDistance.h"
#include "platform/text/Text.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

namespace {

using Cities = std::vector<std::shared_ptr<TarvoCity>>;

// A city record keeps any country name beginning with "United States" as exactly that,
// while the directory may spell it out ("United States of America").
bool inCountry(const TarvoCity& city, const CityDirectory::Country& country) {
    const std::string have = text::folded(city.countryName().value_or(""));
    const std::string want = text::folded(country.name);
    return have == want || (have == "united states" && want.starts_with(have));
}

std::u32string codePoints(std::string_view utf8) {
    const icu::UnicodeString text = text::toUnicode(utf8);
    std::u32string out;
    for (int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) out.push_back(static_cast<char32_t>(text.char32At(i)));
    return out;
}

using text::editDistance;

ResolvedPlace::City cityOf(const CityDirectory& directory, const TarvoCity& record) {
    ResolvedPlace::City city;
    city.name = record.cityName().value_or("");
    city.state = directory.stateName(record);
    city.country = record.countryName().value_or("");
    city.latitude = record.latitude();
    city.longitude = record.longitude();
    city.timeZone = record.TimeZone().value_or("");
    city.population = directory.population(record);
    return city;
}

// "Istanbul (Turkey)" for a suggestion.
std::string suggestionOf(const TarvoCity& city) {
    return city.cityName().value_or("") + " (" + city.countryName().value_or("") + ")";
}

std::string listed(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& name : names) out += (out.empty() ? "" : ", ") + name;
    return out;
}

// The names nearest to a text the search does not find: the directory's names found by
// the text's words and by its beginnings (longest first), nearest in spelling first.
std::vector<std::string> closestNames(const CityDirectory& directory, const std::string& name,
                                      const std::optional<CityDirectory::Country>& country) {
    const std::u32string wanted = codePoints(text::folded(name));
    Cities pool;
    // Each word of a name of several words ("Kaula Lumpur" finds Kuala Lumpur by "Lumpur").
    std::vector<std::string> words;
    std::string word;
    for (const char c : name + " ") {
        if (c == ' ' || c == ',' || c == '-') {
            if (codePoints(word).size() >= 3 && word.size() < name.size()) words.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    for (const std::string& each : words) {
        for (auto& city : directory.rankedSearch(each)) pool.push_back(std::move(city));
    }
    // The longest beginning the directory knows ("Istanbull" finds Istanbul by "Istanbul").
    const icu::UnicodeString text = text::toUnicode(name);
    for (int32_t length = text.countChar32() - 1; length >= 2; --length) {
        icu::UnicodeString beginning;
        text.extract(0, text.moveIndex32(0, length), beginning);
        Cities found = directory.rankedSearch(text::toUtf8(beginning));
        if (found.empty()) continue;
        for (auto& city : found) pool.push_back(std::move(city));
        break;
    }
    if (country) {
        Cities inside;
        for (const auto& city : pool) {
            if (inCountry(*city, *country)) inside.push_back(city);
        }
        if (!inside.empty()) pool = std::move(inside);
    }
    std::vector<std::pair<size_t, size_t>> order;  // (distance, position in the pool)
    for (size_t i = 0; i < pool.size(); ++i) {
        order.emplace_back(editDistance(codePoints(text::folded(pool[i]->cityName().value_or(""))), wanted), i);
    }
    std::stable_sort(order.begin(), order.end());
    std::vector<std::string> names;
    for (const auto& [distance, i] : order) {
        const std::string suggestion = suggestionOf(*pool[i]);
        if (std::find(names.begin(), names.end(), suggestion) == names.end()) names.push_back(suggestion);
        if (names.size() == PlaceResolver::kMaxSuggestions) break;
    }
    return names;
}

}  // namespace

std::string ResolvedPlace::City::description() const {
    std::string out = name;
    if (!state.empty() && state != name) out += ", " + state;
    if (!country.empty()) out += ", " + country;
    return out;
}

Result<ResolvedPlace> PlaceResolver::resolve(std::string_view text, std::optional<std::string> country) const {
    std::string name = text::trimmed(text);
    std::optional<std::string> qualifier;
    if (const size_t comma = name.rfind(','); comma != std::string::npos) {
        qualifier = text::trimmed(std::string_view(name).substr(comma + 1));
        name = text::trimmed(std::string_view(name).substr(0, comma));
    }
    if (name.empty()) return Error{"no place name given"};

    std::optional<CityDirectory::Country> wantedCountry;
    if (country && !text::trimmed(*country).empty()) {
        wantedCountry = directory_.country(text::trimmed(*country));
        if (!wantedCountry) return Error{"no country '" + *country + "' in the city directory"};
    }
    // "Paris, France" or "Paris, FR" names a country; "Springfield, Illinois" a state.
    std::optional<std::string> wantedState;
    if (qualifier && !qualifier->empty()) {
        if (auto named = directory_.country(*qualifier)) {
            if (wantedCountry && wantedCountry->identifier != named->identifier) {
                return Error{fmt::format("'{}' is in {}, not in {}", text, named->name, wantedCountry->name)};
            }
            wantedCountry = std::move(named);
        } else {
            wantedState = text::folded(*qualifier);
        }
    }

    const Cities found = directory_.rankedSearch(name);
    Cities candidates;
    for (const auto& city : found) {
        if (wantedCountry && !inCountry(*city, *wantedCountry)) continue;
        if (wantedState && text::folded(directory_.stateName(*city)) != *wantedState) continue;
        candidates.push_back(city);
    }
    if (candidates.empty()) {
        if (!found.empty()) {
            // The name is known, elsewhere.
            std::vector<std::string> places;
            for (const auto& city : found) {
                const std::string where = wantedState ? suggestionOf(*city) : city->countryName().value_or("");
                if (std::find(places.begin(), places.end(), where) == places.end()) places.push_back(where);
                if (places.size() == kMaxSuggestions) break;
            }
            const std::string within = wantedState ? *qualifier : wantedCountry->name;
            return Error{"no place named '" + name + "' in " + within + "; it is known in " + listed(places)};
        }
        const std::vector<std::string> closest = closestNames(directory_, name, wantedCountry);
        return Error{"no place named '" + name + "' in the city directory" +
                     (closest.empty() ? std::string() : "; closest names: " + listed(closest))};
    }

    // Cities of exactly the name typed first: the biggest is meant unless the user says
    // otherwise, and the others are named so that the user can.
    const std::string key = text::folded(name);
    Cities exact;
    for (const auto& city : candidates) {
        if (text::folded(city->cityName().value_or("")) == key) exact.push_back(city);
    }
    const Cities& rivals = exact.empty() ? candidates : exact;
    ResolvedPlace place;
    place.city = cityOf(directory_, *rivals.front());
    for (size_t i = 1; i < rivals.size() && place.others.size() < kMaxOthers; ++i) {
        place.others.push_back(cityOf(directory_, *rivals[i]));
    }
    place.ambiguous = !place.others.empty();
    return place;
}

std::vector<std::shared_ptr<TarvoCity>> PlaceResolver::named(const std::vector<std::shared_ptr<TarvoCity>>& cities,
                                                             std::string_view text) {
    const std::string key = text::folded(text::trimmed(text));
    std::vector<std::shared_ptr<TarvoCity>> out;
    for (const auto& city : cities) {
        const std::string name = text::folded(city->cityName().value_or(""));
        const std::string withCountry = text::folded(city->description());
        // "Paris,France" as well as "Paris, France".
        std::string compact = withCountry;
        if (const size_t comma = compact.find(", "); comma != std::string::npos) compact.erase(comma + 1, 1);
        if (key == name || key == withCountry || key == compact) out.push_back(city);
    }
    return out;
}

}  // namespace tarvo
