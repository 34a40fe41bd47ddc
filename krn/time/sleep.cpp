#include "krn/time/sleep.h"

#include "krn/time/clock.h"

#include <algorithm>
#include <atomic>

namespace quorvanti {
namespace {

std::atomic<SleepSource> sleepSource{&systemSleep};

}  // namespace

std::int32_t sleepMilliseconds(std::uint32_t milliseconds) {
    const std::int64_t begin = currentMilliseconds();
    std::uint32_t remaining = milliseconds;
    while (!sleepSource.load(std::memory_order_relaxed)(remaining)) {
        // A clock that was set back meanwhile does not make the sleep longer.
        const std::int64_t passed = std::max<std::int64_t>(currentMilliseconds() - begin, 0);
        if (passed > milliseconds) {
            return kSleepOverdue;
        }
        remaining = milliseconds - static_cast<std::uint32_t>(passed);
    }
    return kSleepDone;
}

void setSleepSource(SleepSource source) {
    sleepSource.store(source != nullptr ? source : &systemSleep, std::memory_order_relaxed);
}

}  // namespace quorvanti
