#pragma once

#include <array>
#include <cstdint>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/calculation/TimetableCsvParser.h"

namespace tarvo {

/// A fixed day-by-day official timetable covering a range of dates, looked up by the
/// exact day key. Starts with the rows compiled into the library; a host may replace
/// them at start-up from a CSV file of the same format.
class TARVO_EXPORT FixedTimetable {
public:
    /// Rows as the build compiles them in, sorted by key.
    struct CompiledData {
        double firstKey;
        double lastKey;
        const TimetableRow* rows;
        size_t count;
    };

    FixedTimetable(std::string name, const CompiledData& data);

    /// The six times of the day with exactly this key, or six -1 values when the table has
    /// no such day (outside the range, a gap, or a key that is not 00:00 UTC).
    std::array<double, 6> timingsForEpoch(double key) const;

    /// Replaces all rows with those of a CSV file (see TimetableCsvParser). An unreadable
    /// or invalid file is rejected with a logged error, which comes back, and the current
    /// rows stay.
    Result<void> replaceFromCsvFile(const std::string& path);
    Result<void> replaceFromCsvText(std::string_view text);

    /// How many times any fixed timetable's rows have been replaced since start-up: a day
    /// computed while this read N is stale once it reads more.
    static uint64_t replacements();

    const std::string& name() const { return name_; }
    double firstKey() const { return firstKey_; }
    double lastKey() const { return lastKey_; }
    size_t rowCount() const;

private:
    using Rows = std::vector<TimetableRow>;
    std::shared_ptr<const Rows> rows() const;

    std::string name_;
    double firstKey_;
    double lastKey_;
    mutable std::mutex mutex_;
    std::shared_ptr<const Rows> rows_;
};

}  // namespace tarvo
