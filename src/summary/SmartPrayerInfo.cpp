#include "tarvo/summary/SmartPrayerInfo.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A prayer's time in seconds since 1970; NaN for a record without a time, so every interval
// with it is NaN and matches no bound.
double timeOf(const std::shared_ptr<Prayer>& prayer) {
    return prayer && prayer->PrayerTime() ? prayer->PrayerTime()->timeIntervalSince1970() : kNaN;
}

int64_t typeOf(const std::shared_ptr<Prayer>& prayer) { return prayer ? prayer->Type() : -1; }

bool same(const std::shared_ptr<Prayer>& a, const std::shared_ptr<Prayer>& b) { return a && a->isEqualToPrayer(b); }

// Sunrise and tomorrow's Fajr and sunrise are short-lived: no proportional stages.
bool hasNoStages(int64_t type) {
    return type == Prayer::Sunrise || type == Prayer::TomorrowFajr || type == Prayer::TomorrowSunrise;
}

double clockNow() { return Clock::now().timeIntervalSince1970(); }

}  // namespace

SmartPrayerInfo::SmartPrayerInfo(std::shared_ptr<Prayer> currentPrayer, std::shared_ptr<Prayer> nextPrayer,
                                 bool forCountdownToNextPrayer)
    : forCountdownToNextPrayer_(forCountdownToNextPrayer),
      currentPrayer_(std::move(currentPrayer)),
      nextPrayer_(std::move(nextPrayer)) {
    prayerToFocus_ = nextPrayer_;
    refreshPrayerToFocus();
}

SmartPrayerInfo::SmartPrayerInfo(std::shared_ptr<Prayer> currentPrayer, std::shared_ptr<Prayer> nextPrayer,
                                 bool forCountdownToNextPrayer, Date moment)
    : forCountdownToNextPrayer_(forCountdownToNextPrayer),
      currentPrayer_(std::move(currentPrayer)),
      nextPrayer_(std::move(nextPrayer)),
      moment_(moment) {
    prayerToFocus_ = nextPrayer_;
    refreshPrayerToFocus();
}

double SmartPrayerInfo::now() const { return moment_ ? moment_->timeIntervalSince1970() : clockNow(); }

void SmartPrayerInfo::refreshTimeBetweenPrayers() {
    const double t = now();
    const double current = timeOf(currentPrayer_);
    const double next = timeOf(nextPrayer_);
    totalTimeBetweenPrayers_ = next - current;
    secondsSinceCurrentPrayer_ = t - current;
    secondsToNextPrayer_ = next - t;
    // No guard for a zero interval: the ratio is whatever the division gives.
    percentOfTimeElapsedBeforeNext_ = secondsSinceCurrentPrayer_ / totalTimeBetweenPrayers_;
}

void SmartPrayerInfo::refreshPrayerToFocus() {
    refreshTimeBetweenPrayers();
    const int64_t currentType = typeOf(currentPrayer_);
    const int64_t nextType = typeOf(nextPrayer_);
    const bool nextIsFajr = nextType == Prayer::Fajr || nextType == Prayer::TomorrowFajr;
    const double lookAheadMinutes = nextIsFajr ? 180 : 60;
    const bool currentIsFajr = currentType == Prayer::Fajr || currentType == Prayer::TomorrowFajr;
    const double threshold = currentIsFajr ? 1800 : lookAheadMinutes * 60;
    const bool ishaThenQiyam = currentType == Prayer::Isha && nextType == Prayer::Qiyam;

    prayerToFocus_ = nextPrayer_;
    bool decided = false;
    if (secondsToNextPrayer_ > threshold && currentType != Prayer::Sunrise && !ishaThenQiyam) {
        // The next prayer is far away: show the one under way.
        prayerToFocus_ = currentPrayer_;
        decided = true;
    }
    if (!decided && ishaThenQiyam) {
        prayerToFocus_ = secondsToNextPrayer_ < 3600 ? nextPrayer_ : currentPrayer_;
    }
    if (forCountdownToNextPrayer_ && secondsSinceCurrentPrayer_ > 2400) prayerToFocus_ = nextPrayer_;
    refreshInPrayerStatus();
    refreshColors();
}

std::optional<Date> SmartPrayerInfo::inPrayerEndingTime() const {
    if (!focusIsCurrent() || !prayerToFocus_->PrayerTime()) return std::nullopt;
    double base = 900;
    double added = 0;
    switch (prayerToFocus_->Type()) {
    case Prayer::Fajr:
    case Prayer::TomorrowFajr: base = 1200; added = 900; break;
    // Dhuhr keeps its window on Fridays too.
    case Prayer::Dhuhr:
    case Prayer::Asr: base = 900; added = 600; break;
    case Prayer::Maghrib: base = 300; added = 600; break;
    case Prayer::Isha: base = 1200; added = 1200; break;
    default: break;
    }
    return prayerToFocus_->PrayerTime()->addingTimeInterval(base).addingTimeInterval(added);
}

void SmartPrayerInfo::refreshInPrayerStatus() {
    isInPrayer_ = false;
    if (!focusIsCurrent()) return;
    // Only the end is tested: a current prayer's time has passed by definition.
    if (const auto end = inPrayerEndingTime()) isInPrayer_ = now() < end->timeIntervalSince1970();
}

