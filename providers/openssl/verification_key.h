// A public key with its verification contexts prepared.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "providers/openssl/digests.h"
#include "providers/openssl/key_contexts.h"
#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {

enum class KeyType : std::uint8_t { rsa, dsa, ec, other };

const char* keyTypeName(KeyType type);

// Keys below these lengths sign nothing that is believed: a day's work breaks them.
int shortestKeyBits(KeyType type);
bool keyTooShort(EVP_PKEY* key);

// Any number of threads may verify with one key at a time: each takes a context of its own from a small pool.
class VerificationKey {
public:
    explicit VerificationKey(EvpPkeyPtr key);
    ~VerificationKey();
    VerificationKey(const VerificationKey&) = delete;
    VerificationKey& operator=(const VerificationKey&) = delete;

    KeyType type() const { return type_; }
    int bits() const { return bits_; }
    EVP_PKEY* get() const { return key_.get(); }

    // Whether `signature` is this key's over something that has the digest `hash`. RSA means PKCS#1 v1.5.
    bool verify(Digest digest, std::span<const std::uint8_t> hash, std::span<const std::uint8_t> signature) const;

private:
    EvpPkeyPtr key_;
    KeyType type_;
    int bits_;
    std::unique_ptr<KeyContexts> contexts_;
};

}  // namespace quorvanti::provider
