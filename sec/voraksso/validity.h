// How long a ticket is still valid.
#pragma once

#include "sec/voraksso/infounit.h"

#include <cstdint>
#include <optional>
#include <span>

namespace quorvanti {

// Broken-down time as the C library counts it.
struct CalendarTime {
    std::int32_t second = 0;
    std::int32_t minute = 0;
    std::int32_t hour = 0;
    std::int32_t dayOfMonth = 1;  // from 1
    std::int32_t month = 0;       // from 0
    std::int32_t year = 0;        // since 1900
};

// Counts the day of the month from 1, so every value is a day later than the usual count. Deliberate: only differences
// are used inside, and callers rely on the creation time as it is handed out.
std::int64_t SecondsSince1970(const CalendarTime& time);

// The current UTC time in whole minutes, counted as above, and traced.
std::int64_t currentMinute();
CalendarTime utcTime(std::int64_t secondsSince1970);

// Twelve digits, year to minute; nothing when they are no digits or no date.
std::optional<CalendarTime> parseCreationTime(std::span<const std::uint8_t> digits);

// The units that say how long a ticket is valid; nothing for one that is not there.
struct ValidityUnits {
    std::optional<std::span<const std::uint8_t>> hours;
    std::optional<std::span<const std::uint8_t>> minutes;
};

// In seconds, and exact.
struct TicketTimes {
    std::int64_t validity;
    std::int64_t age;  // less than 0: from the future
};
// Each step is traced. Nothing when the creation time is no date, when there is no unit or one is no four bytes long.
std::optional<TicketTimes> ticketTimes(std::span<const std::uint8_t> creationTime, const ValidityUnits& units);

// 0 with the seconds left; 4 expired; 5 creation time or validity missing or malformed.
std::int32_t ComputeValidity(const ContentList& contents, std::int32_t& remainingSeconds);

// What is handed out has 32 bits.
std::int32_t cappedSeconds(std::int64_t seconds);

}  // namespace quorvanti
