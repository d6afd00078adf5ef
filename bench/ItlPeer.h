// The libitl peer (Debian libitl-dev), used only through its public header.
#pragma once

#include <string>

#include "Workload.h"

namespace tarvo::bench {

/// Computes every place-day of the workload with libitl's getPrayerTimes (Muslim World
/// League, extreme-latitude methods off, the day's zone offset from the workload) and
/// returns a checksum of the results so that nothing is optimised away.
long itlRunWorkload(const Workload& workload);

/// A one-line summary of how far libitl and TarvoCore are apart on a sample of the
/// workload (places within 40 degrees of the equator, where the high-latitude rules rarely
/// act): the largest difference in minutes for each of the six prayers.
std::string itlAgreement(const Workload& workload);

}  // namespace tarvo::bench
