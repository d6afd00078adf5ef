#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tarvo/platform/SqliteStatement.h"

namespace tarvo {

class SqliteDatabase;

/// A class-wide cache slot holding one prepared statement of the city store.
///
/// The slots are process-wide and keyed by statement, not by database handle: whichever
/// handle first prepares a statement, later calls reuse it. A slot may also hold a statement
/// that TarvoCity::finalizeStatements finalised; it then counts as taken (nothing is prepared
/// into it again) and stepping it fails with a logged error instead of touching freed memory.
///
/// Slots are only touched while TarvoCity::syncObj() is held.
class CityStatementSlot {
public:
    /// The slots, one per cached statement of the saved-cities store, the schema upgrades and
    /// the city directory.
    enum class Id : size_t {
        lastRowId,
        schema,
        insertCity,
        insertCachedCity,
        deleteCachedCity,
        deleteAllCachedCities,
        cityByKey,
        deleteCity,
        updateCity,
        currentSelection,
        allSavedCities,
        nearestCity,
        insertLastUsed,
        readLastUsed,
        clearLastUsed,
        searchCities,
        count
    };

    static CityStatementSlot& slot(Id id);

    /// Finalises the statements of the slots that TarvoCity::finalizeStatements names. Only the
    /// two cached-city delete slots are emptied; the others keep their finalised statements.
    static void finalizeForClosing();
    /// Finalises and empties every slot.
    static void emptyAll();

    /// Nothing prepared here (or the slot was emptied).
    bool isEmpty() const { return !statement_.isPrepared() && !finalised_; }
    /// Prepares `sql` into the slot; SQLite's result code (the statement stays empty on failure).
    int prepare(const SqliteDatabase& database, std::string_view sql);
    /// Binding and column reading; an empty or finalised slot answers SQLITE_MISUSE / 0 / "".
    SqliteStatement& statement() { return statement_; }
    /// Steps the statement. A finalised slot logs an error and answers SQLITE_MISUSE.
    int step();
    int reset() { return statement_.reset(); }
    /// Finalises the statement but keeps the slot taken.
    void finalizeKeepingSlot();
    /// Finalises the statement and empties the slot.
    void empty();

private:
    SqliteStatement statement_;
    bool finalised_ = false;
    std::string sql_;
};

}  // namespace tarvo
