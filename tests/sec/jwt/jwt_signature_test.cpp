// What the crypto library is asked about a signature, and what each of its answers means.
#include "sec/jwt/known_keys.h"
#include "tests/sec/jwt/started_engine.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>
#include <algorithm>

namespace quorvanti::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kInvalid[] = "20 JWT signature validation failed";

std::string signedText(std::string_view header, std::string_view payload) {
    return base64Url(header) + "." + base64Url(payload);
}

// --- HMAC -----------------------------------------------------------------------------------------------------

TEST(JwtMac, IsMadeOverTheBytesAsReceived) {
    StartedEngine engine;
    engine.crypto->order.clear();
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, R"({"sub" : "bob"})"), "the secret"), "0 ");
    EXPECT_THAT(engine.crypto->order,
                ElementsAre("crypt_hashAlgorithm_Name2Id", "crypt_keyedmac_create", "crypt_keyedmac_more",
                            "crypt_keyedmac_getValue", "crypt_keyedmac_release"));
    EXPECT_EQ(engine.crypto.argument("crypt_hashAlgorithm_Name2Id", "name"), "SHA256");
    EXPECT_EQ(engine.crypto.argument("crypt_keyedmac_create", "hashId"), "2");
    EXPECT_EQ(engine.crypto.argument("crypt_keyedmac_create", "key"), "the secret");
    EXPECT_EQ(engine.crypto->hashedData, signedText(kHs256, R"({"sub" : "bob"})"));
    EXPECT_THAT(engine.crypto->outstanding, IsEmpty());
}

TEST(JwtMac, MustEqualTheSignatureInLengthAndBytes) {
    const StartedEngine engine;
    ASSERT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), "0 ");
    const std::string mac(kDoubleMac);
    for (const std::string& other : {mac + "x", mac.substr(0, mac.size() - 1), mac.substr(1), std::string("x")}) {
        EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}", other)), kInvalid) << other;
    }
    for (std::size_t bit = 0; bit < mac.size() * 8; ++bit) {
        std::string flipped = mac;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}", flipped)), kInvalid) << bit;
    }
}

TEST(JwtMac, NeedsAKeyAndASignature) {
    StartedEngine engine;
    engine.crypto->hashValue = "";
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}", "")), kInvalid);  // not even when the MAC is empty too
    engine.crypto->hashValue = kDoubleMac;
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}"), ""), kInvalid);
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}"), {}), kInvalid);
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}", "")), kInvalid);
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}"), {}), kInvalid);
    EXPECT_EQ(engine.crypto.calls("crypt_keyedmac_create"), 0);
    EXPECT_EQ(engine.crypto.calls("SsfVerifyEx"), 0);
}

TEST(JwtMac, FailsWithEachCallOfTheCryptoLibrary) {
    for (const char* function :
         {"crypt_hashAlgorithm_Name2Id", "crypt_keyedmac_create", "crypt_keyedmac_more", "crypt_keyedmac_getValue"}) {
        StartedEngine engine;
        engine.crypto->functions[function].result = SSF_API_NOMEMORY;
        EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), kInvalid) << function;
        EXPECT_THAT(engine.crypto->outstanding, IsEmpty()) << function;
    }
}

TEST(JwtMac, FailsWhenTheHashIsUnknown) {
    StartedEngine engine;
    engine.crypto->hashIds = {{"SHA1", 1}};
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), kInvalid);
}

TEST(JwtMac, FailsOnALengthThatCannotBe) {
    StartedEngine engine;
    for (const std::int32_t wrong : {-1, 0, 1025, 0x7FFFFFFF}) {
        engine.crypto->hooks.crypt_keyedmac_getValue = [wrong](void*, std::uint8_t*, std::int32_t* length) {
            EXPECT_EQ(*length, 1024);
            *length = wrong;
            return 0;
        };
        EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), kInvalid) << wrong;
    }
}

TEST(JwtMac, MayFillTheWholeRoom) {
    StartedEngine engine;
    engine.crypto->hashValue = std::string(1024, 'm');
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}", std::string(1024, 'm'))), "0 ");
}

TEST(JwtMac, IsNeverInTheTraceNorIsItsKey) {
    const StartedEngine engine;
    TraceCapture trace(3);
    const std::string token = makeToken(kHs256, "{}");
    EXPECT_EQ(Evaluation().outcome(token, "the secret"), "0 ");
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}", "wrong"), "the secret"), kInvalid);
    EXPECT_THAT(trace.lines(),
                ElementsAre("Token is the following:      >>>" + token + "<<<", "HMAC is not traced here.",
                            "Token validation was successful. ",
                            "Token is the following:      >>>" + makeToken(kHs256, "{}", "wrong") + "<<<",
                            "HMAC is not traced here.", "Token validation failed with error RC 5. "));
    EXPECT_FALSE(trace.contains("the secret"));
}

