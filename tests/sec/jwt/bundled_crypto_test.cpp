// Tokens against the bundled crypto library: published vectors, every form of an RSA key, and the same key as the trap
// that it is for an HMAC.
#include "sec/jwt/base64url.h"
#include "sec/jwt/jwt_signature.h"
#include "sec/voraksso/state.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/support/command.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

namespace quorvanti::test {
namespace {

// RFC 7515, appendix A.1.
constexpr char kA1[] =
    "eyJ0eXAiOiJKV1QiLA0KICJhbGciOiJIUzI1NiJ9.eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvb"
    "S9pc19yb290Ijp0cnVlfQ";
constexpr char kA1Signature[] = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
constexpr char kA1Key[] = "AyM1SysPpbyDfgZld3umj1qzKObwVMkoqQ-EstJQLr_T-1qS0gZH75aKtMN3Yj0iPS4hcgUuTwjAzZr1Z9CAow";
// RFC 7515, appendix A.2.
constexpr char kA2[] =
    "eyJhbGciOiJSUzI1NiJ9.eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvbS9pc19yb290Ijp0c"
    "nVlfQ.cC4hiUPoj9Eetdgtv3hF80EGrhuB__dzERat0XF9g2VtQgr9PJbu3XOiZj5RZmh7AAuHIm4Bh-0Qc_lF5YKt_O8W2Fp5jujGbds9uJdb"
    "F9CUAr7t1dnZcAcQjbKBYNX4BAynRFdiuB--f_nZLgrnbyTyWzO75vRK5h6xBArLIARNPvkSjtQBMHlb1L07Qe7K0GarZRmB_eSN9383LcOLn6"
    "_dO--xi12jzDwusC-eOkHWEsqtFZESc6BfI7noOPqvhJ1phCnvWh6IeYI2w9QOYEUipUTI8np6LbgGY9Fs98rqVt5AXLIhWkWywlVmtVrBp0ig"
    "cN_IoypGlUPQGe77Rw";
constexpr char kA2Modulus[] =
    "ofgWCuLjybRlzo0tZWJjNiuSfb4p4fAkd_wWJcyQoTbji9k0l8W26mPddxHmfHQp-Vaw-4qPCJrcS2mJPMEzP1Pt0Bm4d4QlL-yRT-SFd2lZS-"
    "pCgNM"
    "sD1W_YpRPEwOWvG6b32690r2jZ47soMZo9wGzjb_7OMg0LOL-bSf63kpaSHSXndS5z5rexMdbBYUsLA9e-KXBdQOS-"
    "UTo7WTBEMa2R2CapHg665xsmt"
    "dVMTBQY4uDZlxvb3qCo5ZwKh9kG4LT6_I5IhlJH7aGhyxXFvUK-DWNmoudF8NAco9_h9iaGNj8q2ethFkMLs91kzk2PAcDTW9gb54h4FRWyuXpoQ";
// RFC 7520, sections 4.1 (RS256, with the key of 3.4) and 4.4 (HS256, with the key of 3.5). What is signed is a text.
constexpr char kCookbookText[] =
    "SXTigJlzIGEgZGFuZ2Vyb3VzIGJ1c2luZXNzLCBGcm9kbywgZ29pbmcgb3V0IHlvdXIgZG9vci4gWW91IHN0ZXAgb250byB0aGUg"
    "cm9hZCwgYW5kIGlmIHlvdSBkb24ndCBrZWVwIHlvdXIgZmVldCwgdGhlcmXigJlzIG5vIGtub3dpbmcgd2hlcmUgeW91IG1pZ2h0"
    "IGJlIHN3ZXB0IG9mZiB0by4";
constexpr char kCookbookRsaHeader[] = "eyJhbGciOiJSUzI1NiIsImtpZCI6ImJpbGJvLmJhZ2dpbnNAaG9iYml0b24uZXhhbXBsZSJ9";
constexpr char kCookbookRsaModulus[] =
    "n4EPtAOCc9AlkeQHPzHStgAbgs7bTZLwUBZdR8_KuKPEHLd4rHVTeT-O-XV2jRojdNhxJWTDvNd7nqQ0VEiZQHz_AJmSCpMaJMRB"
    "SFKrKb2wqVwGU_NsYOYL-QtiWN2lbzcEe6XC0dApr5ydQLrHqkHHig3RBordaZ6Aj-oBHqFEHYpPe7Tpe-OfVfHd1E6cS6M1FZcD"
    "1NNLYD5lFHpPI9bTwJlsde3uhGqC0ZCuEHg8lhzwOHrtIQbS0FVbb9k3-tVTU4fg_3L_vniUFAKwuCLqKnS2BYwdq_mzSnbLY7h_"
    "qixoR7jig3__kRhuaxwUkRz5iaiQkqgc5gHdrNP5zw";
constexpr char kCookbookRsaSignature[] =
    "MRjdkly7_-oTPTS3AXP41iQIGKa80A0ZmTuV5MEaHoxnW2e5CZ5NlKtainoFmKZopdHM1O2U4mwzJdQx996ivp83xuglII7PNDi8"
    "4wnB-BDkoBwA78185hX-Es4JIwmDLJK3lfWRa-XtL0RnltuYv746iYTh_qHRD68BNt1uSNCrUCTJDt5aAE6x8wW1Kt9eRo4QPocS"
    "adnHXFxnt8Is9UzpERV0ePPQdLuW3IS_de3xyIrDaLGdjluPxUAhb6L2aXic1U12podGU0KLUQSE_oI-ZnmKJ3F4uOZDnd6QZWJu"
    "shZ41Axf_fcIe8u9ipH84ogoree7vjbU5y18kDquDg";
constexpr char kCookbookMacHeader[] =
    "eyJhbGciOiJIUzI1NiIsImtpZCI6IjAxOGMwYWU1LTRkOWItNDcxYi1iZmQ2LWVlZjMxNGJjNzAzNyJ9";
constexpr char kCookbookMacKey[] = "hJtXIZ2uSN5kbQfbtTNWbpdmhkV8FJG-Onbc6mxCcYg";
constexpr char kCookbookMac[] = "s0h6KThzkfBBBkLspW1h84VsJZFTsPPqMDA7g1Md7p0";
constexpr std::int64_t kBeforeTheyExpire = 1'300'819'379;

std::string decoded(std::string_view text) {
    std::string bytes(base64UrlRoom(text.size()), '\0');
    EXPECT_TRUE(decodeBase64Url(text, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    return bytes;
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// PKCS#1 for a modulus of 256 bytes and the exponent 65537.
std::string publicKeyOf(const std::string& modulus) {
    return std::string("\x30\x82\x01\x0a\x02\x82\x01\x01\x00", 9) + modulus + "\x02\x03\x01" +
           std::string("\x00\x01", 2);
}

using Words = std::vector<std::string>;

void openssl(Words words) {
    words.insert(words.begin(), "openssl");
    const CommandResult result = runCommand(words);
    ASSERT_EQ(result.exitCode, 0) << words[1] << ": " << result.err;
}

std::string hexadecimal(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        digits += pair;
    }
    return digits;
}

class BundledCrypto : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(VorakInitialize(QUORVANTI_BUNDLED_CRYPTO), VORAK_OK); }
    void TearDown() override { VorakShutdown(); }

    // "0 " or code and text.
    static std::string outcome(std::string_view token, std::string_view key) {
        Evaluation evaluation;
        const std::int32_t code =
            VorakEvalJWToken(token.data(), token.size(), bytesOf(key).data(), key.size(), nullptr, &evaluation.result);
        return std::to_string(code) + " " + evaluation.result.errorText;
    }
};

TEST_F(BundledCrypto, AcceptsThePublishedRsaSignature) {
    const FrozenClock clock(kBeforeTheyExpire);
    const std::string key = publicKeyOf(decoded(kA2Modulus));
    EXPECT_EQ(outcome(kA2, key), "0 ");
    std::string other = kA2;
    other[30] = other[30] == 'A' ? 'B' : 'A';
    EXPECT_EQ(outcome(other, key), "5 JWT signature validation failed");
    const FrozenClock later(kBeforeTheyExpire + 1);
    EXPECT_EQ(outcome(kA2, key), "5 JWT is expired");
}

// Its header names the type first, so that the token is refused; its signature is right all the same.
TEST_F(BundledCrypto, FindsThePublishedMacRight) {
    const FrozenClock clock(kBeforeTheyExpire);
    const std::string key = decoded(kA1Key);
    EXPECT_EQ(outcome(std::string(kA1) + "." + kA1Signature, key), "5 JWT signature type is not JWT");

    SsfFunctionTable table{};
    CryptFunctions functions;
    KnownKeys knownKeys;
    const JwtAlgorithm algorithm{"HS256", 1, "SHA256", JwtScheme::hmac};
    const std::string value = decoded(kA1Signature);
    EXPECT_EQ(verifyJwtSignature({algorithm, kA1, bytesOf(value), bytesOf(key)}, table, functions, knownKeys), 0);
    EXPECT_NE(verifyJwtSignature({algorithm, kA1, bytesOf(value), bytesOf(key).first(63)}, table, functions, knownKeys),
              0);
}

std::int32_t verified(const JwtAlgorithm& algorithm, const std::string& text, const std::string& signature,
                      const std::string& key) {
    CryptFunctions functions;
    KnownKeys knownKeys;
    return verifyJwtSignature({algorithm, text, bytesOf(signature), bytesOf(key)}, libraryState().cryptoTable,
                              functions, knownKeys);
}

// Their payload is no object, which is found only when the signature is right.
TEST_F(BundledCrypto, FindsTheSignaturesOfTheCookbookRight) {
    const JwtAlgorithm rs256{"RS256", 4, "SHA256", JwtScheme::rsa};
    const JwtAlgorithm hs256{"HS256", 1, "SHA256", JwtScheme::hmac};
    const JwtAlgorithm rs384{"RS384", 5, "SHA384", JwtScheme::rsa};
    const std::string rsaText = std::string(kCookbookRsaHeader) + "." + kCookbookText;
    const std::string macText = std::string(kCookbookMacHeader) + "." + kCookbookText;
    const std::string publicKey = publicKeyOf(decoded(kCookbookRsaModulus));
    const std::string macKey = decoded(kCookbookMacKey);
    EXPECT_EQ(verified(rs256, rsaText, decoded(kCookbookRsaSignature), publicKey), 0);
    EXPECT_NE(verified(rs256, rsaText + "A", decoded(kCookbookRsaSignature), publicKey), 0);
    EXPECT_NE(verified(rs384, rsaText, decoded(kCookbookRsaSignature), publicKey), 0);
    EXPECT_NE(verified(rs256, rsaText, decoded(kCookbookRsaSignature), publicKeyOf(decoded(kA2Modulus))), 0);
    EXPECT_EQ(verified(hs256, macText, decoded(kCookbookMac), macKey), 0);
    EXPECT_NE(verified(hs256, macText + "A", decoded(kCookbookMac), macKey), 0);
    EXPECT_NE(verified(hs256, macText, decoded(kCookbookMac).substr(0, 31), macKey), 0);

    EXPECT_EQ(outcome(rsaText + "." + kCookbookRsaSignature, publicKey), "5 Invalid JWT body parsed");
    EXPECT_EQ(outcome(macText + "." + kCookbookMac, macKey), "5 Invalid JWT body parsed");
    EXPECT_EQ(outcome(macText + "." + kCookbookMac, macKey + "x"), "5 JWT signature validation failed");
}

TEST_F(BundledCrypto, ReadsAnRsaKeyInEveryFormAndNeverTakesItForAMac) {
    const TemporaryDirectory directory;
    const std::string key = directory.file("key");
    const std::string out = directory.file("out");
    const std::string certificate = directory.file("certificate");
    openssl({"genpkey", "-quiet", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", key});
    openssl({"req", "-x509", "-key", key, "-subj", "/CN=issuer", "-out", certificate});
    const Words forms[] = {{"x509", "-in", certificate},
                           {"x509", "-outform", "DER", "-in", certificate},
                           {"pkey", "-pubout", "-in", key},
                           {"pkey", "-pubout", "-outform", "DER", "-in", key},
                           {"rsa", "-RSAPublicKey_out", "-in", key},
                           {"rsa", "-RSAPublicKey_out", "-outform", "DER", "-in", key}};
    for (const char* bits : {"256", "384", "512"}) {
        const std::string text =
            base64Url(std::string("{\"alg\":\"RS") + bits + "\"}") + "." + base64Url(R"({"sub":"bob"})");
        writeFile(directory.file("text"), text);
        openssl({"dgst", "-sha" + std::string(bits), "-sign", key, "-out", out, directory.file("text")});
        const std::string token = text + "." + base64Url(readFile(out));
        for (Words form : forms) {
            form.insert(form.end(), {"-out", out});
            openssl(form);
            const std::string publicKey = readFile(out);
            EXPECT_EQ(outcome(token, publicKey), "0 ") << testing::PrintToString(form);
            EXPECT_EQ(outcome(token.substr(0, token.size() - 4) + "AAAA", publicKey),
                      "5 JWT signature validation failed")
                << testing::PrintToString(form);

            // What an attacker makes of it: an HMAC with the bytes that everybody knows.
            const std::string forged =
                base64Url(std::string("{\"alg\":\"HS") + bits + "\"}") + "." + base64Url(R"({"sub":"eve"})");
            writeFile(directory.file("forged"), forged);
            openssl({"dgst", "-sha" + std::string(bits), "-mac", "HMAC", "-macopt", "hexkey:" + hexadecimal(publicKey),
                     "-binary", "-out", directory.file("mac"), directory.file("forged")});
            EXPECT_EQ(outcome(forged + "." + base64Url(readFile(directory.file("mac"))), publicKey),
                      "5 JWT signature validation failed")
                << testing::PrintToString(form);
        }
    }
}

TEST_F(BundledCrypto, AcceptsMacsThatOpensslMade) {
    const TemporaryDirectory directory;
    for (const char* bits : {"256", "384", "512"}) {
        const std::string text = base64Url(std::string("{\"alg\":\"HS") + bits + "\",\"typ\":\"JWT\"}") + "." +
                                 base64Url(R"({"sub":"bob"})");
        writeFile(directory.file("text"), text);
        openssl({"dgst", "-sha" + std::string(bits), "-hmac", "secret", "-binary", "-out", directory.file("mac"),
                 directory.file("text")});
        const std::string token = text + "." + base64Url(readFile(directory.file("mac")));
        EXPECT_EQ(outcome(token, "secret"), "0 ");
        EXPECT_EQ(outcome(token, "secreT"), "5 JWT signature validation failed");
        EXPECT_EQ(outcome(token.substr(0, token.find_last_of('.') + 1), "secret"), "5 JWT signature validation failed");
    }
}

}  // namespace
}  // namespace quorvanti::test
