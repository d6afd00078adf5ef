// The user database's saved-cities statements and the steps of its layout upgrades.
#include <array>
#include <span>

#include <sqlite3.h>

#include "cities/CityStatementSlot.h"
#include "platform/host/LogMacros.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/cities/TarvoCity.h"
#include "cities/SavedCitySchema.h"
#include "cities/UserDatabaseImpl.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {

namespace {

using Slot = CityStatementSlot;
using SlotId = CityStatementSlot::Id;

constexpr const char* kCurrentSelectionSql =
    "SELECT current_city, country_name, city_name, latitude, longitude, gmt, uses_dst, prayermethod, asrmethod, "
    "adjusthighlat, pk, custom_fajrangle, custom_ishaangle, timezone, state_name, lastmoddate, lastsyncdate, "
    "polar_resolution, maghrib_minutes, isha_minutes, fajr_angle_override, isha_angle_override FROM savedcities "
    "WHERE current_city=1 LIMIT 1";
constexpr const char* kLastRowIdSql = "SELECT last_insert_rowid() as last_insert_rowid";
constexpr const char* kInsertSql =
    "INSERT INTO savedcities (current_city, country_name, city_name, latitude, longitude, gmt, uses_dst, "
    "prayermethod, asrmethod, adjusthighlat, timezone, state_name) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* kDeleteSql = "DELETE FROM savedcities WHERE pk = ?";
constexpr const char* kByKeySql =
    "SELECT current_city, country_name, city_name, latitude, longitude, gmt, uses_dst, prayermethod, asrmethod, "
    "adjusthighlat, custom_fajrangle, custom_ishaangle, timezone, lastmoddate, lastsyncdate, NULL, "
    "polar_resolution, maghrib_minutes, isha_minutes, fajr_angle_override, isha_angle_override FROM savedcities "
    "WHERE pk=?";
constexpr const char* kUpdateSql =
    "UPDATE savedcities SET current_city = ?, country_name = ?, city_name = ?, latitude = ?, longitude = ?, gmt = ?, "
    "uses_dst = ?, prayermethod = ?, asrmethod = ?, adjusthighlat = ?, custom_fajrangle = ?, custom_ishaangle = ?, "
    "timezone = ?, state_name = ?, lastmoddate = ?, lastsyncdate = ?, polar_resolution = ?, maghrib_minutes = ?, "
    "isha_minutes = ?, fajr_angle_override = ?, isha_angle_override = ? WHERE pk = ?";
constexpr const char* kAllSavedSql =
    "SELECT current_city, country_name, city_name, latitude, longitude, gmt, uses_dst, prayermethod, asrmethod, "
    "adjusthighlat, pk, custom_fajrangle, custom_ishaangle, timezone, state_name, lastmoddate, lastsyncdate, "
    "polar_resolution, maghrib_minutes, isha_minutes, fajr_angle_override, isha_angle_override FROM savedcities "
    "ORDER BY pk";

// One statement of a schema upgrade and the number its log lines carry.
struct SchemaStep {
    int number;
    const char* sql;
};

constexpr std::array<SchemaStep, 4> kSchemaV3_1 = {{
    {1, "ALTER TABLE savedcities ADD COLUMN timezone VARCHAR(255)"},
    {2, "ALTER TABLE savedcities ADD COLUMN state_name VARCHAR(100)"},
    {3, "ALTER TABLE savedcities ADD COLUMN lastmoddate DOUBLE NOT NULL DEFAULT 0"},
    {4, "ALTER TABLE savedcities ADD COLUMN lastsyncdate DOUBLE NOT NULL DEFAULT -1"},
}};

// The index name "cacedcities_name" is what existing databases hold; renaming it here would
// leave two indexes on upgraded files. The last step reports as [3] again: its log number
// was never renumbered and log readers already know the pair.
constexpr std::array<SchemaStep, 5> kSchemaV3_2 = {{
    {1, "CREATE TABLE cachedcities (name VARCHAR(200), name_soundex VARCHAR (15), country VARCHAR(100), lat double, "
        "lon double, sinlat double, coslat double, coslng double, sinlng double, timezone VARCHAR(80))"},
    {2, "CREATE INDEX cacedcities_name ON cachedcities (name)"},
    {3, "CREATE INDEX cachedcities_soundex ON cachedcities (name_soundex)"},
    {4, "CREATE TABLE lastused (name VARCHAR(200), country VARCHAR(100), lat double, lon double, timezone "
        "VARCHAR(80))"},
    // From this layout on, every saved city takes its offset from its time-zone name.
    {3, "UPDATE savedcities SET gmt = 50"},
}};
static_assert(TarvoCity::kGMTFromTimeZone == 50.0, "the upgrade's SQL writes the GMT marker as 50");

constexpr std::array<SchemaStep, 2> kSchemaV3_3 = {{
    {1, "ALTER TABLE savedcities ADD COLUMN adjusthighlat INTEGER NOT NULL DEFAULT 0"},
    {2, "UPDATE savedcities SET adjusthighlat = 0"},
}};

// The city's own choices beyond the method: how times the sun gives none for are filled (0:
// not chosen, the preference decides) and Maghrib and Isha as minutes after sunset and after
// Maghrib (NULL: the method's rule). Added columns only: rows keep every value they had.
constexpr std::array<SchemaStep, 3> kSchemaV3_4 = {{
    {1, "ALTER TABLE savedcities ADD COLUMN polar_resolution INTEGER NOT NULL DEFAULT 0"},
    {2, "ALTER TABLE savedcities ADD COLUMN maghrib_minutes DOUBLE"},
    {3, "ALTER TABLE savedcities ADD COLUMN isha_minutes DOUBLE"},
}};

// Fajr and Isha at another sun depression over any method (NULL: the method's own angle).
// The custom angles keep their columns and apply on the custom method only, so a row keeps
// every value it had and older readers of the file see what they always saw.
constexpr std::array<SchemaStep, 2> kSchemaV3_5 = {{
    {1, "ALTER TABLE savedcities ADD COLUMN fajr_angle_override DOUBLE"},
    {2, "ALTER TABLE savedcities ADD COLUMN isha_angle_override DOUBLE"},
}};

// Method numbers outside their valid ranges are replaced on reading; which replacement
// depends on the reader. A valid method is one the engine's catalogue holds (the built-in
// 1-7 and the authorities' methods after them), so a city saved with Diyanet keeps it.
int64_t clampedMethod(int64_t method, int64_t replacement) {
    return CalculationMethod::withNumber(method) ? method : replacement;
}
int64_t clampedAsr(int64_t asr, int64_t replacement) { return asr < 1 || asr > 2 ? replacement : asr; }

// Where a reader finds the fields in its statement's row. Columns 0 to 9 are the same for
// every reader (current_city to adjusthighlat).
struct RowLayout {
    int64_t badMethodReadsAs;
    int primaryKey;  // -1: not selected
    int customFajrAngle;
    int customIshaAngle;
    int timeZone;
    const char* missingTimeZone;
    int stateName;
    int lastModDate;
    int lastSyncDate;
    int polarResolution;  // then the Maghrib and Isha minutes and the two angle overrides
};

constexpr RowLayout kSelectionRow = {0, 10, 11, 12, 13, "Europe/London", 14, 15, 16, 17};
constexpr RowLayout kListRow = {0, 10, 11, 12, 13, "", 14, 15, 16, 17};
// The primary-key statement selects no state_name, and its reader takes the columns from 13
// on one place off: the state name gets the text of lastmoddate, LastModDate gets
// lastsyncdate and LastSyncDate a column past the end, which reads as 0. Kept exactly so:
// hosts read these fields from this reader and rely on the mapping. The statement keeps that
// column empty (NULL) so the city's later choices can follow it without being read as a date.
constexpr RowLayout kByKeyRow = {1, -1, 10, 11, 12, "", 13, 14, 15, 16};

std::optional<double> optionalDouble(const SqliteStatement& row, int column) {
    if (row.columnIsNull(column)) return std::nullopt;
    return row.columnDouble(column);
}

// Binds a value that may be missing (NULL).
int bindOptional(SqliteStatement& statement, int index, const std::optional<double>& value) {
    return value ? statement.bindDouble(index, *value) : statement.bindNull(index);
}

// Sets the row's values on the city through its setters, in column order. Whether this is
// tracked depends on the city's IsLoadingFromDB.
void fillFromRow(TarvoCity& city, const SqliteStatement& row, const RowLayout& layout) {
    city.setIsSelectedCity(row.columnInt64(0) != 0);
    city.setCountryName(row.columnTextOr(1, "United Kingdom"));
    city.setCityName(row.columnTextOr(2, "London"));
    city.setLatitude(row.columnDouble(3));
    city.setLongitude(row.columnDouble(4));
    city.setGMT(row.columnDouble(5));
    city.setDSTPreference(row.columnInt64(6));
    city.setPrayerMethod(clampedMethod(row.columnInt64(7), layout.badMethodReadsAs));
    city.setAsrMethod(clampedAsr(row.columnInt64(8), layout.badMethodReadsAs));
    city.setAdjustHighLatitude(row.columnInt64(9));
    if (layout.primaryKey >= 0) city.setPrimaryKey(row.columnInt64(layout.primaryKey));
    city.setCustomFajrAngle(row.columnDouble(layout.customFajrAngle));
    city.setCustomIshaAngle(row.columnDouble(layout.customIshaAngle));
    city.setTimeZone(row.columnTextOr(layout.timeZone, layout.missingTimeZone));
    city.setStateName(row.columnTextOr(layout.stateName, ""));
    city.setLastModDate(Date(row.columnDouble(layout.lastModDate)));
    city.setLastSyncDate(Date(row.columnDouble(layout.lastSyncDate)));
    city.setPolarResolution(row.columnInt64(layout.polarResolution));
    city.setMaghribMinutes(optionalDouble(row, layout.polarResolution + 1));
    city.setIshaMinutes(optionalDouble(row, layout.polarResolution + 2));
    city.setFajrAngleOverride(optionalDouble(row, layout.polarResolution + 3));
    city.setIshaAngleOverride(optionalDouble(row, layout.polarResolution + 4));
}

// A city read silently (no tracking) from a row of the current-selection or list statement.
std::shared_ptr<TarvoCity> savedCityFromRow(const SqliteStatement& row, const RowLayout& layout) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    fillFromRow(*city, row, layout);
    city->setIsLoadingFromDB(false);
    return city;
}

