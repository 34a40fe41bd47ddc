#include <ctime>

#include "providers/openssl/clock_platform.h"

namespace quorvanti::provider {

std::int64_t coarseSystemSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
    return time.tv_sec;
}

std::int64_t coarseSteadyMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

}  // namespace quorvanti::provider
