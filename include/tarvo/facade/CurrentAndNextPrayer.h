#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/prayers/PrayerAdjustments.h"

namespace tarvo {
class PrayerConfiguration;
class SmartPrayerInfo;
class TarvoCity;

/// Which prayer is current (the latest whose time has passed) and which comes next, with the
/// corrections around midnight, Fajr and Qiyam, and the reading of days with missing times.
///
/// The rules are pure: they see a day list, a moment and a generator of days relative to the
/// day of that moment. The facade runs them on its shared lists and clock; `at` runs them for
/// a place, settings and a moment without touching any process state (no shared facade, no
/// device zone, no clock), so any number of threads may call it at once.
class TARVO_EXPORT CurrentAndNextPrayer {
public:
    using DayList = std::vector<std::shared_ptr<Prayer>>;
    /// The days `first` to `first + further` (days from the day of now), ten records each,
    /// one after another.
    using DayGenerator = std::function<DayList(int64_t first, int64_t further)>;

    /// What the rules decided.
    struct Decision {
        std::shared_ptr<Prayer> current;
        std::shared_ptr<Prayer> next;
        /// The current prayer before the corrections around midnight (a missing-time day: the
        /// current prayer itself); the facade's Fajr report reads it.
        std::shared_ptr<Prayer> found;
        /// The day list the answer belongs to (ten records).
        DayList day;
        /// Every day a regeneration made, when one ran (else nothing).
        std::optional<DayList> generated;
    };

    /// The current prayer in `day` at `now` (Sunset and the tomorrow entries never count;
    /// Qiyam only after Isha or before anything, and only when shown), and in `candidate` (may
    /// be null) the first counted prayer at or after now.
    static std::shared_ptr<Prayer> currentIn(const DayList& day, Date now, bool showQiyam,
                                             std::shared_ptr<Prayer>* candidate = nullptr);
    /// The whole decision for `now` from a day list (normally today's), regenerating through
    /// `generate` when the list does not cover now.
    static Decision decide(DayList day, Date now, bool showQiyam, const DayGenerator& generate);

    /// The answer for a place at a moment.
    struct Answer {
        std::shared_ptr<Prayer> current;
        std::shared_ptr<Prayer> next;
        /// The summary the watch shows, seen at the moment; nothing without both prayers.
        std::shared_ptr<SmartPrayerInfo> summary;
        /// The clock of the place at the moment (its zone, or its fixed offset).
        TimeZone clock;
        /// How the prayers are named at the moment: the configuration's UseSunrise and
        /// ShowPrayerNamesInArabic, Friday by the moment on the place's clock.
        Prayer::NameContext naming;
    };
    /// The current and next prayer of `city` at `now`, its days made with `configuration`'s
    /// settings (ShowQiyam, the extra times; null: all off) and `adjustments`. `countdown`
    /// moves the summary's focus to the next prayer 40 minutes after the current one.
    static Answer at(const std::shared_ptr<TarvoCity>& city, const std::shared_ptr<PrayerConfiguration>& configuration,
                     const PrayerAdjustments& adjustments, Date now, bool countdown);
};

}  // namespace tarvo
