// A thread layer that cannot start; in a program of its own, because the layer starts once a process.
#include "tests/sec/voraksso/engine_fixture.h"

#include "krn/thr/thr_platform.h"
#include "sec/voraksso/state.h"

namespace quorvanti {
namespace {

using namespace quorvanti::test;

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
