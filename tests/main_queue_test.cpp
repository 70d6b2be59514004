#include "platform/Guard.h"
#include "platform/MainQueue.h"
#include "platform/RangeError.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace helpers;

namespace {
std::vector<int> g_ran;
constexpr int kPlain = -1;
constexpr int kDelayed = -2;
void plainJob(void*) {
    g_ran.push_back(kPlain);
}
void countedJob(void* context) {
    g_ran.push_back(*static_cast<int*>(context));
}
} // namespace

// Jobs from the MIDI thread (plain, through the lock-free ring) and from anywhere else run in
// the order they were queued, also after the ring has filled and the overflow takes over,
// and a delayed job joins the queue behind everything already waiting when its time comes.
TEST(MainQueue, EveryJobRunsInTheOrderItWasQueuedPastAFullRing) {
    g_ran.clear();
    constexpr int kPairs = 50000; // 100,000 jobs: past the ring's 65,536 slots
    std::thread midi([] {
        for (int i = 0; i < kPairs; ++i) {
            MainQueue::asyncPlain(&plainJob, nullptr);
            MainQueue::async([i] { g_ran.push_back(i); });
        }
    });
    midi.join();
    MainQueue::after(0, [] { g_ran.push_back(kDelayed); });
    for (int i = kPairs; i < kPairs + 100; ++i)
        MainQueue::async([i] { g_ran.push_back(i); });
    ASSERT_TRUE(waitUntil([] { return g_ran.size() == 2 * kPairs + 101; }, 60000));

    std::vector<int> expected;
    for (int i = 0; i < kPairs; ++i) {
        expected.push_back(kPlain);
        expected.push_back(i);
    }
    for (int i = kPairs; i < kPairs + 100; ++i)
        expected.push_back(i);
    expected.push_back(kDelayed);
    EXPECT_EQ(g_ran, expected);

    // Once drained, the ring is used again and order still holds.
    g_ran.clear();
    MainQueue::async([] { g_ran.push_back(1); });
    MainQueue::asyncPlain(&plainJob, nullptr);
    MainQueue::async([] { g_ran.push_back(2); });
    ASSERT_TRUE(waitUntil([] { return g_ran.size() == 3; }));
    EXPECT_EQ(g_ran, (std::vector<int>{1, kPlain, 2}));
}

// A job that throws ends with a log line; the jobs behind it still run.
TEST(MainQueue, AFailingJobDoesNotStopTheQueue) {
    g_ran.clear();
    MainQueue::async([] { throw std::out_of_range("index 3 beyond bounds"); });
    MainQueue::async([] { g_ran.push_back(7); });
    ASSERT_TRUE(waitUntil([] { return !g_ran.empty(); }));
    EXPECT_EQ(g_ran, std::vector<int>{7});
}

// An action that ends by design returns on its own, with the same line a failure would give,
// naming the entry point it ran in, also when it ran inside another.
TEST(MainQueue, AnOperationThatEndsNamesItsEntryPoint) {
    LogCapture log;
    g_ran.clear();
    MainQueue::async([] {
        const QList<int> empty;
        EXPECT_EQ(RangeError::atOrEnd(empty, 0), nullptr);
        EXPECT_TRUE(guarded("inner", [] { endOperation(RangeError("inner ended")); }));
        endOperation(RangeError("outer ended"));
        g_ran.push_back(1);
    });
    ASSERT_TRUE(waitUntil([] { return !g_ran.empty(); }));
    EXPECT_TRUE(log.contains("*** main queue job: *** -[__NSArrayI objectAtIndex:]: index 0 "
                             "beyond bounds [0 .. -1]"));
    EXPECT_TRUE(log.contains("*** inner: inner ended"));
    EXPECT_TRUE(log.contains("*** main queue job: outer ended"))
        << log.lines().join('\n').toStdString();
}

// The plain jobs waiting for an owner that goes are dropped; everything else runs, in order,
// whether it waited in the ring or in the overflow behind it.
TEST(MainQueue, JobsOfAnOwnerThatGoesAreDropped) {
    g_ran.clear();
    int gone = 1, stays = 2;
    constexpr int kEach = 40000; // 80,000 plain jobs: the overflow holds some of them
    std::thread midi([&] {
        for (int i = 0; i < kEach; ++i) {
            MainQueue::asyncPlain(&countedJob, &gone);
            MainQueue::asyncPlain(&countedJob, &stays);
        }
    });
    midi.join();
    MainQueue::cancel(&gone);
    MainQueue::async([] { g_ran.push_back(3); });
    ASSERT_TRUE(waitUntil([] { return !g_ran.empty() && g_ran.back() == 3; }, 60000));
    std::vector<int> expected(kEach, 2);
    expected.push_back(3);
    EXPECT_EQ(g_ran, expected);
}