TEST(JwtMac, IsRefusedForAPublicKey) {
    StartedEngine engine;
    TraceCapture trace(1);
    const std::string pem = "-----BEGIN PUBLIC KEY-----\nMFwwDQYJ\n-----END PUBLIC KEY-----\n";
    for (const char* header : {R"({"alg":"HS256"})", R"({"alg":"HS384"})", R"({"alg":"HS512"})"}) {
        EXPECT_EQ(Evaluation().outcome(makeToken(header, "{}"), pem), kInvalid);
    }
    const std::string line =
        "*** ERROR => A public key or certificate is no HMAC key: everybody could sign with it. [jwtxx]";
    EXPECT_THAT(trace.lines(), ElementsAre(line, line, line));
    EXPECT_EQ(engine.crypto.calls("crypt_keyedmac_create"), 0);
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}"), pem), "0 ");
}

// --- RSA ------------------------------------------------------------------------------------------------------

TEST(JwtRsa, TriesTheKeyAsACertificateFirst) {
    StartedEngine engine;
    engine.crypto->order.clear();
    TraceCapture trace(3);
    const std::string token = makeToken(kRs256, R"({"sub":"bob"})", "signature");
    EXPECT_EQ(Evaluation().outcome(token, "certificate"), "0 ");
    EXPECT_THAT(engine.crypto->order,
                ElementsAre("SsfCertfromASN1", "SsfCerttoASN1", "SsfFreeCertificate", "SsfVerifyEx",
                            "SsfDELSsfOctetstring", "SsfDELSigRcpSsfInfoList", "SsfDELSsfOctetstring"));
    EXPECT_EQ(engine.crypto.argument("SsfCertfromASN1", "der"), "certificate");
    const std::pair<const char*, std::string> arguments[] = {{"format", "PKCS1-V1.5"},
                                                             {"data", signedText(kRs256, R"({"sub":"bob"})")},
                                                             {"profile", "<no_certificate_check>"},
                                                             {"keyType", "x509v3"},
                                                             {"key", "certificate"},
                                                             {"hash", "SHA256"},
                                                             {"signature", "signature"}};
    for (const auto& [parameter, value] : arguments) {
        EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", parameter), value) << parameter;
    }
    EXPECT_THAT(engine.crypto->outstanding, IsEmpty());
    EXPECT_EQ(engine.crypto->foreignReleases, 0);
    EXPECT_THAT(trace.lines(),
                ElementsAre("Token is the following:      >>>" + token + "<<<",
                            "X509 cert. is the following: >>>certificate<<<.", "Token validation was successful. "));
}

TEST(JwtRsa, TakesEverythingElseForAPublicKey) {
    const std::string token = makeToken(kRs256, "{}", "signature");
    for (const char* function : {"SsfCertfromASN1", "SsfCerttoASN1"}) {
        StartedEngine engine;
        TraceCapture trace(3);
        engine.crypto->functions[function].result = SSF_API_DECODE_FAILED;
        EXPECT_EQ(Evaluation().outcome(token, "public key"), "0 ") << function;
        EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "keyType"), "RAWPUBKEY") << function;
        EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "key"), "public key") << function;
        EXPECT_THAT(engine.crypto->outstanding, IsEmpty()) << function;
        EXPECT_THAT(trace.lines(), Contains("Public Key is the following: >>>public key<<<."));
    }
}

TEST(JwtRsa, DecodesACertificateThatHasVerifiedOnlyOnce) {
    StartedEngine engine;
    TraceCapture trace(3);
    const std::string token = makeToken(kRs256, R"({"sub":"bob"})", "signature");
    EXPECT_EQ(Evaluation().outcome(token, "certificate"), "0 ");
    engine.crypto->order.clear();
    EXPECT_EQ(Evaluation().outcome(token, "certificate"), "0 ");
    EXPECT_THAT(engine.crypto->order, ElementsAre("SsfVerifyEx", "SsfDELSsfOctetstring", "SsfDELSigRcpSsfInfoList"));
    EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "keyType"), "x509v3");
    EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "key"), "certificate");
    const auto lines = trace.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "X509 cert. is the following: >>>certificate<<<."), 2);
    engine.crypto->functions["SsfVerifyEx"].result = SSF_API_SIGNER_ERRORS;
    EXPECT_EQ(Evaluation().outcome(token, "certificate"), kInvalid);

    JwtRelease();
    ASSERT_EQ(JwtInitialize(&engine.table), 0);
    engine.crypto->functions["SsfVerifyEx"].result = 0;
    EXPECT_EQ(Evaluation().outcome(token, "certificate"), "0 ");
    EXPECT_EQ(engine.crypto.calls("SsfCertfromASN1"), 2);
}

