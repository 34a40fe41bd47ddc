#include "sec/voraksso/validity.h"

#include <quorvanti/voraksso.h>

#include "base/dptrc/dptrace.h"
#include "krn/time/clock.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <limits>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxlnk";

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::size_t kCreationTimeLength = 12;
// Hours beyond this count as this many seconds, whatever the minutes say.
constexpr std::int64_t kHoursLimit = 596523;
constexpr std::int64_t kLongestValidity = 2147482800;

constexpr bool isLeapYear(std::int32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr std::int64_t leapDaysBefore(std::int32_t year) {
    const std::int32_t last = year - 1;
    return last / 4 - last / 100 + last / 400;
}

constexpr std::array<std::int32_t, 12> kDaysOfMonth{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

constexpr std::int32_t daysOfMonth(std::int32_t month, std::int32_t year) {
    return kDaysOfMonth[static_cast<std::size_t>(month)] + (month == 1 && isLeapYear(year) ? 1 : 0);
}

std::int32_t number(std::span<const std::uint8_t> digits) {
    std::int32_t value = 0;
    for (const std::uint8_t digit : digits) {
        value = value * 10 + (digit - '0');
    }
    return value;
}

// The unit's big-endian integer, nothing when it is no four bytes long.
std::optional<std::int32_t> integerOf(std::span<const std::uint8_t> unit) {
    if (unit.size() != 4) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (const std::uint8_t byte : unit) {
        value = value << 8 | byte;
    }
    return static_cast<std::int32_t>(value);
}

std::optional<std::span<const std::uint8_t>> bytesOf(const ContentNode* unit) {
    return unit != nullptr ? std::optional(unit->bytes()) : std::nullopt;
}

// Nothing when a unit is no four bytes long.
std::optional<std::int64_t> validityInSeconds(const ValidityUnits& units) {
    std::int64_t validity = 0;
    if (units.hours) {
        TRACE(2, "Computing validity in hours.\n");
        const std::optional<std::int32_t> hours = integerOf(*units.hours);
        if (!hours) {
            return std::nullopt;
        }
        if (*hours > kHoursLimit) {
            return kLongestValidity;
        }
        validity = std::int64_t{*hours} * 3600;
    }
    if (units.minutes) {
        TRACE(2, "Computing validity in minutes.\n");
        const std::optional<std::int32_t> minutes = integerOf(*units.minutes);
        if (!minutes) {
            return std::nullopt;
        }
        // Only what is left below an hour counts: deliberate, issuers put whole hours into their own unit.
        validity += std::int64_t{*minutes % 60} * 60;
    }
    return validity;
}

}  // namespace

std::int64_t SecondsSince1970(const CalendarTime& time) {
    const std::int32_t year = time.year + 1900;
    std::int64_t days =
        year > 1970 ? 365 * (std::int64_t{year} - 1970) + leapDaysBefore(year) - leapDaysBefore(1970) : 0;
    for (std::int32_t month = 0; month < time.month; ++month) {
        days += daysOfMonth(month, year);
    }
    days += time.dayOfMonth;
    return ((days * 24 + time.hour) * 60 + time.minute) * 60 + time.second;
}

CalendarTime utcTime(std::int64_t secondsSince1970) {
    using namespace std::chrono;
    const sys_seconds instant{seconds{secondsSince1970}};
    const sys_days day = floor<days>(instant);
    const year_month_day date{day};
    const hh_mm_ss clock{instant - day};
    CalendarTime time;
    time.second = static_cast<std::int32_t>(clock.seconds().count());
    time.minute = static_cast<std::int32_t>(clock.minutes().count());
    time.hour = static_cast<std::int32_t>(clock.hours().count());
    time.dayOfMonth = static_cast<std::int32_t>(static_cast<unsigned>(date.day()));
    time.month = static_cast<std::int32_t>(static_cast<unsigned>(date.month())) - 1;
    time.year = static_cast<int>(date.year()) - 1900;
    return time;
}

std::int64_t currentMinute() {
    const std::int64_t seconds = currentSeconds();
    if (traceEnabled(2)) {
        const CalendarTime now = utcTime(seconds);
        TRACE(2, "Cur time = %04d%02d%02d%02d%02d.\n", now.year + 1900, now.month + 1, now.dayOfMonth, now.hour,
              now.minute);
    }
    if (seconds < 0) {  // before 1970 there are no years to count
        CalendarTime now = utcTime(seconds);
        now.second = 0;
        return SecondsSince1970(now);
    }
    return seconds - seconds % 60 + kSecondsPerDay;  // what SecondsSince1970 makes of the calendar time
}

std::int32_t cappedSeconds(std::int64_t seconds) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(seconds, std::numeric_limits<std::int32_t>::max()));
}

