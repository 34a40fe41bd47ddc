// What the DLLs put in place of winpthreads' own functions, linked into this program in the same way.
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(Once, IsDoneOnceAndTheOthersWaitForIt) {
    std::once_flag once;
    std::atomic<int> done{0};
    std::atomic<bool> begun{false};
    std::atomic<bool> mayEnd{false};
    std::atomic<int> early{0};
    std::thread first([&] {
        std::call_once(once, [&] {
            begun = true;
            begun.notify_all();
            mayEnd.wait(false);
            ++done;
        });
    });
    begun.wait(false);
    std::vector<std::thread> others;
    for (int i = 0; i < 4; ++i) {
        others.emplace_back([&] {
            std::call_once(once, [&] { ++done; });
            early += done != 1;
        });
    }
    mayEnd = true;
    mayEnd.notify_all();
    first.join();
    for (std::thread& other : others) {
        other.join();
    }
    EXPECT_EQ(done, 1);
    EXPECT_EQ(early, 0);
}

TEST(Once, IsLeftToTheNextByAnException) {
    std::once_flag once;
    EXPECT_THROW(std::call_once(once, [] { throw std::runtime_error("not this time"); }), std::runtime_error);
    int done = 0;
    std::call_once(once, [&] { ++done; });
    std::call_once(once, [&] { ++done; });
    EXPECT_EQ(done, 1);
}

std::atomic<int> destroyed{0};

TEST(Keys, HoldAValueForEachThreadUntilItEnds) {
    pthread_key_t key = 0;
    ASSERT_EQ(pthread_key_create(&key, [](void* value) { destroyed += *static_cast<int*>(value); }), 0);
    int mine = 1;
    int others = 20;
    EXPECT_EQ(pthread_setspecific(key, &mine), 0);
    std::thread([&] {
        EXPECT_EQ(pthread_getspecific(key), nullptr);
        pthread_setspecific(key, &others);
        EXPECT_EQ(pthread_getspecific(key), &others);
    }).join();
    EXPECT_EQ(destroyed, 20);
    EXPECT_EQ(pthread_getspecific(key), &mine);
    EXPECT_EQ(pthread_key_delete(key), 0);
    EXPECT_EQ(pthread_key_delete(key), EINVAL);
}

}  // namespace
