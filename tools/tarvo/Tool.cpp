// tarvo: prayer times, qibla and the user's cities at the terminal (the command line read
// and run; main.cpp only calls this, so that the fuzzer can run the same entry point).
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <regex>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Commands.h"
#include "UsageError.h"
#include "tarvo/Version.h"
#include "tarvo/platform/EditDistance.h"
#include "tarvo/platform/HostServices.h"

namespace {

using tarvo::cli::UsageError;

using tarvo::text::editDistance;

// "; did you mean 'times'?" for the nearest of `names` within two edits, else "".
std::string nearest(const std::string& word, const std::vector<std::string>& names) {
    std::string best;
    size_t bestDistance = 3;
    for (const std::string& name : names) {
        const size_t d = editDistance(word, name);
        if (d < bestDistance) {
            best = name;
            bestDistance = d;
        }
    }
    return best.empty() ? "" : "; did you mean '" + best + "'?";
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) names.push_back(sub->get_name());
    return names;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

// The command words are checked before the options, so that a mistyped command is named
// (with the nearest real one) instead of being reported as a missing command.
void checkCommandWords(const CLI::App& app, int argc, const char* const* argv) {
    const CLI::App* level = &app;
    std::string path = "tarvo";
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--help" || word == "-h" || word == "--help-all" || word == "--version") return;
        const std::vector<std::string> names = commandNames(*level);
        if (names.empty()) return;  // a command's own options and arguments follow
        if (!word.empty() && word[0] == '-') continue;
        if (std::find(names.begin(), names.end(), word) == names.end()) {
            throw UsageError("'" + path + " " + word + "' is not a command" + nearest(word, names) +
                             " (commands: " + joined(names) + ")");
        }
        level = level->get_subcommand(word);
        path += " " + word;
    }
    if (level->get_require_subcommand_min() > 0) {
        throw UsageError("'" + path + "' needs a command: " + joined(commandNames(*level)));
    }
}

// The option names of the command the words on the command line lead to.
std::vector<std::string> optionNames(const CLI::App& app, int argc, const char* const* argv) {
    const CLI::App* level = &app;
    for (int i = 1; i < argc; ++i) {
        const auto names = commandNames(*level);
        if (std::find(names.begin(), names.end(), std::string(argv[i])) != names.end()) level = level->get_subcommand(argv[i]);
    }
    std::vector<std::string> out;
    for (const CLI::Option* option : level->get_options()) {
        for (const std::string& name : option->get_lnames()) out.push_back("--" + name);
    }
    return out;
}

// The first word before any "--" that looks like an option the command does not have
// ("--calendar" of "--calendar=umalqura"), if any.
std::optional<std::string> unknownOption(const CLI::App& app, int argc, const char* const* argv) {
    const std::vector<std::string> options = optionNames(app, argc, argv);
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--") break;
        if (word.rfind("--", 0) != 0 || word == "--help" || word == "--help-all" || word == "--version") continue;
        const std::string option = word.substr(0, word.find('='));
        if (std::find(options.begin(), options.end(), option) == options.end()) return option;
    }
    return std::nullopt;
}

