#include "tarvo/prayers/PrayerMonth.h"

#include <fmt/format.h>

namespace tarvo {

bool PrayerMonth::isEqual(const PrayerMonth& other) const {
    if (&other == this) return true;
    return MonthNumber_ == other.MonthNumber_ && IslamicMonthNumber_ == other.IslamicMonthNumber_;
}

std::string PrayerMonth::description() const {
    return fmt::format("Total: {}, Month: {}, Islamic: {}", Prayers_.size(), MonthNumber_, IslamicMonthNumber_);
}

}  // namespace tarvo
