#include "tarvo/cities/CityDirectory.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include <fmt/format.h>
#include <sqlite3.h>
#include <unicode/unistr.h>

#include "platform/host/LogMacros.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

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

CityDirectory::CityDirectory() : database_(std::make_unique<SqliteDatabase>()) {}

CityDirectory::~CityDirectory() = default;

const std::filesystem::path& CityDirectory::path() const { return database_->path(); }

Result<std::shared_ptr<CityDirectory>> CityDirectory::open(const std::filesystem::path& path) {
    std::filesystem::path file = path;
    if (file.empty()) {
        auto located = locate();
        if (!located) return located.error();
        file = std::move(*located);
    }
    std::shared_ptr<CityDirectory> directory(new CityDirectory());
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file, ec)) return Error{file.string() + ": no such file"};
    // Immutable: the directory is data shipped with the library, never written, so it is
    // read without locks and nothing is ever created beside it.
    if (!directory->database_->open(file, SqliteDatabase::kOpenReadOnly | SqliteDatabase::kOpenImmutable)) {
        return Error{file.string() + ": " + directory->database_->errorMessage()};
    }
    // The look-ups scan the whole `cities` table: keep the file in memory (read through a
    // mapping, and a page cache the size of the shipped file) instead of reading it again
    // from the system at every call.
    directory->database_->exec("PRAGMA mmap_size = 268435456");
    directory->database_->exec("PRAGMA cache_size = -16384");
    SqliteStatement probe;
    if (probe.prepare(*directory->database_, "SELECT count(*) FROM cities JOIN countries") != SQLITE_OK) {
        return Error{file.string() + ": not a city directory (" + directory->database_->errorMessage() + ")"};
    }
    probe.finalize();
    if (auto usable = directory->checkUsable(); !usable) {
        return Error{file.string() + ": " + usable.error().message};
    }
    directory->faultsAtOpen_ = SqliteDatabase::storageFaults();
    // No look-up on the directory may run for ever, whatever its file holds.
    sqlite3_progress_handler(directory->database_->handle(), kProgressInterval, &CityDirectory::tooMuchWork,
                             directory.get());
    return directory;
}

Result<void> CityDirectory::checkUsable() {
    // A directory holds tables and their indexes only. A view or a trigger could make a
    // look-up run a query of the file's choosing instead of a scan of the cities.
    SqliteStatement objects;
    if (objects.prepare(*database_, "SELECT type, name FROM sqlite_master WHERE type NOT IN ('table', 'index')") !=
        SQLITE_OK) {
        return Error{"unreadable (" + database_->errorMessage() + ")"};
    }
    if (objects.step() == SQLITE_ROW) {
        return Error{"not a city directory (it holds the " + objects.columnText(0) + " '" + objects.columnText(1) +
                     "')"};
    }
    return {};
}

std::optional<std::string> CityDirectory::damage(bool always) {
    if (!always && SqliteDatabase::storageFaults() == faultsAtOpen_) return std::nullopt;
    std::lock_guard lock(TarvoCity::syncObj());
    SqliteStatement check;
    if (check.prepare(*database_, "PRAGMA quick_check(1)") == SQLITE_OK && check.step() == SQLITE_ROW &&
        check.columnText(0) == "ok") {
        return std::nullopt;
    }
    std::string problem = check.columnText(0).empty() ? database_->errorMessage() : check.columnText(0);
    std::replace(problem.begin(), problem.end(), '\n', ' ');  // one line
    return database_->path().string() + ": damaged (" + problem + ")";
}

