#pragma once

// How the city directory and the reverse-geocode cache measure nearness. Shared by the
// library and the directory builder (data/cities), so that the builder stores for each place
// the numbers a look-up at that very position computes (nudged by an ulp where needed for
// the place to score 1000 against itself; see citydirgen.cpp).
#include <cmath>
#include <string>

#include <fmt/format.h>

namespace tarvo {

/// The sines and cosines of a position's latitude and longitude.
struct DirectoryGeometry {
    double sinLat;
    double cosLat;
    double sinLon;
    double cosLon;

    static double radians(double degrees) { return degrees * 3.141592653589793 / 180; }

    static DirectoryGeometry at(double latitude, double longitude) {
        const double lat = radians(latitude);
        const double lon = radians(longitude);
        return {std::sin(lat), std::cos(lat), std::sin(lon), std::cos(lon)};
    }

    /// The least score of a place within `thresholdKm`: the distance on a sphere of
    /// 6371 km, widened by 6 per cent, on the score's scale (1000 at the very position).
    static double minimumScore(double thresholdKm) { return std::cos((thresholdKm / 6371.0) * 1.06) * 1000; }

    /// The score column of the nearest-city query for this position: 1000 times the cosine of
    /// the angle to each row's place. The numbers are written in full (shortest text that
    /// reads back as the same double): six decimals, as a plain "%lf" gives, would move the
    /// score by up to 0.001, several kilometres, and the small thresholds of the location
    /// update would then find or miss places by chance.
    std::string scoreExpression() const {
        return fmt::format("({} * sinlat + {} * coslat * ( {} * coslng + {} * sinlng)) * 1000 AS GEO_DIST_SURR", sinLat,
                           cosLat, cosLon, sinLon);
    }
};

}  // namespace tarvo
