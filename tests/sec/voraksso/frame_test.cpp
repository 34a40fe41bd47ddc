// The frame: what starting it leaves behind, and a thread layer that cannot start.
#include "tests/sec/voraksso/engine_fixture.h"

#include "krn/thr/thr_platform.h"
#include "sec/voraksso/state.h"

#include <cstdio>
#include <cstdlib>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

// Ends the process; what was registered for the exit before the frame is made runs after everything that it registers.
[[noreturn]] void makeFrameAndExit() {
    std::atexit([] { std::fprintf(stderr, "cleanup answers %d", ThrCleanup()); });
    std::exit(QuorvantiSetProperty("SSF_HASH", "SHA256"));
}

TEST(FrameDeathTest, RegistersNothingForTheExitOfTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(makeFrameAndExit(), testing::ExitedWithCode(0), "cleanup answers 0")
        << "the thread is still registered";
}

TEST(Frame, AThreadLayerThatCannotStartRefusesStartAndProperties) {
    const TraceCapture trace(2);
    setThrHandleSource([](ThrHandle&) { return false; });
    EXPECT_EQ(VorakInitialize("any-library"), VORAK_INVALID);
    EXPECT_EQ(QuorvantiSetProperty("SSF_HASH", "SHA256"), VORAK_INVALID);
    // The start sets level and target of the open trace again, and each property needs the layer as well.
    EXPECT_EQ(trace.lines(), std::vector<std::string>(4, "Thread Library could not be initialized."));
    EXPECT_EQ(libraryState().frameReady, 0);
    EXPECT_STREQ(QuorvantiGetProperty("SSF_HASH"), "SHA1") << "nothing was set";
    setThrHandleSource(nullptr);
    EXPECT_EQ(QuorvantiSetProperty("SSF_HASH", "SHA256"), VORAK_OK);
    EXPECT_EQ(libraryState().frameReady, 1);
}

TEST(Frame, IsMadeWhileAShutdownHoldsTheCryptoLock) {
    if (libraryState().frameReady != 0) {
        GTEST_SKIP() << "the frame is made once a process";
    }
    const ThrRecMtxGuard held(libraryState().cryptoLock);
    EXPECT_EQ(QuorvantiSetProperty("SSF_HASH", "SHA256"), VORAK_OK);
    EXPECT_EQ(libraryState().cryptoLock.count, 1) << "otherwise the release of the lock ends the process";
    EXPECT_STREQ(libraryState().cryptoLock.tag.get(), "QUORVANTI_SSF");
}

}  // namespace
}  // namespace quorvanti
