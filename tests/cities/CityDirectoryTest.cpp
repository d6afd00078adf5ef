// The city directory: the builder's tables, nearest-city thresholds, name search, country
// lists, and the reverse-geocode cache and last used city of the user database; the shipped
// directory built from Debian's GeoNames data, and the rule that finds a directory file.
#include <atomic>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/DataFolder.h"
#include "support/LogCapture.h"
#include "support/ResultValue.h"
#include "support/SmallDirectory.h"
#include "support/SqliteScript.h"
#include "cities/CityDirectoryImpl.h"
#include "tarvo/cities/CityDirectory.h"
#include "cities/UserDatabaseImpl.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {
namespace {

using test::DumpCity;
using Names = std::vector<std::string>;

// "name|country|zone|GMT" of a city, "-" for a missing one.
std::string summary(const std::shared_ptr<TarvoCity>& city) {
    if (!city) return "-";
    return fmt::format("{}|{}|{}|{}", city->cityName().value_or("-"), city->countryName().value_or("-"),
                       city->TimeZone().value_or("-"), city->GMT());
}
Names names(const std::vector<std::shared_ptr<TarvoCity>>& cities) {
    Names out;
    for (const auto& city : cities) out.push_back(city->cityName().value_or("?"));
    return out;
}
// A record as the host makes one, without tracking.
std::shared_ptr<TarvoCity> place(const std::string& name, double lat, double lon) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    if (!name.empty()) city->setCityName(name);
    city->setLatitude(lat);
    city->setLongitude(lon);
    return city;
}
std::shared_ptr<CityDirectory> openSmall(const test::SmallDirectory& small) {
    if (small.build().status != 0) ADD_FAILURE() << small.build().err;
    return small.build().status == 0 ? test::valueOrFailure(CityDirectory::open(small.path())) : nullptr;
}

class CityDirectoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(directory_ = openSmall(small_));
    }

    std::shared_ptr<TarvoCity> nearest(double lat, double lon, double km) {
        return TarvoCity::GetCityForLat(lat, lon, directory_.get(), km);
    }

    test::ScopedDataFolder folder_;
    test::SmallDirectory small_{test::worldCities()};
    std::shared_ptr<CityDirectory> directory_;
};

TEST_F(CityDirectoryTest, BuilderWritesTheTablesFromADump) {
    SqliteDatabase& db = internals(*directory_).database;
    EXPECT_EQ(test::queryText(db, "SELECT count(*) FROM cities"), "9") << "the non-populated place is left out";
    EXPECT_EQ(test::queryText(db, "SELECT group_concat(id || ' ' || code || ' ' || name, '; ') FROM countries"),
              "36 AU Australia; 76 BR Brazil; 148 TD Chad; 356 IN India; 566 NG Nigeria; 578 NO Norway; "
              "682 SA Saudi Arabia; 826 GB United Kingdom");
    // Biggest first, so that of two places at one position the bigger is named.
    EXPECT_EQ(test::queryText(db, "SELECT name FROM cities LIMIT 1"), "Mumbai");
    EXPECT_EQ(test::queryText(db, "SELECT sinlat || ' ' || coslat FROM cities WHERE name = 'London'"),
              "0.782700826032452 0.622398117709331");
    EXPECT_EQ(
        test::queryText(db, "SELECT city_name || '|' || state_name || '|' || gmt || '|' || timezone FROM cities826"),
        "London|England|0.0|Europe/London");
    // The zone's standard offset, summer time or not.
    EXPECT_EQ(test::queryText(db, "SELECT (SELECT gmt FROM cities356) || ' ' || (SELECT gmt FROM cities36) || ' ' || "
                                  "(SELECT state_name FROM cities578)"),
              "5.5 10.0 Troms og Finnmark");

    // A malformed dump is refused with its file and line, and no directory is left behind.
    test::TempFolder scratch;
    const std::pair<std::string, std::string> bad[] = {
        {test::dumpLine({"Ok", 1, 2, "GB", "", 1, "Europe/London"}, 1) + "2\tBroken\tBroken\t\t91.5\t0\tP\n",
         "cities.txt:2: expected the 19 columns"},
        {test::dumpLine({"Nowhere", 91.5, 0, "GB", "", 1, "Europe/London"}, 1),
         "cities.txt:1: position 91.5, 0 is out of range"}};
    for (const auto& [dump, message] : bad) {
        test::writeBytes(scratch / "cities.txt", dump);
        const auto run = test::runProcess(
            TARVO_CITYDIRGEN_PATH, {"--out", (scratch / "out.sqlite").string(), "--dump", (scratch / "cities.txt").string()});
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
        EXPECT_FALSE(std::filesystem::exists(scratch / "out.sqlite"));
    }
    EXPECT_EQ(test::runProcess(TARVO_CITYDIRGEN_PATH, {"--out", "x.sqlite"}).status, 2);
}

