#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/host/Log.h"
#include "tarvo/platform/Result.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {

class SqliteDatabase;

struct CityStatements;

/// A cache slot holding one prepared statement of the city store.
///
/// The slots belong to the user database that uses them (CityStatements, in its private
/// part): a statement is prepared once per connection and used only on it, and the slots are
/// finalised before their connection closes. A slot may also hold a statement that
/// TarvoCity::finalizeStatements finalised; it then counts as taken (nothing is prepared into
/// it again) and stepping it fails with a logged error instead of touching freed memory.
///
/// Slots are only touched while their store's lock is held.
class CityStatementSlot {
public:
    /// The slots, one per cached statement of the saved-cities store, the schema upgrades and
    /// the city cache. Statements whose text changes with every call are not cached.
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
        insertLastUsed,
        readLastUsed,
        clearLastUsed,
        count
    };

    /// Nothing prepared here (or the slot was emptied).
    bool isEmpty() const { return !statement_.isPrepared() && !finalised_; }
    /// Prepares `sql` into the slot (the statement stays empty on failure).
    Result<void> prepare(const SqliteDatabase& database, std::string_view sql);
    /// Prepares `sql` only when the slot is empty; a taken slot is reused.
    Result<void> prepareOnce(const SqliteDatabase& database, std::string_view sql);
    /// Binding and column reading; an empty or finalised slot answers SQLITE_MISUSE / 0 / "".
    SqliteStatement& statement() { return statement_; }
    /// Steps the statement. A finalised slot logs an error and answers SQLITE_MISUSE.
    int step();
    int reset() { return statement_.reset(); }
    /// Finalises the statement but keeps the slot taken.
    void finalizeKeepingSlot();
    /// Finalises the statement and empties the slot.
    void empty();

    /// The store's statement sequence, written once: under the store's lock, writes
    /// `traceLine` (debug level; none when empty), prepares the slot's statement on first
    /// use, hands the slot to `use` (bind, step, read) and resets the statement afterwards.
    /// When the statement cannot be prepared, `failureLine` is logged at error level with
    /// its "{}" replaced by the database's message (nothing when it is empty, for a
    /// statement the caller expects may fail), `use` is not called, and the Error comes
    /// back for the caller to turn into its documented answer. The log lines name
    /// the caller's file, function and line.
    template <typename Use>
    static auto run(Id id, CityStatements& statements, const SqliteDatabase& database, std::string_view sql,
                    std::string_view traceLine,
                    std::string_view failureLine, Use&& use,
                    const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
                    int line = __builtin_LINE())
        -> Result<std::invoke_result_t<Use, CityStatementSlot&>> {
        std::lock_guard lock(lockOf(statements));
        return runIn(slotOf(statements, id), false, database, sql, traceLine, failureLine, std::forward<Use>(use),
                     CallSite{file, function, line});
    }

private:
    // The caller's place in the source. The compiler built-ins stand in for
    // std::source_location, which not every compiler the library is built with has yet.
    struct CallSite {
        const char* file;
        const char* function;
        int line;
    };
    static void log(Log::Level level, const CallSite& where, const std::string& message);
    static std::recursive_mutex& lockOf(CityStatements& statements);
    static CityStatementSlot& slotOf(CityStatements& statements, Id id);

    // The sequence of run() in `s`, under the lock it holds.
    template <typename Use>
    static auto runIn(CityStatementSlot& s, bool fresh, const SqliteDatabase& database, std::string_view sql,
                      std::string_view traceLine, std::string_view failureLine, Use&& use, const CallSite& where)
        -> Result<std::invoke_result_t<Use, CityStatementSlot&>> {
        if (!traceLine.empty()) log(Log::Level::debug, where, std::string(traceLine));
        if (auto prepared = fresh ? s.prepare(database, sql) : s.prepareOnce(database, sql); !prepared) {
            if (!failureLine.empty()) log(Log::Level::error, where, failureMessage(failureLine, database));
            return prepared.error();
        }
        if constexpr (std::is_void_v<std::invoke_result_t<Use, CityStatementSlot&>>) {
            use(s);
            s.reset();
            return {};
        } else {
            auto value = use(s);
            s.reset();
            return value;
        }
    }
    static std::string failureMessage(std::string_view failureLine, const SqliteDatabase& database);

    SqliteStatement statement_;
    bool finalised_ = false;
    std::string sql_;
};

/// One user database's statements and the lock that serialises their use (re-entrant: an
/// operation may call another one of the same store).
struct CityStatements {
    std::recursive_mutex lock;
    std::array<CityStatementSlot, static_cast<size_t>(CityStatementSlot::Id::count)> slots;

    CityStatementSlot& slot(CityStatementSlot::Id id) { return slots[static_cast<size_t>(id)]; }
    /// Finalises the statements of the slots that TarvoCity::finalizeStatements names. Only
    /// the two cached-city delete slots are emptied; the others keep their finalised
    /// statements.
    void finalizeForClosing();
    /// Finalises and empties every slot.
    void emptyAll();
};

}  // namespace tarvo
