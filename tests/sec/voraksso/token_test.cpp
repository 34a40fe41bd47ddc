#include "sec/voraksso/state.h"
#include "tests/sec/jwt/token_maker.h"
#include "tests/sec/voraksso/engine_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

namespace quorvanti {
namespace {

using namespace quorvanti::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class Token : public EngineTest {
protected:
    static std::int32_t call(std::string_view token, std::string_view key, const char* nameIdClaim, JwtResult* result) {
        return VorakEvalJWToken(token.data(), token.size(), reinterpret_cast<const std::uint8_t*>(key.data()),
                                key.size(), nameIdClaim, result);
    }
    static void cacheKey(std::string_view key) {
        const ThrRecMtxGuard lock(libraryState().cryptoLock);
        std::copy(key.begin(), key.end(), libraryState().ticketKey.keyBytes);
        libraryState().ticketKey.keyLength = static_cast<std::uint32_t>(key.size());
    }

    const std::string token_ = makeToken(kHs256, R"({"sub":"bob"})");
};

TEST_F(Token, IsEvaluatedAndItsClaimsPointIntoThePayload) {
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "secret", "sub", &evaluation.result), VORAK_OK);
    EXPECT_STREQ(evaluation.result.errorText, "");
    EXPECT_EQ(evaluation.subject(), "bob");
    EXPECT_EQ(evaluation.nameId(), "bob");
}

TEST_F(Token, IsRefusedWithFiveAndItsDetailInTextAndTrace) {
    TraceCapture trace(1);
    Evaluation evaluation;
    EXPECT_EQ(call("a.b", "secret", nullptr, &evaluation.result), VORAK_MALFORMED);
    EXPECT_STREQ(evaluation.result.errorText, "Invalid JWT received");
    EXPECT_EQ(call(makeToken(kHs256, "{\"exp\":1}"), "secret", nullptr, &evaluation.result), VORAK_MALFORMED);
    EXPECT_STREQ(evaluation.result.errorText, "JWT is expired");
    EXPECT_THAT(trace.lines(),
                ElementsAre("*** ERROR => Error from JwtEvalToken (rc=5): Invalid JWT received [ssoxxext]",
                            "*** ERROR => VorakEvalJWToken returns 5. [ssoxxext]",
                            "*** ERROR => Error from JwtEvalToken (rc=4): JWT is expired [ssoxxext]",
                            "*** ERROR => VorakEvalJWToken returns 5. [ssoxxext]"));
}

TEST_F(Token, ThatAShutdownOvertakesIsRefusedAndNothingOfTheCallersTextIsTraced) {
    JwtRelease();
    TraceCapture trace(1);
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "secret", nullptr, &evaluation.result), VORAK_MALFORMED);
    EXPECT_STREQ(evaluation.result.errorText, "");
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => Error from JwtEvalToken (rc=10):  [ssoxxext]",
                                           "*** ERROR => VorakEvalJWToken returns 5. [ssoxxext]"));
}

TEST_F(Token, IsTracedFromEntryToExit) {
    TraceCapture trace(3);
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "secret", nullptr, &evaluation.result), VORAK_OK);
    EXPECT_THAT(trace.lines(), ElementsAre("VorakEvalJWToken was called, check input",
                                           "Token is the following:      >>>" + token_ + "<<<",
                                           "HMAC is not traced here.", "Token validation was successful. ",
                                           "Cleanup of VorakEvalJWToken", "End of function VorakEvalJWToken."));
}

TEST_F(Token, NeedsTheLibraryInitialized) {
    VorakShutdown();
    TraceCapture trace(1);
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "secret", nullptr, &evaluation.result), VORAK_INVALID);
    EXPECT_STREQ(evaluation.result.errorText, "VorakInitialize must be called first.");
    EXPECT_EQ(call(token_, "secret", nullptr, nullptr), VORAK_INVALID);
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => VorakInitialize must be called first. [ssoxxext]",
                                           "*** ERROR => VorakInitialize must be called first. [ssoxxext]"));
}

TEST_F(Token, IsMissing) {
    TraceCapture trace(1);
    Evaluation evaluation;
    const std::uint8_t key[] = {'k'};
    EXPECT_EQ(VorakEvalJWToken(nullptr, 5, key, 1, nullptr, &evaluation.result), VORAK_MISSING_ARGUMENT);
    EXPECT_STREQ(evaluation.result.errorText, "Missing input buffer pointer for JWT.");
    EXPECT_EQ(VorakEvalJWToken("x", 0, key, 1, nullptr, &evaluation.result), VORAK_MISSING_ARGUMENT);
    EXPECT_EQ(VorakEvalJWToken(nullptr, 0, key, 1, nullptr, nullptr), VORAK_MISSING_ARGUMENT);
    const std::string line = "*** ERROR => Missing input buffer pointer for JWT [ssoxxext]";
    EXPECT_THAT(trace.lines(), ElementsAre(line, line, line));
}

