// A matcher for regular expressions that are the same on every system; GoogleTest's own are the system's.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace quorvanti::test {

MATCHER_P(MatchesPattern, pattern, std::string("matches ") + pattern) {
    return std::regex_match(std::string(arg), std::regex(pattern));
}

}  // namespace quorvanti::test
