// Tokens made to be believed without a signature, to have their own keys believed, or to exhaust whoever reads them.
#include "tests/interop/token_fixture.h"

#include <ctime>

namespace quorvanti::test {
namespace {

using testing::AnyOf;
using testing::StartsWith;

constexpr const char* kPayload = R"({"sub":"eve"})";
constexpr const char* kSecret = "a secret of more than 32 bytes, to be on the safe side";
constexpr const char* kNoAlgorithm = "5 JWT signature algorithm not valid";
constexpr const char* kHeader = "5 Invalid JWT header parsed";
constexpr const char* kBody = "5 Invalid JWT body parsed";
constexpr const char* kReceived = "5 Invalid JWT received";

class HostileToken : public TokenThroughTheLibrary {
protected:
    // Against a secret and against a certificate.
    static void expectRefused(const std::string& token, const std::string& expected) {
        EXPECT_EQ(outcome(token, kSecret), expected) << token.substr(0, 80);
        EXPECT_EQ(outcome(token, issuer().certificatePem()), expected) << token.substr(0, 80);
    }
    // What is quadratic takes minutes for a million bytes. Of the processor's time: the machine may be busy.
    static std::string quickly(const std::string& token, std::string_view key) {
        const std::clock_t start = std::clock();
        const std::string result = outcome(token, key);
        EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5.0) << token.substr(0, 80);
        return result;
    }
};

TEST_F(HostileToken, WithoutAlgorithmIsRefused) {
    for (const char* value :
         {"\"none\"", "\"None\"",  "\"NONE\"",  "\"nOnE\"",  "\"none \"", "\" none\"",  "\"\\u006eone\"",
          "\"\"",     "\"null\"",  "\"HS25\"",  "\"hs256\"", "\"Hs256\"", "\" HS256\"", "\"\\u0048S256\"",
          "\"RS25\"", "\"rs256\"", "\"PS256\"", "\"ES256\"", "\"EdDSA\"", "\"HS257\"",  "\"RS2560\\u0000\"",
          "null",     "0",         "true"}) {
        const std::string header = std::string("{\"alg\":") + value + "}";
        const bool isRs256 = std::string_view(value).starts_with("\"RS256");  // five characters count, deliberately
        for (const std::string_view signature : {"", "x"}) {
            expectRefused(makeToken(header, kPayload, signature), isRs256 ? kSignatureFailed : kNoAlgorithm);
        }
        if (!isRs256) {
            EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret, header, "HS256"), kSecret), kNoAlgorithm) << value;
        }
    }
    expectRefused(makeToken(R"({"alg":["HS256"]})", kPayload, ""), kNoAlgorithm);
    expectRefused(makeToken(R"({"alg":{"HS256":"x"}})", kPayload, ""), kNoAlgorithm);
    expectRefused(makeToken(R"({"ALG":"HS256"})", kPayload, ""), kNoAlgorithm);
    expectRefused(makeToken(R"({"a\u006cg":"HS256"})", kPayload, ""), kNoAlgorithm);
    expectRefused(makeToken("{}", kPayload, ""), kHeader);
    expectRefused(makeToken("[\"alg\",\"HS256\"]", kPayload, ""), kHeader);
}

TEST_F(HostileToken, WithoutSignatureIsRefused) {
    for (const char* algorithm : {"HS256", "HS384", "HS512", "RS256", "RS384", "RS512"}) {
        expectRefused(makeToken(headerOf(algorithm), kPayload, ""), kSignatureFailed);
        expectRefused(makeToken(headerOf(algorithm), kPayload, std::string(1, '\0')), kSignatureFailed);
        expectRefused(makeToken(headerOf(algorithm), kPayload, std::string(256, '\0')), kSignatureFailed);
    }
    const std::string token = signedWithSecret(kPayload, kSecret);
    for (std::size_t length = token.rfind('.') + 1; length < token.size(); ++length) {
        EXPECT_NE(outcome(token.substr(0, length), kSecret), "0 ") << length;
    }
}

