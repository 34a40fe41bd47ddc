#include "providers/openssl/password_digest.h"

#include <openssl/crypto.h>

#include <new>
#include <random>

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
    const DigestValue candidate = compute(password);
    return CRYPTO_memcmp(candidate.bytes.data(), value_.bytes.data(), value_.size) == 0;
}

DigestValue PasswordDigest::compute(std::string_view password) const {
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(password.data()), password.size());
    DigestValue value;
    if (!digestOf(Digest::sha256, salt_, bytes, value))
        throw std::bad_alloc();
    return value;
}

}  // namespace quorvanti::provider
