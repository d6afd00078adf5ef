// The text a person types into the city search, run against the shipped directory and
// the saved cities. The text is never SQL (nor a full-text query): every search, the listing
// and the ranked one, prepares and runs, and answers at most 75 cities.
#include <atomic>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"

namespace {

std::shared_ptr<tarvo::CityDirectory> gDirectory;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();
    tarvo::fuzz::quietLog();
    // A statement that fails to prepare is logged at error level: count those lines.
    tarvo::fuzz::errorLines();
    auto opened = tarvo::CityDirectory::open(TARVO_FUZZ_CITY_DIRECTORY);
    if (!opened) {
        std::fprintf(stderr, "name_search: %s\n", opened.error().message.c_str());
        std::abort();
    }
    gDirectory = std::move(*opened);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string search(tarvo::fuzz::text(data, size));
    tarvo::fuzz::errorLines() = 0;
    const auto cities = tarvo::TarvoCity::GetCities(*gDirectory, search);
    TARVO_FUZZ_CHECK(cities.size() <= 75, "a search answered more than 75 cities");
    const auto ranked = tarvo::TarvoCity::SearchCities(*gDirectory, search);
    TARVO_FUZZ_CHECK(ranked.size() <= 75, "a ranked search answered more than 75 cities");
    (void)gDirectory->country(search);
    TARVO_FUZZ_CHECK(tarvo::fuzz::errorLines() == 0, "a search text broke the statement it was put in");
    return 0;
}
