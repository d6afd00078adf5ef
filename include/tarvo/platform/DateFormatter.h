#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

/// Writes moments as text by a date pattern ("HH:mm", "dd MMM YYYY") or by date and time
/// styles, in a locale, a calendar and a time zone (ICU behind it).
///
/// Unless a zone is set, each use follows the device's zone at that moment. A formatter
/// belongs to one thread at a time; getThreadSafeNSDateFormatter gives each thread its own.
class TARVO_EXPORT DateFormatter {
public:
    /// Styles as the platform numbers them.
    enum Style : int64_t { NoStyle = 0, ShortStyle = 1, MediumStyle = 2, LongStyle = 3, FullStyle = 4 };

    /// A Gregorian formatter in the current locale, date style long, no time.
    DateFormatter();
    explicit DateFormatter(const Locale& locale);
    ~DateFormatter();
    DateFormatter(const DateFormatter& other);
    DateFormatter& operator=(const DateFormatter& other);

    /// This thread's own formatter in the current locale (`kind` is reserved: every kind
    /// answers the same formatter; hosts pass 0). Callers set the
    /// pattern they need before each use.
    static DateFormatter& getThreadSafeNSDateFormatter(int64_t kind);

    /// Whether the device shows a 24-hour clock: the host's choice when it made one, else
    /// whether the current locale's short time pattern uses a 0-23 hour.
    static bool Is24HourClock();
    /// The host's choice (nothing goes back to the locale's answer).
    static void setIs24HourClock(std::optional<bool> twentyFourHours);

    void setDateFormat(std::string_view pattern);
    void setDateStyle(Style style);
    void setTimeStyle(Style style);
    void setLocale(const Locale& locale);
    const Locale& locale() const;
    /// "gregorian" (the default) or "islamic-civil".
    void setCalendarIdentifier(std::string_view identifier);
    void setTimeZone(std::optional<TimeZone> zone);
    void setAMSymbol(std::string_view symbol);
    void setPMSymbol(std::string_view symbol);

    std::string stringFromDate(Date date) const;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
