#include "tarvo/cities/UserDatabase.h"

#include <algorithm>
#include <array>
#include <mutex>

#include <fmt/format.h>
#include <sqlite3.h>

#include "platform/host/LogMacros.h"
#include "platform/storage/SqliteTransaction.h"
#include "tarvo/cities/TarvoCity.h"
#include "cities/SavedCitySchema.h"
#include "cities/UserDatabaseImpl.h"
#include "platform/storage/SqliteStatement.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

// The saved-cities table as it was before the first upgrade.
constexpr const char* kCreateBaseTable =
    "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY, current_city INTEGER, country_name VARCHAR(100), "
    "city_name VARCHAR(200), latitude DOUBLE, longitude DOUBLE, gmt DOUBLE, uses_dst INTEGER, prayermethod INTEGER, "
    "asrmethod INTEGER, custom_fajrangle DOUBLE, custom_ishaangle DOUBLE)";

static_assert(UserDatabase::kSchemaVersion == kSavedCityLayouts, "every layout has its upgrade");

}  // namespace

std::filesystem::path UserDatabase::defaultPath() { return UserDefaults::dataDirectory() / kFileName; }

UserDatabase::UserDatabase() : impl_(std::make_unique<Impl>()) {}

UserDatabase::~UserDatabase() = default;

UserDatabase::Impl& internals(const UserDatabase& database) { return *database.impl_; }

const std::filesystem::path& UserDatabase::path() const { return impl_->database.path(); }

Result<std::shared_ptr<UserDatabase>> UserDatabase::open(const std::filesystem::path& path) {
    std::shared_ptr<UserDatabase> userDatabase(new UserDatabase());
    // A link in the file's place could send the cities to another program's file.
    if (!userDatabase->impl_->database.open(path, SqliteDatabase::kDefaultFlags | SqliteDatabase::kOpenNoFollow)) {
        Error error{userDatabase->impl_->database.errorMessage(), sqlitePrimaryCode(userDatabase->impl_->database.errorCode())};
        TARVO_LOG_INFO("User database not opened: {}", error.message);
        return error;
    }
    if (userDatabase->isForeign()) {
        Error error{path.string() + ": another program's database (the file is left untouched)"};
        TARVO_LOG_INFO("User database not opened: {}", error.message);
        return error;
    }
    if (auto upgraded = userDatabase->upgrade(); !upgraded) {
        TARVO_LOG_INFO("User database not upgraded: {}", upgraded.error().message);
        return upgraded.error();
    }
    return userDatabase;
}

Result<std::shared_ptr<UserDatabase>> UserDatabase::openDefault() { return open(defaultPath()); }

int64_t UserDatabase::schemaVersion() const {
    SqliteStatement pragma;
    if (pragma.prepare(impl_->database, "PRAGMA user_version") != SQLITE_OK || pragma.step() != SQLITE_ROW) return 0;
    return pragma.columnInt64(0);
}

