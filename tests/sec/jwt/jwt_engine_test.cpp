// The engine's life, the caller's record, and the parts of a token up to its payload.
#include "sec/jwt/jwt_engine.h"

#include "tests/sec/jwt/started_engine.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>

#include <memory>

namespace quorvanti::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kResolved[] = {
    "crypt_hashAlgorithm_Name2Id", "crypt_hashAlgorithm_Id2Name", "crypt_hash_create",
    "crypt_hash_import",           "crypt_hash_exportToBlob",     "crypt_hash_more",
    "crypt_hash_getValue",         "crypt_hash_release",          "crypt_keyedmac_create",
    "crypt_keyedmac_import",       "crypt_keyedmac_exportToBlob", "crypt_keyedmac_more",
    "crypt_keyedmac_getValue",     "crypt_keyedmac_reset",        "crypt_keyedmac_release"};

std::vector<std::string> resolvedLines(std::size_t count) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < count; ++at) {
        lines.push_back(std::string("KavSecu_LoadFunction(): loaded function >") + kResolved[at] + "<.");
    }
    return lines;
}

SsfFunctionTable emptyTable() {
    return {.entryPoints = {}, .loaded = 0, .available = {}, .fipsMode = 0, .libraryHandle = kDlNoHandle};
}

// --- Life -----------------------------------------------------------------------------------------------------

TEST(JwtLife, StartsOnceAndAgainAfterARelease) {
    SsfFunctionTable table = emptyTable();
    EXPECT_FALSE(JwtStarted());
    EXPECT_EQ(JwtInitialize(nullptr), -1);
    EXPECT_FALSE(JwtStarted());
    EXPECT_EQ(JwtInitialize(&table), 0);
    EXPECT_TRUE(JwtStarted());
    EXPECT_EQ(JwtInitialize(&table), -1);
    EXPECT_EQ(JwtInitialize(nullptr), -1);
    JwtRelease();
    EXPECT_FALSE(JwtStarted());
    EXPECT_EQ(JwtInitialize(&table), 0);
    JwtRelease();
    JwtRelease();
}

TEST(JwtLife, EvaluatesNothingBeforeTheStart) {
    Evaluation evaluation;
    EXPECT_EQ(evaluation.run(makeToken(kHs256, "{}")), 10);
}

TEST(JwtLife, ResolvesTheKeyedMacFunctionsInTheirOrder) {
    CryptoDouble crypto;
    SsfFunctionTable table = emptyTable();
    ASSERT_EQ(SsfLoadFunctions(kDlNoHandle, crypto.path().c_str(), table), 0);
    {
        TraceCapture trace(2);
        EXPECT_EQ(JwtInitialize(&table), 0);
        EXPECT_EQ(trace.lines(), resolvedLines(15));
    }
    {
        TraceCapture trace(2);  // they are there, and are not asked for again
        EXPECT_EQ(Evaluation().run(makeToken(kHs256, "{}")), 0);
        EXPECT_THAT(trace.lines(), IsEmpty());
    }
    JwtRelease();
    SsfUnloadFunctions(table);
}

TEST(JwtLife, TakesAllKeyedMacFunctionsOrNone) {
    CryptoDouble crypto("double_no_keyed_mac");
    SsfFunctionTable table = emptyTable();
    ASSERT_EQ(SsfLoadFunctions(kDlNoHandle, crypto.path().c_str(), table), 0);
    std::vector<std::string> lines = resolvedLines(8);
    lines.emplace_back(
        "*** ERROR => KavSecu_LoadFunction(): could not load function >crypt_keyedmac_create<. [secuload]");
    {
        TraceCapture trace(2);
        EXPECT_EQ(JwtInitialize(&table), 0);
        EXPECT_EQ(trace.lines(), lines);
    }
    for (int use = 0; use < 2; ++use) {  // tried again each time
        TraceCapture trace(2);
        EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), "20 JWT signature validation failed");
        EXPECT_EQ(trace.lines(), lines);
    }
    EXPECT_EQ(Evaluation().outcome(makeToken(kRs256, "{}")), "0 ");  // what needs none of them works
    JwtRelease();
    SsfUnloadFunctions(table);
}

TEST(JwtLife, RefusesMacsWhenTheSecondSetIsUnavailable) {
    SsfFunctionTable table = emptyTable();
    TraceCapture trace(1);
    EXPECT_EQ(JwtInitialize(&table), 0);
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}")), "20 JWT signature validation failed");
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => DlLoadLib: no libname supplied [dlnt]",
                                           "*** ERROR => KavSecuInit(): could not load libkavsecu ><  [secuload]"));
    JwtRelease();
}

