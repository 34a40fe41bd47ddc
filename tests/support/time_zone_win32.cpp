#include "tests/support/time_zone.h"

#include <time.h>

#include <iterator>
#include <string_view>

namespace quorvanti::test {

namespace {

// What the C runtime calls the zones that it knows by more than their offset: its daylight-saving rules are those of
// the United States whatever the name.
struct Known {
    std::string_view name;
    const char* value;
};
constexpr Known knownZones[] = {{"UTC", "UTC0"}, {"America/New_York", "EST5EDT"}};

}  // namespace

TimeZone::TimeZone(const char* name) {
    for (const Known& zone : knownZones) {
        if (zone.name == name) {
            variable_.emplace("TZ", zone.value);
            _tzset();
        }
    }
}

TimeZone::~TimeZone() {
    variable_.reset();
    _tzset();
}

}  // namespace quorvanti::test
