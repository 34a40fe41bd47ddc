// Which key a token is verified with: the one handed in, or the one that was loaded; and a public key, which everybody
// has, never for an HMAC.
#include "tests/interop/token_fixture.h"

#include <openssl/evp.h>

namespace quorvanti::test {
namespace {

constexpr const char* kPayload = R"({"sub":"bob"})";
constexpr const char* kSecret = "a secret of more than 32 bytes, to be on the safe side";

std::string base64Text(const std::string& bytes) {
    std::string text(bytes.size() * 4 / 3 + 4, '\0');
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

class TokenKey : public TokenThroughTheLibrary {
protected:
    static void expectNone() {
        EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret)), kSignatureFailed);
        EXPECT_EQ(outcome(signedWithSecret(kPayload, "")), kSignatureFailed);
        EXPECT_EQ(outcome(signedWithKey(kPayload, issuer().key())), kSignatureFailed);
    }
};

TEST_F(TokenKey, IsMissing) {
    expectNone();
}

TEST_F(TokenKey, MayBeALoadedCertificate) {
    for (const KeyForm& form : publicForms(issuer())) {
        if (std::string_view(form.name).find("certificate") == std::string_view::npos) {
            continue;
        }
        for (const std::uint32_t type : {VORAK_KEY_CERTIFICATE, VORAK_KEY_CERTIFICATE_QUIETLY}) {
            ASSERT_EQ(load(form.bytes, type), VORAK_OK) << form.name;
            for (const char* algorithm : {"RS256", "RS384", "RS512"}) {
                EXPECT_EQ(outcome(signedWithKey(kPayload, issuer().key(), algorithm)), "0 ") << form.name;
                EXPECT_EQ(outcome(signedWithKey(kPayload, stranger().key(), algorithm)), kSignatureFailed);
            }
        }
    }
}

TEST_F(TokenKey, MayBeALoadedSecret) {
    for (const auto& [type, content] : {std::pair<std::uint32_t, std::string>{VORAK_KEY_HMAC, kSecret},
                                        {VORAK_KEY_HMAC_BASE64, base64Text(kSecret) + "\n"}}) {
        ASSERT_EQ(load(content, type), VORAK_OK);
        for (const char* algorithm : {"HS256", "HS384", "HS512"}) {
            EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret, algorithm)), "0 ");
            EXPECT_EQ(outcome(signedWithSecret(kPayload, "another", algorithm)), kSignatureFailed);
        }
        EXPECT_EQ(outcome(signedWithKey(kPayload, issuer().key())), kSignatureFailed);
    }
}

TEST_F(TokenKey, ThatIsHandedInCountsBeforeTheLoadedOne) {
    ASSERT_EQ(load(kSecret, VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, "another"), "another"), "0 ");
    EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret), "another"), kSignatureFailed);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret)), "0 ");
}

TEST_F(TokenKey, IsReplacedByTheNextAndGoneAfterAFailure) {
    ASSERT_EQ(load(kSecret, VORAK_KEY_HMAC), VORAK_OK);
    ASSERT_EQ(load("another", VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, kSecret)), kSignatureFailed);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, "another")), "0 ");
    ASSERT_EQ(load("another", 5), VORAK_INVALID);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, "another")), kSignatureFailed);
    for (const std::uint32_t type : {VORAK_KEY_CERTIFICATE, VORAK_KEY_CERTIFICATE_QUIETLY}) {
        ASSERT_EQ(load(kSecret, VORAK_KEY_HMAC), VORAK_OK);
        ASSERT_NE(load("no certificate", type), VORAK_OK);
        expectNone();
    }
    ASSERT_EQ(load(kSecret, VORAK_KEY_HMAC), VORAK_OK);
    VorakShutdown();
    ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK);
    expectNone();
}

TEST_F(TokenKey, HasRoomBelow8192Bytes) {
    const std::string longest(8191, 'k');
    ASSERT_EQ(load(longest, VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, longest)), "0 ");
    ASSERT_EQ(load(longest + "k", VORAK_KEY_HMAC), VORAK_OK);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, longest + "k")), kSignatureFailed);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, "")), kSignatureFailed);
    EXPECT_EQ(outcome(signedWithSecret(kPayload, longest + "k"), longest + "k"), "0 ");
}

TEST_F(TokenKey, ForRsaMayHaveEveryForm) {
    for (const KeyForm& form : publicForms(issuer())) {
        for (const char* algorithm : {"RS256", "RS384", "RS512"}) {
            EXPECT_EQ(outcome(signedWithKey(kPayload, issuer().key(), algorithm), form.bytes), "0 ") << form.name;
            EXPECT_EQ(outcome(signedWithKey(kPayload, stranger().key(), algorithm), form.bytes), kSignatureFailed);
        }
    }
}

// What an attacker makes of the key that everybody has: an HMAC with its bytes.
TEST_F(TokenKey, ThatIsPublicVerifiesNoHmac) {
    for (const KeyForm& form : publicForms(issuer())) {
        std::string crlf;
        for (const char c : form.bytes) {
            crlf += c == '\n' ? "\r\n" : std::string(1, c);
        }
        const bool text = form.bytes.starts_with("-----");
        const std::vector<std::string> spellings =
            text ? std::vector<std::string>{form.bytes,
                                            crlf,
                                            form.bytes + "\n",
                                            "\n" + form.bytes,
                                            "Subject: CN=issuer\n" + form.bytes,
                                            form.bytes.substr(0, form.bytes.size() - 1)}
                 : std::vector<std::string>{form.bytes, base64Text(form.bytes), base64Text(form.bytes) + "\n"};
        for (const std::string& key : spellings) {
            for (const char* algorithm : {"HS256", "HS384", "HS512"}) {
                const std::string forged = signedWithSecret(kPayload, key, algorithm);
                EXPECT_EQ(outcome(forged, key), kSignatureFailed) << form.name << algorithm;
                for (const std::uint32_t type :
                     {VORAK_KEY_CERTIFICATE, VORAK_KEY_HMAC, VORAK_KEY_HMAC_BASE64, VORAK_KEY_CERTIFICATE_QUIETLY}) {
                    load(key, type);  // not every form is a certificate
                    EXPECT_EQ(outcome(forged), kSignatureFailed) << form.name << algorithm << type;
                }
                // As base64 the bytes arrive in the cache as they are.
                ASSERT_EQ(load(base64Text(key), VORAK_KEY_HMAC_BASE64), VORAK_OK);
                EXPECT_EQ(outcome(forged), kSignatureFailed) << form.name << algorithm;
            }
        }
    }
}

// What is refused is the form, not the algorithm: the same bytes with one changed so that they are no key verify.
TEST_F(TokenKey, OfOtherBytesIsASecret) {
    for (const KeyForm& form : publicForms(issuer())) {
        std::string key = form.bytes;
        std::replace(key.begin(), key.end(), '-', '_');
        key[0] = 'x';
        EXPECT_EQ(outcome(signedWithSecret(kPayload, key), key), "0 ") << form.name;
    }
}

}  // namespace
}  // namespace quorvanti::test
