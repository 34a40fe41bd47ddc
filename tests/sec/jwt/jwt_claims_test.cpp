// What the payload says, what the caller expects of it, and what is handed out.
#include "sec/jwt/jwt_claims.h"
#include "tests/sec/jwt/started_engine.h"
#include "tests/sec/jwt/token_maker.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace quorvanti::test {
namespace {

constexpr std::int64_t kNow = 1'700'000'000;

class JwtPayload : public ::testing::Test {
protected:
    static std::string outcome(std::string_view payload, std::string_view nameId = {}) {
        return Evaluation(400'000).outcome(makeToken(kHs256, payload), "secret", nameId);
    }

    StartedEngine engine_;
    FrozenClock clock_{kNow};
};
using JwtTimes = JwtPayload;
using JwtClaimWalk = JwtPayload;
using JwtOutput = JwtPayload;
using JwtExpected = JwtPayload;

struct Row {
    const char* payload;
    const char* outcome;
};

// --- The payload as a whole -----------------------------------------------------------------------------------

TEST_F(JwtPayload, IsOneObjectAndNothingAround) {
    for (const char* payload : {"{}", "{\"a\":1}", "{ }", "{\"a\":{}}"}) {
        EXPECT_EQ(outcome(payload), "0 ") << payload;
    }
    for (const char* payload :
         {" ", "x", "{", "}", "{\"a\"}", "{\"a\":1,}", "{'a':1}", "{}{}", "{}x", "\xEF\xBB\xBF{}"}) {
        EXPECT_EQ(outcome(payload), "5 Invalid JWT body parsed") << payload;
    }
    for (const char* payload : {"[]", "123", "\"sub\"", "true", "[{\"sub\":\"bob\"}]", " {}", "{} ", "{}\n"}) {
        EXPECT_EQ(outcome(payload), "5 Invalid JWT body syntax parsed") << payload;
    }
}

TEST_F(JwtPayload, HasRoomForOneTokenInThreeReceivedBytes) {
    EXPECT_EQ(outcome("{\"a\":[1,1]}"), "0 ");
    std::string dense = "{\"a\":[1";
    for (int element = 0; element < 1000; ++element) {
        dense += ",1";
    }
    EXPECT_EQ(outcome(dense + "]}"), "5 Invalid JWT body parsed");
}

TEST_F(JwtPayload, MayBeLargeButNotDeep) {
    const std::size_t depth = 100'000;
    EXPECT_EQ(outcome("{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}"),
              "5 Invalid JWT body parsed");
    EXPECT_EQ(outcome("{\"a\":" + std::string(depth, '[')), "5 Invalid JWT body parsed");
    Evaluation evaluation(2 << 20);
    const std::string payload = "{\"sub\":\"bob\",\"x\":\"" + std::string(1 << 20, 'x') + "\"}";
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, payload)), "0 ");
    EXPECT_EQ(evaluation.payload(), payload);
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, payload, "x")), "20 JWT signature validation failed");
}

// --- Times ----------------------------------------------------------------------------------------------------

TEST_F(JwtTimes, AreComparedToTheSecondWithoutTolerance) {
    const Row rows[] = {
        {R"({"exp":1700000001})", "0 "},
        {R"({"exp":1700000000})", "4 JWT is expired"},
        {R"({"exp":1699999999})", "4 JWT is expired"},
        {R"({"nbf":1699999999})", "0 "},
        {R"({"nbf":1700000000})", "14 JWT is not valid yet"},
        {R"({"nbf":1700000001})", "14 JWT is not valid yet"},
        {R"({"nbf":1699999999,"exp":1700000001})", "0 "},
        {R"({"exp":1,"nbf":9999999999})", "4 JWT is expired"},
        {R"({"nbf":9999999999,"exp":1})", "14 JWT is not valid yet"},
        {R"({"iat":9999999999})", "0 "},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(outcome(row.payload), row.outcome) << row.payload;
    }
}

