// tarvo: prayer times, qibla and the user's cities at the terminal (the command line read
// and run; main.cpp only calls this, so that the fuzzer can run the same entry point).
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "tarvo/Version.h"
#include "tarvo/platform/Log.h"

int tarvo::cli::run(int argc, const char* const* argv) {
    // A person reads the log line that says why before the output it explains.
    tarvo::Log::setSynchronous(true);
    CLI::App app{"tarvo: Muslim prayer times, qibla, cities, the moon and the sky from the TarvoCore library"};
    app.set_version_flag("--version", std::string(reinterpret_cast<const char*>(TarvoCoreVersionString)));
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Show help for every command");
    app.footer("Environment: TZ (the device's time zone), TARVO_LOG_LEVEL (verbose, debug, info, error), "
               "TARVO_HOME (the data folder), TARVO_DIRECTORY (the city directory file), "
               "TARVO_RESOURCES (the alert sounds).");

    tarvo::cli::registerTimesCommand(app);
    tarvo::cli::registerQiblaCommand(app);
    tarvo::cli::registerConfigCommand(app);
    tarvo::cli::registerCitiesCommand(app);
    tarvo::cli::registerDayCommand(app);
    tarvo::cli::registerNowCommand(app);
    tarvo::cli::registerLocateCommand(app);
    tarvo::cli::registerMoonCommand(app);
    tarvo::cli::registerSkyCommand(app);
    tarvo::cli::registerDishCommand(app);
    tarvo::cli::registerMonthCommand(app);
    tarvo::cli::registerHijriCommand(app);
    tarvo::cli::registerDurationCommand(app);
    tarvo::cli::registerAlertsCommand(app);

    int status = 0;
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        status = app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        status = app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        status = app.exit(e);
    } catch (const CLI::ParseError& e) {
        std::cerr << "tarvo: " << e.what() << " (see --help)\n";
        status = e.get_exit_code() == 0 ? 0 : 2;
    } catch (const tarvo::cli::UsageError& e) {
        std::cerr << "tarvo: " << e.what() << "\n";
        status = 2;
    } catch (const std::exception& e) {
        std::cerr << "tarvo: " << e.what() << "\n";
        status = 1;
    }
    // Output that could not be written (a full disk, a closed pipe) is a failure, whatever
    // the command: checked once here, after everything went to the stream.
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout)) {
        const int why = errno;
        std::cerr << "tarvo: cannot write the output: " << std::strerror(why) << "\n";
        if (status == 0) status = 1;
    }
    tarvo::Log::flush();
    return status;
}
