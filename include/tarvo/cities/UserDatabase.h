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

/// The user database of a host: saved cities, the reverse-geocode cache and the last used
/// city, in one SQLite file in the data folder.
///
/// Opening creates the file and the base `savedcities` table when they are missing, then
/// brings the layout up to date by running its five layout upgrades (the steps of
/// TarvoCity::updateSchemav3_1 to _5) in order, each exactly once; the layout reached is
/// recorded in `PRAGMA user_version` (a file that never recorded one has its layout
/// recognised from its tables). A file that is not an SQLite
/// database, another program's SQLite database (tables of its own and no `savedcities`), a
/// symbolic link or a read-only file is refused with a clear error and left exactly as it was.
///
/// The database owns its connection and every statement on it, with the lock that
/// serialises their use: TarvoCity's saved-city, cache and last-used calls are answered here.
///
/// The saved-cities operations leave the other rows' selection marks as they were after a
/// city is saved; addCity() and selectCity() are the host's way to keep exactly one city
/// selected. The host operations below tell a failure from an empty answer: a failure is an
/// Error saying why, with nothing changed.
class TARVO_EXPORT UserDatabase {
public:
    /// The layout the upgrades lead to.
    static constexpr int64_t kSchemaVersion = 5;
    /// File name of the user database in the data folder.
    static constexpr std::string_view kFileName = "user.sqlite";

    /// `kFileName` in UserDefaults::dataDirectory().
    static std::filesystem::path defaultPath();
    /// Opens (creating when missing) and upgrades the database at `path`; an error saying why
    /// when the file cannot be used.
    static Result<std::shared_ptr<UserDatabase>> open(const std::filesystem::path& path);
    /// open(defaultPath()).
    static Result<std::shared_ptr<UserDatabase>> openDefault();

    ~UserDatabase();
    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

    /// The connection and its statements (src/cities/UserDatabaseImpl.h).
    struct Impl;
    /// The library's own way in: internals(database) (src/cities/UserDatabaseImpl.h).
    friend Impl& internals(const UserDatabase& database);
    const std::filesystem::path& path() const;
    /// The layout recorded in the file.
    int64_t schemaVersion() const;

    /// Whether a saved city has this primary key.
    bool containsCity(int64_t primaryKey);
    /// Every saved city in primary-key order; an error when the table could not be read
    /// (locked by another process past the busy time-out, damaged).
    Result<std::vector<std::shared_ptr<TarvoCity>>> savedCities();
    /// Saves the city and makes it the only selected row, in one transaction: the city with
    /// its primary key, or an error with nothing changed. Its own custom angles (above 0),
    /// angle overrides, polar resolution and Maghrib and Isha minutes, when it chose any, are written in the same
    /// transaction: saving a city writes none, and the app never edits a saved row.
    Result<std::shared_ptr<TarvoCity>> addCity(const std::shared_ptr<TarvoCity>& city);
    /// Makes the city with this primary key the only selected row. An error, with nothing
    /// changed, when there is no such city or the database cannot be written.
    Result<void> selectCity(int64_t primaryKey);
    /// Deletes the saved city with this primary key. An error, with nothing changed, when no
    /// row was deleted.
    Result<void> deleteCity(int64_t primaryKey);
    /// The places of the reverse-geocode cache, oldest first (name, country, position and
    /// zone; a zone means GMT 50).
    std::vector<std::shared_ptr<TarvoCity>> cachedCities();

private:
    // TarvoCity's saved-city, cache and last-used calls are answered by the statements below
    // (TarvoCity.h tells what each answers).
    friend class TarvoCity;

    std::shared_ptr<TarvoCity> currentSelection();
    int64_t lastInsertedKey();
    std::shared_ptr<TarvoCity> insertCity(const std::shared_ptr<TarvoCity>& city);
    std::shared_ptr<TarvoCity> removeCity(int64_t primaryKey);
    std::vector<std::shared_ptr<TarvoCity>> listSavedCities();
    std::shared_ptr<TarvoCity> cityWithKey(int64_t primaryKey);
    void syncCity(TarvoCity& city);
    void finalizeStatements();
    void resetStatementCache();
    /// Runs the steps of the upgrade that leads to `layout` (1 to kSchemaVersion), each
    /// attempted and logged; a failing step never stops the upgrade.
    void upgradeLayout(int64_t layout);
    std::shared_ptr<TarvoCity> cachedCityNear(double latitude, double longitude, double thresholdKm);
    void cacheCity(const std::shared_ptr<TarvoCity>& city);
    void uncacheCity(const std::shared_ptr<TarvoCity>& city);
    void clearCache();
    void saveLastUsed(const std::shared_ptr<TarvoCity>& city);
    std::shared_ptr<TarvoCity> lastUsed();
    void clearLastUsed();

    UserDatabase();
    Result<void> upgrade();
    /// The layout of a file that never recorded one, recognised from its tables and columns.
    int64_t recognisedVersion() const;
    bool hasTable(std::string_view table) const;
    bool hasColumn(std::string_view table, std::string_view column) const;
    bool layoutReached(int64_t version) const;
    /// True for a database with tables of its own and no saved-cities table.
    bool isForeign() const;
    /// Runs `change` in one write transaction, committed when it succeeds and rolled back
    /// otherwise (its error, or the transaction's own).
    template <typename Change>
    Result<void> inTransaction(const std::string& what, Change&& change);
    /// The failure of `what`, with the connection's reason when it has one; logged.
    Error fail(const std::string& what);
    /// The selection update of selectCity() and addCity(), inside their transaction.
    Result<void> markSelected(int64_t primaryKey);
    Result<void> storeChoices(int64_t primaryKey, const TarvoCity& city);

    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
