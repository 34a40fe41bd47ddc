#include "providers/openssl/verification_key.h"

#include <openssl/rsa.h>

#include <utility>

namespace quorvanti::provider {
namespace {

KeyType typeOf(EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
            return KeyType::rsa;
        case EVP_PKEY_DSA:
            return KeyType::dsa;
        case EVP_PKEY_EC:
            return KeyType::ec;
        default:
            return KeyType::other;
    }
}

EvpPkeyCtxPtr prepare(EVP_PKEY* key, KeyType type, Digest digest) {
    EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_pkey(libraryContext(), key, nullptr));
    const EVP_MD* method = digestMethod(digest);
    if (context == nullptr || method == nullptr || EVP_PKEY_verify_init(context.get()) != 1 ||
        (type == KeyType::rsa && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) != 1) ||
        EVP_PKEY_CTX_set_signature_md(context.get(), method) != 1)
        return nullptr;
    return context;
}

}  // namespace

const char* keyTypeName(KeyType type) {
    switch (type) {
        case KeyType::rsa:
            return "RSA";
        case KeyType::dsa:
            return "DSA";
        case KeyType::ec:
            return "EC";
        default:
            return "other";
    }
}

int shortestKeyBits(KeyType type) {
    constexpr int shortestModulus = 1024;
    constexpr int shortestCurve = 160;
    return type == KeyType::ec ? shortestCurve : shortestModulus;
}

bool keyTooShort(EVP_PKEY* key) {
    const KeyType type = typeOf(key);
    return type != KeyType::other && EVP_PKEY_get_bits(key) < shortestKeyBits(type);
}

VerificationKey::VerificationKey(EvpPkeyPtr key)
    : key_(std::move(key)),
      type_(typeOf(key_.get())),
      bits_(EVP_PKEY_get_bits(key_.get())),
      contexts_(std::make_unique<KeyContexts>()) {}

VerificationKey::~VerificationKey() = default;

bool VerificationKey::verify(Digest digest, std::span<const std::uint8_t> hash,
                             std::span<const std::uint8_t> signature) const {
    if (type_ == KeyType::other)
        return false;
    EvpPkeyCtxPtr context = contexts_->take(digest);
    if (context == nullptr)
        context = prepare(key_.get(), type_, digest);
    if (context == nullptr)
        return false;
    const bool right =
        EVP_PKEY_verify(context.get(), signature.data(), signature.size(), hash.data(), hash.size()) == 1;
    contexts_->give(digest, std::move(context));
    return right;
}

}  // namespace quorvanti::provider
