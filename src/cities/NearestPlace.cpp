#include "cities/NearestPlace.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include "cities/CityRows.h"
#include "cities/DirectoryGeometry.h"
#include "platform/host/LogMacros.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/SqliteDatabase.h"

namespace tarvo {

namespace {

// The score of a row is 1000 times the cosine of the angle between the position (?1 to ?4:
// its sine and cosine of latitude, cosine and sine of longitude) and the row's place, so
// larger is nearer; ?5 is the least score a place within the threshold has. The numbers are
// bound whole, never written into the text.
constexpr const char* kScore =
    "(?1 * sinlat + ?2 * coslat * ( ?3 * coslng + ?4 * sinlng)) * 1000 AS GEO_DIST_SURR";
constexpr const char* kNearestSql =
    "select {}, name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng from {} WHERE GEO_DIST_SURR >= ?5 "
    "order by GEO_DIST_SURR DESC LIMIT 1";
// Inside a box of the position index (two longitude ranges, ?6 to ?11). The full scan keeps
// the first of the best-scored rows in row order; the tie-break on the row says so
// explicitly, so both answer the same place.
constexpr const char* kNearestInBoxSql =
    "select {}, name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng from {} WHERE rowid IN "
    "(SELECT id FROM cityboxes WHERE minlat <= ?7 AND maxlat >= ?6 AND minlon <= ?9 AND maxlon >= ?8 UNION ALL "
    "SELECT id FROM cityboxes WHERE minlat <= ?7 AND maxlat >= ?6 AND minlon <= ?11 AND maxlon >= ?10) "
    "AND GEO_DIST_SURR >= ?5 order by GEO_DIST_SURR DESC, rowid LIMIT 1";

}  // namespace

NearestPlace::NearestPlace(const SqliteDatabase& database, std::string_view table, bool boxIndex,
                           std::string scanFailureLine)
    : database_(database), scanFailureLine_(std::move(scanFailureLine)) {
    if (scan_.prepare(database, fmt::format(kNearestSql, kScore, table)) != SQLITE_OK) {
        scanError_ = database.errorMessage();
    }
    // An older directory has no position index: this statement does not prepare, silently,
    // and the plain scan answers instead.
    if (boxIndex) inBox_.prepare(database, fmt::format(kNearestInBoxSql, kScore, table));
}

std::shared_ptr<TarvoCity> NearestPlace::find(double latitude, double longitude, double thresholdKm) {
    const auto position = DirectoryGeometry::at(latitude, longitude);
    const double minimumScore = DirectoryGeometry::minimumScore(thresholdKm);
    TARVO_LOG_DEBUG("[DB] Get Time Zone For City, {:f}, {:f}, {:f}, {:f}, {:f}", position.sinLat, position.sinLon,
                    position.cosLat, position.cosLon, minimumScore);
    // The look-up inside a box around the position only when the box helps.
    const auto box = inBox_.isPrepared() ? DirectoryGeometry::boxAround(latitude, longitude, thresholdKm)
                                         : std::nullopt;
    SqliteStatement& query = box ? inBox_ : scan_;
    if (!query.isPrepared()) {
        TARVO_LOG_ERROR("{}", fmt::format(fmt::runtime(scanFailureLine_), scanError_));
        return nullptr;
    }
    query.bindDouble(1, position.sinLat);
    query.bindDouble(2, position.cosLat);
    query.bindDouble(3, position.cosLon);
    query.bindDouble(4, position.sinLon);
    query.bindDouble(5, minimumScore);
    if (box) {
        query.bindDouble(6, box->minLat);
        query.bindDouble(7, box->maxLat);
        query.bindDouble(8, box->minLon1);
        query.bindDouble(9, box->maxLon1);
        query.bindDouble(10, box->minLon2);
        query.bindDouble(11, box->maxLon2);
    }
    std::shared_ptr<TarvoCity> city;
    if (query.step() == SQLITE_ROW) {
        city = cityrows::place(query, 1, "Unknown City", "");
        city->setIsLoadingFromDB(false);
    } else {
        // A plain line, not a "[DB]" one; info level, so a normal run stays quiet.
        TARVO_LOG_INFO("Did NOT find any city!");
    }
    query.reset();
    return city;
}

}  // namespace tarvo