void runSchemaSteps(SqliteDatabase& database, std::span<const SchemaStep> steps) {
    TARVO_LOG_VERBOSE("[DB] UPDATE Schema");
    {
        // Runs under the store's lock (the upgrade of UserDatabase::open, or the wrappers below).
        Slot slot;
        for (const SchemaStep& step : steps) {
            // A statement that cannot be prepared (a column or table that is already there)
            // is not logged by itself: the empty slot then fails to step, and the step's
            // ERROR line carries the database's message about the prepare. So an upgrade run
            // a second time reports every step it could not redo, and carries on.
            if (slot.isEmpty() && !slot.prepare(database, step.sql)) slot.empty();
            const int result = slot.step();
            if (result == SQLITE_ROW || result == SQLITE_DONE) {
                TARVO_LOG_DEBUG("[DB] [{}] Schema Updated", step.number);
            } else {
                TARVO_LOG_ERROR("[DB] [{}] Schema ERROR: message '{}'.", step.number, database.errorMessage());
            }
            slot.empty();
        }
    }
    TARVO_LOG_DEBUG("[DB] Done updating.");
}

}  // namespace

std::shared_ptr<TarvoCity> UserDatabase::currentSelection() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    auto city = Slot::run(SlotId::currentSelection, statements, database, kCurrentSelectionSql, "[DB] [DB] Init With Current Selection",
                          "[DB] Error: failed to init with current selection statement with message '{}'.",
                          [](Slot& slot) {
                              const int result = slot.step();
                              if (result == SQLITE_ROW) return savedCityFromRow(slot.statement(), kSelectionRow);
                              TARVO_LOG_INFO("[DB]   Could not load default city, res: {}", result);
                              return TarvoCity::InitWithDefaults();
                          });
    return city ? std::move(city).value() : TarvoCity::InitWithDefaults();
}

