#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

/// The sun and the moon for a place: positions, the moon's phase and distance, moonrise and
/// moonset, and the geometry that points a dish at a geostationary satellite.
///
/// Positions follow Meeus, "Astronomical Algorithms" (2nd ed.): the sun of chapter 25 and
/// the lunar series of chapter 47, with the short nutation series of chapter 22 and the
/// Espenak-Meeus fits of Terrestrial minus Universal Time. Against the book's worked examples
/// the sun is within 0.003 degree of the full VSOP87 theory (1992 October 13) and the moon
/// within 0.0001 degree of the series' published result (1992 April 12); the series itself
/// stays within about 0.003 degree of ELP-2000/82.
///
/// Angles are decimal degrees, north and east positive; azimuths run from north through east.
/// Every operation answers a number (NaN where there is none), never throws.
class TARVO_EXPORT SunCalculator {
public:
    /// A body's place at a moment seen from a site. Right ascension, declination and the
    /// ecliptic coordinates are geocentric and apparent (of date); altitude and azimuth are
    /// seen from the site (the moon's parallax of up to a degree included) without refraction.
    struct Position {
        double altitude = 0;
        double azimuth = 0;
        double declination = 0;
        double eclipticLongitude = 0;
        double rightAscension = 0;
        double distanceKm = 0;  ///< from the Earth's centre
        double eclipticLatitude = 0;
        double hourAngle = 0;   ///< local hour angle, (-180, 180], west positive
    };

    /// The moon's phase at a moment.
    struct MoonPhase {
        double illuminatedFraction = 0;  ///< 0 new to 1 full
        double phaseAngle = 0;           ///< sun-moon-Earth angle: 0 full, 180 new
        double elongation = 0;           ///< moon's minus sun's longitude, [0, 360)
        double ageDays = 0;              ///< days since the last new moon
        std::string name;                ///< moonPhaseName(elongation)
    };

    enum class MoonEventKind { rise, set };
    struct MoonEvent {
        MoonEventKind kind;
        Date time;
    };
    /// The moon's rises and sets in an interval, in the order they happen.
    struct MoonDay {
        std::vector<MoonEvent> events;
        bool upAtStart = false;  ///< with no events: up all the time (true) or down (false)
        std::optional<Date> rise() const;  ///< the first rise, if any
        std::optional<Date> set() const;   ///< the first set, if any
    };

    // ---- Day numbers and angle helpers -------------------------------------------------
    //
    // Every operation that takes a calendar date takes it as day, month, year, the order of
    // the Hijri and Gregorian date operations below.

    /// Modified Julian date (Julian day - 2400000.5) of a calendar date and UT hour; the
    /// Gregorian calendar from 1582 October 15, the Julian calendar before.
    static double mjd(int64_t day, int64_t month, int64_t year, double hour);
    /// Local mean sidereal time in hours [0, 24) at a modified Julian date (UT), for an east
    /// longitude (the IAU 1982 expression, Meeus 12.4).
    static double lmst(double mjd, double glong);
    /// Days since 2000 January 0.0 UT (1999 December 31, 0h) by the integer formula of the
    /// orbital-elements method: 1 on 2000 January 1 at 0h. Valid from 1900 March 1 to 2100
    /// February 28, where it agrees with mjd() - 51543.
    static double daynumber(int64_t day, int64_t month, int64_t year, double hour);
    /// The angle brought into [0, 360).
    static double range(double x);
    /// Integer part, toward zero.
    static double ipart(double x);
    /// The angle brought into [-180, 180): the signed difference for comparing directions.
    static double Rev(double x);
    /// Integer quotient toward zero; 0 when `b` is 0.
    static int64_t Div(int64_t a, int64_t b);

    // ---- Positions -------------------------------------------------------------------------

