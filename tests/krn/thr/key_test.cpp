// Thread keys.
#include "krn/thr/thr.h"
#include "krn/thr/thr_platform.h"
#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

std::atomic<int> destroyed{0};
void countDestroyed(void* value) {
    destroyed += *static_cast<int*>(value);
}

TEST(ThrKey, CreatedTwiceItAnswersThreeAndKeepsItsIndex) {
    ThrKey key = kThrNoKeyYet;
    ASSERT_EQ(ThrKeyCreate(key, nullptr), 0);
    const ThrKey first = key;
    EXPECT_NE(first, kThrNoKeyYet);
    EXPECT_EQ(ThrKeyCreate(key, nullptr), 3);
    EXPECT_EQ(key, first);
}

TEST(ThrKey, AnIndexThatNobodyCreatedIsReplaced) {
    ThrKey key = 0x1234567;
    ASSERT_EQ(ThrKeyCreate(key, nullptr), 0);
    EXPECT_NE(key, 0x1234567u);
}

TEST(ThrKey, HoldsAValueForEachThread) {
    ThrKey key = kThrNoKeyYet;
    ASSERT_EQ(ThrKeyCreate(key, nullptr), 0);
    int mine = 1;
    ASSERT_TRUE(ThrKeySet(key, &mine));
    void* others = &mine;
    std::thread([&] { others = ThrKeyGet(key); }).join();
    EXPECT_EQ(others, nullptr);
    EXPECT_EQ(ThrKeyGet(key), &mine);
}

TEST(ThrKey, HandsAValueToTheDestructorWhenTheThreadEnds) {
    ThrKey key = kThrNoKeyYet;
    ASSERT_EQ(ThrKeyCreate(key, &countDestroyed), 0);
    int value = 5;
    std::thread([&] { ThrKeySet(key, &value); }).join();
    EXPECT_EQ(destroyed, 5);
    std::thread([&] { ThrKeySet(key, nullptr); }).join();
    EXPECT_EQ(destroyed, 5) << "a null value is nobody's";
}

TEST(ThrKey, WithoutAKeyThereIsNoValue) {
    int value = 1;
    EXPECT_FALSE(ThrKeySet(kThrNoKeyYet, &value));
    EXPECT_EQ(ThrKeyGet(kThrNoKeyYet), nullptr);
}

TEST(ThrKey, AnswersFourteenWhenTheSystemHasNoneLeft) {
    std::vector<ThrKey> taken;
    ThrKey key = kThrNoKeyYet;
    while (threadKeyAllocate(key, nullptr)) {
        taken.push_back(key);
    }
    ThrKey wanted = 7;
    threadKeyFree(taken.back());
    ASSERT_EQ(ThrKeyCreate(wanted, nullptr), 0);
    ThrKey second = 0x1234567;
    EXPECT_EQ(ThrKeyCreate(second, nullptr), 14);
    EXPECT_EQ(second, kThrNoKeyYet);
}

TEST(ThrKey, AnswersSevenWithoutMemoryAndGivesTheSystemsKeyBack) {
    ThrKey key = kThrNoKeyYet;
    {
        const test::AllocationFailure failure;
        for (int attempt = 0; attempt < 5000; ++attempt) {
            ASSERT_EQ(ThrKeyCreate(key, nullptr), 7);
            ASSERT_EQ(key, kThrNoKeyYet);
        }
    }
    EXPECT_EQ(ThrKeyCreate(key, nullptr), 0);
}

TEST(ThrKey, ThreadsThatCreateItAtOnceShareIt) {
    ThrKey key = kThrNoKeyYet;
    std::array<ThrKey, 16> seen;
    std::atomic<int> created{0};
    std::vector<std::thread> threads;
    for (ThrKey& mine : seen) {
        threads.emplace_back([&] {
            if (ThrKeyCreate(key, nullptr) == 0) {
                ++created;
            }
            mine = key;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(created, 1);
    for (const ThrKey mine : seen) {
        EXPECT_EQ(mine, key);
    }
}

}  // namespace
}  // namespace quorvanti
