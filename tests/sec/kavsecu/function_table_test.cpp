// The function table is filled by name from the crypto library, starts it, and is emptied again.
#include "sec/kavsecu/function_table.h"

#include "sec/kavsecu/load_line.h"
#include "tests/sec/kavsecu/loaded_table.h"
#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace quorvanti::test {
namespace {

constexpr char kFipsProperty[] = "FIPS_140_2_CRYPTO_KERNEL_ACTIVE";

std::ptrdiff_t countAvailable(const SsfFunctionTable& table) {
    return std::count(table.available.begin(), table.available.end(), 1);
}

TEST(FunctionTable, HoldsEveryFunctionOfACompleteLibrary) {
    CryptoDouble crypto;
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    const SsfFunctionTable& table = loaded.table;
    EXPECT_EQ(table.loaded, 1);
    EXPECT_NE(table.libraryHandle, kDlNoHandle);
    EXPECT_EQ(countAvailable(table), 65);
    EXPECT_EQ(std::count(table.entryPoints.begin(), table.entryPoints.end(), nullptr), 2);
    EXPECT_EQ(table.entryPoints[43], nullptr);
    EXPECT_EQ(table.entryPoints[44], nullptr);
    for (const std::size_t reserved : {43u, 44u, 45u, 68u, 69u, 70u, 71u, 72u, 73u, 74u, 75u, 76u, 77u, 78u}) {
        EXPECT_EQ(table.available[reserved], 0) << reserved;
    }
    ASSERT_NE(table.find(ssf::SsfVerify), nullptr);
    EXPECT_EQ(table.find(ssf::kavcr_init)(), 0);
    EXPECT_EQ(crypto.calls("kavcr_init"), 2);
}

// The slots in which the functions stand, from 0 on; "-" is a reserved one.
constexpr const char* kBySlot[] = {"SsfVersion",
                                   "SsfQueryProperties",
                                   "SsfSign",
                                   "SsfVerify",
                                   "SsfEnvelope",
                                   "SsfDevelope",
                                   "SsfEncode",
                                   "SsfDecode",
                                   "SsfAddSign",
                                   "SsfDigest",
                                   "SsfDELSsfOctetstring",
                                   "SsfNEWSigRcpSsfInfo",
                                   "SsfINSSigRcpSsfInfo",
                                   "SsfDELSigRcpSsfInfo",
                                   "SsfDELSigRcpSsfInfoList",
                                   "SsfOpenProfile",
                                   "SsfCloseProfile",
                                   "SsfCreateProfile",
                                   "SsfRemoveProfile",
                                   "SsfGetOwnCertificate",
                                   "SsfGetCertificate",
                                   "SsfPutCertificate",
                                   "SsfRemoveCertificate",
                                   "SsfFreeCertificate",
                                   "SsfGetCertificateList",
                                   "SsfEnumCertificateList",
                                   "SsfFreeCertificateList",
                                   "SsfCertfromASN1",
                                   "SsfCerttoASN1",
                                   "SsfParseCertificate",
                                   "SsfGetCertificateRequest",
                                   "SsfPutCertificateResponse",
                                   "kavsecu_parseobject",
                                   "kav_secin",
                                   "kav_create_memory_PSE",
                                   "kav_delete_memory_PSE",
                                   "kav_load_memory_PSE",
                                   "kav_save_memory_PSE",
                                   "SsfSignEx",
                                   "SsfVerifyEx",
                                   "SsfEnvelopeEx",
                                   "SsfDevelopeEx",
                                   "SsfSecTKLastErrorInfo",
                                   "-",
                                   "-",
                                   "SsfDecodeCrlArray",
                                   "SsfFreeCrlArray",
                                   "SsfVerifyCRL",
                                   "SsfParseCRL",
                                   "SsfFreeCrlList",
                                   "SsfGetTimeStampReq",
                                   "SsfAddTimeStampResp",
                                   "SsfGetCrlDpArrayFromCert",
                                   "SsfFreeCrlDpArray",
                                   "SsfCheckCertWithCrlArray",
                                   "SsfSecudeNameToLdapUTF8",
                                   "SsfConvertLargeIntToHex",
                                   "SsfSignProfile",
                                   "SsfRcName",
                                   "SsfRcDesc",
                                   "kavcr_init",
                                   "kavcr_done",
                                   "SsfStorePse",
                                   "SsfReadPse",
                                   "kavcr_set_property_int",
                                   "kavcr_get_property_int",
                                   "kavcr_get_property_string"};

TEST(FunctionTable, PutsEachFunctionIntoItsSlot) {
    CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    ASSERT_EQ(std::size(kBySlot), loaded.table.entryPoints.size());
    void* const library = openSharedLibrary(crypto.path().c_str());
    for (std::size_t slot = 0; slot < std::size(kBySlot); ++slot) {
        EXPECT_EQ(loaded.table.entryPoints[slot], findInSharedLibrary(library, kBySlot[slot])) << kBySlot[slot];
    }
    closeSharedLibrary(library);
}

// Slots and flags part at SsfDecodeCrlArray; the pairs are deliberate.
TEST(FunctionTable, KeepsSlotAndFlagNumbersApart) {
    struct Pair {
        const char* name;
        std::size_t slot;
        std::size_t flag;
    };
    constexpr Pair kPairs[] = {
        {"SsfSecTKLastErrorInfo", 42, 42},
        {"SsfDecodeCrlArray", 45, 46},
        {"SsfFreeCrlArray", 46, 47},
        {"SsfVerifyCRL", 47, 48},
        {"SsfParseCRL", 48, 49},
        {"SsfFreeCrlList", 49, 50},
        {"SsfGetCrlDpArrayFromCert", 52, 54},
        {"SsfFreeCrlDpArray", 53, 55},
        {"SsfGetTimeStampReq", 50, 51},
        {"SsfAddTimeStampResp", 51, 52},
        {"SsfCheckCertWithCrlArray", 54, 53},
        {"SsfSecudeNameToLdapUTF8", 55, 56},
        {"SsfConvertLargeIntToHex", 56, 57},
        {"SsfSignProfile", 57, 58},
        {"SsfRcName", 58, 59},
        {"SsfRcDesc", 59, 60},
        {"SsfReadPse", 63, 64},
        {"SsfStorePse", 62, 63},
        {"kavcr_set_property_int", 64, 65},
        {"kavcr_get_property_int", 65, 66},
        {"kavcr_get_property_string", 66, 67},
        {"kavcr_init", 60, 61},
        {"kavcr_done", 61, 62},
    };
    for (std::size_t i = 0; i < std::size(kPairs); ++i) {
        const SsfLoadRow& row = ssfLoadList[42 + i];
        EXPECT_STREQ(row.name, kPairs[i].name);
        EXPECT_EQ(row.slot, kPairs[i].slot) << row.name;
        EXPECT_EQ(row.flag, kPairs[i].flag) << row.name;
    }
    for (std::size_t i = 0; i < 42; ++i) {
        EXPECT_EQ(ssfLoadList[i].slot, ssfLoadList[i].flag) << ssfLoadList[i].name;
    }
    CryptoDouble crypto("double_init_only");
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(countAvailable(loaded.table), 1);
    EXPECT_EQ(loaded.table.available[61], 1);
    EXPECT_NE(loaded.table.entryPoints[60], nullptr);
}

TEST(FunctionTable, ComposesALineAboutTheLastNameAndWritesItNowhere) {
    LoadedTable loaded;
    const TraceCapture trace(3);
    const CryptoDouble full;
    loaded.load(full.path());
    EXPECT_STREQ(ssfLoadLine(), "===...kavcr_done loaded successfully.\n");
    loaded.release();
    const CryptoDouble lacking("double_no_done");
    loaded.load(lacking.path());
    EXPECT_STREQ(ssfLoadLine(), "===... could not load function kavcr_done from SSF library.\n");
    EXPECT_FALSE(trace.contains("==="));
}

TEST(FunctionTable, WithoutAStartFunctionAMissingOneIsReported) {
    CryptoDouble crypto("double_no_init");
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupNotAllFunctions);
    EXPECT_EQ(loaded.table.find(ssf::kavcr_init), nullptr);
    EXPECT_EQ(countAvailable(loaded.table), 64);
    EXPECT_EQ(crypto.calls("kavcr_set_property_int"), 0);
}

