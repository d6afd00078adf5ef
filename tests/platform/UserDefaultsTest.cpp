// The preferences store: the reading rules of every stored kind, persistence, the data
// folder, files it must not use and several threads at once (storage failing under it is in
// tests/cities/StoreFaultsTest, shared with the saved cities).
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/LogCapture.h"
#include "support/SqliteScript.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using namespace test;

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

struct ReadingRow {
    json stored;  // null: the key is absent
    bool asBool;
    int64_t asInteger;
    double asDouble;
    std::optional<std::string> asString;
};

TEST(UserDefaultsReading, EveryStoredKindReadsByTheRulesWhetherReopenedOrRegistered) {
    const ReadingRow rows[] = {
        {nullptr, false, 0, 0.0, std::nullopt}, {-7, true, -7, -7.0, "-7"}, {0, false, 0, 0.0, "0"},
        {std::numeric_limits<uint64_t>::max(), true, kMax, 18446744073709551615.0, "18446744073709551615"},
        {-3.9, true, -3, -3.9, "-3.9"},  // truncated toward zero
        {50.0, true, 50, 50.0, "50"}, {0.25, true, 0, 0.25, "0.25"}, {1e300, true, kMax, 1e300, "1e+300"},
        {-1e300, true, kMin, -1e300, "-1e+300"}, {true, true, 1, 1.0, "1"}, {" 12\t", true, 12, 12.0, " 12\t"},
        {"+5", true, 5, 5.0, "+5"}, {"4.7", true, 4, 4.7, "4.7"}, {"1e3", true, 1000, 1000.0, "1e3"},
        {"0", false, 0, 0.0, "0"}, {"YES", true, 0, 0.0, "YES"}, {"TrUe", true, 0, 0.0, "TrUe"},
        {"NO", false, 0, 0.0, "NO"}, {"4abc", false, 0, 0.0, "4abc"}, {"", false, 0, 0.0, ""},
        {"nan", false, 0, 0.0, "nan"},
        {"9223372036854775808", true, kMax, 9223372036854775808.0, "9223372036854775808"},
        {json::array({1, 2}), false, 0, 0.0, std::nullopt}, {json{{"a", 1}}, false, 0, 0.0, std::nullopt},
        {json::binary({1, 2, 3}), false, 0, 0.0, std::nullopt},
    };
    ScopedDataFolder folder;
    for (const ReadingRow& row : rows) {
        SCOPED_TRACE(row.stored.dump());
        UserDefaults registered(folder / "registered.sqlite");
        if (!row.stored.is_null()) PreferenceStore::of(registered).registerDefaults(json{{"key", row.stored}});
        PreferenceStore::of(UserDefaults(folder / "suite.sqlite")).setObject("key", row.stored);
        const UserDefaults reopened(folder / "suite.sqlite");
        for (const UserDefaults* store : {&reopened, static_cast<const UserDefaults*>(&registered)}) {
            EXPECT_EQ(store->boolForKey("key"), row.asBool);
            EXPECT_EQ(store->integerForKey("key"), row.asInteger);
            EXPECT_EQ(store->doubleForKey("key"), row.asDouble);
            EXPECT_EQ(store->stringForKey("key"), row.asString);
            EXPECT_EQ(store->dataForKey("key").has_value(), row.stored.is_binary());
            EXPECT_EQ(PreferenceStore::of(*store).arrayForKey("key").has_value(), row.stored.is_array());
            EXPECT_EQ(PreferenceStore::of(*store).dictionaryForKey("key").has_value(), row.stored.is_object());
            EXPECT_EQ(PreferenceStore::of(*store).objectForKey("key").value_or(nullptr), row.stored);
            EXPECT_EQ(PreferenceStore::of(*store).objectForKey("key").value_or(nullptr).is_number_float(), row.stored.is_number_float());
        }
    }
}

