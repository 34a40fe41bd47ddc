#include "tests/tools/sso2ticket/jwt_fixture.h"
#include "tools/sso2ticket/token_advice.h"

using namespace quorvanti::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class JwtVerify : public JwtTool {
protected:
    static void expectResult(const CommandResult& result, int exitCode, const std::string& part) {
        EXPECT_EQ(result.exitCode, exitCode) << result.out << result.err;
        EXPECT_THAT(result.out, HasSubstr(part));
        EXPECT_EQ(result.err, "");
    }
};

TEST_F(JwtVerify, PrintsWhatAnAcceptedTokenSays) {
    const std::string payload = R"({"sub":"bob","iss":"portal","iat":1709210100,"exp":4102444800})";
    for (const auto& [option, file, token, algorithm] :
         {std::tuple{"--secret-file", secretFile_, macToken(payload), "HS256"},
          std::tuple{"--key", certificate_, rsaToken(payload), "RS256"}}) {
        const CommandResult result = verify({option, file, token});
        EXPECT_EQ(result.exitCode, accepted) << result.err;
        EXPECT_THAT(result.out, testing::StartsWith("accepted\n"));
        for (const std::string& line :
             {std::string("algorithm              ") + algorithm + "\n", std::string("claim sub              bob\n"),
              std::string("claim iss              portal\n"), std::string("issued                 2024-02-29T12:35"),
              std::string("expires                2100-01-01T00:00:00Z\n")}) {
            EXPECT_THAT(result.out, HasSubstr(line));
        }
    }
}

TEST_F(JwtVerify, PrintsJsonForPrograms) {
    const auto good = json(verifyMac(R"({"sub":"bob","exp":4102444800})", {"--json"}));
    EXPECT_EQ(good["accepted"], true);
    EXPECT_EQ(good["algorithm"], "HS256");
    EXPECT_EQ(good["claims"]["sub"], "bob");
    EXPECT_EQ(good["expires"], "2100-01-01T00:00:00Z");
    EXPECT_EQ(good["nameId"], nullptr);
    const CommandResult result = verifyMac(R"({"sub":"bob","exp":1709210100})", {"--json"});
    EXPECT_EQ(result.exitCode, rejected);
    EXPECT_EQ(json(result)["accepted"], false);
    EXPECT_EQ(json(result)["code"], 5);
    EXPECT_EQ(json(result)["reason"], "JWT is expired");
    EXPECT_NE(json(result)["next"], "");
    EXPECT_FALSE(json(result).contains("claims"));
}

TEST_F(JwtVerify, TakesTheKeyInEveryForm) {
    const std::string token = rsaToken(R"({"sub":"bob"})");
    writeFile(directory_.file("key"), issuer().keyPem());
    const std::string out = directory_.file("out");
    for (const std::vector<std::string>& form : std::vector<std::vector<std::string>>{
             {"x509", "-in", certificate_, "-outform", "DER"},
             {"pkey", "-in", directory_.file("key"), "-pubout"},
             {"pkey", "-in", directory_.file("key"), "-pubout", "-outform", "DER"},
             {"rsa", "-in", directory_.file("key"), "-RSAPublicKey_out"},
             {"rsa", "-in", directory_.file("key"), "-RSAPublicKey_out", "-outform", "DER"}}) {
        writeFile(out, openssl(form).bytes);
        EXPECT_EQ(verify({"--key", out, token}).exitCode, accepted) << form[0] << form.back();
    }
}

TEST_F(JwtVerify, ExplainsARejection) {
    expectResult(verifyMac(R"({"sub":"bob","exp":1709210100})"), rejected, "JWT is expired");
    expectResult(verifyMac(R"({"sub":"bob","nbf":4102444800})"), rejected, "JWT is not valid yet");
    expectResult(verify({"--secret-file", secretFile_, "no token"}), rejected, "Invalid JWT received");
    expectResult(verify({"--secret-file", secretFile_, signedWithSecret(R"({"sub":"bob"})", "another secret")}),
                 rejected, "a line end at the end of a secret file is part of the secret");
    expectResult(verify({"--secret-file", secretFile_,
                         signedWithSecret(R"({"sub":"bob"})", secret_, R"({"typ":"JWT","alg":"HS256"})", "HS256")}),
                 rejected, "\"alg\" before \"typ\"");
    const InProcessIssuer other(KeyKind::rsa);
    expectResult(verify({"--key", certificate_, signedWithKey(R"({"sub":"bob"})", other.key())}), rejected,
                 "JWT signature validation failed");
}

