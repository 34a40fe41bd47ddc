// createAssertionTicket and evalJWToken.
#include "tests/bindings/java/natives_fixture.h"
#include "tests/support/allocation_failure.h"

#include <cstdio>
#include <optional>

using namespace quorvanti::test;
using testing::Contains;

namespace {

class Issuing : public NativesTest {
protected:
    const Texts complete_{u"PRD", u"100", u"keys.p12", u"secret", u"DEV", u"200", u"JDOE", u"E", u"jdoe", u"basic"};

    Texts without(std::initializer_list<std::size_t> missing) const {
        Texts texts = complete_;
        for (const std::size_t index : missing) {
            texts[index] = std::nullopt;
        }
        return texts;
    }
};
QUORVANTI_FOR_BOTH_CLASSES(Issuing);

class Tokens : public NativesTest {
protected:
    void startWithKey() {
        start();
        natives_.loadKey(env_, nullptr, jni_.bytes("key"), nullptr, 0, 2);
    }
};
QUORVANTI_FOR_BOTH_CLASSES(Tokens);

std::string plain(std::u16string_view created) {
    std::string text(created.begin(), created.end());
    for (char& character : text) {
        character = character == '!' ? '+' : character;
    }
    return text;
}

TEST_P(Issuing, WhatIsCreatedIsAcceptedAndSaysTheSame) {
    start();
    const std::string ticket = plain(taken(create(complete_)));
    EXPECT_EQ(exception(), "(none)");
    EXPECT_EQ(crypto_.argument("SsfNEWSigRcpSsfInfo", "password"), "secret");
    const std::vector<std::u16string> fields =
        taken(evalAssertion({wide(ticket), u"profile", std::nullopt, u"DEV", u"200"}));
    ASSERT_EQ(fields.size(), 8U) << exception();
    EXPECT_EQ(fields[0], u"JDOE");
    EXPECT_EQ(fields[1], u"PRD");
    EXPECT_EQ(fields[2], u"100");
    EXPECT_EQ(fields[4], u"jdoe");
    EXPECT_EQ(fields[5], u"basic");
    EXPECT_EQ(fields[7], u"1");
}

TEST_P(Issuing, ATicketMayHave4096Characters) {
    start();
    const std::string shorter = plain(taken(create(complete_)));
    const std::size_t padding = shorter.size() - shorter.find_last_not_of('=') - 1;
    crypto_->signature.resize(crypto_->signature.size() + 3072 - (shorter.size() / 4 * 3 - padding));
    EXPECT_EQ(taken(create(complete_)).size(), 4096U);
    EXPECT_EQ(exception(), "(none)");
    crypto_->signature += "x";
    EXPECT_EQ(create(complete_), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakCreateAssertionTicket failed: standard error= 3, ssf error= 0");
}

TEST_P(Issuing, AnyUserComesBackAsHeWent) {
    start();
    for (const std::u16string& user : {std::u16string(u"Jürgen"), std::u16string(u"😀"), std::u16string(u"A\0B", 3)}) {
        Texts texts = complete_;
        texts[6] = user;
        texts[8] = user;
        const std::string ticket = plain(taken(create(texts)));
        const std::vector<std::u16string> fields =
            taken(evalAssertion({wide(ticket), u"profile", std::nullopt, u"DEV", u"200"}));
        ASSERT_EQ(fields.size(), 8U) << exception();
        EXPECT_EQ(fields[0], user);
        EXPECT_EQ(fields[4], user);
    }
}

TEST_P(Issuing, WhatIsMissingIsThrownAndTheEngineIsAskedAllTheSame) {
    start();
    const struct {
        std::initializer_list<std::size_t> missing;
        const char* message;
        const char* traced;
    } cases[] = {
        {{0}, "Local system Id not set", "*** ERROR => Missing own system Id information. [ssoxxext]"},
        {{1}, "Local system client not set", "*** ERROR => Missing own system client information. [ssoxxext]"},
        {{4}, "Recipient system Id not set", "*** ERROR => Missing recipient System Id information. [ssoxxext]"},
        {{5},
         "Recipient system client not set",
         "*** ERROR => Missing recipient System Client information. [ssoxxext]"},
        {{6, 8},
         "Neither a KAV user nor a Portal user is set",
         "*** ERROR => No user supplied for ticket creation. [ssoxxext]"},
    };
    for (const auto& expected : cases) {
        const TraceCapture trace(1);
        EXPECT_EQ(create(without(expected.missing)), nullptr);
        EXPECT_EQ(exception(), std::string("java/lang/Exception: ") + expected.message);
        EXPECT_THAT(trace.lines(), Contains(expected.traced));
    }
    EXPECT_EQ(create(without({0, 1, 2, 3, 4, 5, 6, 7, 8, 9})), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: Local system Id not set");
}

TEST_P(Issuing, OneOfTheUsersIsEnough) {
    start();
    for (const std::size_t user : {6U, 8U}) {
        jni_.release(create(without({user, 2, 3, 7, 9})));
        EXPECT_EQ(exception(), "(none)");
    }
}

TEST_P(Issuing, AFailureTellsBothCodes) {
    start();
    Texts texts = complete_;
    texts[0] = u"NINECHARS";
    EXPECT_EQ(create(texts), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakCreateAssertionTicket failed: standard error= 23, ssf error= 0");
}

TEST_P(Issuing, WritesItsLines) {
    const TraceCapture trace(3);
    EXPECT_EQ(create(complete_), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: VorakCreateAssertionTicket failed: standard error= 9, ssf error= 0");
    EXPECT_EQ(trace.lines().front(), "JAVA: createAssertionTicket was called");
    EXPECT_EQ(trace.lines().back(), "JAVA: End of createAssertionTicket");
}

TEST_P(Tokens, AnAcceptedTokenGivesPayloadAndUser) {
    startWithKey();
    const std::string payload = R"({"sub":"42","uid":"J)"
                                "\xC3\xBC\xF0\x9F\x98\x80"
                                R"(","exp":99999999999})";
    const std::vector<std::u16string> fields = taken(evalToken(token(payload), "uid"));
    ASSERT_EQ(fields.size(), 2U) << exception();
    EXPECT_EQ(fields[0], u"{\"sub\":\"42\",\"uid\":\"Jü😀\",\"exp\":99999999999}");
    EXPECT_EQ(fields[1], u"Jü😀");
    EXPECT_EQ(crypto_.argument("crypt_keyedmac_create", "key"), "key");
}

TEST_P(Tokens, ANullTokenThrows) {
    startWithKey();
    EXPECT_EQ(natives_.evalJWToken(env_, nullptr, nullptr, jni_.string(u"uid")), nullptr);
    char message[64];
    std::snprintf(message, sizeof message, "java/lang/Exception: No JWT set. JWT pointer=%p",
                  static_cast<const void*>(nullptr));
    EXPECT_EQ(exception(), message);
}

TEST_P(Tokens, ARefusalTellsWhy) {
    startWithKey();
    EXPECT_EQ(evalToken("a.b", "uid"), nullptr);
    EXPECT_EQ(exception(),
              "java/lang/Exception: VorakEvalJWToken failed: standard error= 5, description= Invalid JWT received");
    EXPECT_EQ(evalToken("", "uid"), nullptr);
    EXPECT_EQ(exception(),
              "java/lang/Exception: VorakEvalJWToken failed: standard error= 15, description= Missing input buffer "
              "pointer for JWT.");
    EXPECT_EQ(evalToken(token(R"({"sub":"42"})"), "uid"), nullptr);
    EXPECT_EQ(exception(),
              "java/lang/Exception: VorakEvalJWToken failed: standard error= 5, description= JWT is without name id "
              "attribute");
}

TEST_P(Tokens, WithoutAUserIdItThrows) {
    startWithKey();
    EXPECT_EQ(evalToken(token(R"({"sub":"42"})"), nullptr), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: JWT contains no UserId.");
    EXPECT_EQ(evalToken(token(R"({"uid":""})"), "uid"), nullptr);
    EXPECT_EQ(exception(), "java/lang/Exception: JWT contains no UserId.");
}

TEST_P(Tokens, WithoutMemoryForThePayloadItThrows) {
    startWithKey();
    std::optional<AllocationFailure> failure;
    int handedOut = 0;
    jni_.stringHandedOut = [&] {
        if (++handedOut == 2) {
            failure.emplace();
        }
    };
    // The machine throws the exception with memory of its own.
    jni_.entering = [&](std::string_view function) {
        if (function == "FindClass") {
            failure.reset();
        }
    };
    EXPECT_EQ(natives_.evalJWToken(env_, nullptr, jni_.string(u"a.b.c"), jni_.string(u"uid")), nullptr);
    EXPECT_THAT(exception(), testing::StartsWith("java/lang/Exception: No memory for Payload Buffer. JWT pointer="));
}

TEST_P(Tokens, AnyOtherWantOfMemoryThrowsToo) {
    startWithKey();
    std::optional<AllocationFailure> failure;
    jni_.entering = [&](std::string_view function) {
        if (function == "GetArrayLength") {
            failure.emplace();  // the copy of the array's contents finds no memory
        } else {
            failure.reset();
        }
    };
    EXPECT_EQ(natives_.loadKey(env_, nullptr, jni_.bytes("key"), nullptr, 0, 2), JNI_FALSE);
    EXPECT_EQ(exception(), "java/lang/Exception: Out of memory.");
}

TEST_P(Tokens, WriteTheirLines) {
    startWithKey();
    const TraceCapture trace(3);
    EXPECT_EQ(evalToken("a.b", "uid"), nullptr);
    exception();
    EXPECT_EQ(trace.lines().front(), "JAVA: evalJWToken was called.");
    EXPECT_EQ(trace.lines().back(), "JAVA: End of evalJWToken");
}

}  // namespace
