// Start and end of the thread layer.
#include "krn/thr/thr.h"
#include "krn/thr/thr_platform.h"
#include "krn/time/sleep.h"
#include "tests/krn/thr/thread_number.h"
#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

TEST(ThrLayer, StartsOnceAndAnswersZeroAgain) {
    EXPECT_EQ(ThrInitialize(), 0);
    EXPECT_EQ(ThrInitialize(), 0);
}

TEST(ThrLayer, StartsOnceFromManyThreads) {
    static std::atomic<int> registered{0};
    setThrHandleSource([](ThrHandle& handle) {
        ++registered;
        return threadHandleDuplicate(handle);
    });
    std::array<std::int32_t, 32> results;
    results.fill(-1);
    std::vector<std::thread> threads;
    for (std::int32_t& result : results) {
        threads.emplace_back([&result] { result = ThrInitialize(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::int32_t result : results) {
        EXPECT_EQ(result, 0);
    }
    EXPECT_EQ(registered, 1);
}

TEST(ThrLayer, AnswersTwelveWhenTheThreadHasNoHandleAndStartsLater) {
    setThrHandleSource([](ThrHandle&) { return false; });
    EXPECT_EQ(ThrInitialize(), 12);
    setThrHandleSource(nullptr);
    ThrCS section;
    ThrCSCreate(section);
    EXPECT_EQ(ThrCSUnlock(section), 8) << "the layer must not count as started";
    EXPECT_EQ(ThrInitialize(), 0);
}

TEST(ThrLayer, CleanupForgetsTheRegisteredThreadOnce) {
    EXPECT_EQ(ThrCleanup(), 5);
    ASSERT_EQ(ThrInitialize(), 0);
    EXPECT_EQ(ThrCleanup(), 0);
    EXPECT_EQ(ThrCleanup(), 5);
}

// Ends the process; what was registered for the exit before the start runs after everything that the start registers.
[[noreturn]] void startAndExit() {
    std::atexit([] { std::fprintf(stderr, "cleanup answers %d", ThrCleanup()); });
    std::exit(ThrInitialize());
}

class ThrLayerDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ThrLayerDeathTest, AtTheExitOfTheProcessTheRegisteredThreadIsForgotten) {
    EXPECT_EXIT(startAndExit(), testing::ExitedWithCode(0), "cleanup answers 5");
}

TEST_F(ThrLayerDeathTest, StartedFromWithinTheLibraryNothingRunsAtTheExit) {
    EXPECT_EXIT(
        {
            ThrStartsFromWithin();
            startAndExit();
        },
        testing::ExitedWithCode(0), "cleanup answers 0");
}

TEST(ThrLayer, StartsWithoutRegisteringTheThreadWhenMemoryIsShort) {
    {
        const test::AllocationFailure failure;
        EXPECT_EQ(ThrInitialize(), 0);
    }
    EXPECT_EQ(ThrCleanup(), 5);
    ThrCS section;
    ThrCSCreate(section);
    EXPECT_TRUE(ThrCSLock(section));
    EXPECT_EQ(ThrCSUnlock(section), 0);
}

TEST(ThrLayer, NumbersThreadsAsTheSystemDoes) {
    EXPECT_EQ(ThrCurrentId(), test::systemThreadNumber());
    std::uint64_t other = 0;
    std::thread([&other] { other = ThrCurrentId(); }).join();
    EXPECT_NE(other, ThrCurrentId());
    EXPECT_NE(other, kThrNoId);
}

TEST(ThrLayer, SleepsByTheTimeServices) {
    static std::uint32_t asked = 0;
    setSleepSource([](std::uint32_t milliseconds) {
        asked = milliseconds;
        return true;
    });
    EXPECT_EQ(ThrSleep(1234), 0);
    EXPECT_EQ(asked, 1234u);
    setSleepSource(nullptr);
}

}  // namespace
}  // namespace quorvanti
