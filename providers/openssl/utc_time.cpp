#include "providers/openssl/utc_time.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace quorvanti::provider {

std::optional<std::int64_t> secondsOf(const ASN1_TIME* time) {
    std::tm parts{};
    // A null pointer would mean the current time to the toolkit.
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1)
        return std::nullopt;
    using namespace std::chrono;
    const year_month_day date(year(parts.tm_year + 1900), month(static_cast<unsigned>(parts.tm_mon + 1)),
                              day(static_cast<unsigned>(parts.tm_mday)));
    if (!date.ok())
        return std::nullopt;
    const auto moment = sys_days(date) + hours(parts.tm_hour) + minutes(parts.tm_min) + seconds(parts.tm_sec);
    return duration_cast<seconds>(moment.time_since_epoch()).count();
}

std::string utcText(std::int64_t secondsSince1970) {
    using namespace std::chrono;
    const sys_seconds moment{seconds(secondsSince1970)};
    const sys_days midnight = floor<days>(moment);
    const year_month_day date(midnight);
    const hh_mm_ss time(moment - midnight);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

}  // namespace quorvanti::provider
