// The platform's reading rules: every stored kind read through every typed getter.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "platform/ParamName.h"
#include "platform/ScopedDataFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using json = nlohmann::json;

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

struct ReadingRow {
    const char* name;
    json stored;  // null: the key is absent
    bool asBool;
    int64_t asInteger;
    double asDouble;
    std::optional<std::string> asString;
};

void PrintTo(const ReadingRow& row, std::ostream* out) { *out << row.name << " " << row.stored.dump(); }

const std::vector<ReadingRow>& readingRows() {
    static const std::vector<ReadingRow> rows = {
        {"Absent", nullptr, false, 0, 0.0, std::nullopt},
        {"IntegerFour", 4, true, 4, 4.0, "4"},
        {"IntegerZero", 0, false, 0, 0.0, "0"},
        {"IntegerNegative", -7, true, -7, -7.0, "-7"},
        {"IntegerTwo", 2, true, 2, 2.0, "2"},
        {"IntegerLargest", kMax, true, kMax, 9223372036854775807.0, "9223372036854775807"},
        {"UnsignedBeyondRange", std::numeric_limits<uint64_t>::max(), true, kMax, 18446744073709551615.0,
         "18446744073709551615"},
        {"DoubleTruncates", 3.9, true, 3, 3.9, "3.9"},
        {"NegativeDoubleTruncatesTowardZero", -3.9, true, -3, -3.9, "-3.9"},
        {"DoubleWhole", 50.0, true, 50, 50.0, "50"},
        {"DoubleFraction", 0.25, true, 0, 0.25, "0.25"},
        {"DoubleHugeClamps", 1e300, true, kMax, 1e300, "1e+300"},
        {"DoubleHugeNegativeClamps", -1e300, true, kMin, -1e300, "-1e+300"},
        {"BoolTrue", true, true, 1, 1.0, "1"},
        {"BoolFalse", false, false, 0, 0.0, "0"},
        {"TextFour", "4", true, 4, 4.0, "4"},
        {"TextPadded", " 12\t", true, 12, 12.0, " 12\t"},
        {"TextPlusSign", "+5", true, 5, 5.0, "+5"},
        {"TextNegative", "-15", true, -15, -15.0, "-15"},
        {"TextFraction", "4.7", true, 4, 4.7, "4.7"},
        {"TextExponent", "1e3", true, 1000, 1000.0, "1e3"},
        {"TextZero", "0", false, 0, 0.0, "0"},
        {"TextOne", "1", true, 1, 1.0, "1"},
        {"TextYes", "YES", true, 0, 0.0, "YES"},
        {"TextYesLower", "yes", true, 0, 0.0, "yes"},
        {"TextTrue", "true", true, 0, 0.0, "true"},
        {"TextTrueMixedCase", "TrUe", true, 0, 0.0, "TrUe"},
        {"TextNo", "NO", false, 0, 0.0, "NO"},
        {"TextFalse", "false", false, 0, 0.0, "false"},
        {"TextWord", "Makkah", false, 0, 0.0, "Makkah"},
        {"TextNumberThenWord", "4abc", false, 0, 0.0, "4abc"},
        {"TextEmpty", "", false, 0, 0.0, ""},
        {"TextNaN", "nan", false, 0, 0.0, "nan"},
        {"TextInfinity", "inf", false, 0, 0.0, "inf"},
        {"TextLargestInteger", "9223372036854775807", true, kMax, 9223372036854775807.0, "9223372036854775807"},
        {"TextBeyondRangeClamps", "9223372036854775808", true, kMax, 9223372036854775808.0, "9223372036854775808"},
        {"Array", json::array({1, 2}), false, 0, 0.0, std::nullopt},
        {"Dictionary", json{{"a", 1}}, false, 0, 0.0, std::nullopt},
        {"Data", json::binary({1, 2, 3}), false, 0, 0.0, std::nullopt},
    };
    return rows;
}

class UserDefaultsReading : public ::testing::TestWithParam<ReadingRow> {
protected:
    static void expectReadings(const UserDefaults& store, const ReadingRow& row) {
        EXPECT_EQ(store.boolForKey("key"), row.asBool);
        EXPECT_EQ(store.integerForKey("key"), row.asInteger);
        EXPECT_EQ(store.doubleForKey("key"), row.asDouble);
        EXPECT_EQ(store.stringForKey("key"), row.asString);
        EXPECT_EQ(store.dataForKey("key").has_value(), row.stored.is_binary());
        EXPECT_EQ(store.arrayForKey("key").has_value(), row.stored.is_array());
        EXPECT_EQ(store.dictionaryForKey("key").has_value(), row.stored.is_object());
        if (row.stored.is_null()) {
            EXPECT_FALSE(store.objectForKey("key").has_value());
        } else {
            EXPECT_EQ(store.objectForKey("key"), row.stored);
        }
    }

    test::ScopedDataFolder folder;
};

TEST_P(UserDefaultsReading, StoredValueReadsByTheRules) {
    const ReadingRow& row = GetParam();
    UserDefaults store(folder / "suite.sqlite");
    ASSERT_TRUE(store.isPersistent());
    store.setObject("key", row.stored);
    expectReadings(store, row);
}

TEST_P(UserDefaultsReading, StoredKindSurvivesTheFile) {
    const ReadingRow& row = GetParam();
    {
        UserDefaults writer(folder / "suite.sqlite");
        writer.setObject("key", row.stored);
        ASSERT_TRUE(writer.synchronize());
    }
    const UserDefaults reader(folder / "suite.sqlite");
    expectReadings(reader, row);
}

TEST_P(UserDefaultsReading, RegisteredValueReadsByTheSameRules) {
    const ReadingRow& row = GetParam();
    UserDefaults store(folder / "suite.sqlite");
    if (!row.stored.is_null()) store.registerDefaults(json{{"key", row.stored}});
    expectReadings(store, row);
}

INSTANTIATE_TEST_SUITE_P(Kinds, UserDefaultsReading, ::testing::ValuesIn(readingRows()),
                         test::ParamName());

TEST(UserDefaultsTypedSetters, WriteTheKindTheirNameSays) {
    test::ScopedDataFolder folder;
    UserDefaults store(folder / "suite.sqlite");
    store.setBool("b", true);
    store.setInteger("i", -42);
    store.setDouble("d", 18.5);
    store.setString("s", "Asia/Riyadh");
    store.setData("x", {0x00, 0x10, 0xff});
    EXPECT_TRUE(store.objectForKey("b")->is_boolean());
    EXPECT_TRUE(store.objectForKey("i")->is_number_integer());
    EXPECT_TRUE(store.objectForKey("d")->is_number_float());
    EXPECT_TRUE(store.objectForKey("s")->is_string());
    EXPECT_EQ(store.dataForKey("x"), (std::vector<uint8_t>{0x00, 0x10, 0xff}));
    EXPECT_EQ(store.stringForKey("s"), "Asia/Riyadh");
    // A whole double stays a double: its kind is what was written, not what it looks like.
    store.setDouble("whole", 50.0);
    EXPECT_TRUE(store.objectForKey("whole")->is_number_float());
    EXPECT_EQ(store.doubleForKey("whole"), 50.0);
    // Non-finite doubles survive too.
    store.setDouble("nan", std::nan(""));
    EXPECT_TRUE(std::isnan(store.doubleForKey("nan")));
}

}  // namespace
}  // namespace tarvo
