// The SQLite layer: values survive binding exactly, and files that are not ours to write
// are refused and left byte for byte.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/DataFolder.h"
#include "support/SqliteScript.h"

namespace tarvo {
namespace {

using test::readBytes;
using test::TempFolder;

TEST(SqliteDatabase, TextWithNulsAndBlobsComeBackExactly) {
    SqliteDatabase db;
    ASSERT_TRUE(db.open(":memory:")) << db.errorMessage();
    ASSERT_EQ(db.exec("CREATE TABLE t(s TEXT, b BLOB)"), SQLITE_OK);
    const std::string text("Mak\0kah \xd9\x85\xd9\x83\xd8\xa9", 14);  // an embedded NUL and Arabic
    const std::vector<uint8_t> blob = {0x00, 0xff, 0x00, 0x7f};
    SqliteStatement insert;
    ASSERT_EQ(insert.prepare(db, "INSERT INTO t VALUES(?, ?)"), SQLITE_OK);
    ASSERT_EQ(insert.bindText(1, text), SQLITE_OK);
    ASSERT_EQ(insert.bindBlob(2, blob), SQLITE_OK);
    ASSERT_EQ(insert.step(), SQLITE_DONE);
    SqliteStatement select;
    ASSERT_EQ(select.prepare(db, "SELECT s, b FROM t"), SQLITE_OK);
    ASSERT_EQ(select.step(), SQLITE_ROW);
    EXPECT_EQ(select.columnText(0), text);
    EXPECT_EQ(select.columnBlob(1), blob);
}

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
    EXPECT_TRUE(reader.open(readOnly, SqliteDatabase::kOpenReadOnly)) << reader.errorMessage();
    EXPECT_EQ(test::queryText(reader, "SELECT x FROM t"), "1");
}

}  // namespace
}  // namespace tarvo
