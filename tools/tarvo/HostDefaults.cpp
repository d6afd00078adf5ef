// The tool's own defaults, registered as the host application's.
#include "HostDefaults.h"

#include <cstdlib>
#include <mutex>

#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/Bundle.h"
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
    std::call_once(once, [] { UserDefaults::sharedUserDefaultsObj()->registerDefaultsJson(hostDefaults().dump()); });
}

std::string registerHostResources() {
    // The call-to-prayer recordings are not shipped with the tool; the user puts "1.mp3" to
    // "10.mp3" in this folder.
    const char* folder = std::getenv("TARVO_RESOURCES");
    const std::string directory = folder && *folder ? std::string(folder) : std::string(TARVO_SOUNDS_DIR);
    Bundle::main().setResourceDirectory(directory);
    return directory;
}

}  // namespace tarvo::cli
