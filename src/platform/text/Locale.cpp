#include "tarvo/platform/Locale.h"

#include <cstdlib>
#include <mutex>

#include <unicode/locid.h>

#include "platform/host/LogMacros.h"

namespace tarvo {

namespace {

// The POSIX locale name the environment gives, in the order the C library uses for
// messages (and ICU for its default).
std::string posixName() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) return value;
    }
    return {};
}

// "ar_SA.UTF-8@numbers=arab" as an ICU name: "ar_SA@numbers=arab". A modifier without '='
// ("sr_RS@latin") becomes a variant, as ICU makes it.
std::string icuNameFromPosix(std::string posix) {
    std::string modifier;
    if (const auto at = posix.find('@'); at != std::string::npos) {
        modifier = posix.substr(at + 1);
        posix.erase(at);
    }
    if (const auto dot = posix.find('.'); dot != std::string::npos) posix.erase(dot);
    if (const auto dot = modifier.find('.'); dot != std::string::npos) modifier.erase(dot);
    if (posix.empty() || posix == "C" || posix == "POSIX") return "en_US_POSIX";
    if (modifier.empty()) return posix;
    if (modifier.find('=') != std::string::npos) return posix + "@" + modifier;
    return posix + (posix.find('_') == std::string::npos ? "__" : "_") + modifier;
}

std::once_flag environmentApplied;

// ICU reads the environment itself but loses keyword modifiers; put them back once, unless
// the host has already chosen another default.
void applyEnvironmentOnce() {
    std::call_once(environmentApplied, [] {
        const std::string wanted = Locale::environmentLocale().identifier();
        if (wanted.find('@') == std::string::npos) return;
        if (wanted == icu::Locale::getDefault().getName()) return;
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(wanted.c_str()), status);
        if (U_FAILURE(status)) TARVO_LOG_ERROR("Locale {} cannot be made current: {}", wanted, u_errorName(status));
    });
}

}  // namespace

Locale::Locale(std::string_view identifier) {
    const icu::Locale locale(std::string(identifier).c_str());
    if (locale.isBogus()) {
        TARVO_LOG_ERROR("Locale identifier '{}' is not valid; using the root locale", identifier);
        return;
    }
    identifier_ = locale.getName();
    languageCode_ = locale.getLanguage();
    countryCode_ = locale.getCountry();
}

Locale Locale::currentLocale() {
    applyEnvironmentOnce();
    return Locale(icu::Locale::getDefault().getName());
}

void Locale::setCurrentLocale(std::string_view identifier) {
    // Whatever the host chooses stands; the environment is not applied over it later.
    std::call_once(environmentApplied, [] {});
    const std::string name = identifier.empty() ? environmentLocale().identifier() : std::string(identifier);
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(name.c_str()), status);
    if (U_FAILURE(status)) TARVO_LOG_ERROR("Locale {} cannot be made current: {}", name, u_errorName(status));
}

Locale Locale::environmentLocale() { return Locale(icuNameFromPosix(posixName())); }

// A prefix rather than an exact "ar", as designed: the Arabic varieties with codes of their
// own (arz Egyptian, ary Moroccan, ars Najdi, ...) count as Arabic too.
bool Locale::isLanguageArabic() { return currentLocale().languageCode().starts_with("ar"); }

bool Locale::isDateLanguageArabic() {
    const Locale current = currentLocale();
    return current.languageCode().starts_with("ar") && current.identifier().ends_with("numbers=arab");
}

}  // namespace tarvo