TEST_F(Token, NeedsAPayloadBuffer) {
    TraceCapture trace(1);
    EXPECT_EQ(call(token_, "secret", nullptr, nullptr), VORAK_MISSING_ARGUMENT);
    Evaluation noBuffer;
    noBuffer.result.payload = nullptr;
    EXPECT_EQ(call(token_, "secret", nullptr, &noBuffer.result), VORAK_MISSING_ARGUMENT);
    EXPECT_STREQ(noBuffer.result.errorText, "Missing input buffer pointer for JWT payload.");
    Evaluation noRoom;
    noRoom.result.payloadLength = 0;
    EXPECT_EQ(call(token_, "secret", nullptr, &noRoom.result), VORAK_MISSING_ARGUMENT);
    EXPECT_STREQ(noRoom.result.errorText, "Missing input buffer pointer for JWT payload.");
    const std::string line = "*** ERROR => Missing input buffer pointer for JWT payload [ssoxxext]";
    EXPECT_THAT(trace.lines(), ElementsAre(line, line, line));
}

TEST_F(Token, RefusesARecordOfAnotherSize) {
    TraceCapture trace(1);
    Evaluation evaluation;
    evaluation.result.structSize = 640;
    EXPECT_EQ(call(token_, "secret", nullptr, &evaluation.result), VORAK_MALFORMED);
    EXPECT_STREQ(evaluation.result.errorText, "Wrong structure size. Expected 632, but received 640");
    EXPECT_THAT(trace.lines(), ElementsAre("*** ERROR => Error from JwtEvalToken (rc=15): Wrong structure size. "
                                           "Expected 632, but received 640 [ssoxxext]",
                                           "*** ERROR => VorakEvalJWToken returns 5. [ssoxxext]"));
}

TEST_F(Token, TouchesNoMoreOfARecordThanItsSize) {
    char payload[8] = {};
    for (std::uint64_t size = 8; size < offsetof(JwtResult, errorText) + 512; ++size) {
        const std::size_t words = (size + 7) / 8;
        const auto block = std::make_unique<std::uint64_t[]>(words);  // reading or writing behind it would be seen
        auto* const bytes = reinterpret_cast<unsigned char*>(block.get());
        std::fill_n(bytes, words * 8, static_cast<unsigned char>(0x5A));
        block[0] = size;
        if (size >= 24) {
            block[1] = reinterpret_cast<std::uintptr_t>(payload);
            block[2] = sizeof payload;
        }
        EXPECT_EQ(call(token_, "secret", nullptr, reinterpret_cast<JwtResult*>(block.get())), VORAK_MISSING_ARGUMENT)
            << size;
        EXPECT_TRUE(std::all_of(bytes + size, bytes + words * 8, [](unsigned char byte) { return byte == 0x5A; }))
            << size;
    }
}

TEST_F(Token, TakesTheCachedKeyWhenNoneIsGiven) {
    Evaluation none;
    EXPECT_EQ(call(token_, {}, nullptr, &none.result), VORAK_MALFORMED);
    EXPECT_STREQ(none.result.errorText, "JWT signature validation failed");
    cacheKey("cached key");
    for (const bool null : {true, false}) {
        Evaluation evaluation;
        EXPECT_EQ(call(token_, null ? std::string_view() : std::string_view("", 0), nullptr, &evaluation.result),
                  VORAK_OK);
        EXPECT_EQ(crypto.argument("crypt_keyedmac_create", "key"), "cached key");
    }
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "given key", nullptr, &evaluation.result), VORAK_OK);
    EXPECT_EQ(crypto.argument("crypt_keyedmac_create", "key"), "given key");
    Evaluation rsa;
    EXPECT_EQ(call(makeToken(kRs256, "{}"), {}, nullptr, &rsa.result), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfVerifyEx", "key"), "cached key");
}

TEST_F(Token, ReadsANameIdBeyondAsciiAsNumberSigns) {
    Evaluation evaluation;
    EXPECT_EQ(call(makeToken(kHs256, R"({"n##me":"bob"})"), "secret", "n\xc3\xa4me", &evaluation.result), VORAK_OK);
    EXPECT_EQ(evaluation.nameId(), "bob");
    Evaluation other;
    EXPECT_EQ(call(makeToken(kHs256, "{\"n\xc3\xa4me\":\"bob\"}"), "secret", "n\xc3\xa4me", &other.result),
              VORAK_MALFORMED);
    EXPECT_STREQ(other.result.errorText, "JWT is without name id attribute");
    Evaluation last;  // of ASCII
    EXPECT_EQ(call(makeToken(kHs256, "{\"n\x7Fme\":\"bob\"}"), "secret", "n\x7Fme", &last.result), VORAK_OK);
    EXPECT_EQ(last.nameId(), "bob");
    Evaluation empty;
    EXPECT_EQ(call(token_, "secret", "", &empty.result), VORAK_OK);
}

TEST_F(Token, IsAcceptedAgainAfterARestart) {
    VorakShutdown();
    ASSERT_EQ(VorakInitialize(crypto.path().c_str()), VORAK_OK);
    Evaluation evaluation;
    EXPECT_EQ(call(token_, "secret", nullptr, &evaluation.result), VORAK_OK);
}

}  // namespace
}  // namespace quorvanti
