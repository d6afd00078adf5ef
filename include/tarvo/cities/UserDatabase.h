#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/platform/SqliteDatabase.h"

namespace tarvo {

class TarvoCity;

/// The user database of a host: saved cities, the reverse-geocode cache and the last used
/// city, in one SQLite file in the data folder.
///
/// Opening creates the file and the base `savedcities` table when they are missing, then
/// brings the layout up to date by running TarvoCity's three schema upgrades in order, each
/// exactly once; the layout reached is recorded in `PRAGMA user_version` (a file that never
/// recorded one has its layout recognised from its tables). A file that is not an SQLite
/// database, or that is read-only, is refused with a clear error and left exactly as it was.
///
/// The saved-cities operations leave the other rows' selection marks as they were after a
/// city is saved; selectCity() is the host's way to keep exactly one city selected.
class UserDatabase {
public:
    /// The layout the upgrades lead to.
    static constexpr int64_t kSchemaVersion = 3;
    /// File name of the user database in the data folder.
    static constexpr std::string_view kFileName = "user.sqlite";

    /// `kFileName` in UserDefaults::dataDirectory().
    static std::filesystem::path defaultPath();
    /// Opens (creating when missing) and upgrades the database at `path`. Nothing, with
    /// `error` saying why, when the file cannot be used.
    static std::shared_ptr<UserDatabase> open(const std::filesystem::path& path, std::string& error);
    /// open(defaultPath(), error).
    static std::shared_ptr<UserDatabase> openDefault(std::string& error);

    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

    /// The connection, for TarvoCity's operations.
    SqliteDatabase& database() { return database_; }
    const std::filesystem::path& path() const { return database_.path(); }
    /// The layout recorded in the file.
    int64_t schemaVersion() const;

    /// Whether a saved city has this primary key.
    bool containsCity(int64_t primaryKey);
    /// Makes the city with this primary key the only selected row. False, with nothing
    /// changed, when there is no such city or the database cannot be written.
    bool selectCity(int64_t primaryKey);
    /// Stores the custom method's Fajr and Isha angles of a saved city (0: not chosen, the
    /// method's own 18 and 17). Saving a city writes no angles and editing a saved city never
    /// happens in the app, so this is how a saved city gets its own. False when there is no
    /// such city or the database cannot be written.
    bool setCustomAngles(int64_t primaryKey, double fajrAngle, double ishaAngle);
    /// The places of the reverse-geocode cache, oldest first (name, country, position and
    /// zone; a zone means GMT 50).
    std::vector<std::shared_ptr<TarvoCity>> cachedCities();

private:
    UserDatabase() = default;
    bool upgrade(std::string& error);
    /// The layout of a file that never recorded one, recognised from its tables and columns.
    int64_t recognisedVersion() const;
    bool hasTable(std::string_view table) const;
    bool hasColumn(std::string_view table, std::string_view column) const;
    bool layoutReached(int64_t version) const;

    SqliteDatabase database_;
};

}  // namespace tarvo
