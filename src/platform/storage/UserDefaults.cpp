#include "tarvo/platform/UserDefaults.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "platform/host/LogMacros.h"
#include "platform/storage/PreferenceStore.h"
#include "platform/storage/PreferenceValue.h"

namespace tarvo {

namespace {

using Value = PreferenceStore::Value;

// Text that is not valid UTF-8 is given with replacement characters: JSON text is UTF-8.
std::string jsonText(const Value& value) { return value.dump(-1, ' ', false, Value::error_handler_t::replace); }

std::optional<Value> parsed(std::string_view text) {
    Value value = Value::parse(text.begin(), text.end(), nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

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

UserDefaults::UserDefaults(std::filesystem::path file) : store_(std::make_unique<PreferenceStore>(std::move(file))) {}

UserDefaults::~UserDefaults() = default;

bool UserDefaults::isPersistent() const { return store_->isPersistent(); }

bool UserDefaults::isReadOnly() const { return store_->isReadOnly(); }

uint64_t UserDefaults::failedWrites() const { return store_->failedWriteCount(); }

const std::filesystem::path& UserDefaults::path() const { return store_->filePath(); }

bool UserDefaults::removeObjectForKey(std::string_view key) { return store_->removeObjectForKey(key); }

bool UserDefaults::setBool(std::string_view key, bool value) { return store_->setObject(key, Value(value)); }
bool UserDefaults::setInteger(std::string_view key, int64_t value) { return store_->setObject(key, Value(value)); }
bool UserDefaults::setDouble(std::string_view key, double value) { return store_->setObject(key, Value(value)); }
bool UserDefaults::setString(std::string_view key, std::string_view value) {
    return store_->setObject(key, Value(value));
}
bool UserDefaults::setData(std::string_view key, const std::vector<uint8_t>& value) {
    return store_->setObject(key, Value::binary(value));
}

bool UserDefaults::boolForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    return value && PreferenceValue::toBool(*value);
}

int64_t UserDefaults::integerForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    return value ? PreferenceValue::toInteger(*value) : 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    return value ? PreferenceValue::toDouble(*value) : 0.0;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    return value ? PreferenceValue::toText(*value) : std::nullopt;
}

std::optional<std::vector<uint8_t>> UserDefaults::dataForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    if (!value || !value->is_binary()) return std::nullopt;
    return std::vector<uint8_t>(value->get_binary());
}

std::optional<std::string> UserDefaults::jsonForKey(std::string_view key) const {
    const auto value = store_->objectForKey(key);
    return value ? std::optional<std::string>(jsonText(*value)) : std::nullopt;
}

bool UserDefaults::setJson(std::string_view key, std::string_view jsonText) {
    auto value = parsed(jsonText);
    if (!value) {
        TARVO_LOG_ERROR("Preferences {}: not changing '{}': the value is not JSON", path().string(), key);
        return false;
    }
    return store_->setObject(key, *value);
}

bool UserDefaults::registerDefaultsJson(std::string_view jsonObjectText) {
    auto dictionary = parsed(jsonObjectText);
    if (!dictionary || !dictionary->is_object()) {
        TARVO_LOG_ERROR("Preferences {}: defaults to register must be a JSON object", path().string());
        return false;
    }
    store_->registerDefaults(*dictionary);
    return true;
}

std::string UserDefaults::dictionaryRepresentationJson() const { return jsonText(store_->dictionaryRepresentation()); }

std::string UserDefaults::persistentDomainJson() const { return jsonText(store_->persistentDomain()); }

bool UserDefaults::synchronize() { return store_->synchronize(); }

}  // namespace tarvo
