#pragma once

// The current and next prayer computed without process state, held against the facade's.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tarvo/facade/CurrentAndNextPrayer.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/prayers/PrayerAdjustments.h"
#include "tarvo/summary/SmartPrayerInfo.h"

namespace tarvo::test {

// The stateless answer for the place and moment equals the facade's, whatever the device's
// zone (here one 25 hours from some of the places) and with the clock elsewhere.
inline void expectSameWithoutProcessState(const std::shared_ptr<TarvoDAO>& facade, const std::shared_ptr<TarvoCity>& city,
                                   Date now, const std::string& where) {
    const TimeZone device = TimeZone::systemDefault();
    TimeZone::setSystemDefault(*TimeZone::withName("Pacific/Kiritimati"));
    Clock::installFixed(now.addingTimeInterval(-40000));
    const auto config = facade->globalPrayerConfiguration();
    const auto answer = CurrentAndNextPrayer::at(city, config, PrayerAdjustments::fromConfiguration(config.get()), now, true);
    Clock::installFixed(now);
    TimeZone::setSystemDefault(device);
    const auto same = [](const std::shared_ptr<Prayer>& a, const std::shared_ptr<Prayer>& b) {
        return a && b && a->Type() == b->Type() && a->PrayerTime() == b->PrayerTime();
    };
    EXPECT_TRUE(same(answer.current, facade->CurrentPrayer())) << where << ": another current prayer";
    EXPECT_TRUE(same(answer.next, facade->NextPrayer())) << where << ": another next prayer";
    const auto summary = facade->getLatestSmartInfoForCountdownToNextPrayer(true);
    ASSERT_TRUE(answer.summary && summary) << where;
    EXPECT_EQ(answer.summary->prayerState(), summary->prayerState()) << where;
    EXPECT_EQ(answer.summary->getBestTimeToRefreshComplication(), summary->getBestTimeToRefreshComplication()) << where;
}

}  // namespace tarvo::test
