#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/storage/SqliteDatabase.h"
#include "platform/storage/SqliteStatement.h"

namespace tarvo::test {

/// Runs SQL on the database file (creating it when missing) and closes it again.
inline ::testing::AssertionResult runSql(const std::filesystem::path& file, const std::string& sql) {
    SqliteDatabase db;
    if (!db.open(file) || db.exec(sql) != SQLITE_OK) return ::testing::AssertionFailure() << db.errorMessage();
    return ::testing::AssertionSuccess();
}

/// The first column of the first row of a query as text ("" for no row or NULL).
inline std::string queryText(SqliteDatabase& db, const std::string& sql) {
    SqliteStatement query;
    EXPECT_EQ(query.prepare(db, sql), SQLITE_OK) << sql << ": " << db.errorMessage();
    return query.step() == SQLITE_ROW ? query.columnText(0) : std::string();
}

inline std::string queryText(const std::filesystem::path& file, const std::string& sql) {
    SqliteDatabase db;
    if (!db.open(file, SqliteDatabase::kOpenReadWrite)) return "cannot open: " + db.errorMessage();
    return queryText(db, sql);
}

}  // namespace tarvo::test
