// A city directory file from arbitrary bytes (a damaged or foreign cities.sqlite). Opening
// it and every look-up on it either work or are refused; the file is only ever read.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();
    tarvo::fuzz::quietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = tarvo::fuzz::text(data, size);
    const auto folder = tarvo::fuzz::freshFolder("directory");
    const auto path = folder / tarvo::CityDirectory::kFileName;
    tarvo::fuzz::writeFile(path, bytes);
    {
        const auto opened = tarvo::CityDirectory::open(path);
        if (opened) {
            const auto& directory = *opened;
            tarvo::CityDirectory& db = *directory;
            const auto countries = directory->countries();
            for (size_t i = 0; i < countries.size() && i < 3; ++i) {
                const auto cities = tarvo::TarvoCity::GetAllCities(db, countries[i].identifier, countries[i].name);
                if (!cities.empty()) (void)directory->stateName(*cities.front());
            }
            (void)directory->country("TR");
            (void)directory->country("792");
            (void)directory->country("Turkey");
            TARVO_FUZZ_CHECK(tarvo::TarvoCity::GetCities(db, std::string("an")).size() <= 75,
                             "a search answered more than 75 cities");
            TARVO_FUZZ_CHECK(tarvo::TarvoCity::SearchCities(db, "istanbul").size() <= 75,
                             "a ranked search answered more than 75 cities");
            (void)tarvo::TarvoCity::GetCityForLat(41.0, 29.0, &db, 50.0);
        } else {
            TARVO_FUZZ_CHECK(!opened.error().message.empty(), "a refused directory says why");
        }
    }
    TARVO_FUZZ_CHECK(tarvo::fuzz::readFile(path) == bytes, "the directory file was changed");
    TARVO_FUZZ_CHECK(tarvo::fuzz::folderListing(folder) == std::vector<std::string>{"cities.sqlite"},
                     "reading the directory left files beside it");
    return 0;
}