TEST_F(CityDirectoryTest, NearestCityHonoursTheThreshold) {
    test::LogCapture log;
    // Every place is found at its own position with a zero threshold.
    for (const auto& city : test::worldCities()) {
        if (city.featureClass != "P") continue;
        const auto found = nearest(city.latitude, city.longitude, 0);
        ASSERT_TRUE(found) << city.name;
        EXPECT_EQ(found->cityName(), city.name == "Twin Small" ? "Twin Big" : city.name);
    }
    const auto london = nearest(51.5074, -0.1278, 3);  // Charing Cross, 0.2 km away
    EXPECT_EQ(summary(london), "London|United Kingdom|Europe/London|50");
    ASSERT_TRUE(london);
    EXPECT_EQ(fmt::format("{} {} {}", london->latitude(), london->IsLoadingFromDB(), london->isDirty()),
              "51.50853 false false");
    // 0.2 km is beyond 0.1 km (+6%); 105 km is within 100 km widened by 6 per cent, 110 km not.
    EXPECT_EQ(summary(nearest(51.5074, -0.1278, 0.1)), "-");
    EXPECT_EQ(nearest(10, 20, 100)->cityName(), "Hundred And Five North");
    EXPECT_EQ(summary(nearest(10, 20, 99)), "-");
    EXPECT_EQ(summary(nearest(-30, -50, 100)), "-");
    EXPECT_EQ(nearest(-30, -50, 104)->cityName(), "Hundred And Ten North");
    EXPECT_FALSE(TarvoCity::GetCityForLat(0, 0, static_cast<CityDirectory*>(nullptr), 10));
    // The cache table does not exist in the directory: nothing found.
    EXPECT_FALSE(TarvoCity::GetCityForLat(0, 0, directory_.get(), 10, true));
}

