
#include <limits>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/ParamName.h"
#include "platform/SqliteScript.h"
#include "platform/TempFolder.h"
#include "tarvo/platform/SqliteDatabase.h"
#include "tarvo/platform/SqliteStatement.h"

namespace tarvo {
namespace {

using test::TempFolder;

class SqliteTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(db.open(folder / "test.sqlite")) << db.errorMessage();
        ASSERT_EQ(db.exec("CREATE TABLE t(i INTEGER, r REAL, s TEXT, b BLOB)"), SQLITE_OK) << db.errorMessage();
    }

    TempFolder folder;
    SqliteDatabase db;
};

TEST_F(SqliteTest, EveryBoundKindComesBackFromItsColumn) {
    SqliteStatement insert;
    ASSERT_EQ(insert.prepare(db, "INSERT INTO t(i, r, s, b) VALUES(?, ?, ?, ?)"), SQLITE_OK);
    EXPECT_EQ(insert.parameterCount(), 4);
    const std::string text("Mak\0kah \xd9\x85\xd9\x83\xd8\xa9", 14);  // an embedded NUL and Arabic
    const std::vector<uint8_t> blob = {0x00, 0xff, 0x00, 0x7f};
    ASSERT_EQ(insert.bindInt64(1, std::numeric_limits<int64_t>::min()), SQLITE_OK);
    ASSERT_EQ(insert.bindDouble(2, -0.1167), SQLITE_OK);
    ASSERT_EQ(insert.bindText(3, text), SQLITE_OK);
    ASSERT_EQ(insert.bindBlob(4, blob), SQLITE_OK);
    ASSERT_EQ(insert.step(), SQLITE_DONE);
    EXPECT_EQ(db.changes(), 1);
    EXPECT_EQ(db.lastInsertRowId(), 1);

    SqliteStatement select;
    ASSERT_EQ(select.prepare(db, "SELECT i, r, s, b FROM t"), SQLITE_OK);
    ASSERT_EQ(select.step(), SQLITE_ROW);
    EXPECT_EQ(select.columnCount(), 4);
    EXPECT_EQ(select.columnName(2), "s");
    EXPECT_EQ(select.columnType(0), SQLITE_INTEGER);
    EXPECT_EQ(select.columnInt64(0), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(select.columnType(1), SQLITE_FLOAT);
    EXPECT_EQ(select.columnDouble(1), -0.1167);
    EXPECT_EQ(select.columnText(2), text);
    EXPECT_EQ(select.columnType(3), SQLITE_BLOB);
    EXPECT_EQ(select.columnBlob(3), blob);
    EXPECT_EQ(select.step(), SQLITE_DONE);
}

TEST_F(SqliteTest, NullsAndEmptyBlobsAreTold) {
    SqliteStatement insert;
    ASSERT_EQ(insert.prepare(db, "INSERT INTO t(i, r, s, b) VALUES(?, ?, ?, ?)"), SQLITE_OK);
    ASSERT_EQ(insert.bindNull(1), SQLITE_OK);
    ASSERT_EQ(insert.bindInt(2, 7), SQLITE_OK);
    ASSERT_EQ(insert.bindText(3, ""), SQLITE_OK);
    ASSERT_EQ(insert.bindBlob(4, std::vector<uint8_t>{}), SQLITE_OK);
    ASSERT_EQ(insert.step(), SQLITE_DONE);

    SqliteStatement select;
    ASSERT_EQ(select.prepare(db, "SELECT i, r, s, b, typeof(b) FROM t"), SQLITE_OK);
    ASSERT_EQ(select.step(), SQLITE_ROW);
    EXPECT_TRUE(select.columnIsNull(0));
    EXPECT_EQ(select.columnInt(0), 0);
    EXPECT_EQ(select.columnText(0), "");
    EXPECT_FALSE(select.columnIsNull(1));
    EXPECT_EQ(select.columnInt(1), 7);
    EXPECT_FALSE(select.columnIsNull(2));
    EXPECT_FALSE(select.columnIsNull(3));
    EXPECT_TRUE(select.columnBlob(3).empty());
    EXPECT_EQ(select.columnText(4), "blob");
}

TEST_F(SqliteTest, PreparedOnceServesManyRuns) {
    // The way stores keep statements: prepare once, then bind, step and reset per use.
    SqliteStatement insert;
    SqliteStatement count;
    ASSERT_EQ(insert.prepare(db, "INSERT INTO t(i) VALUES(?1)"), SQLITE_OK);
    ASSERT_EQ(count.prepare(db, "SELECT count(*), sum(i) FROM t WHERE i >= ?1"), SQLITE_OK);
    int64_t sum = 0;
    for (int i = 1; i <= 5; ++i) {
        ASSERT_EQ(insert.bindInt(1, i), SQLITE_OK);
        ASSERT_EQ(insert.step(), SQLITE_DONE);
        ASSERT_EQ(insert.reset(), SQLITE_OK);
        sum += i;

        ASSERT_EQ(count.bindInt(1, 1), SQLITE_OK);
        ASSERT_EQ(count.step(), SQLITE_ROW);
        EXPECT_EQ(count.columnInt(0), i);
        EXPECT_EQ(count.columnInt64(1), sum);
        ASSERT_EQ(count.reset(), SQLITE_OK);
    }
    // Bindings survive a reset until cleared.
    ASSERT_EQ(count.bindInt(1, 4), SQLITE_OK);
    ASSERT_EQ(count.step(), SQLITE_ROW);
    ASSERT_EQ(count.reset(), SQLITE_OK);
    ASSERT_EQ(count.step(), SQLITE_ROW);
    EXPECT_EQ(count.columnInt(0), 2);
    ASSERT_EQ(count.reset(), SQLITE_OK);
    ASSERT_EQ(count.clearBindings(), SQLITE_OK);
    ASSERT_EQ(count.step(), SQLITE_ROW);
    EXPECT_EQ(count.columnInt(0), 0) << "a NULL bound after clearing matches nothing";
}

TEST_F(SqliteTest, ErrorsGiveCodesAndText) {
    SqliteStatement bad;
    EXPECT_EQ(bad.prepare(db, "SELECT * FROM nowhere"), SQLITE_ERROR);
    EXPECT_FALSE(bad.isPrepared());
    EXPECT_NE(db.errorMessage().find("nowhere"), std::string::npos) << db.errorMessage();

    ASSERT_EQ(db.exec("CREATE TABLE u(k TEXT PRIMARY KEY)"), SQLITE_OK);
    ASSERT_EQ(db.exec("INSERT INTO u VALUES('a')"), SQLITE_OK);
    SqliteStatement duplicate;
    ASSERT_EQ(duplicate.prepare(db, "INSERT INTO u VALUES('a')"), SQLITE_OK);
    EXPECT_EQ(duplicate.step() & 0xff, SQLITE_CONSTRAINT);
    EXPECT_EQ(db.errorCode(), SQLITE_CONSTRAINT_PRIMARYKEY);
    EXPECT_NE(db.exec("NOT SQL"), SQLITE_OK);
    EXPECT_NE(db.errorMessage().find("syntax error"), std::string::npos) << db.errorMessage();
}

TEST_F(SqliteTest, MovedFromObjectsAreEmpty) {
    SqliteStatement first;
    ASSERT_EQ(first.prepare(db, "SELECT 42"), SQLITE_OK);
    SqliteStatement second(std::move(first));
    EXPECT_FALSE(first.isPrepared());  // NOLINT(bugprone-use-after-move): checking the moved-from state
    EXPECT_EQ(first.step(), SQLITE_MISUSE);
    EXPECT_EQ(first.bindInt(1, 1), SQLITE_MISUSE);
    ASSERT_EQ(second.step(), SQLITE_ROW);
    EXPECT_EQ(second.columnInt(0), 42);
    EXPECT_EQ(second.sql(), "SELECT 42");

    SqliteDatabase other(std::move(db));
    EXPECT_FALSE(db.isOpen());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(db.exec("SELECT 1"), SQLITE_MISUSE);
    EXPECT_TRUE(other.isOpen());
    EXPECT_EQ(other.exec("INSERT INTO t(i) VALUES(1)"), SQLITE_OK);

    // A statement may outlive its connection's owner; the connection stays until it is finalised.
    SqliteStatement survivor;
    ASSERT_EQ(survivor.prepare(other, "SELECT count(*) FROM t"), SQLITE_OK);
    other.close();
    ASSERT_EQ(survivor.step(), SQLITE_ROW);
    EXPECT_EQ(survivor.columnInt(0), 1);
    EXPECT_EQ(survivor.finalize(), SQLITE_OK);
    EXPECT_FALSE(survivor.isPrepared());
}

TEST_F(SqliteTest, DataSurvivesReopening) {
    ASSERT_EQ(db.exec("INSERT INTO t(s) VALUES('kept')"), SQLITE_OK);
    db.close();
    SqliteDatabase reader;
    ASSERT_TRUE(reader.open(folder / "test.sqlite", SqliteDatabase::kOpenReadOnly)) << reader.errorMessage();
    EXPECT_TRUE(reader.isReadOnly());
    SqliteStatement select;
    ASSERT_EQ(select.prepare(reader, "SELECT s FROM t"), SQLITE_OK);
    ASSERT_EQ(select.step(), SQLITE_ROW);
    EXPECT_EQ(select.columnText(0), "kept");
    EXPECT_NE(reader.exec("INSERT INTO t(s) VALUES('no')") & 0xff, SQLITE_OK);
}

// Files SQLite must not be let loose on: the open fails, says why, and the bytes stay.
struct UnusableFile {
    const char* name;
    std::string bytes;
    const char* reason;
};

void PrintTo(const UnusableFile& file, std::ostream* out) { *out << file.name; }

class SqliteUnusableFileTest : public ::testing::TestWithParam<UnusableFile> {};

TEST_P(SqliteUnusableFileTest, IsRefusedAndLeftUntouched) {
    TempFolder folder;
    const auto file = folder / "victim.sqlite";
    TempFolder::writeFile(file, GetParam().bytes);
    const auto before = TempFolder::readFile(file);

    SqliteDatabase db;
    EXPECT_FALSE(db.open(file));
    EXPECT_FALSE(db.isOpen());
    EXPECT_EQ(db.errorCode() & 0xff, SQLITE_NOTADB);
    EXPECT_NE(db.errorMessage().find(GetParam().reason), std::string::npos) << db.errorMessage();
    EXPECT_NE(db.errorMessage().find(file.string()), std::string::npos) << db.errorMessage();
    EXPECT_EQ(TempFolder::readFile(file), before);
    EXPECT_FALSE(std::filesystem::exists(folder / "victim.sqlite-journal"));
    EXPECT_FALSE(std::filesystem::exists(folder / "victim.sqlite-wal"));
}

INSTANTIATE_TEST_SUITE_P(
    Files, SqliteUnusableFileTest,
    ::testing::Values(UnusableFile{"Text", "key=value\nmore text that is not a database\n", "not an SQLite database"},
                      UnusableFile{"OneByte", "x", "not an SQLite database"},
                      UnusableFile{"Zeros", std::string(4096, '\0'), "not an SQLite database"},
                      UnusableFile{"HeaderOnly", std::string("SQLite format 3\0", 16), "not an SQLite database"}),
    test::ParamName());

TEST(SqliteFiles, ReadOnlyFileIsRefusedForWritingButOpensForReading) {
    TempFolder folder;
    const auto file = folder / "ro.sqlite";
    ASSERT_TRUE(test::runSql(file, "CREATE TABLE t(x); INSERT INTO t VALUES(1)"));
    std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::group_read);
    const auto before = TempFolder::readFile(file);

    SqliteDatabase writer;
    EXPECT_FALSE(writer.open(file));
    EXPECT_EQ(writer.errorCode() & 0xff, SQLITE_READONLY);
    EXPECT_NE(writer.errorMessage().find("read-only"), std::string::npos) << writer.errorMessage();
    EXPECT_EQ(TempFolder::readFile(file), before);

    SqliteDatabase reader;
    EXPECT_TRUE(reader.open(file, SqliteDatabase::kOpenReadOnly)) << reader.errorMessage();
    EXPECT_EQ(TempFolder::readFile(file), before);
}