int64_t UserDatabase::lastInsertedKey() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    return Slot::run(SlotId::lastRowId, statements, database, kLastRowIdSql, "[DB] [DB] Get Last Session",
                     "[DB] ERROR message '{}'.",
                     [](Slot& slot) -> int64_t {
                         return slot.step() == SQLITE_ROW ? slot.statement().columnInt64(0) : -1;
                     })
        .valueOr(-1);
}

std::shared_ptr<TarvoCity> UserDatabase::insertCity(const std::shared_ptr<TarvoCity>& city) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    if (!city) {
        TARVO_LOG_ERROR("[DB] Error: no city to save.");
        return nullptr;
    }
    std::lock_guard lock(statements.lock);
    const auto inserted =
        Slot::run(SlotId::insertCity, statements, database, kInsertSql, "[DB] [DB] Save New City",
                  "[DB] Error: failed to save new city statement with message '{}'.", [&city](Slot& slot) {
                      city->fillMissingTexts(TarvoCity::NameOrder::countryFirst);
                      SqliteStatement& insert = slot.statement();
                      // Every new city goes in as the current city.
                      insert.bindInt64(1, 1);
                      insert.bindText(2, *city->countryName());
                      insert.bindText(3, *city->cityName());
                      insert.bindDouble(4, city->latitude());
                      insert.bindDouble(5, city->longitude());
                      insert.bindDouble(6, city->GMT());
                      insert.bindInt64(7, city->DSTPreference());
                      insert.bindInt64(8, city->prayerMethod());
                      insert.bindInt64(9, city->asrMethod());
                      insert.bindInt64(10, city->adjustHighLatitude());
                      insert.bindText(11, *city->TimeZone());
                      insert.bindText(12, *city->stateName());
                      return slot.step();
                  });
    if (!inserted) return TarvoCity::InitWithDefaults();
    if (sqlitePrimaryCode(*inserted) == SQLITE_ERROR) return city;

    city->setPrimaryKey(lastInsertedKey());
    // Re-marks the selection on every saved city. dbSync writes nothing for them (every city
    // counts as automatic), so the other rows keep their current_city marks: the host keeps
    // the selection unique itself.
    for (const auto& saved : listSavedCities()) {
        saved->setIsSelectedCity(saved->primaryKey() == city->primaryKey());
        syncCity(*saved);
    }
    return city;
}

