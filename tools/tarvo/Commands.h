#pragma once

#include <CLI/CLI.hpp>

namespace tarvo::cli {

/// Reads the command line (argv[0] is the program's name) and runs the command it names;
/// the exit status: 0 done, 1 failed, 2 a usage error. Log lines written while a command
/// ran reach standard error before the command's own output.
int run(int argc, const char* const* argv);

/// Each subcommand registers itself on the application and runs from its callback.
void registerTimesCommand(CLI::App& app);
void registerQiblaCommand(CLI::App& app);
void registerConfigCommand(CLI::App& app);
void registerCitiesCommand(CLI::App& app);
void registerDayCommand(CLI::App& app);
void registerNowCommand(CLI::App& app);
void registerLocateCommand(CLI::App& app);
void registerMoonCommand(CLI::App& app);
void registerSkyCommand(CLI::App& app);
void registerDishCommand(CLI::App& app);
/// The directory, cache and last-used subcommands of `tarvo cities`.
void registerCitiesDirectoryCommands(CLI::App& cities);
void registerAlertsCommand(CLI::App& app);
void registerDurationCommand(CLI::App& app);
void registerHijriCommand(CLI::App& app);
void registerMonthCommand(CLI::App& app);
void registerMethodsCommand(CLI::App& app);
void registerZonesCommand(CLI::App& app);

}  // namespace tarvo::cli
