// The library as a host meets it that opens it, uses it and lets it go, again and again.
#include "quorvanti/voraksso.h"
#include "tests/support/process_memory.h"
#include "tests/support/shared_library.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace quorvanti::test {
namespace {

// A thread of the host that outlives every library.
class Worker {
public:
    Worker()
        : thread_([this] {
              std::unique_lock lock(mutex_);
              while (!ending_) {
                  changed_.wait(lock, [this] { return work_ != nullptr || ending_; });
                  if (work_ != nullptr) {
                      work_();
                      work_ = nullptr;
                      changed_.notify_all();
                  }
              }
          }) {}
    ~Worker() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    void run(std::function<void()> work) {
        std::unique_lock lock(mutex_);
        work_ = std::move(work);
        changed_.notify_all();
        changed_.wait(lock, [this] { return work_ == nullptr; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> work_;
    bool ending_ = false;
    std::thread thread_;
};

class Loaded {
public:
    Loaded() : library_(openSharedLibrary(QUORVANTI_LIBRARY)) {}
    ~Loaded() { EXPECT_TRUE(closeSharedLibrary(library_)); }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
    bool isThere() const { return library_ != nullptr; }
    template <class Function>
    Function* entry(const char* name) const {
        return reinterpret_cast<Function*>(findInSharedLibrary(library_, name));
    }

private:
    void* library_;
};

class Reload : public testing::Test {
protected:
    // Traces and fails from two threads, so that each has its records, and starts the crypto library or not.
    void useOnce(bool start) {
        const Loaded library;
        ASSERT_TRUE(library.isThere());
        const auto setProperty = library.entry<decltype(QuorvantiSetProperty)>("QuorvantiSetProperty");
        const auto initialize = library.entry<decltype(VorakInitialize)>("VorakInitialize");
        const auto shutDown = library.entry<decltype(VorakShutdown)>("VorakShutdown");
        ASSERT_EQ(setProperty("KAV_EXT_TRL", "1"), VORAK_OK);
        ASSERT_EQ(setProperty("KAV_EXT_TRC", directory_.file("trace").c_str()), VORAK_OK);
        const auto fail = [=] { EXPECT_EQ(initialize("no-such-library.dll"), VORAK_CRYPTO_FAILED); };
        fail();
        worker_.run(fail);
        std::thread(fail).join();
        if (start) {
            EXPECT_EQ(initialize(nullptr), VORAK_OK);
            worker_.run([=] { EXPECT_EQ(initialize(nullptr), VORAK_OK); });
        }
        EXPECT_EQ(shutDown(), VORAK_OK);
    }

    static DWORD handles() {
        DWORD count = 0;
        GetProcessHandleCount(GetCurrentProcess(), &count);
        return count;
    }

    const TemporaryDirectory directory_;
    Worker worker_;
};

TEST_F(Reload, AThousandTimesInOneProcessWithoutGrowth) {
    constexpr int rounds = 1000;
    constexpr int startEvery = 20;
    for (int round = 0; round < 40; ++round) {
        useOnce(round % startEvery == 0);
    }
    const ProcessMemory before = processMemory();
    const DWORD handlesBefore = handles();
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        useOnce(round % startEvery == 0);
        ASSERT_FALSE(isSharedLibraryLoaded(QUORVANTI_LIBRARY)) << "still in memory";
        ASSERT_FALSE(isSharedLibraryLoaded("kavcrypto.dll")) << "still in memory";
    }
    const ProcessMemory after = processMemory();
    // What winpthreads makes when a lock is taken for the first time, 24 bytes, stays when the lock is a static one:
    // seven of them, measured. One forgotten record of a thread is 480.
    constexpr std::size_t locks = 7;
    EXPECT_LT(after.allocated, before.allocated + (24 * locks + 24) * rounds);
    EXPECT_LE(handles(), handlesBefore + 2);
}

}  // namespace
}  // namespace quorvanti::test