std::shared_ptr<TarvoCity> UserDatabase::removeCity(int64_t primaryKey) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    // Whether or not the row went, the host falls back to this city when the deleted one
    // was the selection.
    (void)Slot::run(SlotId::deleteCity, statements, database, kDeleteSql, "[DB] [DB] Delete City",
                    "[DB] Error: failed to delete city statement with message '{}'.", [primaryKey](Slot& slot) {
                        slot.statement().bindInt64(1, primaryKey);
                        slot.step();
                    });
    return TarvoCity::InitWithDefaults();
}

std::vector<std::shared_ptr<TarvoCity>> UserDatabase::listSavedCities() {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    using Cities = std::vector<std::shared_ptr<TarvoCity>>;
    return Slot::run(SlotId::allSavedCities, statements, database, kAllSavedSql, "[DB] Get Saved Cities",
                     "[DB] Error: failed to get saved cities with message '{}'.",
                     [](Slot& slot) {
                         Cities cities;
                         while (slot.step() == SQLITE_ROW) {
                             cities.push_back(savedCityFromRow(slot.statement(), kListRow));
                         }
                         return cities;
                     })
        .valueOr(Cities{});
}

void UserDatabase::finalizeStatements() {
    CityStatements& statements = impl_->statements;
    std::lock_guard lock(statements.lock);
    statements.finalizeForClosing();
}

void UserDatabase::resetStatementCache() {
    CityStatements& statements = impl_->statements;
    std::lock_guard lock(statements.lock);
    statements.emptyAll();
}

