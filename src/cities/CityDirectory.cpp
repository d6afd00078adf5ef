#include "tarvo/cities/CityDirectory.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include <fmt/format.h>
#include <sqlite3.h>
#include <unicode/unistr.h>

#include "cities/CityDirectoryImpl.h"
#include "cities/CityRows.h"
#include "platform/host/LogMacros.h"
#include "platform/text/SearchText.h"
#include "platform/text/Text.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

namespace {

std::string folded(std::string_view text) {
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
        .foldCase()
        .toUTF8String(out);
    return out;
}

// The folder of the shared library this code is in.
std::optional<std::filesystem::path> libraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&CityDirectory::locate), &info) == 0 || !info.dli_fname) return std::nullopt;
    std::error_code ec;
    const auto file = std::filesystem::canonical(info.dli_fname, ec);
    if (ec) return std::nullopt;
    return file.parent_path();
}

std::optional<std::filesystem::path> programFolder() {
    std::error_code ec;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) return std::nullopt;
    return program.parent_path();
}

std::vector<std::filesystem::path> candidates() {
    std::vector<std::filesystem::path> places;
    if (const char* variable = std::getenv(CityDirectory::kEnvironmentVariable); variable && *variable) {
        // A directory named by the environment is the only one looked at: a host that sets
        // it wants that file or an error, never a silent fall-back to another one.
        places.emplace_back(variable);
        return places;
    }
    if (auto folder = programFolder()) places.push_back(*folder / CityDirectory::kFileName);
    if (auto folder = libraryFolder())
        places.push_back((*folder / TARVO_CITY_DIRECTORY_FROM_LIBDIR).lexically_normal());
    places.emplace_back(TARVO_INSTALLED_CITY_DIRECTORY);
    places.emplace_back(TARVO_BUILD_CITY_DIRECTORY);
    return places;
}


// The term is bound as ?1, wrapped in '%' so that it matches anywhere in the name or country.
constexpr const char* kSearchSql =
    "SELECT name, country, lat, lon, timezone FROM cities WHERE lower(name) LIKE ?1 OR country LIKE ?1 ORDER BY "
    "country ASC, name ASC LIMIT 75";
// The ranked search over the directory's name index: names equal to the folded text (tier
// 0), names beginning with it (1: the key range from the text up to the text followed by the
// last code point), names containing it (2: the trigram index, for texts of three characters
// or more). Each city once, in its best tier; biggest first within a tier.
constexpr const char* kRankedSearchSql =
    "WITH hits(city, tier) AS (SELECT city, 0 FROM citynames WHERE key = ?1 "
    "UNION ALL SELECT city, 1 FROM citynames WHERE key > ?1 AND key < ?2{}) "
    "SELECT c.name, c.country, c.lat, c.lon, c.timezone "
    "FROM (SELECT city, min(tier) AS tier FROM hits GROUP BY city) AS best JOIN cities AS c ON c.rowid = best.city "
    "ORDER BY best.tier, best.city LIMIT ?4";
constexpr const char* kRankedSearchContainsSql = " UNION ALL SELECT rowid, 2 FROM citysearch WHERE citysearch MATCH ?3";
// The trigram index finds texts of at least this many characters.
constexpr int32_t kShortestContainedText = 3;
// The country's own table: its number is part of the table's name, so this statement is
// prepared for each call (the number is an integer, never text of the caller's).
constexpr const char* kCountryListSql =
    "SELECT city_name, state_name, latitude, longitude, gmt, timezone FROM cities{} ORDER BY city_name";
constexpr const char* kStateSql =
    "SELECT state_name FROM cities{} WHERE city_name = ? AND latitude = ? AND longitude = ? LIMIT 1";

