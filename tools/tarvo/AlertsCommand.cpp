// tarvo alerts: the per-prayer alert settings in the shared preferences, and the sound file
// each prayer would play.
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "HostDefaults.h"
#include "Output.h"
#include "PreferenceChanges.h"
#include "UsageError.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

constexpr int64_t kTypes = 10;

struct SetOptions {
    std::string prayer;
    bool on = false;
    bool off = false;
    bool vibrate = false;
    std::optional<int64_t> sound;
    std::optional<std::string> prealert;
    std::optional<std::string> file;
    bool noFile = false;
};

int64_t parsePrayer(const std::string& text) {
    if (const auto type = Prayer::typeNamed(text)) return *type;
    throw UsageError("unknown prayer '" + text + "': give a type 0 to 9 or Fajr, Sunrise, Dhuhr, Asr, Sunset, "
                     "Maghrib, Isha or Qiyam");
}

// One prayer's alert settings and the sound file it would play.
struct Alert {
    int64_t type = 0;
    std::string name;
    bool soundOn = false;
    bool soundOnIgnoringGlobal = false;
    bool vibrateOnly = false;
    int64_t sound = 0;
    std::string soundName;
    std::optional<std::string> file;
    bool builtIn = false;
    std::optional<std::string> missingFile;  ///< a built-in sound whose recording is not installed
    bool preAlert = false;
    std::string alertID;
};

struct AlertList {
    bool soundAlertsDisabled = false;
    std::vector<Alert> alerts;
};

Alert alertOf(const Prayer& prayer, const std::string& folder) {
    Alert a;
    const auto path = prayer.pathToAlertFile(&a.builtIn);
    const auto resource = prayer.builtInAlertResource();
    a.type = prayer.Type();
    a.name = prayer.PrayerName();
    a.soundOn = prayer.isSoundAlertEnabledCheckGlobalSetting(true);
    a.soundOnIgnoringGlobal = prayer.isSoundAlertEnabledCheckGlobalSetting(false);
    a.vibrateOnly = prayer.isVibrateAlertEnabled();
    a.sound = prayer.builtInAlertType();
    a.soundName = prayer.getNameForCurrentPrayerSelection();
    a.file = path;
    // A built-in sound whose recording is not installed: which file is missing, and where.
    if (resource && !path) a.missingFile = fmt::format("{}/{}.mp3", folder, *resource);
    a.preAlert = prayer.canPlayPrealert();
    a.alertID = prayer.alertID();
    return a;
}

AlertList alertList() {
    const std::string folder = registerHostResources();
    registerHostDefaults();  // prayer names read UseSunrise
    AlertList list;
    for (int64_t type = 0; type < kTypes; ++type) list.alerts.push_back(alertOf(Prayer(type), folder));
    list.soundAlertsDisabled = Prayer::soundAlertsDisabled();
    return list;
}

ordered_json optionalText(const std::optional<std::string>& text) {
    return text ? ordered_json(*text) : ordered_json(nullptr);
}

std::string jsonText(const AlertList& list) {
    ordered_json all = ordered_json::array();
    for (const Alert& a : list.alerts) {
        ordered_json j;
        j["type"] = a.type;
        j["name"] = a.name;
        j["soundOn"] = a.soundOn;
        j["soundOnIgnoringGlobal"] = a.soundOnIgnoringGlobal;
        j["vibrateOnly"] = a.vibrateOnly;
        j["sound"] = a.sound;
        j["soundName"] = a.soundName;
        j["file"] = optionalText(a.file);
        j["builtIn"] = a.builtIn;
        j["missingFile"] = optionalText(a.missingFile);
        j["preAlert"] = a.preAlert;
        j["alertID"] = a.alertID;
        all.push_back(j);
    }
    return dumpJson(ordered_json{{"soundAlertsDisabled", list.soundAlertsDisabled}, {"alerts", all}});
}

void writeText(std::ostream& out, const AlertList& list) {
    out << "All sounds " << (list.soundAlertsDisabled ? "off (SoundAlertsDisabled)" : "allowed") << "\n";
    for (const Alert& a : list.alerts) {
        const std::string state = a.soundOn                 ? "sound on"
                                  : a.soundOnIgnoringGlobal ? "sound on, all sounds off"
                                  : a.vibrateOnly           ? "vibrate only"
                                                            : "off";
        std::string file = "no file";
        if (a.file) {
            file = *a.file + (a.builtIn ? "" : " (picked)");
        } else if (a.missingFile) {
            file = "missing " + *a.missingFile;
        }
        out << fmt::format("{} {:<8} {:<26} sound {:>3} {:<18} pre-alert {:<3}  {}  [{}]\n", a.type, a.name, state,
                           a.sound, "\"" + a.soundName + "\"", a.preAlert ? "on" : "off", file, a.alertID);
    }
}