TEST(UserDefaultsStore, WritesAreSeenAtOnceAndDurableAndUnreadableValuesReadAsAbsent) {
    ScopedDataFolder folder;
    const auto file = folder / "suite.sqlite";
    UserDefaults store(file);
    const UserDefaults other(file);
    const json nested = {{"alerts", json::array({json::binary({7}), 1.5})}};
    PreferenceStore::of(store).setObject("nested", nested);
    store.setString("gone", "x");
    PreferenceStore::of(store).setObject("gone", nullptr);
    EXPECT_EQ(PreferenceStore::of(other).persistentDomain(), (json{{"nested", nested}}));
    // After synchronize the main file alone, without the write-ahead log, holds the values.
    ASSERT_TRUE(store.synchronize());
    std::filesystem::copy_file(file, folder / "copy.sqlite");
    EXPECT_EQ(test::queryText(folder / "copy.sqlite", "SELECT count(*) FROM preferences"), "1");

    // Bytes that do not decode read as absent, with a logged error.
    PreferenceStore::of(store).registerDefaults({{"UseSunrise", true}});
    ASSERT_TRUE(test::runSql(file, "INSERT INTO preferences(key, value) VALUES('UseSunrise', x'9f01'), ('FajrAdj', x'ff')"));
    test::LogCapture log;
    EXPECT_TRUE(store.boolForKey("UseSunrise")) << "the registered default answers instead";
    EXPECT_EQ(store.integerForKey("FajrAdj"), 0);
    EXPECT_TRUE(log.hasError("unreadable"));
    EXPECT_FALSE(PreferenceStore::of(store).persistentDomain().contains("FajrAdj"));
}

TEST(UserDefaultsJson, HostsReadAndWriteAnyKindAsJsonTextAndBadTextChangesNothing) {
    ScopedDataFolder folder;
    UserDefaults store(folder / "suite.sqlite");
    ASSERT_TRUE(store.setJson("alerts", R"({"Fajr": [1, 2.5, "x"], "on": true})"));
    EXPECT_EQ(store.jsonForKey("alerts"), R"({"Fajr":[1,2.5,"x"],"on":true})");
    EXPECT_EQ(store.integerForKey("n"), 0);
    ASSERT_TRUE(store.setJson("n", "4"));
    EXPECT_EQ(store.integerForKey("n"), 4);
    EXPECT_EQ(store.jsonForKey("n"), "4");
    // Text that is not JSON, or defaults that are not one object, change nothing.
    test::LogCapture log;
    EXPECT_FALSE(store.setJson("n", "{4"));
    EXPECT_FALSE(store.registerDefaultsJson("[1]"));
    EXPECT_FALSE(store.registerDefaultsJson("{\"a\": "));
    EXPECT_TRUE(log.hasError("not JSON"));
    EXPECT_EQ(store.jsonForKey("n"), "4");
    EXPECT_FALSE(store.jsonForKey("a"));
    // JSON null removes the key; a registered default answers then, and only the whole view
    // carries it.
    ASSERT_TRUE(store.registerDefaultsJson(R"({"n": 7, "d": 1})"));
    ASSERT_TRUE(store.setJson("n", "null"));
    EXPECT_EQ(store.integerForKey("n"), 7);
    store.setData("bytes", {0x01, 0xff});
    store.setString("bad", std::string("a\xff"));
    EXPECT_EQ(store.persistentDomainJson(),
              R"({"alerts":{"Fajr":[1,2.5,"x"],"on":true},"bad":"a�","bytes":{"bytes":[1,255],"subtype":null}})");
    EXPECT_EQ(json::parse(store.dictionaryRepresentationJson())["n"], 7);
    EXPECT_EQ(json::parse(store.dictionaryRepresentationJson()).size(), 5u);
    EXPECT_EQ(store.stringForKey("bad"), std::string("a\xff")) << "the typed reading keeps the bytes";
}

TEST(UserDefaultsStore, ProcessWideSuitesLiveInTheDataFolderFoundByPrecedence) {
    {
        ScopedDataFolder folder;
        EXPECT_EQ(UserDefaults::sharedUserDefaultsObj()->path(), folder / "shared.sqlite");
        EXPECT_EQ(UserDefaults::standardUserDefaults()->path(), folder / "standard.sqlite");
        ScopedDataFolder elsewhere;  // after a reset the suites reopen wherever the folder now is
        EXPECT_EQ(UserDefaults::sharedUserDefaultsObj()->path(), elsewhere / "shared.sqlite");
    }
    TempFolder temp;
    test::ScopedEnvironment environment;
    environment.unset("TARVO_HOME");
    environment.unset("XDG_DATA_HOME");
    environment.set("HOME", (temp / "home").string());
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "home/.local/share/tarvo");
    EXPECT_TRUE(std::filesystem::is_directory(temp / "home/.local/share/tarvo")) << "created when missing";
    environment.set("XDG_DATA_HOME", "relative/data");
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "home/.local/share/tarvo") << "a relative XDG path is ignored";
    environment.set("XDG_DATA_HOME", (temp / "xdg").string());
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "xdg/tarvo");
    environment.set("TARVO_HOME", (temp / "tarvo-home").string());
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "tarvo-home");
}

