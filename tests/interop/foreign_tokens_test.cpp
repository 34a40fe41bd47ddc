// Tokens that other people's libraries made, and what must be refused of them.
#include "sec/jwt/base64url.h"
#include "sec/voraksso/base64.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <random>

namespace quorvanti::test {
namespace {

using Json = nlohmann::json;
using testing::AnyOf;
using testing::StartsWith;

const Json& made() {
    static const Json file = Json::parse(readFile(QUORVANTI_FOREIGN_TOKENS));
    return file;
}

std::string decoded(std::string_view part) {
    std::string bytes(base64UrlRoom(part.size()), '\0');
    EXPECT_TRUE(decodeBase64Url(part, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()})) << part;
    return bytes;
}

std::string secret() {
    const std::string text = made()["secret"];
    std::array<std::uint8_t, 256> bytes{};
    const std::uint32_t length = decodeLenientBase64(text, bytes);
    return {bytes.begin(), bytes.begin() + length};
}

// A token with its parts, and the key that it is signed with.
struct Made {
    explicit Made(const Json& entry)
        : token(entry["token"]),
          first(token.find('.')),
          second(token.find('.', first + 1)),
          mac(decoded(token.substr(0, first)).find("\"HS") != std::string::npos),
          key(mac ? secret() : made()["publicKey"].get<std::string>()) {}

    std::string payload() const { return decoded(token.substr(first + 1, second - first - 1)); }
    std::string signature() const { return decoded(token.substr(second + 1)); }
    std::string otherKey() const {
        std::string other = key;
        other[7] = static_cast<char>(other[7] ^ 1);
        return mac ? other : made()["otherPublicKey"].get<std::string>();
    }
    std::string withPayload(std::string_view text) const {
        return token.substr(0, first + 1) + base64Url(text) + token.substr(second);
    }
    std::string withSignature(std::string_view bytes) const { return token.substr(0, second + 1) + base64Url(bytes); }

    std::string token;
    std::size_t first;
    std::size_t second;
    bool mac;
    std::string key;
};

std::string outcome(const std::string& token, const std::string& key, std::string_view nameIdClaim = {}) {
    Evaluation evaluation(token.size());
    return evaluation.outcome(token, key, nameIdClaim);
}

std::int32_t publicCode(const std::string& token, const std::string& key) {
    Evaluation evaluation(token.size());
    return VorakEvalJWToken(token.data(), token.size(), reinterpret_cast<const std::uint8_t*>(key.data()), key.size(),
                            nullptr, &evaluation.result);
}

class ForeignTokens : public ::testing::Test {
protected:
    ForeignTokens() : clock_(made()["now"].get<std::int64_t>()) {}
    void SetUp() override { ASSERT_EQ(VorakInitialize(QUORVANTI_BUNDLED_CRYPTO), VORAK_OK); }
    void TearDown() override { VorakShutdown(); }

