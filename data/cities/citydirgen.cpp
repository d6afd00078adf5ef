// Builds the read-only city directory (cities.sqlite) from GeoNames data: the cities that
// Debian's libgeonames carries, or a GeoNames export dump in its tab-separated format
// (cities500.txt, cities1000.txt, cities15000.txt, ...).
//
//   tarvo_citydirgen --out cities.sqlite --geonames [--translations /usr/share/locale]
//   tarvo_citydirgen --out cities.sqlite --dump cities15000.txt [--admin1 admin1CodesASCII.txt]
//                    [--translations DIR]
//
// Tables: `cities` (name, country, position, zone and the sines and cosines of the position,
// biggest cities first so that they win ties), one `cities<N>` table per country numbered by
// its ISO 3166-1 numeric code (city, state, position, the zone's standard offset in hours,
// zone), and `countries` (numeric code, two-letter code, English name). For the ranked name
// search: `citynames` (every folded name of a city: its own, a dump's alternate names, the
// translations of the GeoNames catalogues DIR/<language>/LC_MESSAGES/geonames.mo, and the
// Latin-ASCII spelling of each, with the `cities` row), and `citysearch`, a trigram index of
// those names per city. For the nearest-city look-up: `cityboxes`, an R*Tree of the positions
// keyed by the `cities` row. The same input gives the same file.
//
// Exit status: 0 done, 1 unusable input (the message says file:line: reason), 2 bad usage.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <sqlite3.h>
#include <unicode/locid.h>
#include <unicode/region.h>
#include <unicode/timezone.h>
#include <unicode/translit.h>
#include <unicode/unistr.h>

#if TARVO_HAVE_GEONAMES
#include <geonames.h>
#endif

#include "GettextCatalog.h"
#include "cities/DirectoryGeometry.h"
#include "platform/text/Text.h"

namespace {

struct City {
    std::string id;  // GeoNames id
    std::string name;
    std::vector<std::string> alternateNames;
    std::string state;
    std::string countryCode;
    std::string countryName;
    std::string timeZone;
    double latitude = 0;
    double longitude = 0;
    long long population = 0;
};

struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::vector<std::string_view> splitTabs(std::string_view line) {
    std::vector<std::string_view> fields;
    size_t start = 0;
    while (true) {
        const size_t tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start));
        if (tab == std::string_view::npos) return fields;
        start = tab + 1;
    }
}

double parseNumber(std::string_view text, const std::string& where, const char* what) {
    std::string copy(text);
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    if (copy.empty() || end != copy.c_str() + copy.size() || !std::isfinite(value)) {
        throw InputError(fmt::format("{}: {} '{}' is not a number", where, what, text));
    }
    return value;
}

// "GB.ENG" -> "England", from admin1CodesASCII.txt.
std::map<std::string, std::string> readAdmin1(const std::filesystem::path& file) {
    std::ifstream in(file);
    if (!in) throw InputError(fmt::format("{}: cannot be read", file.string()));
    std::map<std::string, std::string> names;
    std::string line;
    while (std::getline(in, line)) {
        const auto fields = splitTabs(line);
        if (fields.size() >= 2) names.emplace(std::string(fields[0]), std::string(fields[1]));
    }
    return names;
}

std::string englishCountryName(const std::string& code) {
    icu::UnicodeString name;
    icu::Locale("", code.c_str()).getDisplayCountry(icu::Locale::getEnglish(), name);
    std::string out;
    name.toUTF8String(out);
    return out;
}