// What has not verified anything may be a secret that was given for the wrong algorithm.
TEST(JwtRsa, RemembersNoKeyThatHasNotVerified) {
    StartedEngine engine;
    engine.crypto->functions["SsfVerifyEx"].result = SSF_API_SIGNER_ERRORS;
    for (int tries = 1; tries < 4; ++tries) {
        EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}"), "secret"), kInvalid);
        EXPECT_EQ(engine.crypto.calls("SsfCertfromASN1"), tries);
    }
}

TEST(KnownKeys, AreAFewAndTheFirstGoesFirst) {
    const auto bytes = [](const std::string& text) { return std::vector<std::uint8_t>(text.begin(), text.end()); };
    KnownKeys keys;
    EXPECT_EQ(keys.find(bytes("")), nullptr);
    keys.add(bytes(""), bytes("x"));
    EXPECT_EQ(keys.find(bytes("")), nullptr);
    for (int number = 0; number < 8; ++number) {
        keys.add(bytes("key " + std::to_string(number)), bytes("certificate " + std::to_string(number)));
        keys.add(bytes("key 0"), bytes("another"));  // is there
    }
    for (int number = 0; number < 8; ++number) {
        const KnownKeys::Key* const known = keys.find(bytes("key " + std::to_string(number)));
        ASSERT_NE(known, nullptr) << number;
        EXPECT_EQ(known->certificate, bytes("certificate " + std::to_string(number)));
    }
    EXPECT_EQ(keys.find(bytes("key")), nullptr);
    EXPECT_EQ(keys.find(bytes("key 00")), nullptr);
    keys.add(bytes("key 8"), {});
    EXPECT_EQ(keys.find(bytes("key 0")), nullptr);
    ASSERT_NE(keys.find(bytes("key 8")), nullptr);
    EXPECT_TRUE(keys.find(bytes("key 8"))->certificate.empty());
    keys.add(std::vector<std::uint8_t>(65537, 1), {});
    EXPECT_EQ(keys.find(std::vector<std::uint8_t>(65537, 1)), nullptr);
    EXPECT_NE(keys.find(bytes("key 1")), nullptr) << "a long one takes nobody's place";
    keys.forget();
    EXPECT_EQ(keys.find(bytes("key 8")), nullptr);
}

TEST(JwtRsa, TriesACertificateOnlyWhenItCanBeGivenBack) {
    for (const char* variant : {"double_no_certificate", "double_no_certificate_der", "double_no_certificate_free"}) {
        StartedEngine engine(variant);
        EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}"), "key"), "0 ") << variant;
        EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "keyType"), "RAWPUBKEY") << variant;
        EXPECT_EQ(engine.crypto.calls("SsfCertfromASN1"), 0) << variant;
    }
}

TEST(JwtRsa, FailsWhenAFunctionIsMissing) {
    {
        const StartedEngine engine("double_no_verify_ex");
        TraceCapture trace(1);
        EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}")), kInvalid);
        EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => SsfVerifyEx is NULL. [jwtxx]"));
    }
    const StartedEngine engine("double_no_octet_release");
    TraceCapture trace(1);
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}")), kInvalid);
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => SsfDELSsfOctetstring is NULL. [jwtxx]"));
}

TEST(JwtRsa, FailsWithTheVerification) {
    StartedEngine engine;
    TraceCapture trace(3);
    engine.crypto->functions["SsfVerifyEx"].result = SSF_API_SIGNER_ERRORS;
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}")), kInvalid);
    EXPECT_THAT(trace.lines(), Contains("Token validation failed with error RC 5. "));
    engine.crypto->functions["SsfVerifyEx"].result = -7;
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}")), kInvalid);
    EXPECT_THAT(trace.lines(), Contains("Token validation failed with error RC -7. "));
    EXPECT_THAT(trace.lines(), Not(Contains("Token validation was successful. ")));
    EXPECT_THAT(engine.crypto->outstanding, IsEmpty());
}

TEST(JwtRsa, ReadsACertificateInPemWhereTheLibraryTakesDerOnly) {
    StartedEngine engine;
    int tries = 0;
    engine.crypto->hooks.anyCall = [&](std::string_view name) {
        if (name == "SsfCertfromASN1") {
            engine.crypto->functions["SsfCertfromASN1"].result = ++tries == 1 ? SSF_API_DECODE_FAILED : 0;
        }
    };
    const std::string pem = "-----BEGIN CERTIFICATE-----\nY2VydGlm\naWNhdGU=\n-----END CERTIFICATE-----\n";
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}"), pem), "0 ");
    EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "keyType"), "x509v3");
    EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "key"), "certificate");
    EXPECT_THAT(engine.crypto->outstanding, IsEmpty());
}

}  // namespace
}  // namespace quorvanti::test
