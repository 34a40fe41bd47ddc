#include <windows.h>

#include <chrono>

#include "providers/openssl/clock_platform.h"

namespace quorvanti::provider {

std::int64_t coarseSystemSeconds() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::floor<std::chrono::seconds>(sinceEpoch).count();
}

std::int64_t coarseSteadyMilliseconds() {
    return static_cast<std::int64_t>(GetTickCount64());
}

}  // namespace quorvanti::provider
