// The native methods on a virtual machine and a crypto library that both answer what a test tells them. Everything runs
// for the packaged methods and for those without a package.
#pragma once

#include <quorvanti/voraksso.h>

#include "tests/bindings/java/fake_jni.h"
#include "tests/bindings/java/natives.h"
#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/environment.h"
#include "tests/support/issuer/ticket_builder.h"
#include "tests/support/trace_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace quorvanti::test {

class NativesTest : public testing::TestWithParam<Natives> {
protected:
    using Texts = std::vector<std::optional<std::u16string>>;

    ~NativesTest() override {
        EXPECT_EQ(jni_.complaints(), "");
        VorakShutdown();
        EXPECT_TRUE(crypto_->outstanding.empty());
    }

    void start() { ASSERT_EQ(VorakInitialize(crypto_.path().c_str()), VORAK_OK); }

    jstring argument(const std::optional<std::u16string>& text) { return text ? jni_.string(*text) : nullptr; }
    static std::optional<std::u16string> wide(std::string_view ascii) {
        return std::u16string(ascii.begin(), ascii.end());
    }

    jobjectArray evalLogon(std::string_view ticket, std::u16string_view profile = u"profile") {
        return natives_.evalLogonTicket(env_, jni_.receiver(), argument(wide(ticket)), jni_.string(profile), nullptr);
    }
    jobjectArray evalAssertion(const Texts& texts) {
        return natives_.evalAssertionTicket(env_, jni_.receiver(), argument(texts[0]), argument(texts[1]),
                                            argument(texts[2]), argument(texts[3]), argument(texts[4]));
    }
    jstring create(const Texts& texts) {
        return natives_.createAssertionTicket(env_, jni_.receiver(), argument(texts[0]), argument(texts[1]),
                                              argument(texts[2]), argument(texts[3]), argument(texts[4]),
                                              argument(texts[5]), argument(texts[6]), argument(texts[7]),
                                              argument(texts[8]), argument(texts[9]));
    }
    jobjectArray evalToken(std::string_view token, const char* claim) {
        return natives_.evalJWToken(env_, jni_.receiver(), argument(wide(token)),
                                    claim == nullptr ? nullptr : argument(wide(claim)));
    }

    // The elements as texts, and the array given back.
    std::vector<std::u16string> taken(jobjectArray array) {
        std::vector<std::u16string> texts;
        if (array == nullptr) {
            return texts;
        }
        for (const jobject element : FakeJni::elements(array)) {
            const std::string contents = FakeJni::contents(element);
            texts.push_back(contents.empty() ? FakeJni::text(element)
                                             : std::u16string(contents.begin(), contents.end()));
        }
        jni_.release(array);
        return texts;
    }
    std::u16string taken(jstring string) {
        std::u16string text = FakeJni::text(string);
        jni_.release(string);
        return text;
    }
    std::string exception() { return jni_.takeException().value_or("(none)"); }

    static std::string signedTicket(const TicketBuilder& builder) {
        return ticketText(builder.signedBytes(), bytesOf("signature"));
    }
    static TicketBuilder logon() { return TicketBuilder::logon(std::time(nullptr)); }
    // Signed with what the double answers.
    static std::string token(std::string_view payload) {
        const auto url = [](std::string_view text) {
            std::string encoded = base64(bytesOf(text));
            while (encoded.ends_with('=')) {
                encoded.pop_back();
            }
            return encoded;
        };
        return url(R"({"alg":"HS256"})") + "." + url(payload) + "." + url("value of the double");
    }

    const EnvironmentVariable noLibrary_{"SSF_LIB", nullptr};
    CryptoDouble crypto_;
    FakeJni jni_;
    JNIEnv* const env_ = jni_.env();
    const Natives natives_ = GetParam();
};

inline std::string nativesName(const testing::TestParamInfo<Natives>& info) {
    return info.param.name;
}
#define QUORVANTI_FOR_BOTH_CLASSES(suite)                                                                        \
    INSTANTIATE_TEST_SUITE_P(Of, suite,                                                                          \
                             testing::Values(quorvanti::test::kPackagedNatives, quorvanti::test::kShortNatives), \
                             quorvanti::test::nativesName)

}  // namespace quorvanti::test
