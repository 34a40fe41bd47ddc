// The recursive mutex.
#include "krn/thr/thr.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/process_end.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

using testing::StrEq;

class ThrRecMtxDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST(ThrRecMtx, CountsWhatItsOwnerTakes) {
    ThrRecMtx mutex;
    ThrRecMtxInit(mutex, "tag");
    EXPECT_EQ(mutex.owner, -1);
    EXPECT_EQ(mutex.count, 0);
    ThrRecMtxLock(mutex);
    ThrRecMtxLock(mutex);
    EXPECT_EQ(mutex.count, 2);
    ThrRecMtxUnlock(mutex);
    EXPECT_EQ(mutex.count, 1);
    ThrRecMtxUnlock(mutex);
    EXPECT_EQ(mutex.count, 0);
}

TEST(ThrRecMtx, KeepsACopyOfItsTag) {
    char tag[] = "QUORVANTI_SSF";
    ThrRecMtx mutex;
    ThrRecMtxInit(mutex, tag);
    std::memset(tag, 'x', sizeof tag - 1);
    EXPECT_STREQ(mutex.tag.get(), "QUORVANTI_SSF");
}

TEST(ThrRecMtx, GoesWithoutATagWhenMemoryIsShort) {
    ThrRecMtx mutex;
    {
        const test::AllocationFailure failure;
        ThrRecMtxInit(mutex, "tag");
    }
    EXPECT_EQ(mutex.tag, nullptr);
    const ThrRecMtxGuard guard(mutex);
    EXPECT_EQ(mutex.count, 1);
}

TEST(ThrRecMtx, KeepsOtherThreadsOut) {
    ThrRecMtx mutex;
    ThrRecMtxInit(mutex, nullptr);
    int guarded = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const ThrRecMtxGuard outer(mutex);
                const ThrRecMtxGuard inner(mutex);
                ++guarded;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(guarded, 16000);
    EXPECT_EQ(mutex.count, 0);
}

TEST_F(ThrRecMtxDeathTest, OneReleaseTooManyEndsTheProcessNamingTheTag) {
    EXPECT_EXIT(
        {
            ThrRecMtx mutex;
            ThrRecMtxInit(mutex, "QUORVANTI_SSF");
            ThrRecMtxLock(mutex);
            ThrRecMtxUnlock(mutex);
            ThrRecMtxUnlock(mutex);
        },
        test::endedByAbort, StrEq("ThrRecMtxUnlock: PANIC: #unlock > #lock, tag: \"QUORVANTI_SSF\"\n"));
}

TEST_F(ThrRecMtxDeathTest, ALockWithoutTagIsNotSet) {
    EXPECT_EXIT(
        {
            ThrRecMtx mutex;
            ThrRecMtxInit(mutex, nullptr);
            ThrRecMtxUnlock(mutex);
        },
        test::endedByAbort, StrEq("ThrRecMtxUnlock: PANIC: #unlock > #lock, tag: \"not set\"\n"));
}

}  // namespace
}  // namespace quorvanti