TEST_F(JwtVerify, AllBytesOfASecretFileCount) {
    writeFile(secretFile_, secret_ + "\n");
    EXPECT_EQ(verifyMac(R"({"sub":"bob"})").exitCode, rejected);
    EXPECT_EQ(verify({"--secret-file", secretFile_, signedWithSecret(R"({"sub":"bob"})", secret_ + "\n")}).exitCode,
              accepted);
    const std::string binary("\0\n\xFF-----\0", 9);
    writeFile(secretFile_, binary);
    EXPECT_EQ(verify({"--secret-file", secretFile_, signedWithSecret(R"({"sub":"bob"})", binary)}).exitCode, accepted);
}

// In forms that the library takes for public keys, and in one that it does not know.
TEST_F(JwtVerify, APublicKeyIsNeverASecret) {
    const std::string jwk = R"({"kty":"RSA","e":"AQAB","n":"ofgWCuLjybRlzo0tZWJjNiuSfb4p4fAkd_wWJcyQoTbji9k0l8W26m"})";
    writeFile(directory_.file("jwk"), jwk);
    for (const std::string& file : {certificate_, directory_.file("jwk")}) {
        const std::string forged = signedWithSecret(R"({"sub":"eve"})", readFile(file));
        expectResult(verify({"--key", file, forged}), rejected, "--secret-file");
        const CommandResult asJson = verify({"--json", "--key", file, forged});
        EXPECT_EQ(asJson.exitCode, rejected);
        EXPECT_THAT(json(asJson)["reason"], HasSubstr("HS256"));
    }
    expectResult(verify({"--secret-file", certificate_, signedWithSecret("{}", readFile(certificate_))}), rejected,
                 "JWT signature validation failed");
    expectResult(verify({"--secret-file", secretFile_, rsaToken(R"({"sub":"bob"})")}), rejected, "--key");
}

TEST_F(JwtVerify, ComparesTheExpectedClaims) {
    const std::string payload = R"({"sub":"bob","iss":"portal","aud":"erp","jti":"4711"})";
    for (const auto& [option, value] : {std::pair{"--expect-sub", "bob"}, std::pair{"--expect-iss", "portal"},
                                        std::pair{"--expect-aud", "erp"}, std::pair{"--expect-jti", "4711"}}) {
        EXPECT_EQ(verifyMac(payload, {option, value}).exitCode, accepted) << option;
        const std::string other = std::string(value).replace(0, 1, "x");
        expectResult(verifyMac(payload, {option, other}), rejected, "look at");
        EXPECT_EQ(verifyMac(payload, {option, std::string(value) + "x"}).exitCode, rejected) << option;
        const std::string shorter(value, std::string(value).size() - 1);
        EXPECT_EQ(verifyMac(payload, {option, shorter}).exitCode, rejected) << option;
        EXPECT_EQ(verifyMac("{}", {option, value}).exitCode, rejected) << option;
        expectTalk(verifyMac(payload, {option, ""}), usage, option);
    }
    EXPECT_EQ(verifyMac(payload, {"--expect-sub", "bob", "--expect-aud", "erp", "--expect-iss", "portal",
                                  "--expect-jti", "4711"})
                  .exitCode,
              accepted);
}

// The library measures an expected audience only: each of these passes there.
TEST_F(JwtVerify, ReadsTheAudienceItself) {
    const auto audience = [&](const std::string& value) {
        return verifyMac("{\"aud\":" + value + "}", {"--expect-aud", "erp"});
    };
    EXPECT_EQ(audience("\"erp\"").exitCode, accepted);
    EXPECT_EQ(audience(R"(["crm","erp"])").exitCode, accepted);
    for (const char* other : {"\"crm\"", "\"erp2\"", "\"an erp\"", R"(["crm","erp2"])", R"([["erp"]])",
                              R"({"x":"erp"})", R"({"erp":1})", "12345", "null"}) {
        expectResult(audience(other), rejected, "The token's \"aud\" is not the expected one.");
    }
    expectResult(verifyMac(R"({"x":{"aud":"erp"}})", {"--expect-aud", "erp"}), rejected, "\"aud\"");
    expectResult(verifyMac(R"({"aud":"crm","a\u0075d":"erp"})", {"--expect-aud", "erp"}), rejected, "twice");
}

