#include "krn/time/clock.h"

#include <gtest/gtest.h>

#include <chrono>

namespace quorvanti {
namespace {

std::int64_t systemMilliseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The system keeps its seconds by a tick of its own, which lags behind the milliseconds by a few of these.
TEST(Clock, GoesWithTheSystems) {
    constexpr std::int64_t tick = 20;
    const std::int64_t before = systemMilliseconds();
    const std::int64_t seconds = currentSeconds();
    const std::int64_t milliseconds = currentMilliseconds();
    const std::int64_t after = systemMilliseconds();
    EXPECT_GE(seconds, (before - tick) / 1000);
    EXPECT_LE(seconds, after / 1000);
    EXPECT_GE(milliseconds, before);
    EXPECT_LE(milliseconds, after);
}

TEST(Clock, RoundsTheMillisecondsOfAnotherSourceDown) {
    setClockSource([] { return std::int64_t{1999}; });
    EXPECT_EQ(currentMilliseconds(), 1999);
    EXPECT_EQ(currentSeconds(), 1);
    setClockSource([] { return std::int64_t{-1}; });
    EXPECT_EQ(currentSeconds(), -1);
    setClockSource([] { return std::int64_t{-1000}; });
    EXPECT_EQ(currentSeconds(), -1);
    setClockSource([] { return std::int64_t{-1001}; });
    EXPECT_EQ(currentSeconds(), -2);
    setClockSource(nullptr);
    EXPECT_GT(currentSeconds(), 1700000000);
}

}  // namespace
}  // namespace quorvanti
