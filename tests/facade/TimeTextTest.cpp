// The facade's time texts: the clock-time table under both clock settings, durations in
// words and timer style at their edges, Arabic digits, the attributed time's runs, Arabic
// weekday and typeface names.
#include "support/FacadeFixture.h"
#include "tarvo/platform/AttributedString.h"
#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/NumberFormatter.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class TimeText : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        // Makkah, 5 January 2016: Fajr 05:38, Sunrise 07:00, Dhuhr 12:26, Asr 15:31,
        // Maghrib 17:52, Isha 19:22, Qiyam 01:43 the next night.
        day_ = TarvoDAO::getPrayerTimesForDate(at(2016, 1, 5, 12, 0), makkah(), Calendar(), IslamicCalendar());
        TarvoDAO::getSharedInstance()->setLastGeneratedPrayerTimes(day_);
    }
    void TearDown() override {
        DateFormatter::setIs24HourClock(std::nullopt);
        TarvoDAO::getSharedInstance()->setLastGeneratedPrayerTimes({});
        Locale::setCurrentLocale("");
        FacadeTest::TearDown();
    }
    static std::string readable(double seconds, bool withSeconds, bool shortOnly) {
        return TarvoDAO::getReadableTimeFromSeconds(seconds, withSeconds, shortOnly);
    }
    TarvoDAO::DayList day_;
};

}  // namespace

TEST_F(TimeText, ClockTimesByTheTableUnderBothClocks) {
    const auto& maghrib = day_[Prayer::Maghrib];
    struct Row {
        bool isArabic, useSpaces;
        const char* h24;
        const char* h12;
    };
    const Row rows[] = {
        {false, false, "17:52", "5:52 pm"},
        {false, true, "17 : 52", "5 : 52 pm"},
        {true, false, "17:52", "5:52 pm"},
        {true, true, "52 : 17", "52 : 5 pm"},  // minutes first: read right to left, hour first
    };
    for (const Row& row : rows) {
        DateFormatter::setIs24HourClock(true);
        EXPECT_EQ(TarvoDAO::getFormattedPrayerTimeForPrayer(maghrib, row.isArabic, row.useSpaces), row.h24);
        DateFormatter::setIs24HourClock(false);
        EXPECT_EQ(TarvoDAO::getFormattedPrayerTimeForPrayer(maghrib, row.isArabic, row.useSpaces), row.h12);
    }
    // By type, from the facade's last generated day; out of range or no time: nothing.
    EXPECT_EQ(TarvoDAO::getFormatterPrayerTimeForPrayer(Prayer::Fajr, false, false), "5:38 am");
    EXPECT_EQ(TarvoDAO::getFormatterPrayerTimeForPrayer(Prayer::Qiyam, false, true), "1 : 43 am");
    EXPECT_EQ(TarvoDAO::getFormatterPrayerTimeForPrayer(10, false, false), std::nullopt);
    EXPECT_EQ(TarvoDAO::getFormattedPrayerTimeForPrayer(Prayer::CreatePrayerOfType(3), false, false), std::nullopt);

    EXPECT_EQ(TarvoDAO::getFormattedPrayerTimeForDate(at(2016, 1, 5, 12, 26), true), "12:26 pm");
    DateFormatter::setIs24HourClock(true);
    EXPECT_EQ(TarvoDAO::getFormattedPrayerTimeForDate(at(2016, 1, 5, 0, 5), true), "00:05");

    // Without a host's choice the locale's short time pattern decides.
    DateFormatter::setIs24HourClock(std::nullopt);
    Locale::setCurrentLocale("de_DE");
    EXPECT_TRUE(DateFormatter::Is24HourClock());
    Locale::setCurrentLocale("en_US");
    EXPECT_FALSE(DateFormatter::Is24HourClock());
}

TEST_F(TimeText, ReadableDurationsAtTheirEdges) {
    struct Case {
        double seconds;
        const char* plain;         // neither flag
        const char* withSeconds;   // includeSeconds
        const char* abbreviated;   // abbreviatedOnly
    };
    const Case cases[] = {
        {0, "0 seconds", "0 seconds", "0s"},
        {1, "1 second", "1 second", "1s"},
        {90, "1 minute", "1m 30s", "1m"},
        {150, "2 minutes", "2m 30s", "2m"},
        {3630, "1 hour", "1 hour", "1h"},  // seconds only ever follow minutes
        {3660, "1h 1m", "1h 1m", "1h 1m"},
        {86400, "1d", "1d", "1d"},
        {90061, "1d 1h 1m", "1d 1h 1m 1s", "1d 1h 1m"},
        {-3909, "1h 5m", "1h 5m 9s", "1h 5m"},  // the sign is dropped
    };
    for (const Case& c : cases) {
        EXPECT_EQ(readable(c.seconds, false, false), c.plain) << c.seconds;
        EXPECT_EQ(readable(c.seconds, true, false), c.withSeconds) << c.seconds;
        EXPECT_EQ(readable(c.seconds, false, true), c.abbreviated) << c.seconds;
    }
    // A fraction of a second makes the minutes short, but only whole seconds are shown.
    EXPECT_EQ(readable(120.5, true, false), "2m");

    // The unit texts are the host's strings.
    ASSERT_TRUE(Bundle::main().registerStringTable(R"({"%@ hours": "%@ Stunden", "%@m": "%@ Min."})"));
    EXPECT_EQ(readable(7200, false, false), "2 Stunden");
    EXPECT_EQ(readable(3660, false, false), "1h 1 Min.");
    Bundle::main().removeAllStringTables();

    struct Timer {
        double seconds;
        const char* text;
    };
    const Timer timers[] = {{59.9, "00:00:59"}, {86399, "23:59:59"}, {86400, "00:00:00"}, {-3909, "01:05:09"}};
    for (const Timer& t : timers) {
        EXPECT_EQ(TarvoDAO::getTimerStyleTimeFromSeconds(t.seconds, true), t.text) << t.seconds;
        EXPECT_EQ(TarvoDAO::getTimerStyleTimeFromSeconds(t.seconds, false), t.text) << t.seconds;
    }
}

