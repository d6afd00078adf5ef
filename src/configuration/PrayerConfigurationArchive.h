#pragma once

#include <memory>
#include <span>

#include "tarvo/configuration/PrayerConfiguration.h"

namespace tarvo {

class KeyedArchiver;
class KeyedUnarchiver;

/// The keyed archive of a configuration, the form in which the whole configuration travels
/// to another process (a watch app): every stored setting under its preference key, the
/// language flag under "ar", and the per-prayer alert settings read live from the store.
class PrayerConfigurationArchive {
public:
    /// Archives the settings together with the per-prayer alert settings, which are read
    /// live from the shared user defaults.
    static void encode(const PrayerConfiguration& configuration, KeyedArchiver& coder);
    /// A fresh configuration loaded from the local store, overwritten by the archived
    /// settings. Writes the archived per-prayer alert settings into the local shared user
    /// defaults (without synchronising): that is how they reach the receiving process.
    static std::shared_ptr<PrayerConfiguration> decode(const KeyedUnarchiver& coder);

private:
    /// The stored settings in loading order (defined beside them, in PrayerConfiguration.cpp).
    static std::span<const PrayerConfiguration::Field> fields();
};

}  // namespace tarvo