// Resets a statement when its use ends, whichever way it ends.
class Use {
public:
    explicit Use(SqliteStatement& statement) : statement_(statement) {}
    ~Use() { statement_.reset(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

private:
    SqliteStatement& statement_;
};

}  // namespace

Result<std::filesystem::path> CityDirectory::locate() {
    std::string tried;
    for (const auto& place : candidates()) {
        std::error_code ec;
        if (std::filesystem::is_regular_file(place, ec)) return place;
        tried += (tried.empty() ? "" : ", ") + place.string();
    }
    return Error{"no city directory found (looked at " + tried + ")"};
}


namespace {

// Fails, saying why, when the opened file cannot serve as a directory: a directory holds
// tables and their indexes only. A view or a trigger could make a look-up run a query of the
// file's choosing instead of a scan of the cities.
Result<void> checkUsable(const SqliteDatabase& database) {
    SqliteStatement objects;
    if (objects.prepare(database, "SELECT type, name FROM sqlite_master WHERE type NOT IN ('table', 'index')") !=
        SQLITE_OK) {
        return Error{"unreadable (" + database.errorMessage() + ")"};
    }
    if (objects.step() == SQLITE_ROW) {
        return Error{"not a city directory (it holds the " + objects.columnText(0) + " '" + objects.columnText(1) +
                     "')"};
    }
    return {};
}

// How often, in virtual-machine steps, the work bound is checked.
constexpr int kProgressInterval = 10'000;

// The progress handler: nonzero (stop) once the running statement is past kMaxSteps.
int tooMuchWork(void* context) {
    // Called every kProgressInterval steps of the virtual machine, inside one step of the
    // running statement. SQLite adds a step's count to the statement's counters only when the
    // step returns, so the calls are counted here, per run of the running statement (a new
    // statement, or a new run of the same one, starts the count again); a run past the bound
    // is interrupted, and its step answers SQLITE_INTERRUPT.
    auto& impl = *static_cast<CityDirectory::Impl*>(context);
    auto& work = impl.work;
    sqlite3* connection = impl.database.handle();
    sqlite3_stmt* running = nullptr;
    for (sqlite3_stmt* statement = sqlite3_next_stmt(connection, nullptr); statement;
         statement = sqlite3_next_stmt(connection, statement)) {
        if (sqlite3_stmt_busy(statement)) running = statement;
    }
    const int run = running ? sqlite3_stmt_status(running, SQLITE_STMTSTATUS_RUN, 0) : 0;
    if (running != work.statement || run != work.run) work = {running, run, 0};
    if (++work.calls * kProgressInterval <= CityDirectory::kMaxSteps) return 0;
    TARVO_LOG_ERROR("[DB] Error: a directory query ran past {} steps and was stopped: {}", CityDirectory::kMaxSteps,
                    running ? sqlite3_sql(running) : "");
    return 1;
}

}  // namespace

CityDirectory::CityDirectory() : impl_(std::make_unique<Impl>()) {}
CityDirectory::~CityDirectory() = default;

CityDirectory::Impl& internals(const CityDirectory& directory) { return *directory.impl_; }

const std::filesystem::path& CityDirectory::path() const { return impl_->database.path(); }

Result<std::shared_ptr<CityDirectory>> CityDirectory::open(const std::filesystem::path& path) {
    std::filesystem::path file = path;
    if (file.empty()) {
        auto located = locate();
        if (!located) return located.error();
        file = std::move(*located);
    }
    std::shared_ptr<CityDirectory> directory(new CityDirectory());
    SqliteDatabase& database = directory->impl_->database;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file, ec)) return Error{file.string() + ": no such file"};
    // Immutable: the directory is data shipped with the library, never written, so it is
    // read without locks and nothing is ever created beside it.
    if (!database.open(file, SqliteDatabase::kOpenReadOnly | SqliteDatabase::kOpenImmutable)) {
        return Error{file.string() + ": " + database.errorMessage()};
    }
    // The look-ups scan the whole `cities` table: keep the file in memory (read through a
    // mapping, and a page cache the size of the shipped file) instead of reading it again
    // from the system at every call.
    database.exec("PRAGMA mmap_size = 268435456");
    database.exec("PRAGMA cache_size = -16384");
    SqliteStatement probe;
    if (probe.prepare(database, "SELECT count(*) FROM cities JOIN countries") != SQLITE_OK) {
        return Error{file.string() + ": not a city directory (" + database.errorMessage() + ")"};
    }
    probe.finalize();
    if (auto usable = checkUsable(database); !usable) return Error{file.string() + ": " + usable.error().message};
    directory->impl_->prepareStatements();
    directory->impl_->faultsAtOpen = SqliteDatabase::storageFaults();
    // No look-up on the directory may run for ever, whatever its file holds.
    sqlite3_progress_handler(database.handle(), kProgressInterval, &tooMuchWork, directory->impl_.get());
    return directory;
}

