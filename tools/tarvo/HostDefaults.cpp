// The tool's own defaults, registered as the host application's.
#include <cstdlib>
#include <mutex>
#include <stdexcept>

#include "Commands.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo::cli {

const nlohmann::json& hostDefaults() {
    static const nlohmann::json defaults = {
        // A new automatic city takes its offset from its time zone.
        {"AutoCityGMT", TarvoCity::kGMTFromTimeZone},
        // The second time of the day is called Sunrise rather than Doha.
        {"UseSunrise", true},
    };
    return defaults;
}

void registerHostDefaults() {
    // The library registers no defaults of its own; the host does, in the registration
    // domain, so they answer for unset keys without ever being written to the file. Only
    // the commands that use preferences call this, so that commands such as qibla never
    // create the data folder.
    static std::once_flag once;
    std::call_once(once, [] { UserDefaults::sharedUserDefaultsObj()->registerDefaults(hostDefaults()); });
}

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

std::string registerHostResources() {
    // The call-to-prayer recordings are not shipped with the tool; the user puts "1.mp3" to
    // "10.mp3" in this folder.
    const char* folder = std::getenv("TARVO_RESOURCES");
    const std::string directory = folder && *folder ? std::string(folder) : std::string(TARVO_SOUNDS_DIR);
    Bundle::main().setResourceDirectory(directory);
    return directory;
}

void applyClockOption(const std::optional<int64_t>& clock, bool machineOutput) {
    if (machineOutput) {
        // Scripts read the same text in every locale: ASCII digits, a 24-hour clock, English
        // names. Set before the configuration is first loaded, which reads the locale.
        Locale::setCurrentLocale("en_US_POSIX");
        DateFormatter::setIs24HourClock(true);
    } else if (clock) {
        DateFormatter::setIs24HourClock(*clock == 24);
    } else if (Locale::environmentLocale().identifier() == "en_US_POSIX") {
        DateFormatter::setIs24HourClock(true);
    }
}

}  // namespace tarvo::cli
