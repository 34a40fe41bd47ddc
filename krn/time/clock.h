// The wall clock. Everything that asks for the current time asks here, so that tests can set it.
#pragma once

#include <cstdint>

namespace quorvanti {

// Milliseconds since 1970-01-01 00:00:00 UTC.
using ClockSource = std::int64_t (*)();

std::int64_t currentMilliseconds();
std::int64_t currentSeconds();

// Replaces the clock of the process; null restores the system's. For tests; safe while others read the clock.
void setClockSource(ClockSource source);

}  // namespace quorvanti