void CityDirectory::Impl::prepareStatements() {
    // A statement that does not prepare stays empty; its look-up then logs why (or, for the
    // optional parts of an older directory, answers without it).
    if (listing.prepare(database, kSearchSql) != SQLITE_OK) listingError = database.errorMessage();
    if (rankedSearch.prepare(database, fmt::format(kRankedSearchSql, "")) != SQLITE_OK ||
        rankedSearchContains.prepare(database, fmt::format(kRankedSearchSql, kRankedSearchContainsSql)) != SQLITE_OK) {
        rankedSearchError = database.errorMessage();
    }
    if (countries.prepare(database, "SELECT id, code, name FROM countries ORDER BY name") != SQLITE_OK) {
        countriesError = database.errorMessage();
    }
    // A city record keeps any country name beginning with "United States" as exactly that,
    // while the directory may spell it out ("United States of America").
    countriesNamed.prepare(database,
                           "SELECT id FROM countries WHERE name = ?1 OR (?1 = 'United States' AND name LIKE "
                           "'United States%')");
    population.prepare(database, "SELECT population FROM cities WHERE name = ? AND lat = ? AND lon = ? LIMIT 1");
    nearest.emplace(database, "cities", true, "Error: failed to get time zone statement with message '{}'.");
}

std::optional<std::string> CityDirectory::damage(bool always) {
    if (!always && SqliteDatabase::storageFaults() == impl_->faultsAtOpen) return std::nullopt;
    std::lock_guard lock(impl_->lock);
    SqliteStatement check;
    const SqliteDatabase& database = impl_->database;
    if (check.prepare(database, "PRAGMA quick_check(1)") == SQLITE_OK && check.step() == SQLITE_ROW &&
        check.columnText(0) == "ok") {
        return std::nullopt;
    }
    std::string problem = check.columnText(0).empty() ? database.errorMessage() : check.columnText(0);
    std::replace(problem.begin(), problem.end(), '\n', ' ');  // one line
    return database.path().string() + ": damaged (" + problem + ")";
}

std::vector<CityDirectory::Country> CityDirectory::countries() const {
    std::vector<Country> all;
    std::lock_guard lock(impl_->lock);
    SqliteStatement& query = impl_->countries;
    if (!query.isPrepared()) {
        TARVO_LOG_ERROR("[DB] Error: failed to list the countries with message '{}'.", impl_->countriesError);
        return all;
    }
    Use use(query);
    while (query.step() == SQLITE_ROW) all.push_back({query.columnInt64(0), query.columnText(1), query.columnText(2)});
    return all;
}

std::optional<CityDirectory::Country> CityDirectory::country(std::string_view identifierCodeOrName) const {
    const std::string wanted = folded(identifierCodeOrName);
    for (Country& each : countries()) {
        if (std::to_string(each.identifier) == wanted || folded(each.code) == wanted || folded(each.name) == wanted) {
            return std::move(each);
        }
    }
    return std::nullopt;
}

template <typename T>
Result<T> CityDirectory::unlessDamaged(T answer) {
    if (auto why = damage()) return Error{*why};
    return answer;
}

Result<CityDirectory::Cities> CityDirectory::search(std::string_view text) {
    return unlessDamaged(rankedSearch(text));
}

Result<CityDirectory::Cities> CityDirectory::listing(std::string_view text) {
    return unlessDamaged(citiesContaining(std::string(text)));
}

Result<CityDirectory::Cities> CityDirectory::cities(const Country& country) {
    return unlessDamaged(citiesOfCountry(country.identifier, country.name));
}

Result<std::shared_ptr<TarvoCity>> CityDirectory::nearest(double latitude, double longitude, double km) {
    return unlessDamaged(nearestCity(latitude, longitude, km));
}

CityDirectory::Cities CityDirectory::rankedSearch(std::string_view text) const {
    Cities cities;
    const icu::UnicodeString key = text::toUnicode(text::folded(text::trimmed(text)));
    const int32_t length = key.countChar32();
    // No name is longer than the longest term the listing takes.
    if (length == 0 || length > static_cast<int32_t>(SearchText::kMaxTermLength)) return cities;
    const std::string term = text::toUtf8(key);
    const bool contains = length >= kShortestContainedText;

    std::lock_guard lock(impl_->lock);
    TARVO_LOG_DEBUG("[DB] Search Cities");
    SqliteStatement& query = contains ? impl_->rankedSearchContains : impl_->rankedSearch;
    if (!query.isPrepared()) {
        TARVO_LOG_ERROR("Error: failed to search the city names with message '{}'.", impl_->rankedSearchError);
        return cities;
    }
    Use use(query);
    query.bindText(1, term);
    query.bindText(2, term + "\U0010FFFF");
    // One quoted phrase: the trigram index then matches the text as a substring, and nothing
    // in it is read as query syntax.
    std::string phrase = "\"";
    for (const char c : term) phrase += c == '"' ? std::string("\"\"") : std::string(1, c);
    if (contains) query.bindText(3, phrase + "\"");
    query.bindInt64(4, static_cast<int64_t>(kMaxSearchResults));
    int result = SQLITE_ROW;
    while ((result = query.step()) == SQLITE_ROW) {
        auto city = cityrows::place(query, 0, "Unknown", "");
        city->setIsLoadingFromDB(false);
        cities.push_back(std::move(city));
    }
    if (result != SQLITE_DONE) {
        TARVO_LOG_ERROR("Error: failed to search the city names with message '{}'.", impl_->database.errorMessage());
    }
    return cities;
}

