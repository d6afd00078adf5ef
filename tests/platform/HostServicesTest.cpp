// The clock, notifications, queues and the Islamic calendar that stand in for the platform.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "platform/host/DispatchQueue.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "platform/host/NotificationCenter.h"
#include "tarvo/platform/HostServices.h"

using namespace tarvo;

TEST(HostClock, InstalledSourcesAnswerForNow) {
    double t = 100;
    Clock::install([&t] { return Date(t += 1); });
    EXPECT_EQ(Clock::now(), Date(101));
    EXPECT_EQ(Date::now(), Date(102));  // every reading of now goes through the clock
    Clock::remove();
    EXPECT_GT(Clock::now().timeIntervalSince1970(), 1.7e9);  // the system clock again (after 2023)
}

TEST(HostServices, HostsDriveTheMainQueueAndObserveTheLibrarysNotifications) {
    std::vector<std::string> seen;
    const auto token = HostServices::addObserver("Moved", [&](const std::string& name, const std::any& object) {
        seen.push_back(name + (object.has_value() ? std::to_string(std::any_cast<int>(object)) : ""));
    });
    NotificationCenter::defaultCenter().post("Moved");  // delivered at once, on the posting thread
    EXPECT_EQ(seen, std::vector<std::string>{"Moved"});
    runAsyncOnMainQueue([] { NotificationCenter::defaultCenter().post("Moved", 1); });
    runAsyncOnMainQueue([] { NotificationCenter::defaultCenter().post("Other", 2); });
    EXPECT_EQ(seen.size(), 1u) << "nothing runs before the host drives the queue";
    EXPECT_EQ(HostServices::drainMainQueue(), 2u);
    EXPECT_EQ(seen, (std::vector<std::string>{"Moved", "Moved1"})) << "only the observed name, with its object";
    HostServices::removeObserver(token);
    NotificationCenter::defaultCenter().post("Moved", 3);
    EXPECT_EQ(seen.size(), 2u);

    std::atomic<bool> done{false};
    runAsyncInBackgroundQueue([&] { runAsyncOnMainQueue([&] { done = true; }); });
    EXPECT_TRUE(HostServices::runMainQueueUntil([&] { return done.load(); }, std::chrono::seconds(20)));
    EXPECT_FALSE(HostServices::runMainQueueUntil([] { return false; }, std::chrono::milliseconds(20)));
}

TEST(HostQueues, MainQueueOrderAndSerialQueues) {
    DispatchQueue& main = DispatchQueue::main();
    main.drain();
    std::vector<int> order;
    runAsyncOnMainQueue([&] {
        order.push_back(1);
        // Already on the main queue: runs at once instead of waiting for itself.
        runAsyncOnMainQueueWithoutDeadlocking([&] { order.push_back(2); });
        runAsyncOnMainQueue([&] { order.push_back(4); });
        order.push_back(3);
    });
    EXPECT_TRUE(order.empty());  // nothing runs until the host drives the queue
    EXPECT_FALSE(main.isCurrent());
    EXPECT_EQ(main.drain(), 2u);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));

    // A serial queue of its own runs blocks in order on one thread.
    auto serial = std::make_unique<DispatchQueue>("test.serial");
    std::vector<int> serialOrder;
    std::atomic<int> count{0};
    for (int i = 0; i < 50; ++i) serial->async([&, i] { serialOrder.push_back(i); ++count; });
    EXPECT_TRUE(main.runUntil([&] { return count.load() == 50; }, std::chrono::seconds(10)));
    serial.reset();
    for (int i = 0; i < 50; ++i) EXPECT_EQ(serialOrder[static_cast<size_t>(i)], i);
}

TEST(HostIslamicCalendar, RamadanWithTheCorrection) {
    const IslamicCalendar islamic(*TimeZone::withName("Asia/Riyadh"));
    const Calendar gregorian(*TimeZone::withName("Asia/Riyadh"));
    auto noon = [&](int64_t y, int64_t m, int64_t d) { return gregorian.dateFromComponents({y, m, d, 12}); };
    // Ramadan 1445 of the arithmetical calendar runs from 11 March to 9 April 2024.
    EXPECT_FALSE(isDateInRamdan(noon(2024, 3, 10), islamic, 0));
    EXPECT_TRUE(isDateInRamdan(noon(2024, 3, 10), islamic, 1));
    EXPECT_TRUE(isDateInRamdan(noon(2024, 4, 9), islamic, 0));
    EXPECT_FALSE(isDateInRamdan(noon(2024, 4, 10), islamic, 0));
    EXPECT_FALSE(isDateInRamdan(noon(2024, 4, 9), islamic, 1));
}
