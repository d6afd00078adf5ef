// tarvo config: read and change the shared preferences.
#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "HostDefaults.h"
#include "Options.h"
#include "Output.h"
#include "PreferenceChanges.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo::cli {

namespace {

using json = nlohmann::json;

struct ConfigOptions {
    std::string key;
    std::string value;
    std::optional<std::string> type;
    bool json = false;
};

// Every preference the library reads, with its type, range and meaning.
const std::vector<SettingDescription>& knownSettings() {
    static const std::vector<SettingDescription> all = [] {
        std::vector<SettingDescription> list = PrayerConfiguration::settings();
        for (const SettingDescription& s : TarvoCity::automaticCitySettings()) list.push_back(s);
        return list;
    }();
    return all;
}

const SettingDescription* knownSetting(std::string_view key) {
    for (const SettingDescription& s : knownSettings()) {
        if (s.key == key) return &s;
    }
    return nullptr;
}

// What an unset key reads as: the host's registered default, else false or 0.
json defaultOf(const SettingDescription& s) {
    if (hostDefaults().contains(std::string(s.key))) return hostDefaults()[std::string(s.key)];
    if (s.type == SettingDescription::Type::boolean) return json(false);
    return s.type == SettingDescription::Type::integer ? json(0) : json(0.0);
}

// The known keys, each with its type, default, meaning and range.
struct KeyList {
    json keys = json::array();
};

KeyList keyList() {
    KeyList list;
    for (const SettingDescription& s : knownSettings()) {
        json entry{{"key", s.key}, {"type", s.typeName()}, {"default", defaultOf(s)}, {"meaning", s.meaning}};
        if (std::isfinite(s.minimum)) entry["minimum"] = s.minimum;
        if (std::isfinite(s.maximum)) entry["maximum"] = s.maximum;
        list.keys.push_back(entry);
    }
    return list;
}

std::string jsonText(const KeyList& list) { return dumpJson(list.keys); }

void writeText(std::ostream& out, const KeyList& list) {
    for (const json& e : list.keys) {
        std::string range;
        if (e.contains("minimum")) range = fmt::format(" {} to {}", e["minimum"].get<double>(), e["maximum"].get<double>());
        out << fmt::format("{:<32} {:<6}{:<14} default {:<6} {}\n", e["key"].get<std::string>(),
                           e["type"].get<std::string>(), range, dumpJson(e["default"]), e["meaning"].get<std::string>());
    }
}

std::shared_ptr<UserDefaults> store() {
    registerHostDefaults();
    return UserDefaults::sharedUserDefaultsObj();
}

// Text as it is, data as its size and bytes in hex, everything else as JSON.
std::string toText(const json& value) {
    if (value.is_string()) return printable(value.get<std::string>());
    if (value.is_binary()) {
        std::string hex;
        for (const uint8_t byte : value.get_binary()) hex += fmt::format("{:02x}", byte);
        return fmt::format("<{} bytes: {}>", value.get_binary().size(), hex);
    }
    return dumpJson(value);
}

// The value of one key.
struct Value {
    json value;
};

// A value of the store: data as bytes, every other kind read from its JSON text.
std::optional<json> storedValue(const UserDefaults& defaults, const std::string& key) {
    if (auto data = defaults.dataForKey(key)) return json::binary(std::move(*data));
    if (auto text = defaults.jsonForKey(key)) return json::parse(*text);
    return std::nullopt;
}

Value valueOf(const ConfigOptions& o) {
    const auto value = storedValue(*store(), o.key);
    if (!value) throw std::runtime_error("no value for '" + o.key + "'");
    return {*value};
}

std::string jsonText(const Value& v) { return dumpJson(v.value); }

void writeText(std::ostream& out, const Value& v) { out << toText(v.value) << "\n"; }

// Every key's value, and which of them are stored (the others are defaults).
struct AllValues {
    json all;
    json stored;
};

AllValues allValues() {
    const auto defaults = store();
    AllValues values{json::parse(defaults->dictionaryRepresentationJson()),
                     json::parse(defaults->persistentDomainJson())};
    for (auto it = values.all.begin(); it != values.all.end(); ++it) {
        if (auto data = defaults->dataForKey(it.key())) *it = json::binary(std::move(*data));
    }
    return values;
}

std::string jsonText(const AllValues& v) { return dumpJson(v.all); }

void writeText(std::ostream& out, const AllValues& v) {
    for (const auto& [key, value] : v.all.items()) {
        out << printable(key) << " = " << toText(value) << (v.stored.contains(key) ? "" : " (default)") << "\n";
    }
}

json parseValue(const ConfigOptions& o) {
    const std::string& text = o.value;
    // A key the library reads takes its own type: "true" for a bool stored as 1/0 is 1.
    if (const SettingDescription* known = knownSetting(o.key)) {
        // A bool the library reads as an integer may also be given as an int (1 or 0).
        const bool asStored = known->storedAsInteger && o.type == "int";
        if (o.type && *o.type != known->typeName() && !asStored) {
            throw UsageError(fmt::format("{} is {} {}; leave out --type", o.key,
                                         known->typeName() == std::string_view("int") ? "an" : "a", known->typeName()));
        }
        std::string why;
        if (auto value = known->valueFromText(text, why)) {
            return std::visit([](auto stored) { return json(stored); }, *value);
        }
        throw UsageError(why);
    }
    const std::string type = o.type.value_or("string");
    auto malformed = [&] { return UsageError("'" + text + "' is not a valid " + type); };
    if (type == "string") return text;
    if (type == "bool") {
        for (const char* yes : {"true", "TRUE", "True", "yes", "YES", "Yes", "1"}) {
            if (text == yes) return true;
        }
        for (const char* no : {"false", "FALSE", "False", "no", "NO", "No", "0"}) {
            if (text == no) return false;
        }
        throw malformed();
    }
    const char* end = text.data() + text.size();
    if (type == "int") {
        int64_t number = 0;
        const auto [ptr, ec] = std::from_chars(text.data(), end, number);
        if (text.empty() || ec != std::errc() || ptr != end) throw malformed();
        return number;
    }
    double number = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), end, number);
    if (text.empty() || ec != std::errc() || ptr != end || !std::isfinite(number)) throw malformed();
    return number;
}

