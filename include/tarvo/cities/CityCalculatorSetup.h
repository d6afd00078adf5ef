#pragma once

#include <optional>

#include "tarvo/Export.h"
#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

class PrayerCalculator;
class PrayerConfiguration;
class TarvoCity;

/// Configures `calculator` from `city` in the order the day timetable uses, so the
/// automatic choices see the city's position before they are read:
/// latitude and longitude; 24-hour time format; method, Asr school and high-latitude rule
/// (0 stays "automatic"); the daylight-saving rule when the city forces it on (1) or off
/// (2), any other value leaving the zone in charge; the offset from GMT, where both of the
/// city's "from the time zone" markers (50 and -100) become the calculator's 50; and, when
/// the method then in force is the custom one (6), the city's custom Fajr and Isha angles;
/// then, over any method, the city's angle overrides and its Maghrib minutes after sunset and
/// Isha minutes after Maghrib, when it chose them.
///
/// The polar resolution is set only when the city chose one (the engine's own default leaves
/// polar times missing); the facade's day timetable uses polarResolutionOfCity.
///
/// The place's time zone, name and country are not set here: they are arguments of the
/// calculator's day computation.
TARVO_EXPORT void configureCalculatorFromCity(PrayerCalculator& calculator, const TarvoCity& city);

/// Records angles a user chose for the city: on the custom method (6) they are its custom
/// angles, on any other method (automatic included) overrides of the method's own, so that
/// the city computes with them either way. An angle given now replaces whatever would have
/// beaten it (an override kept from another method; for Isha, minutes after Maghrib). Set the
/// method first; absent angles change nothing.
TARVO_EXPORT void chooseCityAngles(TarvoCity& city, const std::optional<double>& fajr,
                                   const std::optional<double>& isha);

/// What the city's times the sun gives none for become: the city's choice when it made one,
/// else `preferences`' (the settings a facade computes with; none when null), else the default.
TARVO_EXPORT PolarResolution polarResolutionOfCity(const TarvoCity& city, const PrayerConfiguration* preferences);

/// The clock the city's prayer times are written on at `date`: its zone (GMT when the zone
/// is unknown) when the city follows it, else a fixed-offset zone at the offset the city's
/// own settings give (a fixed offset from GMT, summer time forced on or off), so that a
/// moment shown on it reads as the timetable does.
TARVO_EXPORT TimeZone clockOfCity(const TarvoCity& city, Date date);

}  // namespace tarvo
