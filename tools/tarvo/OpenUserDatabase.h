#pragma once

#include <memory>

namespace tarvo {
class UserDatabase;
}

namespace tarvo::cli {

/// The user database in the data folder, opened (created and upgraded when needed), or a
/// UsageError saying why it cannot be used.
std::shared_ptr<UserDatabase> openUserDatabase();

}  // namespace tarvo::cli
