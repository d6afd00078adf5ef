#pragma once

#include <cstdint>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// A country's number and name.
class TARVO_EXPORT Country {
public:
    Country() = default;

    int64_t countryID() const { return countryID_; }
    void setCountryID(int64_t id) { countryID_ = id; }
    const std::string& countryName() const { return countryName_; }
    void setCountryName(std::string name) { countryName_ = std::move(name); }

private:
    int64_t countryID_ = 0;
    std::string countryName_;
};

}  // namespace tarvo
