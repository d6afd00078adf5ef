#pragma once

#include "platform/storage/SqliteDatabase.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo {

/// What a user database holds behind its public face: its connection.
struct UserDatabase::Impl {
    SqliteDatabase database;
};

}  // namespace tarvo
