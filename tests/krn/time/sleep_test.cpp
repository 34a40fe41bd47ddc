#include "krn/time/sleep.h"

#include "krn/time/clock.h"
#include "tests/krn/time/interruption.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

// A clock and a sleep that a test scripts: each sleep passes some time and is interrupted or not.
struct Step {
    std::int64_t passes;
    bool whole;
};
std::vector<Step> script;
std::vector<std::uint32_t> asked;
std::int64_t now = 0;

class Sleep : public testing::Test {
protected:
    void SetUp() override {
        script.clear();
        asked.clear();
        now = 1000000;
        setClockSource([] { return now; });
        setSleepSource([](std::uint32_t milliseconds) {
            asked.push_back(milliseconds);
            const Step step = script.at(asked.size() - 1);
            now += step.passes;
            return step.whole;
        });
    }
    void TearDown() override {
        setClockSource(nullptr);
        setSleepSource(nullptr);
    }
};

using Asked = std::vector<std::uint32_t>;

TEST_F(Sleep, AnswersZeroAfterTheWholeTime) {
    script = {{500, true}};
    EXPECT_EQ(sleepMilliseconds(500), 0);
    EXPECT_EQ(asked, Asked({500}));
}

TEST_F(Sleep, GoesOnWithWhatRemainsAfterAnInterruption) {
    script = {{100, false}, {150, false}, {250, true}};
    EXPECT_EQ(sleepMilliseconds(500), 0);
    EXPECT_EQ(asked, Asked({500, 400, 250}));
}

TEST_F(Sleep, Answers258WhenTheTimeHadPassedAtAnInterruption) {
    script = {{501, false}};
    EXPECT_EQ(sleepMilliseconds(500), 258);
    EXPECT_EQ(asked, Asked({500}));
}

TEST_F(Sleep, ExactlyTheTimeIsNotMoreThanTheTime) {
    script = {{500, false}, {0, true}};
    EXPECT_EQ(sleepMilliseconds(500), 0);
    EXPECT_EQ(asked, Asked({500, 0}));
}

TEST_F(Sleep, AClockSetBackDoesNotMakeItLonger) {
    script = {{-3600000, false}, {3600000, false}, {501, false}};
    EXPECT_EQ(sleepMilliseconds(500), 258);
    EXPECT_EQ(asked, Asked({500, 500, 500}));
}

TEST_F(Sleep, TakesTheLongestTime) {
    constexpr std::uint32_t longest = std::numeric_limits<std::uint32_t>::max();
    script = {{longest, false}, {0, true}};
    EXPECT_EQ(sleepMilliseconds(longest), 0);
    EXPECT_EQ(asked, Asked({longest, 0}));
}

TEST(SystemSleep, SleepsTheTime) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(systemSleep(20));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
}

TEST(SystemSleep, TellsOfAnInterruption) {
    std::atomic<bool> ended{false};
    bool whole = true;
    std::thread sleeper([&] {
        whole = systemSleep(60000);
        ended = true;
    });
    while (!ended) {
        test::interrupt(sleeper);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    sleeper.join();
    EXPECT_FALSE(whole);
}

}  // namespace
}  // namespace quorvanti
