// Keyed archives: what goes in comes out, and hostile bytes are refused without harm.
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "tarvo/platform/KeyedArchiver.h"
#include "tarvo/platform/KeyedUnarchiver.h"

namespace tarvo {
namespace {

using json = nlohmann::json;

constexpr const char* kClass = "PrayerConfiguration";

std::vector<uint8_t> sampleArchive() {
    KeyedArchiver archiver(kClass);
    archiver.encodeBool(true, "UsePrayerAdjustments");
    archiver.encodeBool(false, "ar");
    archiver.encodeInteger(-3, "FajrAdj");
    archiver.encodeInteger(std::numeric_limits<int64_t>::max(), "Largest");
    archiver.encodeInteger(std::numeric_limits<int64_t>::min(), "Smallest");
    archiver.encodeDouble(18.2, "customFajrAngle");
    archiver.encodeDouble(-0.1167, "longitude");
    archiver.encodeObject("Makkah", "FajrSoundAlert");
    archiver.encodeObject(json::binary({0, 1, 255}), "blob");
    archiver.encodeObject(json::array({1, "two", 3.5}), "list");
    archiver.encodeObject(json{{"city", "Dubai"}, {"gmt", 4}}, "nested");
    return archiver.encodedData();
}

KeyedUnarchiver unarchive(const std::vector<uint8_t>& data, const char* className = kClass) {
    auto unarchiver = KeyedUnarchiver::forReadingFromData(data, className);
    if (!unarchiver) throw std::runtime_error("archive refused");
    return std::move(*unarchiver);
}

TEST(KeyedArchiving, EveryKindRoundTripsExactly) {
    const KeyedUnarchiver u = unarchive(sampleArchive());
    EXPECT_EQ(u.className(), kClass);
    EXPECT_TRUE(u.decodeBool("UsePrayerAdjustments"));
    EXPECT_FALSE(u.decodeBool("ar"));
    EXPECT_TRUE(u.containsValueForKey("ar"));
    EXPECT_EQ(u.decodeInteger("FajrAdj"), -3);
    EXPECT_EQ(u.decodeInteger("Largest"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(u.decodeInteger("Smallest"), std::numeric_limits<int64_t>::min());
    // Doubles keep every bit: narrowing to single precision is the city record's business.
    EXPECT_EQ(u.decodeDouble("customFajrAngle"), 18.2);
    EXPECT_EQ(u.decodeNumber("customFajrAngle"), 18.2);
    EXPECT_EQ(u.decodeDouble("longitude"), -0.1167);
    EXPECT_EQ(u.decodeString("FajrSoundAlert"), "Makkah");
    EXPECT_EQ(u.decodeObject("FajrSoundAlert"), json("Makkah"));
    EXPECT_EQ(u.decodeObject("blob"), json::binary({0, 1, 255}));
    EXPECT_EQ(u.decodeObject("list"), json::array({1, "two", 3.5}));
    EXPECT_EQ(u.decodeObject("nested"), (json{{"city", "Dubai"}, {"gmt", 4}}));
}

TEST(KeyedArchiving, MissingKeysDecodeAsNothing) {
    KeyedArchiver archiver(kClass);
    archiver.encodeObject("Makkah", "FajrSoundAlert");
    archiver.encodeObject(nullptr, "FajrSoundAlert");  // encoding nothing takes the key out again
    archiver.encodeObject(nullptr, "NeverThere");
    const KeyedUnarchiver u = unarchive(archiver.encodedData());
    EXPECT_FALSE(u.containsValueForKey("FajrSoundAlert"));
    EXPECT_FALSE(u.decodeObject("FajrSoundAlert").has_value());
    EXPECT_FALSE(u.decodeBool("x"));
    EXPECT_EQ(u.decodeInteger("x"), 0);
    EXPECT_EQ(u.decodeDouble("x"), 0.0);
    EXPECT_FALSE(u.decodeNumber("x").has_value());
    EXPECT_FALSE(u.decodeString("x").has_value());
}

TEST(KeyedArchiving, LaterEncodingOfAKeyWins) {
    KeyedArchiver archiver(kClass);
    archiver.encodeInteger(1, "ShowQiyam");
    archiver.encodeBool(true, "ShowQiyam");
    const KeyedUnarchiver u = unarchive(archiver.encodedData());
    EXPECT_EQ(u.decodeObject("ShowQiyam"), json(true));
}

TEST(KeyedArchiving, ScalarsReadAcrossNumberKindsButNotFromOtherKinds) {
    KeyedArchiver archiver(kClass);
    archiver.encodeInteger(2, "two");
    archiver.encodeDouble(3.9, "almostFour");
    archiver.encodeBool(true, "yes");
    archiver.encodeObject("1", "text");
    archiver.encodeObject(json::array({1}), "list");
    const KeyedUnarchiver u = unarchive(archiver.encodedData());
    EXPECT_TRUE(u.decodeBool("two"));
    EXPECT_EQ(u.decodeDouble("two"), 2.0);
    EXPECT_EQ(u.decodeInteger("almostFour"), 3);
    EXPECT_EQ(u.decodeInteger("yes"), 1);
    EXPECT_EQ(u.decodeDouble("yes"), 1.0);
    EXPECT_FALSE(u.decodeBool("text")) << "text is another kind for a scalar";
    EXPECT_EQ(u.decodeInteger("text"), 0);
    EXPECT_EQ(u.decodeDouble("list"), 0.0);
}

TEST(KeyedArchiving, TypedObjectDecodersRaiseOnAnotherKind) {
    KeyedArchiver archiver(kClass);
    archiver.encodeObject("Dubai", "cityName");
    archiver.encodeDouble(4.0, "GMT");
    archiver.encodeBool(true, "flag");
    archiver.encodeObject(json::binary({1}), "blob");
    const KeyedUnarchiver u = unarchive(archiver.encodedData());
    EXPECT_THROW(u.decodeNumber("cityName"), KeyedUnarchiver::DecodingError);
    EXPECT_THROW(u.decodeNumber("blob"), KeyedUnarchiver::DecodingError);
    EXPECT_THROW(u.decodeString("GMT"), KeyedUnarchiver::DecodingError);
    EXPECT_EQ(u.decodeNumber("flag"), 1.0) << "a bool is a number object";
    try {
        u.decodeString("GMT");
    } catch (const KeyedUnarchiver::DecodingError& e) {
        EXPECT_NE(std::string(e.what()).find("GMT"), std::string::npos) << e.what();
    }
}

TEST(KeyedArchivingSecurity, AnotherClassIsRefused) {
    test::LogCapture log;
    KeyedArchiver archiver("TarvoCity");
    archiver.encodeDouble(5.5, "GMT");
    EXPECT_FALSE(KeyedUnarchiver::forReadingFromData(archiver.encodedData(), kClass).has_value());
    EXPECT_TRUE(log.hasError("TarvoCity"));
    EXPECT_TRUE(KeyedUnarchiver::forReadingFromData(archiver.encodedData(), "TarvoCity").has_value());
}

TEST(KeyedArchivingSecurity, EveryTruncationIsRefused) {
    test::LogCapture log;
    const auto data = sampleArchive();
    ASSERT_TRUE(KeyedUnarchiver::forReadingFromData(data, kClass).has_value());
    for (size_t length = 0; length < data.size(); ++length) {
        const std::vector<uint8_t> prefix(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_FALSE(KeyedUnarchiver::forReadingFromData(prefix, kClass).has_value()) << "length " << length;
    }
    auto longer = data;
    longer.push_back(0x00);
    EXPECT_FALSE(KeyedUnarchiver::forReadingFromData(longer, kClass).has_value()) << "trailing bytes";
}

TEST(KeyedArchivingSecurity, RandomBytesAreRefused) {
    test::LogCapture log;
    std::mt19937 random(20240521);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<size_t> length(0, 300);
    for (int round = 0; round < 3000; ++round) {
        std::vector<uint8_t> data(length(random));
        for (auto& b : data) b = static_cast<uint8_t>(byte(random));
        EXPECT_FALSE(KeyedUnarchiver::forReadingFromData(data, kClass).has_value()) << "round " << round;
    }
}

TEST(KeyedArchivingSecurity, CorruptedBytesNeverHurt) {
    // Any single byte changed: the archive is refused, or it decodes into values that every
    // decoder can be asked about.
    test::LogCapture log;
    const auto data = sampleArchive();
    std::mt19937 random(7);
    for (size_t position = 0; position < data.size(); ++position) {
        for (uint8_t value : {uint8_t{0x00}, uint8_t{0xff}, static_cast<uint8_t>(random())}) {
            auto corrupt = data;
            corrupt[position] = value;
            const auto u = KeyedUnarchiver::forReadingFromData(corrupt, kClass);
            if (!u) continue;
            for (const char* key : {"FajrAdj", "customFajrAngle", "FajrSoundAlert", "list", "blob"}) {
                u->decodeBool(key);
                u->decodeInteger(key);
                u->decodeDouble(key);
                u->decodeObject(key);
                try {
                    u->decodeNumber(key);
                    u->decodeString(key);
                } catch (const KeyedUnarchiver::DecodingError&) {
                }
            }
        }
    }
    EXPECT_FALSE(log.errors().empty()) << "corruptions of the layout are refused with a logged reason";
}

TEST(KeyedArchivingSecurity, HostileLayoutsAreRefused) {
    test::LogCapture log;
    auto refused = [](const std::vector<uint8_t>& data) {
        return !KeyedUnarchiver::forReadingFromData(data, kClass).has_value();
    };
    // Nesting far beyond any archive: must not exhaust the stack.
    EXPECT_TRUE(refused(std::vector<uint8_t>(200000, 0x81)));
    EXPECT_TRUE(refused(std::vector<uint8_t>(200000, 0x9f)));
    // A map and an array announcing four billion entries in a handful of bytes.
    EXPECT_TRUE(refused({0xba, 0xff, 0xff, 0xff, 0xff, 0x00}));
    EXPECT_TRUE(refused({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00}));
    // A string announcing more bytes than follow.
    EXPECT_TRUE(refused({0x7b, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 'a'}));

    // Well-formed CBOR without the archive's layout.
    const json good = {{"archiver", "tarvo.keyed-archive"}, {"version", 1}, {"class", kClass}, {"values", json::object()}};
    EXPECT_FALSE(refused(json::to_cbor(good))) << "the layout itself is accepted";
    for (const char* field : {"archiver", "version", "class", "values"}) {
        json missing = good;
        missing.erase(field);
        EXPECT_TRUE(refused(json::to_cbor(missing))) << "without " << field;
    }
    json wrongVersion = good;
    wrongVersion["version"] = 2;
    EXPECT_TRUE(refused(json::to_cbor(wrongVersion)));
    json classNotText = good;
    classNotText["class"] = 7;
    EXPECT_TRUE(refused(json::to_cbor(classNotText)));
    json valuesNotMap = good;
    valuesNotMap["values"] = json::array();
    EXPECT_TRUE(refused(json::to_cbor(valuesNotMap)));
    EXPECT_TRUE(refused(json::to_cbor(json::array({kClass}))));
    EXPECT_TRUE(refused(json::to_cbor(json("PrayerConfiguration"))));
}

}  // namespace
}  // namespace tarvo
