#pragma once

#include <memory>

namespace tarvo {

class KeyedArchiver;
class KeyedUnarchiver;
class TarvoCity;

/// The keyed archive of a city (class name TarvoCity::kArchiveClassName): GMT, the calculation
/// preferences and the position as number objects, then the three names. The facade keeps the
/// active city in it for the app's other processes.
class TarvoCityArchive {
public:
    /// Writes the nine numbers and the three names ("" when absent); the city's own choices
    /// beyond its method (polar resolution, minutes, angle overrides) only when made, so that
    /// archives of cities without them read as before.
    static void encode(const TarvoCity& city, KeyedArchiver& coder);
    /// A fresh city from an archive. Never marks it dirty; a value of the wrong kind is logged
    /// ("Error tring to decode city obj") and leaves the city partly filled.
    static std::shared_ptr<TarvoCity> decode(const KeyedUnarchiver& coder);
};

}  // namespace tarvo
