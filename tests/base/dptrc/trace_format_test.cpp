#include "base/dptrc/trace_format.h"

#include <gtest/gtest.h>

namespace quorvanti {
namespace {

TEST(TraceFormat, IsLeftAloneWhenItFits) {
    EXPECT_EQ(cutFormat("%d and %", 8), "%d and %");
    EXPECT_EQ(cutFormat("", 0), "");
}

TEST(TraceFormat, IsCutInPlainText) {
    EXPECT_EQ(cutFormat("abcdef", 3), "abc");
    EXPECT_EQ(cutFormat("%d%s%%abcdef", 8), "%d%s%%ab");
}

TEST(TraceFormat, IsCutBeforeADirectiveThatWouldBreak) {
    EXPECT_EQ(cutFormat("abc%-12.12s", 4), "abc");
    EXPECT_EQ(cutFormat("abc%-12.12s", 10), "abc");
    EXPECT_EQ(cutFormat("abc%-12.12s!", 11), "abc%-12.12s");
    EXPECT_EQ(cutFormat("abc%%", 4), "abc");
    EXPECT_EQ(cutFormat("%%%lld!", 5), "%%");
    EXPECT_EQ(cutFormat("%5%x", 2), "");
}

}  // namespace
}  // namespace quorvanti
