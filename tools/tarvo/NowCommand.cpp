// tarvo now: what a host app does once a minute: the current and next prayer, the
// delegate's reports and the watch summary, for a place at a moment.
#include <array>
#include <memory>
#include <optional>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/HostServices.h"
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
    bool verbose = false;
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

struct PrayerMoment {
    int64_t type = 0;
    std::string name;
    std::optional<std::string> time;   ///< ISO 8601 on the place's clock
    std::optional<std::string> clock;  ///< as the apps write it
};

// The time left until the next prayer, in words and as a timer.
struct Countdown {
    double seconds = 0;
    std::string words;
    std::string timer;
};

// The watch summary the facade hands out.
struct Summary {
    std::optional<PrayerMoment> focus;
    int64_t state = 0;
    bool isInPrayer = false;
    std::optional<std::string> inPrayerEnds;
    double totalSeconds = 0;
    double secondsSinceCurrent = 0;
    double secondsToNext = 0;
    double percentElapsed = 0;
    Color color;
    std::array<std::string, 2> complication;
    std::string refreshAt;
    bool stale = false;
};

struct NowReport {
    std::string now;
    std::string hijri;  ///< today's Hijri date in the user's calendar
    std::vector<int32_t> hijriParts;
    std::string description;
    std::string timeZone;
    std::optional<PrayerMoment> current;
    std::optional<PrayerMoment> next;
    std::optional<Countdown> countdown;
    std::vector<std::string> delegateCalls;
    std::optional<Summary> summary;
    bool verbose = false;  ///< the library's inner workings in the text too
};

std::optional<PrayerMoment> momentOf(const std::shared_ptr<Prayer>& prayer, const Place& place,
                                     const Prayer::NameContext& naming) {
    if (!prayer) return std::nullopt;
    PrayerMoment m;
    m.clock = TarvoDAO::getFormattedPrayerTimeForPrayer(prayer, false, false);
    m.type = prayer->Type();
    m.name = prayer->PrayerName(naming);
    if (prayer->PrayerTime()) m.time = place.iso(*prayer->PrayerTime());
    return m;
}

std::optional<Countdown> countdownTo(const std::shared_ptr<Prayer>& next, Date now) {
    if (!next || !next->PrayerTime()) return std::nullopt;
    const double seconds = next->PrayerTime()->timeIntervalSinceDate(now);
    return Countdown{seconds, TarvoDAO::getReadableTimeFromSeconds(seconds, true, false),
                     TarvoDAO::getTimerStyleTimeFromSeconds(seconds, true)};
}

Summary summaryOf(SmartPrayerInfo& info, const Place& place, const Prayer::NameContext& naming) {
    Summary s;
    s.complication = info.getInfoForGraphicalComplication(naming);
    s.refreshAt = place.iso(info.getBestTimeToRefreshComplication());
    s.color = SmartPrayerInfo::colorForPrayerState(info.prayerState());
    if (const auto ends = info.inPrayerEndingTime()) s.inPrayerEnds = place.iso(*ends);
    s.focus = momentOf(info.prayerToFocus(), place, naming);
    s.state = info.prayerState();
    s.isInPrayer = info.isInPrayer();
    s.totalSeconds = info.totalTimeBetweenPrayers();
    s.secondsSinceCurrent = info.secondsSinceCurrentPrayer();
    s.secondsToNext = info.secondsToNextPrayer();
    s.percentElapsed = info.percentOfTimeElapsedBeforeNext();
    s.stale = info.isInfoStale();
    return s;
}

NowReport reportFrom(const CLI::App& cmd, const NowOptions& o) {
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
    HostServices::drainMainQueue();

    // The prayers are named as on the day of the moment asked about, on the place's clock.
    const auto configuration = facade->globalPrayerConfiguration();
    const Prayer::NameContext naming =
        Prayer::nameContextAt(now, Calendar(place.zone), configuration && configuration->UseSunrise(),
                              configuration && configuration->ShowPrayerNamesInArabic());
    NowReport r;
    if (const auto info = facade->getLatestSmartInfoForCountdownToNextPrayer(o.countdown)) {
        r.summary = summaryOf(*info, place, naming);
    }
    r.now = place.iso(now);
    r.hijri = SunCalculator::convertToHijriFromDate(now);
    r.hijriParts = SunCalculator::getCompsForHijriFromDate(now);
    r.description = place.city->description();
    r.timeZone = place.zone.name();
    r.current = momentOf(facade->CurrentPrayer(), place, naming);
    r.next = momentOf(facade->NextPrayer(), place, naming);
    r.countdown = countdownTo(facade->NextPrayer(), now);
    r.delegateCalls = delegate->calls;
    r.verbose = o.verbose;
    return r;
}

