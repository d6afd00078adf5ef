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

class SqliteDatabase;
class TarvoCity;

/// The read-only directory of the world's cities shipped with the library (cities.sqlite,
/// built from GeoNames data): the `cities` table that TarvoCity's search and nearest-city
/// look-ups read, one `cities<N>` table per country numbered by its ISO 3166-1 numeric code,
/// and the `countries` table that lists them.
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

    /// One country of the directory.
    struct Country {
        int64_t identifier;  ///< ISO 3166-1 numeric code, the N of its `cities<N>` table
        std::string code;    ///< ISO 3166-1 two-letter code
        std::string name;    ///< English name, as the directory's cities carry it
    };

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

    /// The connection, for TarvoCity's directory operations.
    SqliteDatabase& database() { return *database_; }
    const std::filesystem::path& path() const;

    /// Every country in name order.
    std::vector<Country> countries() const;
    /// The country with this numeric code, two-letter code or name (letter case ignored by
    /// the root locale's folding); nothing when none matches.
    std::optional<Country> country(std::string_view identifierCodeOrName) const;
    using Cities = std::vector<std::shared_ptr<TarvoCity>>;
    // The look-ups of TarvoCity on this directory, each with the damage check folded in: an
    // error saying why the directory cannot be trusted instead of an answer that a damaged
    // page may have cut short or changed.

    /// Cities by name, best matches first (TarvoCity::SearchCities).
    Result<Cities> search(std::string_view text);
    /// Cities whose name or country contains the text, by country then name
    /// (TarvoCity::GetCities).
    Result<Cities> listing(std::string_view text);
    /// The cities of the country, in name order (TarvoCity::GetAllCities).
    Result<Cities> cities(const Country& country);
    /// The nearest city within `km` (TarvoCity::GetCityForLat on the directory); an empty
    /// pointer when none is that near.
    Result<std::shared_ptr<TarvoCity>> nearest(double latitude, double longitude, double km);

    /// The state of the directory city at exactly this place in this country ("" when the
    /// directory has none or does not hold the city).
    std::string stateName(const TarvoCity& city) const { return stateName(*database_, city); }
    /// The ranked city search of TarvoCity::SearchCities on this directory, without the
    /// damage check (the place resolver asks several times for one name).
    std::vector<std::shared_ptr<TarvoCity>> rankedSearch(std::string_view text) const;
    /// The number of people of the directory city with exactly this name and position;
    /// nothing when the directory does not know it (a directory built without populations,
    /// or no such city).
    std::optional<int64_t> population(const TarvoCity& city) const;
    /// The same, read through a directory connection the caller holds.
    static std::string stateName(SqliteDatabase& directory, const TarvoCity& city);

    /// Why the directory cannot be trusted, or nothing: call it after a look-up, before using
    /// its answer. A damaged page makes a look-up end early, and look like "no city" or a
    /// farther city. The file is checked page by page (about 40 ms for the shipped
    /// directory) only when SQLite has reported a storage fault since the directory was
    /// opened, or when `always` asks for it.
    std::optional<std::string> damage(bool always = false);

private:
    /// How often, in virtual-machine steps, the work bound is checked.
    static constexpr int kProgressInterval = 10'000;

    CityDirectory();
    /// Fails, saying why, when the opened file cannot serve as a directory.
    Result<void> checkUsable();
    /// `answer`, or the damage that makes it untrustworthy.
    template <typename T>
    Result<T> unlessDamaged(T answer);
    /// The progress handler: nonzero (stop) once the running statement is past kMaxSteps.
    static int tooMuchWork(void* self);

    /// The run the progress handler is counting.
    struct Work {
        const void* statement = nullptr;
        int run = 0;
        long calls = 0;
    };
    Work work_;
    unsigned faultsAtOpen_ = 0;

    // Look-ups only read the file (opened immutable); the connection's statements change
    // state while they run, so const look-ups use it as mutable.
    std::unique_ptr<SqliteDatabase> database_;
};

}  // namespace tarvo
