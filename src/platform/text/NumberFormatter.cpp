#include "tarvo/platform/NumberFormatter.h"

#include <unicode/decimfmt.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include "platform/host/LogMacros.h"

namespace tarvo {

struct NumberFormatter::Impl {
    Locale locale = Locale::currentLocale();
    std::string padding = " ";
    PadPosition padPosition = BeforePrefix;
    int64_t formatWidth = 0;
    int64_t minimumIntegerDigits = 0;

    // The ICU formatter, made again after a setting changed.
    mutable std::unique_ptr<icu::NumberFormat> formatter;

    void invalidate() { formatter.reset(); }
    icu::NumberFormat* build() const;
};

namespace {

icu::DecimalFormat::EPadPosition icuPadPosition(NumberFormatter::PadPosition position) {
    switch (position) {
    case NumberFormatter::AfterPrefix: return icu::DecimalFormat::kPadAfterPrefix;
    case NumberFormatter::BeforeSuffix: return icu::DecimalFormat::kPadBeforeSuffix;
    case NumberFormatter::AfterSuffix: return icu::DecimalFormat::kPadAfterSuffix;
    default: return icu::DecimalFormat::kPadBeforePrefix;
    }
}

}  // namespace

icu::NumberFormat* NumberFormatter::Impl::build() const {
    if (formatter) return formatter.get();
    UErrorCode status = U_ZERO_ERROR;
    formatter.reset(icu::NumberFormat::createInstance(icu::Locale(locale.identifier().c_str()), status));
    if (U_FAILURE(status) || !formatter) {
        TARVO_LOG_ERROR("Number formatter for {} unavailable: {}", locale.identifier(), u_errorName(status));
        formatter.reset();
        return nullptr;
    }
    // The platform's plain style: whole numbers without grouping.
    formatter->setGroupingUsed(false);
    formatter->setMaximumFractionDigits(0);
    formatter->setRoundingMode(icu::NumberFormat::kRoundHalfEven);
    if (minimumIntegerDigits > 0) formatter->setMinimumIntegerDigits(static_cast<int32_t>(minimumIntegerDigits));
    if (auto* decimal = dynamic_cast<icu::DecimalFormat*>(formatter.get())) {
        decimal->setPadCharacter(icu::UnicodeString::fromUTF8(padding));
        decimal->setPadPosition(icuPadPosition(padPosition));
        decimal->setFormatWidth(static_cast<int32_t>(formatWidth));
    }
    return formatter.get();
}

NumberFormatter::NumberFormatter() : impl_(std::make_unique<Impl>()) {}

NumberFormatter::NumberFormatter(const Locale& locale) : NumberFormatter() { impl_->locale = locale; }

NumberFormatter::~NumberFormatter() = default;

NumberFormatter::NumberFormatter(const NumberFormatter& other) : impl_(std::make_unique<Impl>()) { *this = other; }

NumberFormatter& NumberFormatter::operator=(const NumberFormatter& other) {
    if (this == &other) return *this;
    impl_->locale = other.impl_->locale;
    impl_->padding = other.impl_->padding;
    impl_->padPosition = other.impl_->padPosition;
    impl_->formatWidth = other.impl_->formatWidth;
    impl_->minimumIntegerDigits = other.impl_->minimumIntegerDigits;
    impl_->invalidate();
    return *this;
}

NumberFormatter& NumberFormatter::getThreadSafeNSNumberFormatter() {
    thread_local NumberFormatter formatter;
    return formatter;
}

void NumberFormatter::setLocale(const Locale& locale) {
    impl_->locale = locale;
    impl_->invalidate();
}

const Locale& NumberFormatter::locale() const { return impl_->locale; }

void NumberFormatter::setPaddingCharacter(std::string_view character) {
    impl_->padding = std::string(character);
    impl_->invalidate();
}

void NumberFormatter::setPaddingPosition(PadPosition position) {
    impl_->padPosition = position;
    impl_->invalidate();
}

void NumberFormatter::setFormatWidth(int64_t width) {
    impl_->formatWidth = width;
    impl_->invalidate();
}

void NumberFormatter::setMinimumIntegerDigits(int64_t digits) {
    impl_->minimumIntegerDigits = digits;
    impl_->invalidate();
}

std::string NumberFormatter::stringFromNumber(double value) const {
    icu::NumberFormat* formatter = impl_->build();
    if (!formatter) return {};
    icu::UnicodeString out;
    formatter->format(value, out);
    std::string text;
    out.toUTF8String(text);
    return text;
}

std::string NumberFormatter::stringFromNumber(int64_t value) const {
    icu::NumberFormat* formatter = impl_->build();
    if (!formatter) return {};
    icu::UnicodeString out;
    formatter->format(static_cast<int64_t>(value), out);
    std::string text;
    out.toUTF8String(text);
    return text;
}

}  // namespace tarvo
