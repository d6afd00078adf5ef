#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

class Prayer;

/// The prayer records of one month for month views, with the Gregorian and Islamic month
/// numbers. A value for hosts: the library itself never makes one.
class TARVO_EXPORT PrayerMonth {
public:
    PrayerMonth() = default;

    std::vector<std::shared_ptr<Prayer>>& Prayers() { return Prayers_; }
    const std::vector<std::shared_ptr<Prayer>>& Prayers() const { return Prayers_; }
    void setPrayers(std::vector<std::shared_ptr<Prayer>> prayers) { Prayers_ = std::move(prayers); }
    int64_t MonthNumber() const { return MonthNumber_; }
    void setMonthNumber(int64_t month) { MonthNumber_ = month; }
    int64_t IslamicMonthNumber() const { return IslamicMonthNumber_; }
    void setIslamicMonthNumber(int64_t month) { IslamicMonthNumber_ = month; }

    /// Months are equal when both month numbers are; the records are not compared. There is
    /// deliberately no matching hash: identity stays the hash, which hosts' sets of months rely on.
    bool isEqual(const PrayerMonth& other) const;
    /// "Total: 30, Month: 3, Islamic: 9".
    std::string description() const;

private:
    std::vector<std::shared_ptr<Prayer>> Prayers_;
    int64_t MonthNumber_ = 0;
    int64_t IslamicMonthNumber_ = 0;
};

}  // namespace tarvo
