// Tokens through the public functions.
#pragma once

#include <quorvanti/voraksso.h>

#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/issuer/token_signing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quorvanti::test {

class TokenThroughTheLibrary : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(VorakInitialize(nullptr), VORAK_OK); }
    void TearDown() override { VorakShutdown(); }

    // Code and text, as in "5 JWT is expired"; "0 " is success. Without a key the cached one is used.
    static std::string outcome(std::string_view token, std::string_view key = {}) {
        std::string payload(token.size() + 1, '\0');
        JwtResult result{};
        result.structSize = sizeof result;
        result.payload = payload.data();
        result.payloadLength = payload.size();
        const std::int32_t code = VorakEvalJWToken(token.data(), token.size(), key.empty() ? nullptr : bytesOf(key),
                                                   key.size(), nullptr, &result);
        return std::to_string(code) + " " + result.errorText;
    }
    static std::int32_t load(std::string_view key, std::uint32_t type) {
        return VorakLoadTicketKey(bytesOf(key), static_cast<std::int32_t>(key.size()), nullptr, 0, type);
    }
    static const std::uint8_t* bytesOf(std::string_view text) {
        return reinterpret_cast<const std::uint8_t*>(text.data());
    }
    static const InProcessIssuer& issuer() {
        static const InProcessIssuer made(KeyKind::rsa);
        return made;
    }
    static const InProcessIssuer& stranger() {
        static const InProcessIssuer made(KeyKind::rsa, "stranger");
        return made;
    }

    static constexpr const char* kSignatureFailed = "5 JWT signature validation failed";
};

struct KeyForm {
    const char* name;
    std::string bytes;
};

inline std::string pem(const char* label, const std::string& der) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    PEM_write_bio(bio.get(), label, "", reinterpret_cast<const unsigned char*>(der.data()),
                  static_cast<long>(der.size()));
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

template <class Object>
std::string der(int (*write)(Object*, unsigned char**), std::remove_const_t<Object>* object) {
    unsigned char* bytes = nullptr;
    const int length = write(object, &bytes);
    std::string result(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    OPENSSL_free(bytes);
    return result;
}

// The issuer's public key in every form that it travels in.
inline std::vector<KeyForm> publicForms(const InProcessIssuer& issuer) {
    const std::string spki = der(&i2d_PUBKEY, issuer.key());
    const std::string pkcs1 = der(&i2d_PublicKey, issuer.key());
    const Bytes bytes = issuer.certificateDer();
    const std::string certificate(bytes.begin(), bytes.end());
    return {{"SubjectPublicKeyInfo, PEM", pem("PUBLIC KEY", spki)}, {"SubjectPublicKeyInfo, DER", spki},
            {"PKCS#1, PEM", pem("RSA PUBLIC KEY", pkcs1)},          {"PKCS#1, DER", pkcs1},
            {"certificate, PEM", issuer.certificatePem()},          {"certificate, DER", certificate}};
}

}  // namespace quorvanti::test
