#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/storage/SqliteStatement.h"

namespace tarvo {

class SqliteDatabase;
class TarvoCity;

/// The nearest-place look-up over one table of places with stored sines and cosines: the
/// directory's `cities` or the user database's reverse-geocode cache `cachedcities`. Its
/// statements are prepared once, on the connection of their owner, with the position and
/// the least score bound. The owner serialises its use.
class NearestPlace {
public:
    /// Prepares the look-up of `table` on `database`; with `boxIndex`, also the look-up
    /// inside a box of the directory's position index (`cityboxes`), used when the file has
    /// the index. `scanFailureLine` is logged (its "{}" the database's message) when the
    /// plain look-up could not be prepared and is asked for.
    NearestPlace(const SqliteDatabase& database, std::string_view table, bool boxIndex, std::string scanFailureLine);

    /// The nearest place within `thresholdKm` (widened by 6 per cent), or nothing. Silent
    /// (IsLoadingFromDB) filling: name, country, position, and the zone with GMT 50.
    std::shared_ptr<TarvoCity> find(double latitude, double longitude, double thresholdKm);

private:
    const SqliteDatabase& database_;
    SqliteStatement scan_;
    SqliteStatement inBox_;
    std::string scanError_;
    std::string scanFailureLine_;
};

}  // namespace tarvo
