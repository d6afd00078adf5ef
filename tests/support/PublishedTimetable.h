#pragma once

// Compares a method's printed minutes with an authority's published timetable kept as a CSV
// file: "place,LAT,LON,ZONE,ASR" lines set the position, zone and Asr school of the rows that
// follow; a row is "YYYY-MM-DD,fajr,sunrise,dhuhr,asr,maghrib,isha" (HH:MM, empty when the
// page did not give that time); '#' lines are comments (the source), and other lines that do
// not start with a digit (column headings) are skipped.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo::test {

struct Agreement {
    int compared = 0;
    int withinOneMinute = 0;
    double worst = 0;
    std::vector<std::string> differing;  // "YYYY-MM-DD entry HH:MM" (computed) for each time off the page's minute
};

inline std::vector<std::string> csvFields(const std::string& line) {
    std::vector<std::string> out;
    std::stringstream in(line);
    for (std::string f; std::getline(in, f, ',');) out.push_back(f);
    if (!line.empty() && line.back() == ',') out.emplace_back();
    return out;
}

inline double minutesOfClock(const std::string& hhmm) {
    return std::stoi(hhmm.substr(0, 2)) * 60.0 + std::stoi(hhmm.substr(3, 2));
}

/// Every published time of the file against the method's computed time, both as whole minutes.
/// `place`, a "place,..." line, stands before the file's rows, for files that give no such line.
inline Agreement compareWithPublished(const std::string& path, int64_t method, const std::string& place = {}) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path << " is missing";
    Agreement a;
    double lat = 0, lng = 0;
    std::string zone;
    int64_t asr = 1;
    std::stringstream start(place);
    for (std::string line; std::getline(start, line) || std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        const auto f = csvFields(line);
        if (f.at(0) == "place") {
            lat = std::stod(f.at(1)), lng = std::stod(f.at(2)), zone = f.at(3), asr = std::stoll(f.at(4));
            continue;
        }
        if (!std::isdigit(static_cast<unsigned char>(line[0]))) continue;  // a column heading
        PrayerCalculator c;
        c.setCalcMethod(method);
        c.setAsrJuristic(asr);
        const auto& d = f.at(0);
        const auto text = c.adjustTimesFormat(c.getDatePrayerTimes(
            noonOn(std::stoi(d.substr(0, 4)), std::stoi(d.substr(5, 2)), std::stoi(d.substr(8, 2))), std::nullopt,
            std::nullopt, lat, lng, zone));
        const size_t entries[] = {PrayerCalculator::Fajr, PrayerCalculator::Sunrise, PrayerCalculator::Dhuhr,
                                  PrayerCalculator::Asr,  PrayerCalculator::Maghrib, PrayerCalculator::Isha};
        const char* names[] = {"fajr", "sunrise", "dhuhr", "asr", "maghrib", "isha"};
        for (size_t i = 0; i < 6; ++i) {
            if (f.at(i + 1).empty()) continue;  // the page did not give this time
            const double diff = std::fabs(minutesOfClock(text[entries[i]]) - minutesOfClock(f.at(i + 1)));
            ++a.compared;
            a.withinOneMinute += diff <= 1 ? 1 : 0;
            a.worst = std::max(a.worst, diff);
            if (diff > 0) a.differing.push_back(d + " " + names[i] + " " + text[entries[i]]);
        }
    }
    return a;
}

}  // namespace tarvo::test
