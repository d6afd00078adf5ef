#include "platform/storage/SqliteTransaction.h"

#include <utility>

#include <sqlite3.h>

#include "platform/storage/SqliteDatabase.h"

namespace tarvo {

SqliteTransaction::SqliteTransaction(SqliteDatabase& database, Mode mode) : database_(database) {
    began_ = database_.exec(mode == Mode::immediate ? "BEGIN IMMEDIATE" : "BEGIN") == SQLITE_OK;
}

SqliteTransaction::SqliteTransaction(SqliteDatabase& database, std::string savepointName)
    : database_(database), savepoint_(std::move(savepointName)) {
    began_ = database_.exec("SAVEPOINT " + savepoint_) == SQLITE_OK;
}

SqliteTransaction::~SqliteTransaction() { rollback(); }

int SqliteTransaction::commit() {
    if (!began_ || ended_) return SQLITE_MISUSE;
    const int result = database_.exec(savepoint_.empty() ? std::string("COMMIT") : "RELEASE " + savepoint_);
    ended_ = result == SQLITE_OK;
    return result;
}

void SqliteTransaction::rollback() {
    if (!began_ || ended_) return;
    ended_ = true;
    if (savepoint_.empty()) {
        database_.exec("ROLLBACK");
        return;
    }
    database_.exec("ROLLBACK TO " + savepoint_);
    database_.exec("RELEASE " + savepoint_);
}

}  // namespace tarvo
