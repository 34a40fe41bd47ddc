// The local time now, and its standard text.
#pragma once

#include <ctime>

namespace quorvanti {

// Continuous local time of the current second; null when it cannot be had.
std::tm* ThrLocaltime(std::tm& record);

// "Thu Nov 20 20:15:00 2026\n", the same on every system and in every locale; null when a field is out of its range.
inline constexpr int kThrAsctimeSize = 26;
const char* ThrAsctime(const std::tm& record, char (&text)[kThrAsctimeSize]);

}  // namespace quorvanti
