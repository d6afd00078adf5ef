// The facade's time texts: clock times of prayers (plain and attributed, 12- or 24-hour,
// right-to-left ordered), durations in words and in timer style, Arabic weekday names and
// the Arabic typeface for a weight.
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "platform/text/Text.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/NumberFormatter.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

constexpr double kFontSize = 15.0;

const char* prayerTimePattern(bool twentyFourHours, bool isArabic, bool useSpaces) {
    // With spaces, Arabic text puts the minutes first: shown right to left, it reads hour first.
    if (twentyFourHours) {
        if (!useSpaces) return "HH:mm";
        return isArabic ? "mm : HH" : "HH : mm";
    }
    if (!useSpaces) return "h:mm a";
    return isArabic ? "mm : h a" : "h : mm a";
}

std::string formatWithThreadFormatter(Date date, const char* pattern) {
    DateFormatter& formatter = DateFormatter::getThreadSafeNSDateFormatter(0);
    formatter.setDateFormat(pattern);
    return text::lowercased(formatter.stringFromDate(date));
}

// A unit text of the host's string tables ("%@ hours"), with the number put in.
std::string unitText(const char* format, const std::string& number) {
    std::string text = Bundle::main().localizedString(format, "");
    if (const auto at = text.find("%@"); at != std::string::npos) text.replace(at, 2, number);
    return text;
}

bool dateLanguageArabic() {
    const auto configuration = TarvoDAO::getSharedInstance()->globalPrayerConfiguration();
    return configuration && configuration->IsDateLanguageArabic();
}

// Whole days, hours, minutes and seconds of |seconds|, each truncated; `fraction` keeps the
// seconds with their fraction.
struct Parts {
    double days;
    double hours;
    double minutes;
    double fraction;
    double seconds;
};

Parts split(double value) {
    const double a = std::fabs(value);
    Parts p{};
    p.days = std::trunc(a / 86400);
    const double r = a - p.days * 86400;
    p.hours = std::trunc(r / 3600);
    const double r2 = r - p.hours * 3600;
    p.minutes = std::trunc(r2 / 60);
    p.fraction = r2 - p.minutes * 60;
    p.seconds = std::trunc(p.fraction);
    return p;
}

}  // namespace

std::optional<std::string> TarvoDAO::getFormattedPrayerTimeForPrayer(const std::shared_ptr<Prayer>& prayer,
                                                                     bool isArabic, bool useSpaces) {
    if (!prayer || !prayer->PrayerTime()) return std::nullopt;
    return formatWithThreadFormatter(*prayer->PrayerTime(),
                                     prayerTimePattern(DateFormatter::Is24HourClock(), isArabic, useSpaces));
}

std::optional<std::string> TarvoDAO::getFormatterPrayerTimeForPrayer(int64_t type, bool isArabic, bool useSpaces) {
    const DayList day = getSharedInstance()->LastGeneratedPrayerTimes();
    if (type < 0 || type >= static_cast<int64_t>(day.size())) return std::nullopt;
    return getFormattedPrayerTimeForPrayer(day[static_cast<size_t>(type)], isArabic, useSpaces);
}

std::string TarvoDAO::getFormattedPrayerTimeForDate(Date date, bool useAmPM) {
    const char* pattern = DateFormatter::Is24HourClock() ? "HH:mm" : (useAmPM ? "h:mm a" : "h:mm");
    return formatWithThreadFormatter(date, pattern);
}

AttributedString TarvoDAO::getAttributedFormatterPrayerTimeForPrayer(int64_t type, const std::optional<Color>& color,
                                                                     const std::optional<Font>& font,
                                                                     const Font& smallerFont, bool isArabic,
                                                                     int64_t alignment) {
    std::optional<std::string> time = getFormatterPrayerTimeForPrayer(type, isArabic, true);
    if (!time) {
        time = "--";
        alignment = static_cast<int64_t>(TextAlignment::Center);
    }
    const Color textColor = color.value_or(Color::white());
    AttributedString out(*time);
    const size_t length = out.length();
    out.addFont(font.value_or(Font::boldSystemFontOfSize(kFontSize)), 0, length);
    out.addForegroundColor(textColor, 0, length);
    if (!DateFormatter::Is24HourClock()) {
        // The AM/PM marker and the space before it in the smaller font.
        if (const auto space = time->rfind(' '); space != std::string::npos) {
            out.addFont(smallerFont, space, length - space);
            out.addForegroundColor(textColor, space, length - space);
        }
    }
    ParagraphStyle paragraph = ParagraphStyle::defaultParagraphStyle();
    paragraph.alignment = alignment;
    out.addParagraphStyle(paragraph, 0, length);
    return out;
}