TEST_F(CityDirectoryTest, SearchMatchesNamesAndCountriesSafely) {
    CityDirectory& db = *directory_;
    EXPECT_EQ(names(TarvoCity::GetCities(db, "LON")), Names{"London"});
    EXPECT_EQ(names(TarvoCity::GetCities(db, "tromsø")), Names{"Tromsø"});
    // Country matches: every city of the country, ordered by country then name.
    EXPECT_EQ(names(TarvoCity::GetCities(db, "united")), Names{"London"});
    EXPECT_EQ(names(TarvoCity::GetCities(db, "twin")), (Names{"Twin Big", "Twin Small"}));
    const auto mumbai = TarvoCity::GetCities(db, "mumbai");
    ASSERT_EQ(mumbai.size(), 1u);
    EXPECT_EQ(summary(mumbai[0]), "Mumbai|India|Asia/Kolkata|50");

    // Blank text finds nothing, without touching the database (a search would log its failure).
    test::LogCapture log;
    auto unprepared = openSmall(small_);
    ASSERT_TRUE(unprepared);
    internals(*unprepared).listing.finalize();  // a search that ran would log its failure
    EXPECT_TRUE(TarvoCity::GetCities(*unprepared, "  \u00a0\t").empty());
    EXPECT_TRUE(TarvoCity::GetCities(*unprepared, std::nullopt).empty());
    EXPECT_TRUE(log.errors().empty());

    const Names hostile = {"'", "''", "x' OR '1'='1", "'; DROP TABLE cities; --", "\\", "\\'", "%' --",
                           "lon%' OR 1=1 --", "SELECT * FROM cities", "\")", std::string("lon\0xyz", 7),
                           std::string(100000, 'a'), "東京", "مكة المكرمة", "{}", "%q%z", "\xc3\x28"};
    for (const auto& text : hostile) {
        EXPECT_TRUE(TarvoCity::GetCities(db, text).empty()) << text.substr(0, 40);
    }
    // The wildcards keep their meaning: they widen a search, never break it.
    EXPECT_EQ(TarvoCity::GetCities(db, "%").size(), 9u);
    EXPECT_EQ(names(TarvoCity::GetCities(db, "l_ndon")), Names{"London"});
    EXPECT_TRUE(log.errors().empty()) << log.errors().front();
    EXPECT_EQ(test::queryText(internals(db).database, "SELECT count(*) FROM cities"), "9");
}

TEST(CityDirectorySearch, RanksEqualThenBeginningThenContainingNamesBiggestFirst) {
    test::SmallDirectory small(
        {{"Londonderry", 55, -7.3, "GB", "", 80000, "Europe/London"},
         {"London", 43, -81.2, "CA", "", 300000, "America/Toronto"},
         {"New London", 41.4, -72.1, "US", "", 27000, "America/New_York"},
         {"London", 51.5, -0.1, "GB", "", 9000000, "Europe/London"},
         {"Makkah al Mukarramah", 21.4, 39.8, "SA", "", 1300000, "Asia/Riyadh", "P", "Mecca,مكة المكرمة"},
         {"São Paulo", -23.5, -46.6, "BR", "", 10000000, "America/Sao_Paulo"},
         {"Tromsø", 69.6, 19, "NO", "", 50000, "Europe/Oslo"}});
    const auto directory = openSmall(small);
    ASSERT_TRUE(directory);
    test::LogCapture log;
    const Names londons = {"London GB", "London CA", "Londonderry GB", "New London US"};
    const std::vector<std::pair<std::string, Names>> cases = {
        {"london", londons}, {" LONDON\t", londons}, {"ndon", londons},
        {"lo", {"London GB", "London CA", "Londonderry GB"}},  // two characters: only the beginning
        {"mecca", {"Makkah al Mukarramah SA"}}, {"مكة", {"Makkah al Mukarramah SA"}},
        {"SAO PAULO", {"São Paulo BR"}}, {"tromso", {"Tromsø NO"}},
        {"  ", {}}, {"lon\"don", {}}, {"\" OR x", {}}, {"lon*", {}}, {std::string(300, 'l'), {}},
    };
    for (const auto& [text, expected] : cases) {
        Names found;
        for (const auto& city : TarvoCity::SearchCities(*directory, text)) {
            found.push_back(*city->cityName() + " " + directory->country(*city->countryName())->code);
        }
        EXPECT_EQ(found, expected) << text;
    }
    EXPECT_TRUE(log.errors().empty()) << log.errors().front();
}

