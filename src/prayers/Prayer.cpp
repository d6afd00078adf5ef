#include "tarvo/prayers/Prayer.h"
#include "tarvo/calculation/PrayerCalculator.h"

#include <array>
#include <functional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "platform/text/Text.h"
#include "prayers/MinutesAdded.h"

namespace tarvo {

// A day list is indexed by prayer type, and the engine fills it in its entry order: the two
// numberings must stay one.
static_assert(Prayer::Fajr == static_cast<int64_t>(PrayerCalculator::Fajr) &&
              Prayer::Sunrise == static_cast<int64_t>(PrayerCalculator::Sunrise) &&
              Prayer::Dhuhr == static_cast<int64_t>(PrayerCalculator::Dhuhr) &&
              Prayer::Asr == static_cast<int64_t>(PrayerCalculator::Asr) &&
              Prayer::Sunset == static_cast<int64_t>(PrayerCalculator::Sunset) &&
              Prayer::Maghrib == static_cast<int64_t>(PrayerCalculator::Maghrib) &&
              Prayer::Isha == static_cast<int64_t>(PrayerCalculator::Isha) &&
              Prayer::Qiyam == static_cast<int64_t>(PrayerCalculator::Qiyam) &&
              Prayer::TomorrowFajr == static_cast<int64_t>(PrayerCalculator::TomorrowFajr) &&
              Prayer::TomorrowSunrise == static_cast<int64_t>(PrayerCalculator::TomorrowSunrise) &&
              Prayer::TomorrowSunrise + 1 == static_cast<int64_t>(PrayerCalculator::EntryCount),
              "prayer types and engine entries are one numbering, of the same length");

namespace {

constexpr int64_t kFriday = 6;

// One row per type 0..9: the names that do not depend on a setting or the weekday.
struct Names {
    std::string_view english;
    std::string_view arabic;
    std::string_view alertID;
    std::string_view descriptionFormat;
};

// Arabic texts spelled by code point, so no editor or encoding can change them.
constexpr std::string_view kArabicFajr = "\u0627\u0644\u0641\u062C\u0631";
constexpr std::string_view kArabicSunrise = "\u0627\u0644\u0625\u0634\u0631\u0627\u0642";
constexpr std::string_view kArabicDoha = "\u0627\u0644\u0636\u062D\u0649";
constexpr std::string_view kArabicDhuhr = "\u0627\u0644\u0638\u0647\u0631";
constexpr std::string_view kArabicJumua = "\u0627\u0644\u062C\u0645\u0639\u0629";
constexpr std::string_view kArabicAsr = "\u0627\u0644\u0639\u0635\u0631";
// Sunset and Maghrib share one Arabic name on purpose: both are the sunset prayer's time.
constexpr std::string_view kArabicMaghrib = "\u0627\u0644\u0645\u063A\u0631\u0628";
constexpr std::string_view kArabicIsha = "\u0627\u0644\u0639\u0634\u0627\u0621";
constexpr std::string_view kArabicQiyam = "\u0627\u0644\u0642\u064A\u0627\u0645";

constexpr std::array<Names, 10> kNames{{
    {"Fajr", kArabicFajr, "FajrAlert", "Fajr: {}"},
    {"Sunrise", kArabicSunrise, "SunriseAlert", "Sunrise: {}"},
    {"Duhr", kArabicDhuhr, "DhuhrAlert", "Duhr: {}"},
    {"Asr", kArabicAsr, "AsrAlert", "Asr: {}"},
    {"Sunset", kArabicMaghrib, "", "Sunset: {}"},
    {"Maghrib", kArabicMaghrib, "MaghribAlert", "Maghrib: {}"},
    {"Isha", kArabicIsha, "IshaAlert", "Isha: {}"},
    {"Qiyam", kArabicQiyam, "QiyamAlert", "Qiyam: {}"},
    {"Fajr", kArabicFajr, "FajrAlert", "Tom. Fajr: {}"},
    {"Sunrise", kArabicSunrise, "SunriseAlert", "Tom. Sunrise: {}"},
}};

const Names* namesOf(int64_t type) {
    return type >= 0 && type < static_cast<int64_t>(kNames.size()) ? &kNames[static_cast<size_t>(type)] : nullptr;
}

bool isFridayAt(Date moment, const Calendar& calendar) { return calendar.components(moment).weekday == kFriday; }

bool isSunriseType(int64_t type) { return type == Prayer::Sunrise || type == Prayer::TomorrowSunrise; }

}  // namespace

Prayer::NameContext Prayer::currentNameContext() {
    // The records read the shared facade's settings, and the weekday of the current moment.
    const auto config = TarvoDAO::getSharedInstance()->globalPrayerConfiguration();
    return nameContextAt(Clock::now(), Calendar(), config && config->UseSunrise(),
                         config && config->ShowPrayerNamesInArabic());
}

Prayer::NameContext Prayer::nameContextAt(Date moment, const Calendar& calendar, bool useSunrise, bool arabic) {
    return NameContext{useSunrise, arabic, isFridayAt(moment, calendar)};
}

std::shared_ptr<Prayer> Prayer::CreatePrayerOfType(int64_t type) { return std::make_shared<Prayer>(type); }

void Prayer::initWithPrayerType(int64_t type) {
    isFixedTimings_ = false;
    Type_ = type;
    PrayerTime_.reset();
    AdjustmentMinutes_ = 0;
}

void Prayer::setPrayerYear(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t mins, int64_t adjustMins,
                           const Calendar& calendar, DateComponents& components) {
    components.year = year;
    components.month = month;
    components.day = day;
    components.hour = hour;
    components.minute = mins;
    PrayerTime_ = calendar.dateFromComponents(components);
    AdjustmentMinutes_ = adjustMins;
    if (adjustMins != 0) {
        components.year = components.month = components.day = components.hour = 0;
        components.minute = adjustMins;
        PrayerTime_ = calendar.dateByAddingComponents(components, *PrayerTime_);
    }
}

void Prayer::addArbitraryMinutesToPrayerTime(int64_t minutes, const Calendar& calendar, DateComponents& components) {
    // The scratch components end holding the amount whether or not there is a time.
    const Date moment = minutesAdded(PrayerTime_.value_or(Date()), minutes, calendar, components);
    if (PrayerTime_) PrayerTime_ = moment;
}

std::optional<int64_t> Prayer::typeNamed(std::string_view text) {
    for (int64_t type = 0; type < static_cast<int64_t>(kNames.size()); ++type) {
        if (text == std::to_string(type)) return type;
    }
    const std::string wanted = text::lowercased(text);
    // Types 0 to 7 only: the two tomorrow entries share their names with today's.
    for (int64_t type = Fajr; type <= Qiyam; ++type) {
        const Prayer prayer(type);
        std::vector<std::string> names{std::string(kNames[static_cast<size_t>(type)].english), prayer.PrayerName(),
                                       prayer.PrayerNameArabic()};
        if (type == Dhuhr) names.insert(names.end(), {"Dhuhr", "Jumua", std::string(kArabicJumua)});
        if (type == Sunrise) names.insert(names.end(), {"Doha", std::string(kArabicDoha)});
        for (const auto& name : names) {
            if (wanted == text::lowercased(name)) return type;
        }
    }
    return std::nullopt;
}

bool Prayer::isJumua() const { return Type_ == Dhuhr && isFridayAt(Clock::now(), Calendar()); }

bool Prayer::isJumuaAt(Date moment, const Calendar& calendar) const {
    return Type_ == Dhuhr && isFridayAt(moment, calendar);
}

std::string Prayer::PrayerNameEnglish() const { return PrayerNameEnglish(currentNameContext()); }

std::string Prayer::PrayerNameEnglish(const NameContext& context) const {
    const Names* names = namesOf(Type_);
    if (!names) return "-";
    if (isSunriseType(Type_)) return context.useSunrise ? "Sunrise" : "Doha";
    if (Type_ == Dhuhr) return context.friday ? "Jumua" : "Duhr";
    return std::string(names->english);
}

std::string Prayer::PrayerNameArabic() const { return PrayerNameArabic(currentNameContext()); }

std::string Prayer::PrayerNameArabic(const NameContext& context) const {
    const Names* names = namesOf(Type_);
    if (!names) return "-";
    if (isSunriseType(Type_)) return std::string(context.useSunrise ? kArabicSunrise : kArabicDoha);
    if (Type_ == Dhuhr) return std::string(context.friday ? kArabicJumua : kArabicDhuhr);
    return std::string(names->arabic);
}

std::string Prayer::PrayerName() const { return PrayerName(currentNameContext()); }

std::string Prayer::PrayerName(const NameContext& context) const {
    if (context.arabic) return PrayerNameArabic(context);
    const std::string english = PrayerNameEnglish(context);
    return english == "-" ? english : Bundle::main().localizedString(english);
}

std::string Prayer::ShortName() const { return ShortName(currentNameContext()); }

std::string Prayer::ShortName(const NameContext& context) const {
    const bool arabic = context.arabic;
    auto pick = [arabic](std::string_view en, std::string_view ar) { return std::string(arabic ? ar : en); };
    switch (Type_) {
    case Fajr:
    case TomorrowFajr: return pick("F", "\u0641");
    case Sunrise:
    case TomorrowSunrise: return context.useSunrise ? pick("S", "\u0634") : pick("Du", "\u0636");
    case Dhuhr: return context.friday ? pick("J", "\u062C") : pick("D", "\u0638");
    case Asr: return pick("A", "\u0639");
    case Sunset: return pick("S", "\u0645");
    case Maghrib: return pick("M", "\u0645");
    case Isha: return pick("I", "\u0639\u0634");
    case Qiyam: return pick("Q", "\u0642");
    default: return "-";
    }
}

std::string Prayer::ShortThreeLetterNameEnglish() const { return ShortThreeLetterNameEnglish(currentNameContext()); }

std::string Prayer::ShortThreeLetterNameEnglish(const NameContext& context) const {
    switch (Type_) {
    case Fajr:
    case TomorrowFajr: return "Fjr";
    case Sunrise:
    case TomorrowSunrise: return context.useSunrise ? "Sun" : "Duh";
    case Dhuhr: return context.friday ? "Jum" : "Dhr";
    // The key for Asr carries a suffix so that translators can tell it from the full name;
    // only the localised variant turns it into display text.
    case Asr: return "AsrSMALL";
    case Sunset: return "Set";
    case Maghrib: return "Mgr";
    case Isha: return "Ish";
    case Qiyam: return "Qya";
    default: return "-";
    }
}

std::string Prayer::ShortThreeLetterName() const { return ShortThreeLetterName(currentNameContext()); }

std::string Prayer::ShortThreeLetterName(const NameContext& context) const {
    if (context.arabic) return ShortName(context);
    const std::string key = ShortThreeLetterNameEnglish(context);
    return key == "-" ? key : Bundle::main().localizedString(key);
}

std::string Prayer::ShortTwoLetterNameEnglish() const { return ShortTwoLetterNameEnglish(currentNameContext()); }

std::string Prayer::ShortTwoLetterNameEnglish(const NameContext& context) const {
    switch (Type_) {
    case Fajr:
    case TomorrowFajr: return "FJ";
    case Sunrise: return context.useSunrise ? "SU" : "DU";
    case Dhuhr: return context.friday ? "JU" : "DH";
    case Asr: return "AS";
    case Sunset: return "SE";
    case Maghrib: return "MG";
    case Isha: return "IS";
    case Qiyam: return "QY";
    // Tomorrow's sunrise keeps its own pair of codes ("SH"/"SU"), unlike today's, because
    // stored widget layouts were made with these exact codes.
    case TomorrowSunrise: return context.useSunrise ? "SH" : "SU";
    default: return "-";
    }
}

std::string Prayer::alertID() const {
    const Names* names = namesOf(Type_);
    return names ? std::string(names->alertID) : std::string();
}

std::string Prayer::description() const {
    const Names* names = namesOf(Type_);
    if (!names) return "Unknown";
    const std::string time = PrayerTime_ ? PrayerTime_->description() : "(null)";
    return fmt::format(fmt::runtime(names->descriptionFormat), time);
}

bool Prayer::isEqualToPrayer(const std::shared_ptr<const Prayer>& other) const {
    if (!other) return false;
    if (other.get() == this) return true;
    return Type_ == other->Type_;
}

size_t Prayer::hash() const { return std::hash<std::string>{}(PrayerName()); }

}  // namespace tarvo
