#include "krn/time/local_time.h"

#include <atomic>
#include <cerrno>
#include <string_view>

namespace quorvanti {
namespace {

constexpr std::int64_t kReach = 7200;  // how far from a switch it is looked for, in seconds
constexpr std::int32_t kDay = 86400;

enum Policy : int { undecided = 0, continuous = 1, plain = 2 };

std::atomic<int> policy{undecided};
std::atomic<ProfileLookup> profileLookup{nullptr};
std::atomic<LocalTimeSource> localTimeSource{&systemLocalTime};

bool convert(std::int64_t time, std::tm& record) {
    return localTimeSource.load(std::memory_order_relaxed)(time, record);
}

int policyInForce() {
    int value = policy.load(std::memory_order_relaxed);
    if (value == undecided) {
        const ProfileLookup lookup = profileLookup.load(std::memory_order_acquire);
        const char* setting = lookup != nullptr ? lookup("zdate/DSTswitch_contloctime") : nullptr;
        value = setting != nullptr && std::string_view(setting) == "off" ? plain : continuous;
        policy.store(value, std::memory_order_relaxed);
    }
    return value;
}

constexpr std::int32_t secondOfDay(const std::tm& record) {
    return (record.tm_hour * 60 + record.tm_min) * 60 + record.tm_sec;
}

// How far the wall clock is set back from one second to the next; the two may lie on either side of midnight.
constexpr std::int32_t setBack(const std::tm& last, const std::tm& first) {
    const std::int32_t seconds = secondOfDay(last) + 1 - secondOfDay(first);
    if (seconds <= -kDay / 2) {
        return seconds + kDay;
    }
    return seconds > kDay / 2 ? seconds - kDay : seconds;
}

}  // namespace

std::int32_t daylightSwitchInterval(std::int64_t time, std::int64_t& start, std::int64_t& end) {
    std::tm here{};
    std::tm there{};
    if (!convert(time, here)) {
        return -1;
    }
    const bool daylight = here.tm_isdst > 0;
    if (!convert(daylight ? time + kReach : time - kReach, there)) {
        return -1;
    }
    if (daylight == (there.tm_isdst > 0)) {
        return 0;
    }
    // Between the two lies the switch: narrow it down to the last second of daylight-saving time and the one after.
    std::int64_t last = daylight ? time : time - kReach;
    std::int64_t first = last + kReach;
    std::tm lastRecord = daylight ? here : there;
    std::tm firstRecord = daylight ? there : here;
    while (first - last > 1) {
        const std::int64_t middle = last + (first - last) / 2;
        std::tm record{};
        if (!convert(middle, record)) {
            return -1;
        }
        (record.tm_isdst > 0 ? last : first) = middle;
        (record.tm_isdst > 0 ? lastRecord : firstRecord) = record;
    }
    const std::int32_t offset = setBack(lastRecord, firstRecord);
    if (time < first - offset || time >= first + offset) {
        return 0;
    }
    start = first - offset;
    end = first + offset;
    return 1;
}

std::tm* continuousLocalTime(const std::int64_t& time, std::tm& record) {
    std::int64_t start = 0;
    std::int64_t end = 0;
    const std::int32_t near = time > kReach ? daylightSwitchInterval(time, start, end) : 0;
    const std::int64_t shown = near == 1 && policyInForce() == continuous ? start + (time - start) / 2 : time;
    if (near < 0 || !convert(shown, record)) {
        errno = ERANGE;
        return nullptr;
    }
    return &record;
}

void setProfileLookup(ProfileLookup lookup) {
    profileLookup.store(lookup, std::memory_order_release);
    policy.store(undecided, std::memory_order_relaxed);
}

void setLocalTimeSource(LocalTimeSource source) {
    localTimeSource.store(source != nullptr ? source : &systemLocalTime, std::memory_order_relaxed);
}

}  // namespace quorvanti
