#pragma once

#include <stdexcept>

namespace tarvo::cli {

/// Bad input found after parsing (a bad value combination, an unusable file): reported as
/// one line on standard error with exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tarvo::cli
