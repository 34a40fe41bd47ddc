// Makes PKCS#12 key stores.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "providers/openssl/openssl_context.h"
#include "providers/openssl/secret_text.h"

namespace quorvanti::provider {

struct Pkcs12Content {
    EVP_PKEY* key;  // null: none
    X509* own;      // its certificate
    std::vector<X509*> others;
};

// AES-256 and SHA-256 throughout. Empty when the toolkit fails.
std::vector<std::uint8_t> writePkcs12(const Pkcs12Content& content, const SecretText& password);

}  // namespace quorvanti::provider
