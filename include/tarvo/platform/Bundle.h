#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"

namespace tarvo {

/// The host application's localised strings and resources.
///
/// A host registers string tables (JSON objects from English key to translation) and a
/// resource folder. Without a table, or when a key is missing, the key itself is the text.
class TARVO_EXPORT Bundle {
public:
    /// The process-wide bundle.
    static Bundle& main();

    /// Registers (or replaces) a table from JSON text; false, and the old table kept, when
    /// the text is not a JSON object of strings. The default table is named "Localizable".
    bool registerStringTable(const std::string& jsonText, const std::string& table = "Localizable");
    void removeAllStringTables();

    /// The translation of `key` in `table` (default table when empty); when there is none,
    /// `value` if it is not empty, else the key.
    std::string localizedString(std::string_view key, std::string_view value = {},
                                std::string_view table = {}) const;

    void setResourceDirectory(std::filesystem::path directory);
    /// The path of "name.type" in the resource folder, or nothing when it does not exist.
    std::optional<std::filesystem::path> pathForResource(std::string_view name, std::string_view type) const;

    struct Impl;
    Bundle();
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

private:
    Impl* impl_;
};

}  // namespace tarvo
