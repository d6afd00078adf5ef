#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tarvo/Export.h"

namespace tarvo {

/// A preferences store: typed values by string key, one SQLite file per suite in the data
/// folder, safe for several threads and processes at once (WAL, busy time-out; no write is
/// lost). Values are JSON values: bool, integer, double, string, binary (data), array and
/// object (dictionary).
///
/// Reading follows the platform's rules: an integer or bool is read from a number, a bool or
/// numeric text ("4" reads as 4; "YES", "true", "1" read as true); an absent key reads as
/// 0, false or nothing. Values registered with registerDefaults answer for absent keys, are
/// never written to the file, and yield to any stored value.
class TARVO_EXPORT UserDefaults {
public:
    using Value = nlohmann::json;

    /// The data folder: $TARVO_HOME, else $XDG_DATA_HOME/tarvo, else ~/.local/share/tarvo
    /// (created when missing).
    static std::filesystem::path dataDirectory();

    /// The application's own store ("standard.sqlite" in the data folder).
    static std::shared_ptr<UserDefaults> standardUserDefaults();
    /// The store shared by the application and its extensions ("shared.sqlite"); every
    /// preference key of the library lives here.
    static std::shared_ptr<UserDefaults> sharedUserDefaultsObj();
    /// Forgets the two process-wide stores so the next call reopens them (after the data
    /// folder changed, e.g. in tests).
    static void resetStandardStores();

    /// Opens (creating when missing) the suite stored in `file`. A file that cannot be used
    /// leaves the store working in memory only, with a logged error; isPersistent() tells.
    /// A suite whose file is read-only is read from it and never written (isReadOnly()).
    /// A symbolic link in the file's place is not followed.
    explicit UserDefaults(std::filesystem::path file);
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    bool isPersistent() const;
    /// True when the suite's file is read but cannot be written: every write is refused.
    bool isReadOnly() const;
    /// How many writes failed since the store was opened (each one is logged): a caller that
    /// made several writes, directly or through the library, compares it before and after.
    uint64_t failedWrites() const;
    const std::filesystem::path& path() const;

    /// The stored value, else the registered one, else nothing.
    std::optional<Value> objectForKey(std::string_view key) const;
    /// Stores the value; a null value removes the key (as storing nothing does). Each write
    /// answers whether it reached the suite's file: false when it failed (the reason is
    /// logged, the previous value stays), when the file is read-only, or when the store works
    /// in memory only.
    bool setObject(std::string_view key, const Value& value);
    bool removeObjectForKey(std::string_view key);

    bool setBool(std::string_view key, bool value);
    bool setInteger(std::string_view key, int64_t value);
    bool setDouble(std::string_view key, double value);
    bool setString(std::string_view key, std::string_view value);
    bool setData(std::string_view key, const std::vector<uint8_t>& value);

    bool boolForKey(std::string_view key) const;
    int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    /// Text, or the text form of a number; nothing for other kinds.
    std::optional<std::string> stringForKey(std::string_view key) const;
    std::optional<std::vector<uint8_t>> dataForKey(std::string_view key) const;
    std::optional<Value> arrayForKey(std::string_view key) const;
    std::optional<Value> dictionaryForKey(std::string_view key) const;

    /// Values for absent keys; kept in memory only. Adds to (and replaces in) what was
    /// registered before; a null value withdraws that key's default.
    void registerDefaults(const Value& dictionary);
    /// Registered defaults overlaid by every stored value, as one JSON object.
    Value dictionaryRepresentation() const;
    /// The stored values only, without the registered defaults, as one JSON object.
    Value persistentDomain() const;
    /// Makes every write so far durable; false when the store could not be written (it
    /// works in memory only) or a write since the last call failed. Each write is committed
    /// at once and seen by other processes; this also carries it into the database file and
    /// onto the disk.
    bool synchronize();

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
