// PrayerCalculator, calculation methods: the built-in method table (Fajr, Maghrib and Isha
// each as a sun depression angle in degrees or as minutes after the previous time), the
// custom method 6, the display names of methods, Asr schools and high-latitude rules, and
// the automatic choices made from the place (method by position boxes, Asr school by
// country name, high-latitude rule by latitude).
//
//   Given:    method numbers 0-7 (0 automatic), Asr schools 0-2, high-latitude rules 0-4.
//   Returned: the stored choice, or the automatic one when the stored value is 0.
//   Notes:    the automatic choices are this library's rules; country names are compared
//             after locale-independent lower-casing.
#include "calculation/BuiltInMethods.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/platform/Bundle.h"

namespace tarvo {

namespace {

using MethodTable = std::map<int64_t, PrayerCalculator::MethodParams>;

std::string localized(const char* english) { return Bundle::main().localizedString(english, "", ""); }

// The name of a method numbered from 8, else the built-in default text: numbers 0-7 and
// unknown numbers keep the answers stored translations are keyed on.
std::string namedMethodOr(int64_t method, const char* fallback) {
    const CalculationMethod* named = method >= 8 ? CalculationMethod::withNumber(method) : nullptr;
    return localized(named ? named->name.c_str() : fallback);
}

}  // namespace

const std::shared_ptr<const MethodTable>& builtInMethodTable() {
    // Every catalogued method's six numbers; 0 (automatic) and unknown numbers have no entry,
    // so a stored unknown number keeps reading all-zero parameters.
    static const std::shared_ptr<const MethodTable> table = [] {
        auto built = std::make_shared<MethodTable>();
        for (const auto& method : CalculationMethod::all()) {
            built->emplace(method.number, PrayerCalculator::MethodParams(method.params.begin(), method.params.end()));
        }
        return std::shared_ptr<const MethodTable>(std::move(built));
    }();
    return table;
}

std::string PrayerCalculator::getPrayerMethodNameFromNumber(int64_t method) {
    // No case for 1: it shares the default with 0 and unknown numbers.
    switch (method) {
        case 2: return localized("Egyptian General Authority");
        case 3: return localized("Islamic University, Karachi");
        case 4: return localized("Umm Al-Qura");
        case 5: return localized("ISNA (North America)");
        case kCustomMethod: return localized("Custom Method");
        case 7: return localized("UAE");
        default: return namedMethodOr(method, "Muslim League");
    }
}

std::string PrayerCalculator::getShortPrayerMethodNameFromNumber(int64_t method) {
    // The default is the long "Muslim League", so 0 and unknown numbers get the long text
    // while 1 gets the short one; stored translations are keyed on exactly this.
    switch (method) {
        case 1: return localized("Muslim League Short");
        case 2: return localized("Egyptian General Authority Short");
        case 3: return localized("Islamic University, Karachi Short");
        case 4: return localized("Umm Al-Qura Short");
        case 5: return localized("ISNA (North America) Short");
        case kCustomMethod: return localized("Custom Method");
        case 7: return localized("UAE");
        default: return namedMethodOr(method, "Muslim League");
    }
}

std::string PrayerCalculator::getAsrMethodFromNumber(int64_t asr) {
    if (asr == 1) return localized("Shafi");
    if (asr == 2) return localized("Hanafi");
    return localized("Unknown");
}

std::string PrayerCalculator::getAdjustHighLatNameFromNumber(int64_t rule) {
    switch (rule) {
        case 2: return localized("1/7th of the night, median");
        case 3: return localized("Angle based");
        case 4: return localized("Middle of the night");
        default: return localized("1/7th of the night");
    }
}

int64_t PrayerCalculator::getAutoAsrMethodFromCountry(const std::optional<std::string>& country) {
    if (!country) return 1;
    // The countries whose automatic Asr school is Hanafi, spellings exact ("kirgizstan":
    // "Kyrgyzstan" gets Shafi); Egypt, Syria and Jordan are in it on purpose.
    static constexpr std::string_view kHanafi[] = {
        "kazakhstan", "turkmenistan", "kirgizstan", "afghanistan", "pakistan",
        "bangladesh", "azerbaijan",   "turkey",     "egypt",       "tajikistan",
        "maldives",   "syria",        "jordan",     "uzbekistan",  "india"};
    const std::string name = text::lowercased(*country);
    for (auto hanafi : kHanafi) {
        if (name == hanafi) return 2;
    }
    return 1;
}

int64_t PrayerCalculator::getAutoMethodFromLocation(double lat, double lng) {
    if (lat >= 58 || lat <= -58) return 5;
    if (lng >= 25 && lng <= 45 && lat >= 37) return 1;
    if (lng >= -135 && lng <= -60 && lat >= 30) return 5;
    if (lng < -30 && lat >= 0 && lat <= 36) return 1;
    if (lng < -30 && lat >= -48 && lat <= 0) return 1;
    if (lat >= 12 && lat <= 37 && lng < 37) return 2;
    if (lat >= 22.6 && lat <= 25.9 && lng >= 51.7 && lng <= 56.4) return 7;
    if (lat >= 12 && lat <= 36 && lng >= 37 && lng <= 59.6) return 4;
    if (lng > 59.6 && lng <= 99 && lat >= 20 && lat <= 29) return 3;
    return 1;
}

int64_t PrayerCalculator::getAutoHighLatMethodFromLocation(double lat) {
    // Signed latitude on purpose: every southern place falls below 48 and gets rule 3.
    if (lat < 48) return 3;
    if (lat >= 55) return 1;
    if (lat >= 51.5) return 2;
    if (lat >= 48) return 3;
    return 1;
}

int64_t PrayerCalculator::calcMethod() const {
    return calcMethod_ != 0 ? calcMethod_ : getAutoMethodFromLocation(lat_, lng_);
}

int64_t PrayerCalculator::asrJuristic() const {
    return asrJuristic_ != 0 ? asrJuristic_ : getAutoAsrMethodFromCountry(country_);
}

int64_t PrayerCalculator::adjustHighLats() const {
    return adjustHighLats_ != 0 ? adjustHighLats_ : getAutoHighLatMethodFromLocation(lat_);
}

void PrayerCalculator::setCustomParams(MethodParams& p) {
    if (p.size() != 6) {
        TARVO_LOG_ERROR("Custom method parameters need six values, got {}; ignored", p.size());
        return;
    }
    const auto current = methodParams_->find(calcMethod());
    const bool hasCurrent = current != methodParams_->end() && current->second.size() == 6;
    for (size_t i = 0; i < 6; ++i) {
        if (p[i] != -1) continue;
        if (!hasCurrent) {
            TARVO_LOG_ERROR("Method {} has no parameters to keep; custom parameters ignored", calcMethod());
            return;
        }
        p[i] = current->second[i];
    }
    // An override of a named authority's method keeps that authority's safety minutes and
    // rounding; one of a base method (1-7) or of the custom method changes nothing else.
    if (const int64_t inForce = calcMethod(); inForce >= 8) overriddenNamedMethod_ = inForce;
    // Copy on write: the table may be the shared built-in one.
    auto table = std::make_shared<MethodTable>(*methodParams_);
    table->erase(kCustomMethod);
    table->emplace(kCustomMethod, p);
    methodParams_ = std::move(table);
    calcMethod_ = kCustomMethod;
}

void PrayerCalculator::setSingleParam(size_t selectorIndex, double selector, double value) {
    MethodParams p(6, -1.0);
    p[selectorIndex] = selector;
    p[selectorIndex + 1] = value;
    setCustomParams(p);
}

void PrayerCalculator::setFajrAngle(double angle) { setSingleParam(0, 0, angle); }
void PrayerCalculator::setFajrMinutes(double minutes) { setSingleParam(0, 1, minutes); }
void PrayerCalculator::setMaghribAngle(double angle) { setSingleParam(2, 0, angle); }
void PrayerCalculator::setMaghribMinutes(double minutes) { setSingleParam(2, 1, minutes); }
void PrayerCalculator::setIshaAngle(double angle) { setSingleParam(4, 0, angle); }
void PrayerCalculator::setIshaMinutes(double minutes) { setSingleParam(4, 1, minutes); }

}  // namespace tarvo