    static Position sunPosition(Date moment, double latitude, double longitude);
    static Position moonPosition(Date moment, double latitude, double longitude);
    static MoonPhase moonPhase(Date moment);
    /// The phase at local noon of a date, named for the whole day as calendars print it: the
    /// local day in which new moon, first quarter, full moon or last quarter falls carries that
    /// name, and only that day; the others are named by the quarter they lie in.
    static MoonPhase moonPhaseForDay(int64_t day, int64_t month, int64_t year, const TimeZone& zone);
    /// "new", "waxing crescent", "first quarter", "waxing gibbous", "full", "waning gibbous",
    /// "last quarter" or "waning crescent": a principal phase while the elongation is within
    /// half a day's mean motion (6.1 degrees) of 0, 90, 180 or 270; empty for NaN.
    static std::string moonPhaseName(double elongation);

    /// Stores the sun's and the moon's positions for the moment and site in
    /// output_sun_angles and output_moon_angles, and keeps the site for
    /// getsatelliteposition.
    void calculateSunAndMoonAngles(Date moment, double latitude, double longitude);
    /// The stored positions, eight elements each (all zero before the first calculation):
    /// 0 altitude, 1 azimuth, 2 declination, 3 ecliptic longitude, 4 right ascension,
    /// 5 distance from the Earth's centre in km, 6 ecliptic latitude, 7 local hour angle;
    /// as in Position.
    const std::vector<double>& output_sun_angles() const { return outputSunAngles_; }
    void setOutput_sun_angles(std::vector<double> angles) { outputSunAngles_ = std::move(angles); }
    const std::vector<double>& output_moon_angles() const { return outputMoonAngles_; }
    void setOutput_moon_angles(std::vector<double> angles) { outputMoonAngles_ = std::move(angles); }
    double siteLatitude() const { return siteLatitude_; }
    double siteLongitude() const { return siteLongitude_; }

    // ---- Moonrise and moonset: the compatible display texts ---------------------------------
    //
    // An hourly search over one local day with a parabola through three samples. The altitude
    // function reuses the position stored in output_moon_angles instead of following the moon,
    // and its arithmetic mixes radians into degree values; the times it gives are therefore
    // not the moon's real ones, but hosts show and compare these texts day by day, so the
    // arithmetic is fixed to the operation order written here. moonriseSetTextsForDay stores the moon's position at
    // local noon of the date before searching.

    /// Display texts for the day: [rise, set], ["-", set], [rise, "-"], or ["-"] alone when
    /// neither was found. `tz` is the zone's offset in hours (east positive).
    std::vector<std::string> find_moonrise_set(double mjd, double tz, double glong, double glat) const;
    /// Sine of the altitude of the stored body (`iobj` 1.0 the moon, anything else the sun).
    double sin_alt(double iobj, double mjd0, double hour, double glong, double cglat, double sglat) const;
    /// The parabola through (-1, ym), (0, yz), (1, yp): [root count in [-1, 1], first root,
    /// second root, abscissa of the extreme, value at the extreme].
    std::vector<double> quad(double ym, double yz, double yp) const;
    /// "%02i : %02i" of the hours times one hundred and the minutes ("500 : 30" for 5.5);
    /// "-" for a value that is not a number or beyond a million hours.
    std::string hrsmin(double hours) const;
    /// find_moonrise_set for a date in a zone, with the moon at local noon of the date.
    std::vector<std::string> moonriseSetTextsForDay(int64_t day, int64_t month, int64_t year, const TimeZone& zone,
                                                    double latitude, double longitude);

    // ---- Accurate moonrise and moonset ---------------------------------------------------

    /// The moments in [from, to) when the moon's upper limb crosses the horizon, lowered by
    /// the standard refraction of 34', following the moon as it moves and seen from the site.
    static MoonDay moonRiseSet(Date from, Date to, double latitude, double longitude);
    /// moonRiseSet from local midnight to the next local midnight of the date in the zone.
    static MoonDay moonRiseSetForDay(int64_t day, int64_t month, int64_t year, const TimeZone& zone, double latitude,
                                     double longitude);

    // ---- Geostationary satellites ------------------------------------------------------------
    //
    // A spherical Earth of radius 6378.137 km (plus the site's height) and the geostationary
    // orbit of radius 42164.17 km in the equatorial plane: a satellite on the site's meridian
    // at the equator is overhead, and one is on the horizon 81.3 degrees of longitude away.

