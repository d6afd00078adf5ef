// tarvo now: what a host app does once a minute: the current and next prayer, the
// delegate's reports and the watch summary, for a place at a moment.
#include <iostream>
#include <memory>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/DispatchQueue.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/summary/SmartPrayerInfo.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

constexpr const char* kStateNames[] = {"started", "soon", "quarter passed", "half passed", "ending", "upcoming"};

struct NowOptions {
    PlaceOptions place;
    std::string at;
    std::optional<int64_t> clock;
    bool countdown = false;
    bool json = false;
};

// Writes down the delegate's calls in the order they arrive.
class RecordingDelegate : public TarvoDAODelegate {
public:
    void tarvoDAOCurrentPrayerChanged() override { calls.emplace_back("tarvoDAOCurrentPrayerChanged"); }
    void tarvoDAOPrayerTimesShouldRefreshAsDateChanged() override {
        calls.emplace_back("tarvoDAOPrayerTimesShouldRefreshAsDateChanged");
    }
    std::vector<std::string> calls;
};

ordered_json prayerJson(const std::shared_ptr<Prayer>& prayer, const Place& place) {
    if (!prayer) return nullptr;
    const auto clock = TarvoDAO::getFormattedPrayerTimeForPrayer(prayer, false, false);
    return {{"type", prayer->Type()},
            {"name", prayer->PrayerName()},
            {"time", prayer->PrayerTime() ? ordered_json(place.iso(*prayer->PrayerTime())) : ordered_json(nullptr)},
            {"clock", clock ? ordered_json(*clock) : ordered_json(nullptr)}};
}

std::string prayerText(const std::shared_ptr<Prayer>& prayer) {
    if (!prayer) return "none";
    return prayer->PrayerName() + " " + TarvoDAO::getFormattedPrayerTimeForPrayer(prayer, false, false).value_or("(no time)");
}

// The time left until the next prayer, in words and as a timer.
ordered_json countdownJson(const std::shared_ptr<Prayer>& next, Date now) {
    if (!next || !next->PrayerTime()) return nullptr;
    const double seconds = next->PrayerTime()->timeIntervalSinceDate(now);
    return {{"seconds", seconds},
            {"words", TarvoDAO::getReadableTimeFromSeconds(seconds, true, false)},
            {"timer", TarvoDAO::getTimerStyleTimeFromSeconds(seconds, true)}};
}

ordered_json summaryJson(SmartPrayerInfo& info, const Place& place) {
    const auto complication = info.getInfoForGraphicalComplication();
    const Date refresh = info.getBestTimeToRefreshComplication();
    const Color color = SmartPrayerInfo::colorForPrayerState(info.prayerState());
    const auto ends = info.inPrayerEndingTime();
    return {{"focus", prayerJson(info.prayerToFocus(), place)},
            {"state", info.prayerState()},
            {"isInPrayer", info.isInPrayer()},
            {"inPrayerEnds", ends ? ordered_json(place.iso(*ends)) : ordered_json(nullptr)},
            {"totalSeconds", info.totalTimeBetweenPrayers()},
            {"secondsSinceCurrent", info.secondsSinceCurrentPrayer()},
            {"secondsToNext", info.secondsToNextPrayer()},
            {"percentElapsed", info.percentOfTimeElapsedBeforeNext()},
            {"color", {color.red, color.green, color.blue, color.alpha}},
            {"complication", {complication[0], complication[1]}},
            {"refreshAt", place.iso(refresh)},
            {"stale", info.isInfoStale()}};
}

void printText(const ordered_json& summary, const TarvoDAO& facade, const RecordingDelegate& delegate,
               const Place& place, Date now) {
    std::cout << "Now:      " << place.iso(now) << " (" << printable(place.city->description()) << ", time zone "
              << place.zone.name() << ")\n";
    std::cout << "Current:  " << prayerText(facade.CurrentPrayer()) << "\n";
    std::cout << "Next:     " << prayerText(facade.NextPrayer()) << "\n";
    const ordered_json countdown = countdownJson(facade.NextPrayer(), now);
    if (!countdown.is_null()) {
        std::cout << "In:       " << countdown["words"].get<std::string>() << " (" << countdown["timer"].get<std::string>()
                  << ")\n";
    }
    std::cout << "Delegate: " << (delegate.calls.empty() ? "no calls" : fmt::format("{}", fmt::join(delegate.calls, ", ")))
              << "\n";
    if (summary.is_null()) {
        std::cout << "Summary:  none\n";
        return;
    }
    const auto state = summary["state"].get<int64_t>();
    std::cout << "Focus:    " << summary["focus"]["name"].get<std::string>() << "\n";
    std::cout << "State:    " << state << " (" << (state >= 0 && state <= 5 ? kStateNames[state] : "unknown") << ")"
              << (summary["isInPrayer"].get<bool>()
                      ? ", in prayer until " + summary["inPrayerEnds"].get<std::string>()
                      : std::string(", not in prayer"))
              << "\n";
    std::cout << "Watch:    " << summary["complication"][0].get<std::string>() << " / "
              << summary["complication"][1].get<std::string>() << "\n";
    std::cout << "Refresh:  " << summary["refreshAt"].get<std::string>()
              << (summary["stale"].get<bool>() ? " (stale)" : "") << "\n";
}

void run(const CLI::App& cmd, const NowOptions& o) {
    applyClockOption(o.clock, o.json);
    const Place place = resolvePlace(cmd, o.place);
    // The place's zone is the device's by now, so --at reads on the place's clock.
    if (!o.at.empty()) Clock::installFixed(parseMoment(o.at, "--at"));
    const Date now = Clock::now();

    auto facade = TarvoDAO::getSharedInstance();
    auto delegate = std::make_shared<RecordingDelegate>();
    facade->setDaodelegate(delegate);
    facade->setActiveCity(place.city);
    facade->getPrayerTimesForCurrentDateWithDayOffset(0, place.city);
    facade->determineCurrentAndNextPrayerTimeForCity(place.city, true);
    DispatchQueue::main().drain();

    const auto info = facade->getLatestSmartInfoForCountdownToNextPrayer(o.countdown);
    const ordered_json summary = info ? summaryJson(*info, place) : ordered_json(nullptr);
    if (o.json) {
        const ordered_json out{{"now", place.iso(now)},
                               {"timeZone", place.zone.name()},
                               {"current", prayerJson(facade->CurrentPrayer(), place)},
                               {"next", prayerJson(facade->NextPrayer(), place)},
                               {"countdown", countdownJson(facade->NextPrayer(), now)},
                               {"delegateCalls", delegate->calls},
                               {"summary", summary}};
        std::cout << out.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << "\n";
    } else {
        printText(summary, *facade, *delegate, place, now);
    }
}

}  // namespace

void registerNowCommand(CLI::App& app) {
    auto options = std::make_shared<NowOptions>();
    CLI::App* cmd = app.add_subcommand("now", "Show the current and next prayer and the watch summary for a place");
    addPlaceOptions(*cmd, options->place);
    cmd->add_option("--at", options->at, "The moment as a local time YYYY-MM-DDTHH:MM[:SS] on the place's clock "
                                         "(default: now)");
    addClockOption(*cmd, options->clock);
    cmd->add_flag("--countdown", options->countdown,
                  "Summary for a countdown: the focus moves to the next prayer 40 minutes after the current one");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Give either --lat, --lon and --tz (all three), or --saved. ShowQiyam and the other settings in the "
                "shared preferences (tarvo config) apply.");
    cmd->callback([options, cmd] { run(*cmd, *options); });
}

}  // namespace tarvo::cli
