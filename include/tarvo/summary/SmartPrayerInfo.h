#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tarvo/Export.h"
#include "tarvo/platform/Color.h"
#include "tarvo/platform/Date.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/summary/SmartPrayerState.h"

namespace tarvo {

/// The compact state of the day for watch complications and countdowns, made from the
/// current prayer and the next one: which of the two to show ("focus"), how far the time
/// between them has run, whether the user is still in prayer, and a display state with its
/// colour and label.
///
/// Times are absolute; durations are seconds. Every refresh reads the clock (Clock::now)
/// afresh. The summary never changes its prayers and never moves on to another pair: once
/// isInfoStale, ask the facade for a new one. Not locked: one thread at a time.
class TARVO_EXPORT SmartPrayerInfo {
public:
    /// There is no summary without its two prayers.
    SmartPrayerInfo() = delete;
    /// Stores the pair, focuses on the next prayer, then runs refreshPrayerToFocus once.
    SmartPrayerInfo(std::shared_ptr<Prayer> currentPrayer, std::shared_ptr<Prayer> nextPrayer,
                    bool forCountdownToNextPrayer);
    /// The same summary seen at a fixed moment: every refresh reads `moment` instead of the
    /// clock, so a host can ask about any moment without touching the process's clock.
    SmartPrayerInfo(std::shared_ptr<Prayer> currentPrayer, std::shared_ptr<Prayer> nextPrayer,
                    bool forCountdownToNextPrayer, Date moment);

    const std::shared_ptr<Prayer>& currentPrayer() const { return currentPrayer_; }
    const std::shared_ptr<Prayer>& nextPrayer() const { return nextPrayer_; }
    const std::shared_ptr<Prayer>& prayerToFocus() const { return prayerToFocus_; }
    void setPrayerToFocus(std::shared_ptr<Prayer> prayer) { prayerToFocus_ = std::move(prayer); }
    bool isInPrayer() const { return isInPrayer_; }
    void setIsInPrayer(bool value) { isInPrayer_ = value; }
    double totalTimeBetweenPrayers() const { return totalTimeBetweenPrayers_; }
    void setTotalTimeBetweenPrayers(double seconds) { totalTimeBetweenPrayers_ = seconds; }
    double secondsSinceCurrentPrayer() const { return secondsSinceCurrentPrayer_; }
    void setSecondsSinceCurrentPrayer(double seconds) { secondsSinceCurrentPrayer_ = seconds; }
    double secondsToNextPrayer() const { return secondsToNextPrayer_; }
    void setSecondsToNextPrayer(double seconds) { secondsToNextPrayer_ = seconds; }
    /// A fraction: 0.5 is half-way between the two prayers.
    double percentOfTimeElapsedBeforeNext() const { return percentOfTimeElapsedBeforeNext_; }
    void setPercentOfTimeElapsedBeforeNext(double value) { percentOfTimeElapsedBeforeNext_ = value; }
    int64_t prayerState() const { return prayerState_; }
    void setPrayerState(int64_t state) { prayerState_ = state; }

    /// Recomputes everything: the intervals, the focus, the in-prayer status and the state.
    void refreshPrayerToFocus();
    void refreshTimeBetweenPrayers();
    /// When the focus is the current prayer: its time plus its in-prayer window (Fajr 35 min,
    /// Dhuhr and Asr 25, Maghrib 15, Isha 40, the others 15); otherwise nothing.
    std::optional<Date> inPrayerEndingTime() const;
    void refreshInPrayerStatus();
    /// Sets prayerState from the focus and the clock.
    void refreshColors();
    /// Refreshes, then answers the colour of the new state.
    Color colorForState();
    /// Both prayers' times have passed: the summary must be rebuilt.
    bool isInfoStale() const;

    /// The state for a focus and a pair, from the clock alone (no field is read).
    static int64_t colorForPrayerToFocus(const std::shared_ptr<Prayer>& focus, const std::shared_ptr<Prayer>& current,
                                         const std::shared_ptr<Prayer>& next);
    /// The same at the moment `now`.
    static int64_t colorForPrayerToFocus(const std::shared_ptr<Prayer>& focus, const std::shared_ptr<Prayer>& current,
                                         const std::shared_ptr<Prayer>& next, Date now);
    /// The state's colour; white for states 0 and 5 and for any unknown value.
    static Color colorForPrayerState(int64_t state);

    // ---- Complications --------------------------------------------------------------------
    /// Refreshes, then answers the focused prayer's name and the state's localised label. The
    /// name is read in the shared settings, on the day of the summary's fixed moment when it
    /// has one (else of now).
    std::array<std::string, 2> getInfoForGraphicalComplication();
    /// The same with the prayer named in `context`.
    std::array<std::string, 2> getInfoForGraphicalComplication(const Prayer::NameContext& context);
    /// When the complication should next be redrawn, from the fields as the last refresh
    /// left them (the clock is read where a stage needs it).
    Date getBestTimeToRefreshComplication() const;

private:
    bool focusIsCurrent() const;
    // Seconds since 1970 of now: the fixed moment when there is one, else the clock.
    double now() const;

    bool forCountdownToNextPrayer_ = false;
    std::shared_ptr<Prayer> currentPrayer_;
    std::shared_ptr<Prayer> nextPrayer_;
    std::shared_ptr<Prayer> prayerToFocus_;
    bool isInPrayer_ = false;
    double totalTimeBetweenPrayers_ = 0.0;
    double secondsSinceCurrentPrayer_ = 0.0;
    double secondsToNextPrayer_ = 0.0;
    double percentOfTimeElapsedBeforeNext_ = 0.0;
    int64_t prayerState_ = 0;
    std::optional<Date> moment_;
};

}  // namespace tarvo
