// Linked so that the token evaluation's start is the one below: how else would it fail?
#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/state.h"

namespace {
bool fails = true;
}

extern "C" std::int32_t __real__ZN9quorvanti13JwtInitializeEPNS_16SsfFunctionTableE(quorvanti::SsfFunctionTable* table);
extern "C" std::int32_t __wrap__ZN9quorvanti13JwtInitializeEPNS_16SsfFunctionTableE(
    quorvanti::SsfFunctionTable* table) {
    return fails ? -1 : __real__ZN9quorvanti13JwtInitializeEPNS_16SsfFunctionTableE(table);
}

namespace quorvanti {
namespace {

using namespace quorvanti::test;

TEST(TokenStart, AFailureYields14KeepsTheCryptoLibraryLoadedAndMayBeTriedAgain) {
    CryptoDouble crypto;
    {
        const TraceCapture trace(1);
        EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_CRYPTO_FAILED);
        EXPECT_EQ(trace.lines().back(), "*** ERROR => JwtInitialize error -1 [ssoxxext]");
        EXPECT_EQ(trace.lines().size(), 4u) << "the banner and that line, no version";
    }
    EXPECT_EQ(libraryState().initialized, 0);
    EXPECT_EQ(libraryState().cryptoTable.loaded, 1);
    FullRecord record;
    EXPECT_EQ(VorakEvalTicket("AAAA", 4, &record.info), VORAK_INVALID);

    fails = false;
    EXPECT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    EXPECT_EQ(crypto.calls("kavcr_init"), 2);
    EXPECT_EQ(crypto.calls("kavcr_done"), 1) << "what the first start loaded was given back before the second";
    VorakShutdown();
    EXPECT_EQ(crypto.calls("kavcr_done"), 2);
}

}  // namespace
}  // namespace quorvanti
