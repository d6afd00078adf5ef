#include "tarvo/prayers/PrayerAdjustments.h"

#include <cmath>

#include <fmt/format.h>

#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

// The slot whose minutes a type reads: Sunset shares Maghrib's, the tomorrow entries today's.
std::optional<size_t> slotOf(int64_t type) {
    switch (type) {
    case Prayer::TomorrowFajr: return Prayer::Fajr;
    case Prayer::TomorrowSunrise: return Prayer::Sunrise;
    case Prayer::Sunset: return Prayer::Maghrib;
    default: break;
    }
    if (type < Prayer::Fajr || type > Prayer::Qiyam) return std::nullopt;
    return static_cast<size_t>(type);
}

}  // namespace

PrayerAdjustments PrayerAdjustments::fromConfiguration(const PrayerConfiguration* config, bool force) {
    PrayerAdjustments adjustments;
    if (!config || (!config->UsePrayerAdjustments() && !force)) return adjustments;
    adjustments.minutes_[Prayer::Fajr] = config->FajrAdj();
    adjustments.minutes_[Prayer::Sunrise] = config->SunriseAdj();
    adjustments.minutes_[Prayer::Dhuhr] = config->DhuhrAdj();
    adjustments.minutes_[Prayer::Asr] = config->AsrAdj();
    adjustments.minutes_[Prayer::Maghrib] = config->MaghribAdj();
    adjustments.minutes_[Prayer::Isha] = config->IshaAdj();
    adjustments.minutes_[Prayer::Qiyam] = config->QiyamAdj();
    return adjustments;
}

int64_t PrayerAdjustments::minutesFor(int64_t type) const {
    const auto slot = slotOf(type);
    return slot ? minutes_[*slot] : 0;
}

std::optional<std::string> PrayerAdjustments::setMinutes(int64_t type, int64_t minutes) {
    if (type == Prayer::Sunset) return "Sunset moves with Maghrib; adjust Maghrib";
    if (type < Prayer::Fajr || type > Prayer::Qiyam) {
        return fmt::format("{} is not a prayer to adjust (0 Fajr to 7 Qiyam)", type);
    }
    if (minutes < -kMaximumMinutes || minutes > kMaximumMinutes) {
        return fmt::format("adjustment {} is outside -{} to {} minutes", minutes, kMaximumMinutes, kMaximumMinutes);
    }
    minutes_[static_cast<size_t>(type)] = minutes;
    return std::nullopt;
}

std::vector<double> PrayerAdjustments::adjustedHours(const std::vector<double>& hours) const {
    std::vector<double> adjusted = hours;
    for (size_t i = 0; i < adjusted.size(); ++i) {
        const int64_t minutes = minutesFor(static_cast<int64_t>(i));
        if (minutes != 0 && std::isfinite(adjusted[i])) adjusted[i] += static_cast<double>(minutes) / 60.0;
    }
    return adjusted;
}

}  // namespace tarvo
