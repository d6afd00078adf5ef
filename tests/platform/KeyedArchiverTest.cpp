// Keyed archives: what goes in comes out, and hostile bytes are refused without harm.
#include <limits>

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"

namespace tarvo {
namespace {

using json = nlohmann::json;

constexpr const char* kClass = "PrayerConfiguration";

std::vector<uint8_t> sampleArchive() {
    KeyedArchiver archiver(kClass);
    archiver.encodeInteger(1, "flag");  // replaced by the later encoding of the key
    archiver.encodeBool(true, "flag");
    archiver.encodeInteger(std::numeric_limits<int64_t>::min(), "Smallest");
    archiver.encodeDouble(18.2, "customFajrAngle");
    archiver.encodeDouble(3.9, "almostFour");
    archiver.encodeObject("Makkah", "FajrSoundAlert");
    archiver.encodeObject(json::binary({0, 1, 255}), "blob");
    archiver.encodeObject(json::array({1, "two", 3.5}), "list");
    archiver.encodeObject(json{{"blob", json::binary({0, 1, 255})}, {"list", json::array({1, "two"})}}, "nested");
    archiver.encodeObject("gone", "removed");
    archiver.encodeObject(nullptr, "removed");  // encoding nothing takes the key out again
    return archiver.encodedData();
}

bool refused(const std::vector<uint8_t>& data) { return !KeyedUnarchiver::forReadingFromData(data, kClass); }

TEST(KeyedArchiving, EveryKindRoundTripsAndScalarsReadAcrossNumberKinds) {
    const auto u = KeyedUnarchiver::forReadingFromData(sampleArchive(), kClass);
    ASSERT_TRUE(u);
    EXPECT_EQ(u->decodeObject("flag"), json(true));
    EXPECT_EQ(u->decodeInteger("Smallest"), std::numeric_limits<int64_t>::min());
    // Doubles keep every bit: narrowing to single precision is the city record's business.
    EXPECT_EQ(u->decodeDouble("customFajrAngle"), 18.2);
    EXPECT_EQ(u->decodeString("FajrSoundAlert"), "Makkah");
    EXPECT_EQ(u->decodeObject("nested"), (json{{"blob", json::binary({0, 1, 255})}, {"list", json::array({1, "two"})}}));
    EXPECT_FALSE(u->containsValueForKey("removed"));
    EXPECT_EQ(u->decodeInteger("almostFour"), 3);
    EXPECT_EQ(u->decodeNumber("flag"), 1.0) << "a bool is a number object";
    // Scalars of another kind read as zero; typed object decoders raise.
    EXPECT_EQ(u->decodeInteger("FajrSoundAlert"), 0);
    EXPECT_FALSE(u->decodeBool("list"));
    EXPECT_THROW(u->decodeNumber("blob"), KeyedUnarchiver::DecodingError);
    EXPECT_THROW(u->decodeString("customFajrAngle"), KeyedUnarchiver::DecodingError);
}

TEST(KeyedArchivingSecurity, WrongClassAndTruncatedArchivesAreRefused) {
    test::LogCapture log;
    KeyedArchiver city("TarvoCity");
    city.encodeDouble(5.5, "GMT");
    EXPECT_TRUE(refused(city.encodedData()));
    EXPECT_TRUE(log.hasError("TarvoCity"));

    const auto data = sampleArchive();
    for (size_t length = 0; length < data.size(); ++length) {
        EXPECT_TRUE(refused({data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length)})) << length;
    }
    auto longer = data;
    longer.push_back(0x00);
    EXPECT_TRUE(refused(longer)) << "trailing bytes";
    // Random and corrupted bytes are the keyed_archive fuzz target's work.
}

TEST(KeyedArchivingSecurity, HostileLayoutsAreRefused) {
    test::LogCapture log;
    // Nesting far beyond any archive must not exhaust the stack; counts must not be trusted.
    for (const std::vector<uint8_t>& bytes : {std::vector<uint8_t>(200000, 0x81), std::vector<uint8_t>(200000, 0x9f),
                                              std::vector<uint8_t>{0xba, 0xff, 0xff, 0xff, 0xff, 0x00},
                                              std::vector<uint8_t>{0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff},
                                              std::vector<uint8_t>{0x7b, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}}) {
        EXPECT_TRUE(refused(bytes)) << bytes.size();
    }
    // Well-formed CBOR without the archive's layout.
    const json good = {{"archiver", "tarvo.keyed-archive"}, {"version", 1}, {"class", kClass}, {"values", json::object()}};
    EXPECT_FALSE(refused(json::to_cbor(good))) << "the layout itself is accepted";
    std::vector<json> bad = {json::array({kClass}), json(kClass)};
    for (const char* field : {"archiver", "version", "class", "values"}) {
        bad.push_back(good);
        bad.back().erase(field);
    }
    for (const auto& [field, value] : {std::pair{"version", json(2)}, {"class", json(7)}, {"values", json::array()}}) {
        bad.push_back(good);
        bad.back()[field] = value;
    }
    for (const auto& layout : bad) EXPECT_TRUE(refused(json::to_cbor(layout))) << layout.dump();
}

}  // namespace
}  // namespace tarvo
