#include "cities/CityStatementSlot.h"

#include <mutex>

#include <sqlite3.h>

#include <fmt/format.h>

#include "platform/host/LogMacros.h"
#include "platform/storage/SqliteDatabase.h"

namespace tarvo {

std::recursive_mutex& CityStatementSlot::lockOf(CityStatements& statements) { return statements.lock; }

CityStatementSlot& CityStatementSlot::slotOf(CityStatements& statements, Id id) { return statements.slot(id); }

void CityStatements::finalizeForClosing() {
    using enum CityStatementSlot::Id;
    for (auto id : {lastRowId, schema, insertCity, insertCachedCity, deleteCachedCity, deleteAllCachedCities, cityByKey,
                    deleteCity, updateCity, currentSelection, allSavedCities}) {
        slot(id).finalizeKeepingSlot();
    }
    // The last-used statements are left alone; the two cached-city delete slots are the only
    // ones emptied, so they alone prepare again on next use.
    slot(deleteCachedCity).empty();
    slot(deleteAllCachedCities).empty();
}

void CityStatements::emptyAll() {
    for (CityStatementSlot& each : slots) each.empty();
}

Result<void> CityStatementSlot::prepare(const SqliteDatabase& database, std::string_view sql) {
    finalised_ = false;
    sql_ = sql;
    const int rc = statement_.prepare(database, sql);
    if (sqlitePrimaryCode(rc) != SQLITE_OK) return Error{database.errorMessage(), sqlitePrimaryCode(rc)};
    return {};
}

Result<void> CityStatementSlot::prepareOnce(const SqliteDatabase& database, std::string_view sql) {
    if (!isEmpty()) return {};
    return prepare(database, sql);
}

void CityStatementSlot::log(Log::Level level, const CallSite& where, const std::string& message) {
    if (!Log::isEnabled(level)) return;
    Log::write(level, where.file, where.function, where.line, message);
}

std::string CityStatementSlot::failureMessage(std::string_view failureLine, const SqliteDatabase& database) {
    return fmt::format(fmt::runtime(failureLine), database.errorMessage());
}

int CityStatementSlot::step() {
    if (finalised_) {
        TARVO_LOG_ERROR("[DB] Error: statement used after finalizeStatements: '{}'.", sql_);
        return SQLITE_MISUSE;
    }
    return statement_.step();
}

void CityStatementSlot::finalizeKeepingSlot() {
    if (!statement_.isPrepared()) return;
    statement_.finalize();
    finalised_ = true;
}

void CityStatementSlot::empty() {
    statement_.reset();
    statement_.finalize();
    finalised_ = false;
    sql_.clear();
}

}  // namespace tarvo
