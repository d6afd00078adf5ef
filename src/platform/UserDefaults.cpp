#include "tarvo/platform/UserDefaults.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include <sqlite3.h>

#include "platform/CborCodec.h"
#include "platform/LogMacros.h"
#include "platform/PreferenceValue.h"
#include "tarvo/platform/Result.h"
#include "tarvo/platform/SqliteDatabase.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo {

namespace {

// Long enough to ride out another process's burst of writes; a write still waiting after
// this is logged and dropped rather than hanging the caller for ever.
constexpr int kBusyTimeoutMs = 15000;

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS preferences("
    "key TEXT PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID";

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

std::filesystem::path homeDirectory() {
    if (std::string home = environment("HOME"); !home.empty()) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return std::filesystem::temp_directory_path();
}

struct ProcessStores {
    std::mutex mutex;
    std::shared_ptr<UserDefaults> standard;
    std::shared_ptr<UserDefaults> shared;
};

ProcessStores& processStores() {
    static ProcessStores* stores = new ProcessStores();  // lives as long as the process
    return *stores;
}

std::shared_ptr<UserDefaults> processStore(std::shared_ptr<UserDefaults> ProcessStores::*slot, const char* file) {
    ProcessStores& stores = processStores();
    std::lock_guard lock(stores.mutex);
    auto& store = stores.*slot;
    if (!store) store = std::make_shared<UserDefaults>(UserDefaults::dataDirectory() / file);
    return store;
}

}  // namespace

struct UserDefaults::Impl {
    std::filesystem::path path;
    bool persistent = false;
    bool readOnly = false;
    // A write failed since the last synchronize().
    bool writeFailed = false;
    uint64_t failedWrites = 0;

    // One connection per store, used by one thread at a time. Other processes (and other
    // stores on the same file) have their own connections; SQLite's locking and the
    // write-ahead log keep them consistent.
    mutable std::mutex mutex;
    SqliteDatabase db;
    mutable SqliteStatement select;
    SqliteStatement upsert;
    SqliteStatement remove;
    mutable SqliteStatement selectAll;
    Value registered = Value::object();