TEST(CityDirectorySearch, ReturnsTheFirst75InCountryThenNameOrder) {
    std::vector<DumpCity> many;
    for (int i = 0; i < 200; ++i) {
        const char* country[] = {"FR", "CA", "US"};
        const char* zone[] = {"Europe/Paris", "America/Toronto", "America/New_York"};
        many.push_back(
            {fmt::format("Villeneuve {:03}", 199 - i), 40.0 + i * 0.01, 2.0, country[i % 3], "", i, zone[i % 3]});
    }
    test::SmallDirectory small(many);
    const auto directory = openSmall(small);
    ASSERT_TRUE(directory);
    const Names listed = names(TarvoCity::GetCities(*directory, "villeneuve"));
    ASSERT_EQ(listed.size(), 75u);
    // Canada has 67 of the 200 (i = 1, 4, ..., 199), then France's first names follow.
    EXPECT_EQ((Names{listed[0], listed[66], listed[67], listed[74]}),
              (Names{"Villeneuve 000", "Villeneuve 198", "Villeneuve 001", "Villeneuve 022"}));
    // The ranked search: all begin with the text, so the 75 biggest.
    const Names ranked = names(TarvoCity::SearchCities(*directory, "Villeneuve"));
    ASSERT_EQ(ranked.size(), 75u);
    EXPECT_EQ((Names{ranked.front(), ranked.back()}), (Names{"Villeneuve 000", "Villeneuve 074"}));
}

TEST_F(CityDirectoryTest, CountryListsCarryStateOffsetAndTheGivenName) {
    test::LogCapture log;
    const auto uk = TarvoCity::GetAllCities(*directory_, 826, "Great Britain");
    ASSERT_EQ(uk.size(), 1u);
    EXPECT_EQ(summary(uk[0]) + "|" + uk[0]->stateName().value_or("-"), "London|Great Britain|Europe/London|0|England");
    EXPECT_EQ(names(TarvoCity::GetAllCities(*directory_, 566, "Nigeria")), (Names{"Twin Big", "Twin Small"}));
    EXPECT_EQ(TarvoCity::GetAllCities(*directory_, 356, "India")[0]->GMT(), 5.5);
    EXPECT_TRUE(log.errors().empty()) << "the extra bind is harmless";
    EXPECT_TRUE(TarvoCity::GetAllCities(*directory_, 999, "Nowhere").empty());

    EXPECT_EQ(fmt::format("{} {} {}", directory_->country("gb").value().name,
                          directory_->country("NORWAY").value().identifier, directory_->country("682").value().code),
              "United Kingdom 578 SA");
    EXPECT_FALSE(directory_->country("Atlantis"));
    EXPECT_EQ(directory_->countries().front().name, "Australia");
}

TEST_F(CityDirectoryTest, DirectoryLookUpsAnswerTheCityOperationsOnAnIntactFile) {
    // The directory's own look-ups give the TarvoCity operations' answers when it met no
    // damage (a damaged file is the tool tests' case: its look-ups then fail with the reason).
    auto value = [](auto lookUp) {
        EXPECT_TRUE(lookUp) << (lookUp ? "" : lookUp.error().message);
        return lookUp ? *lookUp : std::remove_cvref_t<decltype(*lookUp)>{};
    };
    EXPECT_EQ(names(value(directory_->search("lon"))), names(TarvoCity::SearchCities(*directory_, "lon")));
    EXPECT_EQ(names(value(directory_->listing("united"))), Names{"London"});
    EXPECT_EQ(names(value(directory_->cities(directory_->country("566").value()))), (Names{"Twin Big", "Twin Small"}));
    EXPECT_EQ(summary(value(directory_->nearest(10, 20, 100))), summary(nearest(10, 20, 100)));
    EXPECT_EQ(value(directory_->nearest(-30, -50, 100)), nullptr);
}