TEST(SqliteFiles, MissingFileWithoutCreateAndFoldersAreRefused) {
    TempFolder folder;
    SqliteDatabase db;
    EXPECT_FALSE(db.open(folder / "absent.sqlite", SqliteDatabase::kOpenReadWrite));
    EXPECT_EQ(db.errorCode() & 0xff, SQLITE_CANTOPEN);
    EXPECT_FALSE(std::filesystem::exists(folder / "absent.sqlite"));
    EXPECT_FALSE(db.open(folder.path()));
    EXPECT_EQ(db.errorCode() & 0xff, SQLITE_CANTOPEN);
    EXPECT_NE(db.errorMessage().find("folder"), std::string::npos) << db.errorMessage();
}

TEST(SqliteFiles, ClosedConnectionAnswersMisuse) {
    SqliteDatabase db;
    EXPECT_FALSE(db.isOpen());
    EXPECT_FALSE(db.isReadOnly());
    EXPECT_EQ(db.exec("SELECT 1"), SQLITE_MISUSE);
    EXPECT_EQ(db.setBusyTimeout(10), SQLITE_MISUSE);
    EXPECT_EQ(db.errorMessage(), "database is not open");
    SqliteStatement stmt;
    EXPECT_EQ(stmt.prepare(db, "SELECT 1"), SQLITE_MISUSE);
    EXPECT_FALSE(stmt);
    EXPECT_EQ(stmt.reset(), SQLITE_MISUSE);
    EXPECT_EQ(stmt.columnCount(), 0);
}

TEST(SqliteFiles, InMemoryDatabaseNeedsNoFile) {
    SqliteDatabase db;
    ASSERT_TRUE(db.open(":memory:")) << db.errorMessage();
    ASSERT_EQ(db.exec("CREATE TABLE t(x); INSERT INTO t VALUES(3)"), SQLITE_OK);
    SqliteStatement stmt;
    ASSERT_EQ(stmt.prepare(db, "SELECT x * 2 FROM t"), SQLITE_OK);
    ASSERT_EQ(stmt.step(), SQLITE_ROW);
    EXPECT_EQ(stmt.columnInt(0), 6);
}

}  // namespace
}  // namespace tarvo
