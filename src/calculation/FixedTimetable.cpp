#include "tarvo/calculation/FixedTimetable.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>

#include "platform/host/LogMacros.h"

namespace tarvo {

namespace {
std::atomic<uint64_t> replacementCount{0};
}  // namespace

uint64_t FixedTimetable::replacements() { return replacementCount.load(std::memory_order_acquire); }

FixedTimetable::FixedTimetable(std::string name, const CompiledData& data)
    : name_(std::move(name)),
      firstKey_(data.firstKey),
      lastKey_(data.lastKey),
      rows_(std::make_shared<const Rows>(data.rows, data.rows + data.count)) {}

std::shared_ptr<const FixedTimetable::Rows> FixedTimetable::rows() const {
    std::lock_guard lock(mutex_);
    return rows_;
}

size_t FixedTimetable::rowCount() const { return rows()->size(); }

std::array<double, 6> FixedTimetable::timingsForEpoch(double key) const {
    const auto table = rows();
    const auto it = std::lower_bound(table->begin(), table->end(), key,
                                     [](const TimetableRow& row, double k) { return row.key < k; });
    // Exact match only: no rounding to the day and no nearest-day fallback.
    if (it != table->end() && it->key == key) return it->times;
    return {-1, -1, -1, -1, -1, -1};
}

Result<void> FixedTimetable::replaceFromCsvText(std::string_view text) {
    auto parsed = TimetableCsvParser(firstKey_, lastKey_).parse(text);
    if (!parsed) {
        TARVO_LOG_ERROR("{} timetable rejected, keeping the current rows: {}", name_, parsed.error().message);
        return parsed.error();
    }
    auto replacement = std::make_shared<const Rows>(std::move(*parsed));
    {
        std::lock_guard lock(mutex_);
        rows_ = std::move(replacement);
    }
    replacementCount.fetch_add(1, std::memory_order_release);
    return {};
}

Result<void> FixedTimetable::replaceFromCsvFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        TARVO_LOG_ERROR("{} timetable file {} cannot be read, keeping the current rows", name_, path);
        return Error{"cannot read " + path};
    }
    std::stringstream text;
    text << in.rdbuf();
    if (auto replaced = replaceFromCsvText(text.str()); !replaced) return Error{path + ": " + replaced.error().message};
    return {};
}

}  // namespace tarvo
