// The time against which certificates are checked.
#pragma once

#include <cstdint>

namespace quorvanti::provider {

// Seconds since 1970-01-01 00:00:00 UTC.
std::int64_t now();

// Replaces the clock for the tests of the provider; null brings the system's back.
using Clock = std::int64_t (*)();
void setClock(Clock clock);

}  // namespace quorvanti::provider
