// The facade's current and next prayer: which prayer's time has last passed, which comes
// next, the corrections around midnight, Fajr and Qiyam, and the delegate's reports.
#include <mutex>

#include "platform/host/LogMacros.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/CurrentAndNextPrayer.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "tarvo/platform/Calendar.h"
#include "platform/host/DispatchQueue.h"
#include "platform/host/GlobalStateLock.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

int64_t typeOr(const std::shared_ptr<Prayer>& prayer, int64_t fallback) { return prayer ? prayer->Type() : fallback; }

bool showQiyam(const TarvoDAO& facade) {
    const auto config = facade.globalPrayerConfiguration();
    return config && config->ShowQiyam();
}

void requestRefreshOnMainQueue(std::weak_ptr<const TarvoDAO> facade) {
    // The delegate is looked up when the block runs: it (or the facade) may have gone by then.
    runAsyncOnMainQueue([facade = std::move(facade)] {
        const auto dao = facade.lock();
        if (!dao) return;
        if (auto delegate = dao->daodelegate()) delegate->tarvoDAOPrayerTimesShouldRefreshAsDateChanged();
    });
}

}  // namespace

std::shared_ptr<Prayer> TarvoDAO::determineCurrentPrayer(Date now) {
    setCurrentPrayer(nullptr);
    const DayList list = LastGeneratedPrayerTimes();
    if (list.empty()) return nullptr;
    std::shared_ptr<Prayer> candidate;
    setCurrentPrayer(CurrentAndNextPrayer::currentIn(list, now, showQiyam(*this), &candidate));
    return candidate;
}

bool TarvoDAO::determineCurrentAndNextPrayerTimeForCity(const std::shared_ptr<TarvoCity>& city,
                                                        bool canInformDelegate) {
    ensureCalendars();
    std::lock_guard lock(globalStateLockObject());
    DayList list = LastGeneratedPrayerTimes();
    if (list.size() < 7) return false;

    const Date checked = getTodaysDate();
    setDateAndTimeForLastGeneratedPrayerTimes(checked);
    const int64_t previousType = typeOr(PrevCurrPrayer(), typeOr(CurrentPrayer(), -1));
    // Days regenerated for the decision become this facade's lists, as every run of days does.
    const auto generate = [&](int64_t first, int64_t further) {
        getPrayerTimesForCurrentDateWithDayOffset(first, further, city);
        return TodayAndTomorrowGeneratedPrayerTimes();
    };
    const CurrentAndNextPrayer::Decision decision =
        CurrentAndNextPrayer::decide(std::move(list), checked, showQiyam(*this), generate);
    if (decision.generated) setLastGeneratedPrayerTimes(decision.day);
    setCurrentPrayer(decision.current);
    setNextPrayer(decision.next);
    const bool quiet =
        previousType == -1 || previousType == Prayer::Fajr || typeOr(decision.found, 0) != Prayer::Fajr;

    const int64_t day = gregorianCalendar()->components(checked).day;
    const int64_t lastDay = lastDayOfDate();
    if (day == lastDay || lastDay < 0) {
        const auto currentPrayer = CurrentPrayer();
        if (typeOr(PrevCurrPrayer(), 0) != typeOr(currentPrayer, 0) && currentPrayer) {
            if (auto delegate = daodelegate()) delegate->tarvoDAOCurrentPrayerChanged();
        }
        setPrevCurrPrayer(currentPrayer);
        setLastDayOfDate(day);
        if (!quiet && canInformDelegate) requestRefreshOnMainQueue(weak_from_this());
    } else {
        // A new calendar day: ask for a fresh timetable. The previous prayer is left as it
        // was on purpose, so the next check on the new day reports the change once.
        setLastDayOfDate(day);
        if (canInformDelegate) requestRefreshOnMainQueue(weak_from_this());
    }
    return true;
}

}  // namespace tarvo
