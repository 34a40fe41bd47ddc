// Critical sections that become usable on first use.
#include "krn/thr/thr.h"
#include "tests/support/process_end.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

using testing::StrEq;

class ThrCSDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST(ThrCS, IsReadyWhenItsMarkerReadsEnod) {
    ThrCS section;
    section.count = 5;
    section.tag = "left over";
    ThrCSCreate(section);
    const std::uint32_t marker = section.marker;
    EXPECT_EQ(std::memcmp(&marker, "ENOD", 4), 0);
    EXPECT_EQ(section.owner, -1);
    EXPECT_EQ(section.count, 0);
    EXPECT_EQ(section.tag, nullptr);
}

TEST(ThrCS, IsMadeOnlyOnce) {
    ASSERT_EQ(ThrInitialize(), 0);
    ThrCS section;
    ThrCSCreate(section);
    section.tag = "kept";
    ASSERT_TRUE(ThrCSLock(section));
    ThrCSCreate(section);
    EXPECT_EQ(section.count, 1);
    EXPECT_STREQ(section.tag, "kept");
    EXPECT_EQ(ThrCSUnlock(section), 0);
}

TEST(ThrCS, HasNoEffectBeforeTheLayerIsStarted) {
    ThrCS section;
    ThrCSCreate(section);
    EXPECT_FALSE(ThrCSLock(section));
    EXPECT_EQ(section.count, 0);
    EXPECT_EQ(ThrCSUnlock(section), 8);
    EXPECT_EQ(section.count, 0);
}

TEST(ThrCS, HasNoEffectBeforeItIsReady) {
    ASSERT_EQ(ThrInitialize(), 0);
    ThrCS section;
    EXPECT_FALSE(ThrCSLock(section));
    EXPECT_EQ(ThrCSUnlock(section), 8);
    EXPECT_EQ(section.count, 0);
}

TEST(ThrCS, AGuardReleasesOnlyWhatItTook) {
    ASSERT_EQ(ThrInitialize(), 0);
    ThrCS section;
    {
        const ThrCSGuard guard(section);
        ThrCSCreate(section);
    }
    EXPECT_EQ(section.count, 0);
    {
        const ThrCSGuard guard(section);
        EXPECT_EQ(section.count, 1);
    }
    EXPECT_EQ(section.count, 0);
}

TEST(ThrCS, ManyThreadsMakeItAtOnceAndKeepEachOtherOut) {
    ASSERT_EQ(ThrInitialize(), 0);
    ThrCS section;
    int guarded = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&] {
            ThrCSCreate(section);
            for (int round = 0; round < 1000; ++round) {
                const ThrCSGuard guard(section);
                ++guarded;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(guarded, 16000);
    EXPECT_EQ(section.count, 0);
}

TEST_F(ThrCSDeathTest, OneReleaseTooManyEndsTheProcess) {
    EXPECT_EXIT(
        {
            ThrInitialize();
            ThrCS section;
            ThrCSCreate(section);
            ThrCSLock(section);
            ThrCSUnlock(section);
            ThrCSUnlock(section);
        },
        test::endedByAbort, StrEq("ThrCSUnlock: PANIC: #unlock > #lock, tag: \"not set\"\n"));
}

TEST_F(ThrCSDeathTest, TheTagIsNamed) {
    EXPECT_EXIT(
        {
            ThrInitialize();
            ThrCS section;
            ThrCSCreate(section);
            section.tag = "MUTEX_SSF";
            ThrCSUnlock(section);
        },
        test::endedByAbort, StrEq("ThrCSUnlock: PANIC: #unlock > #lock, tag: \"MUTEX_SSF\"\n"));
}

}  // namespace
}  // namespace quorvanti
