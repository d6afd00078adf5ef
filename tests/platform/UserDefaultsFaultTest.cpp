// Preferences when the storage fails under them: a full or read-only disk, a writer
// killed mid-way, another process holding the lock.
#include <csignal>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/FaultyStorage.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"
#include "support/SqliteScript.h"
#include "support/StoreWriter.h"
#include "tarvo/platform/UserDefaults.h"

using namespace tarvo;
using tarvo::test::FaultyStorage;

TEST(UserDefaultsFaults, FullOrReadOnlyDiskKeepsThePreviousValue) {
    test::TempFolder temp;
    const auto path = temp / "shared.sqlite";
    test::LogCapture log;
    FaultyStorage storage;
    {
        UserDefaults store(path);
        ASSERT_TRUE(store.isPersistent());
        store.setString("CityName", "Makkah");
        ASSERT_TRUE(store.synchronize());

        for (const auto& [fault, reason] : FaultyStorage::kFaultsAndReasons) {
            log.clear();
            storage.set(fault);
            EXPECT_FALSE(store.setString("CityName", "Madinah")) << reason;
            EXPECT_FALSE(store.setInteger("NewKey", 7)) << reason;
            storage.set(FaultyStorage::Fault::none);
            EXPECT_FALSE(store.synchronize()) << "the lost writes are reported once more: " << reason;
            EXPECT_TRUE(log.hasError("writing 'CityName' failed: " + std::string(reason))) << reason;
            EXPECT_EQ(store.stringForKey("CityName"), "Makkah") << reason;
            EXPECT_FALSE(store.objectForKey("NewKey")) << reason;
        }
        // The disk has room again: the same store writes as before.
        EXPECT_TRUE(store.setString("CityName", "Jeddah"));
        EXPECT_TRUE(store.synchronize());
    }
    UserDefaults reopened(path);
    EXPECT_EQ(reopened.stringForKey("CityName"), "Jeddah");
    EXPECT_FALSE(reopened.objectForKey("NewKey"));
    EXPECT_EQ(test::queryText(path, "PRAGMA integrity_check"), "ok");
}

TEST(UserDefaultsFaults, WriterKilledMidwayLosesNoCommittedWrite) {
    test::TempFolder temp;
    const auto path = temp / "shared.sqlite";
    const std::vector<int> committed = test::writesBeforeKill("preferences", path, 300);
    ASSERT_GE(committed.size(), 300u);

    EXPECT_EQ(test::queryText(path, "PRAGMA integrity_check"), "ok");
    UserDefaults store(path);
    ASSERT_TRUE(store.isPersistent());
    for (int i : committed) ASSERT_EQ(store.integerForKey("key." + std::to_string(i)), i) << "write " << i << " lost";
    // The store goes on taking writes.
    store.setBool("AfterTheCrash", true);
    EXPECT_TRUE(store.boolForKey("AfterTheCrash"));
}

TEST(UserDefaultsFaults, LockHeldBeyondTheTimeOutIsAnErrorNotAHang) {
    test::TempFolder temp;
    const auto path = temp / "shared.sqlite";
    test::LogCapture log;
    UserDefaults store(path);
    store.setString("CityName", "Makkah");
    {
        test::ChildProcess holder(TARVO_STORE_WRITER_PATH, {"hold", path.string()});
        ASSERT_EQ(test::waitForLines(holder, 1), "locked\n");
        EXPECT_FALSE(store.setString("CityName", "Madinah"));  // waits out the busy time-out, then gives up
        holder.kill(SIGKILL);
    }
    EXPECT_TRUE(log.hasError("writing 'CityName' failed: database is locked"));
    EXPECT_EQ(store.stringForKey("CityName"), "Makkah");
}