TEST(FunctionTable, ALibraryThatStartsIsAcceptedAlthoughFunctionsAreMissing) {
    CryptoDouble crypto("double_no_digest");
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(loaded.table.available[9], 0);
    EXPECT_EQ(crypto.calls("kavcr_set_property_int"), 0);
    EXPECT_EQ(crypto.calls("kavcr_init"), 1);
}

TEST(FunctionTable, AFailedStartCountsAsNoLibrary) {
    CryptoDouble crypto;
    crypto->functions["kavcr_init"].result = 4;
    crypto->properties[kFipsProperty] = 1;
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupNoLib);
    EXPECT_EQ(countAvailable(loaded.table), 65);
    EXPECT_EQ(loaded.table.fipsMode, 0);
}

TEST(FunctionTable, TellsACompleteLibraryTheFipsModeBeforeTheStartAndAsksForItAfterwards) {
    CryptoDouble crypto;
    crypto->hooks.kavcr_get_property_int = [](const char*, std::int32_t* value) {
        *value = 1;
        return 77;  // ignored
    };
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(loaded.table.fipsMode, 1);
    EXPECT_EQ(crypto.argument("kavcr_set_property_int", "name"), kFipsProperty);
    EXPECT_EQ(crypto.argument("kavcr_set_property_int", "value"), "0");
    EXPECT_EQ(crypto.argument("kavcr_get_property_int", "name"), kFipsProperty);
    ASSERT_GE(crypto->order.size(), 3u);
    EXPECT_EQ(crypto->order[0], "kavcr_set_property_int");
    EXPECT_EQ(crypto->order[1], "kavcr_init");
    EXPECT_EQ(crypto->order[2], "kavcr_get_property_int");
}

