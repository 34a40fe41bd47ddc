// Takes the content of a key store apart into keys and certificates.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/openssl_context.h"
#include "providers/openssl/trusted_certificate.h"

namespace quorvanti::provider {

struct KeyStoreContent {
    std::vector<EvpPkeyPtr> privateKeys;
    std::vector<std::unique_ptr<TrustedCertificate>> certificates;
    bool passwordUsed = false;  // the content could only be read with the right password
};

// How reading ended: code 0, or 24 or 25 with the end of a sentence that begins with "Key store <name> ".
struct ReadOutcome {
    std::int32_t code = 0;
    std::string problem;
};

ReadOutcome readPemKeyStore(Bytes image, std::string_view password, KeyStoreContent& content);
ReadOutcome readPkcs12KeyStore(Bytes image, std::string_view password, KeyStoreContent& content);

// Shared by the two.
ReadOutcome unusableKeyStore(std::string problem);
ReadOutcome wrongPassword(std::string_view password);
bool addCertificate(Bytes der, KeyStoreContent& content);

// An algorithm by which a password encrypts.
struct PasswordScheme {
    std::string name;
    bool available = false;  // the toolkit has what it takes
    std::uint64_t work = 0;  // rounds of the key derivation
};

PasswordScheme passwordScheme(const X509_ALGOR* algorithm);

// Bounds the rounds that one key store may ask for in all, so that a hostile file cannot keep a thread busy for long.
class WorkBudget {
public:
    static constexpr std::uint64_t mostRounds = 4'000'000;

    bool spend(std::uint64_t rounds) {
        if (rounds > left_)
            return false;
        left_ -= rounds;
        return true;
    }

private:
    std::uint64_t left_ = mostRounds;
};

// Decrypts a private key in PKCS#8. `passwordProven`: the password is known to be right, so a failure is damage.
ReadOutcome readEncryptedKey(const X509_SIG* encrypted, std::string_view password, bool passwordProven,
                             WorkBudget& budget, KeyStoreContent& content);
bool addPrivateKey(const PKCS8_PRIV_KEY_INFO* information, KeyStoreContent& content);

// Empty when `scheme` may be run, else why not.
ReadOutcome admit(const PasswordScheme& scheme, WorkBudget& budget);

}  // namespace quorvanti::provider
