// The user database (saved cities, reverse-geocode cache, last used city) from arbitrary
// bytes: an older app's file to upgrade, a damaged one, or somebody else's. A file that is
// refused is left as it was; one that opens is at the current layout, and opening it again
// changes nothing.
#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "cities/UserDatabaseImpl.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "platform/storage/SqliteStatement.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();
    tarvo::fuzz::quietLog();
    return 0;
}

namespace {


}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = tarvo::fuzz::text(data, size);
    const auto folder = tarvo::fuzz::freshFolder("user");
    const auto path = folder / tarvo::UserDatabase::kFileName;
    tarvo::fuzz::writeFile(path, bytes);
    auto opened = tarvo::UserDatabase::open(path);
    if (!opened) {
        TARVO_FUZZ_CHECK(!opened.error().message.empty(), "a refused user database says why");
        TARVO_FUZZ_CHECK(tarvo::fuzz::readFile(path) == bytes, "a refused user database was changed");
        return 0;
    }
    auto database = std::move(*opened);
    tarvo::SqliteDatabase& db = internals(*database).database;
    // At the current layout or a later one: recorded so, or unrecorded (0 or below) with the
    // tables there, which is left as it is.
    const int64_t recorded = database->schemaVersion();
    TARVO_FUZZ_CHECK(recorded >= tarvo::UserDatabase::kSchemaVersion || recorded <= 0,
                     "an opened user database records an older layout");
    {
        tarvo::SqliteStatement tables;
        TARVO_FUZZ_CHECK(tables.prepare(db, "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN "
                                            "('savedcities', 'cachedcities', 'lastused')") == SQLITE_OK &&
                             tables.step() == SQLITE_ROW && tables.columnInt64(0) == 3,
                         "an opened user database lacks a table of the current layout");
    }
    const auto saved = tarvo::TarvoCity::GetSavedCities(*database);
    (void)tarvo::TarvoCity::initWithCurrentSelectionUsingDB(*database);
    (void)tarvo::TarvoCity::GetLastUsedCity(*database);
    (void)database->cachedCities();
    (void)tarvo::TarvoCity::GetCityForLat(21.4, 39.8, database.get(), 100.0, true);
    if (!saved.empty()) (void)database->selectCity(saved.front()->primaryKey());
    database.reset();

    const std::string upgraded = tarvo::fuzz::readFile(path);
    TARVO_FUZZ_CHECK(tarvo::UserDatabase::open(path).ok(), "an upgraded user database is refused the next time");
    TARVO_FUZZ_CHECK(tarvo::fuzz::readFile(path) == upgraded, "opening an up-to-date user database changed it");
    return 0;
}