TEST_F(JwtTimes, AreReadAsWholeSeconds) {
    const Row rows[] = {
        {R"({"exp":"1700000001"})", "0 "},
        {R"({"exp":"  1700000001 x"})", "0 "},
        {R"({"exp":1700000000.9})", "4 JWT is expired"},
        {R"({"exp":1.8e9})", "4 JWT is expired"},
        {R"({"exp":true})", "4 JWT is expired"},
        {R"({"exp":null})", "4 JWT is expired"},
        {R"({"exp":""})", "4 JWT is expired"},
        {R"({"exp":[1800000000]})", "4 JWT is expired"},
        {R"({"exp":-1800000000})", "4 JWT is expired"},
        {R"({"exp":4102444800})", "0 "},  // beyond 32 bits
        {R"({"exp":99999999999999999999999999})", "0 "},
        {R"({"nbf":99999999999999999999999999})", "14 JWT is not valid yet"},
        {R"({"exp":-99999999999999999999999999})", "4 JWT is expired"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(outcome(row.payload), row.outcome) << row.payload;
    }
    // Only 63 characters are looked at.
    EXPECT_EQ(outcome("{\"exp\":\"" + std::string(53, ' ') + "1700000001\"}"), "0 ");
    EXPECT_EQ(outcome("{\"exp\":\"" + std::string(54, ' ') + "1700000001\"}"), "4 JWT is expired");
}

TEST_F(JwtTimes, AreReadAsStrtollDoesWhateverByteIsAmongTheDigits) {
    const std::string digits = "918273645546372819";
    for (std::size_t length = 1; length <= digits.size(); ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string claim = digits.substr(0, length);
                claim[at] = static_cast<char>(byte);
                EXPECT_EQ(jwtTime(claim), std::strtoll(claim.c_str(), nullptr, 10)) << claim;
            }
        }
    }
}

TEST_F(JwtTimes, HandOutWhenTheTokenWasIssued) {
    const std::pair<const char*, std::int64_t> rows[] = {{R"({"iat":1600000000})", 1'600'000'000},
                                                         {R"({"iat":-5})", -5},
                                                         {R"({"iat":0})", 77},
                                                         {R"({})", 77},
                                                         {R"({"iat":"x"})", 77}};
    for (const auto& [payload, issuedAt] : rows) {
        Evaluation evaluation;
        evaluation.result.issuedAt = 77;
        EXPECT_EQ(evaluation.outcome(makeToken(kHs256, payload)), "0 ");
        EXPECT_EQ(evaluation.result.issuedAt, issuedAt) << payload;
    }
}

// --- Which tokens are claims ----------------------------------------------------------------------------------

TEST_F(JwtClaimWalk, RefusesAClaimThatAppearsTwice) {
    const std::pair<const char*, const char*> rows[] = {{"jti", "8 Invalid JWT attribute JTI already parsed"},
                                                        {"sub", "8 Invalid JWT attribute Subject already parsed"},
                                                        {"aud", "8 Invalid JWT attribute Audience already parsed"},
                                                        {"iss", "8 Invalid JWT attribute Issuer already parsed"},
                                                        {"exp", "8 Invalid JWT attribute exp already parsed"},
                                                        {"nbf", "8 Invalid JWT attribute nbf already parsed"},
                                                        {"iat", "8 Invalid JWT attribute iat already parsed"}};
    for (const auto& [name, text] : rows) {
        const std::string quoted = std::string("\"") + name + "\"";
        const std::string value = std::string(name) == "exp" ? "1800000000" : "1";
        const std::string once = quoted + ":" + value;
        EXPECT_EQ(outcome("{" + once + "}"), "0 ") << name;
        EXPECT_EQ(outcome("{" + once + "," + once + "}"), text);
        EXPECT_EQ(outcome("{\"a\":{" + once + "}," + once + "}"), text);  // nested ones count
        EXPECT_EQ(outcome("{" + once + ",\"a\":[{" + once + "}]}"), text);
        EXPECT_EQ(outcome("{\"a\":[" + quoted + "," + value + "]," + once + "}"), text);  // and plain values
        EXPECT_EQ(outcome("{\"a\":" + quoted + "," + once + "}"),
                  std::string(name) == "exp" ? "4 JWT is expired" : text);
    }
    EXPECT_EQ(outcome(R"({"sub":"","sub":"a"})"), "8 Invalid JWT attribute Subject already parsed");
    EXPECT_EQ(outcome(R"({"uid":"a","uid":"b"})", "uid"), "8 Invalid JWT attribute NameID already parsed");
    EXPECT_EQ(outcome(R"({"uid":"a","uid":"b"})"), "0 ");
}

TEST_F(JwtClaimWalk, DoesNotTakeAClaimsValueForAName) {
    Evaluation evaluation;
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"aud":"iss","iss":"x"})")), "0 ");
    EXPECT_EQ(evaluation.audience(), "iss");
    EXPECT_EQ(evaluation.issuer(), "x");
    Evaluation named;
    EXPECT_EQ(named.outcome(makeToken(kHs256, R"({"sub":"uid","uid":"bob"})"), "secret", "uid"), "0 ");
    EXPECT_EQ(named.nameId(), "bob");
    EXPECT_EQ(outcome(R"({"sub":"sub"})"), "0 ");
}

