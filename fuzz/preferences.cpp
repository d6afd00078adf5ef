// Preference suites other processes (or an older app) wrote. The first byte chooses:
//  - even: the rest is the whole suite file. A file that is refused is left exactly as it
//    was, with nothing created beside it; a file that is used takes a new value and keeps it.
//  - odd: a well-formed suite whose stored values are the rest, split at 0xFF bytes. Every
//    value reads under every type without a crash, and a readable one written back reads equal.
#include <sqlite3.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"

namespace {

using tarvo::UserDefaults;
using tarvo::PreferenceStore;



void readEveryWay(const UserDefaults& store, const std::string& key) {
    (void)store.boolForKey(key);
    (void)store.integerForKey(key);
    (void)store.doubleForKey(key);
    (void)store.stringForKey(key);
    (void)store.dataForKey(key);
    (void)store.jsonForKey(key);
    (void)PreferenceStore::of(store).arrayForKey(key);
    (void)PreferenceStore::of(store).dictionaryForKey(key);
}

void wholeFile(std::string_view bytes) {
    const auto folder = tarvo::fuzz::freshFolder("suite");
    const auto path = folder / "shared.sqlite";
    tarvo::fuzz::writeFile(path, bytes);
    {
        UserDefaults store(path);
        const PreferenceStore::Value all = PreferenceStore::of(store).dictionaryRepresentation();
        for (const auto& [key, value] : all.items()) readEveryWay(store, key);
        if (!store.isPersistent()) {
            TARVO_FUZZ_CHECK(tarvo::fuzz::readFile(path) == bytes, "a refused suite file was changed");
            TARVO_FUZZ_CHECK(tarvo::fuzz::folderListing(folder) == std::vector<std::string>{"shared.sqlite"},
                             "refusing a suite file left files beside it");
            return;
        }
        // A write either lands or is logged as failed (a damaged page under an intact table).
        const int errorsBefore = tarvo::fuzz::errorLines();
        store.setString("FuzzProbe", "written");
        store.synchronize();
        if (store.stringForKey("FuzzProbe") != "written") {
            TARVO_FUZZ_CHECK(tarvo::fuzz::errorLines() > errorsBefore, "a suite in use lost a write without saying so");
            return;
        }
    }
    UserDefaults reopened(path);
    TARVO_FUZZ_CHECK(reopened.isPersistent(), "a suite that was used is refused the next time");
    TARVO_FUZZ_CHECK(reopened.stringForKey("FuzzProbe") == "written", "a write is lost after reopening");
}

void storedValues(std::string_view bytes) {
    const auto folder = tarvo::fuzz::freshFolder("values");
    const auto path = folder / "shared.sqlite";
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_exec(db, "CREATE TABLE preferences(key TEXT PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID",
                 nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db, "INSERT OR REPLACE INTO preferences(key, value) VALUES(?1, ?2)", -1, &insert, nullptr);
    std::vector<std::string> keys;
    size_t start = 0;
    while (start <= bytes.size() && keys.size() < 16) {
        size_t end = bytes.find('\xFF', start);
        if (end == std::string_view::npos) end = bytes.size();
        keys.push_back("key" + std::to_string(keys.size()));
        sqlite3_bind_text(insert, 1, keys.back().c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob(insert, 2, bytes.data() + start, static_cast<int>(end - start), SQLITE_TRANSIENT);
        sqlite3_step(insert);
        sqlite3_reset(insert);
        start = end + 1;
    }
    sqlite3_finalize(insert);
    sqlite3_close(db);

    UserDefaults store(path);
    TARVO_FUZZ_CHECK(store.isPersistent(), "a well-formed suite is refused");
    (void)PreferenceStore::of(store).dictionaryRepresentation();
    for (const std::string& key : keys) {
        readEveryWay(store, key);
        const auto value = PreferenceStore::of(store).objectForKey(key);
        // Unreadable values are logged and left as they are; a stored null reads as nothing.
        if (!value || value->is_null()) continue;
        PreferenceStore::of(store).setObject(key, *value);
        const auto back = PreferenceStore::of(store).objectForKey(key);
        TARVO_FUZZ_CHECK(back && PreferenceStore::Value::to_cbor(*back) == PreferenceStore::Value::to_cbor(*value),
                         "a value written back reads differently");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();
    tarvo::fuzz::quietLog();
    tarvo::fuzz::errorLines();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view rest = tarvo::fuzz::text(data + 1, size - 1);
    if (data[0] % 2 == 0) {
        wholeFile(rest);
    } else {
        storedValues(rest);
    }
    return 0;
}
