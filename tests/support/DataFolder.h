#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

#include "tarvo/platform/UserDefaults.h"

namespace tarvo::test {

/// A file's bytes, or "" when it is no regular file or cannot be read.
inline std::string readBytes(const std::filesystem::path& file) {
    if (!std::filesystem::is_regular_file(file)) return {};
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

/// A fresh folder under the system's temporary folder, removed with everything in it.
class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarvo-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ec);
        std::filesystem::remove_all(path_, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// Sets and unsets environment variables for the life of the object, then puts back what
/// was there before. Child processes started meanwhile inherit the changes.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ~ScopedEnvironment() {
        for (const auto& [name, value] : saved_) value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    void set(const std::string& name, const std::string& value) {
        save(name);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    void unset(const std::string& name) {
        save(name);
        ::unsetenv(name.c_str());
    }

private:
    void save(const std::string& name) {
        const char* value = ::getenv(name.c_str());
        saved_.try_emplace(name, value ? std::optional<std::string>(value) : std::nullopt);
    }

    std::map<std::string, std::optional<std::string>> saved_;
};

/// Points the data folder ($TARVO_HOME) at a fresh temporary folder for the life of the
/// object and makes the process-wide stores reopen there; restores everything afterwards.
class ScopedDataFolder : public TempFolder {
public:
    ScopedDataFolder() {
        environment_.set("TARVO_HOME", path().string());
        UserDefaults::resetStandardStores();
    }
    ~ScopedDataFolder() { UserDefaults::resetStandardStores(); }

private:
    ScopedEnvironment environment_;
};

}  // namespace tarvo::test