TEST(UserDefaultsFiles, UnusableFilesAreLeftUntouchedAndTheStoreWorksInMemory) {
    TempFolder temp;
    for (const char* mode : {"DELETE", "WAL"}) {
        ASSERT_TRUE(test::runSql(temp / (std::string("ours-") + mode + ".sqlite"),
                                 std::string("PRAGMA journal_mode=") + mode +
                                     "; CREATE TABLE preferences(key TEXT PRIMARY KEY, value BLOB) WITHOUT ROWID; "
                                     "INSERT INTO preferences VALUES('FajrAdj', x'03')"));
    }
    ASSERT_TRUE(test::runSql(temp / "foreign.sqlite", "CREATE TABLE preferences(name TEXT, setting INTEGER)"));
    // Another program's databases: tables of their own and no preferences table, one of them
    // left in write-ahead-log mode.
    ASSERT_TRUE(test::runSql(temp / "notes.sqlite", "CREATE TABLE notes(body TEXT)"));
    ASSERT_TRUE(test::runSql(temp / "notes-wal.sqlite", "PRAGMA journal_mode=WAL; CREATE TABLE notes(body TEXT)"));
    // A suite of ours that is read-only is read and never written; the others are not used.
    const std::pair<std::string, bool> cases[] = {{"FajrAdj=3\nUseSunrise=YES\n", false},
                                                  {readBytes(temp / "ours-DELETE.sqlite"), true},  // read-only
                                                  {readBytes(temp / "ours-WAL.sqlite"), true},
                                                  {readBytes(temp / "foreign.sqlite"), false},
                                                  {readBytes(temp / "notes.sqlite"), false},
                                                  {readBytes(temp / "notes-wal.sqlite"), false}};
    for (const auto& [bytes, readOnly] : cases) {
        TempFolder folder;
        const auto file = folder / "shared.sqlite";
        test::writeBytes(file, bytes);
        if (readOnly) std::filesystem::permissions(file, std::filesystem::perms::owner_read);
        test::LogCapture log;
        {
            UserDefaults store(file);
            EXPECT_EQ(store.isPersistent(), readOnly);
            EXPECT_EQ(store.isReadOnly(), readOnly);
            EXPECT_FALSE(store.setInteger("FajrAdj", 5)) << "nothing reaches the file";
            EXPECT_TRUE(log.hasError(file.string())) << "the error names the file";
            EXPECT_EQ(store.integerForKey("FajrAdj"), readOnly ? 3 : 5);
            EXPECT_FALSE(store.synchronize()) << "nothing could be made durable";
        }
        EXPECT_EQ(readBytes(file), bytes);
        // Nothing beside it either: no journal, no write-ahead log, no shared-memory index.
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            names.push_back(entry.path().filename().string());
        }
        EXPECT_EQ(names, std::vector<std::string>{"shared.sqlite"});
    }
}

TEST(UserDefaultsConcurrent, ThreadsSharingOneSuiteLoseNoWrite) {
    test::ScopedDataFolder folder;
    const auto suite = folder / "suite.sqlite";
    auto shared = std::make_shared<UserDefaults>(suite);
    constexpr int kThreads = 6, kWrites = 120, kOverlapKeys = 50;
    std::vector<std::shared_ptr<UserDefaults>> processWide(kThreads);
    std::atomic<int> badReads{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            processWide[static_cast<size_t>(t)] = UserDefaults::sharedUserDefaultsObj();
            // Half the threads share one store object, the others each open their own connection
            // (as separate processes do).
            auto store = t % 2 ? shared : std::make_shared<UserDefaults>(suite);
            for (int i = 0; i < kWrites; ++i) {
                const std::string own = std::to_string(t) + "." + std::to_string(i);
                store->setInteger(own, i);
                store->setInteger("overlap." + std::to_string(i % kOverlapKeys), t * 1000 + i);
                if (store->integerForKey(own) != i) ++badReads;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(badReads.load(), 0);
    const UserDefaults store(suite);
    EXPECT_EQ(PreferenceStore::of(store).persistentDomain().size(), size_t{kThreads * kWrites + kOverlapKeys});
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kWrites; ++i) {
            ASSERT_EQ(store.integerForKey(std::to_string(t) + "." + std::to_string(i)), i) << t << " lost write " << i;
        }
    }
    // Each key every thread wrote holds the last value of one of them.
    for (int k = 0; k < kOverlapKeys; ++k) {
        const int64_t value = store.integerForKey("overlap." + std::to_string(k));
        EXPECT_TRUE(value / 1000 < kThreads && value % 1000 < kWrites && value % 1000 % kOverlapKeys == k) << value;
    }
    for (const auto& s : processWide) EXPECT_EQ(s, processWide.front()) << "the shared suite is opened once";
}

}  // namespace
}  // namespace tarvo