TEST_F(CityDirectoryTest, ReverseGeocodeCacheAndLastUsedRows) {
    auto user = test::valueOrFailure(UserDatabase::open(folder_ / "user.sqlite"));
    ASSERT_TRUE(user);
    SqliteDatabase& db = internals(*user).database;
    UserDatabase& store = *user;
    test::LogCapture log;

    auto tromso = nearest(69.6489, 18.95508, 0);
    ASSERT_TRUE(tromso);
    auto nameless = place("", -33.9, 18.4);
    TarvoCity::saveCityInReverseGeocodeCache(store, tromso);
    TarvoCity::saveCityInReverseGeocodeCache(store, nameless);
    TarvoCity::saveCityInReverseGeocodeCache(store, tromso);  // the same place again replaces its row
    EXPECT_EQ(test::queryText(db, "SELECT group_concat(quote(name) || quote(name_soundex) || quote(timezone), '; ') "
                                  "FROM (SELECT * FROM cachedcities ORDER BY lat)"),
              "''''''; 'Tromsø''T652''Europe/Oslo'");

    EXPECT_EQ(summary(TarvoCity::GetCityForLat(69.66, 18.96, &store, 4, true)), "Tromsø|Norway|Europe/Oslo|50");  // 1.3 km
    EXPECT_FALSE(TarvoCity::GetCityForLat(69.66, 18.96, &store, 1, true));

    // Istanbul and Moscow score a rounding error below 1000 against their exact sines; the
    // cache still finds them at their very position.
    for (const auto& [lat, lon] : {std::pair{41.01384, 28.94966}, std::pair{55.75222, 37.61556}}) {
        const auto exact = place("Exact", lat, lon);
        TarvoCity::saveCityInReverseGeocodeCache(store, exact);
        const auto found = TarvoCity::GetCityForLat(lat, lon, &store, 0, true);
        ASSERT_TRUE(found) << lat;
        EXPECT_EQ(found->latitude(), lat);
        TarvoCity::RemoveFromReverseGeocodeCache(store, exact);
    }

    TarvoCity::RemoveFromReverseGeocodeCache(store, tromso);
    EXPECT_EQ(test::queryText(db, "SELECT count(*) FROM cachedcities"), "1");
    TarvoCity::DeleteAllReverseGeocodeCache(store);
    EXPECT_EQ(test::queryText(db, "SELECT count(*) FROM cachedcities"), "0");

    EXPECT_FALSE(TarvoCity::GetLastUsedCity(store));
    TarvoCity::SaveLastUsedCity(store, tromso);
    TarvoCity::SaveLastUsedCity(store, nameless);
    EXPECT_EQ(test::queryText(db, "SELECT count(*) || quote(name) || lat FROM lastused"), "1''-33.9");
    EXPECT_EQ(nameless->cityName().value_or("-") + nameless->stateName().value_or("-"), "")
        << "missing names are set on the city";
    ASSERT_TRUE(
        test::runSql(folder_ / "user.sqlite", "UPDATE lastused SET name = NULL, country = NULL, timezone = NULL"));
    const auto last = TarvoCity::GetLastUsedCity(store);
    EXPECT_EQ(summary(last), "Unknown City|Unknown Country||0");
    EXPECT_TRUE(last->IsLoadingFromDB()) << "handed back still loading";
    TarvoCity::RemoveLastUsedCity(store);
    EXPECT_FALSE(TarvoCity::GetLastUsedCity(store));
}

TEST_F(CityDirectoryTest, ConcurrentLookupsAndCacheWrites) {
    auto user = test::valueOrFailure(UserDatabase::open(folder_ / "user.sqlite"));
    ASSERT_TRUE(user);
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) {
                if (summary(nearest(51.5, -0.12, 5)).rfind("London|", 0) != 0) ++wrong;
                if (TarvoCity::GetCities(*directory_, "mum").size() != 1) ++wrong;
                const auto city = place(fmt::format("Place {}", t), t, i);
                TarvoCity::saveCityInReverseGeocodeCache(*user, city);
                TarvoCity::SaveLastUsedCity(*user, city);
                if (!TarvoCity::GetLastUsedCity(*user)) ++wrong;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(test::queryText(internals(*user).database,
                              "SELECT count(*) || ' ' || (SELECT count(*) FROM lastused) FROM cachedcities"),
              "100 1");
}

