// tarvo duration: a number of seconds as the apps write a countdown, in words or as a timer.
#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>

#include "Commands.h"
#include "UsageError.h"
#include "tarvo/facade/TarvoDAO.h"

namespace tarvo::cli {

namespace {

struct DurationOptions {
    std::string seconds;
    bool includeSeconds = false;
    bool abbreviated = false;
    bool timer = false;
};

double parseSeconds(const std::string& text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (ec != std::errc() || ptr != end || !std::isfinite(value)) {
        throw UsageError("SECONDS: '" + text + "' is not a finite number of seconds");
    }
    return value;
}

void run(const DurationOptions& o) {
    const double seconds = parseSeconds(o.seconds);
    std::cout << (o.timer ? TarvoDAO::getTimerStyleTimeFromSeconds(seconds, true)
                          : TarvoDAO::getReadableTimeFromSeconds(seconds, o.includeSeconds, o.abbreviated))
              << "\n";
}

}  // namespace

void registerDurationCommand(CLI::App& app) {
    auto options = std::make_shared<DurationOptions>();
    CLI::App* cmd = app.add_subcommand("duration", "Write a number of seconds as a countdown text");
    cmd->add_option("SECONDS", options->seconds, "The duration in seconds (the sign is dropped)")->required();
    cmd->add_flag("--seconds", options->includeSeconds, "Show the seconds after the minutes");
    cmd->add_flag("--short", options->abbreviated, "Only the short units (1h 5m)");
    cmd->add_flag("--timer", options->timer, "Timer style HH:MM:SS without the whole days");
    cmd->footer("Digits: Arabic-Indic when the locale is Arabic with Arabic digits, e.g. "
                "LANG=ar_SA.UTF-8@numbers=arab; the timer follows the locale's digits.");
    cmd->callback([options] { run(*options); });
}

}  // namespace tarvo::cli
