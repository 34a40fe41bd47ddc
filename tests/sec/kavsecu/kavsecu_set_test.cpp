// The second set of entry points: how it starts, what it says about it, and how it ends.
#include "sec/kavsecu/kavsecu_set.h"

#include "sec/kavsecu/kavsecu_state.h"
#include "tests/sec/kavsecu/loaded_table.h"
#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>

namespace quorvanti::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kNamesInOrder[] = {"kavcr_init",
                                         "kavcr_done",
                                         "aux_sprint_DName",
                                         "aux_sprint_Validity",
                                         "aux_sprint_Serialnumber",
                                         "aux_free_String",
                                         "aux_free_Certificate",
                                         "d_Certificate",
                                         "kav_secin",
                                         "kav_seclogin",
                                         "sec_open",
                                         "sec_close",
                                         "sec_chpin",
                                         "aux_Name2DName",
                                         "aux_free_DName",
                                         "kavsecu_parseobject",
                                         "kavsecu_decode_cert",
                                         "kavsecu_create_CertEntryList",
                                         "kavsecu_sprint_CertEntryList",
                                         "kavsecu_free_CertEntryList",
                                         "kavsecu_DName2CertEntryList",
                                         "kavsecu_SecudeName2CertEntryList",
                                         "kavsecu_Name2CertEntryList",
                                         "aux_get_subject_of_Certificate",
                                         "aux_get_issuer_of_Certificate",
                                         "aux_get_serialnumber_of_Certificate",
                                         "aux_get_validity_of_Certificate",
                                         "aux_latin1_to_unicode",
                                         "pkcs12_generate_key",
                                         "sec_decrypt_all",
                                         "aux_free_Key",
                                         "aux_free_OctetString",
                                         "kavcr_set_property_int",
                                         "kavcr_get_property_int"};

// The lines of the set itself, without those of the dynamic loader.
std::vector<std::string> setLines(const TraceCapture& trace) {
    std::vector<std::string> result;
    for (const std::string& line : trace.lines()) {
        if (line.find("KavSecu") != std::string::npos) {
            result.push_back(line);
        }
    }
    return result;
}

void anyFunction() {}

TEST(KavSecuSet, StartsFromTheTablesOwnLibrary) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    const TraceCapture trace(2);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().state, KavSecuState::complete);
    EXPECT_EQ(kavSecuSet().handle, loaded.table.libraryHandle);
    EXPECT_EQ(kavSecuSet().refCount, 2);
    EXPECT_EQ(kavSecuSet().fipsMode, 0);
    std::vector<std::string> expected;
    void* const library = openSharedLibrary(crypto.path().c_str());
    for (std::size_t i = 0; i < std::size(kNamesInOrder); ++i) {
        EXPECT_EQ(kavSecuSet().entryPoints[i], findInSharedLibrary(library, kNamesInOrder[i])) << kNamesInOrder[i];
        expected.push_back(std::string("KavSecuInit(): loaded function >") + kNamesInOrder[i] + "<.");
    }
    closeSharedLibrary(library);
    expected.emplace_back("KavSecuInit(): FIPS 140-2 mode in libkavsecu is disabled");
    EXPECT_EQ(setLines(trace), expected);
}

TEST(KavSecuSet, ReportsAnActiveFipsMode) {
    CryptoDouble crypto;
    crypto->hooks.kavcr_get_property_int = [](const char* name, std::int32_t* value) {
        EXPECT_STREQ(name, "FIPS_140_2_CRYPTO_KERNEL_ACTIVE");
        *value = 1;
        return 0;
    };
    LoadedTable loaded;
    const TraceCapture trace(2);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().fipsMode, 1);
    EXPECT_EQ(setLines(trace).back(), "KavSecuInit(): FIPS 140-2 mode in libkavsecu is enabled");
}

TEST(KavSecuSet, AnyOtherFipsModeIsReportedAsDisabled) {
    CryptoDouble crypto;
    crypto->hooks.kavcr_get_property_int = [](const char*, std::int32_t* value) {
        *value = 2;
        return 0;
    };
    LoadedTable loaded;
    const TraceCapture trace(2);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().fipsMode, 2);
    EXPECT_EQ(setLines(trace).back(), "KavSecuInit(): FIPS 140-2 mode in libkavsecu is disabled");
}

