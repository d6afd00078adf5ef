#include "tarvo/platform/Bundle.h"

#include <map>
#include <mutex>
#include <shared_mutex>

#include <nlohmann/json.hpp>

#include "platform/host/LogMacros.h"

namespace tarvo {

struct Bundle::Impl {
    mutable std::shared_mutex mutex;
    std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>> tables;
    std::filesystem::path resourceDirectory;
};

Bundle::Bundle() : impl_(new Impl()) {}
Bundle::~Bundle() { delete impl_; }

Bundle& Bundle::main() {
    static Bundle* bundle = new Bundle();  // lives as long as the process
    return *bundle;
}

bool Bundle::registerStringTable(const std::string& jsonText, const std::string& table) {
    std::map<std::string, std::string, std::less<>> strings;
    try {
        const auto json = nlohmann::json::parse(jsonText);
        if (!json.is_object()) throw std::runtime_error("not a JSON object");
        for (const auto& [key, value] : json.items()) strings.emplace(key, value.get<std::string>());
    } catch (const std::exception& e) {
        TARVO_LOG_ERROR("String table '{}' rejected: {}", table, e.what());
        return false;
    }
    std::unique_lock lock(impl_->mutex);
    impl_->tables[table] = std::move(strings);
    return true;
}

void Bundle::removeAllStringTables() {
    std::unique_lock lock(impl_->mutex);
    impl_->tables.clear();
}

std::string Bundle::localizedString(std::string_view key, std::string_view value, std::string_view table) const {
    const std::string_view tableName = table.empty() ? std::string_view("Localizable") : table;
    {
        std::shared_lock lock(impl_->mutex);
        if (auto t = impl_->tables.find(tableName); t != impl_->tables.end()) {
            if (auto s = t->second.find(key); s != t->second.end()) return s->second;
        }
    }
    return std::string(value.empty() ? key : value);
}

void Bundle::setResourceDirectory(std::filesystem::path directory) {
    std::unique_lock lock(impl_->mutex);
    impl_->resourceDirectory = std::move(directory);
}

std::optional<std::filesystem::path> Bundle::pathForResource(std::string_view name, std::string_view type) const {
    std::shared_lock lock(impl_->mutex);
    if (impl_->resourceDirectory.empty()) return std::nullopt;
    std::string file(name);
    if (!type.empty()) file.append(".").append(type);
    auto path = impl_->resourceDirectory / file;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return std::nullopt;
    return path;
}

}  // namespace tarvo
