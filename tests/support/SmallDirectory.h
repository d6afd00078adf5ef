#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/RunProcess.h"

namespace tarvo::test {

/// One row of a GeoNames dump (the 19 tab-separated columns of the export).
struct DumpCity {
    std::string name;
    double latitude;
    double longitude;
    std::string countryCode;
    std::string admin1;
    long long population;
    std::string timeZone;
    std::string featureClass = "P";
    std::string alternateNames = "";  // comma-separated
};

inline std::string dumpLine(const DumpCity& c, int id) {
    return fmt::format("{}\t{}\t{}\t{}\t{}\t{}\t{}\tPPL\t{}\t\t{}\t\t\t\t{}\t\t10\t{}\t2024-01-01\n", id, c.name,
                       c.name, c.alternateNames, c.latitude, c.longitude, c.featureClass, c.countryCode, c.admin1,
                       c.population, c.timeZone);
}

/// A city directory built by the directory builder from a dump the test writes.
class SmallDirectory {
public:
    explicit SmallDirectory(const std::vector<DumpCity>& cities) {
        std::string dump = "# a GeoNames dump written by the test\n";
        int id = 1;
        for (const auto& city : cities) dump += dumpLine(city, id++);
        writeBytes(folder_ / "cities.txt", dump);
        writeBytes(folder_ / "admin1.txt",
                   "GB.ENG\tEngland\tEngland\t6269131\nNO.20\tTroms og Finnmark\tTroms og Finnmark\t1\n"
                   "IN.16\tMaharashtra\tMaharashtra\t1264418\n");
        build_ =
            runProcess(TARVO_CITYDIRGEN_PATH, {"--out", path().string(), "--dump", (folder_ / "cities.txt").string(),
                                               "--admin1", (folder_ / "admin1.txt").string()});
    }

    std::filesystem::path path() const { return folder_ / "directory.sqlite"; }
    const ProcessResult& build() const { return build_; }

private:
    TempFolder folder_;
    ProcessResult build_;
};

/// Cities around the world, with two places 105 km and 110 km north of the points
/// (10, 20) and (-30, -50), and two places at one position.
inline std::vector<DumpCity> worldCities() {
    return {
        {"London", 51.50853, -0.12574, "GB", "ENG", 8961989, "Europe/London"},
        {"Tromsø", 69.6489, 18.95508, "NO", "20", 52436, "Europe/Oslo"},
        {"Mumbai", 19.07283, 72.88261, "IN", "16", 12691836, "Asia/Kolkata"},
        {"Makkah al Mukarramah", 21.42664, 39.82563, "SA", "14", 1323624, "Asia/Riyadh"},
        {"Sydney", -33.86785, 151.20732, "AU", "02", 4627345, "Australia/Sydney"},
        {"Hundred And Five North", 10.9442876862146671, 20.0, "TD", "", 100, "Africa/Ndjamena"},
        {"Hundred And Ten North", -30.0 + 0.9892537665106036, -50.0, "BR", "", 100, "America/Sao_Paulo"},
        {"Twin Small", 5.0, 5.0, "NG", "", 10, "Africa/Lagos"},
        {"Twin Big", 5.0, 5.0, "NG", "", 1000, "Africa/Lagos"},
        {"Grid Square", 48.0, 7.0, "FR", "", 5, "Europe/Paris", "S"},  // not a populated place
    };
}

}  // namespace tarvo::test
