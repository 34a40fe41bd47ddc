#include "providers/openssl/clock.h"

#include <atomic>

#include "providers/openssl/clock_platform.h"

namespace quorvanti::provider {
namespace {

std::atomic<Clock> currentClock{coarseSystemSeconds};
std::atomic<Clock> currentSteadyClock{coarseSteadyMilliseconds};

}  // namespace

std::int64_t now() {
    return currentClock.load(std::memory_order_relaxed)();
}

std::int64_t steadyMilliseconds() {
    return currentSteadyClock.load(std::memory_order_relaxed)();
}

void setClock(Clock clock) {
    currentClock.store(clock != nullptr ? clock : coarseSystemSeconds, std::memory_order_relaxed);
}

void setSteadyClock(Clock clock) {
    currentSteadyClock.store(clock != nullptr ? clock : coarseSteadyMilliseconds, std::memory_order_relaxed);
}

}  // namespace quorvanti::provider
