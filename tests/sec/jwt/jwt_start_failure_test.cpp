// Linked so that the thread layer's start is the one below: how else would it fail?
#include "krn/dl/dl.h"
#include "krn/thr/thr.h"
#include "sec/jwt/jwt_engine.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>

namespace {
bool fails = true;
}

extern "C" std::int32_t __real__ZN9quorvanti13ThrInitializeEv();
extern "C" std::int32_t __wrap__ZN9quorvanti13ThrInitializeEv() {
    return fails ? quorvanti::kThrNoHandle : __real__ZN9quorvanti13ThrInitializeEv();
}

namespace quorvanti::test {
namespace {

TEST(JwtStart, FailsWithoutTheThreadLayerAndMayBeTriedAgain) {
    SsfFunctionTable table{
        .entryPoints = {}, .loaded = 0, .available = {}, .fipsMode = 0, .libraryHandle = kDlNoHandle};
    {
        TraceCapture trace(1);
        EXPECT_EQ(JwtInitialize(&table), -1);
        EXPECT_FALSE(JwtStarted());
        EXPECT_THAT(trace.lines(),
                    ::testing::ElementsAre("*** ERROR => Thread Library could not be initialized. [jwtxx]"));
        EXPECT_TRUE(trace.contains("[jwtxx        109]"));
    }
    fails = false;
    EXPECT_EQ(JwtInitialize(&table), 0);
    EXPECT_TRUE(JwtStarted());
    JwtRelease();
}

}  // namespace
}  // namespace quorvanti::test