// The GeoNames "geoname" table dump: 19 tab-separated columns, populated places only.
std::vector<City> readDump(const std::filesystem::path& file, const std::map<std::string, std::string>& admin1) {
    std::ifstream in(file);
    if (!in) throw InputError(fmt::format("{}: cannot be read", file.string()));
    std::vector<City> cities;
    std::map<std::string, std::string> countryNames;
    std::string line;
    size_t number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        const std::string where = fmt::format("{}:{}", file.string(), number);
        const auto fields = splitTabs(line);
        if (fields.size() != 19) {
            throw InputError(
                fmt::format("{}: expected the 19 columns of a GeoNames dump, found {}", where, fields.size()));
        }
        if (fields[6] != "P") continue;  // feature class: populated places only
        City city;
        city.id = std::string(fields[0]);
        city.name = std::string(fields[1]);
        for (size_t start = 0; start < fields[3].size();) {
            const size_t comma = std::min(fields[3].find(',', start), fields[3].size());
            if (comma > start) city.alternateNames.emplace_back(fields[3].substr(start, comma - start));
            start = comma + 1;
        }
        city.latitude = parseNumber(fields[4], where, "latitude");
        city.longitude = parseNumber(fields[5], where, "longitude");
        if (city.latitude < -90 || city.latitude > 90 || city.longitude < -180 || city.longitude > 180) {
            throw InputError(fmt::format("{}: position {}, {} is out of range", where, fields[4], fields[5]));
        }
        city.countryCode = std::string(fields[8]);
        const auto state = admin1.find(city.countryCode + "." + std::string(fields[10]));
        city.state = state == admin1.end() ? std::string() : state->second;
        city.population = fields[14].empty() ? 0 : static_cast<long long>(parseNumber(fields[14], where, "population"));
        city.timeZone = std::string(fields[17]);
        if (city.name.empty()) throw InputError(where + ": the city has no name");
        auto [known, added] = countryNames.try_emplace(city.countryCode);
        if (added) known->second = englishCountryName(city.countryCode);
        city.countryName = known->second;
        cities.push_back(std::move(city));
    }
    return cities;
}

#if TARVO_HAVE_GEONAMES
std::string text(const char* value) { return value ? value : ""; }

std::vector<City> readLibgeonames() {
    std::vector<City> cities;
    const int count = geonames_get_n_cities();
    for (int i = 0; i < count; ++i) {
        GeonamesCity* each = geonames_get_city(i);
        if (!each) continue;
        City city;
        // A city is a GVariant whose first member is its GeoNames id, the key of the
        // library's translation catalogues.
        const gchar* id = nullptr;
        g_variant_get_child(each, 0, "&s", &id);
        city.id = text(id);
        city.name = text(geonames_city_get_name(each));
        city.state = text(geonames_city_get_state(each));
        city.countryCode = text(geonames_city_get_country_code(each));
        city.countryName = text(geonames_city_get_country(each));
        city.timeZone = text(geonames_city_get_timezone(each));
        city.latitude = geonames_city_get_latitude(each);
        city.longitude = geonames_city_get_longitude(each);
        city.population = geonames_city_get_population(each);
        geonames_city_free(each);
        cities.push_back(std::move(city));
    }
    return cities;
}
#endif

// The ISO 3166-1 numeric code of a two-letter code, or nothing when ICU does not know it.
std::optional<long> numericCode(const std::string& code) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Region* region = icu::Region::getInstance(code.c_str(), status);
    if (U_FAILURE(status) || !region || region->getNumericCode() <= 0) return std::nullopt;
    return region->getNumericCode();
}

// The zone's standard (winter) offset in hours, or nothing for a zone ICU does not know.
std::optional<double> standardOffsetHours(const std::string& zoneName) {
    const icu::UnicodeString id = icu::UnicodeString::fromUTF8(zoneName);
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
    icu::UnicodeString canonical;
    UBool isSystem = false;
    UErrorCode status = U_ZERO_ERROR;
    icu::TimeZone::getCanonicalID(id, canonical, isSystem, status);
    if (U_FAILURE(status) || !isSystem) return std::nullopt;
    return zone->getRawOffset() / 3600000.0;
}

// GeoNames id -> the names its catalogues give, from DIR/<language>/LC_MESSAGES/geonames.mo,
// languages in name order. Entries that are no place id (states: "GB.ENG") are left out.
std::map<std::string, std::vector<std::string>> readTranslations(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> catalogues;
    std::error_code ec;
    for (const auto& language : std::filesystem::directory_iterator(folder, ec)) {
        const auto file = language.path() / "LC_MESSAGES" / "geonames.mo";
        if (std::filesystem::is_regular_file(file, ec)) catalogues.push_back(file);
    }
    if (catalogues.empty()) throw InputError(folder.string() + ": no */LC_MESSAGES/geonames.mo catalogues");
    std::sort(catalogues.begin(), catalogues.end());
    std::map<std::string, std::vector<std::string>> names;
    for (const auto& file : catalogues) {
        for (auto& [id, name] : tarvo::data::GettextCatalog::read(file)) {
            if (id.find_first_not_of("0123456789") != std::string::npos) continue;
            names[id].push_back(std::move(name));
        }
    }
    return names;
}