std::string TarvoDAO::getDayInArabic(std::string_view englishDay) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kDays{{
        {"Monday", "\u0627\u0644\u0625\u062B\u0646\u064A\u0646"},
        {"Tuesday", "\u0627\u0644\u062B\u0644\u0627\u062B\u0627\u0621"},
        {"Wednesday", "\u0627\u0644\u0623\u0631\u0628\u0639\u0627\u0621"},
        {"Thursday", "\u0627\u0644\u062E\u0645\u064A\u0633"},
        {"Friday", "\u0627\u0644\u062C\u0645\u0639\u0629"},
        {"Saturday", "\u0627\u0644\u0633\u0628\u062A"},
        {"Sunday", "\u0627\u0644\u0623\u062D\u062F"},
    }};
    for (const auto& [english, arabic] : kDays) {
        if (english == englishDay) return std::string(arabic);
    }
    return {};
}

std::string TarvoDAO::getReadableTimeFromSeconds(double seconds, bool includeSeconds, bool abbreviatedOnly) {
    const Parts p = split(seconds);
    // A copy, so this thread's shared formatter keeps its locale.
    NumberFormatter numbers(NumberFormatter::getThreadSafeNSNumberFormatter());
    numbers.setLocale(Locale(dateLanguageArabic() ? "ar_SA" : "en_UK"));
    auto n = [&numbers](double value) { return numbers.stringFromNumber(value); };

    std::vector<std::string> parts;
    if (p.days >= 1) parts.push_back(unitText("%@d", n(p.days)));
    if (p.hours >= 1) {
        if (p.minutes != 0 || p.days != 0 || abbreviatedOnly) {
            parts.push_back(unitText("%@h", n(p.hours)));
        } else {
            parts.push_back(p.hours == 1 ? unitText("%@ hour", n(1)) : unitText("%@ hours", n(p.hours)));
        }
    }
    if (p.minutes >= 1) {
        if (p.hours != 0 || p.days != 0 || abbreviatedOnly || (p.fraction != 0 && includeSeconds)) {
            parts.push_back(unitText("%@m", n(p.minutes)));
        } else {
            parts.push_back(p.minutes == 1 ? unitText("%@ minute", n(1)) : unitText("%@ minutes", n(p.minutes)));
        }
    }
    // Seconds only follow minutes: with none, includeSeconds changes nothing (3630 s reads
    // "1 hour"), and a duration under a minute always shows its seconds, even 0.
    if ((p.minutes != 0 && p.seconds >= 1 && includeSeconds) || parts.empty()) {
        if (p.hours != 0 || p.days != 0 || p.minutes != 0 || abbreviatedOnly) {
            parts.push_back(unitText("%@s", n(p.seconds)));
        } else {
            parts.push_back(p.seconds == 1 ? unitText("%@ second", n(1)) : unitText("%@ seconds", n(p.seconds)));
        }
    }
    std::string out;
    for (const std::string& part : parts) {
        if (!out.empty()) out += ' ';
        out += part;
    }
    return out;
}

std::string TarvoDAO::getTimerStyleTimeFromSeconds(double seconds, bool /*withLeadingZero*/) {
    // Whole days are dropped: a countdown clock shows at most 23:59:59. The leading zero is
    // always written, whatever the caller asks, so every timer has the same width.
    const Parts p = split(seconds);
    NumberFormatter numbers(NumberFormatter::getThreadSafeNSNumberFormatter());
    numbers.setLocale(Locale::currentLocale());
    numbers.setPaddingPosition(NumberFormatter::BeforePrefix);
    numbers.setPaddingCharacter("0");
    numbers.setMinimumIntegerDigits(2);
    return numbers.stringFromNumber(p.hours) + ":" + numbers.stringFromNumber(p.minutes) + ":" +
           numbers.stringFromNumber(p.seconds);
}

std::string TarvoDAO::getArabicFontNameForType(std::string_view weight) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kFaces{{
        {"ExtraLight", "Hejaz-ExtraLight"},
        {"Light", "Hejaz-Light"},
        {"Regular", "Hejaz-Regular"},
        {"Normal", "Hejaz-Regular"},
        {"Medium", "Hejaz-Medium"},
        {"SemiBold", "Hejaz-SemiBold"},
        {"Bold", "Hejaz-Bold"},
    }};
    for (const auto& [name, face] : kFaces) {
        if (name == weight) return std::string(face);
    }
    return "Hejaz-Regular";
}

}  // namespace tarvo