TEST_F(CityDirectoryTest, DirectoryIsOnlyReadEvenInWriteAheadLogMode) {
    // A copy left in write-ahead-log mode, in a folder whose name means something in a URI.
    test::TempFolder temp;
    const auto folder = temp / "we?ird#%25 dir";
    std::filesystem::create_directories(folder);
    const auto file = folder / "cities.sqlite";
    std::filesystem::copy_file(small_.path(), file);
    ASSERT_TRUE(test::runSql(file, "PRAGMA journal_mode=WAL"));
    const std::string before = test::readBytes(file);
    {
        auto directory = test::valueOrFailure(CityDirectory::open(file));
        ASSERT_TRUE(directory);
        EXPECT_EQ(names(TarvoCity::GetCities(*directory, "LON")), Names{"London"});
        // No statement on the directory runs for ever: past its bound it is stopped.
        SqliteDatabase& db = internals(*directory).database;
        EXPECT_EQ(db.exec("WITH RECURSIVE r(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM r) SELECT count(*) FROM r"),
                  SQLITE_INTERRUPT);
    }
    EXPECT_EQ(test::readBytes(file), before);
    std::vector<std::string> listing;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) listing.push_back(entry.path().filename());
    EXPECT_EQ(listing, Names{"cities.sqlite"});
}

// The nearest-city look-up searches a box around the position (the directory's R*Tree). It
// must name exactly the place the full scan names (the scan is what a directory without
// the box index gets), ties between places at one position included.
TEST(ShippedDirectory, NearestInTheBoxIsTheFullScansPlaceAndEveryPlaceIsFoundAtItsOwnPosition) {
    test::ScopedEnvironment environment;
    environment.unset(CityDirectory::kEnvironmentVariable);
    test::TempFolder scratch;
    const auto located = CityDirectory::locate();
    ASSERT_TRUE(located) << located.error().message;
    auto shipped = test::valueOrFailure(CityDirectory::open(*located));
    ASSERT_TRUE(shipped);
    SqliteDatabase& db = internals(*shipped).database;
    EXPECT_EQ(test::queryText(db, "SELECT count(*) || ' ' || (SELECT name || ', ' || country FROM cities LIMIT 1) || ' "
                                  "' || (SELECT code || ' ' || name FROM countries WHERE id = 682) || ' ' || (SELECT "
                                  "gmt FROM cities356 LIMIT 1) FROM cities"),
              "24361 Shanghai, China SA Saudi Arabia 5.5")
        << "biggest first";
    // Places at one position (in the builder's order: bigger first, equal sizes as given), at
    // the poles and on the antimeridian.
    test::SmallDirectory twins({{"Pole A", 90, 0, "NO", "", 5, "Europe/Oslo"},
                                {"Pole B", 90, 0, "NO", "", 5, "Europe/Oslo"},
                                {"South", -90, 180, "AU", "", 1, "Australia/Sydney"},
                                {"East Edge", -16.5, 180, "FJ", "", 7, "Pacific/Fiji"},
                                {"West Edge", -16.5, -180, "FJ", "", 7, "Pacific/Fiji"},
                                {"Small", 5, 5, "NG", "", 1, "Africa/Lagos"},
                                {"Big", 5, 5, "NG", "", 9, "Africa/Lagos"},
                                {"Other", 5, 5, "NG", "", 9, "Africa/Lagos"}});
    ASSERT_EQ(twins.build().status, 0) << twins.build().err;

    std::mt19937 random(18);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::vector<std::array<double, 3>> probes;  // latitude, longitude, threshold in km
    for (double lat : {90.0, -90.0, 89.9999, -16.5, 0.0, 65.0})
        for (double lon : {180.0, -180.0, 179.9999, -179.9999, 0.0, 5.0})
            for (double km : {0.0, 1.0, 60.0, 2500.0}) probes.push_back({lat, lon, km});
    probes.push_back({5, 5, -1});
    probes.push_back({5.0001, 5, 0.01});
    const double thresholds[] = {0.5, 5, 50, 100, 1000, 5000, 9400, 9500};
    for (int i = 0; i < 240; ++i) {
        probes.push_back({std::asin(unit(random)) * 180 / 3.141592653589793, 180 * unit(random), thresholds[i % 8]});
    }

    for (const auto& source : {*located, twins.path()}) {
        const auto scanned = scratch / "scanned.sqlite";
        std::filesystem::copy_file(source, scanned, std::filesystem::copy_options::overwrite_existing);
        ASSERT_TRUE(test::runSql(scanned, "DROP TABLE cityboxes"));
        auto boxed = test::valueOrFailure(CityDirectory::open(source));
        auto scan = test::valueOrFailure(CityDirectory::open(scanned));
        ASSERT_TRUE(boxed && scan);
        size_t found = 0;
        for (const auto& [lat, lon, km] : probes) {
            const auto expected = TarvoCity::GetCityForLat(lat, lon, scan.get(), km);
            const auto actual = TarvoCity::GetCityForLat(lat, lon, boxed.get(), km);
            ASSERT_EQ(!expected, !actual) << lat << ", " << lon << " within " << km;
            if (!expected) continue;
            ++found;
            EXPECT_EQ(actual->cityName(), expected->cityName()) << lat << ", " << lon << " within " << km;
            EXPECT_EQ(std::pair(actual->latitude(), actual->longitude()), std::pair(expected->latitude(), expected->longitude()));
        }
        EXPECT_GT(found, 120u) << "too few probes name a place to show anything";
    }
    // A sample of the shipped places at their own position, with a zero threshold: each
    // scores at least 1000 against itself (the builder sees to it), so the look-up names it
    // or a place at the very same position.
    SqliteStatement sample;
    ASSERT_EQ(sample.prepare(db, "SELECT lat, lon FROM cities WHERE rowid % 127 = 0"), 0);
    size_t sampled = 0;
    for (; sample.step() == 100; ++sampled) {
        const double lat = sample.columnDouble(0), lon = sample.columnDouble(1);
        const auto at = TarvoCity::GetCityForLat(lat, lon, shipped.get(), 0);
        ASSERT_TRUE(at) << lat << ", " << lon;
        EXPECT_EQ(std::pair(at->latitude(), at->longitude()), std::pair(lat, lon));
    }
    EXPECT_GT(sampled, 190u);
}

