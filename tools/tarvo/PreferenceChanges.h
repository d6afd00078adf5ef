#pragma once

#include <cstdint>
#include <memory>

namespace tarvo {
class UserDefaults;
}

namespace tarvo::cli {

/// The shared preferences as one command changes them, directly or through the library.
class PreferenceChanges {
public:
    /// A failure (exit 1) saying why, with nothing changed, when the preferences' file is
    /// read-only or cannot be used.
    PreferenceChanges();
    UserDefaults& defaults() { return *defaults_; }
    /// A failure (exit 1) unless every write since this object was made reached the file,
    /// and the file the disk.
    void save();

private:
    std::shared_ptr<UserDefaults> defaults_;
    uint64_t failedBefore_ = 0;
};

}  // namespace tarvo::cli
