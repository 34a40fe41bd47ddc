// The local time now, and its text.
#include "krn/thr/thr_time.h"
#include "krn/time/clock.h"
#include "tests/support/time_zone.h"

#include <gtest/gtest.h>

namespace quorvanti {
namespace {

std::tm someTime() {
    std::tm record{};
    record.tm_wday = 5;
    record.tm_mon = 10;
    record.tm_mday = 6;
    record.tm_hour = 7;
    record.tm_min = 8;
    record.tm_sec = 9;
    record.tm_year = 126;
    return record;
}

TEST(ThrAsctime, IsWeekdayMonthDayTimeYearAndNewline) {
    char text[kThrAsctimeSize];
    ASSERT_EQ(ThrAsctime(someTime(), text), text);
    EXPECT_STREQ(text, "Fri Nov  6 07:08:09 2026\n");
}

TEST(ThrAsctime, RefusesFieldsOutOfTheirRange) {
    char text[kThrAsctimeSize];
    for (int std::tm::*field : {&std::tm::tm_wday, &std::tm::tm_mon, &std::tm::tm_mday, &std::tm::tm_hour,
                                &std::tm::tm_min, &std::tm::tm_sec}) {
        for (const int value : {-1, 100}) {
            std::tm record = someTime();
            record.*field = value;
            EXPECT_EQ(ThrAsctime(record, text), nullptr);
        }
    }
}

TEST(ThrAsctime, RefusesYearsThatHaveNotFourDigits) {
    char text[kThrAsctimeSize];
    for (const int year : {-901, 8100}) {
        std::tm record = someTime();
        record.tm_year = year;
        EXPECT_EQ(ThrAsctime(record, text), nullptr) << year;
    }
    std::tm record = someTime();
    record.tm_year = 8099;
    ASSERT_NE(ThrAsctime(record, text), nullptr);
    EXPECT_STREQ(text, "Fri Nov  6 07:08:09 9999\n");
}

TEST(ThrLocaltime, IsTheLocalTimeOfTheClock) {
    const test::TimeZone zone("America/New_York");
    SKIP_UNLESS_KNOWN(zone);
    setClockSource([] { return std::int64_t{1793952489999}; });
    std::tm record{};
    ASSERT_EQ(ThrLocaltime(record), &record);
    char text[kThrAsctimeSize];
    EXPECT_STREQ(ThrAsctime(record, text), "Fri Nov  6 03:08:09 2026\n");
    setClockSource(nullptr);
}

}  // namespace
}  // namespace quorvanti
