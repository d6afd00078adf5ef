#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/platform/Locale.h"

namespace tarvo {

/// Writes numbers as text in a locale's digits (ICU behind it). Like the platform's plain
/// number style: whole numbers (fractions rounded half-even), no grouping separators.
///
/// A formatter belongs to one thread at a time; getThreadSafeNSNumberFormatter gives each
/// thread its own, which callers copy before changing its locale or padding.
class TARVO_EXPORT NumberFormatter {
public:
    /// Where padding goes, as the platform numbers it.
    enum PadPosition : int64_t { BeforePrefix = 0, AfterPrefix = 1, BeforeSuffix = 2, AfterSuffix = 3 };

    /// A formatter in the current locale.
    NumberFormatter();
    explicit NumberFormatter(const Locale& locale);
    ~NumberFormatter();
    NumberFormatter(const NumberFormatter& other);
    NumberFormatter& operator=(const NumberFormatter& other);

    /// This thread's own formatter in the current locale.
    static NumberFormatter& getThreadSafeNSNumberFormatter();

    void setLocale(const Locale& locale);
    const Locale& locale() const;
    void setPaddingCharacter(std::string_view character);
    void setPaddingPosition(PadPosition position);
    /// The width padding fills up to (0: no padding).
    void setFormatWidth(int64_t width);
    void setMinimumIntegerDigits(int64_t digits);

    std::string stringFromNumber(double value) const;
    std::string stringFromNumber(int64_t value) const;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