// The library finds a claim wherever it stands, in a value too.
TEST_F(JwtVerify, BelievesTheOutermostClaimsOnly) {
    expectResult(verifyMac(R"({"x":{"sub":"admin"}})", {"--expect-sub", "admin"}), rejected, "\"sub\"");
    expectResult(verifyMac(R"({"roles":["sub","admin"]})", {"--expect-sub", "admin"}), rejected, "\"sub\"");
    expectResult(verifyMac("{\"pad\":\"" + std::string(300, ' ') + "\",\"sub\":\"bob\",\"x\":" + std::string(70, '[') +
                               std::string(70, ']') + "}",
                           {"--expect-sub", "bob"}),
                 rejected, "too deep");
}

TEST_F(JwtVerify, HandsOutTheNameId) {
    const std::string payload = R"({"sub":"bob","mail":"bob@example.com"})";
    expectResult(verifyMac(payload, {"--name-id", "mail"}), accepted, "name id                bob@example.com\n");
    EXPECT_EQ(json(verifyMac(payload, {"--json", "--name-id", "sub"}))["nameId"], "bob");
    expectResult(verifyMac(payload, {"--name-id", "phone"}), rejected, "JWT is without name id attribute");
    expectTalk(verifyMac(payload, {"--name-id", ""}), usage, "--name-id");
}

TEST_F(JwtVerify, AKeyThatCannotBeReadIsAMatterOfConfiguration) {
    const std::string token = macToken("{}");
    writeFile(directory_.file("empty"), "");
    expectTalk(verify({"--key", directory_.file("missing"), token}), configuration, "does not exist");
    expectTalk(verify({"--secret-file", directory_.file("empty"), token}), configuration, "is empty");
    expectTalk(verify({"--secret-file", secretFile_, "--crypto-library", "libnonexistent.so", token}),
               cryptoUnavailable, "--crypto-library");
    expectTalk(verify({"--secret-file", secretFile_, "@" + directory_.file("missing")}), inputUnreadable,
               "cannot be read");
}

TEST_F(JwtVerify, WrongUseIsExplainedWithoutTheToken) {
    const std::string token = macToken(R"({"sub":"bob"})");
    const std::string part = token.substr(5, 20);
    for (const CommandResult& result :
         {verify({token}), verify({"--key", certificate_, "--secret-file", secretFile_, token}),
          verify({"--secret-file", secretFile_, token, token}),
          verify({"--secret-file", secretFile_, token, "--secret=" + token}),
          verify({"--secret-file", secretFile_, token, "--secret", token}), tool({"jwt", token}), tool({token})}) {
        EXPECT_EQ(result.exitCode, usage);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, AllOf(Not(HasSubstr(part)), Not(testing::IsEmpty())));
    }
    EXPECT_THAT(verify({token}).err, AllOf(HasSubstr("--key"), HasSubstr("--secret-file")));
    EXPECT_THAT(verify({"--secret-file", secretFile_, token, "--secret", "x"}).err, HasSubstr("--secret"));
}

TEST_F(JwtVerify, ARefusedTokenIsNotPrinted) {
    const std::string token = signedWithSecret(R"({"sub":"bob"})", "another secret");
    for (const CommandResult& result :
         {verify({"--secret-file", secretFile_, token}), verify({"--key", certificate_, token}),
          verify({"--key", secretFile_, token})}) {
        EXPECT_EQ(result.exitCode, rejected);
        EXPECT_THAT(result.out + result.err, AllOf(Not(HasSubstr(token.substr(0, 30))), Not(HasSubstr(secret_))));
    }
}

TEST(TokenAdvice, KnowsEveryTextOfTheLibrary) {
    const std::string fallback = quorvanti::tokenAdvice("");
    for (const char* text :
         {"JWT is expired", "JWT is not valid yet", "JWT signature validation failed", "JWT signature type is not JWT",
          "JWT signature algorithm not valid", "Invalid JWT header parsed", "Invalid JWT received",
          "Invalid JWT attribute Subject already parsed", "JWT is without audience attribute",
          "JWT is with different subject attribute", "JWT audience is not valid for requested value",
          "Invalid JWT body parsed", "Invalid JWT header detected during base64 decode.",
          "Invalid JWT body detected during base64"}) {
        EXPECT_NE(quorvanti::tokenAdvice(text), fallback) << text;
    }
}

}  // namespace