std::runtime_error writeFailed(const UserDefaults& defaults, const std::string& key) {
    return std::runtime_error("'" + key + "' could not be changed in " + defaults.path().string());
}

void set(const ConfigOptions& o) {
    if (o.key.empty()) throw UsageError("the key must not be empty");
    const json value = parseValue(o);
    PreferenceChanges changes;
    if (!changes.defaults().setJson(o.key, dumpJson(value))) throw writeFailed(changes.defaults(), o.key);
    changes.save();
}

void unset(const ConfigOptions& o) {
    PreferenceChanges changes;
    if (!changes.defaults().removeObjectForKey(o.key)) throw writeFailed(changes.defaults(), o.key);
    changes.save();
}

}  // namespace

void registerConfigCommand(CLI::App& app) {
    auto options = std::make_shared<ConfigOptions>();
    CLI::App* config = app.add_subcommand("config", "Read and change the shared preferences");
    config->require_subcommand(1);
    config->footer(
        "The preferences live in shared.sqlite in the data folder: $TARVO_HOME, else $XDG_DATA_HOME/tarvo, "
        "else ~/.local/share/tarvo.\nExit status: 0 done, 1 no value for the key or the preferences cannot be "
        "written, 2 bad usage.");

    CLI::App* get = config->add_subcommand("get", "Show every preference, or the value of one key");
    get->add_option("key", options->key, "The preference to show (all when left out)");
    get->add_flag("--json", options->json,
                  "Print JSON: the value of the key, or one object of every key and value");
    get->footer("A key with no value, stored or default, prints nothing and exits with status 1.\n"
                "Without --json text is shown without control characters, data in hex, and other values as JSON; in the list, "
                "\"(default)\" marks values the tool registers that are not stored.");
    get->callback([options] {
        if (options->key.empty()) {
            render(allValues(), options->json);
        } else {
            render(valueOf(*options), options->json);
        }
    });

    CLI::App* setCommand = config->add_subcommand("set", "Store a value under a key");
    setCommand->add_option("key", options->key, "The preference to set")->required();
    setCommand->add_option("value", options->value, "The value, read as --type says")->required();
    setCommand->add_option("--type", options->type,
                           "For a key the library does not know: how to read the value, string (default), int, bool "
                           "(true/false, yes/no, 1/0) or double. Known keys (tarvo config keys) take their own type")
        ->check(CLI::IsMember({"string", "int", "bool", "double"}));
    setCommand->callback([options] { set(*options); });

    CLI::App* unsetCommand = config->add_subcommand("unset", "Remove the stored value of a key (its default, if any, shows again)");
    unsetCommand->add_option("key", options->key, "The preference to remove")->required();
    unsetCommand->callback([options] { unset(*options); });

    CLI::App* keys = config->add_subcommand("keys", "List every preference the library reads: type, range, default, meaning");
    keys->add_flag("--json", options->json, "Print one JSON array of {key, type, default, meaning, minimum, maximum}");
    keys->footer("The per-prayer alert keys are set with tarvo alerts set.");
    keys->callback([options] { render(keyList(), options->json); });

    CLI::App* path = config->add_subcommand("path", "Show the file the shared preferences are kept in");
    path->callback([] { std::cout << store()->path().string() << "\n"; });
}

}  // namespace tarvo::cli
