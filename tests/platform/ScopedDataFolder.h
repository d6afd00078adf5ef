#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

#include "platform/TempFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo::test {

/// Points the data folder ($TARVO_HOME) at a fresh temporary folder for the life of the
/// object and makes the process-wide stores reopen there; restores everything afterwards.
class ScopedDataFolder {
public:
    ScopedDataFolder() {
        if (const char* old = ::getenv("TARVO_HOME")) previous_ = old;
        ::setenv("TARVO_HOME", folder_.path().c_str(), 1);
        UserDefaults::resetStandardStores();
    }
    ~ScopedDataFolder() {
        UserDefaults::resetStandardStores();
        if (previous_) {
            ::setenv("TARVO_HOME", previous_->c_str(), 1);
        } else {
            ::unsetenv("TARVO_HOME");
        }
    }
    ScopedDataFolder(const ScopedDataFolder&) = delete;
    ScopedDataFolder& operator=(const ScopedDataFolder&) = delete;

    const std::filesystem::path& path() const { return folder_.path(); }
    std::filesystem::path operator/(const std::string& name) const { return folder_ / name; }

private:
    TempFolder folder_;
    std::optional<std::string> previous_;
};

}  // namespace tarvo::test