CityDirectory::Cities CityDirectory::citiesContaining(const std::optional<std::string>& text) const {
    std::lock_guard lock(impl_->lock);
    TARVO_LOG_DEBUG("[DB] [DB] Get Cities");
    Cities cities;
    if (!text || SearchText::trim(*text).empty()) return cities;
    SqliteStatement& query = impl_->listing;
    if (!query.isPrepared()) {
        TARVO_LOG_ERROR("Error: failed to get cities for country statement with message '{}'.", impl_->listingError);
        return cities;
    }
    // The whole text is the term, blanks included: trimming only decides whether there is
    // anything to search for.
    Use use(query);
    query.bindText(1, fmt::format("%{}%", SearchText::escapeForSearch(SearchText::lowercased(*text))));
    while (query.step() == SQLITE_ROW) {
        auto city = cityrows::place(query, 0, "Unknown", "");
        city->setIsLoadingFromDB(false);
        cities.push_back(std::move(city));
    }
    return cities;
}

CityDirectory::Cities CityDirectory::citiesOfCountry(int64_t countryID, const std::string& countryName) const {
    std::lock_guard lock(impl_->lock);
    TARVO_LOG_DEBUG("[DB] [DB] Get All Cities");
    Cities cities;
    SqliteStatement query;
    if (query.prepare(impl_->database, fmt::format(kCountryListSql, countryID)) != SQLITE_OK) {
        TARVO_LOG_ERROR("Error: failed to get cities statement with message '{}'.", impl_->database.errorMessage());
        return cities;
    }
    // The statement has no parameter, so SQLite refuses this bind and nothing changes. Callers
    // that pass the identifier rely on this bind being harmless, so it stays.
    query.bindInt64(1, countryID);
    while (query.step() == SQLITE_ROW) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCountryName(countryName);
        city->setCityName(query.columnTextOr(0, "Unknown"));
        city->setStateName(query.columnTextOr(1, ""));
        city->setLatitude(query.columnDouble(2));
        city->setLongitude(query.columnDouble(3));
        city->setGMT(query.columnDouble(4));
        city->setTimeZone(query.columnTextOr(5, ""));
        city->setIsLoadingFromDB(false);
        cities.push_back(std::move(city));
    }
    return cities;
}

std::shared_ptr<TarvoCity> CityDirectory::nearestCity(double latitude, double longitude, double thresholdKm) const {
    std::lock_guard lock(impl_->lock);
    return impl_->nearest->find(latitude, longitude, thresholdKm);
}

std::string CityDirectory::stateName(const TarvoCity& city) const {
    std::lock_guard lock(impl_->lock);
    SqliteStatement& countries = impl_->countriesNamed;
    if (!countries.isPrepared()) return {};
    Use use(countries);
    countries.bindText(1, city.countryName().value_or(""));
    while (countries.step() == SQLITE_ROW) {
        SqliteStatement state;
        if (state.prepare(impl_->database, fmt::format(kStateSql, countries.columnInt64(0))) != SQLITE_OK) continue;
        state.bindText(1, city.cityName().value_or(""));
        state.bindDouble(2, city.latitude());
        state.bindDouble(3, city.longitude());
        if (state.step() == SQLITE_ROW) return state.columnText(0);
    }
    return {};
}

std::optional<int64_t> CityDirectory::population(const TarvoCity& city) const {
    std::lock_guard lock(impl_->lock);
    // An older directory has no population column: the statement did not prepare, and the
    // answer is "not known".
    SqliteStatement& query = impl_->population;
    if (!query.isPrepared()) return std::nullopt;
    Use use(query);
    query.bindText(1, city.cityName().value_or(""));
    query.bindDouble(2, city.latitude());
    query.bindDouble(3, city.longitude());
    if (query.step() != SQLITE_ROW || query.columnIsNull(0)) return std::nullopt;
    return query.columnInt64(0);
}

}  // namespace tarvo