TEST_F(JwtClaimWalk, NeedsAFurtherTokenForAValue) {
    Evaluation evaluation;
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"a":"sub"})")), "0 ");
    EXPECT_EQ(evaluation.subject(), std::nullopt);
    EXPECT_EQ(outcome(R"({"a":"uid"})", "uid"), "1 JWT is without name id attribute");
}

TEST_F(JwtClaimWalk, KnowsNamesByAllTheirBytes) {
    Evaluation evaluation;
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"subject":"a","SUB":"b","su":"c","s\u0075b":"d","subs":"e"})")),
              "0 ");
    EXPECT_EQ(evaluation.subject(), std::nullopt);
}

TEST_F(JwtClaimWalk, FindsTheNameIdWhateverItIsCalled) {
    Evaluation other;
    EXPECT_EQ(other.outcome(makeToken(kHs256, R"({"email":"bob@example.org"})"), "secret", "email"), "0 ");
    EXPECT_EQ(other.nameId(), "bob@example.org");
    Evaluation registered;
    EXPECT_EQ(registered.outcome(makeToken(kHs256, R"({"sub":"bob"})"), "secret", "sub"), "0 ");
    EXPECT_EQ(registered.nameId(), "bob");
    EXPECT_EQ(registered.subject(), "bob");
    EXPECT_EQ(outcome(R"({"sub":"bob"})", "email"), "1 JWT is without name id attribute");
    EXPECT_EQ(outcome(R"({"":"bob"})", ""), "0 ");
}

// --- What is handed out ---------------------------------------------------------------------------------------

TEST_F(JwtOutput, PointsIntoTheCallersPayload) {
    Evaluation evaluation;
    const std::string payload = R"({"sub":"bob","iss":"me","jti":"7","aud":["a","b"],"uid":42,"n":{"x":null}})";
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, payload), "secret", "uid"), "0 ");
    EXPECT_EQ(evaluation.payload(), payload);
    EXPECT_EQ(evaluation.buffer[payload.size()], '\0');
    EXPECT_EQ(evaluation.subject(), "bob");
    EXPECT_EQ(evaluation.issuer(), "me");
    EXPECT_EQ(evaluation.jsonId(), "7");
    EXPECT_EQ(evaluation.audience(), R"(["a","b"])");
    EXPECT_EQ(evaluation.nameId(), "42");
    EXPECT_EQ(evaluation.result.algorithm, 1U);
}

TEST_F(JwtOutput, IsNullForClaimsThatAreNotThere) {
    Evaluation evaluation;
    evaluation.result.nameId = "stale";
    evaluation.result.nameIdLength = 5;
    evaluation.result.subject = nullptr;
    evaluation.result.subjectLength = 9;
    evaluation.result.issuer = "no length";
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, "{}")), "0 ");
    for (const auto& claim :
         {evaluation.nameId(), evaluation.subject(), evaluation.issuer(), evaluation.jsonId(), evaluation.audience()}) {
        EXPECT_EQ(claim, std::nullopt);
    }
}

TEST_F(JwtOutput, KeepsTheSpellingOfTheToken) {
    Evaluation good;
    EXPECT_EQ(good.outcome(makeToken(kHs256, R"({"sub":"b\u00f6b\n","iss":"b)"
                                             "\xc3\xb6"
                                             R"(b","jti":""})")),
              "0 ");
    EXPECT_EQ(good.subject(), R"(b\u00f6b\n)");
    EXPECT_EQ(good.issuer(),
              "b\xc3\xb6"
              "b");
    EXPECT_EQ(good.jsonId(), "");
}

TEST_F(JwtOutput, LeavesOutAPayloadThatDoesNotFit) {
    const std::string payload = R"({"sub":"bob"})";
    Evaluation exact(payload.size());
    EXPECT_EQ(exact.outcome(makeToken(kHs256, payload)), "0 ");
    EXPECT_EQ(exact.payload(), payload);
    EXPECT_EQ(exact.subject(), "bob");
    Evaluation small(payload.size() - 1);
    EXPECT_EQ(small.outcome(makeToken(kHs256, payload), "secret", "sub"), "0 ");
    EXPECT_EQ(small.result.payloadLength, 0U);
    EXPECT_EQ(small.buffer, '\0' + std::string(payload.size() - 2, '#'));
    EXPECT_EQ(small.subject(), std::nullopt);
    EXPECT_EQ(small.nameId(), std::nullopt);
    EXPECT_EQ(small.result.algorithm, 1U);
}

