#include "providers/openssl/clock.h"

#include <atomic>
#include <chrono>

#include "providers/openssl/clock_platform.h"

namespace quorvanti::provider {
namespace {

std::int64_t systemTime() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::floor<std::chrono::seconds>(sinceEpoch).count();
}

std::atomic<Clock> currentClock{systemTime};
std::atomic<Clock> currentSteadyClock{coarseSteadyMilliseconds};

}  // namespace

std::int64_t now() {
    return currentClock.load(std::memory_order_relaxed)();
}

std::int64_t steadyMilliseconds() {
    return currentSteadyClock.load(std::memory_order_relaxed)();
}

void setClock(Clock clock) {
    currentClock.store(clock != nullptr ? clock : systemTime, std::memory_order_relaxed);
}

void setSteadyClock(Clock clock) {
    currentSteadyClock.store(clock != nullptr ? clock : coarseSteadyMilliseconds, std::memory_order_relaxed);
}

}  // namespace quorvanti::provider
