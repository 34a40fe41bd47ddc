#include "tests/tools/sso2ticket/jwt_fixture.h"

using namespace quorvanti::test;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class JwtInspect : public JwtTool {
protected:
    CommandResult inspect(std::vector<std::string> words, const std::string& in = "") const {
        words.insert(words.begin(), {"jwt", "inspect"});
        return tool(words, in);
    }
    std::string problem(const std::string& token) const {
        const CommandResult result = inspect({"--json", token});
        EXPECT_EQ(result.exitCode, rejected) << result.out;
        EXPECT_EQ(json(result)["wellFormed"], false);
        return json(result)["problem"];
    }
};

TEST_F(JwtInspect, SaysThatNothingIsVerifiedBeforeAnythingElse) {
    const std::string token = makeToken(kHs256, R"({"sub":"bob"})", "no signature at all");
    const CommandResult result = inspect({token});
    EXPECT_EQ(result.exitCode, accepted);
    EXPECT_THAT(result.out, StartsWith("UNVERIFIED"));
    const auto answer = json(inspect({token, "--json"}));
    EXPECT_EQ(answer["status"], "UNVERIFIED");
    EXPECT_EQ(answer["verified"], false);
}

TEST_F(JwtInspect, ShowsHeaderClaimsTimesAndSignature) {
    const std::string token =
        makeToken(kRs256, R"({"sub":"J\u00f6rg","aud":["a","b"],"n":{"x":1},"iat":1709210100,"exp":1709213700})");
    const std::string out = inspect({token}).out;
    for (const char* line : {
             "algorithm              RS256\n",
             "header                 {\"alg\":\"RS256\",\"typ\":\"JWT\"}\n",
             "claim sub              J\xC3\xB6rg\n",
             "claim aud              [\"a\",\"b\"]\n",
             "claim n                {\"x\":1}\n",
             "claim exp              1709213700\n",
             "issued                 2024-02-29T12:35:00Z\n",
             "expires                2024-02-29T13:35:00Z\n",
             "signature              19 bytes\n",
         }) {
        EXPECT_THAT(out, HasSubstr(line));
    }
    const auto answer = json(inspect({"--json", token}));
    EXPECT_EQ(answer["algorithm"], "RS256");
    EXPECT_EQ(answer["header"]["typ"], "JWT");
    EXPECT_EQ(answer["claims"]["aud"][1], "b");
    EXPECT_EQ(answer["expires"], "2024-02-29T13:35:00Z");
    EXPECT_EQ(answer["notBefore"], nullptr);
    EXPECT_EQ(answer["signatureLength"], 19);
    EXPECT_EQ(answer["wellFormed"], true);
}

TEST_F(JwtInspect, ShowsTimesOnlyWhereTheyAreDates) {
    const auto expires = [&](const std::string& value) {
        return json(inspect({"--json", makeToken(kHs256, "{\"exp\":" + value + "}")}))["expires"];
    };
    EXPECT_EQ(expires("253402300799"), "9999-12-31T23:59:59Z");
    EXPECT_EQ(expires("253402300800"), nullptr);
    EXPECT_EQ(expires("18446744073709551615"), nullptr);
    EXPECT_EQ(expires("-1"), nullptr);
    EXPECT_EQ(expires("\"1709210100\""), nullptr);
    EXPECT_EQ(expires("1.5"), nullptr);
}

TEST_F(JwtInspect, TakesTheTokenFromAFileOrStandardInput) {
    const std::string token = makeToken(kHs256, R"({"sub":"bob"})");
    writeFile(directory_.file("token"), "\n " + token + "\r\n");
    EXPECT_EQ(inspect({"@" + directory_.file("token")}).out, inspect({token}).out);
    EXPECT_EQ(inspect({"-"}, token + "\n").out, inspect({token}).out);
    expectTalk(inspect({"@" + directory_.file("missing")}), inputUnreadable, "cannot be read");
    expectTalk(inspect({"-"}, " \n"), inputUnreadable, "no token");
    expectTalk(inspect({"-"}, std::string((1U << 20U) + 1, 'A')), inputUnreadable, "longer than 1 MiB");
    expectTalk(inspect({}), usage, "token");
}

TEST_F(JwtInspect, ATokenDoesNotDriveTheTerminal) {
    const std::string out = inspect({makeToken(kHs256, R"({"a\u001b[2J":"\u001b[2J"})")}).out;
    EXPECT_THAT(out, HasSubstr("claim a\\x1B[2J"));
    EXPECT_THAT(out, Not(HasSubstr("\x1B")));
}

TEST_F(JwtInspect, SaysWhatIsMalformed) {
    const std::string header = base64Url(kHs256);
    EXPECT_EQ(problem("no token"), "the text has no three parts with dots between them");
    EXPECT_EQ(problem(header + ".e30"), "the text has no three parts with dots between them");
    EXPECT_EQ(problem("e3=.e30."), "the header is not base64url");
    EXPECT_EQ(problem(base64Url("[1]") + ".e30."), "the header is no JSON object");
    EXPECT_EQ(problem(header + ".e30=."), "the payload is not base64url");
    EXPECT_EQ(problem(makeToken(kHs256, "{")), "the payload is no JSON object");
    EXPECT_EQ(problem(makeToken(kHs256, "{} {}")), "the payload is no JSON object");
    EXPECT_EQ(problem(makeToken(kHs256, "{\"a\":\"\xFF\"}")), "the payload is no JSON object");
    EXPECT_EQ(problem(makeToken(kHs256, R"({"sub":"a","s\u0075b":"b"})")), "the payload has the name \"sub\" twice");
    EXPECT_EQ(problem(header + ".e30.A"), "the signature is not base64url");
    EXPECT_EQ(problem(header + ".e30.AA.AA"), "the signature is not base64url");
}

TEST_F(JwtInspect, KeepsWhatCouldBeRead) {
    const auto answer = json(inspect({"--json", base64Url(kHs256) + ".e3"}));
    EXPECT_EQ(answer["algorithm"], "HS256");
    EXPECT_EQ(answer["claims"], nullptr);
    EXPECT_EQ(json(inspect({"--json", "AAAA." + base64Url(R"({"sub":"bob"})") + "."}))["claims"]["sub"], "bob");
}

TEST_F(JwtInspect, DoesNotShowWhatWouldTakeRecursionOrTime) {
    const auto nested = [](std::size_t depth) {
        return makeToken(kHs256, "{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}");
    };
    EXPECT_EQ(inspect({nested(64)}).exitCode, accepted);
    EXPECT_EQ(problem(nested(65)), "the payload is nested too deep to be shown");
    const CommandResult deepest = inspect({"-"}, nested(300'000));
    EXPECT_EQ(deepest.exitCode, rejected);
    EXPECT_THAT(deepest.out, HasSubstr("nested too deep"));
    std::string many = "{\"n0\":0";
    for (int i = 1; i < 1001; ++i) {
        many += ",\"n" + std::to_string(i) + "\":0";
    }
    EXPECT_EQ(problem(makeToken(kHs256, many + "}")), "the payload has too many names to be shown");
}

}  // namespace
