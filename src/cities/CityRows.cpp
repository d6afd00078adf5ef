#include "cities/CityRows.h"

#include "tarvo/cities/TarvoCity.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo::cityrows {

void setZone(TarvoCity& city, const SqliteStatement& row, int column) {
    if (row.columnIsNull(column)) {
        city.setTimeZone("");
        return;
    }
    city.setTimeZone(row.columnText(column));
    city.setGMT(TarvoCity::kGMTFromTimeZone);
}

std::shared_ptr<TarvoCity> place(const SqliteStatement& row, int first, const char* missingName,
                                 const char* missingCountry) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(row.columnTextOr(first, missingName));
    city->setCountryName(row.columnTextOr(first + 1, missingCountry));
    city->setLatitude(row.columnDouble(first + 2));
    city->setLongitude(row.columnDouble(first + 3));
    setZone(*city, row, first + 4);
    return city;
}

}  // namespace tarvo::cityrows
