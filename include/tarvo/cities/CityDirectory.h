#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/platform/Result.h"
#include "tarvo/Export.h"

namespace tarvo {

class TarvoCity;

/// The read-only directory of the world's cities shipped with the library (cities.sqlite,
/// built from GeoNames data): the `cities` table of the name search and the nearest-city
/// look-up, one `cities<N>` table per country numbered by its ISO 3166-1 numeric code, and
/// the `countries` table that lists them. The directory owns its connection and every
/// statement on it: they are prepared once, when it is opened, and used under its own lock,
/// so one directory serves several threads and two directories never share a statement.
/// TarvoCity's directory class operations (GetAllCities, GetCities, SearchCities,
/// GetCityForLat) answer through it.
///
/// The file is found by this rule, first match wins:
///   1. the path the host passes to open();
///   2. the environment variable TARVO_DIRECTORY;
///   3. `cities.sqlite` beside the running program;
///   4. the installed file, <prefix>/share/tarvo/cities.sqlite, found relative to the
///      installed library and then at the prefix the build was configured with;
///   5. the file of the build tree the library was built in.
class TARVO_EXPORT CityDirectory {
public:
    static constexpr std::string_view kFileName = "cities.sqlite";
    static constexpr const char* kEnvironmentVariable = "TARVO_DIRECTORY";
    /// Most steps of SQLite's virtual machine one statement on the directory may take: some
    /// thirty times the largest look-up of the shipped directory (a search matching every
    /// city takes under a million).
    static constexpr int kMaxSteps = 30'000'000;
    /// Most cities a name search answers.
    static constexpr size_t kMaxSearchResults = 75;

    /// One country of the directory.
    struct Country {
        int64_t identifier;  ///< ISO 3166-1 numeric code, the N of its `cities<N>` table
        std::string code;    ///< ISO 3166-1 two-letter code
        std::string name;    ///< English name, as the directory's cities carry it
    };
    using Cities = std::vector<std::shared_ptr<TarvoCity>>;

    /// The file the rule above chooses when the host names none; an error listing the places
    /// looked at when no candidate exists.
    static Result<std::filesystem::path> locate();
    /// Opens the directory read-only: `path`, or the located file when `path` is empty. An
    /// error naming the file and saying why when it is missing or is not a city directory
    /// (its tables missing, or a view or trigger among them). Every statement on the
    /// connection is stopped past kMaxSteps steps.
    static Result<std::shared_ptr<CityDirectory>> open(const std::filesystem::path& path);

    ~CityDirectory();
    CityDirectory(const CityDirectory&) = delete;
    CityDirectory& operator=(const CityDirectory&) = delete;

    const std::filesystem::path& path() const;

    /// Every country in name order.
    std::vector<Country> countries() const;
    /// The country with this numeric code, two-letter code or name (letter case ignored by
    /// the root locale's folding); nothing when none matches.
    std::optional<Country> country(std::string_view identifierCodeOrName) const;

    // The look-ups with the damage check folded in: an error saying why the directory cannot
    // be trusted instead of an answer that a damaged page may have cut short or changed.

    /// Cities by name, best matches first (rankedSearch).
    Result<Cities> search(std::string_view text);
    /// Cities whose name or country contains the text, by country then name (listing of
    /// citiesContaining).
    Result<Cities> listing(std::string_view text);
    /// The cities of the country, in name order (citiesOfCountry).
    Result<Cities> cities(const Country& country);
    /// The nearest city within `km` (nearestCity); an empty pointer when none is that near.
    Result<std::shared_ptr<TarvoCity>> nearest(double latitude, double longitude, double km);

    // The same look-ups as answered before the damage check (TarvoCity's class operations;
    // the place resolver asks several times for one name). Failures are logged and answered
    // with nothing or an empty list. Cities come back filled silently (no DIRTY tracking).

    /// The ranked city search: at most kMaxSearchResults cities one of whose names (its own,
    /// its alternate names and translations, their Latin-ASCII spellings) equals, begins with
    /// or contains the text, letter case and accents ignored (see text::folded); a text of
    /// one or two characters only equals or begins a name. Cities whose name equals the text
    /// come first, then those with a name that begins with it, then the rest, each group
    /// biggest city first (the directory's row order). Blank text finds nothing; a directory
    /// without the name index finds nothing and logs an error.
    Cities rankedSearch(std::string_view text) const;
    /// At most 75 cities whose name contains the text (letter case ignored) or whose country
    /// contains it, ordered by country then name. Blank or missing text finds nothing.
    Cities citiesContaining(const std::optional<std::string>& text) const;
    /// The cities of the country whose `cities<countryID>` table the directory holds, in name
    /// order, each carrying `countryName`.
    Cities citiesOfCountry(int64_t countryID, const std::string& countryName) const;
    /// The nearest city within `thresholdKm` (widened by 6 per cent) of the position, or
    /// nothing. A city at the very position is found for any threshold from 0 up. The places
    /// are read inside a box around the position when the directory has the position index
    /// (`cityboxes`); the answer is the one the scan of every row gives, ties included.
    std::shared_ptr<TarvoCity> nearestCity(double latitude, double longitude, double thresholdKm) const;

    /// The state of the directory city at exactly this place in this country ("" when the
    /// directory has none or does not hold the city).
    std::string stateName(const TarvoCity& city) const;
    /// The number of people of the directory city with exactly this name and position;
    /// nothing when the directory does not know it (a directory built without populations,
    /// or no such city).
    std::optional<int64_t> population(const TarvoCity& city) const;

    /// Why the directory cannot be trusted, or nothing: call it after a look-up, before using
    /// its answer. A damaged page makes a look-up end early, and look like "no city" or a
    /// farther city. The file is checked page by page (about 40 ms for the shipped
    /// directory) only when SQLite has reported a storage fault since the directory was
    /// opened, or when `always` asks for it.
    std::optional<std::string> damage(bool always = false);

    struct Impl;  ///< the connection, its statements and its lock (src/cities/CityDirectoryImpl.h)
    /// The library's own way in: internals(directory) (src/cities/CityDirectoryImpl.h).
    friend Impl& internals(const CityDirectory& directory);

private:
    CityDirectory();
    /// `answer`, or the damage that makes it untrustworthy.
    template <typename T>
    Result<T> unlessDamaged(T answer);

    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
