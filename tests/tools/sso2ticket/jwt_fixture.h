// Tokens for the tests of the program, signed with a secret or with an RSA key.
#pragma once

#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/issuer/token_signing.h"
#include "tests/tools/sso2ticket/tool.h"

namespace quorvanti::test {

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
