#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {

class UserDefaults;

/// The preferences of one suite as JSON values, in the SQLite file behind a UserDefaults:
/// bool, integer, double, string, binary (data), array and object (dictionary). The library's
/// own code reads and writes whole values through it; hosts use UserDefaults' typed calls and
/// JSON text, so that no JSON type is part of the public interface.
///
/// Each call locks the store, so it is safe from several threads; several stores and
/// processes share the file through SQLite's locking and write-ahead log.
class PreferenceStore {
public:
    using Value = nlohmann::json;

    /// The store behind `defaults`.
    static PreferenceStore& of(const UserDefaults& defaults);

    /// Opens (creating when missing) the suite stored in `file`; see UserDefaults.
    explicit PreferenceStore(std::filesystem::path file);
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    bool isPersistent() const { return persistent; }
    bool isReadOnly() const { return readOnly; }
    uint64_t failedWriteCount() const;
    const std::filesystem::path& filePath() const { return path; }

    /// The stored value, else the registered one, else nothing.
    std::optional<Value> objectForKey(std::string_view key) const;
    /// Stores the value (a null value removes the key); whether it reached the file.
    bool setObject(std::string_view key, const Value& value);
    bool removeObjectForKey(std::string_view key);
    std::optional<Value> arrayForKey(std::string_view key) const;
    std::optional<Value> dictionaryForKey(std::string_view key) const;
    /// Adds to the values for absent keys (memory only); a null value withdraws a key's.
    void registerDefaults(const Value& dictionary);
    /// Registered defaults overlaid by every stored value, as one object.
    Value dictionaryRepresentation() const;
    /// The stored values only, as one object.
    Value persistentDomain() const;
    bool synchronize();

private:
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
};

}  // namespace tarvo
