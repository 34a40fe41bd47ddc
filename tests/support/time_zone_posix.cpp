#include "tests/support/time_zone.h"

#include <time.h>

namespace quorvanti::test {

TimeZone::TimeZone(const char* name) : variable_(std::in_place, "TZ", name) {
    tzset();
}

TimeZone::~TimeZone() {
    variable_.reset();
    tzset();
}

}  // namespace quorvanti::test
