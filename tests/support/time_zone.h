// Sets the process's time zone for the length of a scope.
#pragma once

#include "tests/support/environment.h"

#include <ctime>

namespace quorvanti::test {

class TimeZone {
public:
    explicit TimeZone(const char* name) : variable_("TZ", name) { tzset(); }

private:
    EnvironmentVariable variable_;
};

}  // namespace quorvanti::test
