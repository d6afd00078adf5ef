#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tarvo/platform/SqliteDatabase.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo::test {

/// Runs SQL on the database file (creating it when missing) and closes it again.
inline ::testing::AssertionResult runSql(const std::filesystem::path& file, const std::string& sql) {
    SqliteDatabase db;
    if (!db.open(file)) return ::testing::AssertionFailure() << db.errorMessage();
    if (db.exec(sql) != SQLITE_OK) return ::testing::AssertionFailure() << db.errorMessage();
    return ::testing::AssertionSuccess();
}

/// The whole number in the first column of the first row of a query, run on a read-only
/// connection; nothing when the query fails or finds no row.
inline std::optional<int64_t> queryInteger(const std::filesystem::path& file, const std::string& sql) {
    SqliteDatabase db;
    SqliteStatement query;
    if (!db.open(file, SqliteDatabase::kOpenReadOnly) || query.prepare(db, sql) != SQLITE_OK ||
        query.step() != SQLITE_ROW) {
        return std::nullopt;
    }
    return query.columnInt64(0);
}

}  // namespace tarvo::test
