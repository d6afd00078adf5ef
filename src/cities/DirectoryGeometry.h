#pragma once

// How the city directory and the reverse-geocode cache measure nearness. Shared by the
// library and the directory builder (data/cities), so that the stored sines and cosines of a
// place match the numbers a look-up at that very position computes. Built with
// -ffp-contract=off like the rest of the library: the scores here must round exactly as
// SQLite's do.
#include <cmath>
#include <optional>
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

    /// The score of a place stored with `stored` values, for a look-up at this position,
    /// evaluated in the order SQLite evaluates the score expression.
    double scoreAgainst(const DirectoryGeometry& stored) const {
        return (sinLat * stored.sinLat + cosLat * stored.cosLat * (cosLon * stored.cosLon + sinLon * stored.sinLon)) *
               1000;
    }

    /// The values to store for a place at this position so that a look-up at the very
    /// position scores it at least 1000, and so finds it with a zero threshold. Stored
    /// exactly, a quarter of all positions score a rounding error below 1000 against
    /// themselves (the sines and cosines are rounded, so their squares do not sum to
    /// exactly 1); each value is then moved away from zero an ulp at a time, which raises
    /// the score and changes distances by nothing measurable. Nothing if that does not
    /// reach 1000 within a few ulps (never seen).
    std::optional<DirectoryGeometry> storedForSelfMatch() const {
        DirectoryGeometry stored = *this;
        for (int attempt = 0; attempt < 8; ++attempt) {
            if (scoreAgainst(stored) >= 1000.0) return stored;
            for (double* x : {&stored.sinLat, &stored.cosLat, &stored.sinLon, &stored.cosLon}) {
                if (*x != 0) *x = std::nextafter(*x, *x > 0 ? 2.0 : -2.0);
            }
        }
        return std::nullopt;
    }

    /// The least score of a place within `thresholdKm`: the distance on a sphere of
    /// 6371 km, widened by 6 per cent, on the score's scale (1000 at the very position).
    static double minimumScore(double thresholdKm) { return std::cos((thresholdKm / 6371.0) * 1.06) * 1000; }

    /// A latitude and longitude box (the longitudes in one or two ranges, the second for a
    /// box across the antimeridian; an unused range is empty, its minimum above its maximum).
    struct Box {
        double minLat, maxLat;
        double minLon1, maxLon1;
        double minLon2, maxLon2;
    };

    /// A box holding every place that a look-up at this position with this threshold finds:
    /// the spherical cap of the threshold's angle (with the 6 per cent), widened by 64 m so
    /// that the rounding of the scores cannot find a place just outside it (it moves the
    /// edge by well under a metre). Nothing when the box would not help or the input is not
    /// a position on the globe: the cap reaches a quarter of the globe, or a coordinate is out
    /// of range or not a number; the look-up then scans every place.
    static std::optional<Box> boxAround(double latitude, double longitude, double thresholdKm) {
        constexpr double kMarginRadians = 1e-5;
        constexpr double kDegreesPerRadian = 180 / 3.141592653589793;
        if (!std::isfinite(latitude) || !std::isfinite(longitude) || !std::isfinite(thresholdKm) ||
            std::abs(latitude) > 90 || std::abs(longitude) > 180) {
            return std::nullopt;
        }
        // The score is a cosine, so a negative threshold finds what its size finds.
        const double angle = std::abs(thresholdKm) / 6371.0 * 1.06 + kMarginRadians;
        if (angle >= 3.141592653589793 / 2) return std::nullopt;
        const double spread = angle * kDegreesPerRadian;
        Box box{latitude - spread, latitude + spread, -180, 180, 1, 0};
        if (box.maxLat >= 90 || box.minLat <= -90) return box;  // around a pole: every longitude
        // The cap's widest longitude difference (it holds no pole, so the ratio is below 1).
        const double half = std::asin(std::sin(angle) / std::cos(radians(latitude))) * kDegreesPerRadian;
        box.minLon1 = longitude - half;
        box.maxLon1 = longitude + half;
        if (box.minLon1 < -180) {
            box.minLon2 = box.minLon1 + 360;
            box.maxLon2 = 180;
            box.minLon1 = -180;
        } else if (box.maxLon1 > 180) {
            box.minLon2 = -180;
            box.maxLon2 = box.maxLon1 - 360;
            box.maxLon1 = 180;
        }
        return box;
    }

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
