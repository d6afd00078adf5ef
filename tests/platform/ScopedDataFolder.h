#pragma once

#include <string>

#include "platform/ScopedEnvironment.h"
#include "platform/TempFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo::test {

/// Points the data folder ($TARVO_HOME) at a fresh temporary folder for the life of the
/// object and makes the process-wide stores reopen there; restores everything afterwards.
class ScopedDataFolder {
public:
    ScopedDataFolder() {
        environment_.set("TARVO_HOME", folder_.path().string());
        UserDefaults::resetStandardStores();
    }
    ~ScopedDataFolder() { UserDefaults::resetStandardStores(); }
    ScopedDataFolder(const ScopedDataFolder&) = delete;
    ScopedDataFolder& operator=(const ScopedDataFolder&) = delete;

    const std::filesystem::path& path() const { return folder_.path(); }
    std::filesystem::path operator/(const std::string& name) const { return folder_ / name; }

private:
    TempFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace tarvo::test
