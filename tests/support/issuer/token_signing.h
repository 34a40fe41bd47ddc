// JSON Web Tokens signed in the test's own process, with a secret or with an RSA key.
#pragma once

#include "tests/sec/jwt/token_maker.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvanti::test {

// "HS384" and "RS384" name SHA384.
inline const EVP_MD* digestOf(std::string_view algorithm) {
    return algorithm.ends_with("512") ? EVP_sha512() : algorithm.ends_with("384") ? EVP_sha384() : EVP_sha256();
}

inline std::string headerOf(std::string_view algorithm) {
    return "{\"alg\":\"" + std::string(algorithm) + "\",\"typ\":\"JWT\"}";
}

inline std::string macOf(std::string_view text, std::string_view secret, std::string_view algorithm) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> mac{};
    unsigned length = 0;
    HMAC(digestOf(algorithm), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(text.data()), text.size(), mac.data(), &length);
    return {reinterpret_cast<const char*>(mac.data()), length};
}

inline std::string signatureOf(std::string_view text, EVP_PKEY* key, std::string_view algorithm) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    std::string signature(1024, '\0');
    std::size_t length = signature.size();
    if (EVP_DigestSignInit(context.get(), nullptr, digestOf(algorithm), nullptr, key) != 1 ||
        EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                       reinterpret_cast<const unsigned char*>(text.data()), text.size()) != 1) {
        throw std::runtime_error("openssl did not sign");
    }
    signature.resize(length);
    return signature;
}

// With any header; what signs is named by the algorithm.
inline std::string signedWithSecret(std::string_view payload, std::string_view secret, std::string_view header,
                                    std::string_view algorithm) {
    const std::string text = base64Url(header) + "." + base64Url(payload);
    return text + "." + base64Url(macOf(text, secret, algorithm));
}
inline std::string signedWithSecret(std::string_view payload, std::string_view secret,
                                    std::string_view algorithm = "HS256") {
    return signedWithSecret(payload, secret, headerOf(algorithm), algorithm);
}

inline std::string signedWithKey(std::string_view payload, EVP_PKEY* key, std::string_view header,
                                 std::string_view algorithm) {
    const std::string text = base64Url(header) + "." + base64Url(payload);
    return text + "." + base64Url(signatureOf(text, key, algorithm));
}
inline std::string signedWithKey(std::string_view payload, EVP_PKEY* key, std::string_view algorithm = "RS256") {
    return signedWithKey(payload, key, headerOf(algorithm), algorithm);
}

}  // namespace quorvanti::test