// --- What is expected -----------------------------------------------------------------------------------------

struct Expectation {
    void (Evaluation::*expect)(std::string_view);
    const char* name;
    const char* missing;
    const char* different;
};

constexpr Expectation kExpectations[] = {
    {&Evaluation::expectSubject, "sub", "23 JWT is without subject attribute",
     "24 JWT is with different subject attribute"},
    {&Evaluation::expectIssuer, "iss", "23 JWT is without issuer attribute",
     "24 JWT is with different issuer attribute"},
    {&Evaluation::expectJsonId, "jti", "23 JWT is without JSON ID attribute",
     "24 JWT is with different JSON ID attribute"},
};

TEST_F(JwtExpected, ClaimsMustBeThereWithTheSameBytes) {
    for (const Expectation& row : kExpectations) {
        const auto outcomeOf = [&](std::string_view expected, const std::string& claims) {
            Evaluation evaluation;
            (evaluation.*row.expect)(expected);
            return evaluation.outcome(makeToken(kHs256, "{" + claims + "}"));
        };
        const std::string name = std::string("\"") + row.name + "\":";
        EXPECT_EQ(outcomeOf("alice", name + "\"alice\""), "0 ");
        EXPECT_EQ(outcomeOf("alice", name + "\"alices\""), row.different);  // begins with what is expected
        EXPECT_EQ(outcomeOf("alice", name + "\"alic\""), row.different);
        EXPECT_EQ(outcomeOf("alice", name + "\"alicE\""), row.different);
        EXPECT_EQ(outcomeOf("alice", name + "\"\""), row.different);
        EXPECT_EQ(outcomeOf("alice", ""), row.missing);
        EXPECT_EQ(outcomeOf("", ""), "0 ");
    }
}

TEST_F(JwtExpected, ClaimsAreComparedInTheirOrder) {
    Evaluation evaluation;
    evaluation.expectJsonId("j");
    evaluation.expectIssuer("i");
    evaluation.expectSubject("s");
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, "{}"), "secret", "uid"), "1 JWT is without name id attribute");
    Evaluation second;
    second.expectIssuer("i");
    second.expectAudience("a");
    EXPECT_EQ(second.outcome(makeToken(kHs256, "{}")), "23 JWT is without issuer attribute");
}

TEST_F(JwtExpected, ClaimsStayWhereTheCallerPutThem) {
    Evaluation evaluation;
    const std::string expected = "bob";
    evaluation.expectSubject(expected);
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"sub":"bob"})")), "0 ");
    EXPECT_EQ(evaluation.result.subject, expected.data());
}

TEST_F(JwtExpected, AudienceIsMeasuredOnly) {
    const auto outcomeOf = [](std::string_view expected, std::string_view payload) {
        Evaluation evaluation;
        evaluation.expectAudience(expected);
        return evaluation.outcome(makeToken(kHs256, payload));
    };
    EXPECT_EQ(outcomeOf("me", "{}"), "23 JWT is without audience attribute");
    EXPECT_EQ(outcomeOf("me", R"({"aud":"m"})"), "24 JWT audience is not valid for requested value");
    EXPECT_EQ(outcomeOf("me", R"({"aud":"me"})"), "0 ");
    EXPECT_EQ(outcomeOf("me", R"({"aud":["me","you"]})"), "0 ");
    EXPECT_EQ(outcomeOf("me", R"({"aud":"you"})"), "0 ");  // deliberate: the text is not compared
    EXPECT_EQ(outcomeOf("me", R"({"aud":"you","jti":"other"})"), "0 ");
}

// A record that is used again still points into the payload of the token before.
TEST_F(JwtExpected, ClaimsMayNotCreepInFromTheTokenItself) {
    Evaluation evaluation;
    ASSERT_EQ(evaluation.outcome(makeToken(kHs256, R"({"sub":"bob"})")), "0 ");
    evaluation.result.payloadLength = evaluation.buffer.size();
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"sub":"eve"})")), "24 JWT is with different subject attribute");
}

}  // namespace
}  // namespace quorvanti::test