// The folded texts the search finds a city by: each name folded, and its Latin-ASCII
// spelling folded ("Tromsø" is found as "tromso" too).
class SearchKeys {
public:
    SearchKeys() {
        UErrorCode status = U_ZERO_ERROR;
        ascii_.reset(icu::Transliterator::createInstance("Latin-ASCII", UTRANS_FORWARD, status));
        if (U_FAILURE(status)) throw InputError(std::string("no Latin-ASCII transliterator: ") + u_errorName(status));
    }

    void add(std::set<std::string>& keys, const std::string& name) const {
        const std::string trimmed = tarvo::text::trimmed(name);
        if (trimmed.empty()) return;
        keys.insert(tarvo::text::folded(trimmed));
        icu::UnicodeString latin = tarvo::text::toUnicode(trimmed);
        ascii_->transliterate(latin);
        keys.insert(tarvo::text::folded(tarvo::text::toUtf8(latin)));
    }

private:
    std::unique_ptr<icu::Transliterator> ascii_;
};

class Output {
public:
    explicit Output(const std::filesystem::path& file) {
        std::filesystem::remove(file);
        if (sqlite3_open(file.c_str(), &db_) != SQLITE_OK) throw InputError(file.string() + ": " + sqlite3_errmsg(db_));
        exec("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN");
    }
    ~Output() { sqlite3_close(db_); }

    void exec(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string text = message ? message : "unknown error";
            sqlite3_free(message);
            throw InputError(sql.substr(0, 60) + ": " + text);
        }
    }

    sqlite3_stmt* prepare(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            throw InputError(sql.substr(0, 60) + ": " + sqlite3_errmsg(db_));
        }
        return statement;
    }

    void run(sqlite3_stmt* statement) {
        if (sqlite3_step(statement) != SQLITE_DONE) throw InputError(std::string("insert: ") + sqlite3_errmsg(db_));
        sqlite3_reset(statement);
    }

    sqlite3* db() { return db_; }

private:
    sqlite3* db_ = nullptr;
};