TEST(ShippedDirectory, FileIsFoundByTheDocumentedRule) {
    test::ScopedEnvironment environment;
    test::TempFolder scratch;
    environment.unset(CityDirectory::kEnvironmentVariable);
    const auto located = CityDirectory::locate();
    ASSERT_TRUE(located) << located.error().message;
    EXPECT_EQ(located->filename(), "cities.sqlite");

    // The environment names the only file looked at.
    environment.set(CityDirectory::kEnvironmentVariable, (scratch / "none.sqlite").string());
    EXPECT_NE(test::errorOrFailure(CityDirectory::locate()).find("none.sqlite"), std::string::npos);
    EXPECT_FALSE(CityDirectory::open(""));
    // A path the host passes comes first.
    EXPECT_TRUE(test::valueOrFailure(CityDirectory::open(*located)));

    // Files that are no city directory are refused, named, and left as they were.
    test::writeBytes(scratch / "text.sqlite", "not a database");
    EXPECT_NE(test::errorOrFailure(CityDirectory::open(scratch / "text.sqlite")).find("text.sqlite"),
              std::string::npos);
    EXPECT_EQ(test::readBytes(scratch / "text.sqlite"), "not a database");
    ASSERT_TRUE(test::runSql(scratch / "user.sqlite", "CREATE TABLE savedcities (pk INTEGER PRIMARY KEY)"));
    EXPECT_NE(test::errorOrFailure(CityDirectory::open(scratch / "user.sqlite")).find("not a city directory"),
              std::string::npos);
    EXPECT_FALSE(CityDirectory::open(scratch / "absent.sqlite"));
    EXPECT_FALSE(std::filesystem::exists(scratch / "absent.sqlite"));
}

}  // namespace
}  // namespace tarvo
