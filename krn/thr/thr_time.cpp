#include "krn/thr/thr_time.h"

#include "krn/time/clock.h"
#include "krn/time/local_time.h"

#include <cstdint>
#include <cstdio>

namespace quorvanti {
namespace {

constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr int kYearBase = 1900;

constexpr bool within(int value, int low, int high) {
    return value >= low && value <= high;
}

}  // namespace

std::tm* ThrLocaltime(std::tm& record) {
    return continuousLocalTime(currentSeconds(), record);
}

const char* ThrAsctime(const std::tm& record, char (&text)[kThrAsctimeSize]) {
    const bool valid = within(record.tm_wday, 0, 6) && within(record.tm_mon, 0, 11) && within(record.tm_mday, 1, 31) &&
                       within(record.tm_hour, 0, 23) && within(record.tm_min, 0, 59) && within(record.tm_sec, 0, 60) &&
                       within(record.tm_year, 1000 - kYearBase, 9999 - kYearBase);
    if (!valid) {
        return nullptr;
    }
    const int length = std::snprintf(text, sizeof text, "%s %s%3d %02d:%02d:%02d %d\n", kWeekdays[record.tm_wday],
                                     kMonths[record.tm_mon], record.tm_mday, record.tm_hour, record.tm_min,
                                     record.tm_sec, record.tm_year + kYearBase);
    return length == kThrAsctimeSize - 1 ? text : nullptr;
}

}  // namespace quorvanti
