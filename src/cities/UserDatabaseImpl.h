#pragma once

#include "cities/CityStatementSlot.h"
#include "platform/storage/SqliteDatabase.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo {

/// What a user database holds behind its public face: its connection, and the statements
/// prepared on it with the lock that serialises every use of them. The statements are
/// declared after the connection so that they are finalised before it closes.
struct UserDatabase::Impl {
    SqliteDatabase database;
    CityStatements statements;
};

/// The connection and statements of `database`, for the library's own code and its tests.
UserDatabase::Impl& internals(const UserDatabase& database);

}  // namespace tarvo
