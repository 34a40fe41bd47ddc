// The per-thread trace record.
#include "base/dptrc/trace_thread.h"
#include "krn/thr/thr_platform.h"
#include "tests/base/dptrc/trace_fixture.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/stream_capture.h"

#include <thread>

namespace quorvanti {
namespace {

class TraceThread : public test::TraceFixture {};

TEST_F(TraceThread, EachThreadHasARecordOfItsOwnWithAllFieldsZero) {
    ThreadTraceRecord* const mine = CTrcIGetThrAdm(nullptr);
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(CTrcIGetThrAdm(nullptr), mine);
    EXPECT_EQ(mine->stream, nullptr);
    EXPECT_EQ(mine->level, 0);
    EXPECT_EQ(mine->lastStampSecond, 0);
    ThreadTraceRecord* others = mine;
    std::thread([&] { others = CTrcIGetThrAdm(nullptr); }).join();
    EXPECT_NE(others, nullptr);
    EXPECT_NE(others, mine);
}

TEST_F(TraceThread, WithoutMemoryTheStreamIsToldAndTheTraceGoesOn) {
    const test::StreamCapture capture(stderr);
    ASSERT_NE(CTrcIGetThrAdm(nullptr), nullptr);
    ThreadTraceRecord* record = nullptr;
    std::thread([&] {
        const test::AllocationFailure failure;
        record = CTrcIGetThrAdm(stderr);
        CTrcIGetThrAdm(nullptr);
    }).join();
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(capture.text(), "CTrcIGetThrAdm: ThrKeyVarGet failed\n");
}

TEST_F(TraceThread, WithoutAKeyThereIsNoRecordAndTheTraceGoesOn) {
    ThrKey key = kThrNoKeyYet;
    while (threadKeyAllocate(key, nullptr)) {
    }
    EXPECT_EQ(CTrcIGetThrAdm(stderr), nullptr);
    open("2");
    TRACE(2, "on\n");
    EXPECT_EQ(written(), tagged(std::string(test::kStamp) + "@on\n"));
}

}  // namespace
}  // namespace quorvanti