ordered_json momentJson(const std::optional<PrayerMoment>& m) {
    if (!m) return nullptr;
    return {{"type", m->type},
            {"name", m->name},
            {"time", m->time ? ordered_json(*m->time) : ordered_json(nullptr)},
            {"clock", m->clock ? ordered_json(*m->clock) : ordered_json(nullptr)}};
}

ordered_json summaryJson(const Summary& s) {
    return {{"focus", momentJson(s.focus)},
            {"state", s.state},
            {"isInPrayer", s.isInPrayer},
            {"inPrayerEnds", s.inPrayerEnds ? ordered_json(*s.inPrayerEnds) : ordered_json(nullptr)},
            {"totalSeconds", s.totalSeconds},
            {"secondsSinceCurrent", s.secondsSinceCurrent},
            {"secondsToNext", s.secondsToNext},
            {"percentElapsed", s.percentElapsed},
            {"color", {s.color.red, s.color.green, s.color.blue, s.color.alpha}},
            {"complication", {s.complication[0], s.complication[1]}},
            {"refreshAt", s.refreshAt},
            {"stale", s.stale}};
}

std::string jsonText(const NowReport& r) {
    ordered_json countdown = nullptr;
    if (r.countdown) {
        countdown = {{"seconds", r.countdown->seconds}, {"words", r.countdown->words}, {"timer", r.countdown->timer}};
    }
    return dumpJson(ordered_json{{"now", r.now},
                                 {"hijri", {{"text", r.hijri}, {"parts", r.hijriParts}}},
                                 {"timeZone", r.timeZone},
                                 {"current", momentJson(r.current)},
                                 {"next", momentJson(r.next)},
                                 {"countdown", countdown},
                                 {"delegateCalls", r.delegateCalls},
                                 {"summary", r.summary ? summaryJson(*r.summary) : ordered_json(nullptr)}});
}

std::string prayerText(const std::optional<PrayerMoment>& m) {
    if (!m) return "none";
    return m->name + " " + m->clock.value_or(missingTimeText());
}

void writeText(std::ostream& out, const NowReport& r) {
    out << "Now:      " << r.now << " (" << printable(r.description) << ", time zone " << r.timeZone << ")\n";
    out << "Hijri:    " << r.hijri << "\n";
    out << "Current:  " << prayerText(r.current) << "\n";
    out << "Next:     " << prayerText(r.next) << "\n";
    if (r.countdown) out << "In:       " << r.countdown->words << " (" << r.countdown->timer << ")\n";
    // The delegate's calls are names inside the library, for a developer who asks for them.
    if (r.verbose) {
        out << "Delegate: "
            << (r.delegateCalls.empty() ? "no calls" : fmt::format("{}", fmt::join(r.delegateCalls, ", "))) << "\n";
    }
    if (!r.summary) {
        out << "Summary:  none\n";
        return;
    }
    const Summary& s = *r.summary;
    out << "Focus:    " << (s.focus ? s.focus->name : "none") << "\n";
    out << "State:    " << s.state << " (" << (s.state >= 0 && s.state <= 5 ? kStateNames[s.state] : "unknown") << ")"
        << (s.isInPrayer ? ", in prayer until " + s.inPrayerEnds.value_or("") : std::string(", not in prayer")) << "\n";
    out << "Watch:    " << s.complication[0] << " / " << s.complication[1] << "\n";
    out << "Refresh:  " << s.refreshAt << (s.stale ? " (stale)" : "") << "\n";
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
    cmd->add_flag("--verbose", options->verbose, "Also show the calls the library made to its delegate");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Name a place (PLACE or --place), or give --lat, --lon and --tz (all three); with neither, the selected "
                "saved city is used, as with --saved. ShowQiyam and the other settings in the "
                "shared preferences (tarvo config) apply.");
    cmd->callback([options, cmd] { render(reportFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