TEST_F(HostileToken, ThatBringsItsOwnKeyIsRefused) {
    const std::string certificate = stranger().certificatePem();
    const std::string begin = "-----BEGIN CERTIFICATE-----\n";
    std::string x5c = certificate.substr(begin.size(), certificate.find("-----END") - begin.size());
    std::erase(x5c, '\n');
    for (const auto& [header, expected] : std::vector<std::pair<std::string, std::string>>{
             {R"({"alg":"RS256","jwk":{"kty":"RSA","e":"AQAB","n":"AQAB"}})", kHeader},
             {R"({"alg":"RS256","jwk":"{}"})", kSignatureFailed},
             {"{\"alg\":\"RS256\",\"x5c\":[\"" + x5c + "\"]}", kHeader},
             {"{\"alg\":\"RS256\",\"x5c\":\"" + x5c + "\"}", kSignatureFailed},
             {R"({"alg":"RS256","jku":"http://localhost/keys"})", kSignatureFailed},
             {R"({"alg":"RS256","x5u":"http://localhost/keys"})", kSignatureFailed},
             {R"({"alg":"RS256","kid":"../../../dev/null"})", kSignatureFailed}}) {
        const std::string token = signedWithKey(kPayload, stranger().key(), header, "RS256");
        EXPECT_EQ(outcome(token, issuer().certificatePem()), expected) << header;
        EXPECT_EQ(outcome(token), expected) << header;
        // With the issuer's own signature the header is right or wrong all the same.
        EXPECT_EQ(outcome(signedWithKey(kPayload, issuer().key(), header, "RS256"), issuer().certificatePem()),
                  expected == kHeader ? kHeader : "0 ")
            << header;
    }
}

TEST_F(HostileToken, OfDotsIsRefused) {
    for (const char* dots : {".", "..", "...", "x..", ".x.", "..x"}) {
        expectRefused(dots, kReceived);
    }
    EXPECT_EQ(quickly(std::string(1'000'000, '.'), kSecret), kReceived);
    EXPECT_EQ(quickly(makeToken(kHs256, kPayload) + std::string(1'000'000, '.'), kSecret),
              "5 Invalid JWT signature detected during base64");
    EXPECT_EQ(quickly(std::string(1'000'000, 'e'), kSecret), kReceived);
}

TEST_F(HostileToken, NestedDeeplyTakesNoStackAndNoTime) {
    for (const std::size_t depth : {100'000UL, 300'000UL}) {
        for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"a\":", "}"}}) {
            std::string opened, closed;
            for (std::size_t at = 0; at < depth; ++at) {
                opened += open;
                closed += close;
            }
            const std::string inner = std::string(open) == "[" ? "" : "1";
            for (const std::string& nested : {opened, opened + inner + closed}) {
                const std::string member = "{\"a\":" + nested + "}";
                EXPECT_EQ(quickly(signedWithSecret(kPayload, kSecret, member, "HS256"), kSecret), kHeader);
            }
            EXPECT_EQ(quickly(signedWithSecret("{\"a\":" + opened, kSecret), kSecret), kBody);
            // Whole and with enough around it for the described room, it is a payload like any other.
            const std::string padding = ",\"padding\":\"" + std::string(6 * depth, ' ') + "\"}";
            EXPECT_EQ(quickly(signedWithSecret("{\"a\":" + opened + inner + closed + padding, kSecret), kSecret), "0 ");
        }
        EXPECT_EQ(
            quickly(signedWithSecret("{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}", kSecret),
                    kSecret),
            kBody);
    }
}

TEST_F(HostileToken, OfAMebibyteTakesNoTime) {
    const std::size_t size = 1U << 20U;
    const std::string text = "{\"sub\":\"" + std::string(size, 'x') + "\"}";
    EXPECT_EQ(quickly(signedWithSecret(text, kSecret), kSecret), "0 ");
    EXPECT_EQ(quickly(signedWithKey(text, issuer().key()), issuer().certificatePem()), "0 ");
    EXPECT_EQ(quickly(signedWithSecret(text, "another"), kSecret), kSignatureFailed);
    EXPECT_EQ(quickly(signedWithSecret(std::string(size, '"'), kSecret), kSecret), kBody);
    EXPECT_EQ(quickly(signedWithSecret(std::string(size, '\\'), kSecret), kSecret), kBody);
    EXPECT_EQ(quickly(signedWithSecret(std::string(size, ' '), kSecret), kSecret), kBody);
    EXPECT_EQ(quickly(makeToken(std::string(size, '{'), kPayload), kSecret), kHeader);
    EXPECT_EQ(quickly(makeToken(kHs256, kPayload, std::string(size, 'x')), kSecret), kSignatureFailed);
    EXPECT_EQ(quickly(makeToken(kRs256, kPayload, std::string(size, 'x')), issuer().certificatePem()),
              kSignatureFailed);
    std::string many = "{\"n\":0";
    while (many.size() < size) {
        many += ",\"name\":12345";
    }
    EXPECT_EQ(quickly(signedWithSecret(many + "}", kSecret), kSecret), "0 ");
}

// The key is read too: a megabyte of what looks like the beginning of one.
TEST_F(HostileToken, WithAKeyOfAMebibyteTakesNoTime) {
    const std::string blocks = [] {
        std::string text;
        while (text.size() < (1U << 20U)) {
            text += "-----BEGIN NOTHING-----\n";
        }
        return text;
    }();
    EXPECT_EQ(quickly(signedWithSecret(kPayload, blocks), blocks), "0 ");
    EXPECT_EQ(quickly(signedWithKey(kPayload, issuer().key()), blocks), kSignatureFailed);
    EXPECT_EQ(quickly(signedWithKey(kPayload, issuer().key()), std::string(1U << 20U, 'M')), kSignatureFailed);
    EXPECT_EQ(quickly(signedWithKey(kPayload, issuer().key()), std::string(1U << 20U, '\x30')), kSignatureFailed);
}

}  // namespace
}  // namespace quorvanti::test