    /// East longitude of the geostationary satellite seen along `azimuth` from the stored
    /// site, in [-180, 180); NaN when that direction meets the orbit only below the horizon
    /// (or the site is on the equator, where every satellite lies due east or west).
    double getsatelliteposition(double azimuth) const;
    /// Elevation in degrees, without refraction, of the satellite at east longitude `SatLon`.
    static double Elevation2(double SatLon, double SiteLat, double SiteLon, double HeightOverOcean);
    /// The elevation as a dish sees it: Saemundsson's refraction added to the geometric
    /// elevation; elevations below -2 degrees come back unchanged.
    static double ElevationRefraction(double elevation);
    /// Azimuth of the satellite at east longitude `satLon` from the site.
    static double satelliteAzimuth(double satLon, double siteLat, double siteLon);

    // ==== Hijri and Gregorian dates (SunCalculatorHijri.cpp) ==============================
    // An Islamic calendar (the arithmetical "islamic-civil", Umm al-Qura or the astronomical
    // one) in the device's zone, moved by a Hijri correction: a correction of +1 makes every
    // Hijri day start one Gregorian day earlier. Each operation takes the calendar and the
    // correction as a HijriReckoning; without one, it answers by the user's stored choice.

    /// Which Islamic calendar, moved by how many whole days.
    struct HijriReckoning {
        IslamicCalendar::Kind kind = IslamicCalendar::Kind::civil;
        int64_t correction = 0;
    };
    /// The user's reckoning as stored now: the "HijriCalendar" and "HijriCorrection"
    /// preferences of the shared user defaults, read afresh at each call (a number that names
    /// no calendar reads as the civil one; a missing key as 0).
    static HijriReckoning userHijriReckoning();

    /// The start of a Gregorian day in the device's zone.
    static Date getDateForDay(int64_t day, int64_t month, int64_t year);
    /// The start of a Hijri day, corrected.
    static Date getDateFromHijriDay(int64_t day, int64_t month, int64_t year);
    static Date getDateFromHijriDay(int64_t day, int64_t month, int64_t year, const HijriReckoning& reckoning);
    /// That date as "dd MMM YYYY" ("11 Mar 2024"). The year is the week-based year (the
    /// pattern hosts display and parse), so the last days of December can show the next year.
    /// Arabic digits and month names when the current locale ends in "numbers=arab".
    static std::string convertToGregorianFromHijriDay(int64_t day, int64_t month, int64_t year);
    static std::string convertToGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                      const HijriReckoning& reckoning);
    /// Gregorian day, month, year and weekday (1 Sunday to 7 Saturday) of that date.
    static std::vector<int32_t> getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year);
    /// The same in the calendar `kind` instead of the user's (with the user's correction).
    static std::vector<int32_t> getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                                 IslamicCalendar::Kind kind);
    static std::vector<int32_t> getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                                 const HijriReckoning& reckoning);

    /// The other way: Hijri day, month, year and weekday (1 Sunday) of the day holding the
    /// moment, with the same correction.
    static std::vector<int32_t> getCompsForHijriFromDate(Date date);
    /// The same in the calendar `kind` instead of the user's (with the user's correction).
    static std::vector<int32_t> getCompsForHijriFromDate(Date date, IslamicCalendar::Kind kind);
    static std::vector<int32_t> getCompsForHijriFromDate(Date date, const HijriReckoning& reckoning);
    /// That Hijri date as text: "1 Ramadan 1445" (day, month name, year) in the same locale
    /// as convertToGregorianFromHijriDay.
    static std::string convertToHijriFromDate(Date date);
    /// The same in the calendar `kind` instead of the user's (with the user's correction).
    static std::string convertToHijriFromDate(Date date, IslamicCalendar::Kind kind);
    static std::string convertToHijriFromDate(Date date, const HijriReckoning& reckoning);

private:
    std::vector<double> outputSunAngles_ = std::vector<double>(8, 0.0);
    std::vector<double> outputMoonAngles_ = std::vector<double>(8, 0.0);
    double siteLatitude_ = 0;
    double siteLongitude_ = 0;
};

}  // namespace tarvo
