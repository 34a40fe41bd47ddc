// Local time that never runs backwards: over the two hours around the return to standard time the clock goes at half
// speed through the last daylight-saving hour, so that time stamps taken one after the other stay in order.
#pragma once

#include <cstdint>
#include <ctime>

namespace quorvanti {

// Seconds since 1970-01-01 00:00:00 UTC. Null, with errno ERANGE, when the system cannot convert the time.
std::tm* continuousLocalTime(const std::int64_t& time, std::tm& record);

// 1 when the time lies where the clock is slowed (from start up to, but not including, end), 0 when not, -1 when the
// system cannot convert the time.
std::int32_t daylightSwitchInterval(std::int64_t time, std::int64_t& start, std::int64_t& end);

// Where a profile parameter is looked up; null: nowhere, which is the default. The parameter
// "zdate/DSTswitch_contloctime" with the exact value "off" selects the system's local time as it is. It is read once
// for each lookup that is installed.
using ProfileLookup = const char* (*)(const char* parameter);
void setProfileLookup(ProfileLookup lookup);

// The system's own conversion, and its replacement for tests; null restores it.
using LocalTimeSource = bool (*)(std::int64_t time, std::tm& record);
bool systemLocalTime(std::int64_t time, std::tm& record);
void setLocalTimeSource(LocalTimeSource source);

}  // namespace quorvanti
