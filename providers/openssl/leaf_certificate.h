// The simplest certificate that a signer has, read in place: what an authority issues to one system, with nothing in it
// that is not understood here to the last bit.
#pragma once

#include <cstdint>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/leaf_key.h"
#include "providers/openssl/signature_algorithms.h"

namespace quorvanti::provider {

struct LeafCertificate {
    Bytes toBeSigned;                    // with tag and length
    KeyType issuerKey = KeyType::other;  // the kind of key that signed, by the signature algorithm: RSA or EC
    Digest digest = Digest::sha256;
    Bytes signature;
    Bytes issuer;                // the Name with its tag and length
    Bytes subject;               // the same
    std::int64_t notBefore = 0;  // seconds since 1970 UTC
    std::int64_t notAfter = 0;
    LeafKey key;
    Bytes authorityKeyIdentifier;  // empty when there is none
};

// False for every other certificate, however right it may be: that one takes the long way.
bool readLeafCertificate(Bytes der, LeafCertificate& leaf);

}  // namespace quorvanti::provider
