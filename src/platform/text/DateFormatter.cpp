#include "tarvo/platform/DateFormatter.h"

#include <atomic>

#include <unicode/datefmt.h>
#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "platform/host/LogMacros.h"

namespace tarvo {

struct DateFormatter::Impl {
    Locale locale = Locale::currentLocale();
    std::string pattern;
    Style dateStyle = LongStyle;
    Style timeStyle = NoStyle;
    std::string calendar = "gregorian";
    std::optional<TimeZone> zone;
    std::optional<std::string> am;
    std::optional<std::string> pm;

    // The ICU formatter, made again after a setting changed; the offset it was given last
    // (nothing until it has one).
    mutable std::unique_ptr<icu::DateFormat> formatter;
    mutable std::optional<int64_t> appliedOffset;

    void invalidate() {
        formatter.reset();
        appliedOffset.reset();
    }
    icu::DateFormat* build() const;
};

namespace {

icu::DateFormat::EStyle icuStyle(DateFormatter::Style style) {
    switch (style) {
    case DateFormatter::ShortStyle: return icu::DateFormat::kShort;
    case DateFormatter::MediumStyle: return icu::DateFormat::kMedium;
    case DateFormatter::LongStyle: return icu::DateFormat::kLong;
    case DateFormatter::FullStyle: return icu::DateFormat::kFull;
    default: return icu::DateFormat::kNone;
    }
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// A pattern writes a 0-23 hour when it has an H or k outside quoted text.
bool patternUses24Hours(const std::string& pattern) {
    bool quoted = false;
    for (const char c : pattern) {
        if (c == '\'') quoted = !quoted;
        if (!quoted && (c == 'H' || c == 'k')) return true;
    }
    return false;
}

// -1: the locale decides; 0 or 1: the host's choice.
std::atomic<int> hostClockChoice{-1};

}  // namespace

icu::DateFormat* DateFormatter::Impl::build() const {
    if (formatter) return formatter.get();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale icuLocale(locale.identifier().c_str());
    icuLocale.setKeywordValue("calendar", calendar.c_str(), status);
    status = U_ZERO_ERROR;
    if (!pattern.empty()) {
        formatter = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern), icuLocale, status);
    } else {
        formatter.reset(icu::DateFormat::createDateTimeInstance(icuStyle(dateStyle), icuStyle(timeStyle), icuLocale));
    }
    if (U_FAILURE(status) || !formatter) {
        TARVO_LOG_ERROR("Date formatter for '{}' in {} unavailable: {}", pattern, locale.identifier(), u_errorName(status));
        formatter.reset();
        return nullptr;
    }
    if (am || pm) {
        if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(formatter.get())) {
            icu::DateFormatSymbols symbols(*simple->getDateFormatSymbols());
            int32_t count = 0;
            const icu::UnicodeString* current = symbols.getAmPmStrings(count);
            icu::UnicodeString strings[2] = {count > 0 ? current[0] : icu::UnicodeString(),
                                             count > 1 ? current[1] : icu::UnicodeString()};
            if (am) strings[0] = icu::UnicodeString::fromUTF8(*am);
            if (pm) strings[1] = icu::UnicodeString::fromUTF8(*pm);
            symbols.setAmPmStrings(strings, 2);
            simple->setDateFormatSymbols(symbols);
        }
    }
    appliedOffset.reset();
    return formatter.get();
}

DateFormatter::DateFormatter() : impl_(std::make_unique<Impl>()) {}

DateFormatter::DateFormatter(const Locale& locale) : DateFormatter() { impl_->locale = locale; }

DateFormatter::~DateFormatter() = default;

DateFormatter::DateFormatter(const DateFormatter& other) : impl_(std::make_unique<Impl>()) { *this = other; }

DateFormatter& DateFormatter::operator=(const DateFormatter& other) {
    if (this == &other) return *this;
    impl_->locale = other.impl_->locale;
    impl_->pattern = other.impl_->pattern;
    impl_->dateStyle = other.impl_->dateStyle;
    impl_->timeStyle = other.impl_->timeStyle;
    impl_->calendar = other.impl_->calendar;
    impl_->zone = other.impl_->zone;
    impl_->am = other.impl_->am;
    impl_->pm = other.impl_->pm;
    impl_->invalidate();
    return *this;
}

DateFormatter& DateFormatter::getThreadSafeNSDateFormatter(int64_t /*kind*/) {
    thread_local DateFormatter formatter;
    return formatter;
}

bool DateFormatter::Is24HourClock() {
    const int choice = hostClockChoice.load();
    if (choice >= 0) return choice == 1;
    // The answer for the locale last asked about on this thread.
    thread_local std::optional<std::string> cachedLocale;
    thread_local bool cachedAnswer = false;
    const std::string current = Locale::currentLocale().identifier();
    if (current != cachedLocale) {
        std::unique_ptr<icu::DateFormat> time(
            icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, icu::Locale(current.c_str())));
        icu::UnicodeString pattern;
        if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(time.get())) simple->toPattern(pattern);
        cachedAnswer = patternUses24Hours(utf8(pattern));
        cachedLocale = current;
    }
    return cachedAnswer;
}

void DateFormatter::setIs24HourClock(std::optional<bool> twentyFourHours) {
    hostClockChoice.store(twentyFourHours ? (*twentyFourHours ? 1 : 0) : -1);
}

void DateFormatter::setDateFormat(std::string_view pattern) {
    if (impl_->pattern == pattern && impl_->formatter) return;
    impl_->pattern = std::string(pattern);
    impl_->invalidate();
}

void DateFormatter::setDateStyle(Style style) {
    impl_->pattern.clear();
    impl_->dateStyle = style;
    impl_->invalidate();
}

void DateFormatter::setTimeStyle(Style style) {
    impl_->pattern.clear();
    impl_->timeStyle = style;
    impl_->invalidate();
}

void DateFormatter::setLocale(const Locale& locale) {
    impl_->locale = locale;
    impl_->invalidate();
}

const Locale& DateFormatter::locale() const { return impl_->locale; }

void DateFormatter::setCalendarIdentifier(std::string_view identifier) {
    impl_->calendar = std::string(identifier);
    impl_->invalidate();
}

void DateFormatter::setTimeZone(std::optional<TimeZone> zone) {
    impl_->zone = std::move(zone);
    impl_->appliedOffset.reset();
}

void DateFormatter::setAMSymbol(std::string_view symbol) {
    impl_->am = std::string(symbol);
    impl_->invalidate();
}

void DateFormatter::setPMSymbol(std::string_view symbol) {
    impl_->pm = std::string(symbol);
    impl_->invalidate();
}

std::string DateFormatter::stringFromDate(Date date) const {
    icu::DateFormat* formatter = impl_->build();
    if (!formatter) return {};
    // ICU's own zone data is years old: the formatter gets the offset the system's database
    // gives for this moment, as a fixed zone, so that the fields it writes are today's.
    const TimeZone zone = impl_->zone ? *impl_->zone : TimeZone::systemDefault();
    const int64_t offset = zone.secondsFromGMT(date);
    if (offset != impl_->appliedOffset) {
        formatter->adoptTimeZone(
            new icu::SimpleTimeZone(static_cast<int32_t>(offset * 1000), icu::UnicodeString::fromUTF8(zone.name())));
        impl_->appliedOffset = offset;
    }
    icu::UnicodeString out;
    formatter->format(date.timeIntervalSince1970() * 1000.0, out);
    return utf8(out);
}

}  // namespace tarvo
