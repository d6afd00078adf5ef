#pragma once

#include <memory>

namespace tarvo {

class SqliteStatement;
class TarvoCity;

/// Reading a city from a row of the directory, the reverse-geocode cache or the last used
/// city: the same five columns (name, country, latitude, longitude, zone) from `first` on.
namespace cityrows {

/// The zone column of a row: a place with a zone takes its offset from it (the GMT marker);
/// one without keeps GMT 0 and gets the empty zone.
void setZone(TarvoCity& city, const SqliteStatement& row, int column);

/// A city filled silently from the row: it comes back with IsLoadingFromDB still true.
std::shared_ptr<TarvoCity> place(const SqliteStatement& row, int first, const char* missingName,
                                 const char* missingCountry);

}  // namespace cityrows

}  // namespace tarvo