int CityDirectory::tooMuchWork(void* self) {
    // Called every kProgressInterval steps of the virtual machine, inside one step of the
    // running statement. SQLite adds a step's count to the statement's counters only when the
    // step returns, so the calls are counted here, per run of the running statement (a new
    // statement, or a new run of the same one, starts the count again); a run past the bound
    // is interrupted, and its step answers SQLITE_INTERRUPT.
    auto& work = static_cast<CityDirectory*>(self)->work_;
    sqlite3* connection = static_cast<CityDirectory*>(self)->database_->handle();
    sqlite3_stmt* running = nullptr;
    for (sqlite3_stmt* statement = sqlite3_next_stmt(connection, nullptr); statement;
         statement = sqlite3_next_stmt(connection, statement)) {
        if (sqlite3_stmt_busy(statement)) running = statement;
    }
    const int run = running ? sqlite3_stmt_status(running, SQLITE_STMTSTATUS_RUN, 0) : 0;
    if (running != work.statement || run != work.run) work = {running, run, 0};
    if (++work.calls * kProgressInterval <= kMaxSteps) return 0;
    TARVO_LOG_ERROR("[DB] Error: a directory query ran past {} steps and was stopped: {}", kMaxSteps,
                    running ? sqlite3_sql(running) : "");
    return 1;
}

std::vector<CityDirectory::Country> CityDirectory::countries() const {
    std::vector<Country> all;
    std::lock_guard lock(TarvoCity::syncObj());
    SqliteStatement query;
    if (query.prepare(*database_, "SELECT id, code, name FROM countries ORDER BY name") != SQLITE_OK) {
        TARVO_LOG_ERROR("[DB] Error: failed to list the countries with message '{}'.", database_->errorMessage());
        return all;
    }
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
    return unlessDamaged(TarvoCity::SearchCities(*database_, text));
}

Result<CityDirectory::Cities> CityDirectory::listing(std::string_view text) {
    return unlessDamaged(TarvoCity::GetCities(*database_, std::string(text)));
}

Result<CityDirectory::Cities> CityDirectory::cities(const Country& country) {
    return unlessDamaged(TarvoCity::GetAllCities(*database_, country.identifier, country.name));
}

Result<std::shared_ptr<TarvoCity>> CityDirectory::nearest(double latitude, double longitude, double km) {
    return unlessDamaged(TarvoCity::GetCityForLat(latitude, longitude, database_.get(), km, false));
}

std::string CityDirectory::stateName(SqliteDatabase& directory, const TarvoCity& city) {
    std::lock_guard lock(TarvoCity::syncObj());
    // A city record keeps any country name beginning with "United States" as exactly that,
    // while the directory may spell it out ("United States of America").
    SqliteStatement countries;
    if (countries.prepare(directory,
                          "SELECT id FROM countries WHERE name = ?1 OR (?1 = 'United States' AND name LIKE "
                          "'United States%')") != SQLITE_OK) {
        return {};
    }
    countries.bindText(1, city.countryName().value_or(""));
    while (countries.step() == SQLITE_ROW) {
        SqliteStatement state;
        const auto sql = fmt::format(
            "SELECT state_name FROM cities{} WHERE city_name = ? AND latitude = ? AND longitude = ? LIMIT 1",
            countries.columnInt64(0));
        if (state.prepare(directory, sql) != SQLITE_OK) continue;
        state.bindText(1, city.cityName().value_or(""));
        state.bindDouble(2, city.latitude());
        state.bindDouble(3, city.longitude());
        if (state.step() == SQLITE_ROW) return state.columnText(0);
    }
    return {};
}

std::vector<std::shared_ptr<TarvoCity>> CityDirectory::rankedSearch(std::string_view text) const {
    return TarvoCity::SearchCities(*database_, text);
}

std::optional<int64_t> CityDirectory::population(const TarvoCity& city) const {
    std::lock_guard lock(TarvoCity::syncObj());
    SqliteStatement query;
    // An older directory has no population column: the statement does not prepare, and the
    // answer is "not known".
    if (query.prepare(*database_, "SELECT population FROM cities WHERE name = ? AND lat = ? AND lon = ? LIMIT 1") !=
        SQLITE_OK) {
        return std::nullopt;
    }
    query.bindText(1, city.cityName().value_or(""));
    query.bindDouble(2, city.latitude());
    query.bindDouble(3, city.longitude());
    if (query.step() != SQLITE_ROW || query.columnIsNull(0)) return std::nullopt;
    return query.columnInt64(0);
}

}  // namespace tarvo
