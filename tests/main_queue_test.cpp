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
constexpr int kPlain = -1, kDelayed = -2, kGone = -3;
void countedJob(void* context) {
    g_ran.push_back(*static_cast<int*>(context));
}
} // namespace

// A delayed job joins behind all that waits; an owner that goes takes its plain jobs along.
TEST(MainQueue, EveryJobRunsInTheOrderItWasQueuedPastAFullRing) {
    g_ran.clear();
    constexpr int kRounds = 30000; // 90,000 jobs: past the ring's 65,536 slots
    static int plain = kPlain, gone = kGone;
    std::thread midi([] {
        for (int i = 0; i < kRounds; ++i) {
            MainQueue::asyncPlain(&countedJob, &gone);
            MainQueue::asyncPlain(&countedJob, &plain);
            MainQueue::async([i] { g_ran.push_back(i); });
        }
    });
    midi.join();
    MainQueue::cancel(&gone);
    MainQueue::after(0, [] { g_ran.push_back(kDelayed); });
    for (int i = kRounds; i < kRounds + 100; ++i)
        MainQueue::async([i] { g_ran.push_back(i); });
    ASSERT_TRUE(waitUntil([] { return !g_ran.empty() && g_ran.back() == kDelayed; }, 60000));

    std::vector<int> expected;
    for (int i = 0; i < kRounds; ++i) {
        expected.push_back(kPlain);
        expected.push_back(i);
    }
    for (int i = kRounds; i < kRounds + 100; ++i)
        expected.push_back(i);
    expected.push_back(kDelayed);
    EXPECT_EQ(g_ran, expected);

    // Once drained, the ring is used again and order still holds.
    g_ran.clear();
    MainQueue::async([] { g_ran.push_back(1); });
    MainQueue::asyncPlain(&countedJob, &plain);
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

// An action that ends by design logs the entry point it ran in, also when nested.
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
    EXPECT_TRUE(log.contains("*** main queue job: outer ended"))
        << log.lines().join('\n').toStdString();
}
