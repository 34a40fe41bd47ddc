#include "krn/time/parent_process.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

namespace quorvanti {
namespace {

long withPpid(const char* value) {
    const test::EnvironmentVariable variable("PPID", value);
    return parentProcessId();
}

TEST(ParentProcess, IsTheNumberInTheEnvironment) {
    EXPECT_EQ(withPpid("1234"), 1234);
    EXPECT_EQ(withPpid("  77 and more"), 77);
    EXPECT_EQ(withPpid("-5"), -5);
}

TEST(ParentProcess, IsZeroWhenAbsentOrNoNumber) {
    EXPECT_EQ(withPpid(nullptr), 0);
    EXPECT_EQ(withPpid(""), 0);
    EXPECT_EQ(withPpid("init"), 0);
}

TEST(ParentProcess, IsZeroWhenTooLongForANumber) {
    EXPECT_EQ(withPpid("0000000000000001234"), 1234);
    EXPECT_EQ(withPpid("00000000000000001234"), 0);
}

}  // namespace
}  // namespace quorvanti
