#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

class PreferenceStore;

/// A preferences store: typed values by string key, one SQLite file per suite in the data
/// folder, safe for several threads and processes at once (WAL, busy time-out; no write is
/// lost). Values are JSON values: bool, integer, double, string, binary (data), array and
/// object (dictionary); the typed calls read and write the simple kinds, the JSON calls any
/// kind as JSON text (data appears there as {"bytes": [...], "subtype": null}).
///
/// Reading follows the platform's rules: an integer or bool is read from a number, a bool or
/// numeric text ("4" reads as 4; "YES", "true", "1" read as true); an absent key reads as
/// 0, false or nothing. Values registered with registerDefaults answer for absent keys, are
/// never written to the file, and yield to any stored value.
class TARVO_EXPORT UserDefaults {
public:
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

    /// The stored value, else the registered one, as JSON text; nothing for an absent key.
    std::optional<std::string> jsonForKey(std::string_view key) const;
    /// Stores the value that the JSON text gives; JSON null removes the key (as storing
    /// nothing does). False, with nothing changed, when the text is not JSON; otherwise as
    /// the typed setters answer.
    bool setJson(std::string_view key, std::string_view jsonText);
    /// Values for absent keys, given as the text of one JSON object; kept in memory only.
    /// Adds to (and replaces in) what was registered before; a null value withdraws that
    /// key's default. False, with nothing registered, when the text is not a JSON object.
    bool registerDefaultsJson(std::string_view jsonObjectText);
    /// Registered defaults overlaid by every stored value, as the text of one JSON object.
    std::string dictionaryRepresentationJson() const;
    /// The stored values only, without the registered defaults, as the text of one JSON object.
    std::string persistentDomainJson() const;
    /// Makes every write so far durable; false when the store could not be written (it
    /// works in memory only) or a write since the last call failed. Each write is committed
    /// at once and seen by other processes; this also carries it into the database file and
    /// onto the disk.
    bool synchronize();

private:
    friend class PreferenceStore;
    std::unique_ptr<PreferenceStore> store_;
};

}  // namespace tarvo