// --- The caller's record --------------------------------------------------------------------------------------

TEST(JwtRecord, MustHaveTheRightSize) {
    const StartedEngine engine;
    ASSERT_EQ(engine.code, 0);
    for (const std::uint64_t size :
         {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{631}, std::uint64_t{633}, ~std::uint64_t{0}}) {
        Evaluation evaluation;
        evaluation.result.structSize = size;
        EXPECT_EQ(evaluation.run(makeToken(kHs256, "{}")), 15) << size;
        if (size > 600) {
            EXPECT_EQ(evaluation.result.errorText,
                      "Wrong structure size. Expected 632, but received " + std::to_string(size));
            EXPECT_EQ(evaluation.buffer[0], '\0');
        }
    }
}

TEST(JwtRecord, IsNotTouchedBeyondItsSize) {
    const StartedEngine engine;
    for (std::uint64_t size = sizeof(std::uint64_t); size < sizeof(JwtResult); ++size) {
        // As large as it says, in a block of its own.
        const auto bytes = std::make_unique<std::uint64_t[]>((size + 7) / 8);
        auto* const block = reinterpret_cast<char*>(bytes.get());
        std::memset(block, 0x5A, (size + 7) / 8 * 8);
        std::memcpy(block, &size, sizeof size);
        char payload[1] = {'#'};
        if (size >= offsetof(JwtResult, errorText)) {
            const auto address = reinterpret_cast<std::uintptr_t>(payload);
            const std::uint64_t length = 1;
            std::memcpy(block + offsetof(JwtResult, payload), &address, sizeof address);
            std::memcpy(block + offsetof(JwtResult, payloadLength), &length, sizeof length);
        }
        const std::string token = makeToken(kHs256, "{}");
        EXPECT_EQ(
            JwtEvalToken(token.data(), token.size(), nullptr, 0, nullptr, 0, *reinterpret_cast<JwtResult*>(block)), 15);
        for (std::uint64_t at = size; at < (size + 7) / 8 * 8; ++at) {
            EXPECT_EQ(block[at], 0x5A) << size;
        }
        EXPECT_EQ(payload[0], size >= offsetof(JwtResult, errorText) ? '\0' : '#') << size;
    }
}

TEST(JwtRecord, HasAnEmptyErrorTextAfterSuccess) {
    const StartedEngine engine;
    Evaluation evaluation;
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, "{}")), "0 ");
}

TEST(JwtRecord, HasItsPayloadEmptiedByAFailure) {
    const StartedEngine engine;
    Evaluation evaluation;
    EXPECT_EQ(evaluation.run("..."), 5);
    EXPECT_EQ(evaluation.buffer[0], '\0');
}

TEST(JwtRecord, MayDoWithoutPayload) {
    const StartedEngine engine;
    Evaluation evaluation;
    evaluation.result.payload = nullptr;
    EXPECT_EQ(evaluation.outcome(makeToken(kHs256, R"({"sub":"bob"})")), "0 ");
    EXPECT_EQ(evaluation.subject(), std::nullopt);
}

// --- The parts ------------------------------------------------------------------------------------------------

TEST(JwtParts, AreThreeBetweenDots) {
    const StartedEngine engine;
    const std::string header = base64Url(kHs256);
    for (const std::string& token :
         {std::string(), std::string("."), std::string(".."), std::string("..."), std::string("abc"),
          header + ".e30" /* a single dot */, "." + base64Url("{}") + ".AAAA", header + "..AAAA", header + ".",
          std::string(1'000'000, '.')}) {
        EXPECT_EQ(Evaluation().outcome(token), "5 Invalid JWT received") << token.substr(0, 80);
    }
    EXPECT_EQ(Evaluation().outcome({}), "5 Invalid JWT received");
}

TEST(JwtParts, TakeEverythingBehindTheSecondDotForTheSignature) {
    const StartedEngine engine;
    EXPECT_EQ(Evaluation().outcome(makeToken(kHs256, "{}") + ".AAAA"),
              "1281 Invalid JWT signature detected during base64");
}

