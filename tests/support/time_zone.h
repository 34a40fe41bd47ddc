// Sets the process's time zone for the length of a scope.
#pragma once

#include "tests/support/environment.h"

#include <optional>

namespace quorvanti::test {

class TimeZone {
public:
    // A name of the tz database or a POSIX description.
    explicit TimeZone(const char* name);
    ~TimeZone();
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

    // Whether this system's C runtime can be told of the zone by name.
    bool known() const { return variable_.has_value(); }

private:
    std::optional<EnvironmentVariable> variable_;
};

// In place of a test that needs a zone.
#define SKIP_UNLESS_KNOWN(zone) \
    if (!(zone).known())        \
    GTEST_SKIP() << "this C runtime takes no such zone from the environment"

}  // namespace quorvanti::test
