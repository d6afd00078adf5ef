#pragma once

#include <string>
#include <string_view>

#include "tarvo/Export.h"

namespace tarvo {

/// A locale by its ICU identifier ("ar_SA", "en_UK", "ar_SA@numbers=arab"), and the
/// process's current locale.
///
/// The current locale is ICU's default locale. ICU derives it from the environment
/// (LC_ALL, else LC_MESSAGES, else LANG) but turns a keyword modifier such as
/// "@numbers=arab" into a meaningless variant; on first use the keywords the environment
/// names are put back, so LANG=ar@numbers=arab gives "ar@numbers=arab".
class TARVO_EXPORT Locale {
public:
    /// The locale with this identifier; an identifier ICU cannot read gives the root
    /// locale (identifier and language empty), with a logged error.
    explicit Locale(std::string_view identifier);

    /// The process's current locale.
    static Locale currentLocale();
    /// Makes `identifier` the process's current locale (ICU's default, so formatters that
    /// follow the default follow it too); an empty identifier goes back to the locale the
    /// environment names. For hosts that choose the language themselves, and for tests.
    static void setCurrentLocale(std::string_view identifier);
    /// The locale the environment names now: LC_ALL, else LC_MESSAGES, else LANG, with the
    /// code set dropped and keyword modifiers kept; "C", "POSIX" or nothing give en_US_POSIX.
    static Locale environmentLocale();

    /// The current locale's language code begins with "ar".
    static bool isLanguageArabic();
    /// The current locale is Arabic and its identifier ends with "numbers=arab" (dates and
    /// digits are to be written with Arabic digits).
    static bool isDateLanguageArabic();

    /// ICU's identifier: language, script, country and variant joined by '_', then the
    /// keywords after '@' in alphabetical order ("ar_SA@calendar=islamic;numbers=arab").
    const std::string& identifier() const { return identifier_; }
    /// ISO 639 language code ("ar", "en"), empty for the root locale.
    const std::string& languageCode() const { return languageCode_; }
    /// ISO 3166 country code ("SA"), empty when the identifier names none.
    const std::string& countryCode() const { return countryCode_; }

    bool operator==(const Locale& other) const { return identifier_ == other.identifier_; }

private:
    std::string identifier_;
    std::string languageCode_;
    std::string countryCode_;
};

}  // namespace tarvo
