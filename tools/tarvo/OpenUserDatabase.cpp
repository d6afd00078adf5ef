#include "OpenUserDatabase.h"

#include <string>
#include <utility>

#include "HostDefaults.h"
#include "UsageError.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo::cli {

std::shared_ptr<UserDatabase> openUserDatabase() {
    // The saved cities read the automatic-city preferences (a new London city, say), so the
    // host's defaults must answer from here on.
    registerHostDefaults();
    auto user = UserDatabase::openDefault();
    if (!user) throw UsageError("cannot use the user database: " + user.error().message);
    return std::move(*user);
}

}  // namespace tarvo::cli
