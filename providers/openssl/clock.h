// The time against which certificates are checked, and the one that tells how long ago something was done.
#pragma once

#include <cstdint>

namespace quorvanti::provider {

// Seconds since 1970-01-01 00:00:00 UTC.
std::int64_t now();

// Milliseconds since some moment in the past, never going back. Coarse (a few milliseconds) and cheap.
std::int64_t steadyMilliseconds();

// Replaces the clock for the tests of the provider; null brings the system's back.
using Clock = std::int64_t (*)();
void setClock(Clock clock);
void setSteadyClock(Clock clock);

}  // namespace quorvanti::provider
