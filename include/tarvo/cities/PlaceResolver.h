#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/Result.h"

namespace tarvo {

class CityDirectory;
class TarvoCity;

/// What a place name resolved to: the chosen directory city, the other cities the name fits
/// (biggest first) and whether there were any.
struct TARVO_EXPORT ResolvedPlace {
    /// A directory city.
    struct City {
        std::string name;
        std::string state;    ///< "" when the directory has none
        std::string country;  ///< English name, as the directory's cities carry it
        double latitude = 0;
        double longitude = 0;
        std::string timeZone;
        std::optional<int64_t> population;  ///< when the directory knows it

        /// "Paris, Île-de-France, France": the name, the state when there is one, the country.
        std::string description() const;
    };

    City city;
    std::vector<City> others;
    bool ambiguous = false;
};

/// Turns a place name as a person types it ("Kuala Lumpur", "Paris, France", "Paris, US",
/// "Springfield, Illinois") into a directory city, through the directory's ranked search.
///
/// The text after the last comma narrows the search to a country (its English name, its
/// two-letter ISO code or its numeric code) or else a state; `country` narrows it the same
/// way to a country. Among the cities the search finds, those whose own name equals the
/// name typed come first; the biggest of them is chosen, and the others are its rivals
/// (the name is ambiguous). When no name equals it, the best ranked city is chosen (an
/// alternate or translated name, or the beginning of a name) and the name is ambiguous when
/// the search found more.
///
/// Failures are answered as errors in plain words: no name, an unknown country, no city of
/// that name (naming the closest names the directory knows).
class TARVO_EXPORT PlaceResolver {
public:
    /// Most rival cities kept in a ResolvedPlace.
    static constexpr size_t kMaxOthers = 10;
    /// Most names suggested when nothing matches.
    static constexpr size_t kMaxSuggestions = 5;

    explicit PlaceResolver(const CityDirectory& directory) : directory_(directory) {}

    Result<ResolvedPlace> resolve(std::string_view text, std::optional<std::string> country = {}) const;

    /// The cities of `cities` (the user's saved cities) that `text` names: by their name, or
    /// by "name, country", letter case and accents ignored as the search ignores them.
    static std::vector<std::shared_ptr<TarvoCity>> named(const std::vector<std::shared_ptr<TarvoCity>>& cities,
                                                         std::string_view text);

private:
    const CityDirectory& directory_;
};

}  // namespace tarvo
