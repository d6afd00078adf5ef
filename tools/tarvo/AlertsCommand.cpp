// tarvo alerts: the per-prayer alert settings in the shared preferences, and the sound file
// each prayer would play.
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "HostDefaults.h"
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

ordered_json alertJson(const Prayer& prayer, const std::string& folder) {
    bool builtIn = false;
    const auto path = prayer.pathToAlertFile(&builtIn);
    const auto resource = prayer.builtInAlertResource();
    ordered_json j;
    j["type"] = prayer.Type();
    j["name"] = prayer.PrayerName();
    j["soundOn"] = prayer.isSoundAlertEnabledCheckGlobalSetting(true);
    j["soundOnIgnoringGlobal"] = prayer.isSoundAlertEnabledCheckGlobalSetting(false);
    j["vibrateOnly"] = prayer.isVibrateAlertEnabled();
    j["sound"] = prayer.builtInAlertType();
    j["soundName"] = prayer.getNameForCurrentPrayerSelection();
    j["file"] = path ? ordered_json(*path) : ordered_json(nullptr);
    j["builtIn"] = builtIn;
    // A built-in sound whose recording is not installed: which file is missing, and where.
    j["missingFile"] = resource && !path ? ordered_json(fmt::format("{}/{}.mp3", folder, *resource)) : ordered_json(nullptr);
    j["preAlert"] = prayer.canPlayPrealert();
    j["alertID"] = prayer.alertID();
    return j;
}

void list(bool json) {
    const std::string folder = registerHostResources();
    registerHostDefaults();  // prayer names read UseSunrise
    ordered_json all = ordered_json::array();
    for (int64_t type = 0; type < kTypes; ++type) all.push_back(alertJson(Prayer(type), folder));
    if (json) {
        const ordered_json out{{"soundAlertsDisabled", Prayer::soundAlertsDisabled()}, {"alerts", all}};
        std::cout << out.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << "\n";
        return;
    }
    std::cout << "All sounds " << (Prayer::soundAlertsDisabled() ? "off (SoundAlertsDisabled)" : "allowed") << "\n";
    for (const auto& a : all) {
        std::string state = a["soundOn"].get<bool>() ? "sound on"
                            : a["soundOnIgnoringGlobal"].get<bool>() ? "sound on, all sounds off"
                            : a["vibrateOnly"].get<bool>() ? "vibrate only"
                                                           : "off";
        std::string file = "no file";
        if (!a["file"].is_null()) {
            file = a["file"].get<std::string>() + (a["builtIn"].get<bool>() ? "" : " (picked)");
        } else if (!a["missingFile"].is_null()) {
            file = "missing " + a["missingFile"].get<std::string>();
        }
        std::cout << fmt::format("{} {:<8} {:<26} sound {:>3} {:<18} pre-alert {:<3}  {}  [{}]\n", a["type"].get<int64_t>(),
                                 a["name"].get<std::string>(), state, a["sound"].get<int64_t>(),
                                 "\"" + a["soundName"].get<std::string>() + "\"", a["preAlert"].get<bool>() ? "on" : "off",
                                 file, a["alertID"].get<std::string>());
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
    list(false);
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
        if (cmd->get_subcommands().empty()) list(*json);
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
        list(false);
    };
    cmd->add_subcommand("all-off", "Switch every prayer's sound off at once (SoundAlertsDisabled)")->callback([setAll] {
        setAll(true);
    });
    cmd->add_subcommand("all-on", "Let the prayers' own sound settings play again")->callback([setAll] {
        setAll(false);
    });
}

}  // namespace tarvo::cli
