// The trace never changes a result: whatever happens to its target, callers do not notice.
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/process_end.h"
#include "tests/support/stream_capture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

void traceEverything() {
    for (int round = 0; round < 50; ++round) {
        errno = 4711;
        TRACE(1, "line %d\n", round);
        TRACE_ERROR_AT(1, "error\n");
        TRACE_WARNING("warning\n");
        TRACE_FILE(1, "file\n");
        DpTrcHexDump("0123456789abcdef", 16);
        EXPECT_EQ(errno, 4711);
    }
}

class TraceFailure : public test::TraceFixture {};

TEST_F(TraceFailure, AFullDiskIsNotNoticed) {
    if (test::fullDevice().empty()) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    const test::StreamCapture capture(stderr);
    traceSetLevel("3");
    traceSetTarget(test::fullDevice().c_str());
    traceEverything();
    EXPECT_EQ(capture.text(), "");
    open("1");
    TRACE(1, "on\n");
    EXPECT_EQ(written(), tagged("\n" + std::string(test::kStamp) + "@on\n"));
}

TEST_F(TraceFailure, AnUnwritablePathSendsTheTraceToTheStandardError) {
    const test::StreamCapture capture(stderr);
    const std::string name = directory_.file("missing/trace");
    traceSetLevel("1");
    traceSetTarget(name.c_str());
    EXPECT_EQ(stream(), stderr);
    TRACE(1, "here\n");
    EXPECT_EQ(capture.text(), tagged("*** ERROR => CTrcOpen: fopen " + name + "\n" +
                                     "\n---------------------------------------------------\n"
                                     "trc file: \"trace\", trc level: 1, release: \"742\"\n"
                                     "---------------------------------------------------\n"
                                     "\n@Fri Nov  6 08:08:09 2026\n@here\n"));
    traceSetTarget(nullptr);
    EXPECT_EQ(stream(), nullptr);
    EXPECT_EQ(traceState().file.load(), nullptr);
    EXPECT_TRUE(test::isOpen(test::descriptorOf(stderr)));
}

TEST_F(TraceFailure, ADirectoryIsUnwritable) {
    const test::StreamCapture capture(stderr);
    traceSetTarget(directory_.path().string().c_str());
    EXPECT_EQ(stream(), stderr);
    EXPECT_THAT(capture.text(), testing::StartsWith("*** ERROR => CTrcOpen: fopen " + directory_.path().string()));
}

TEST_F(TraceFailure, AClosedDescriptorIsNotNoticed) {
    const test::StreamCapture capture(stderr);
    open("3");
    test::closeDescriptor(test::descriptorOf(stream()));
    traceEverything();
    traceSetTarget(nullptr);
    open("1");
    TRACE(1, "on\n");
    EXPECT_EQ(written(), tagged("\n" + std::string(test::kStamp) + "@on\n"));
    EXPECT_EQ(capture.text(), "");
}

TEST_F(TraceFailure, AClosedStandardErrorIsNotNoticed) {
    const test::StreamCapture capture(stderr);
    test::closeDescriptor(test::descriptorOf(stderr));
    traceSetLevel("3");
    traceSetTarget("stderr");
    traceEverything();
    traceSetTarget(nullptr);
    traceSetTarget(directory_.file("missing/trace").c_str());
    traceEverything();
    traceSetTarget(nullptr);
    EXPECT_EQ(stream(), nullptr);
}

TEST_F(TraceFailure, AFullStandardOutputIsNotNoticed) {
    if (test::fullDevice().empty()) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    const test::StreamCapture capture(stdout, test::fullDevice());
    traceSetLevel("3");
    traceSetTarget("stdout");
    traceEverything();
    traceSetTarget(nullptr);
    EXPECT_EQ(stream(), nullptr);
}

class TraceLockDeathTest : public test::TraceFixture {
protected:
    TraceLockDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(TraceLockDeathTest, OneReleaseTooManyEndsTheProcess) {
    EXPECT_EXIT(
        {
            { const TraceLock lock; }
            DpTrcUnlock();
        },
        test::endedByAbort, testing::StrEq("ThrRecMtxUnlock: PANIC: #unlock > #lock, tag: \"dptrace\"\n"));
}

}  // namespace
}  // namespace quorvanti
