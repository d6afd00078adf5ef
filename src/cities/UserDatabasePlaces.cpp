// The user database's reverse-geocode cache and last used city.
#include <mutex>

#include <fmt/format.h>
#include <sqlite3.h>

#include "cities/CityRows.h"
#include "cities/CityStatementSlot.h"
#include "cities/DirectoryGeometry.h"
#include "cities/NearestPlace.h"
#include "cities/UserDatabaseImpl.h"
#include "platform/host/LogMacros.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"
#include "platform/storage/SqliteTransaction.h"
#include "platform/text/SearchText.h"
#include "platform/text/Text.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

namespace {

using Slot = CityStatementSlot;
using SlotId = CityStatementSlot::Id;

constexpr const char* kCacheInsertSql =
    "INSERT INTO cachedcities (name, name_soundex, country, lat, lon, sinlat, coslat, coslng, sinlng, timezone) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* kCacheDeleteSql = "DELETE FROM cachedcities WHERE lat = ? AND lon = ?";
constexpr const char* kCacheDeleteAllSql = "DELETE FROM cachedcities";
constexpr const char* kLastUsedInsertSql =
    "INSERT INTO lastused (name, country, lat, lon, timezone) VALUES (?, ?, ?, ?, ?)";
constexpr const char* kLastUsedReadSql = "SELECT name, country, lat, lon, timezone FROM lastused LIMIT 1";
constexpr const char* kLastUsedClearSql = "DELETE FROM lastused";

}  // namespace

std::shared_ptr<TarvoCity> UserDatabase::cachedCityNear(double latitude, double longitude, double thresholdKm) {
    std::lock_guard lock(impl_->statements.lock);
    // The cache's statement is prepared for each look-up.
    NearestPlace cache(impl_->database, "cachedcities", false,
                       "Error: failed to get time zone statement with message '{}'.");
    return cache.find(latitude, longitude, thresholdKm);
}

void UserDatabase::cacheCity(const std::shared_ptr<TarvoCity>& city) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    if (!city) return;
    constexpr const char* kFailureLine = "[DB] Error: failed to insert cached city '{}'.";
    const char* function = __func__;
    // One row per place: the place's earlier rows (same position) give way to the new one,
    // together with the insert or not at all. Otherwise every fix at the same spot would add
    // another identical row. Done here rather than by a unique key so that the stored layout,
    // which older hosts upgrade by their own record, stays as it is.
    std::optional<SqliteTransaction> place;
    auto removeEarlierRows = [&](Slot& earlier) -> std::optional<int> {
        place.emplace(database, "cache_place");
        if (!place->began()) {
            TARVO_LOG_ERROR("[DB] Error: failed to insert cached city '{}'.", database.errorMessage());
            return std::nullopt;
        }
        earlier.statement().bindDouble(1, city->latitude());
        earlier.statement().bindDouble(2, city->longitude());
        return earlier.step();
    };
    auto insert = [&](Slot& slot) {
        const auto removed = Slot::run(SlotId::deleteCachedCity, statements, database, kCacheDeleteSql, "", kFailureLine,
                                       removeEarlierRows, __FILE__, function, __LINE__);
        if (!removed || !*removed) return;
        const std::string name = city->cityName().value_or("");
        // Stored so that a look-up at the very position finds the place with a zero threshold.
        const auto exact = DirectoryGeometry::at(city->latitude(), city->longitude());
        const auto position = exact.storedForSelfMatch().value_or(exact);
        SqliteStatement& row = slot.statement();
        row.bindText(1, name);
        row.bindText(2, SearchText::SoundEx(name));
        row.bindText(3, city->countryName().value_or(""));
        row.bindDouble(4, city->latitude());
        row.bindDouble(5, city->longitude());
        row.bindDouble(6, position.sinLat);
        row.bindDouble(7, position.cosLat);
        row.bindDouble(8, position.cosLon);
        row.bindDouble(9, position.sinLon);
        row.bindText(10, city->TimeZone().value_or(""));
        const int result = **removed == SQLITE_DONE ? slot.step() : **removed;
        // Reset before the savepoint ends, so no statement of it is still running then.
        slot.reset();
        if (result == SQLITE_DONE) {
            place->commit();
        } else {
            TARVO_LOG_ERROR("[DB] Error: failed to insert cached city '{}'.", database.errorMessage());
        }
        place.reset();  // rolls back unless released, still under the store's lock
    };
    (void)Slot::run(SlotId::insertCachedCity, statements, database, kCacheInsertSql, "[DB] [DB] Save New Cached City", kFailureLine,
                    insert);
}

