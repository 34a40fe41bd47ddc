// The public key of a simple certificate: read in place and made without the toolkit's general decoder, which takes as
// long as several verifications.
#pragma once

#include "providers/openssl/der_reader.h"
#include "providers/openssl/openssl_context.h"
#include "providers/openssl/verification_key.h"

namespace quorvanti::provider {

struct LeafKey {
    KeyType type = KeyType::other;
    Bytes modulus;   // of RSA, without leading zeros
    Bytes exponent;  // the same
    Bytes point;     // of P-256, uncompressed
};

// `subjectPublicKeyInfo` is the content of the SEQUENCE. False unless it is strict DER of a usual key: RSA with 1024 to
// 8192 bits or the named curve P-256.
bool readLeafKey(Bytes subjectPublicKeyInfo, LeafKey& key);

// Null when the toolkit refuses the key.
EvpPkeyPtr makeKey(const LeafKey& key);

}  // namespace quorvanti::provider