bool UserDatabase::hasTable(std::string_view table) const {
    SqliteStatement query;
    if (query.prepare(impl_->database, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?") != SQLITE_OK) {
        return false;
    }
    query.bindText(1, table);
    return query.step() == SQLITE_ROW;
}

bool UserDatabase::hasColumn(std::string_view table, std::string_view column) const {
    SqliteStatement query;
    if (query.prepare(impl_->database, "SELECT 1 FROM pragma_table_info(?) WHERE name = ?") != SQLITE_OK) return false;
    query.bindText(1, table);
    query.bindText(2, column);
    return query.step() == SQLITE_ROW;
}

bool UserDatabase::layoutReached(int64_t version) const {
    if (!hasTable("savedcities")) return false;
    if (version >= 1 && !(hasColumn("savedcities", "timezone") && hasColumn("savedcities", "state_name") &&
                          hasColumn("savedcities", "lastmoddate") && hasColumn("savedcities", "lastsyncdate"))) {
        return false;
    }
    if (version >= 2 && !(hasTable("cachedcities") && hasTable("lastused"))) return false;
    if (version >= 3 && !hasColumn("savedcities", "adjusthighlat")) return false;
    if (version >= 4 && !(hasColumn("savedcities", "polar_resolution") && hasColumn("savedcities", "maghrib_minutes") &&
                          hasColumn("savedcities", "isha_minutes"))) {
        return false;
    }
    return version < 5 ||
           (hasColumn("savedcities", "fajr_angle_override") && hasColumn("savedcities", "isha_angle_override"));
}

bool UserDatabase::isForeign() const {
    SqliteStatement objects;
    // Unreadable: not known to be foreign; the upgrade then reports why.
    if (objects.prepare(impl_->database, "SELECT count(*) FROM sqlite_master") != SQLITE_OK || objects.step() != SQLITE_ROW) {
        return false;
    }
    return objects.columnInt64(0) > 0 && !hasTable("savedcities");
}

int64_t UserDatabase::recognisedVersion() const {
    int64_t version = 0;
    while (version < kSchemaVersion && layoutReached(version + 1)) ++version;
    return version;
}

Result<void> UserDatabase::upgrade() {
    std::lock_guard lock(impl_->statements.lock);
    // A file made elsewhere may hold a later layout without having recorded it: recognise
    // it rather than redo upgrades whose UPDATE steps would reset the users' values. A
    // recorded layout is believed only when its tables are there (a later app's layout
    // keeps ours): a damaged number, negative or too high, is worked out from the tables.
    auto currentVersion = [this] {
        const int64_t recorded = schemaVersion();
        if (recorded > 0 && layoutReached(std::min(recorded, kSchemaVersion))) return recorded;
        return recognisedVersion();
    };
    // An up-to-date file is not written at all.
    if (currentVersion() >= kSchemaVersion) return {};

    auto fail = [this](const std::string& what) {
        // The failing step's reason is in its own log line when a later statement of the
        // step has already cleared the connection's error.
        const int code = impl_->database.errorCode();
        Error error{code != SQLITE_OK
                        ? fmt::format("{}: {}: {}", impl_->database.path().string(), what, impl_->database.errorMessage())
                        : fmt::format("{}: {}", impl_->database.path().string(), what),
                    sqlitePrimaryCode(code)};
        return error;
    };
    // One write transaction for all of it: another process opening the same file waits,
    // then finds the work done; a failure leaves the file as it was (the guard rolls back).
    SqliteTransaction transaction(impl_->database, SqliteTransaction::Mode::immediate);
    if (!transaction.began()) return fail("cannot lock the database for upgrading");
    int64_t version = currentVersion();
    if (!hasTable("savedcities")) {
        if (impl_->database.exec(kCreateBaseTable) != SQLITE_OK) return fail("cannot create the saved-cities table");
        version = 0;
    }
    for (; version < kSchemaVersion; ++version) {
        upgradeSavedCityLayout(impl_->database, version + 1);
        if (!layoutReached(version + 1)) return fail(fmt::format("upgrade to layout {} failed", version + 1));
        if (impl_->database.exec(fmt::format("PRAGMA user_version = {}", version + 1)) != SQLITE_OK) {
            return fail("cannot record the layout");
        }
    }
    if (transaction.commit() != SQLITE_OK) return fail("cannot commit the upgrade");
    return {};
}

bool UserDatabase::containsCity(int64_t primaryKey) {
    std::lock_guard lock(impl_->statements.lock);
    SqliteStatement query;
    if (query.prepare(impl_->database, "SELECT 1 FROM savedcities WHERE pk = ?") != SQLITE_OK) return false;
    query.bindInt64(1, primaryKey);
    return query.step() == SQLITE_ROW;
}

Error UserDatabase::fail(const std::string& what) {
    const int code = impl_->database.errorCode();
    const bool hasReason = code != SQLITE_OK && code != SQLITE_DONE;
    Error error{hasReason ? fmt::format("{}: {}: {}", impl_->database.path().string(), what, impl_->database.errorMessage())
                          : fmt::format("{}: {}", impl_->database.path().string(), what),
                hasReason ? sqlitePrimaryCode(code) : 0};
    TARVO_LOG_ERROR("[DB] Error: {}", error.message);
    return error;
}

template <typename Change>
Result<void> UserDatabase::inTransaction(const std::string& what, Change&& change) {
    std::lock_guard lock(impl_->statements.lock);
    // Taking the write lock first: a locked file fails here, before anything is changed.
    SqliteTransaction transaction(impl_->database, SqliteTransaction::Mode::immediate);
    if (!transaction.began()) return fail("cannot " + what);
    Result<void> changed = change();
    if (changed && transaction.commit() == SQLITE_OK) return {};
    if (changed) changed = fail("cannot " + what);
    return changed;  // rolled back by the guard
}

Result<std::vector<std::shared_ptr<TarvoCity>>> UserDatabase::savedCities() {
    std::lock_guard lock(impl_->statements.lock);
    // The count and the list read one snapshot: a list cut short by a failing read (the
    // store answers what it got so far) is told from a short table by its length.
    SqliteTransaction snapshot(impl_->database);
    SqliteStatement count;
    if (!snapshot.began() || count.prepare(impl_->database, "SELECT count(*) FROM savedcities") != SQLITE_OK ||
        count.step() != SQLITE_ROW) {
        return fail("cannot read the saved cities");
    }
    const int64_t rows = count.columnInt64(0);
    count.finalize();
    auto cities = listSavedCities();
    snapshot.commit();
    if (static_cast<int64_t>(cities.size()) != rows) {
        return fail(fmt::format("read {} of the {} saved cities", cities.size(), rows));
    }
    return cities;
}

Result<std::shared_ptr<TarvoCity>> UserDatabase::addCity(const std::shared_ptr<TarvoCity>& city) {
    if (!city) return Error{"no city to save"};
    std::shared_ptr<TarvoCity> saved;
    const auto done = inTransaction("save the city", [&]() -> Result<void> {
        const int64_t before = sqlite3_total_changes64(impl_->database.handle());
        saved = insertCity(city);
        // The store takes the key from the connection's last insert even when this one
        // failed: only a change of the row count shows that the row is there.
        if (!saved || sqlite3_total_changes64(impl_->database.handle()) == before || saved->primaryKey() <= 0) {
            return fail("cannot save the city");
        }
        if (auto stored = storeChoices(saved->primaryKey(), *city); !stored) return stored;
        return markSelected(saved->primaryKey());
    });
    if (!done) return done.error();
    saved->setIsLoadingFromDB(true);
    saved->setIsSelectedCity(true);
    saved->setIsLoadingFromDB(false);
    return saved;
}

Result<void> UserDatabase::storeChoices(int64_t primaryKey, const TarvoCity& city) {
    // A city that chose none of them keeps the row as the insert left it.
    const bool anglesChosen = city.customFajrAngle() > 0 || city.customIshaAngle() > 0;
    if (!anglesChosen && city.polarResolution() == 0 && !city.maghribMinutes() && !city.ishaMinutes() &&
        !city.fajrAngleOverride() && !city.ishaAngleOverride()) {
        return {};
    }
    auto bindOptional = [](SqliteStatement& statement, int index, const std::optional<double>& value) {
        return value ? statement.bindDouble(index, *value) : statement.bindNull(index);
    };
    SqliteStatement update;
    if (update.prepare(impl_->database,
                       "UPDATE savedcities SET custom_fajrangle = ?, custom_ishaangle = ?, polar_resolution = ?, "
                       "maghrib_minutes = ?, isha_minutes = ?, fajr_angle_override = ?, isha_angle_override = ? "
                       "WHERE pk = ?") != SQLITE_OK ||
        update.bindDouble(1, city.customFajrAngle()) != SQLITE_OK ||
        update.bindDouble(2, city.customIshaAngle()) != SQLITE_OK ||
        update.bindInt64(3, city.polarResolution()) != SQLITE_OK ||
        bindOptional(update, 4, city.maghribMinutes()) != SQLITE_OK ||
        bindOptional(update, 5, city.ishaMinutes()) != SQLITE_OK ||
        bindOptional(update, 6, city.fajrAngleOverride()) != SQLITE_OK ||
        bindOptional(update, 7, city.ishaAngleOverride()) != SQLITE_OK || update.bindInt64(8, primaryKey) != SQLITE_OK ||
        update.step() != SQLITE_DONE || impl_->database.changes() != 1) {
        return fail(fmt::format("cannot store the choices of city {}", primaryKey));
    }
    return {};
}

Result<void> UserDatabase::markSelected(int64_t primaryKey) {
    SqliteStatement update;
    if (!containsCity(primaryKey)) return fail(fmt::format("no saved city has the primary key {}", primaryKey));
    if (update.prepare(impl_->database, "UPDATE savedcities SET current_city = (pk = ?)") != SQLITE_OK ||
        update.bindInt64(1, primaryKey) != SQLITE_OK || update.step() != SQLITE_DONE) {
        return fail(fmt::format("cannot select city {}", primaryKey));
    }
    return {};
}

Result<void> UserDatabase::selectCity(int64_t primaryKey) {
    return inTransaction(fmt::format("select city {}", primaryKey), [&] { return markSelected(primaryKey); });
}

Result<void> UserDatabase::deleteCity(int64_t primaryKey) {
    return inTransaction(fmt::format("delete city {}", primaryKey), [&]() -> Result<void> {
        const int64_t before = sqlite3_total_changes64(impl_->database.handle());
        removeCity(primaryKey);
        if (sqlite3_total_changes64(impl_->database.handle()) == before) {
            return fail(fmt::format("cannot delete city {}", primaryKey));
        }
        return {};
    });
}

std::vector<std::shared_ptr<TarvoCity>> UserDatabase::cachedCities() {
    std::lock_guard lock(impl_->statements.lock);
    std::vector<std::shared_ptr<TarvoCity>> cities;
    SqliteStatement query;
    if (query.prepare(impl_->database, "SELECT name, country, lat, lon, timezone FROM cachedcities ORDER BY rowid") !=
        SQLITE_OK) {
        TARVO_LOG_ERROR("[DB] Error: cannot list the cached cities: {}", impl_->database.errorMessage());
        return cities;
    }
    while (query.step() == SQLITE_ROW) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(query.columnText(0));
        city->setCountryName(query.columnText(1));
        city->setLatitude(query.columnDouble(2));
        city->setLongitude(query.columnDouble(3));
        if (!query.columnIsNull(4)) {
            city->setTimeZone(query.columnText(4));
            city->setGMT(TarvoCity::kGMTFromTimeZone);
        }
        city->setIsLoadingFromDB(false);
        cities.push_back(std::move(city));
    }
    return cities;
}

}  // namespace tarvo
