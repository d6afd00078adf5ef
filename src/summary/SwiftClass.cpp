#include "tarvo/summary/SwiftClass.h"

#include "tarvo/astronomy/QiblaCalculator.h"

namespace tarvo {

std::string SwiftClass::someVal() { return "Some Val"; }

std::string SwiftClass::dummyVal() const {
    // The sample only shows that the class can reach the astronomy layer.
    [[maybe_unused]] const QiblaCalculator calculator;
    return "test";
}

}  // namespace tarvo