TEST(FunctionTable, AStartOverridesARefusedFipsMode) {
    CryptoDouble crypto;
    crypto->functions["kavcr_set_property_int"].result = 13;
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(crypto.calls("kavcr_set_property_int"), 1);
}

TEST(FunctionTable, IsNotInFipsModeWhenTheLibraryCannotSay) {
    const CryptoDouble crypto("double_no_get_property");
    LoadedTable loaded;
    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(loaded.table.fipsMode, 0);
}

TEST(FunctionTable, IsNotAskedForTheFipsModeAfterAnIncompleteLoad) {
    CryptoDouble crypto("double_no_init");
    LoadedTable loaded;
    EXPECT_EQ(loaded.loadFromHandle(crypto.path()), kSsfSupNotAllFunctions);
    EXPECT_EQ(crypto.calls("kavcr_get_property_int"), 0);
    EXPECT_EQ(loaded.table.fipsMode, 0);
}

TEST(FunctionTable, ForgetsWhatItHeldOfALibraryBefore) {
    const CryptoDouble crypto("double_empty");
    LoadedTable loaded;
    SsfFunctionTable& table = loaded.table;
    table.entryPoints.fill([] {});
    table.available.fill(1);
    table.fipsMode = 1;
    EXPECT_EQ(SsfLoadFunctions(kDlNoHandle, crypto.path().c_str(), table), kSsfSupNotAllFunctions);
    EXPECT_EQ(std::count(table.entryPoints.begin(), table.entryPoints.end(), nullptr), 65);
    EXPECT_EQ(countAvailable(table), 79 - 65) << "the reserved ones";
    EXPECT_EQ(table.fipsMode, 0);
}

TEST(FunctionTable, StaysClearedWithoutALibrary) {
    const TemporaryDirectory directory;
    LoadedTable loaded;
    const TraceCapture trace(1);
    EXPECT_EQ(loaded.load(directory.file("missing.so")), kSsfSupNoLib);
    EXPECT_EQ(loaded.table.loaded, 0);
    EXPECT_EQ(loaded.table.libraryHandle, kDlNoHandle);
    EXPECT_EQ(countAvailable(loaded.table), 0);
    EXPECT_THAT(trace.text(), testing::HasSubstr("DlLoadLib()==DLENOACCESS"));
}

