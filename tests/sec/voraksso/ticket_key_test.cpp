#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/voraksso/base64.h"
#include "sec/voraksso/state.h"

#include <algorithm>
#include <cstring>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

class TicketKey : public EngineTest {
protected:
    using EngineTest::EngineTest;

    static std::int32_t load(const std::string& content, std::uint32_t type, const char* password = nullptr) {
        return VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>(content.data()),
                                  static_cast<std::int32_t>(content.size()), password, 0, type);
    }
    static const TicketKeyCache& key() { return libraryState().ticketKey; }
    static std::string keyBytes() { return {key().keyBytes, key().keyBytes + key().keyLength}; }
    static bool nothingCached() {
        const auto zero = [](const auto& field) {
            return std::all_of(std::begin(field), std::end(field), [](auto byte) { return byte == 0; });
        };
        return key().pseName == nullptr && key().keyLength == 0 && zero(key().profileName) && zero(key().keyPassword) &&
               zero(key().keyBytes);
    }
};

TEST_F(TicketKey, AKeyStoreImageIsLoadedUnderItsNameWithItsPassword) {
    const TraceCapture trace(2);
    EXPECT_EQ(load("image", VORAK_KEY_STORE, "secret"), VORAK_OK);
    EXPECT_EQ(crypto.argument("kav_load_memory_PSE", "image"), "image");
    EXPECT_STREQ(key().profileName, key().pseName);
    EXPECT_STREQ(key().keyPassword, "secret");
    EXPECT_EQ(key().keyLength, 0u);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"Ticket key as new PSE loaded "});
}

TEST_F(TicketKey, TheNameLosesTrailingBlanks) {
    char name[] = "store one  ";
    crypto->hooks.kav_create_memory_PSE = [&name](char** made) -> std::int32_t {
        *made = name;
        return 0;
    };
    EXPECT_EQ(load("image", VORAK_KEY_STORE), VORAK_OK);
    EXPECT_STREQ(key().profileName, "store one");
    VorakShutdown();
    crypto->foreignReleases = 0;  // the double takes only its own names back
}

TEST_F(TicketKey, APasswordIsCutAt511Characters) {
    EXPECT_EQ(load("image", VORAK_KEY_STORE, std::string(600, 'p').c_str()), VORAK_OK);
    EXPECT_EQ(std::string(key().keyPassword), std::string(511, 'p'));
}

TEST_F(TicketKey, AnHmacKeyIsKeptAsItIsAndIsNoKeyStore) {
    const TraceCapture trace(2);
    EXPECT_EQ(load(std::string("k\0y", 3), VORAK_KEY_HMAC, "pw"), VORAK_OK);
    EXPECT_EQ(keyBytes(), std::string("k\0y", 3));
    EXPECT_EQ(key().profileName[0], '\0');
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"Token key for HMAC verification loaded "});
}