TEST_F(TimeText, ArabicDigitsFollowTheDateLanguage) {
    const std::string shared = NumberFormatter::getThreadSafeNSNumberFormatter().locale().identifier();
    Locale::setCurrentLocale("ar_SA@numbers=arab");
    TarvoDAO::getSharedInstance()->reloadConfiguration();
    EXPECT_EQ(readable(90061, true, false), "\u0661d \u0661h \u0661m \u0661s");
    EXPECT_EQ(readable(150, false, false), "\u0662 minutes");
    // The timer uses the current locale's digits.
    EXPECT_EQ(TarvoDAO::getTimerStyleTimeFromSeconds(3909, false), "\u0660\u0661:\u0660\u0665:\u0660\u0669");

    // Arabic without the digits keyword: Latin digits in words, the locale's own in the timer.
    Locale::setCurrentLocale("ar_SA");
    TarvoDAO::getSharedInstance()->reloadConfiguration();
    EXPECT_EQ(readable(150, false, false), "2 minutes");
    EXPECT_EQ(TarvoDAO::getTimerStyleTimeFromSeconds(3909, false), "\u0660\u0661:\u0660\u0665:\u0660\u0669");

    // Both work on copies: the thread's shared number formatter keeps its locale.
    EXPECT_EQ(NumberFormatter::getThreadSafeNSNumberFormatter().locale().identifier(), shared);
}

TEST_F(TimeText, AttributedTimeRuns) {
    const Font small = Font::systemFontOfSize(9);
    const Font big = Font::fontWithName("Hejaz-Bold", 20);
    const Color red = Color::fromRGB255(255, 0, 0);
    // "3 : 31" in the big font, " pm" (the space included) in the small one, both red and aligned.
    DateFormatter::setIs24HourClock(false);
    const AttributedString asr = TarvoDAO::getAttributedFormatterPrayerTimeForPrayer(Prayer::Asr, red, big, small, false, 2);
    ASSERT_EQ(asr.string(), "3 : 31 pm");
    const auto runs = asr.runs();
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(std::tuple(runs[0].location, runs[0].length, runs[1].location, runs[1].length), std::tuple(0u, 6u, 6u, 3u));
    EXPECT_EQ(runs[0].attributes.font, big);
    EXPECT_EQ(runs[1].attributes.font, small);
    EXPECT_EQ(runs[1].attributes.foregroundColor, red);
    EXPECT_EQ(runs[1].attributes.paragraphStyle->alignment, 2);
    // Defaults: white, bold system 15; a 24-hour time is one run; no time is "--" centred.
    DateFormatter::setIs24HourClock(true);
    const AttributedString dhuhr =
        TarvoDAO::getAttributedFormatterPrayerTimeForPrayer(Prayer::Dhuhr, std::nullopt, std::nullopt, small, true, 0);
    EXPECT_EQ(dhuhr.string(), "26 : 12");
    ASSERT_EQ(dhuhr.runs().size(), 1u);
    EXPECT_EQ(dhuhr.runs()[0].attributes.font, Font::boldSystemFontOfSize(15));
    EXPECT_EQ(dhuhr.runs()[0].attributes.foregroundColor, Color::white());
    const AttributedString none = TarvoDAO::getAttributedFormatterPrayerTimeForPrayer(12, red, big, small, false, 2);
    EXPECT_EQ(none.string(), "--");
    EXPECT_EQ(none.runs()[0].attributes.paragraphStyle->alignment, 1);
}

TEST_F(TimeText, ArabicWeekdaysAndTypefacesFallBackOnUnknownNames) {
    EXPECT_EQ(TarvoDAO::getDayInArabic("Friday"), "الجمعة");
    EXPECT_EQ(TarvoDAO::getDayInArabic("monday"), "");
    EXPECT_EQ(TarvoDAO::getArabicFontNameForType("Bold"), "Hejaz-Bold");
    EXPECT_EQ(TarvoDAO::getArabicFontNameForType("bold"), "Hejaz-Regular");
}

TEST(AttributedStringRuns, LaterAttributesWinAndRunsMerge) {
    AttributedString text("abcdef");
    text.addForegroundColor(Color::white(), 0, 6);
    text.addFont(Font::systemFontOfSize(10), 2, 2);
    text.addFont(Font::systemFontOfSize(12), 3, 100);  // clipped to the text
    const auto runs = text.runs();
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].length, 2u);
    EXPECT_FALSE(runs[0].attributes.font);
    EXPECT_EQ(runs[1].attributes.font->pointSize, 10);
    EXPECT_EQ(runs[2].location, 3u);
    EXPECT_EQ(runs[2].length, 3u);
    EXPECT_EQ(text.attributesAtIndex(5).font->pointSize, 12);
    EXPECT_FALSE(text.attributesAtIndex(6).foregroundColor);
}