void set(const SetOptions& o) {
    // Everything is checked before anything is written.
    registerHostDefaults();  // the names the list prints read UseSunrise
    const int64_t type = parsePrayer(o.prayer);
    if (o.on + o.off + o.vibrate != 1) throw UsageError("give exactly one of --on, --off and --vibrate");
    if (o.sound && !(*o.sound >= 0 && *o.sound <= 10) && *o.sound != Prayer::kUserPickedSound) {
        throw UsageError(fmt::format("--sound {} is not a sound: give 0 to 10, or 100 for the picked file", *o.sound));
    }
    if (o.prealert && *o.prealert != "on" && *o.prealert != "off") {
        throw UsageError("--prealert takes on or off, not '" + *o.prealert + "'");
    }
    if (o.file && o.noFile) throw UsageError("give either --file or --no-file");
    if (o.file && !std::filesystem::is_regular_file(*o.file)) {
        throw UsageError("--file: '" + *o.file + "' is not a file that can be played");
    }

    // Refused before anything is written; each setter writes a preference of its own, and
    // saving tells whether all of them reached the file.
    PreferenceChanges changes;
    const Prayer prayer(type);
    if (o.file) prayer.setPathToCustomAlert(*o.file);
    if (o.noFile) prayer.setPathToCustomAlert(std::nullopt);
    // A picked file plays only when it is the selected sound.
    if (o.sound) {
        prayer.setBuiltInAlertType(*o.sound);
    } else if (o.file) {
        prayer.setBuiltInAlertType(Prayer::kUserPickedSound);
    }
    if (o.on) prayer.turnSoundAlertON();
    if (o.off) prayer.turnSoundAlertOFF();
    if (o.vibrate) prayer.turnVibrateAlertON();
    if (o.prealert) prayer.setCanPlayPrealert(*o.prealert == "on");
    changes.save();
    render(alertList(), false);
}

}  // namespace

void registerAlertsCommand(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("alerts", "Show or change the alert settings of each prayer");
    cmd->add_flag("--json", *json, "Print one JSON object instead of text");
    cmd->footer("Sound files: $TARVO_RESOURCES, else " TARVO_SOUNDS_DIR ", holding 1.mp3 to 10.mp3 (the recordings "
                "are not shipped). Sounds: 0 none, 1 Makkah Azan 1, 2 Orvane Azan, 3 Makkah Azan 2, 4 Telmari Azan, "
                "5 Alarm Beep, 6 Short Beep, 7 Telmari Fajr Azan, 8 Knock Knock, 9 UAE, 10 Telmari Azan 2, 100 the "
                "picked file. A call to prayer at Sunrise or Qiyam plays Knock Knock.");
    cmd->callback([cmd, json] {
        if (cmd->get_subcommands().empty()) render(alertList(), *json);
    });

    auto options = std::make_shared<SetOptions>();
    CLI::App* setCmd = cmd->add_subcommand("set", "Change one prayer's alert");
    setCmd->add_option("PRAYER", options->prayer, "Type 0 to 9, or Fajr, Sunrise, Dhuhr, Asr, Sunset, Maghrib, Isha, Qiyam")
        ->required();
    setCmd->add_flag("--on", options->on, "Sound on (with the prayer's default sound when none is selected)");
    setCmd->add_flag("--off", options->off, "No sound (the selected sound is kept)");
    setCmd->add_flag("--vibrate", options->vibrate, "Vibrate only");
    setCmd->add_option("--sound", options->sound, "Select a sound: 0 to 10, or 100 for the picked file");
    setCmd->add_option("--prealert", options->prealert, "Allow a reminder before the prayer: on or off");
    setCmd->add_option("--file", options->file, "Pick a sound file (selects sound 100 unless --sound is given)");
    setCmd->add_flag("--no-file", options->noFile, "Forget the picked file");
    setCmd->callback([options] { set(*options); });

    const auto setAll = [](bool disabled) {
        PreferenceChanges changes;
        Prayer::setSoundAlertsDisabled(disabled);
        changes.save();
        render(alertList(), false);
    };
    cmd->add_subcommand("all-off", "Switch every prayer's sound off at once (SoundAlertsDisabled)")->callback([setAll] {
        setAll(true);
    });
    cmd->add_subcommand("all-on", "Let the prayers' own sound settings play again")->callback([setAll] {
        setAll(false);
    });
}

}  // namespace tarvo::cli