TEST(JwtParts, AreDecodedStrictly) {
    const StartedEngine engine;
    const std::string header = base64Url(kHs256);
    const std::string mac = base64Url(kDoubleMac);
    ASSERT_EQ(Evaluation().outcome(header + ".e30." + mac), "0 ");
    for (const char* tail : {"=", " ", "\n", "A=", "!", "\xc3\xa4"}) {
        EXPECT_EQ(Evaluation().outcome(header + tail + ".e30." + mac),
                  "1281 Invalid JWT header detected during base64 decode.")
            << tail;
        EXPECT_EQ(Evaluation().outcome(header + ".e30" + tail + "." + mac),
                  "1281 Invalid JWT body detected during base64")
            << tail;
        EXPECT_EQ(Evaluation().outcome(header + ".e30." + mac + tail),
                  "1281 Invalid JWT signature detected during base64")
            << tail;
    }
    EXPECT_EQ(Evaluation().outcome(header + ".e31." + mac),
              "1281 Invalid JWT body detected during base64");  // a bit left over
}

// --- The header -----------------------------------------------------------------------------------------------

TEST(JwtHeader, IsOneObjectAndNothingAround) {
    const StartedEngine engine;
    for (const char* header :
         {"{}", "[]", "\"alg\"", "1", "", "x", "[\"alg\",\"HS256\"]", " {\"alg\":\"HS256\"}", "{\"alg\":\"HS256\"} ",
          "{\"alg\":\"HS256\"}x", "{\"alg\":\"HS256\"", "{\"alg\":\"HS256\"}{}", "{alg:\"HS256\"}",
          "{\"alg\":\"HS256\",}", "{\"alg\":\"HS256\",\"typ\":\"JWT\",\"kid\":\"1\"}"}) {
        EXPECT_EQ(Evaluation().outcome(makeToken(header, "{}")),
                  *header == '\0' ? "5 Invalid JWT received" : "5 Invalid JWT header parsed")
            << header;
    }
}

struct HeaderRow {
    const char* header;
    const char* outcome;
};

TEST(JwtHeader, NamesTheAlgorithmAndPlacesTheTypeBehindIt) {
    const StartedEngine engine;
    // clang-format off
    const HeaderRow rows[] = {
        {R"({"alg":"HS256","typ":"JWT"})",      "0 "},
        {R"({"typ":"JWT","alg":"HS256"})",      "21 JWT signature type is not JWT"},
        {R"({"alg":"HS256"})",                  "0 "},
        {R"({ "alg" : "HS256" })",              "0 "},
        {R"({"alg":"HS256 and more"})",         "0 "},
        {R"({"alg":"HS2560"})",                 "0 "},
        {R"({"algorithm":"HS256"})",            "0 "},
        {R"({"alg":"HS256","typ":"nonsense"})", "0 "},
        {R"({"alg":"HS256","cty":"JWT"})",      "0 "},
        {R"({"kid":"1","alg":"HS256"})",        "0 "},
        {R"({"kid":1,"alg":"HS256"})",          "0 "},
        {R"({"alg":1,"alg":"HS256"})",          "0 "},
        {R"({"type":1,"alg":"HS256"})",         "21 JWT signature type is not JWT"},
        {R"({"typ":"JWT"})",                    "21 JWT signature type is not JWT"},
        {R"({"kid":"typ"})",                    "21 JWT signature algorithm not valid"},
        {R"({"kid":"typ","alg":"HS256"})",      "21 JWT signature type is not JWT"},
        {R"({"alg":"none"})",                   "21 JWT signature algorithm not valid"},
        {R"({"alg":"None"})",                   "21 JWT signature algorithm not valid"},
        {R"({"alg":"NONE"})",                   "21 JWT signature algorithm not valid"},
        {R"({"alg":"nOnE"})",                   "21 JWT signature algorithm not valid"},
        {R"({"alg":" none"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"none\u0000"})",             "21 JWT signature algorithm not valid"},
        {R"({"alg":"n\u006fne"})",              "21 JWT signature algorithm not valid"},
        {R"({"alg":""})",                       "21 JWT signature algorithm not valid"},
        {R"({"alg":null})",                     "21 JWT signature algorithm not valid"},
        {R"({"alg":1})",                        "21 JWT signature algorithm not valid"},
        {R"({"alg":["HS256"]})",                "21 JWT signature algorithm not valid"},
        {R"({"ALG":"HS256"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"hs256"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"HS25"})",                   "21 JWT signature algorithm not valid"},
        {R"({"alg":"\u0048S256"})",             "21 JWT signature algorithm not valid"},
        {R"({"alg":"ES256"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"PS256"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"EdDSA"})",                  "21 JWT signature algorithm not valid"},
        {R"({"alg":"HS512256"})",               "0 "},
        {R"({"alg":"none","alg":"HS256"})",     "21 JWT signature algorithm not valid"},
        {R"({"alg":"HS256","alg":"none"})",     "0 "},
    };
    // clang-format on
    for (const HeaderRow& row : rows) {
        EXPECT_EQ(Evaluation().outcome(makeToken(row.header, "{}")), row.outcome) << row.header;
    }
}

