#include "cities/CityStatementSlot.h"

#include <array>
#include <memory>
#include <mutex>
#include <set>

#include <sqlite3.h>

#include <fmt/format.h>

#include "platform/host/LogMacros.h"
#include "platform/storage/SqliteDatabase.h"

namespace tarvo {

namespace {

// One connection's slots. The set registers itself so that finalizeStatements and the cache
// reset reach every connection, and leaves the register when its connection closes.
struct ConnectionSlots {
    std::array<CityStatementSlot, static_cast<size_t>(CityStatementSlot::Id::count)> slots;

    // Every set alive, touched only under TarvoCity::syncObj(); it lives as long as the process.
    static std::set<ConnectionSlots*>& all() {
        static auto* sets = new std::set<ConnectionSlots*>();
        return *sets;
    }

    ConnectionSlots() { all().insert(this); }  // made under the lock, by slot()
    ~ConnectionSlots() {
        std::lock_guard lock(TarvoCity::syncObj());
        all().erase(this);
        for (CityStatementSlot& each : slots) each.empty();
    }
    ConnectionSlots(const ConnectionSlots&) = delete;
    ConnectionSlots& operator=(const ConnectionSlots&) = delete;
};

// The key under which a connection keeps its set.
constexpr char kAttachmentKey = 0;

}  // namespace

CityStatementSlot& CityStatementSlot::slot(Id id, const SqliteDatabase& database) {
    std::shared_ptr<void>& attached = database.attachment(&kAttachmentKey);
    if (!attached) attached = std::make_shared<ConnectionSlots>();
    return static_cast<ConnectionSlots*>(attached.get())->slots[static_cast<size_t>(id)];
}

void CityStatementSlot::finalizeForClosing() {
    using enum Id;
    for (ConnectionSlots* connection : ConnectionSlots::all()) {
        auto slot = [connection](Id id) -> CityStatementSlot& { return connection->slots[static_cast<size_t>(id)]; };
        for (Id id : {lastRowId, schema, insertCity, insertCachedCity, deleteCachedCity, deleteAllCachedCities,
                      cityByKey, deleteCity, updateCity, currentSelection, allSavedCities}) {
            slot(id).finalizeKeepingSlot();
        }
        // The last-used statements are left alone; the two cached-city
        // delete slots are the only ones emptied, so they alone prepare again on next use.
        slot(deleteCachedCity).empty();
        slot(deleteAllCachedCities).empty();
    }
}

void CityStatementSlot::emptyAll() {
    for (ConnectionSlots* connection : ConnectionSlots::all()) {
        for (CityStatementSlot& each : connection->slots) each.empty();
    }
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
