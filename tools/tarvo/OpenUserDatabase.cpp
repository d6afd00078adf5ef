#include "OpenUserDatabase.h"

#include <string>

#include "HostDefaults.h"
#include "UsageError.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo::cli {

std::shared_ptr<UserDatabase> openUserDatabase() {
    // The saved cities read the automatic-city preferences (a new London city, say), so the
    // host's defaults must answer from here on.
    registerHostDefaults();
    std::string error;
    auto user = UserDatabase::openDefault(error);
    if (!user) throw UsageError("cannot use the user database: " + error);
    return user;
}

}  // namespace tarvo::cli
