// Keyed archives from another device or process, decoded as each class the library
// unarchives (the configuration, and the city kept under "SharedActiveCity"). Whatever
// decodes, archived again, must decode to an equal object: its archive is the same again.
#include <cstdint>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

#include "FuzzSupport.h"
#include "cities/TarvoCityArchive.h"
#include "configuration/PrayerConfigurationArchive.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"

namespace {

// The coders of each class: the city's own, the configuration's archive.
void encode(const tarvo::TarvoCity& city, tarvo::KeyedArchiver& coder) { tarvo::TarvoCityArchive::encode(city, coder); }
void encode(const tarvo::PrayerConfiguration& configuration, tarvo::KeyedArchiver& coder) {
    tarvo::PrayerConfigurationArchive::encode(configuration, coder);
}
template <typename Class>
std::shared_ptr<Class> decode(const tarvo::KeyedUnarchiver& coder) {
    if constexpr (std::is_same_v<Class, tarvo::PrayerConfiguration>) {
        return tarvo::PrayerConfigurationArchive::decode(coder);
    } else {
        return tarvo::TarvoCityArchive::decode(coder);
    }
}

template <typename Decoded>
std::vector<uint8_t> archived(const Decoded& object, std::string_view className) {
    tarvo::KeyedArchiver coder{std::string(className)};
    encode(object, coder);
    return coder.encodedData();
}

// Decodes the bytes as `Class` when they are an archive of it; checks the round trip.
template <typename Class>
void roundTrip(const std::vector<uint8_t>& bytes) {
    const auto unarchiver = tarvo::KeyedUnarchiver::forReadingFromData(bytes, Class::kArchiveClassName);
    if (!unarchiver) return;
    TARVO_FUZZ_CHECK(unarchiver->className() == Class::kArchiveClassName, "an archive of another class was let in");
    const auto first = decode<Class>(*unarchiver);
    TARVO_FUZZ_CHECK(first != nullptr, "a readable archive gives an object");
    const std::vector<uint8_t> once = archived(*first, Class::kArchiveClassName);

    const auto again = tarvo::KeyedUnarchiver::forReadingFromData(once, Class::kArchiveClassName);
    TARVO_FUZZ_CHECK(again.has_value(), "the library's own archive reads back");
    const auto second = decode<Class>(*again);
    TARVO_FUZZ_CHECK(second != nullptr, "the library's own archive gives an object");
    TARVO_FUZZ_CHECK(archived(*second, Class::kArchiveClassName) == once, "an object archived again is not equal");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();  // the configuration hands alert settings to this store
    tarvo::fuzz::quietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> bytes(data, data + size);
    roundTrip<tarvo::PrayerConfiguration>(bytes);
    roundTrip<tarvo::TarvoCity>(bytes);
    return 0;
}