TEST(KavSecuSet, MissingRequiredNameIsAnErrorAtItsFixedLine) {
    const CryptoDouble crypto("double_no_required_name");
    LoadedTable loaded;
    const TraceCapture trace(1);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().state, KavSecuState::incomplete);
    EXPECT_EQ(kavSecuSet().entryPoints[2], nullptr);
    EXPECT_THAT(trace.lines(),
                ElementsAre("*** ERROR => KavSecuInit(): could not load function >aux_sprint_DName<. [secuload]"));
    EXPECT_THAT(trace.text(), HasSubstr("could not load function >aux_sprint_DName<. [secuload     400]\n"));
}

TEST(KavSecuSet, EveryRequiredNameIsAnErrorWhenItIsMissing) {
    const CryptoDouble crypto("double_empty");
    LoadedTable loaded;
    const TraceCapture trace(1);
    loaded.load(crypto.path());
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < 16; ++i) {
        expected.push_back(std::string("*** ERROR => KavSecuInit(): could not load function >") + kNamesInOrder[i] +
                           "<. [secuload]");
    }
    EXPECT_EQ(trace.lines(), expected);
    EXPECT_EQ(kavSecuSet().state, KavSecuState::incomplete);
}

TEST(KavSecuSet, MissingOptionalNamesAreRemarks) {
    const CryptoDouble crypto("double_documented");
    LoadedTable loaded;
    const TraceCapture trace(2);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().state, KavSecuState::incomplete);
    EXPECT_THAT(setLines(trace),
                testing::Contains("KavSecuInit(): could not load function >kavsecu_create_CertEntryList<."));
    EXPECT_FALSE(trace.contains("ERROR"));
}

TEST(KavSecuSet, LibraryThatCannotReportTheFipsMode) {
    const CryptoDouble crypto("double_no_get_property");
    LoadedTable loaded;
    const TraceCapture trace(2);
    loaded.load(crypto.path());
    EXPECT_EQ(kavSecuSet().fipsMode, 0);
    EXPECT_FALSE(trace.contains("FIPS"));
}

TEST(KavSecuSet, StartsWithALibraryWhoseOwnStartFailed) {
    CryptoDouble crypto;
    crypto->functions["kavcr_init"].result = 4;
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupNoLib);
    EXPECT_EQ(kavSecuSet().state, KavSecuState::complete);
}

TEST(KavSecuSet, IsEmptyAfterTheRelease) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    loaded.release();
    EXPECT_EQ(kavSecuSet().state, KavSecuState::notStarted);
    EXPECT_EQ(kavSecuSet().handle, kDlNoHandle);
    EXPECT_EQ(kavSecuSet().refCount, 0);
    EXPECT_EQ(kavSecuSet().entryPoints[0], nullptr);
}

TEST(KavSecuSet, LeavesTheReleaseOfASharedHandleToTheTable) {
    const CryptoDouble crypto;
    std::int32_t another = kDlNoHandle;
    ASSERT_EQ(DlLoadLib(crypto.path().c_str(), another), kDlOk);
    LoadedTable loaded;
    loaded.load(crypto.path());
    loaded.release();
    EXPECT_TRUE(isOpen(another)) << "was given back twice";
    EXPECT_EQ(DlUnloadLib(another), kDlOk);
}

TEST(KavSecuSet, CountsASecondLoad) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    LoadedTable second;
    loaded.load(crypto.path());
    second.load(crypto.path());
    EXPECT_EQ(kavSecuSet().refCount, 3);
    EXPECT_EQ(kavSecuSet().handle, loaded.table.libraryHandle);
}

TEST(KavSecuSet, IsUnavailableForAForeignHandleWithoutALibraryName) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    const TraceCapture trace(1);
    EXPECT_EQ(loaded.loadFromHandle(crypto.path()), kSsfSupOk);
    EXPECT_EQ(kavSecuSet().state, KavSecuState::unavailable);
    EXPECT_EQ(kavSecuSet().handle, kDlNoHandle);
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => DlLoadLib: no libname supplied [dlnt]",
                                           "*** ERROR => KavSecuInit(): could not load libkavsecu ><  [secuload]"));
    EXPECT_THAT(trace.text(), HasSubstr("could not load libkavsecu ><  [secuload     555]\n"));
    DlFunction function = anyFunction;
    EXPECT_EQ(KavSecu_LoadFunction("crypt_hash_create", function), kKavSecuUnavailable);
    EXPECT_EQ(function, nullptr);
    EXPECT_EQ(trace.lines().size(), 2u);
}

