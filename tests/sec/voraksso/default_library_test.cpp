// A start that names no crypto library, where only the second of the default names is there: a double.
#include "sec/voraksso/platform_facts.h"
#include "sec/voraksso/state.h"
#include "tests/sec/voraksso/engine_fixture.h"

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class DefaultLibrary : public ::testing::Test {
protected:
    ~DefaultLibrary() override { VorakShutdown(); }

    static std::string unloaded() {
        return std::string("DlUnloadLib() successful dlclose(\"") + kDefaultCryptoLibraries[1] + "\")";
    }

    EnvironmentVariable library_{"SSF_LIB", nullptr};
    CryptoDouble crypto_{QUORVANTI_DEFAULT_DOUBLE};
};

TEST_F(DefaultLibrary, TheSecondIsTakenWithoutALineOnTheFirstAndUnloadedAtTheEnd) {
    const TraceCapture trace(2);
    ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK);
    EXPECT_EQ(crypto_.calls("kavcr_init"), 1);
    EXPECT_NE(libraryState().cryptoTable.libraryHandle, -1) << "the handle of the probe is the table's";
    EXPECT_TRUE(trace.contains(std::string("use default: ") + kDefaultCryptoLibraries[0]));
    EXPECT_FALSE(trace.contains("*** ERROR")) << "the probe leaves no line";
    EXPECT_TRUE(trace.contains(std::string("loaded from >") + kDefaultCryptoLibraries[1] + "<"))
        << "the functions for tokens come from the same library";
    VorakShutdown();
    EXPECT_EQ(crypto_.calls("kavcr_done"), 1);
    EXPECT_EQ(libraryState().cryptoTable.libraryHandle, -1);
}

TEST_F(DefaultLibrary, OneThatDoesNotStartIsGivenBackAndLoadedAgainLater) {
    crypto_->functions["kavcr_init"].result = 4;
    {
        const TraceCapture trace(2);
        EXPECT_EQ(VorakInitialize(nullptr), VORAK_CRYPTO_FAILED);
        EXPECT_TRUE(hasLine(trace, std::string("*** ERROR => SsfInit error SSF_SUP_NOLIB, couldn't load library ") +
                                       kDefaultCryptoLibraries[1] + ". [ssoxxext]"));
        EXPECT_TRUE(trace.contains(unloaded()));
    }
    EXPECT_EQ(libraryState().cryptoTable.libraryHandle, -1);
    crypto_->functions["kavcr_init"].result = 0;
    EXPECT_EQ(VorakInitialize(nullptr), VORAK_OK);
}

}  // namespace
}  // namespace quorvanti