// The parser's messages in the user's words. An unknown option explains most of them (the
// parser then takes its value for an extra argument), so it is named first.
std::string plainMessage(const CLI::ParseError& error, const CLI::App& app, int argc, const char* const* argv) {
    const std::string what = error.what();
    if (const auto option = unknownOption(app, argc, argv)) {
        return "unknown option " + *option + nearest(*option, optionNames(app, argc, argv));
    }
    std::smatch m;
    if (std::regex_search(what, m, std::regex(R"(^(-\S+): At Most 1 required but received (\d+))"))) {
        return m[1].str() + " was given " + m[2].str() + " times; give it once";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+): At Most (\d+) required but received (\d+))"))) {
        return fmt::format("too many values: {} takes at most {}, and {} were given", m[1].str(),
                           m[2].str(), m[3].str());
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+): At least (\d+) required but received (\d+))")) ||
        std::regex_search(what, m, std::regex(R"(^Expected at least (\d+) arguments to (\S+), got (\d+))"))) {
        return "too few values for " + m[1].str() + " (see --help)";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+): \d+ required \S+ missing)")) ||
        std::regex_search(what, m, std::regex(R"(^Expected exactly \d+ arguments to (\S+))"))) {
        return m[1].str() + " needs a value";
    }
    if (std::regex_search(what, m, std::regex(R"(^Could not convert: (\S+) = (.*))"))) {
        return m[1].str() + ": '" + m[2].str() + "' is not a valid value";
    }
    if (std::regex_search(what, m, std::regex(R"(^The value (.*) is not an allowed value for (\S+))"))) {
        return m[2].str() + ": '" + m[1].str() + "' is not an allowed value";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+): Should be true/false or a number)")) ||
        std::regex_search(what, m, std::regex(R"(^(\S+): too many inputs for a flag)"))) {
        return m[1].str() + " is a switch and takes no value";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+) excludes (\S+))"))) {
        return "give either " + m[1].str() + " or " + m[2].str() + ", not both";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+) requires (\S+))"))) {
        return m[1].str() + " needs " + m[2].str() + " too";
    }
    if (const size_t at = what.find("expected: "); at != std::string::npos) {
        // The parser lists the words it could not place; an unknown option explains the rest.
        std::istringstream words(what.substr(at + 10));
        std::vector<std::string> extras{std::istream_iterator<std::string>(words), {}};
        // After "--" every word is a value, so a real option there is one word too many, not an
        // unknown option.
        const bool afterSeparator = std::find(argv + 1, argv + argc, std::string_view("--")) != argv + argc;
        for (const std::string& word : extras) {
            if (word.rfind("-", 0) == 0) {
                const std::string option = word.substr(0, word.find('='));
                const std::vector<std::string> options = optionNames(app, argc, argv);
                if (afterSeparator && std::find(options.begin(), options.end(), option) != options.end()) {
                    return "unexpected argument '" + word + "': every word after '--' is a value; give " + option +
                           " before '--'";
                }
                return "unknown option " + option + nearest(option, options);
            }
        }
        return "unexpected argument '" + (extras.empty() ? std::string() : extras.front()) +
               "' (see --help; a name of several words goes in quotes)";
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+): (\S+) not in \{(.*)\})"))) {
        return m[1].str() + ": '" + m[2].str() + "' is not one of " + m[3].str();
    }
    if (std::regex_search(what, m, std::regex(R"(^(\S+) is required)"))) return what;
    // A validator's own message after the option's name is already in plain words.
    if (error.get_name() == "ValidationError") return what;
    return what + " (see --help)";
}

// Help that shows what a value is without the parser's type jargon ("FLOAT:-90..90").
class PlainFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option* option) const override {
        std::string text = CLI::Formatter::make_option_opts(option);
        text = std::regex_replace(text, std::regex(R"(\b(FLOAT|INT|UINT|TEXT|ENUM|BOOLEAN):)"), "");
        text = std::regex_replace(text, std::regex(R"(\bFLOAT\b)"), "NUMBER");
        text = std::regex_replace(text, std::regex(R"(\bINT\b)"), "INTEGER");
        return text;
    }
};

}  // namespace

int tarvo::cli::run(int argc, const char* const* argv) {
    // A person reads the log line that says why before the output it explains.
    tarvo::HostServices::setSynchronousLogging(true);
    CLI::App app{"tarvo: Muslim prayer times, qibla, cities, the moon and the sky from the TarvoCore library"};
    app.formatter(std::make_shared<PlainFormatter>());
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
    tarvo::cli::registerMethodsCommand(app);
    tarvo::cli::registerZonesCommand(app);

    int status = 0;
    if (argc <= 1) {
        // Nothing asked: what can be asked.
        app.name("tarvo");
        std::cout << app.help();
        std::cout.flush();
        return 0;
    }
    try {
        checkCommandWords(app, argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        status = app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        status = app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        status = app.exit(e);
    } catch (const CLI::ParseError& e) {
        std::cerr << "tarvo: " << plainMessage(e, app, argc, argv) << "\n";
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
    tarvo::HostServices::flushLog();
    return status;
}
