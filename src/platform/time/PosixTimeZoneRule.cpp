#include "platform/time/PosixTimeZoneRule.h"

#include <algorithm>
#include <cctype>
#include <chrono>

#include "platform/time/CivilDays.h"

namespace tarvo {

namespace {

constexpr int64_t kSecondsPerDay = 86400;

// Reads the text left to right; every reader answers false and leaves the position where it
// stopped when the text does not hold what it expects.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    bool atEnd() const { return pos_ == text_.size(); }
    bool peek(char c) const { return pos_ < text_.size() && text_[pos_] == c; }
    bool take(char c) {
        if (!peek(c)) return false;
        ++pos_;
        return true;
    }

    // A zone abbreviation: three or more letters, or any text in angle brackets ("<+0330>").
    bool name() {
        if (take('<')) {
            const size_t close = text_.find('>', pos_);
            if (close == std::string_view::npos || close - pos_ < 3) return false;
            pos_ = close + 1;
            return true;
        }
        const size_t start = pos_;
        while (pos_ < text_.size() && std::isalpha(static_cast<unsigned char>(text_[pos_]))) ++pos_;
        return pos_ - start >= 3;
    }

    // An unsigned decimal number of at most `maxValue`.
    bool number(int64_t maxValue, int64_t& value) {
        const size_t start = pos_;
        value = 0;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])) && pos_ - start < 4) {
            value = value * 10 + (text_[pos_] - '0');
            ++pos_;
        }
        return pos_ > start && value <= maxValue;
    }

    // [+|-]hh[:mm[:ss]] in seconds; hours up to `maxHours`.
    bool duration(int64_t maxHours, int64_t& seconds) {
        int64_t sign = 1;
        if (take('-')) {
            sign = -1;
        } else {
            take('+');
        }
        int64_t hours = 0;
        int64_t minutes = 0;
        int64_t secs = 0;
        if (!number(maxHours, hours)) return false;
        if (take(':') && (!number(59, minutes) || (take(':') && !number(59, secs)))) return false;
        seconds = sign * (hours * 3600 + minutes * 60 + secs);
        return true;
    }

private:
    std::string_view text_;
    size_t pos_ = 0;
};

bool isLeapYear(int64_t year) { return std::chrono::year(static_cast<int>(year)).is_leap(); }

}  // namespace

std::optional<PosixTimeZoneRule> PosixTimeZoneRule::parse(std::string_view text) {
    Reader in(text);
    PosixTimeZoneRule rule;
    int64_t west = 0;
    // POSIX writes offsets west-positive ("EST5" is five hours behind UTC).
    if (!in.name() || !in.duration(24, west)) return std::nullopt;
    rule.standardOffset_ = static_cast<int32_t>(-west);
    if (in.atEnd()) return rule;

    Alternate alt;
    if (!in.name()) return std::nullopt;
    alt.offset = rule.standardOffset_ + 3600;  // one hour ahead unless the text says otherwise
    if (!in.peek(',') && !in.atEnd()) {
        if (!in.duration(24, west)) return std::nullopt;
        alt.offset = static_cast<int32_t>(-west);
    }
    // With no dates, POSIX leaves the rule to the system; the zone database uses the US rule.
    alt.start = YearlyDate{YearlyDate::Kind::MonthWeekDay, 3, 2, 0, 0, 7200};
    alt.end = YearlyDate{YearlyDate::Kind::MonthWeekDay, 11, 1, 0, 0, 7200};
    auto date = [&in](YearlyDate& when) {
        int64_t a = 0;
        int64_t b = 0;
        int64_t c = 0;
        if (in.take('M')) {
            if (!in.number(12, a) || a < 1 || !in.take('.') || !in.number(5, b) || b < 1 || !in.take('.') ||
                !in.number(6, c))
                return false;
            when = YearlyDate{YearlyDate::Kind::MonthWeekDay, static_cast<int>(a), static_cast<int>(b),
                              static_cast<int>(c), 0, 7200};
        } else if (in.take('J')) {
            if (!in.number(365, a) || a < 1) return false;
            when = YearlyDate{YearlyDate::Kind::JulianNoLeap, 0, 0, 0, static_cast<int>(a), 7200};
        } else {
            if (!in.number(365, a)) return false;
            when = YearlyDate{YearlyDate::Kind::DayOfYear, 0, 0, 0, static_cast<int>(a), 7200};
        }
        // The zone database's extension: transition times from -167 to 167 hours.
        return !in.take('/') || in.duration(167, when.time);
    };
    if (in.take(',') && (!date(alt.start) || !in.take(',') || !date(alt.end))) return std::nullopt;
    if (!in.atEnd()) return std::nullopt;
    rule.alternate_ = alt;
    return rule;
}

