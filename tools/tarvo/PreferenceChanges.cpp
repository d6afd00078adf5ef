#include "PreferenceChanges.h"

#include <stdexcept>
#include <string>

#include "HostDefaults.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo::cli {

PreferenceChanges::PreferenceChanges() {
    registerHostDefaults();
    defaults_ = UserDefaults::sharedUserDefaultsObj();
    const std::string file = defaults_->path().string();
    if (!defaults_->isPersistent()) throw std::runtime_error("preferences at " + file + " cannot be written");
    if (defaults_->isReadOnly()) throw std::runtime_error("preferences at " + file + " are read-only: nothing changed");
    failedBefore_ = defaults_->failedWrites();
}

void PreferenceChanges::save() {
    // The library's setters synchronise on their own: only the count of failed writes tells
    // whether all of this command's writes arrived.
    if (!defaults_->synchronize() || defaults_->failedWrites() != failedBefore_) {
        throw std::runtime_error("preferences at " + defaults_->path().string() + " could not be saved");
    }
}

}  // namespace tarvo::cli
