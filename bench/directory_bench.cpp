// The city directory: one nearest-city look-up, one listing search and one ranked search over
// the shipped cities.sqlite, per call, beside a plain C++ scan of the same rows held in
// memory (the floor: no SQL, no statement building, no row decoding; the scan matches the
// listing's rules, ASCII letter case only).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace {

struct Row {
    std::string name;
    std::string country;
    std::string lowerName;
    std::string lowerCountry;
    double lat, lon, sinlat, coslat, sinlng, coslng;
};

std::shared_ptr<tarvo::CityDirectory> gDirectory;
// The same directory without its position index: the look-up scans every row, as it did
// before the index (and as it still does on an older directory file).
std::shared_ptr<tarvo::CityDirectory> gScannedDirectory;
std::vector<Row> gRows;

// Positions spread over the inhabited world (some near a city, some not).
constexpr std::array<std::array<double, 2>, 8> kPositions = {{{51.5074, -0.1278},
                                                              {21.4225, 39.8262},
                                                              {-33.87, 151.21},
                                                              {40.7128, -74.006},
                                                              {35.68, 139.69},
                                                              {-23.55, -46.63},
                                                              {64.15, -21.94},
                                                              {0.0, -150.0}}};
constexpr std::array<const char*, 6> kTerms = {"lon", "san", "berg", "abad", "york", "x"};
constexpr double kThresholdKm = 50;

std::string asciiLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

void BM_Directory_NearestCity(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        const auto& p = kPositions[i++ % kPositions.size()];
        auto city = tarvo::TarvoCity::GetCityForLat(p[0], p[1], gDirectory.get(), kThresholdKm);
        benchmark::DoNotOptimize(city);
    }
}
BENCHMARK(BM_Directory_NearestCity)->Unit(benchmark::kMicrosecond);

void BM_Directory_NearestCityFullScan(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        const auto& p = kPositions[i++ % kPositions.size()];
        auto city = tarvo::TarvoCity::GetCityForLat(p[0], p[1], gScannedDirectory.get(), kThresholdKm);
        benchmark::DoNotOptimize(city);
    }
}
BENCHMARK(BM_Directory_NearestCityFullScan)->Unit(benchmark::kMicrosecond);

void BM_InMemoryScan_NearestCity(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        const auto& p = kPositions[i++ % kPositions.size()];
        const double lat = p[0] * 3.141592653589793 / 180;
        const double lon = p[1] * 3.141592653589793 / 180;
        const double sinLat = std::sin(lat), cosLat = std::cos(lat), sinLon = std::sin(lon), cosLon = std::cos(lon);
        const double minimum = std::cos((kThresholdKm / 6371.0) * 1.06) * 1000;
        const Row* best = nullptr;
        double bestScore = minimum;
        for (const Row& row : gRows) {
            const double score =
                (sinLat * row.sinlat + cosLat * row.coslat * (cosLon * row.coslng + sinLon * row.sinlng)) * 1000;
            if (score >= bestScore && (!best || score > bestScore)) {
                best = &row;
                bestScore = score;
            }
        }
        benchmark::DoNotOptimize(best);
    }
}
BENCHMARK(BM_InMemoryScan_NearestCity)->Unit(benchmark::kMicrosecond);

void BM_Directory_NameSearch(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        auto cities = tarvo::TarvoCity::GetCities(*gDirectory, std::string(kTerms[i++ % kTerms.size()]));
        benchmark::DoNotOptimize(cities.data());
    }
}
BENCHMARK(BM_Directory_NameSearch)->Unit(benchmark::kMicrosecond);

void BM_Directory_RankedSearch(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        auto cities = tarvo::TarvoCity::SearchCities(*gDirectory, kTerms[i++ % kTerms.size()]);
        benchmark::DoNotOptimize(cities.data());
    }
}
BENCHMARK(BM_Directory_RankedSearch)->Unit(benchmark::kMicrosecond);

void BM_InMemoryScan_NameSearch(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        const std::string term = asciiLower(kTerms[i++ % kTerms.size()]);
        std::vector<const Row*> found;
        for (const Row& row : gRows) {
            if (row.lowerName.find(term) != std::string::npos || row.lowerCountry.find(term) != std::string::npos) {
                found.push_back(&row);
            }
        }
        const size_t keep = std::min<size_t>(75, found.size());
        std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(keep), found.end(),
                          [](const Row* a, const Row* b) {
                              return a->country != b->country ? a->country < b->country : a->name < b->name;
                          });
        found.resize(keep);
        benchmark::DoNotOptimize(found.data());
    }
}
BENCHMARK(BM_InMemoryScan_NameSearch)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    auto opened = tarvo::CityDirectory::open("");
    if (!opened) {
        std::fprintf(stderr, "directory_bench: %s\n", opened.error().message.c_str());
        return 1;
    }
    gDirectory = std::move(*opened);
    const auto scanned = std::filesystem::temp_directory_path() / "tarvo-directory-bench-scanned.sqlite";
    std::filesystem::copy_file(gDirectory->path(), scanned, std::filesystem::copy_options::overwrite_existing);
    {
        tarvo::SqliteDatabase copy;
        if (!copy.open(scanned) || copy.exec("DROP TABLE cityboxes") != 0) {
            std::fprintf(stderr, "directory_bench: %s: %s\n", scanned.c_str(), copy.errorMessage().c_str());
            return 1;
        }
    }
    opened = tarvo::CityDirectory::open(scanned);
    if (!opened) {
        std::fprintf(stderr, "directory_bench: %s\n", opened.error().message.c_str());
        return 1;
    }
    gScannedDirectory = std::move(*opened);
    // The rows for the hand-written comparison, read through a connection of its own.
    tarvo::SqliteDatabase reader;
    reader.open(gDirectory->path(), tarvo::SqliteDatabase::kOpenReadOnly);
    tarvo::SqliteStatement rows;
    rows.prepare(reader, "SELECT name, country, lat, lon, sinlat, coslat, sinlng, coslng FROM cities");
    while (rows.step() == 100 /* SQLITE_ROW */) {
        Row row{rows.columnText(0),
                rows.columnText(1),
                "",
                "",
                rows.columnDouble(2),
                rows.columnDouble(3),
                rows.columnDouble(4),
                rows.columnDouble(5),
                rows.columnDouble(6),
                rows.columnDouble(7)};
        row.lowerName = asciiLower(row.name);
        row.lowerCountry = asciiLower(row.country);
        gRows.push_back(std::move(row));
    }
    std::fprintf(stderr, "directory: %s, %zu cities\n", gDirectory->path().c_str(), gRows.size());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    gScannedDirectory.reset();
    std::filesystem::remove(scanned);
    return 0;
}
