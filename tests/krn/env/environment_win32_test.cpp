// The two copies of the environment: the C runtime's and the system's.
#include "krn/env/environment.h"
#include "krn/time/parent_process.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace quorvanti {
namespace {

constexpr char kName[] = "QUORVANTI_TEST_VARIABLE";

std::string systems(const char* name) {
    char value[64] = "";
    return GetEnvironmentVariableA(name, value, sizeof value) != 0 ? value : "";
}

TEST(EnvironmentWin32, WhatIsSetReachesTheSystemsCopyAndSoChildProcesses) {
    const test::EnvironmentVariable variable(kName, nullptr);
    ASSERT_TRUE(setEnvironmentValue(kName, "value"));
    EXPECT_EQ(systems(kName), "value");
    ASSERT_TRUE(setEnvironmentValue(kName, ""));
    EXPECT_EQ(systems(kName), "");
    EXPECT_EQ(GetEnvironmentVariableA(kName, nullptr, 0), 0U) << "an empty value removes the variable";
}

TEST(EnvironmentWin32, TheParentProcessIsTakenFromTheSystemsCopy) {
    const test::EnvironmentVariable variable("PPID", "1");
    SetEnvironmentVariableA("PPID", "4321");
    EXPECT_EQ(parentProcessId(), 4321);
}

}  // namespace
}  // namespace quorvanti