    std::string flipped(std::string text) {
        const std::size_t bit = std::uniform_int_distribution<std::size_t>(0, text.size() * 8 - 1)(random_);
        text[bit / 8] = static_cast<char>(text[bit / 8] ^ (1 << bit % 8));
        return text;
    }

private:
    const FrozenClock clock_;
    std::mt19937 random_{20};
};

TEST_F(ForeignTokens, AreAHundredOfEachMakerAndAlgorithm) {
    std::map<std::string, int> counts;
    for (const Json& entry : made()["accepted"]) {
        ++counts[entry["maker"].get<std::string>() + entry["alg"].get<std::string>()];
    }
    EXPECT_EQ(counts.size(), 12U);
    for (const auto& [name, count] : counts) {
        EXPECT_EQ(count, 100) << name;
    }
}

TEST_F(ForeignTokens, AreAcceptedWithTheirClaims) {
    const std::vector<std::string> algorithms{"", "HS256", "HS384", "HS512", "RS256", "RS384", "RS512"};
    for (const Json& entry : made()["accepted"]) {
        const Made token(entry);
        const Json& claims = entry["claims"];
        Evaluation evaluation(token.token.size());
        const char* const nameId = claims.contains("name-id") ? "name-id" : nullptr;
        ASSERT_EQ(VorakEvalJWToken(token.token.data(), token.token.size(),
                                   reinterpret_cast<const std::uint8_t*>(token.key.data()), token.key.size(), nameId,
                                   &evaluation.result),
                  VORAK_OK)
            << evaluation.result.errorText << entry;
        EXPECT_EQ(evaluation.payload(), entry["payload"]);
        EXPECT_EQ(algorithms.at(evaluation.result.algorithm), entry["alg"]);
        EXPECT_EQ(std::to_string(evaluation.result.issuedAt), claims["iat"]);
        const auto spelled = [&](const char* name) {
            return claims.contains(name) ? std::optional(claims[name].get<std::string>()) : std::nullopt;
        };
        EXPECT_EQ(evaluation.subject(), spelled("sub"));
        EXPECT_EQ(evaluation.issuer(), spelled("iss"));
        EXPECT_EQ(evaluation.jsonId(), spelled("jti"));
        EXPECT_EQ(evaluation.audience(), spelled("aud"));
        EXPECT_EQ(evaluation.nameId(), spelled("name-id"));
    }
}

TEST_F(ForeignTokens, AreComparedWithWhatIsExpected) {
    for (const Json& entry : made()["accepted"]) {
        const Made token(entry);
        for (const auto& [name, expect] :
             {std::pair{"sub", &Evaluation::expectSubject}, std::pair{"iss", &Evaluation::expectIssuer},
              std::pair{"jti", &Evaluation::expectJsonId}}) {
            const std::string expected = entry["claims"].value(name, "");
            if (expected.empty()) {
                continue;
            }
            Evaluation same(token.token.size());
            (same.*expect)(expected);
            EXPECT_EQ(same.run(token.token, token.key), 0) << entry;
            const std::string other = flipped(expected);
            Evaluation different(token.token.size());
            (different.*expect)(other);
            EXPECT_EQ(different.run(token.token, token.key), 24) << entry;
        }
    }
}

TEST_F(ForeignTokens, AreRefusedWithAnotherKey) {
    for (const Json& entry : made()["accepted"]) {
        const Made token(entry);
        EXPECT_EQ(outcome(token.token, token.otherKey()), "20 JWT signature validation failed") << entry;
        EXPECT_EQ(publicCode(token.token, token.otherKey()), 5);
    }
}

TEST_F(ForeignTokens, AreRefusedWithTheKeyOfTheOtherScheme) {
    const std::string publicKeys[] = {made()["publicKey"], made()["pkcs1"]};
    for (const Json& entry : made()["accepted"]) {
        const Made token(entry);
        for (const std::string& key : token.mac ? std::vector<std::string>(std::begin(publicKeys), std::end(publicKeys))
                                                : std::vector<std::string>{secret()}) {
            EXPECT_EQ(outcome(token.token, key), "20 JWT signature validation failed") << entry;
        }
    }
}

TEST_F(ForeignTokens, AreRefusedWithABitFlipped) {
    for (const Json& entry : made()["accepted"]) {
        const Made token(entry);
        EXPECT_EQ(outcome(token.withPayload(flipped(token.payload())), token.key), "20 JWT signature validation failed")
            << entry;
        EXPECT_EQ(outcome(token.withSignature(flipped(token.signature())), token.key),
                  "20 JWT signature validation failed")
            << entry;
        const std::string anywhere = flipped(token.token);
        EXPECT_THAT(outcome(anywhere, token.key),
                    AnyOf(StartsWith("5 "), StartsWith("20 "), StartsWith("21 "), StartsWith("1281 ")))
            << anywhere;
        EXPECT_EQ(publicCode(anywhere, token.key), 5);
    }
}

TEST_F(ForeignTokens, AreRefusedWithADoubledClaim) {
    ASSERT_EQ(made()["doubled"].size(), 16U);
    for (const Json& entry : made()["doubled"]) {
        const std::string result = outcome(entry["token"], secret(), "name-id");
        EXPECT_THAT(result, StartsWith("8 Invalid JWT attribute ")) << entry["name"];
        EXPECT_EQ(publicCode(entry["token"], secret()), entry["name"] == "name-id" ? 0 : 5);
    }
    EXPECT_EQ(outcome(made()["full"], secret(), "name-id"), "0 ");
}

TEST_F(ForeignTokens, AreRefusedWithoutAnExpectedClaim) {
    const std::map<std::string, std::string> outcomes{{"sub", "23 JWT is without subject attribute"},
                                                      {"iss", "23 JWT is without issuer attribute"},
                                                      {"jti", "23 JWT is without JSON ID attribute"},
                                                      {"aud", "23 JWT is without audience attribute"},
                                                      {"name-id", "1 JWT is without name id attribute"},
                                                      {"exp", "0 "},
                                                      {"nbf", "0 "},
                                                      {"iat", "0 "}};
    ASSERT_EQ(made()["missing"].size(), outcomes.size());
    for (const Json& entry : made()["missing"]) {
        Evaluation evaluation;
        evaluation.expectSubject("bob");
        evaluation.expectIssuer("portal");
        evaluation.expectJsonId("4711");
        evaluation.expectAudience("erp");
        EXPECT_EQ(evaluation.outcome(entry["token"].get<std::string>(), secret(), "name-id"),
                  outcomes.at(entry["name"]));
    }
}

TEST_F(ForeignTokens, AreRefusedOutsideTheirTime) {
    ASSERT_EQ(made()["times"].size(), 4U);
    for (const Json& entry : made()["times"]) {
        const Made token(entry);
        EXPECT_THAT(outcome(token.token, token.key), StartsWith(std::to_string(entry["code"].get<int>()) + " "));
    }
}

TEST_F(ForeignTokens, AreRefusedForTheirHeader) {
    ASSERT_EQ(made()["headers"].size(), 9U);
    for (const Json& entry : made()["headers"]) {
        const Made token(entry);
        EXPECT_THAT(outcome(token.token, token.key), StartsWith(std::to_string(entry["code"].get<int>()) + " "))
            << entry;
    }
}

}  // namespace
}  // namespace quorvanti::test
