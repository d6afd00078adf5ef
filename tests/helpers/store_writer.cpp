// Writes to a preferences suite or a user database from its own process, for the tests that
// kill a writer mid-way or hold a lock against the library.
// Usage: tarvo_store_writer preferences|cities PATH COUNT
//          writes COUNT values ("key.i" = i) or adds saved cities ("Town i"), printing i on its own
//          line once write i is committed;
//        tarvo_store_writer hold PATH
//          takes the database's exclusive lock, prints "locked" and keeps it until killed.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include <sqlite3.h>

#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/UserDefaults.h"

namespace {

void committed(int i) {
    std::printf("%d\n", i);
    std::fflush(stdout);
}

int writePreferences(const std::filesystem::path& path, int count) {
    tarvo::UserDefaults store{path};
    if (!store.isPersistent()) return 1;
    for (int i = 0; i < count; ++i) {
        const std::string key = "key." + std::to_string(i);
        store.setInteger(key, i);
        if (store.integerForKey(key) != i) return 1;
        committed(i);
    }
    return 0;
}

int writeCities(const std::filesystem::path& path, int count) {
    auto opened = tarvo::UserDatabase::open(path);
    if (!opened) {
        std::fprintf(stderr, "%s\n", opened.error().message.c_str());
        return 1;
    }
    auto user = std::move(*opened);
    for (int i = 0; i < count; ++i) {
        auto city = std::make_shared<tarvo::TarvoCity>();
        city->setCityName("Town " + std::to_string(i));
        city->setCountryName("Testland");
        city->setLatitude(10.0 + i * 0.001);
        city->setLongitude(20.0);
        if (!user->addCity(city)) return 1;
        committed(i);
    }
    return 0;
}

int hold(const std::filesystem::path& path) {
    // Another program's connection, straight through SQLite.
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK ||
        sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK) {
        std::fprintf(stderr, "%s\n", sqlite3_errmsg(db));
        return 1;
    }
    std::printf("locked\n");
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::minutes(5));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "hold" && argc == 3) return hold(argv[2]);
    if ((mode == "preferences" || mode == "cities") && argc == 4) {
        const int count = std::stoi(argv[3]);
        return mode == "preferences" ? writePreferences(argv[2], count) : writeCities(argv[2], count);
    }
    std::fprintf(stderr, "usage: %s preferences|cities PATH COUNT | hold PATH\n", argv[0]);
    return 2;
}
