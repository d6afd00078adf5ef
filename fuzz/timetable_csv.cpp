// The timetable CSV a host drops in to replace an official table. A rejected file leaves
// the table exactly as it was; an accepted one replaces every row, one row per data line.
#include <array>
#include <cstring>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "platform/text/Text.h"
#include "tarvo/calculation/FixedTimetable.h"

namespace {

constexpr double kFirstKey = 1514764800.0;  // 2018-01-01
constexpr double kLastKey = 1609372800.0;   // 2020-12-31
constexpr tarvo::TimetableRow kRows[] = {
    {1514764800.0, {5.7, 7.01666667, 12.41666667, 15.4, 17.73333333, 19.05}},
    {1514851200.0, {5.7, 7.01666667, 12.43333333, 15.41666667, 17.75, 19.05}},
};

// Lines the parser reads as data rows (not blank, not a comment, not the header).
size_t dataLines(std::string_view text) {
    size_t count = 0;
    size_t pos = 0;
    while (pos <= text.size()) {
        const auto newline = text.find('\n', pos);
        const std::string line = tarvo::text::trimmed(text.substr(pos, newline == std::string_view::npos ? std::string_view::npos : newline - pos));
        pos = newline == std::string_view::npos ? text.size() + 1 : newline + 1;
        if (!line.empty() && line.front() != '#' && !line.starts_with("date")) ++count;
    }
    return count;
}

bool sameBits(const std::array<double, 6>& a, const std::array<double, 6>& b) {
    return std::memcmp(a.data(), b.data(), sizeof(double) * 6) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::quietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view csv = tarvo::fuzz::text(data, size);
    tarvo::FixedTimetable table("Fuzz", {kFirstKey, kLastKey, kRows, 2});
    if (const auto replaced = table.replaceFromCsvText(csv); replaced) {
        TARVO_FUZZ_CHECK(table.rowCount() == dataLines(csv), "an accepted table has one row per data line");
        // Days outside the table's range are never answered.
        const auto none = table.timingsForEpoch(kFirstKey - 86400.0);
        for (double t : none) TARVO_FUZZ_CHECK(t == -1.0, "a day before the range has no times");
        for (double key = kFirstKey; key <= kFirstKey + 3 * 86400.0; key += 86400.0) {
            for (double t : table.timingsForEpoch(key)) {
                TARVO_FUZZ_CHECK(t == -1.0 || (t >= 0.0 && t <= 24.0), "a time outside 0 to 24 hours was kept");
            }
        }
    } else {
        TARVO_FUZZ_CHECK(!replaced.error().message.empty(), "a rejected table says why");
        TARVO_FUZZ_CHECK(table.rowCount() == 2, "a rejected table keeps its rows");
        TARVO_FUZZ_CHECK(sameBits(table.timingsForEpoch(kRows[0].key), kRows[0].times) &&
                             sameBits(table.timingsForEpoch(kRows[1].key), kRows[1].times),
                         "a rejected table keeps its times");
    }
    return 0;
}
