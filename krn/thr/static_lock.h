// The lock for what is there before anything runs and after everything has: it needs neither start nor end, on any
// system. Not recursive, and for short and rare use only; whatever else has to be locked takes a lock of thr.h.
#pragma once

#include <atomic>

namespace quorvanti {

class StaticLock {
public:
    constexpr StaticLock() = default;
    void lock() {
        while (taken_.exchange(true, std::memory_order_acquire)) {
            taken_.wait(true, std::memory_order_relaxed);
        }
    }
    void unlock() {
        taken_.store(false, std::memory_order_release);
        taken_.notify_one();
    }

private:
    std::atomic<bool> taken_{false};
};

}  // namespace quorvanti