void UserDatabase::uncacheCity(const std::shared_ptr<TarvoCity>& city) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    if (!city) return;
    // The insert's opening line: the two operations share it by design, and log readers
    // match on it.
    (void)Slot::run(SlotId::deleteCachedCity, statements, database, kCacheDeleteSql, "[DB] [DB] Save New Cached City",
                    "[DB] Error: failed to delete cached city statement with message '{}'.", [&](Slot& slot) {
                        slot.statement().bindDouble(1, city->latitude());
                        slot.statement().bindDouble(2, city->longitude());
                        if (slot.step() != SQLITE_DONE)
                            TARVO_LOG_ERROR("[DB] Error: failed to delete cached city '{}'.", database.errorMessage());
                    });
}

void UserDatabase::clearCache() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    (void)Slot::run(SlotId::deleteAllCachedCities, statements, database, kCacheDeleteAllSql, "[DB] [DB] Save New Cached City",
                    "[DB] Error: failed to delete all cached cities statement with message '{}'.", [&](Slot& slot) {
                        if (slot.step() != SQLITE_DONE)
                            TARVO_LOG_ERROR("[DB] Error: failed to delete cached city '{}'.", database.errorMessage());
                    });
}

void UserDatabase::saveLastUsed(const std::shared_ptr<TarvoCity>& city) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    if (!city) return;
    // The lock is taken before the removal (it is re-entrant), so that two threads saving at
    // once cannot both empty the table and both insert: it keeps one row, and a reader never
    // finds it empty in between.
    std::lock_guard lock(statements.lock);
    clearLastUsed();
    (void)Slot::run(SlotId::insertLastUsed, statements, database, kLastUsedInsertSql, "[DB] [DB] Save Last Used City",
                    "[DB] Error: failed SaveLastUsedCity with message '{}'.", [&](Slot& slot) {
                        city->fillMissingTexts(TarvoCity::NameOrder::cityFirst);
                        SqliteStatement& insert = slot.statement();
                        insert.bindText(1, *city->cityName());
                        insert.bindText(2, *city->countryName());
                        insert.bindDouble(3, city->latitude());
                        insert.bindDouble(4, city->longitude());
                        insert.bindText(5, *city->TimeZone());
                        if (slot.step() != SQLITE_DONE)
                            TARVO_LOG_ERROR("[DB] Error: failed to insert last used city '{}'.",
                                            database.errorMessage());
                    });
}

std::shared_ptr<TarvoCity> UserDatabase::lastUsed() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    return Slot::run(SlotId::readLastUsed, statements, database, kLastUsedReadSql, "",
                     "[DB] Error: failed GetLastUsedCity with message '{}'.",
                     [](Slot& slot) -> std::shared_ptr<TarvoCity> {
                         // Left loading on purpose: the host edits the returned city
                         // untracked until it clears the flag itself.
                         if (slot.step() != SQLITE_ROW) return nullptr;
                         return cityrows::place(slot.statement(), 0, "Unknown City", "Unknown Country");
                     })
        .valueOr(nullptr);
}

void UserDatabase::clearLastUsed() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    (void)Slot::run(SlotId::clearLastUsed, statements, database, kLastUsedClearSql, "[DB] RemoveLastUsedCity",
                    "[DB] Error: failed RemoveLastUsedCity with message '{}'.", [](Slot& slot) { slot.step(); });
}

}  // namespace tarvo
