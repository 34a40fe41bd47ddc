// The lock of the static objects.
#include "krn/thr/static_lock.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

namespace quorvanti {
namespace {

constinit StaticLock lock;

TEST(StaticLock, LetsInOneThreadAtATime) {
    constexpr int threadCount = 4;
    constexpr int rounds = 20000;
    int counted = 0;  // deliberately not atomic
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&counted] {
            for (int round = 0; round < rounds; ++round) {
                const std::lock_guard guard(lock);
                ++counted;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counted, threadCount * rounds);
}

}  // namespace
}  // namespace quorvanti