std::optional<CalendarTime> parseCreationTime(std::span<const std::uint8_t> digits) {
    const auto isDigit = [](std::uint8_t c) { return c >= '0' && c <= '9'; };
    if (digits.size() != kCreationTimeLength || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return std::nullopt;
    }
    CalendarTime time;
    const std::int32_t year = number(digits.first(4));
    time.year = year - 1900;
    time.month = number(digits.subspan(4, 2)) - 1;
    time.dayOfMonth = number(digits.subspan(6, 2));
    time.hour = number(digits.subspan(8, 2));
    time.minute = number(digits.subspan(10, 2));
    if (time.month < 0 || time.month > 11 || time.dayOfMonth < 1 || time.dayOfMonth > daysOfMonth(time.month, year) ||
        time.hour > 23 || time.minute > 59) {
        return std::nullopt;
    }
    return time;
}

std::optional<TicketTimes> ticketTimes(std::span<const std::uint8_t> creationTime, const ValidityUnits& units) {
    if (!units.hours && !units.minutes) {
        return std::nullopt;
    }
    TRACE(2, "Got date %12.*s from ticket.\n",
          static_cast<int>(std::min<std::size_t>(creationTime.size(), kCreationTimeLength)),
          reinterpret_cast<const char*>(creationTime.data()));
    const std::optional<CalendarTime> creation = parseCreationTime(creationTime);
    if (!creation) {
        return std::nullopt;
    }
    const std::int64_t created = SecondsSince1970(*creation);
    const std::int64_t now = currentMinute();
    const std::optional<std::int64_t> validity = validityInSeconds(units);
    if (!validity) {
        return std::nullopt;
    }
    const TicketTimes result{*validity, now - created};
    TRACE(2, "CurTime_t = %" PRId64 ", CreTime_t = %" PRId64 " \n", now, created);
    TRACE(2, "validity: %" PRId64 ", difference: %10.3f.\n", result.validity, static_cast<double>(result.age));
    return result;
}

std::int32_t ComputeValidity(const ContentList& contents, std::int32_t& remainingSeconds) {
    remainingSeconds = 0;
    const ContentNode* creationUnit = contents.find(kUnitCreationTime);
    const ContentNode* hoursUnit = contents.find(kUnitValidityHours);
    const ContentNode* minutesUnit = contents.find(kUnitValidityMinutes);
    if (creationUnit == nullptr || (hoursUnit == nullptr && minutesUnit == nullptr)) {
        return VORAK_MALFORMED;
    }
    if (creationUnit->convertedLength != kCreationTimeLength) {
        TRACE_ERROR("invalid format: ticket creation date (len=%u)", creationUnit->convertedLength);
        return VORAK_MALFORMED;
    }
    const std::optional<TicketTimes> times =
        ticketTimes(creationUnit->bytes(), {bytesOf(hoursUnit), bytesOf(minutesUnit)});
    if (!times) {
        return VORAK_MALFORMED;
    }
    if (times->age > times->validity) {
        return VORAK_TICKET_EXPIRED;
    }
    remainingSeconds = cappedSeconds(times->validity - times->age);
    return VORAK_OK;
}

}  // namespace quorvanti