    bool openFile();
    // A suite of ours that cannot be written, opened for reading.
    bool openReadOnly();
    // An empty database, or one that has the preferences table.
    bool isOwnDatabase() const;
    bool prepareStatements();
    void openInMemory();
    std::optional<Value> stored(std::string_view key) const;
    Value allStored() const;
    bool write(std::string_view key, const Value& value);
    bool erase(std::string_view key);
    // Whether a write may go to the file; logs why not.
    bool writable(std::string_view key);
    // Notes the outcome of a write for synchronize(); true when it reached the file.
    bool noted(bool written);
    // Runs a bound change statement and makes it ready for the next use.
    bool finishChange(SqliteStatement& statement, std::string_view key, const char* action);
};

bool UserDefaults::Impl::openFile() {
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

bool UserDefaults::Impl::openReadOnly() {
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

bool UserDefaults::Impl::isOwnDatabase() const {
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

bool UserDefaults::Impl::prepareStatements() {
    return select.prepare(db, "SELECT value FROM preferences WHERE key = ?1") == SQLITE_OK &&
           upsert.prepare(db,
                          "INSERT INTO preferences(key, value) VALUES(?1, ?2) "
                          "ON CONFLICT(key) DO UPDATE SET value = excluded.value") == SQLITE_OK &&
           remove.prepare(db, "DELETE FROM preferences WHERE key = ?1") == SQLITE_OK &&
           selectAll.prepare(db, "SELECT key, value FROM preferences ORDER BY key") == SQLITE_OK;
}

void UserDefaults::Impl::openInMemory() {
    select.finalize();
    upsert.finalize();
    remove.finalize();
    selectAll.finalize();
    if (!db.open(":memory:") || db.exec(kSchema) != SQLITE_OK || !prepareStatements()) {
        TARVO_LOG_ERROR("Preferences {}: even the in-memory store failed: {}", path.string(), db.errorMessage());
    }
}

std::optional<UserDefaults::Value> UserDefaults::Impl::stored(std::string_view key) const {
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

UserDefaults::Value UserDefaults::Impl::allStored() const {
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

bool UserDefaults::Impl::writable(std::string_view key) {
    if (!readOnly) return true;
    TARVO_LOG_ERROR("Preferences {}: not changing '{}': the file is read-only", path.string(), key);
    return false;
}

bool UserDefaults::Impl::noted(bool written) {
    if (!written) {
        writeFailed = true;
        ++failedWrites;
    }
    return written && persistent;
}

bool UserDefaults::Impl::write(std::string_view key, const Value& value) {
    if (!writable(key)) return false;
    upsert.bindText(1, key);
    upsert.bindBlob(2, CborCodec::encode(value));
    return finishChange(upsert, key, "writing");
}

bool UserDefaults::Impl::erase(std::string_view key) {
    if (!writable(key)) return false;
    remove.bindText(1, key);
    return finishChange(remove, key, "removing");
}

bool UserDefaults::Impl::finishChange(SqliteStatement& statement, std::string_view key, const char* action) {
    const int rc = statement.step();
    statement.reset();
    if (rc != SQLITE_DONE) {
        TARVO_LOG_ERROR("Preferences {}: {} '{}' failed: {}", path.string(), action, key, db.errorMessage());
        return false;
    }
    return true;
}

std::filesystem::path UserDefaults::dataDirectory() {
    std::filesystem::path folder;
    if (std::string home = environment("TARVO_HOME"); !home.empty()) {
        folder = home;
    } else if (std::string xdg = environment("XDG_DATA_HOME"); !xdg.empty() && xdg.front() == '/') {
        // A relative XDG_DATA_HOME is invalid and to be ignored.
        folder = std::filesystem::path(xdg) / "tarvo";
    } else {
        folder = homeDirectory() / ".local" / "share" / "tarvo";
    }
    // The folder is its owner's alone: it holds the saved places and the preferences.
    // Folders above it that are missing are made as the system makes them.
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        const auto made = folder.has_filename() ? folder : folder.parent_path();  // "a/b/" is "a/b"
        if (made.has_parent_path()) std::filesystem::create_directories(made.parent_path(), ec);
        if (::mkdir(made.c_str(), 0700) != 0 && errno != EEXIST) {
            TARVO_LOG_ERROR("Data folder {} cannot be created: {}", folder.string(), std::strerror(errno));
        }
    }
    return folder;
}

std::shared_ptr<UserDefaults> UserDefaults::standardUserDefaults() {
    return processStore(&ProcessStores::standard, "standard.sqlite");
}

std::shared_ptr<UserDefaults> UserDefaults::sharedUserDefaultsObj() {
    return processStore(&ProcessStores::shared, "shared.sqlite");
}

void UserDefaults::resetStandardStores() {
    ProcessStores& stores = processStores();
    std::lock_guard lock(stores.mutex);
    stores.standard.reset();
    stores.shared.reset();
}

UserDefaults::UserDefaults(std::filesystem::path file) : impl_(std::make_unique<Impl>()) {
    impl_->path = std::move(file);
    impl_->persistent = impl_->openFile();
    if (!impl_->persistent) impl_->openInMemory();
}

UserDefaults::~UserDefaults() = default;

bool UserDefaults::isPersistent() const { return impl_->persistent; }

bool UserDefaults::isReadOnly() const { return impl_->readOnly; }

uint64_t UserDefaults::failedWrites() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->failedWrites;
}

const std::filesystem::path& UserDefaults::path() const { return impl_->path; }

std::optional<UserDefaults::Value> UserDefaults::objectForKey(std::string_view key) const {
    std::lock_guard lock(impl_->mutex);
    if (auto value = impl_->stored(key)) return value;
    if (auto it = impl_->registered.find(key); it != impl_->registered.end()) return *it;
    return std::nullopt;
}

bool UserDefaults::setObject(std::string_view key, const Value& value) {
    std::lock_guard lock(impl_->mutex);
    // Setting nothing under a key removes it, as on the platform.
    return impl_->noted(value.is_null() ? impl_->erase(key) : impl_->write(key, value));
}

bool UserDefaults::removeObjectForKey(std::string_view key) {
    std::lock_guard lock(impl_->mutex);
    return impl_->noted(impl_->erase(key));
}

bool UserDefaults::setBool(std::string_view key, bool value) { return setObject(key, Value(value)); }
bool UserDefaults::setInteger(std::string_view key, int64_t value) { return setObject(key, Value(value)); }
bool UserDefaults::setDouble(std::string_view key, double value) { return setObject(key, Value(value)); }
bool UserDefaults::setString(std::string_view key, std::string_view value) { return setObject(key, Value(value)); }
bool UserDefaults::setData(std::string_view key, const std::vector<uint8_t>& value) {
    return setObject(key, Value::binary(value));
}

bool UserDefaults::boolForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value && PreferenceValue::toBool(*value);
}

int64_t UserDefaults::integerForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value ? PreferenceValue::toInteger(*value) : 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value ? PreferenceValue::toDouble(*value) : 0.0;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value ? PreferenceValue::toText(*value) : std::nullopt;
}

std::optional<std::vector<uint8_t>> UserDefaults::dataForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    if (!value || !value->is_binary()) return std::nullopt;
    return std::vector<uint8_t>(value->get_binary());
}

std::optional<UserDefaults::Value> UserDefaults::arrayForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value || !value->is_array()) return std::nullopt;
    return value;
}

std::optional<UserDefaults::Value> UserDefaults::dictionaryForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value || !value->is_object()) return std::nullopt;
    return value;
}

void UserDefaults::registerDefaults(const Value& dictionary) {
    if (!dictionary.is_object()) {
        TARVO_LOG_ERROR("Preferences {}: defaults to register must be a dictionary, not {}", impl_->path.string(),
                        dictionary.type_name());
        return;
    }
    std::lock_guard lock(impl_->mutex);
    for (const auto& [key, value] : dictionary.items()) {
        if (value.is_null()) {
            impl_->registered.erase(key);
        } else {
            impl_->registered[key] = value;
        }
    }
}

UserDefaults::Value UserDefaults::dictionaryRepresentation() const {
    std::lock_guard lock(impl_->mutex);
    Value all = impl_->registered;
    all.update(impl_->allStored());
    return all;
}

UserDefaults::Value UserDefaults::persistentDomain() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->allStored();
}

bool UserDefaults::synchronize() {
    std::lock_guard lock(impl_->mutex);
    if (!impl_->persistent) return false;
    // A write that failed was never committed, so not everything asked for is on the disk.
    if (std::exchange(impl_->writeFailed, false)) return false;
    if (impl_->readOnly) return true;
    // Every write is already committed; moving the log into the database file makes SQLite
    // flush it to the disk.
    // Only one connection checkpoints at a time, and SQLite does not wait for the others
    // here, so a busy answer is asked again for as long as a write would wait.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBusyTimeoutMs);
    int rc = SQLITE_OK;
    while ((rc = sqlite3_wal_checkpoint_v2(impl_->db.handle(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr,
                                           nullptr)) == SQLITE_BUSY &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (rc != SQLITE_OK) {
        TARVO_LOG_ERROR("Preferences {}: synchronising failed: {}", impl_->path.string(), impl_->db.errorMessage());
        return false;
    }
    return true;
}

}  // namespace tarvo