void SmartPrayerInfo::refreshColors() {
    prayerState_ = colorForPrayerToFocus(prayerToFocus_, currentPrayer_, nextPrayer_, Date(now()));
}

Color SmartPrayerInfo::colorForState() {
    refreshPrayerToFocus();
    return colorForPrayerState(prayerState_);
}

bool SmartPrayerInfo::isInfoStale() const {
    const double t = now();
    if (!(t > timeOf(nextPrayer_))) return false;
    return t > timeOf(currentPrayer_);
}

int64_t SmartPrayerInfo::colorForPrayerToFocus(const std::shared_ptr<Prayer>& focus,
                                               const std::shared_ptr<Prayer>& current,
                                               const std::shared_ptr<Prayer>& next) {
    return colorForPrayerToFocus(focus, current, next, Date(clockNow()));
}

int64_t SmartPrayerInfo::colorForPrayerToFocus(const std::shared_ptr<Prayer>& focus,
                                               const std::shared_ptr<Prayer>& current,
                                               const std::shared_ptr<Prayer>& next, Date now) {
    const double t = now.timeIntervalSince1970();
    const double total = timeOf(next) - timeOf(current);
    const double since = t - timeOf(current);
    const double toNext = timeOf(next) - t;
    if (!same(focus, current)) {
        return rawValue(toNext <= 3600 ? SmartPrayerState::soon : SmartPrayerState::upcoming);
    }
    if (hasNoStages(typeOf(current))) {
        return rawValue(since <= 1200 ? SmartPrayerState::started : SmartPrayerState::ending);
    }
    // Each bound belongs to the higher state; a ratio that is not a number matches none.
    const double ratio = since / total;
    if (ratio >= 0.75) return rawValue(SmartPrayerState::ending);
    if (ratio >= 0.5) return rawValue(SmartPrayerState::halfPassed);
    if (ratio >= 0.25) return rawValue(SmartPrayerState::quarterPassed);
    return rawValue(SmartPrayerState::started);
}

Color SmartPrayerInfo::colorForPrayerState(int64_t state) {
    switch (state) {
    case rawValue(SmartPrayerState::soon): return Color::fromRGB255(206, 36, 36);
    case rawValue(SmartPrayerState::quarterPassed): return Color::fromRGB255(255, 200, 0);
    case rawValue(SmartPrayerState::halfPassed): return Color::fromRGB255(254, 149, 78);
    case rawValue(SmartPrayerState::ending): return Color::fromRGB255(176, 52, 41);
    default: return Color::white();
    }
}

std::array<std::string, 2> SmartPrayerInfo::getInfoForGraphicalComplication() {
    Prayer::NameContext context = Prayer::currentNameContext();
    if (moment_) context = Prayer::nameContextAt(*moment_, Calendar(), context.useSunrise, context.arabic);
    return getInfoForGraphicalComplication(context);
}

std::array<std::string, 2> SmartPrayerInfo::getInfoForGraphicalComplication(const Prayer::NameContext& context) {
    refreshPrayerToFocus();
    const char* label = "Time for";
    switch (prayerState_) {
    case 0: label = isInPrayer_ ? "Started" : "Time for"; break;
    case 1: label = "Soon"; break;
    case 2: label = "Time for"; break;
    case 3: label = "Now"; break;
    case 4: label = "Ending"; break;
    case 5: label = "Next"; break;
    default: label = isInPrayer_ ? "In Prayer" : "Time for"; break;
    }
    return {prayerToFocus_ ? prayerToFocus_->PrayerName(context) : std::string(), Bundle::main().localizedString(label)};
}

Date SmartPrayerInfo::getBestTimeToRefreshComplication() const {
    const double current = timeOf(currentPrayer_);
    const double next = timeOf(nextPrayer_);
    const double total = totalTimeBetweenPrayers_;
    if (!focusIsCurrent()) {
        return Date(secondsToNextPrayer_ <= 3600 ? next + 1 : current + 0.52 * total);
    }
    if (hasNoStages(typeOf(currentPrayer_))) {
        return Date(secondsSinceCurrentPrayer_ <= 1200 ? now() + 3600 : next - 1800);
    }
    // In the upper stages a stage time still ahead is pushed to shortly before the next
    // prayer, while one already past is returned as it is, asking for an immediate redraw.
    const double p = percentOfTimeElapsedBeforeNext_;
    if (p >= 0.75) {
        const double stage = current + 0.84 * total;
        return Date(stage > now() ? next - 300 : stage);
    }
    if (p >= 0.5) {
        const double stage = current + 0.78 * total;
        return Date(stage > now() ? next - 1800 : stage);
    }
    if (p >= 0.25) {
        const double stage = current + 0.52 * total;
        return Date(stage > now() ? next - 1800 : stage);
    }
    // A ratio that is not a number (no interval) matches no stage: refresh in an hour.
    if (!(p < 0.25)) return Date(now() + 3601);
    if (!isInPrayer_) return Date(current + 0.26 * total);
    const auto end = inPrayerEndingTime();
    if (!end) {
        std::fputs("TarvoCore: fatal: in prayer without an in-prayer end time\n", stderr);
        std::abort();
    }
    return end->addingTimeInterval(5);
}

bool SmartPrayerInfo::focusIsCurrent() const { return same(prayerToFocus_, currentPrayer_); }

}  // namespace tarvo