void bindText(sqlite3_stmt* statement, int index, const std::string& value) {
    sqlite3_bind_text(statement, index, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
}

// Checks with SQLite itself that a look-up at the place's very position scores it at least
// 1000 (so a zero threshold finds it), as DirectoryGeometry::storedForSelfMatch computed.
class SelfScore {
public:
    explicit SelfScore(Output& out) : out_(out) {}

    tarvo::DirectoryGeometry stored(const tarvo::DirectoryGeometry& exact) {
        const auto value = exact.storedForSelfMatch();
        if (!value)
            throw InputError("no stored values let the place score 1000 against itself: " + exact.scoreExpression());
        const std::string sql =
            "SELECT " + exact.scoreExpression() + " FROM (SELECT ? AS sinlat, ? AS coslat, ? AS sinlng, ? AS coslng)";
        sqlite3_stmt* query = out_.prepare(sql);
        sqlite3_bind_double(query, 1, value->sinLat);
        sqlite3_bind_double(query, 2, value->cosLat);
        sqlite3_bind_double(query, 3, value->sinLon);
        sqlite3_bind_double(query, 4, value->cosLon);
        const bool reached = sqlite3_step(query) == SQLITE_ROW && sqlite3_column_double(query, 0) >= 1000.0;
        sqlite3_finalize(query);
        if (!reached) throw InputError("SQLite scores the place below 1000 against itself: " + exact.scoreExpression());
        return *value;
    }

private:
    Output& out_;
};

struct Country {
    std::string code;
    std::string name;
    std::vector<const City*> cities;
};

void writeSearchIndexes(Output& out, const std::vector<std::pair<int64_t, const City*>>& rows,
                        const std::map<std::string, std::vector<std::string>>& translations) {
    out.exec(
        "CREATE TABLE citynames (key TEXT NOT NULL, city INTEGER NOT NULL, PRIMARY KEY (key, city)) "
        "WITHOUT ROWID");
    // One document a city: its keys, one a line. A search text never holds a line break, so
    // a match never runs from one name into the next.
    out.exec(
        "CREATE VIRTUAL TABLE citysearch USING fts5(keys, content='', tokenize='trigram case_sensitive 1', "
        "columnsize=0)");
    out.exec("CREATE VIRTUAL TABLE cityboxes USING rtree(id, minlat, maxlat, minlon, maxlon)");
    sqlite3_stmt* insertName = out.prepare("INSERT OR IGNORE INTO citynames (key, city) VALUES (?, ?)");
    sqlite3_stmt* insertDocument = out.prepare("INSERT INTO citysearch (rowid, keys) VALUES (?, ?)");
    sqlite3_stmt* insertBox = out.prepare("INSERT INTO cityboxes VALUES (?, ?, ?, ?, ?)");
    const SearchKeys searchKeys;
    for (const auto& [row, city] : rows) {
        std::set<std::string> keys;
        searchKeys.add(keys, city->name);
        for (const auto& name : city->alternateNames) searchKeys.add(keys, name);
        if (const auto translated = translations.find(city->id); translated != translations.end()) {
            for (const auto& name : translated->second) searchKeys.add(keys, name);
        }
        keys.erase("");
        std::string document;
        for (const auto& key : keys) {
            bindText(insertName, 1, key);
            sqlite3_bind_int64(insertName, 2, row);
            out.run(insertName);
            document += (document.empty() ? "" : "\n") + key;
        }
        sqlite3_bind_int64(insertDocument, 1, row);
        bindText(insertDocument, 2, document);
        out.run(insertDocument);
        sqlite3_bind_int64(insertBox, 1, row);
        sqlite3_bind_double(insertBox, 2, city->latitude);
        sqlite3_bind_double(insertBox, 3, city->latitude);
        sqlite3_bind_double(insertBox, 4, city->longitude);
        sqlite3_bind_double(insertBox, 5, city->longitude);
        out.run(insertBox);
    }
    sqlite3_finalize(insertName);
    sqlite3_finalize(insertDocument);
    sqlite3_finalize(insertBox);
    out.exec("INSERT INTO citysearch (citysearch) VALUES ('optimize')");
}

size_t write(const std::vector<City>& input, const std::filesystem::path& file,
             const std::map<std::string, std::vector<std::string>>& translations) {
    // Biggest first, so that of two places at the same score the bigger one is named.
    std::vector<const City*> cities;
    size_t skipped = 0;
    std::map<long, Country> countries;
    std::map<std::string, double> offsets;
    for (const City& city : input) {
        const auto code = numericCode(city.countryCode);
        auto offset = offsets.find(city.timeZone);
        if (offset == offsets.end()) {
            const auto hours = standardOffsetHours(city.timeZone);
            offset = offsets.emplace(city.timeZone, hours.value_or(NAN)).first;
        }
        if (!code || std::isnan(offset->second)) {
            ++skipped;
            continue;
        }
        cities.push_back(&city);
        Country& country = countries[*code];
        country.code = city.countryCode;
        if (country.name.empty()) country.name = city.countryName;
        country.cities.push_back(&city);
    }
    std::stable_sort(cities.begin(), cities.end(),
                     [](const City* a, const City* b) { return a->population > b->population; });
    if (skipped > 0) std::cerr << "tarvo_citydirgen: skipped " << skipped << " cities of unknown country or zone\n";

    const std::filesystem::path partial = file.string() + ".partial";
    {
        Output out(partial);
        out.exec(
            "CREATE TABLE cities (name VARCHAR(200), country VARCHAR(100), lat double, lon double, timezone "
            "VARCHAR(80), sinlat double, coslat double, sinlng double, coslng double, population INTEGER)");
        out.exec("CREATE TABLE countries (id INTEGER PRIMARY KEY, code VARCHAR(2), name VARCHAR(100))");
        sqlite3_stmt* insertCity = out.prepare(
            "INSERT INTO cities (name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng, population) "
            "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
        SelfScore selfScore(out);
        std::vector<std::pair<int64_t, const City*>> rows;
        for (const City* city : cities) {
            const auto g = selfScore.stored(tarvo::DirectoryGeometry::at(city->latitude, city->longitude));
            bindText(insertCity, 1, city->name);
            bindText(insertCity, 2, city->countryName);
            sqlite3_bind_double(insertCity, 3, city->latitude);
            sqlite3_bind_double(insertCity, 4, city->longitude);
            bindText(insertCity, 5, city->timeZone);
            sqlite3_bind_double(insertCity, 6, g.sinLat);
            sqlite3_bind_double(insertCity, 7, g.cosLat);
            sqlite3_bind_double(insertCity, 8, g.sinLon);
            sqlite3_bind_double(insertCity, 9, g.cosLon);
            // The number of people, for telling apart cities of the same name.
            sqlite3_bind_int64(insertCity, 10, city->population);
            out.run(insertCity);
            rows.emplace_back(sqlite3_last_insert_rowid(out.db()), city);
        }
        sqlite3_finalize(insertCity);
        writeSearchIndexes(out, rows, translations);

        sqlite3_stmt* insertCountry = out.prepare("INSERT INTO countries (id, code, name) VALUES (?, ?, ?)");
        for (const auto& [id, country] : countries) {
            sqlite3_bind_int64(insertCountry, 1, id);
            bindText(insertCountry, 2, country.code);
            bindText(insertCountry, 3, country.name);
            out.run(insertCountry);
            out.exec(
                fmt::format("CREATE TABLE cities{} (city_name VARCHAR(200), state_name VARCHAR(100), latitude "
                            "double, longitude double, gmt double, timezone VARCHAR(80))",
                            id));
            sqlite3_stmt* insert = out.prepare(fmt::format(
                "INSERT INTO cities{} (city_name, state_name, latitude, longitude, gmt, timezone) VALUES (?, ?, ?, ?, "
                "?, ?)",
                id));
            for (const City* city : country.cities) {
                bindText(insert, 1, city->name);
                bindText(insert, 2, city->state);
                sqlite3_bind_double(insert, 3, city->latitude);
                sqlite3_bind_double(insert, 4, city->longitude);
                sqlite3_bind_double(insert, 5, offsets.at(city->timeZone));
                bindText(insert, 6, city->timeZone);
                out.run(insert);
            }
            sqlite3_finalize(insert);
        }
        sqlite3_finalize(insertCountry);
        out.exec("COMMIT");
        out.exec("VACUUM");
    }
    std::filesystem::rename(partial, file);
    return cities.size();
}

int usage(const std::string& message) {
    std::cerr << "tarvo_citydirgen: " << message
              << "\nusage: tarvo_citydirgen --out FILE (--geonames | --dump CITIES.txt [--admin1 ADMIN1.txt])"
                 " [--translations LOCALE-DIR]\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<std::filesystem::path> out;
    std::optional<std::filesystem::path> dump;
    std::optional<std::filesystem::path> admin1;
    std::optional<std::filesystem::path> translationFolder;
    bool geonames = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        auto value = [&]() -> std::optional<std::filesystem::path> {
            if (i + 1 >= argc) return std::nullopt;
            return std::filesystem::path(argv[++i]);
        };
        if (arg == "--out")
            out = value();
        else if (arg == "--dump")
            dump = value();
        else if (arg == "--admin1")
            admin1 = value();
        else if (arg == "--translations")
            translationFolder = value();
        else if (arg == "--geonames")
            geonames = true;
        else
            return usage("unknown argument '" + std::string(arg) + "'");
    }
    if (!out || out->empty()) return usage("--out FILE is required");
    if (geonames == dump.has_value()) return usage("give exactly one of --geonames and --dump");
    try {
        std::vector<City> cities;
        if (dump) {
            cities = readDump(*dump, admin1 ? readAdmin1(*admin1) : std::map<std::string, std::string>{});
        } else {
#if TARVO_HAVE_GEONAMES
            cities = readLibgeonames();
#else
            return usage("built without libgeonames (install libgeonames-dev); use --dump");
#endif
        }
        if (cities.empty()) throw InputError("no cities to write");
        const auto translations = translationFolder ? readTranslations(*translationFolder)
                                                    : std::map<std::string, std::vector<std::string>>{};
        const size_t written = write(cities, *out, translations);
        std::cout << "tarvo_citydirgen: " << written << " cities written to " << out->string() << "\n";
    } catch (const std::exception& e) {
        std::cerr << "tarvo_citydirgen: " << e.what() << "\n";
        std::error_code ignored;
        std::filesystem::remove(out->string() + ".partial", ignored);
        return 1;
    }
    return 0;
}