int64_t PosixTimeZoneRule::localSecondsOf(const YearlyDate& when, int64_t year) {
    int64_t days = civil::daysFromCivil(year, 1, 1);
    switch (when.kind) {
        case YearlyDate::Kind::JulianNoLeap:
            days += when.day - 1 + ((isLeapYear(year) && when.day >= 60) ? 1 : 0);
            break;
        case YearlyDate::Kind::DayOfYear:
            days += when.day;
            break;
        case YearlyDate::Kind::MonthWeekDay: {
            using namespace std::chrono;
            const int64_t first = civil::daysFromCivil(year, when.month, 1);
            const auto firstWeekday = static_cast<int64_t>(weekday{sys_days{std::chrono::days{first}}}.c_encoding());
            int64_t day = (when.weekday - firstWeekday + 7) % 7 + (when.week - 1) * 7;
            // Week 5 means the last such weekday of the month.
            const auto length = static_cast<int64_t>(
                static_cast<unsigned>((std::chrono::year(static_cast<int>(year)) / when.month / last).day()));
            while (day >= length) day -= 7;
            days = first + day;
            break;
        }
    }
    return days * kSecondsPerDay + when.time;
}

ZoneTransition PosixTimeZoneRule::standard() const {
    // The summer-time part is counted from the lower of the two offsets, so that a rule whose
    // "alternate" offset is the winter one (Dublin's negative summer time) still reports
    // summer time in summer.
    const int32_t base = alternate_ ? std::min(standardOffset_, alternate_->offset) : standardOffset_;
    return ZoneTransition{0, standardOffset_, standardOffset_ - base};
}

ZoneTransition PosixTimeZoneRule::alternate() const {
    const int32_t base = std::min(standardOffset_, alternate_->offset);
    return ZoneTransition{0, alternate_->offset, alternate_->offset - base};
}

std::vector<ZoneTransition> PosixTimeZoneRule::transitionsInYear(int64_t year) const {
    if (!alternate_) return {};
    ZoneTransition start = alternate();
    start.at = localSecondsOf(alternate_->start, year) - standardOffset_;
    ZoneTransition end = standard();
    end.at = localSecondsOf(alternate_->end, year) - alternate_->offset;
    if (end.at < start.at) return {end, start};
    return {start, end};
}

ZoneTransition PosixTimeZoneRule::at(int64_t utcSeconds) const {
    if (!alternate_) return standard();
    using namespace std::chrono;
    const sys_days day{std::chrono::days{(utcSeconds + standardOffset_) / kSecondsPerDay -
                                         ((utcSeconds + standardOffset_) % kSecondsPerDay < 0 ? 1 : 0)}};
    const int64_t year = static_cast<int>(year_month_day{day}.year());
    // The latest change at or before the moment, among those of the year and its neighbours.
    ZoneTransition found = standard();
    found.at = INT64_MIN;
    for (int64_t y = year - 1; y <= year + 1; ++y) {
        for (const ZoneTransition& t : transitionsInYear(y)) {
            if (t.at <= utcSeconds && t.at >= found.at) found = t;
        }
    }
    return found;
}

}  // namespace tarvo
