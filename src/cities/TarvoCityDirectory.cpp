// TarvoCity's directory operations: country lists, name search and nearest city in the
// read-only city directory, and the reverse-geocode cache and last used city of the user
// database.
#include <mutex>

#include <fmt/format.h>
#include <sqlite3.h>

#include "cities/CityStatementSlot.h"
#include "cities/DirectoryGeometry.h"
#include "platform/host/LogMacros.h"
#include "platform/text/SearchText.h"
#include "platform/storage/SqliteTransaction.h"
#include "platform/text/Text.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {

namespace {

using Slot = CityStatementSlot;
using SlotId = CityStatementSlot::Id;

constexpr const char* kCountryListSql =
    "SELECT city_name, state_name, latitude, longitude, gmt, timezone FROM cities{} ORDER BY city_name";
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
constexpr const char* kNearestSql =
    "select {}, name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng from {} WHERE GEO_DIST_SURR >= {} "
    "order by GEO_DIST_SURR DESC LIMIT 1";
// The nearest statement over the directory's places inside a box (the `cityboxes` R*Tree,
// two longitude ranges). The full scan keeps the first of the best-scored rows in row order;
// the tie-break on the row says so explicitly, so both answer the same place.
constexpr const char* kNearestInBoxSql =
    "select {}, name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng from cities WHERE rowid IN "
    "(SELECT id FROM cityboxes WHERE minlat <= ?2 AND maxlat >= ?1 AND minlon <= ?4 AND maxlon >= ?3 UNION ALL "
    "SELECT id FROM cityboxes WHERE minlat <= ?2 AND maxlat >= ?1 AND minlon <= ?6 AND maxlon >= ?5) "
    "AND GEO_DIST_SURR >= {} order by GEO_DIST_SURR DESC, rowid LIMIT 1";
constexpr const char* kCacheInsertSql =
    "INSERT INTO cachedcities (name, name_soundex, country, lat, lon, sinlat, coslat, coslng, sinlng, timezone) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* kCacheDeleteSql = "DELETE FROM cachedcities WHERE lat = ? AND lon = ?";
constexpr const char* kCacheDeleteAllSql = "DELETE FROM cachedcities";
constexpr const char* kLastUsedInsertSql =
    "INSERT INTO lastused (name, country, lat, lon, timezone) VALUES (?, ?, ?, ?, ?)";
constexpr const char* kLastUsedReadSql = "SELECT name, country, lat, lon, timezone FROM lastused LIMIT 1";
constexpr const char* kLastUsedClearSql = "DELETE FROM lastused";

// The zone column of a directory or cache row: a place with a zone takes its offset from it
// (the GMT marker); one without keeps GMT 0 and gets the empty zone.
void setZoneFromRow(TarvoCity& city, const SqliteStatement& row, int column) {
    if (row.columnIsNull(column)) {
        city.setTimeZone("");
        return;
    }
    city.setTimeZone(row.columnText(column));
    city.setGMT(TarvoCity::kGMTFromTimeZone);
}

// Name, country, position and zone from columns first to first + 4.
std::shared_ptr<TarvoCity> placeFromRow(const SqliteStatement& row, int first, const char* missingName,
                                        const char* missingCountry) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(row.columnTextOr(first, missingName));
    city->setCountryName(row.columnTextOr(first + 1, missingCountry));
    city->setLatitude(row.columnDouble(first + 2));
    city->setLongitude(row.columnDouble(first + 3));
    setZoneFromRow(*city, row, first + 4);
    return city;
}

}  // namespace

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::GetAllCities(SqliteDatabase& directory, int64_t countryID,
                                                                const std::string& countryName) {
    using Cities = std::vector<std::shared_ptr<TarvoCity>>;
    return Slot::runFresh(directory, fmt::format(kCountryListSql, countryID), "[DB] [DB] Get All Cities",
                          "Error: failed to get cities statement with message '{}'.",
                          [&](Slot& slot) {
                              SqliteStatement& query = slot.statement();
                              // The statement has no parameter, so SQLite refuses this bind and
                              // nothing changes. Callers that pass the identifier rely on this
                              // bind being harmless, so it stays.
                              query.bindInt64(1, countryID);
                              Cities cities;
                              while (slot.step() == SQLITE_ROW) {
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
                          })
        .valueOr(Cities{});
}

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::GetCities(SqliteDatabase& directory,
                                                             const std::optional<std::string>& search) {
    std::lock_guard lock(syncObj());
    TARVO_LOG_DEBUG("[DB] [DB] Get Cities");
    std::vector<std::shared_ptr<TarvoCity>> cities;
    if (!search || SearchText::trim(*search).empty()) return cities;

    // The whole text is the term, blanks included: trimming only decides whether there is
    // anything to search for.
    const std::string pattern = "%" + SearchText::escapeForSearch(SearchText::lowercased(*search)) + "%";
    // A statement that cannot be prepared leaves the list empty.
    (void)Slot::runFresh(directory, kSearchSql, "",
                         "Error: failed to get cities for country statement with message '{}'.", [&](Slot& slot) {
                             slot.statement().bindText(1, pattern);
                             while (slot.step() == SQLITE_ROW) {
                                 auto city = placeFromRow(slot.statement(), 0, "Unknown", "");
                                 city->setIsLoadingFromDB(false);
                                 cities.push_back(std::move(city));
                             }
                         });
    return cities;
}

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::SearchCities(SqliteDatabase& directory, std::string_view text) {
    std::vector<std::shared_ptr<TarvoCity>> cities;
    const icu::UnicodeString key = text::toUnicode(text::folded(text::trimmed(text)));
    const int32_t length = key.countChar32();
    // No name is longer than the longest term the listing takes.
    if (length == 0 || length > static_cast<int32_t>(SearchText::kMaxTermLength)) return cities;
    const std::string term = text::toUtf8(key);
    const bool contains = length >= kShortestContainedText;

    (void)Slot::runFresh(
        directory, fmt::format(kRankedSearchSql, contains ? kRankedSearchContainsSql : ""), "[DB] Search Cities",
        "Error: failed to search the city names with message '{}'.", [&](Slot& slot) {
            SqliteStatement& query = slot.statement();
            query.bindText(1, term);
            query.bindText(2, term + "\U0010FFFF");
            // One quoted phrase: the trigram index then matches the text as a substring, and nothing
            // in it is read as query syntax.
            std::string phrase = "\"";
            for (const char c : term) phrase += c == '"' ? std::string("\"\"") : std::string(1, c);
            if (contains) query.bindText(3, phrase + "\"");
            query.bindInt64(4, static_cast<int64_t>(kMaxSearchResults));
            int result = SQLITE_ROW;
            while ((result = slot.step()) == SQLITE_ROW) {
                auto city = placeFromRow(query, 0, "Unknown", "");
                city->setIsLoadingFromDB(false);
                cities.push_back(std::move(city));
            }
            if (result != SQLITE_DONE)
                TARVO_LOG_ERROR("Error: failed to search the city names with message '{}'.", directory.errorMessage());
        });
    return cities;
}

std::shared_ptr<TarvoCity> TarvoCity::GetCityForLat(double latitude, double longitude, SqliteDatabase* database,
                                                    double thresholdKm, bool checkCache) {
    if (!database) return nullptr;
    const auto position = DirectoryGeometry::at(latitude, longitude);
    const double minimumScore = DirectoryGeometry::minimumScore(thresholdKm);
    // The trace line is only written out at debug level: formatted only then, as the logging
    // macros do, so that an ordinary look-up does not pay for it.
    std::string trace = Log::isEnabled(Log::Level::debug)
                            ? fmt::format("[DB] Get Time Zone For City, {:f}, {:f}, {:f}, {:f}, {:f}", position.sinLat,
                                          position.sinLon, position.cosLat, position.cosLon, minimumScore)
                            : std::string();
    const auto nearest = [](Slot& slot) {
        std::shared_ptr<TarvoCity> city;
        if (slot.step() == SQLITE_ROW) {
            city = placeFromRow(slot.statement(), 1, "Unknown City", "");
            city->setIsLoadingFromDB(false);
        } else {
            // A plain line, not a "[DB]" one; info level, so a normal run stays quiet.
            TARVO_LOG_INFO("Did NOT find any city!");
        }
        return city;
    };
    // Both statements carry the position's numbers, so each is prepared afresh (runFresh).
    // The directory's places are looked at inside a box around the position only, when the
    // directory has the box index and the box helps. An older file has no index: its
    // statement does not prepare, silently, and the plain scan below answers instead.
    const auto box = checkCache ? std::nullopt : DirectoryGeometry::boxAround(latitude, longitude, thresholdKm);
    if (box) {
        const auto inBox = Slot::runFresh(
            *database, fmt::format(kNearestInBoxSql, position.scoreExpression(), minimumScore), trace, "",
            [&](Slot& slot) {
                SqliteStatement& query = slot.statement();
                query.bindDouble(1, box->minLat);
                query.bindDouble(2, box->maxLat);
                query.bindDouble(3, box->minLon1);
                query.bindDouble(4, box->maxLon1);
                query.bindDouble(5, box->minLon2);
                query.bindDouble(6, box->maxLon2);
                return nearest(slot);
            });
        if (inBox) return *inBox;
        trace.clear();  // already written
    }
    const char* table = checkCache ? "cachedcities" : "cities";
    const auto scanned =
        Slot::runFresh(*database, fmt::format(kNearestSql, position.scoreExpression(), table, minimumScore), trace,
                       "Error: failed to get time zone statement with message '{}'.", nearest);
    return scanned ? *scanned : nullptr;
}

void TarvoCity::saveCityInReverseGeocodeCache(SqliteDatabase& database, const std::shared_ptr<TarvoCity>& city) {
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
        const auto removed = Slot::run(SlotId::deleteCachedCity, database, kCacheDeleteSql, "", kFailureLine,
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
    (void)Slot::run(SlotId::insertCachedCity, database, kCacheInsertSql, "[DB] [DB] Save New Cached City", kFailureLine,
                    insert);
}

void TarvoCity::RemoveFromReverseGeocodeCache(SqliteDatabase& database, const std::shared_ptr<TarvoCity>& city) {
    if (!city) return;
    // The insert's opening line: the two operations share it by design, and log readers
    // match on it.
    (void)Slot::run(SlotId::deleteCachedCity, database, kCacheDeleteSql, "[DB] [DB] Save New Cached City",
                    "[DB] Error: failed to delete cached city statement with message '{}'.", [&](Slot& slot) {
                        slot.statement().bindDouble(1, city->latitude());
                        slot.statement().bindDouble(2, city->longitude());
                        if (slot.step() != SQLITE_DONE)
                            TARVO_LOG_ERROR("[DB] Error: failed to delete cached city '{}'.", database.errorMessage());
                    });
}

void TarvoCity::DeleteAllReverseGeocodeCache(SqliteDatabase& database) {
    (void)Slot::run(SlotId::deleteAllCachedCities, database, kCacheDeleteAllSql, "[DB] [DB] Save New Cached City",
                    "[DB] Error: failed to delete all cached cities statement with message '{}'.", [&](Slot& slot) {
                        if (slot.step() != SQLITE_DONE)
                            TARVO_LOG_ERROR("[DB] Error: failed to delete cached city '{}'.", database.errorMessage());
                    });
}

void TarvoCity::SaveLastUsedCity(SqliteDatabase& database, const std::shared_ptr<TarvoCity>& city) {
    if (!city) return;
    // The lock is taken before the removal (it is re-entrant), so that two threads saving at
    // once cannot both empty the table and both insert: it keeps one row, and a reader never
    // finds it empty in between.
    std::lock_guard lock(syncObj());
    RemoveLastUsedCity(database);
    (void)Slot::run(SlotId::insertLastUsed, database, kLastUsedInsertSql, "[DB] [DB] Save Last Used City",
                    "[DB] Error: failed SaveLastUsedCity with message '{}'.", [&](Slot& slot) {
                        city->fillMissingTexts(NameOrder::cityFirst);
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

std::shared_ptr<TarvoCity> TarvoCity::GetLastUsedCity(SqliteDatabase& database) {
    return Slot::run(SlotId::readLastUsed, database, kLastUsedReadSql, "",
                     "[DB] Error: failed GetLastUsedCity with message '{}'.",
                     [](Slot& slot) -> std::shared_ptr<TarvoCity> {
                         // Left loading on purpose: the host edits the returned city
                         // untracked until it clears the flag itself.
                         if (slot.step() != SQLITE_ROW) return nullptr;
                         return placeFromRow(slot.statement(), 0, "Unknown City", "Unknown Country");
                     })
        .valueOr(nullptr);
}

void TarvoCity::RemoveLastUsedCity(SqliteDatabase& database) {
    (void)Slot::run(SlotId::clearLastUsed, database, kLastUsedClearSql, "[DB] RemoveLastUsedCity",
                    "[DB] Error: failed RemoveLastUsedCity with message '{}'.", [](Slot& slot) { slot.step(); });
}

}  // namespace tarvo
