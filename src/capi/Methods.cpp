// The method catalogue.
#include <fmt/format.h>

#include "Boundary.h"
#include "tarvo/calculation/CalculationMethod.h"

using namespace tarvo;
using namespace tarvo::capi;

extern "C" {

size_t tarvo_method_count(void) {
    try {
        return CalculationMethod::all().size();
    } catch (...) {
        return 0;
    }
}

tarvo_status tarvo_method_at(size_t index, tarvo_method* out) {
    return guarded([&] {
        require(out, "out");
        const auto& all = CalculationMethod::all();
        if (index >= all.size()) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT,
                          fmt::format("index {} is past the catalogue's {} methods", index, all.size()));
        }
        const CalculationMethod& m = all[index];
        tarvo_method method{};
        method.number = static_cast<int32_t>(m.number);
        copyText(method.name, sizeof method.name, m.name);
        copyText(method.key, sizeof method.key, m.key);
        for (size_t i = 0; i < 6; ++i) {
            method.params[i] = m.params[i];
            method.minute_offsets[i] = m.minuteOffsets[i];
        }
        method.jafari_midnight = m.midnight == CalculationMethod::Midnight::Jafari ? 1 : 0;
        method.seasonal_twilight = m.seasonalTwilight ? 1 : 0;
        *out = method;
        return TARVO_OK;
    });
}

}  // extern "C"
