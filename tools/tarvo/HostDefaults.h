#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace tarvo::cli {

/// The defaults the tool, as the host application, registers in the shared preferences.
const nlohmann::json& hostDefaults();
/// Registers hostDefaults() in the shared preferences, once, before a command first uses them.
void registerHostDefaults();

/// Points the library's bundle at the sound files: $TARVO_RESOURCES, else the installed
/// share folder. Answers the folder used.
std::string registerHostResources();

}  // namespace tarvo::cli