std::shared_ptr<TarvoCity> UserDatabase::cityWithKey(int64_t primaryKey) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    auto city = Slot::run(SlotId::cityByKey, statements, database, kByKeySql, "[DB] [DB] Init With prim ID",
                          "[DB] Error: failed to init with prim key statement with message '{}'.",
                          [primaryKey](Slot& slot) -> std::shared_ptr<TarvoCity> {
                              auto found = std::make_shared<TarvoCity>();
                              found->setPrimaryKey(primaryKey);
                              slot.statement().bindInt64(1, primaryKey);
                              if (slot.step() != SQLITE_ROW) return nullptr;
                              // This reader goes through the tracked setters: it logs DIRTY lines and mirrors the
                              // calculation preferences like an edit would, and clears the dirty mark at the end.
                              // Unlike the other readers, a bad method reads as the first valid one.
                              fillFromRow(*found, slot.statement(), kByKeyRow);
                              found->markClean();
                              return found;
                          });
    return city && *city ? *city : TarvoCity::InitWithDefaults();
}

void UserDatabase::syncCity(TarvoCity& city) {
    SqliteDatabase& database = impl_->database;
    CityStatements& statements = impl_->statements;
    // Reverse-geocoded automatic cities live elsewhere, never in this table.
    if (city.IsReverseGeocoded() && city.IsAutomaticGPSLocation()) return;
    std::lock_guard lock(statements.lock);
    TARVO_LOG_DEBUG("[DB] [DB] DB Sync");
    // Every city counts as automatic, so this write never happens in practice: saved rows
    // are only changed by inserting and deleting. The update stays defined for a city that
    // is not automatic.
    if (!city.isDirty() || city.IsAutomaticGPSLocation()) return;
    (void)Slot::run(SlotId::updateCity, statements, database, kUpdateSql, "",
                    "[DB] Error: failed to db sync statement with message '{}'.", [&city](Slot& slot) {
                        city.fillMissingTexts(TarvoCity::NameOrder::countryFirst);
                        city.setPrayerMethod(clampedMethod(city.prayerMethod(), 0));
                        city.setAsrMethod(clampedAsr(city.asrMethod(), 0));
                        SqliteStatement& update = slot.statement();
                        update.bindInt64(1, city.isSelectedCity() ? 1 : 0);
                        update.bindText(2, *city.countryName());
                        update.bindText(3, *city.cityName());
                        update.bindDouble(4, city.latitude());
                        update.bindDouble(5, city.longitude());
                        update.bindDouble(6, city.GMT());
                        update.bindInt64(7, city.DSTPreference());
                        update.bindInt64(8, city.prayerMethod());
                        update.bindInt64(9, city.asrMethod());
                        update.bindInt64(10, city.adjustHighLatitude());
                        update.bindDouble(11, city.customFajrAngle());
                        update.bindDouble(12, city.customIshaAngle());
                        update.bindText(13, *city.TimeZone());
                        update.bindText(14, *city.stateName());
                        update.bindDouble(15, city.LastModDate() ? city.LastModDate()->timeIntervalSince1970() : 0.0);
                        update.bindDouble(16, city.LastSyncDate() ? city.LastSyncDate()->timeIntervalSince1970() : 0.0);
                        update.bindInt64(17, city.polarResolution());
                        bindOptional(update, 18, city.maghribMinutes());
                        bindOptional(update, 19, city.ishaMinutes());
                        bindOptional(update, 20, city.fajrAngleOverride());
                        bindOptional(update, 21, city.ishaAngleOverride());
                        update.bindInt64(22, city.primaryKey());
                        slot.step();
                    });
}

void upgradeSavedCityLayout(SqliteDatabase& database, int64_t layout) {
    switch (layout) {
        case 1: runSchemaSteps(database, kSchemaV3_1); break;
        case 2: runSchemaSteps(database, kSchemaV3_2); break;
        case 3: runSchemaSteps(database, kSchemaV3_3); break;
        case 4: runSchemaSteps(database, kSchemaV3_4); break;
        case 5: runSchemaSteps(database, kSchemaV3_5); break;
        default: break;
    }
}

void UserDatabase::upgradeLayout(int64_t layout) {
    std::lock_guard lock(impl_->statements.lock);
    upgradeSavedCityLayout(impl_->database, layout);
}

}  // namespace tarvo
