// Tokens for the tests of the program, signed with a secret or with an RSA key.
#pragma once

#include "tests/sec/jwt/token_maker.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/tools/sso2ticket/tool.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <memory>

namespace quorvanti::test {

inline std::string signedWithSecret(std::string_view payload, std::string_view secret,
                                    std::string_view header = kHs256) {
    const std::string text = base64Url(header) + "." + base64Url(payload);
    std::array<unsigned char, EVP_MAX_MD_SIZE> mac{};
    unsigned length = 0;
    HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(text.data()), text.size(), mac.data(), &length);
    return text + "." + base64Url({reinterpret_cast<const char*>(mac.data()), length});
}

inline std::string signedWithKey(std::string_view payload, EVP_PKEY* key, std::string_view header = kRs256) {
    const std::string text = base64Url(header) + "." + base64Url(payload);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    std::string signature(1024, '\0');
    std::size_t length = signature.size();
    EXPECT_EQ(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key), 1);
    EXPECT_EQ(EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                             reinterpret_cast<const unsigned char*>(text.data()), text.size()),
              1);
    signature.resize(length);
    return text + "." + base64Url(signature);
}

class JwtTool : public Tool {
protected:
    JwtTool() {
        writeFile(secretFile_, secret_);
        writeFile(certificate_, issuer().certificatePem());
    }

    // Making an RSA key takes long.
    static const InProcessIssuer& issuer() {
        static const InProcessIssuer made(KeyKind::rsa, "token issuer");
        return made;
    }
    static std::string rsaToken(std::string_view payload) { return signedWithKey(payload, issuer().key()); }
    std::string macToken(std::string_view payload) const { return signedWithSecret(payload, secret_); }

    CommandResult verify(std::vector<std::string> words, const std::string& in = "") const {
        words.insert(words.begin(), {"jwt", "verify"});
        return tool(words, in);
    }
    // With the secret.
    CommandResult verifyMac(std::string_view payload, std::vector<std::string> words = {}) const {
        words.insert(words.begin(), {"--secret-file", secretFile_, macToken(payload)});
        return verify(words);
    }

    const std::string secret_ = "between you and me: 32 bytes, no end";
    const std::string secretFile_ = directory_.file("secret");
    const std::string certificate_ = directory_.file("issuer.pem");
};

}  // namespace quorvanti::test
