// A host application built against an installed TarvoCore.
#include <cstdio>

#include <tarvo/Version.h>
#include <tarvo/calculation/PrayerCalculator.h>

int main() {
    tarvo::PrayerCalculator calc;
    calc.setCalcMethod(4);
    const auto hours = calc.getDatePrayerTimesAsDoubles(tarvo::Date(1451984400), "Makkah", "Saudi Arabia", 21.4225,
                                                        39.8262, "Asia/Riyadh");
    std::printf("%s %g %s\n", reinterpret_cast<const char*>(TarvoCoreVersionString), TarvoCoreVersionNumber,
                calc.adjustTimesFormat(hours)[0].c_str());
    return hours.size() == 10 ? 0 : 1;
}