TEST(JwtHeader, IsRefusedBeforeTheSignatureIsLookedAt) {
    const StartedEngine engine;
    EXPECT_EQ(Evaluation().outcome(makeToken(R"({"typ":"JWT"})", "{}") + "!"), "21 JWT signature type is not JWT");
    EXPECT_EQ(Evaluation().outcome(makeToken(R"({"alg":"none"})", "{}") + "!"),
              "1281 Invalid JWT signature detected during base64");
    EXPECT_EQ(Evaluation().outcome(makeToken(R"({"alg":"none"})", "{}", "")), "21 JWT signature algorithm not valid");
}

TEST(JwtHeader, SaysWhichAlgorithmItIs) {
    StartedEngine engine;
    const char* names[] = {"HS256", "HS384", "HS512", "RS256", "RS384", "RS512"};
    for (std::uint32_t code = 1; code <= 6; ++code) {
        Evaluation evaluation;
        EXPECT_EQ(evaluation.outcome(makeToken(std::string("{\"alg\":\"") + names[code - 1] + "\"}", "{}")), "0 ");
        EXPECT_EQ(evaluation.result.algorithm, code);
        const std::string hash = std::string("SHA") + (names[code - 1] + 2);
        EXPECT_EQ(engine.crypto.argument(code <= 3 ? "crypt_hashAlgorithm_Name2Id" : "SsfVerifyEx",
                                         code <= 3 ? "name" : "hash"),
                  hash);
    }
}

TEST(JwtHeader, IsNotObeyedWhenItBringsItsOwnKey) {
    StartedEngine engine;
    for (const char* header : {R"({"alg":"RS256","jku":"https://attacker.example/keys"})",
                               R"({"alg":"RS256","x5c":"MIIB"})", R"({"alg":"RS256","x5u":"file"})"}) {
        EXPECT_EQ(Evaluation().outcome(makeToken(header, "{}"), "the caller's key"), "0 ") << header;
        EXPECT_EQ(engine.crypto.argument("SsfVerifyEx", "key"), "the caller's key");
    }
    for (const char* header :
         {R"({"alg":"RS256","jwk":{"kty":"RSA","n":"AQAB","e":"AQAB"}})", R"({"alg":"RS256","x5c":["MIIB"]})"}) {
        EXPECT_EQ(Evaluation().outcome(makeToken(header, "{}"), "the caller's key"), "5 Invalid JWT header parsed")
            << header;
    }
}

// --- Memory and length ----------------------------------------------------------------------------------------

TEST(JwtMemory, IsReportedWhenItRunsOut) {
    const StartedEngine engine;
    const std::string token = makeToken(kRs256, "{\"a\":\"" + std::string(20'000, 'x') + "\"}");
    Evaluation evaluation;
    ASSERT_EQ(evaluation.outcome(token), "0 ");
    Evaluation poor;
    std::int32_t code = 0;
    {
        JwtResult& result = poor.result;
        CryptoDouble other("double_empty");  // takes its memory before
        const std::string hmac = makeToken(R"({"alg":"none"})", "{}", std::string(5000, 's'));
        const AllocationFailure failure;
        code = JwtEvalToken(hmac.data(), hmac.size(), nullptr, 0, nullptr, 0, result);
    }
    EXPECT_EQ(code, 11);
    EXPECT_STREQ(poor.result.errorText, "JWT malloc failed");
}

TEST(JwtMemory, IsNotNeededForOrdinaryTokens) {
    const StartedEngine engine("double_empty");
    const std::string token = makeToken(R"({"alg":"ES256","typ":"JWT"})", R"({"sub":"bob"})", std::string(256, 's'));
    Evaluation evaluation;
    std::int32_t code = 0;
    {
        const AllocationFailure failure;
        code = JwtEvalToken(token.data(), token.size(), nullptr, 0, nullptr, 0, evaluation.result);
    }
    EXPECT_EQ(code, 21);
}

}  // namespace
}  // namespace quorvanti::test
