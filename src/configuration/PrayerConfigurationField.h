#pragma once

#include <cstdint>
#include <limits>

#include "tarvo/configuration/PrayerConfiguration.h"

namespace tarvo {

// One stored setting: its key (the same in the store and in archives), how it is kept, what
// it means and, for numbers, the values that make sense.
struct PrayerConfiguration::Field {
    enum class Kind {
        flag,           // a bool in the store and in archives
        number,         // an integer in the store and in archives
        flagIsOne,      // an integer in the store, true only when it is exactly 1; a bool in archives
        flagIsNonZero,  // an integer in the store, true when it is not 0; a bool in archives
    };
    const char* key;
    Kind kind;
    const char* meaning;
    bool PrayerConfiguration::*flag = nullptr;
    int64_t PrayerConfiguration::*number = nullptr;
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
};

}  // namespace tarvo
