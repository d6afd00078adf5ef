#include "tarvo/platform/DateComponents.h"

#include <fmt/format.h>

namespace tarvo {

std::string DateComponents::isoDay() const { return fmt::format("{:04}-{:02}-{:02}", year, month, day); }

}  // namespace tarvo
