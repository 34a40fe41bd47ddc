// A sleep that an interruption does not cut short.
#pragma once

#include <cstdint>

namespace quorvanti {

inline constexpr std::int32_t kSleepDone = 0;
inline constexpr std::int32_t kSleepOverdue = 258;

// 0 after the whole time; 258 when the sleep was interrupted and more than the time had passed when that was noticed.
std::int32_t sleepMilliseconds(std::uint32_t milliseconds);

// The system's own sleep: false when it was interrupted. Its replacement is for tests; null restores it.
using SleepSource = bool (*)(std::uint32_t milliseconds);
bool systemSleep(std::uint32_t milliseconds);
void setSleepSource(SleepSource source);

}  // namespace quorvanti
