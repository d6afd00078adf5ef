#include "platform/storage/PreferenceStore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <chrono>
#include <thread>
#include <utility>

#include <sqlite3.h>

#include "platform/host/LogMacros.h"
#include "platform/storage/CborCodec.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

// Long enough to ride out another process's burst of writes; a write still waiting after
// this is logged and dropped rather than hanging the caller for ever.
constexpr int kBusyTimeoutMs = 15000;

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS preferences("
    "key TEXT PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID";

}  // namespace

PreferenceStore& PreferenceStore::of(const UserDefaults& defaults) { return *defaults.store_; }

PreferenceStore::PreferenceStore(std::filesystem::path file) : path(std::move(file)) {
    persistent = openFile();
    if (!persistent) openInMemory();
}

uint64_t PreferenceStore::failedWriteCount() const {
    std::lock_guard lock(mutex);
    return failedWrites;
}

bool PreferenceStore::openFile() {
    std::error_code ec;
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path(), ec);
    // A link in the suite's place could send the writes to a file of somebody else's.
    if (!db.open(path, SqliteDatabase::kDefaultFlags | SqliteDatabase::kOpenNoFollow)) {
        // The database's message names the file already.
        const std::string why = db.errorMessage();
        if (sqlitePrimaryCode(db.errorCode()) == SQLITE_READONLY && openReadOnly()) {
            TARVO_LOG_INFO("Preferences are read and never written: {}", why);
            return true;
        }
        TARVO_LOG_ERROR("Preferences cannot be used, keeping them in memory only: {}", why);
        return false;
    }
    db.setBusyTimeout(kBusyTimeoutMs);
    // Somebody else's database (tables of its own and no preferences table) is left exactly
    // as it was: nothing created in it, its journal mode not switched.
    if (!isOwnDatabase()) {
        TARVO_LOG_ERROR("Preferences cannot be used, keeping them in memory only: {}: another program's "
                        "database (the file is left untouched)",
                        path.string());
        return false;
    }
    // The table first: a database that has a "preferences" table of another shape is not
    // ours, and is then left as it is.
    if (db.exec(kSchema) != SQLITE_OK || !prepareStatements()) {
        TARVO_LOG_ERROR("Preferences {} cannot be used, keeping them in memory only: {}", path.string(),
                        db.errorMessage());
        return false;
    }
    // Write-ahead logging lets readers in other processes go on while one writes. Switching
    // needs a moment alone with the file, so a process that opens it at the same time as
    // another may have to ask again.
    bool wal = false;
    for (int attempt = 0; attempt < 20 && !wal; ++attempt) {
        SqliteStatement mode;
        if (mode.prepare(db, "PRAGMA journal_mode=WAL") == SQLITE_OK && mode.step() == SQLITE_ROW) {
            wal = mode.columnText(0) == "wal";
        }
        if (!wal) std::this_thread::sleep_for(std::chrono::milliseconds(10 * (attempt + 1)));
    }
    if (!wal) TARVO_LOG_INFO("Preferences {}: no write-ahead log, using SQLite's rollback journal", path.string());
    // Each commit is safe against a crash of the process; synchronize() checkpoints the log,
    // which also flushes it to the disk.
    db.exec("PRAGMA synchronous=NORMAL");
    return true;
}

