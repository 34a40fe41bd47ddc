#include "krn/rscp/converter_cache.h"
#include "tests/krn/rscp/converter_fixture.h"

#include <atomic>
#include <thread>

namespace quorvanti::test {
namespace {

constexpr int kThreads = 8;

TEST_F(ConverterTest, SeparateObjectsConvertInManyThreads) {
    setConverterHooks(nullptr);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&failures, index] {
            constexpr const char* kTargets[] = {"4110", "1160", "4103", "4104"};
            for (int round = 0; round < 200; ++round) {
                rscpCObj_t there = activated("1100", kTargets[(index + round) % 4]);
                rscpCObj_t back = activated(kTargets[(index + round) % 4], "1100");
                const std::string text = "Gr\xFC\xDF " + std::to_string(round);
                failures += convert(back, convert(there, text).output).output != text;
                there = activated("4110", "1101");
                failures += convert(there, "\xC3\xBC\xC3").code != RSCPEUNIQ;
                failures += std::string(rscpeCurrent()->message) != "source exhausted within a char";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST_F(ConverterTest, ReorganizationWaitsForTheReaders) {
    setConverterHooks(nullptr);
    ASSERT_EQ(rscpCInit(), 0);
    std::atomic<int> failures{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&failures, &stop] {
            rscpCObj_t object = activated("1160", "4110");
            while (!stop) {
                failures += convert(object, "\x80 100").output != "\xE2\x82\xAC 100";
            }
        });
    }
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(rscpict3_invalidate_convert_tables(), 0);
        std::this_thread::yield();
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(converterCache().header().reorganizationCount, 100U);
}

}  // namespace
}  // namespace quorvanti::test
