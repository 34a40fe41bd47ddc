#include "providers/openssl/utc_time.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace quorvanti::provider {
namespace {

std::optional<std::int64_t> secondsOf(const std::tm& parts) {
    using namespace std::chrono;
    const year_month_day date(year(parts.tm_year + 1900), month(static_cast<unsigned>(parts.tm_mon + 1)),
                              day(static_cast<unsigned>(parts.tm_mday)));
    if (!date.ok())
        return std::nullopt;
    const auto moment = sys_days(date) + hours(parts.tm_hour) + minutes(parts.tm_min) + seconds(parts.tm_sec);
    return duration_cast<seconds>(moment.time_since_epoch()).count();
}

// The next two digits; below zero when there are none.
int twoDigits(Bytes& text) {
    const int tens = text[0] - '0';
    const int ones = text[1] - '0';
    text = text.subspan(2);
    return tens < 0 || tens > 9 || ones < 0 || ones > 9 ? -1 : tens * 10 + ones;
}

struct DateAndTime {
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<std::chrono::seconds> time;
};

DateAndTime splitMoment(std::int64_t secondsSince1970) {
    using namespace std::chrono;
    const sys_seconds moment{seconds(secondsSince1970)};
    const sys_days midnight = floor<days>(moment);
    return {year_month_day(midnight), hh_mm_ss(moment - midnight)};
}

}  // namespace

std::optional<std::int64_t> secondsOf(const ASN1_TIME* time) {
    std::tm parts{};
    // A null pointer would mean the current time to the toolkit.
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1)
        return std::nullopt;
    return secondsOf(parts);
}

std::optional<std::int64_t> secondsOf(const DerElement& time) {
    constexpr std::size_t behindYear = 11;  // MMDDHHMMSSZ
    const std::size_t yearLength = time.tag == tag::utcTime ? 2 : 4;
    if ((time.tag != tag::utcTime && time.tag != tag::generalizedTime) ||
        time.content.size() != yearLength + behindYear || time.content.back() != 'Z')
        return std::nullopt;
    Bytes rest = time.content;
    const int first = twoDigits(rest);
    const int second = time.tag == tag::utcTime ? 0 : twoDigits(rest);
    if (first < 0 || second < 0)
        return std::nullopt;
    constexpr int firstYearOf1900s = 50;  // of two digits
    std::tm parts{};
    if (time.tag == tag::utcTime)
        parts.tm_year = first < firstYearOf1900s ? first + 100 : first;
    else
        parts.tm_year = first * 100 + second - 1900;
    parts.tm_mon = twoDigits(rest) - 1;
    parts.tm_mday = twoDigits(rest);
    parts.tm_hour = twoDigits(rest);
    parts.tm_min = twoDigits(rest);
    parts.tm_sec = twoDigits(rest);
    if (parts.tm_mon < 0 || parts.tm_mday < 0 || parts.tm_hour < 0 || parts.tm_hour > 23 || parts.tm_min < 0 ||
        parts.tm_min > 59 || parts.tm_sec < 0 || parts.tm_sec > 59)
        return std::nullopt;
    return secondsOf(parts);
}

std::string derTimeText(std::int64_t secondsSince1970) {
    const auto [date, time] = splitMoment(secondsSince1970);
    const int year = static_cast<int>(date.year());
    std::string text;
    const auto append = [&text](auto number) {
        text += static_cast<char>('0' + number / 10 % 10);
        text += static_cast<char>('0' + number % 10);
    };
    if (year < 1950 || year > 2049)
        append(year / 100);
    append(year);
    append(static_cast<unsigned>(date.month()));
    append(static_cast<unsigned>(date.day()));
    append(time.hours().count());
    append(time.minutes().count());
    append(time.seconds().count());
    text += 'Z';
    return text;
}

std::string utcText(std::int64_t secondsSince1970) {
    const auto [date, time] = splitMoment(secondsSince1970);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

}  // namespace quorvanti::provider