bool PreferenceStore::openReadOnly() {
    // Nothing changes a file that its owner made read-only (this library writes no such
    // file), so it is read as immutable: SQLite then creates no journal, log or index beside
    // it. Only writes left in a log of its own must be read through that log.
    std::error_code ec;
    const bool hasLog = std::filesystem::exists(path.string() + "-wal", ec);
    const int flags = SqliteDatabase::kOpenReadOnly | SqliteDatabase::kOpenNoFollow |
                      (hasLog ? 0 : SqliteDatabase::kOpenImmutable);
    if (!db.open(path, flags)) return false;
    db.setBusyTimeout(kBusyTimeoutMs);
    // Only a suite that holds preferences is read: an empty file has nothing to give.
    SqliteStatement table;
    const bool ours = table.prepare(db, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'preferences'") ==
                          SQLITE_OK &&
                      table.step() == SQLITE_ROW;
    table.finalize();
    if (!ours || !prepareStatements()) return false;
    readOnly = true;
    return true;
}

bool PreferenceStore::isOwnDatabase() const {
    SqliteStatement tables;
    if (tables.prepare(db, "SELECT name FROM sqlite_master WHERE type = 'table'") != SQLITE_OK) return false;
    bool anyTable = false;
    int rc = SQLITE_OK;
    while ((rc = tables.step()) == SQLITE_ROW) {
        if (tables.columnText(0) == "preferences") return true;
        anyTable = true;
    }
    return rc == SQLITE_DONE && !anyTable;
}

bool PreferenceStore::prepareStatements() {
    return select.prepare(db, "SELECT value FROM preferences WHERE key = ?1") == SQLITE_OK &&
           upsert.prepare(db,
                          "INSERT INTO preferences(key, value) VALUES(?1, ?2) "
                          "ON CONFLICT(key) DO UPDATE SET value = excluded.value") == SQLITE_OK &&
           remove.prepare(db, "DELETE FROM preferences WHERE key = ?1") == SQLITE_OK &&
           selectAll.prepare(db, "SELECT key, value FROM preferences ORDER BY key") == SQLITE_OK;
}

void PreferenceStore::openInMemory() {
    select.finalize();
    upsert.finalize();
    remove.finalize();
    selectAll.finalize();
    if (!db.open(":memory:") || db.exec(kSchema) != SQLITE_OK || !prepareStatements()) {
        TARVO_LOG_ERROR("Preferences {}: even the in-memory store failed: {}", path.string(), db.errorMessage());
    }
}

std::optional<PreferenceStore::Value> PreferenceStore::stored(std::string_view key) const {
    std::optional<Value> result;
    select.bindText(1, key);
    const int rc = select.step();
    if (rc == SQLITE_ROW) {
        auto decoded = CborCodec::decode(select.columnBlob(0));
        if (decoded) {
            result = std::move(decoded).value();
        } else {
            TARVO_LOG_ERROR("Preferences {}: value of '{}' is unreadable: {}", path.string(), key,
                            decoded.error().message);
        }
    } else if (rc != SQLITE_DONE) {
        TARVO_LOG_ERROR("Preferences {}: reading '{}' failed: {}", path.string(), key, db.errorMessage());
    }
    select.reset();
    return result;
}

PreferenceStore::Value PreferenceStore::allStored() const {
    Value all = Value::object();
    int rc = SQLITE_OK;
    while ((rc = selectAll.step()) == SQLITE_ROW) {
        const std::string key = selectAll.columnText(0);
        if (auto value = CborCodec::decode(selectAll.columnBlob(1))) {
            all[key] = std::move(*value);
        } else {
            TARVO_LOG_ERROR("Preferences {}: value of '{}' is unreadable", path.string(), key);
        }
    }
    if (rc != SQLITE_DONE) TARVO_LOG_ERROR("Preferences {}: listing failed: {}", path.string(), db.errorMessage());
    selectAll.reset();
    return all;
}

bool PreferenceStore::writable(std::string_view key) {
    if (!readOnly) return true;
    TARVO_LOG_ERROR("Preferences {}: not changing '{}': the file is read-only", path.string(), key);
    return false;
}

bool PreferenceStore::noted(bool written) {
    if (!written) {
        writeFailed = true;
        ++failedWrites;
    }
    return written && persistent;
}

bool PreferenceStore::write(std::string_view key, const Value& value) {
    if (!writable(key)) return false;
    upsert.bindText(1, key);
    upsert.bindBlob(2, CborCodec::encode(value));
    return finishChange(upsert, key, "writing");
}

bool PreferenceStore::erase(std::string_view key) {
    if (!writable(key)) return false;
    remove.bindText(1, key);
    return finishChange(remove, key, "removing");
}

bool PreferenceStore::finishChange(SqliteStatement& statement, std::string_view key, const char* action) {
    const int rc = statement.step();
    statement.reset();
    if (rc != SQLITE_DONE) {
        TARVO_LOG_ERROR("Preferences {}: {} '{}' failed: {}", path.string(), action, key, db.errorMessage());
        return false;
    }
    return true;
}

std::optional<PreferenceStore::Value> PreferenceStore::objectForKey(std::string_view key) const {
    std::lock_guard lock(mutex);
    if (auto value = stored(key)) return value;
    if (auto it = registered.find(key); it != registered.end()) return *it;
    return std::nullopt;
}
bool PreferenceStore::setObject(std::string_view key, const Value& value) {
    std::lock_guard lock(mutex);
    // Setting nothing under a key removes it, as on the platform.
    return noted(value.is_null() ? erase(key) : write(key, value));
}
bool PreferenceStore::removeObjectForKey(std::string_view key) {
    std::lock_guard lock(mutex);
    return noted(erase(key));
}
std::optional<PreferenceStore::Value> PreferenceStore::arrayForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value || !value->is_array()) return std::nullopt;
    return value;
}
std::optional<PreferenceStore::Value> PreferenceStore::dictionaryForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value || !value->is_object()) return std::nullopt;
    return value;
}
void PreferenceStore::registerDefaults(const Value& dictionary) {
    if (!dictionary.is_object()) {
        TARVO_LOG_ERROR("Preferences {}: defaults to register must be a dictionary, not {}", path.string(),
                        dictionary.type_name());
        return;
    }
    std::lock_guard lock(mutex);
    for (const auto& [key, value] : dictionary.items()) {
        if (value.is_null()) {
            registered.erase(key);
        } else {
            registered[key] = value;
        }
    }
}
PreferenceStore::Value PreferenceStore::dictionaryRepresentation() const {
    std::lock_guard lock(mutex);
    Value all = registered;
    all.update(allStored());
    return all;
}
PreferenceStore::Value PreferenceStore::persistentDomain() const {
    std::lock_guard lock(mutex);
    return allStored();
}
bool PreferenceStore::synchronize() {
    std::lock_guard lock(mutex);
    if (!persistent) return false;
    // A write that failed was never committed, so not everything asked for is on the disk.
    if (std::exchange(writeFailed, false)) return false;
    if (readOnly) return true;
    // Every write is already committed; moving the log into the database file makes SQLite
    // flush it to the disk.
    // Only one connection checkpoints at a time, and SQLite does not wait for the others
    // here, so a busy answer is asked again for as long as a write would wait.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBusyTimeoutMs);
    int rc = SQLITE_OK;
    while ((rc = sqlite3_wal_checkpoint_v2(db.handle(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr,
                                           nullptr)) == SQLITE_BUSY &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (rc != SQLITE_OK) {
        TARVO_LOG_ERROR("Preferences {}: synchronising failed: {}", path.string(), db.errorMessage());
        return false;
    }
    return true;
}
}  // namespace tarvo
