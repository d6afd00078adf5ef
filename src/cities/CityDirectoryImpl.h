#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "cities/NearestPlace.h"
#include "tarvo/cities/CityDirectory.h"
#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo {

/// What a CityDirectory holds: its connection, the statements prepared on it when it was
/// opened, and the lock its look-ups take (re-entrant: a checked look-up runs the unchecked
/// one and then the damage check under it).
struct CityDirectory::Impl {
    /// The run of a statement the progress handler is counting.
    struct Work {
        const void* statement = nullptr;
        int run = 0;
        long calls = 0;
    };

    std::recursive_mutex lock;
    SqliteDatabase database;
    SqliteStatement listing;
    SqliteStatement rankedSearch;          ///< names equal to or beginning with the text
    SqliteStatement rankedSearchContains;  ///< also names containing it (texts of 3 or more)
    SqliteStatement countries;
    SqliteStatement countriesNamed;
    SqliteStatement population;  ///< empty for a directory built without populations
    std::optional<NearestPlace> nearest;
    /// Why a statement did not prepare, for its look-up's error line.
    std::string listingError;
    std::string rankedSearchError;
    std::string countriesError;
    Work work;
    unsigned faultsAtOpen = 0;

    /// Prepares the statements (after the file was found usable).
    void prepareStatements();
};

/// The connection and statements of `directory`, for the library's own code and its tests.
CityDirectory::Impl& internals(const CityDirectory& directory);

}  // namespace tarvo
