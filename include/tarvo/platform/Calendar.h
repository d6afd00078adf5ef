#pragma once

#include <cstdint>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

/// The (proleptic) Gregorian calendar in one time zone: splits moments into date
/// components and back, and adds days keeping the wall-clock time.
class TARVO_EXPORT Calendar {
public:
    /// A Gregorian calendar in the device's zone.
    Calendar();
    explicit Calendar(TimeZone zone);

    const TimeZone& timeZone() const { return zone_; }
    void setTimeZone(TimeZone zone) { zone_ = std::move(zone); }

    /// Year, month, day, time of day and weekday of the moment in this calendar's zone.
    DateComponents components(Date date) const;
    /// The moment at the given wall-clock fields (weekday ignored; out-of-range fields
    /// roll over, so day 32 of January is 1 February).
    Date dateFromComponents(const DateComponents& components) const;
    /// The same wall-clock time `days` calendar days later (or earlier when negative).
    Date dateByAddingDays(int64_t days, Date date) const;
    /// The same, for a moment the caller has already split: `componentsOfDate` must be
    /// components(date) of this calendar. Saves splitting the moment a second time.
    Date dateByAddingDays(int64_t days, DateComponents componentsOfDate) const;

    /// Adds the fields of `amount` to the moment: years, months and days on the wall clock
    /// (the time of day kept), then hours, minutes, seconds and nanoseconds as elapsed time.
    /// Negative fields move earlier; the weekday is ignored.
    Date dateByAddingComponents(const DateComponents& amount, Date date) const;

private:
    TimeZone zone_;
};

}  // namespace tarvo
