#include "krn/time/local_time.h"

#include "tests/support/time_zone.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <ostream>
#include <string>

namespace quorvanti {
namespace {

std::int64_t utc(int year, unsigned month, unsigned day, int hour) {
    using namespace std::chrono;
    return (sys_days{std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)} + hours(hour))
               .time_since_epoch() /
           seconds(1);
}

std::string text(const std::tm& record) {
    char result[40];
    std::strftime(result, sizeof result, "%Y-%m-%d %H:%M:%S", &record);
    return std::string(result) + (record.tm_isdst > 0 ? " daylight" : " standard");
}

std::string shown(std::int64_t time) {
    std::tm record{};
    return continuousLocalTime(time, record) == &record ? text(record) : "failed";
}

std::string plain(std::int64_t time) {
    std::tm record{};
    return systemLocalTime(time, record) ? text(record) : "failed";
}

struct Switch {
    const char* zone;
    std::int64_t time;    // the first second of standard time
    std::int32_t offset;  // how far the clock is set back
};

void PrintTo(const Switch& end, std::ostream* stream) {
    *stream << end.zone;
}

const Switch kSwitches[] = {
    {"Europe/Berlin", utc(2026, 10, 25, 1), 3600},
    {"America/New_York", utc(2026, 11, 1, 6), 3600},
    {"Australia/Lord_Howe", utc(2026, 4, 4, 15), 1800},
    {"America/Sao_Paulo", utc(2018, 2, 18, 2), 3600},                     // from midnight to the day before
    {"AAA3BBB,M10.2.0/0,M2.3.0/0:30", utc(2026, 2, 15, 3) - 1800, 3600},  // from behind midnight to before it
};

class LocalTimeZones : public testing::TestWithParam<Switch> {};

TEST_P(LocalTimeZones, FindTheIntervalOfTheReturnToStandardTime) {
    const Switch& end = GetParam();
    const test::TimeZone zone(end.zone);
    SKIP_UNLESS_KNOWN(zone);
    for (const std::int64_t time : {-end.offset, -1, 0, end.offset - 1}) {
        std::int64_t from = 0;
        std::int64_t to = 0;
        ASSERT_EQ(daylightSwitchInterval(end.time + time, from, to), 1) << time;
        EXPECT_EQ(from, end.time - end.offset);
        EXPECT_EQ(to, end.time + end.offset);
    }
    for (const std::int64_t time : {-86400, -7201, -7200, -end.offset - 1, end.offset, 7199, 7200, 86400}) {
        std::int64_t from = 0;
        std::int64_t to = 0;
        EXPECT_EQ(daylightSwitchInterval(end.time + time, from, to), 0) << time;
    }
}

TEST_P(LocalTimeZones, TheClockNeverRunsBackwardsNorJumps) {
    const Switch& end = GetParam();
    const test::TimeZone zone(end.zone);
    SKIP_UNLESS_KNOWN(zone);
    std::tm before{};
    ASSERT_NE(continuousLocalTime(end.time - 7300, before), nullptr);
    for (std::int64_t time = end.time - 7299; time < end.time + 7300; ++time) {
        std::tm record{};
        ASSERT_NE(continuousLocalTime(time, record), nullptr);
        const int step = (record.tm_hour * 60 + record.tm_min) * 60 + record.tm_sec -
                         ((before.tm_hour * 60 + before.tm_min) * 60 + before.tm_sec) +
                         (record.tm_mday != before.tm_mday ? 86400 : 0);
        ASSERT_TRUE(step == 0 || step == 1) << text(before) << " to " << text(record);
        before = record;
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, LocalTimeZones, testing::ValuesIn(kSwitches));

TEST(LocalTime, StretchesTheLastDaylightHourOverTwoInBerlin) {
    const test::TimeZone zone("Europe/Berlin");
    SKIP_UNLESS_KNOWN(zone);
    const std::int64_t end = utc(2026, 10, 25, 1);
    EXPECT_EQ(shown(end - 3601), "2026-10-25 01:59:59 daylight");
    EXPECT_EQ(shown(end - 3600), "2026-10-25 02:00:00 daylight");
    EXPECT_EQ(shown(end - 3599), "2026-10-25 02:00:00 daylight");
    EXPECT_EQ(shown(end - 3598), "2026-10-25 02:00:01 daylight");
    EXPECT_EQ(shown(end), "2026-10-25 02:30:00 daylight");
    EXPECT_EQ(shown(end + 3599), "2026-10-25 02:59:59 daylight");
    EXPECT_EQ(shown(end + 3600), "2026-10-25 03:00:00 standard");
}

TEST(LocalTime, StretchesTheLastDaylightHourOverTwoInNewYork) {
    const test::TimeZone zone("America/New_York");
    SKIP_UNLESS_KNOWN(zone);
    const std::int64_t end = utc(2026, 11, 1, 6);
    EXPECT_EQ(shown(end - 3601), "2026-11-01 00:59:59 daylight");
    EXPECT_EQ(shown(end - 3600), "2026-11-01 01:00:00 daylight");
    EXPECT_EQ(shown(end), "2026-11-01 01:30:00 daylight");
    EXPECT_EQ(shown(end + 3599), "2026-11-01 01:59:59 daylight");
    EXPECT_EQ(shown(end + 3600), "2026-11-01 02:00:00 standard");
}

TEST(LocalTime, ReportsNoIntervalWhereDaylightTimeBegins) {
    struct Start {
        const char* zone;
        std::int64_t time;
        const char* before;
        const char* after;
    };
    const Start starts[] = {
        {"Europe/Berlin", utc(2026, 3, 29, 1), "2026-03-29 01:59:59 standard", "2026-03-29 03:00:00 daylight"},
        {"America/New_York", utc(2026, 3, 8, 7), "2026-03-08 01:59:59 standard", "2026-03-08 03:00:00 daylight"},
    };
    for (const Start& start : starts) {
        const test::TimeZone zone(start.zone);
        SKIP_UNLESS_KNOWN(zone);
        for (const int distance : {-7200, -3600, -1, 0, 3599, 7199, 7200}) {
            std::int64_t from = 0;
            std::int64_t to = 0;
            EXPECT_EQ(daylightSwitchInterval(start.time + distance, from, to), 0) << start.zone << distance;
            EXPECT_EQ(shown(start.time + distance), plain(start.time + distance));
        }
        EXPECT_EQ(shown(start.time - 1), start.before);
        EXPECT_EQ(shown(start.time), start.after);
    }
}

TEST(LocalTime, IsTheSystemsFarFromASwitch) {
    for (const char* name : {"Europe/Berlin", "America/New_York", "UTC"}) {
        const test::TimeZone zone(name);
        SKIP_UNLESS_KNOWN(zone);
        for (std::int64_t time = utc(2026, 1, 1, 0); time < utc(2026, 3, 1, 0); time += 9973) {
            ASSERT_EQ(shown(time), plain(time));
        }
    }
}

TEST(LocalTime, TheProfileValueOffSelectsTheSystemsTime) {
    const test::TimeZone zone("Europe/Berlin");
    SKIP_UNLESS_KNOWN(zone);
    static std::string asked;
    setProfileLookup([](const char* parameter) {
        asked = parameter;
        return "off";
    });
    const std::int64_t end = utc(2026, 10, 25, 1);
    EXPECT_EQ(shown(end - 1), "2026-10-25 02:59:59 daylight");
    EXPECT_EQ(shown(end), "2026-10-25 02:00:00 standard");
    EXPECT_EQ(asked, "zdate/DSTswitch_contloctime");
    setProfileLookup(nullptr);
}

TEST(LocalTime, TheProfileIsReadOnce) {
    const test::TimeZone zone("Europe/Berlin");
    SKIP_UNLESS_KNOWN(zone);
    static int reads = 0;
    setProfileLookup([](const char*) {
        ++reads;
        return "off";
    });
    const std::int64_t end = utc(2026, 10, 25, 1);
    shown(end);
    shown(end);
    EXPECT_EQ(reads, 1);
    setProfileLookup(nullptr);
}

TEST(LocalTime, AnyOtherProfileValueSelectsContinuousTime) {
    const test::TimeZone zone("Europe/Berlin");
    SKIP_UNLESS_KNOWN(zone);
    const std::int64_t end = utc(2026, 10, 25, 1);
    const ProfileLookup lookups[] = {
        nullptr,
        [](const char*) -> const char* { return nullptr; },
        [](const char*) { return ""; },
        [](const char*) { return "on"; },
        [](const char*) { return "Off"; },
        [](const char*) { return "off "; },
    };
    for (const ProfileLookup lookup : lookups) {
        setProfileLookup(lookup);
        EXPECT_EQ(shown(end), "2026-10-25 02:30:00 daylight");
    }
    setProfileLookup(nullptr);
}

// Daylight-saving time that ends at 5000 seconds, one hour long.
bool earlySwitch(std::int64_t time, std::tm& record) {
    const bool daylight = time < 5000;
    const std::time_t wall = time + (daylight ? 3600 : 0);
    record = *std::gmtime(&wall);
    record.tm_isdst = daylight ? 1 : 0;
    return true;
}

TEST(LocalTime, TheFirstTwoHoursAreTheSystems) {
    setLocalTimeSource(&earlySwitch);
    EXPECT_EQ(shown(7200), "1970-01-01 02:00:00 standard");
    EXPECT_EQ(shown(7201), "1970-01-01 02:11:40 daylight") << "1400 + (7201 - 1400) / 2 seconds";
    setLocalTimeSource(nullptr);
}

TEST(LocalTime, AnswersNullAndErangeForATimeThatHasNoYear) {
    std::tm record{};
    std::int64_t from = 0;
    std::int64_t to = 0;
    for (const std::int64_t time :
         {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        errno = 0;
        EXPECT_EQ(continuousLocalTime(time, record), nullptr);
        EXPECT_EQ(errno, ERANGE);
        EXPECT_EQ(daylightSwitchInterval(time, from, to), -1);
    }
}

TEST(LocalTime, AnswersMinusOneWhenAnyConversionFails) {
    const test::TimeZone zone("Europe/Berlin");
    SKIP_UNLESS_KNOWN(zone);
    static int conversions = 0;
    setLocalTimeSource(
        [](std::int64_t time, std::tm& record) { return --conversions >= 0 && systemLocalTime(time, record); });
    const std::int64_t end = utc(2026, 10, 25, 1);
    std::int64_t from = 0;
    std::int64_t to = 0;
    int allowed = 0;
    std::int32_t result = -1;
    for (; result == -1 && allowed < 1000; ++allowed) {
        conversions = allowed;
        result = daylightSwitchInterval(end - 1, from, to);
        EXPECT_TRUE(result == -1 || result == 1);
    }
    EXPECT_EQ(result, 1);
    EXPECT_GT(allowed, 3);
    std::tm record{};
    conversions = allowed - 1;
    errno = 0;
    EXPECT_EQ(continuousLocalTime(end - 1, record), nullptr) << "the last conversion fails";
    EXPECT_EQ(errno, ERANGE);
    setLocalTimeSource(nullptr);
}

}  // namespace
}  // namespace quorvanti
