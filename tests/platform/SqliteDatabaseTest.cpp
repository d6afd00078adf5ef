// The SQLite layer refuses files that are not ours to write and leaves them byte for byte.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/DataFolder.h"
#include "support/SqliteScript.h"

namespace tarvo {
namespace {

using namespace test;

TEST(SqliteDatabase, ForeignAndReadOnlyFilesAreRefusedAndLeftUntouched) {
    TempFolder folder;
    const auto readOnly = folder / "ro.sqlite";
    ASSERT_TRUE(test::runSql(readOnly, "CREATE TABLE t(x); INSERT INTO t VALUES(1)"));
    std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
    struct Case {
        std::filesystem::path file;
        std::string bytes;  // written first unless empty
        int code;
        const char* reason;
    };
    const Case cases[] = {
        {folder / "text.sqlite", "key=value\nmore text that is not a database\n", SQLITE_NOTADB, "not an SQLite database"},
        {folder / "byte.sqlite", "x", SQLITE_NOTADB, "not an SQLite database"},
        {folder / "zeros.sqlite", std::string(4096, '\0'), SQLITE_NOTADB, "not an SQLite database"},
        {folder / "header.sqlite", std::string("SQLite format 3\0", 16), SQLITE_NOTADB, "not an SQLite database"},
        {readOnly, "", SQLITE_READONLY, "read-only"},
        {folder.path(), "", SQLITE_CANTOPEN, "folder"},
    };
    for (const auto& [file, bytes, code, reason] : cases) {
        if (!bytes.empty()) test::writeBytes(file, bytes);
        const std::string before = readBytes(file);
        SqliteDatabase db;
        EXPECT_FALSE(db.open(file)) << file;
        EXPECT_EQ(db.errorCode() & 0xff, code) << file;
        EXPECT_NE(db.errorMessage().find(reason), std::string::npos) << db.errorMessage();
        EXPECT_NE(db.errorMessage().find(file.string()), std::string::npos) << db.errorMessage();
        EXPECT_EQ(readBytes(file), before) << file;
        EXPECT_FALSE(std::filesystem::exists(file.string() + "-journal")) << file;
        EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal")) << file;
    }
    SqliteDatabase reader;
    EXPECT_TRUE(reader.open(readOnly, SqliteDatabase::kOpenReadOnly)) << "reading it is fine";
}

}  // namespace
}  // namespace tarvo
