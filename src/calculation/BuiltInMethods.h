#pragma once

#include <map>
#include <memory>

#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo {

/// The built-in method table, built once and shared by every calculator (immutable):
/// method number to its six parameters.
const std::shared_ptr<const std::map<int64_t, PrayerCalculator::MethodParams>>& builtInMethodTable();

}  // namespace tarvo