TEST(KavSecuSet, UnavailableIsFinalUntilTheRelease) {
    const CryptoDouble crypto;
    const TemporaryDirectory directory;
    const std::string missing = directory.file("missing.so");
    LoadedTable loaded;
    KavSecuSetLibraryName(missing.c_str());
    const TraceCapture trace(1);
    DlFunction function = nullptr;
    EXPECT_EQ(KavSecu_LoadFunction("crypt_hash_create", function), kKavSecuUnavailable);
    EXPECT_THAT(setLines(trace),
                ElementsAre("*** ERROR => KavSecuInit(): could not load libkavsecu >" + missing + "<  [secuload]"));
    KavSecuSetLibraryName(crypto.path().c_str());
    EXPECT_EQ(KavSecu_LoadFunction("crypt_hash_create", function), kKavSecuUnavailable);
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(kavSecuSet().state, KavSecuState::unavailable);
    EXPECT_EQ(setLines(trace).size(), 1u);
    loaded.release();
    EXPECT_EQ(kavSecuSet().state, KavSecuState::notStarted);
    EXPECT_EQ(KavSecu_LoadFunction("crypt_hash_create", function), 0);
}

TEST(KavSecuSet, StartsByNameForAForeignHandle) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    KavSecuSetLibraryName(crypto.path().c_str());
    const TraceCapture trace(2);
    loaded.loadFromHandle(crypto.path());
    EXPECT_EQ(kavSecuSet().state, KavSecuState::complete);
    EXPECT_EQ(kavSecuSet().refCount, 1);
    const std::int32_t handle = kavSecuSet().handle;
    EXPECT_TRUE(isOpen(handle));
    EXPECT_EQ(setLines(trace).front(), "KavSecuInit(): libkavsecu loaded from >" + crypto.path() + "<");
    loaded.release();
    EXPECT_FALSE(isOpen(handle));
    EXPECT_EQ(kavSecuSet().state, KavSecuState::notStarted);
}

TEST(KavSecuSet, StartsByNameWhenAFunctionIsWanted) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    KavSecuSetLibraryName(crypto.path().c_str());
    DlFunction function = nullptr;
    EXPECT_EQ(KavSecu_LoadFunction("crypt_hash_create", function), 0);
    EXPECT_NE(function, nullptr);
    EXPECT_EQ(kavSecuSet().refCount, 1);
    const std::int32_t handle = kavSecuSet().handle;
    loaded.release();
    EXPECT_FALSE(isOpen(handle));
}

TEST(KavSecuSet, LoadsFunctionsByName) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    const TraceCapture trace(2);
    DlFunction function = nullptr;
    EXPECT_EQ(KavSecu_LoadFunction("crypt_keyedmac_create", function), 0);
    void* const library = openSharedLibrary(crypto.path().c_str());
    EXPECT_EQ(function, findInSharedLibrary(library, "crypt_keyedmac_create"));
    closeSharedLibrary(library);
    EXPECT_THAT(trace.lines(), ElementsAre("KavSecu_LoadFunction(): loaded function >crypt_keyedmac_create<."));
    const TraceCapture errors(1);
    EXPECT_EQ(KavSecu_LoadFunction("crypt_keyedmac_create", function), 0);
    EXPECT_THAT(errors.lines(), IsEmpty());
}

TEST(KavSecuSet, MissingFunctionIsAnErrorAtItsFixedLine) {
    const CryptoDouble crypto("double_no_keyed_mac");
    LoadedTable loaded;
    loaded.load(crypto.path());
    const TraceCapture trace(1);
    DlFunction function = anyFunction;
    EXPECT_EQ(KavSecu_LoadFunction("crypt_keyedmac_create", function), kKavSecuUnavailable);
    EXPECT_EQ(function, nullptr);
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => KavSecu_LoadFunction(): could not load function "
                                           ">crypt_keyedmac_create<. [secuload]"));
    EXPECT_THAT(trace.text(), HasSubstr(">crypt_keyedmac_create<. [secuload     680]\n"));
}

TEST(KavSecuSet, ShowsNamesUpTo256Characters) {
    const CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    const TraceCapture trace(1);
    DlFunction function = nullptr;
    EXPECT_EQ(KavSecu_LoadFunction(std::string(300, 'n').c_str(), function), kKavSecuUnavailable);
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => KavSecu_LoadFunction(): could not load function >" +
                                           std::string(256, 'n') + "<. [secuload]"));
}

TEST(KavSecuSet, StartWithACompleteLibraryWritesNoErrorLine) {
    for (const char* const variant : {"double_full", "double_documented"}) {
        const CryptoDouble crypto(variant);
        LoadedTable loaded;
        KavSecuSetLibraryName(crypto.path().c_str());
        const TraceCapture trace(1);
        EXPECT_EQ(loaded.loadFromHandle(crypto.path()), kSsfSupOk);
        EXPECT_THAT(trace.lines(), IsEmpty()) << variant;
    }
}

}  // namespace
}  // namespace quorvanti::test
