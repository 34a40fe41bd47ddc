// The environment of the process.
#include "krn/env/environment.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace quorvanti {
namespace {

constexpr char kName[] = "QUORVANTI_TEST_VARIABLE";

TEST(Environment, WhatIsSetIsReadHereAndByTheCRuntime) {
    const test::EnvironmentVariable variable(kName, nullptr);
    EXPECT_EQ(environmentValue(kName), nullptr);
    ASSERT_TRUE(setEnvironmentValue(kName, "a value=with=signs"));
    EXPECT_STREQ(environmentValue(kName), "a value=with=signs");
    EXPECT_STREQ(std::getenv(kName), "a value=with=signs");
    ASSERT_TRUE(setEnvironmentValue(kName, "another"));
    EXPECT_STREQ(environmentValue(kName), "another");
}

TEST(Environment, AnEmptyVariableCountsAsNone) {
    const test::EnvironmentVariable variable(kName, "before");
    ASSERT_TRUE(setEnvironmentValue(kName, ""));
    EXPECT_EQ(environmentValue(kName), nullptr);
}

TEST(Environment, TheSystemsCopyIsTakenWhenItFits) {
    char room[8];
    const test::EnvironmentVariable variable(kName, "1234567");
    EXPECT_EQ(systemVariable(kName, room), "1234567");
    ASSERT_TRUE(setEnvironmentValue(kName, "12345678"));
    EXPECT_EQ(systemVariable(kName, room), "");
    test::assignVariable(kName, nullptr);
    EXPECT_EQ(systemVariable(kName, room), "");
}

}  // namespace
}  // namespace quorvanti
