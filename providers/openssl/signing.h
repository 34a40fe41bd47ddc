// Makes PKCS#7 signatures with the own identity of a key store.
#pragma once

#include <cstdint>
#include <span>

#include "providers/openssl/der_writer.h"
#include "providers/openssl/digests.h"
#include "providers/openssl/key_store.h"

namespace quorvanti::provider {

struct SigningOptions {
    Digest digest;
    bool includeCertificate;
    bool detached;
    std::int64_t time;  // what the signature says it was made at, seconds since 1970 UTC
};

// A DER SignedData of version 1 with one signer and the signed attributes content type, signing time and message
// digest. Empty when the toolkit refuses the key. The key store has an own identity.
DerWriter signContent(const KeyStore& store, std::span<const std::uint8_t> content, const SigningOptions& options);

}  // namespace quorvanti::provider