TEST_F(TicketKey, AnHmacKeyOf8192BytesSucceedsButLeavesNoKey) {
    EXPECT_EQ(load(std::string(8191, 'k'), VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(key().keyLength, 8191u);
    EXPECT_EQ(load(std::string(8192, 'k'), VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(key().keyLength, 0u);
    EXPECT_EQ(key().keyBytes[0], 0);
    EXPECT_EQ(load(std::string(8192, 'A'), VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(key().keyLength, 0u);
}

TEST_F(TicketKey, ABase64KeyIsDecodedAsPeoplePasteIt) {
    const TraceCapture trace(2);
    EXPECT_EQ(load("QUJD\nRA==", VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(keyBytes(), "ABCD");
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"Token key (base 64 encoded) for HMAC verification loaded "});
    EXPECT_EQ(load(" Q\tU-J\r\nD_", VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(keyBytes(), "ABC") << "characters outside the alphabet are skipped";
    EXPECT_EQ(load("QUJDRA", VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(keyBytes(), "ABCD") << "two characters give one byte";
    EXPECT_EQ(load("QUJDREU", VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(keyBytes(), "ABCDE") << "three give two";
    EXPECT_EQ(load("QUJD=RUZH", VORAK_KEY_HMAC_BASE64), VORAK_OK);
    EXPECT_EQ(keyBytes(), "ABC") << "the padding ends it";
}

TEST(LenientBase64, WritesNoMoreThanFits) {
    std::uint8_t output[4] = {0, 0, 0, 0x7E};
    EXPECT_EQ(decodeLenientBase64("QUJDREVG", std::span(output, 3)), 3u);
    EXPECT_EQ(output[3], 0x7E);
}

TEST_F(TicketKey, ACertificateIsPutIntoTheKeyStoreAsATrustedOne) {
    for (const std::uint32_t type : {VORAK_KEY_CERTIFICATE, VORAK_KEY_CERTIFICATE_QUIETLY}) {
        const TraceCapture trace(2);
        EXPECT_EQ(load("certificate", type), VORAK_OK);
        EXPECT_EQ(crypto.argument("kavsecu_decode_cert", "content"), "certificate");
        EXPECT_EQ(crypto.argument("SsfCreateProfile", "profile"), key().pseName);
        EXPECT_EQ(crypto.argument("SsfOpenProfile", "profile"), key().pseName);
        EXPECT_EQ(crypto.calls("SsfPutCertificate"), crypto.calls("SsfCloseProfile"));
        EXPECT_STREQ(key().profileName, key().pseName);
        EXPECT_EQ(keyBytes(), "certificate");
        EXPECT_EQ(trace.lines(), std::vector<std::string>{"Ticket key from X509 certificate loaded "});
    }
    EXPECT_EQ(crypto.calls("SsfPutCertificate"), 2);
}

TEST_F(TicketKey, ACertificateThatCannotBeDecodedIsTracedForType1Only) {
    crypto->functions["kavsecu_decode_cert"].result = 40;
    {
        const TraceCapture trace(2);
        EXPECT_EQ(load("x", VORAK_KEY_CERTIFICATE), VORAK_CRYPTO_FAILED);
        EXPECT_EQ(trace.lines(),
                  (std::vector<std::string>{"*** ERROR => The decode_cert function failed in SSF library with rc = 40 "
                                            "[ssoxxext]",
                                            "Ticket key from X509 certificate loaded "}));
    }
    const TraceCapture trace(2);
    EXPECT_EQ(load("x", VORAK_KEY_CERTIFICATE_QUIETLY), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"Ticket key from X509 certificate loaded "});
    EXPECT_TRUE(nothingCached());
}

TEST_F(TicketKey, ACertificateThatCannotBeStoredIsSaidToBeLoadedBeforeItIsCleanedUp) {
    struct Row {
        const char* function;
        std::vector<std::string> lines;
    };
    const std::string loaded = "Ticket key from X509 certificate loaded ";
    const std::string created = "*** ERROR => SsfCreateProfile failed for memory PSE [ssoxxext]";
    const std::string opened = "*** ERROR => SsfOpenProfile failed for memory PSE [ssoxxext]";
    for (const Row& row : {Row{"SsfCreateProfile", {created, opened, loaded}}, Row{"SsfOpenProfile", {opened, loaded}},
                           Row{"SsfPutCertificate", {loaded}}}) {
        const TraceCapture trace(2);
        crypto->functions[row.function].result = 24;
        EXPECT_EQ(load("certificate", VORAK_KEY_CERTIFICATE), VORAK_CRYPTO_FAILED) << row.function;
        EXPECT_EQ(trace.lines(), row.lines);
        EXPECT_TRUE(nothingCached());
        crypto->functions[row.function].result = 0;
    }
}

TEST_F(TicketKey, ACertificateNeedsTheFunctionsOfKeyStores) {
    for (const auto& [name, flag] : {std::pair{"SsfCreateProfile", ssf::SsfCreateProfile.flag},
                                     {"SsfOpenProfile", ssf::SsfOpenProfile.flag},
                                     {"SsfPutCertificate", ssf::SsfPutCertificate.flag},
                                     {"SsfCloseProfile", ssf::SsfCloseProfile.flag}}) {
        const TraceCapture trace(1);
        std::uint8_t& available = libraryState().cryptoTable.available[flag];
        available = 0;
        EXPECT_EQ(load("certificate", VORAK_KEY_CERTIFICATE), VORAK_CRYPTO_FUNCTION_MISSING) << name;
        EXPECT_EQ(trace.lines(),
                  std::vector<std::string>{std::string("*** ERROR => ") + name + " is NULL. [ssoxxext]"});
        EXPECT_TRUE(nothingCached());
        available = 1;
    }
}

TEST_F(TicketKey, WhatClosingTheKeyStoreAnswersIsTheResult) {
    crypto->functions["SsfCloseProfile"].result = 21;
    EXPECT_EQ(load("certificate", VORAK_KEY_CERTIFICATE), 21);
    EXPECT_TRUE(nothingCached());
    crypto->functions["SsfCloseProfile"].result = 0x10000;
    EXPECT_EQ(load("certificate", VORAK_KEY_CERTIFICATE), VORAK_CRYPTO_FAILED);
}

TEST_F(TicketKey, AnImageThatCannotBeLoadedLeavesNoKey) {
    const TraceCapture trace(1);
    crypto->functions["kav_load_memory_PSE"].result = 10;
    EXPECT_EQ(load("image", VORAK_KEY_STORE, "pw"), VORAK_INVALID);
    crypto->functions["kav_load_memory_PSE"].result = 24;
    EXPECT_EQ(load("image", VORAK_KEY_STORE, "pw"), VORAK_INVALID);
    EXPECT_TRUE(nothingCached());
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "*** ERROR => Load the PSE into the memory failed: SSF_SUP_NOLIB.  [ssoxxext]",
                                 "*** ERROR => Load the PSE into the memory failed: <unknown SUP RC>.  [ssoxxext]"}));
}

TEST_F(TicketKey, AMemoryKeyStoreThatCannotBeMadeIs11) {
    const TraceCapture trace(1);
    crypto->functions["kav_create_memory_PSE"].result = 10;
    EXPECT_EQ(load("image", VORAK_KEY_STORE), VORAK_NO_MEMORY);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"*** ERROR => Create PSE in memory failed: SSF_SUP_NOLIB.  [ssoxxext]"});
}

TEST_F(TicketKey, AFailedLoadRemovesTheKeyLoadedBefore) {
    const auto loadedBefore = [] { return load("image", VORAK_KEY_STORE, "pw") == VORAK_OK && !nothingCached(); };
    const TraceCapture trace(1);
    EXPECT_TRUE(loadedBefore());
    EXPECT_EQ(load("x", 5), VORAK_INVALID);
    EXPECT_TRUE(nothingCached());
    EXPECT_TRUE(loadedBefore());
    EXPECT_EQ(VorakLoadTicketKey(nullptr, 5, nullptr, 0, 0), VORAK_MISSING_ARGUMENT);
    EXPECT_TRUE(nothingCached());
    EXPECT_TRUE(loadedBefore());
    EXPECT_EQ(load("", VORAK_KEY_STORE), VORAK_MISSING_ARGUMENT);
    EXPECT_TRUE(nothingCached());
    EXPECT_TRUE(loadedBefore());
    EXPECT_EQ(VorakLoadTicketKey(reinterpret_cast<const std::uint8_t*>("x"), -1, nullptr, 0, 0),
              VORAK_MISSING_ARGUMENT);
    EXPECT_TRUE(nothingCached());
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"*** ERROR => Invalid type 5 of key.  [ssoxxext]",
                                                       "*** ERROR => Null input passed for key content [ssoxxext]",
                                                       "*** ERROR => Null input passed for key content [ssoxxext]",
                                                       "*** ERROR => Null input passed for key content [ssoxxext]"}));
}

TEST_F(TicketKey, ALoadThatReturns13RemovesTheKeyLoadedBeforeAndMissingContentGoesBeforeIt) {
    ASSERT_EQ(load("image", VORAK_KEY_STORE, "pw"), VORAK_OK);
    libraryState().cryptoTable.available[ssf::kav_load_memory_PSE.flag] = 0;
    const TraceCapture trace(1);
    EXPECT_EQ(load("key", VORAK_KEY_HMAC), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_TRUE(nothingCached());
    EXPECT_EQ(crypto.calls("kav_delete_memory_PSE"), 1);
    EXPECT_EQ(load("", VORAK_KEY_HMAC), VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{
                                 "*** ERROR => Null pointer for Ssf function pointer, wrong SSF library [ssoxxext]",
                                 "*** ERROR => Null input passed for key content [ssoxxext]"}));
}

TEST_F(TicketKey, ANewLoadReplacesTheKeyAndItsPassword) {
    EXPECT_EQ(load("image", VORAK_KEY_STORE, "old password"), VORAK_OK);
    EXPECT_EQ(load("key", VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(crypto.calls("kav_delete_memory_PSE"), 1);
    EXPECT_EQ(key().keyPassword[0], '\0');
    EXPECT_EQ(key().profileName[0], '\0');
}

TEST_F(TicketKey, AShutdownDeletesAndWipesTheKey) {
    EXPECT_EQ(load("image", VORAK_KEY_STORE, "pw"), VORAK_OK);
    VorakShutdown();
    EXPECT_EQ(crypto.calls("kav_delete_memory_PSE"), 1);
    EXPECT_TRUE(nothingCached());
}

TEST_F(TicketKey, NeedsAnInitializedLibrary) {
    VorakShutdown();
    const TraceCapture trace(3);
    EXPECT_EQ(load("image", VORAK_KEY_STORE), VORAK_INVALID);
    EXPECT_EQ(trace.lines(), (std::vector<std::string>{"Call function VorakLoadTicketKey ",
                                                       "*** ERROR => VorakInitialize must be called first. [ssoxxext]",
                                                       "Leave function VorakLoadTicketKey with rc = 9."}));
}

TEST_F(TicketKey, EntryAndExitAreTracedAtLevel3AndNoSecret) {
    const TraceCapture trace(3);
    load("key-content", VORAK_KEY_HMAC, "secret");
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{"Call function VorakLoadTicketKey ", "Token key for HMAC verification loaded ",
                                        "Cleanup of function, memory PSE created ",
                                        "Leave function VorakLoadTicketKey with rc = 0."}));
    EXPECT_FALSE(trace.contains("secret"));
    EXPECT_FALSE(trace.contains("key-content"));
}

TEST_F(TicketKey, AnEvaluationWithoutAProfileUsesAKeyThatIsAKeyStoreOnly) {
    const std::string text = ticket(logon());
    const auto usedProfile = [&] {
        FullRecord record;
        VorakEvalTicket(text.c_str(), static_cast<std::uint32_t>(text.size()), &record.info);
        return crypto.argument("SsfVerify", "profile");
    };
    load("image", VORAK_KEY_STORE);
    EXPECT_EQ(usedProfile(), key().pseName);
    load("key", VORAK_KEY_HMAC);
    EXPECT_EQ(usedProfile(), "");
}

TEST_F(TicketKey, ATokenKeyLeavesTheKeyStoreOfTheTicketHandlesAndItsPasswordOpensNothing) {
    const std::string text = ticket(logon());
    const auto used = [&] {
        FullRecord record;
        EXPECT_EQ(VorakEvalTicket(text.c_str(), static_cast<std::uint32_t>(text.size()), &record.info), VORAK_OK);
        return crypto.argument("SsfVerify", "profile") + "/" + crypto.argument("SsfVerify", "password");
    };
    ASSERT_EQ(TcktInitializeEx(crypto.path().c_str(), "named-for-handles.pse"), VORAK_OK);
    ASSERT_EQ(load("key", VORAK_KEY_HMAC, "token password"), VORAK_OK);
    EXPECT_EQ(used(), "named-for-handles.pse/");
    ASSERT_EQ(load("image", VORAK_KEY_STORE, "pw"), VORAK_OK);
    EXPECT_EQ(used(), key().pseName + std::string("/pw"));
    ASSERT_EQ(TcktInitializeEx(crypto.path().c_str(), "x"), VORAK_OK);
    EXPECT_EQ(used(), "x/") << "the password is that of the loaded key";
}

class MissingForKeys : public TicketKey, public ::testing::WithParamInterface<std::array<const char*, 2>> {
protected:
    MissingForKeys() : TicketKey(GetParam()[0]) {}
};
TEST_P(MissingForKeys, Yields13AndLeavesNoKey) {
    const TraceCapture trace(1);
    EXPECT_EQ(load("certificate", VORAK_KEY_CERTIFICATE), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_EQ(trace.lines(), std::vector<std::string>{std::string("*** ERROR => ") + GetParam()[1] + " [ssoxxext]"});
    EXPECT_TRUE(nothingCached());
}
INSTANTIATE_TEST_SUITE_P(
    Each, MissingForKeys,
    ::testing::Values(std::array{"double_no_memory_create", "Null pointer for Ssf function pointer, wrong SSF library"},
                      std::array{"double_no_memory_load", "Null pointer for Ssf function pointer, wrong SSF library"},
                      std::array{"double_no_decode_cert",
                                 "Null pointer for function pointer kavsecu_decode_cert, wrong SSF library"},
                      std::array{"double_no_certificate_free", "SsfFreeCertificate is NULL."}));

}  // namespace
}  // namespace quorvanti