TEST(FunctionTable, DoesNotOwnAHandleThatItsCallerOpened) {
    const CryptoDouble other("double_empty");
    std::int32_t first = kDlNoHandle;
    ASSERT_EQ(DlLoadLib(other.path().c_str(), first), kDlOk);
    const CryptoDouble crypto;
    LoadedTable loaded;
    EXPECT_EQ(loaded.loadFromHandle(crypto.path()), kSsfSupOk);
    EXPECT_EQ(loaded.handleAfterLoad, kDlNoHandle);
    EXPECT_EQ(countAvailable(loaded.table), 65);
    EXPECT_EQ(DlUnloadLib(first), kDlOk);
}

TEST(FunctionTable, IsEmptyAfterTheRelease) {
    CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    const std::int32_t handle = loaded.table.libraryHandle;
    loaded.table.available.fill(1);  // the reserved ones too
    EXPECT_TRUE(isOpen(handle));
    loaded.release();
    EXPECT_FALSE(isOpen(handle));
    EXPECT_EQ(loaded.table.loaded, 0);
    EXPECT_EQ(loaded.table.libraryHandle, kDlNoHandle);
    EXPECT_EQ(countAvailable(loaded.table), 0);
    EXPECT_EQ(std::count(loaded.table.entryPoints.begin(), loaded.table.entryPoints.end(), nullptr), 67);
    EXPECT_EQ(crypto.calls("kavcr_done"), 1);

    EXPECT_EQ(loaded.load(crypto.path()), kSsfSupOk);
    EXPECT_EQ(crypto.calls("kavcr_init"), 2);
}

TEST(FunctionTable, ForgetsAHandleThatCannotBeReleased) {
    LoadedTable loaded;
    loaded.table.libraryHandle = 63;
    loaded.release();
    EXPECT_EQ(loaded.table.libraryHandle, kDlNoHandle);
}

TEST(FunctionTable, ReleasesALibraryOnce) {
    CryptoDouble crypto;
    LoadedTable loaded;
    loaded.load(crypto.path());
    loaded.release();
    loaded.release();
    EXPECT_EQ(crypto.calls("kavcr_done"), 1);
}

TEST(FunctionTable, StopsTheLibraryAboveInterfaceLevelSevenOnly) {
    for (const std::int32_t level : {-1, 0, 7, 8}) {
        CryptoDouble crypto;
        crypto->versionLevel = level;
        LoadedTable loaded;
        loaded.load(crypto.path());
        loaded.release();
        EXPECT_EQ(crypto.calls("kavcr_done"), level > 7 ? 1 : 0) << level;
    }
}

TEST(FunctionTable, DoesNotStopALibraryWithoutAVersionRecord) {
    CryptoDouble crypto("double_no_version_record");
    LoadedTable loaded;
    loaded.load(crypto.path());
    loaded.release();
    EXPECT_EQ(crypto.calls("kavcr_done"), 0);
}

TEST(FunctionTable, DoesNotStopALibraryThatIsNotStarted) {
    CryptoDouble crypto("double_no_init");
    LoadedTable loaded;
    loaded.load(crypto.path());
    loaded.release();
    EXPECT_EQ(crypto.calls("kavcr_done"), 0);
}

TEST(FunctionTable, NamesTheResultsOfTheLoader) {
    EXPECT_STREQ(SsfSupRcName(0), "SSF_SUP_OK");
    EXPECT_STREQ(SsfSupRcName(1), "SSF_SUP_ALREADYLOADED");
    EXPECT_STREQ(SsfSupRcName(5), "SSF_SUP_NOTALLFUNCTIONS");
    EXPECT_STREQ(SsfSupRcName(10), "SSF_SUP_NOLIB");
    EXPECT_STREQ(SsfSupRcName(2), "<unknown SUP RC>");
    EXPECT_STREQ(SsfSupRcName(-1), "<unknown SUP RC>");
}

}  // namespace
}  // namespace quorvanti::test
