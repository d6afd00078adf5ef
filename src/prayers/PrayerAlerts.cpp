// The per-prayer alert settings: which sound plays, whether it is switched off or vibrates
// only, whether a pre-alert may play, and the sound file. They live in the shared
// preferences so that the app, its extensions and the watch read the same values.
#include <array>
#include <string>

#include <fmt/format.h>

#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/UserDefaults.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

constexpr std::string_view kSoundAlertsDisabledKey = "SoundAlertsDisabled";
constexpr std::string_view kSoundAlertSuffix = "SoundAlert";
constexpr std::string_view kSoundOffSuffix = "SoundOff";
constexpr std::string_view kVibrateSuffix = "SoundAlertVibrate";
constexpr std::string_view kPreAlertSuffix = "PreAlertEnabled";
constexpr std::string_view kUserPickedSuffix = "SoundAlertUserPicked";
constexpr std::string_view kSoundFileType = "mp3";
constexpr int64_t kKnockKnock = 8;

constexpr std::array<std::string_view, 11> kSoundNames{
    "No Alert",    "Makkah Azan 1", "Orvane Azan",       "Makkah Azan 2", "Telmari Azan",  "Alarm Beep",
    "Short Beep",  "Telmari Fajr Azan", "Knock Knock", "UAE",           "Telmari Azan 2",
};

std::shared_ptr<UserDefaults> store() { return UserDefaults::sharedUserDefaultsObj(); }

std::string key(int64_t type, std::string_view suffix) {
    return std::string(Prayer::alertKeyPrefix(type)).append(suffix);
}

bool isAzan(int64_t sound) {
    return sound == 1 || sound == 2 || sound == 3 || sound == 4 || sound == 7 || sound == 9 || sound == 10;
}

}  // namespace

std::string_view Prayer::alertKeyPrefix(int64_t type) {
    switch (type) {
    case Fajr:
    case TomorrowFajr: return "Fajr";
    case Sunrise:
    case TomorrowSunrise: return "Sunrise";
    case Dhuhr: return "Dhuhr";
    case Asr: return "Asr";
    case Sunset: return "Sunset";
    case Maghrib: return "Maghrib";
    case Isha: return "Isha";
    case Qiyam: return "Qiyam";
    default: return "";
    }
}

int64_t Prayer::defaultAlertSoundForType(int64_t type) {
    switch (type) {
    case Fajr:
    case TomorrowFajr: return 7;
    case Sunset:
    case Maghrib:
    case Isha: return 4;
    default: return 8;
    }
}

std::string Prayer::localizedNameForAlertSound(int64_t value) {
    if (value < 0 || value >= static_cast<int64_t>(kSoundNames.size())) return {};
    return Bundle::main().localizedString(kSoundNames[static_cast<size_t>(value)]);
}

bool Prayer::isSoundAlertEnabledCheckGlobalSetting(bool check) const {
    const auto defaults = store();
    if (check && soundAlertsDisabled()) return false;
    return !defaults->boolForKey(key(Type_, kSoundOffSuffix)) && defaults->integerForKey(key(Type_, kSoundAlertSuffix)) != 0;
}

bool Prayer::isVibrateAlertEnabled() const { return store()->integerForKey(key(Type_, kVibrateSuffix)) != 0; }

void Prayer::turnSoundAlertOFF() const {
    const auto defaults = store();
    defaults->setBool(key(Type_, kVibrateSuffix), false);
    defaults->setBool(key(Type_, kSoundOffSuffix), true);
    defaults->synchronize();
}

void Prayer::turnVibrateAlertON() const {
    const auto defaults = store();
    defaults->setBool(key(Type_, kVibrateSuffix), true);
    defaults->setBool(key(Type_, kSoundOffSuffix), true);
    defaults->synchronize();
}

void Prayer::turnSoundAlertON() const {
    const auto defaults = store();
    defaults->setBool(key(Type_, kVibrateSuffix), false);
    defaults->setBool(key(Type_, kSoundOffSuffix), false);
    const std::string soundKey = key(Type_, kSoundAlertSuffix);
    if (defaults->integerForKey(soundKey) == 0) {
        // Written as decimal text, the form stored settings use; every reader
        // takes the number from the text.
        defaults->setString(soundKey, fmt::format("{}", defaultAlertSoundForType(Type_)));
    }
    defaults->synchronize();
}

std::string Prayer::getNameForCurrentPrayerSelection() const {
    if (isSoundAlertEnabledCheckGlobalSetting(false)) return localizedNameForAlertSound(builtInAlertType());
    return Bundle::main().localizedString(isVibrateAlertEnabled() ? "Vibrate only" : "No Alert");
}

bool Prayer::canPlayPrealert() const { return store()->boolForKey(key(Type_, kPreAlertSuffix)); }

void Prayer::setCanPlayPrealert(bool enabled) const {
    const auto defaults = store();
    defaults->setBool(key(Type_, kPreAlertSuffix), enabled);
    defaults->synchronize();
}

int64_t Prayer::builtInAlertType() const { return store()->integerForKey(key(Type_, kSoundAlertSuffix)); }

void Prayer::setBuiltInAlertType(int64_t sound) const {
    const auto defaults = store();
    defaults->setInteger(key(Type_, kSoundAlertSuffix), sound);
    defaults->synchronize();
}

bool Prayer::soundAlertsDisabled() { return store()->boolForKey(kSoundAlertsDisabledKey); }

void Prayer::setSoundAlertsDisabled(bool disabled) {
    const auto defaults = store();
    defaults->setInteger(kSoundAlertsDisabledKey, disabled ? 1 : 0);
    defaults->synchronize();
}

std::optional<int64_t> Prayer::builtInAlertResource() const {
    const int64_t sound = builtInAlertType();
    if (sound < 1 || sound > 10) return std::nullopt;
    // No call to prayer at sunrise or for the night prayer: a knock instead. Tomorrow's
    // sunrise is deliberately left out and plays the selected sound, as alert schedules
    // already stored by hosts expect.
    if (isAzan(sound) && (Type_ == Sunrise || Type_ == Qiyam)) return kKnockKnock;
    return sound;
}

std::optional<std::string> Prayer::pathToAlertFile(bool* isBuiltIn) const {
    if (const auto resource = builtInAlertResource()) {
        if (isBuiltIn) *isBuiltIn = true;
        const auto path = Bundle::main().pathForResource(fmt::format("{}", *resource), kSoundFileType);
        return path ? std::optional<std::string>(path->string()) : std::nullopt;
    }
    if (builtInAlertType() == kUserPickedSound) return store()->stringForKey(key(Type_, kUserPickedSuffix));
    return std::nullopt;
}

void Prayer::setPathToCustomAlert(const std::optional<std::string>& path) const {
    const auto defaults = store();
    if (path) {
        defaults->setString(key(Type_, kUserPickedSuffix), *path);
    } else {
        defaults->removeObjectForKey(key(Type_, kUserPickedSuffix));
    }
    defaults->synchronize();
}

}  // namespace tarvo
