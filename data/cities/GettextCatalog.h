#pragma once

// A compiled gettext catalogue (a .mo file), read for the directory builder: GeoNames'
// catalogues map a place's GeoNames id to its name in the catalogue's language.
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tarvo::data {

class GettextCatalog {
public:
    /// Every message of the file as (original, translation) pairs in the file's order (sorted
    /// by original), the header entry (empty original) left out. Of a plural message only the
    /// singular forms are kept. Throws std::runtime_error naming the file when it cannot be
    /// read or is no .mo catalogue.
    static std::vector<std::pair<std::string, std::string>> read(const std::filesystem::path& file);
};

}  // namespace tarvo::data
