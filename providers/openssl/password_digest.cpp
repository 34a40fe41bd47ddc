#include "providers/openssl/password_digest.h"

#include <openssl/crypto.h>

#include <new>
#include <random>

#include "providers/openssl/digests.h"
#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {
namespace {

std::array<std::uint8_t, 16> freshSalt() {
    std::array<std::uint8_t, 16> salt{};
    std::random_device random;
    for (std::uint8_t& byte : salt)
        byte = static_cast<std::uint8_t>(random());
    return salt;
}

}  // namespace

PasswordDigest::PasswordDigest(std::string_view password) : salt_(freshSalt()), value_(compute(password)) {}

bool PasswordDigest::fits(std::string_view password) const {
    const Value candidate = compute(password);
    return CRYPTO_memcmp(candidate.data(), value_.data(), value_.size()) == 0;
}

PasswordDigest::Value PasswordDigest::compute(std::string_view password) const {
    const EvpMdCtxPtr context(EVP_MD_CTX_new());
    Value value{};
    if (context == nullptr || EVP_DigestInit_ex2(context.get(), digestMethod(Digest::sha256), nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), salt_.data(), salt_.size()) != 1 ||
        EVP_DigestUpdate(context.get(), password.data(), password.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), value.data(), nullptr) != 1)
        throw std::bad_alloc();
    return value;
}

}  // namespace quorvanti::provider
